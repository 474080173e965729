#include "FrameWriter.h"
#include "Common/PixelFormats.h"
#include "OutputFile.h"
#include <cstring>
#include <optional>
#include <vector>

namespace
{
struct FrameKind
{
    int frameBytes; // of a pixel in memory
    int fileBytes;  // of a pixel in the file
};

// RGB of a byte a component; a byte without a meaning is left out of the file.
std::optional<FrameKind> FindKind(const VideoFormat& format)
{
    const PixelFormat& pixels = FormatOf(format.subtype);
    if (pixels.eModel != eCM_RGB || !HasByteComponents(pixels) || pixels.nBits != format.bitsPerPixel)
        return std::nullopt;
    return FrameKind{PixelBytes(pixels), pixels.bAlpha ? 4 : 3};
}

// The header of both kinds; a plain 24-bit file uses only its first 40 bytes.
BITMAPV4HEADER MakeHeader(const VideoFormat& format, const FrameKind& kind, DWORD imageSize)
{
    BITMAPV4HEADER header = {};
    header.bV4Size = sizeof(BITMAPINFOHEADER);
    header.bV4Width = format.width;
    header.bV4Height = format.height;
    header.bV4Planes = 1;
    header.bV4BitCount = static_cast<WORD>(kind.fileBytes * 8);
    header.bV4V4Compression = BI_RGB;
    header.bV4SizeImage = imageSize;
    if (kind.fileBytes == 4)
    {
        header.bV4Size = sizeof(BITMAPV4HEADER);
        header.bV4V4Compression = BI_BITFIELDS;
        header.bV4RedMask = 0x00FF0000;
        header.bV4GreenMask = 0x0000FF00;
        header.bV4BlueMask = 0x000000FF;
        header.bV4AlphaMask = 0xFF000000;
        header.bV4CSType = 0x73524742; // LCS_sRGB
    }
    return header;
}

} // namespace

bool CanWriteFrames(const VideoFormat& format)
{
    return FindKind(format).has_value();
}

HRESULT WriteFrameAsBmp(const std::wstring& path, const VideoFormat& format, const BYTE* bits, size_t size)
{
    const std::optional<FrameKind> kind = FindKind(format);
    if (!kind || bits == nullptr)
        return E_INVALIDARG;
    const size_t rows = static_cast<size_t>(format.height);
    const size_t columns = static_cast<size_t>(format.width);
    const size_t frameStep = format.RowStep();
    if (size < frameStep * rows)
        return E_INVALIDARG;

    const size_t fileStep = (columns * static_cast<size_t>(kind->fileBytes) + 3) / 4 * 4;
    if (fileStep * rows > 0x7FFFFF00u)
        return E_INVALIDARG; // more than the file format can tell
    const BITMAPV4HEADER header = MakeHeader(format, *kind, static_cast<DWORD>(fileStep * rows));
    BITMAPFILEHEADER fileHeader = {};
    fileHeader.bfType = 0x4D42; // "BM"
    fileHeader.bfOffBits = static_cast<DWORD>(sizeof(fileHeader) + header.bV4Size);
    fileHeader.bfSize = fileHeader.bfOffBits + static_cast<DWORD>(fileStep * rows);

    std::vector<BYTE> file(fileHeader.bfSize);
    std::memcpy(file.data(), &fileHeader, sizeof(fileHeader));
    std::memcpy(file.data() + sizeof(fileHeader), &header, header.bV4Size);
    for (size_t y = 0; y < rows; ++y)
    {
        const BYTE* source = bits + frameStep * (format.topDown ? rows - 1 - y : y);
        BYTE* target = file.data() + fileHeader.bfOffBits + fileStep * y;
        if (kind->frameBytes == kind->fileBytes)
        {
            std::memcpy(target, source, columns * static_cast<size_t>(kind->fileBytes));
            continue;
        }
        for (size_t x = 0; x < columns; ++x)
            std::memcpy(target + 3 * x, source + 4 * x, 3);
    }
    return WriteWholeFile(path, file.data(), file.size());
}
