#include "TgaWriter.h"
#include <cstring>

namespace
{
constexpr uint8_t g_trueColour = 2;
constexpr uint8_t g_trueColourRunLength = 10;
constexpr uint8_t g_topOrigin = 0x20;
constexpr uint8_t g_runPacket = 0x80;
constexpr int g_packetLimit = 128; // pixels

using Bytes = std::vector<uint8_t>;

void PutPixel(Bytes& file, const ChartPixel& pixel, bool alpha)
{
    file.insert(file.end(), {pixel.blue, pixel.green, pixel.red});
    if (alpha)
        file.push_back(pixel.alpha);
}

bool SamePixel(const ChartPixel& a, const ChartPixel& b, bool alpha)
{
    return std::memcmp(&a, &b, alpha ? 4 : 3) == 0;
}

void PutRunLengthRow(Bytes& file, const ChartPixel* row, int width, bool alpha)
{
    // How many pixels from x on are equal, at most a packet's worth.
    const auto runAt = [&](int x)
    {
        int count = 1;
        while (x + count < width && count < g_packetLimit && SamePixel(row[x], row[x + count], alpha))
            ++count;
        return count;
    };
    for (int x = 0; x < width;)
    {
        const int run = runAt(x);
        if (run > 1)
        {
            file.push_back(static_cast<uint8_t>(g_runPacket | (run - 1)));
            PutPixel(file, row[x], alpha);
            x += run;
            continue;
        }
        int count = 1;
        while (x + count < width && count < g_packetLimit && runAt(x + count) == 1)
            ++count;
        file.push_back(static_cast<uint8_t>(count - 1));
        for (int i = 0; i < count; ++i)
            PutPixel(file, row[x + i], alpha);
        x += count;
    }
}
} // namespace

std::vector<uint8_t> EncodeTga(const Chart& chart, const TgaOptions& options)
{
    Bytes file(18);
    file[2] = options.runLength ? g_trueColourRunLength : g_trueColour;
    file[12] = static_cast<uint8_t>(chart.width & 0xFF);
    file[13] = static_cast<uint8_t>(chart.width >> 8);
    file[14] = static_cast<uint8_t>(chart.height & 0xFF);
    file[15] = static_cast<uint8_t>(chart.height >> 8);
    file[16] = options.alpha ? 32 : 24;
    file[17] = static_cast<uint8_t>((options.alpha ? 8 : 0) | (options.topOrigin ? g_topOrigin : 0));
    for (int i = 0; i < chart.height; ++i)
    {
        const ChartPixel* row = &chart.At(0, options.topOrigin ? i : chart.height - 1 - i);
        if (options.runLength)
        {
            PutRunLengthRow(file, row, chart.width, options.alpha);
            continue;
        }
        for (int x = 0; x < chart.width; ++x)
            PutPixel(file, row[x], options.alpha);
    }
    return file;
}
