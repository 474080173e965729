// TGA files that the fuzz target starts from: every kind, and the faults that readers are known for, by name.
#include "FileSeeds.h"
#include "picture/TgaBuilder.h"

namespace
{
std::string g_folder;

/// \param nPlace see FileInput
void Write(const std::string& name, const Bytes& file, uint8_t fOptions = 0, uint32_t nPlace = 0)
{
    WriteFileSeed(g_folder + name, file, fOptions, nPlace);
}

void WriteSound()
{
    for (BYTE nDepth : {8, 15, 16, 17, 24, 32})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 7, 5);
        const std::string sDepth = std::to_string(nDepth);
        Write("plain-" + sDepth, builder.File());
        Write("packed-" + sDepth, builder.Packed({3, 4, 1}).File());
        builder.fImageDesc = 0x28; // top row first, alpha bits
        Write("top-" + sDepth, builder.File(), 2);
        Write("packed-top-" + sDepth, builder.Packed({5, 30}).File(), 4);
        builder.tail = TgaBuilder::Footer(0, 1);
        builder.id = Pattern(9);
        Write("footer-" + sDepth, builder.File(), 12);
    }
    for (BYTE nDepth : {15, 24, 32})
    {
        Write("map-" + std::to_string(nDepth), TgaBuilder::ColMap(nDepth, 4).File());
        Write("map-packed-" + std::to_string(nDepth),
              TgaBuilder::ColMap(nDepth, 300, 16).Packed({2, 1}).File());
    }
    Write("grey", TgaBuilder::Grey().File());
    Write("many-packets", TgaBuilder::TrueColour(24, 60, 20).Packed({128, 2, 77, 1}).File());
}

void WriteFaults()
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 1, 1);
    builder.nWidth = 65535;
    builder.nHeight = 65535;
    Write("size-overflows", builder.File());
    builder.nBitDepth = 8;
    Write("65535-x-65535", builder.File());
    builder.nImageType = 11;
    Write("65535-x-65535-packed", builder.File());
    builder = TgaBuilder::TrueColour(24, 30000, 1);
    builder.image.resize(90);
    Write("file-shorter-than-its-picture", builder.File());
    builder.nImageType = 10;
    Write("packets-end-early", builder.File());

    builder = TgaBuilder::TrueColour(24, 3, 2).Packed({4});
    builder.image[0] = 0x7F;
    Write("packet-runs-over", builder.File());
    builder.image[0] = 0xFF;
    Write("run-runs-over", builder.File());

    builder = TgaBuilder::ColMap(24, 4);
    builder.image[1] = 200;
    Write("index-out-of-range", builder.File());
    builder.nColMapEntries = 65535;
    Write("map-longer-than-the-file", builder.File());

    const Bytes file = TgaBuilder::TrueColour(24, 7, 5).File();
    Write("file-shorter-than-its-header", Bytes(file.begin(), file.begin() + 17));
    Write("truncated", Bytes(file.begin(), file.end() - 3));
    Write("breaks-off-while-read", Bytes(file.begin(), file.end() - 3), FileInput::fBreaksOff, 3);
    Write("unreadable", file, FileInput::fBadFrom, 40);
    builder = TgaBuilder::TrueColour(24);
    builder.nImageType = 10;
    builder.image = {};
    builder.id = Bytes(200);
    const Bytes cut = builder.File();
    Write("ends-in-its-id", Bytes(cut.begin(), cut.begin() + 30));
}
} // namespace

int main(int argc, char** argv)
{
    g_folder = SeedFolder(argc, argv);
    WriteSound();
    WriteFaults();
}
