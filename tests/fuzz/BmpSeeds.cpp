// BMP files that the fuzz target starts from: every kind, and the faults that readers are known for, by name.
#include "Common/Common.h"
#include "FileSeeds.h"
#include "picture/BmpBuilder.h"

#include <climits>

namespace
{
std::string g_folder;

void Write(const std::string& name, const Bytes& file, uint8_t fOptions = 0, uint32_t nPlace = 0)
{
    WriteFileSeed(g_folder + name, file, fOptions, nPlace);
}

void WriteSound()
{
    for (WORD nBits : {16, 24, 32})
    {
        for (LONG nHeight : {3, -3})
            Write("sound-" + std::to_string(nBits) + (nHeight < 0 ? "-top" : ""),
                  BmpBuilder(nBits, 5, nHeight).File());
    }
    BmpBuilder builder(24, 7, 5);
    builder.gap = Pattern(12, 9);
    builder.file.bfOffBits += 12;
    builder.file.bfSize += 12;
    Write("gap", builder.File());
    builder = BmpBuilder(32, 3, 2);
    builder.info.biSizeImage = 0;
    Write("no-image-size", builder.File());
    builder.info.biCompression = 3; // masks
    Write("bit-fields", builder.File());
    for (DWORD fccType : {FOURCC_UYVY, FOURCC_I420, FOURCC_v210})
    {
        builder = BmpBuilder(16, 8, 4);
        builder.info.biCompression = fccType;
        Append(builder.pixels, Pattern(600));
        builder.file.bfSize = 54 + 600;
        Write("code-" + std::to_string(fccType), builder.File());
    }
}

void WriteFaults()
{
    const BmpBuilder good(32, 3, 2);
    BmpBuilder builder = good;
    builder.info.biHeight = INT_MIN;
    Write("lowest-height", builder.File());
    builder.info.biWidth = INT_MIN;
    Write("lowest-width", builder.File());
    builder = good;
    builder.info.biWidth = 0x40000001;
    Write("row-overflows", builder.File());
    builder.info.biWidth = 65536;
    builder.info.biHeight = 16384;
    Write("size-overflows", builder.File());
    builder.info.biWidth = 65535;
    builder.info.biHeight = 65535;
    Write("65535-x-65535", builder.File());
    builder.info.biHeight = 10000;
    builder.file.bfSize = 0xFFFFFFFF;
    Write("file-shorter-than-its-picture", builder.File());

    builder = good;
    builder.info.biSizeImage = 0x7FFFFFFF;
    Write("false-image-size", builder.File());
    builder = good;
    builder.file.bfOffBits = 0xFFFFFFF0;
    builder.file.bfSize = 0xFFFFFFFF;
    Write("false-offset", builder.File());
    builder.file.bfOffBits = 60;
    Write("offset-too-large", builder.File());
    builder = good;
    builder.info.biBitCount = 8;
    builder.info.biClrUsed = 0xFFFFFFFF;
    Write("palette", builder.File());

    const Bytes file = good.File();
    Write("file-shorter-than-its-header", Bytes(file.begin(), file.begin() + 53));
    Write("truncated", Bytes(file.begin(), file.end() - 1));
    Write("breaks-off-while-read", Bytes(file.begin(), file.end() - 1), FileInput::fBreaksOff, 1);
    Write("unreadable", file, FileInput::fBadFrom, 60);
}
} // namespace

int main(int argc, char** argv)
{
    g_folder = SeedFolder(argc, argv);
    WriteSound();
    WriteFaults();
}
