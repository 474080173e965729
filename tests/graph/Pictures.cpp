#include "Pictures.h"
#include "TgaWriter.h"

namespace
{
constexpr int g_width = 37; // no multiple of anything
constexpr int g_height = 23;

// A small generator of its own, so that the same pixels come out everywhere.
class Noise
{
public:
    explicit Noise(unsigned seed) : m_state(seed * 2654435761u + 1) {}
    uint8_t Byte()
    {
        m_state = m_state * 1664525u + 1013904223u;
        return static_cast<uint8_t>(m_state >> 24);
    }

private:
    uint32_t m_state;
};

// Straight alpha to colours multiplied by it: the exact division by 255, rounded.
uint8_t Multiply(uint8_t colour, uint8_t alpha)
{
    const unsigned product = static_cast<unsigned>(colour) * alpha;
    return static_cast<uint8_t>((product + 1 + (product >> 8)) >> 8);
}

Bytes FrameOf(const Chart& chart)
{
    Bytes frame;
    for (int y = chart.height - 1; y >= 0; --y)
    {
        for (int x = 0; x < chart.width; ++x)
        {
            const ChartPixel& p = chart.At(x, y);
            frame.insert(frame.end(), {Multiply(p.blue, p.alpha), Multiply(p.green, p.alpha),
                                       Multiply(p.red, p.alpha), p.alpha});
        }
    }
    return frame;
}

enum class Alpha
{
    Opaque,
    Clear, // zero everywhere
    Mixed,
};

Chart NoiseChart(int width, int height, unsigned seed, Alpha alpha)
{
    Chart chart;
    chart.width = width;
    chart.height = height;
    Noise noise(seed);
    for (int i = 0; i < width * height; ++i)
    {
        // Runs and single pixels in turn, for the run-length forms.
        const bool repeats = i > 0 && noise.Byte() < 100;
        ChartPixel pixel = {noise.Byte(), noise.Byte(), noise.Byte(), noise.Byte()};
        if (alpha != Alpha::Mixed)
            pixel.alpha = alpha == Alpha::Opaque ? 255 : 0;
        chart.pixels.push_back(repeats ? chart.pixels.back() : pixel);
    }
    return chart;
}

TgaCase CaseOf(const std::string& name, const Chart& chart, const TgaOptions& options, bool usesAlpha)
{
    return {name, EncodeTga(chart, options), chart.width, chart.height, usesAlpha, FrameOf(chart)};
}

void PutWord(Bytes& bytes, unsigned word)
{
    bytes.push_back(static_cast<uint8_t>(word & 0xFF));
    bytes.push_back(static_cast<uint8_t>(word >> 8));
}

Bytes Header(uint8_t type, uint8_t mapEntries, uint8_t mapDepth, uint8_t depth, uint8_t description)
{
    Bytes file = {3, static_cast<uint8_t>(mapEntries > 0), type, 0, 0, mapEntries, 0, mapDepth, 0, 0, 0, 0};
    PutWord(file, g_width);
    PutWord(file, g_height);
    file.insert(file.end(), {depth, description, 'i', 'd', '!'}); // with an image ID of three bytes to skip
    return file;
}

// Five bits a channel in the high bits of a byte; the low three stay zero.
ChartPixel FromWord(unsigned word)
{
    return {static_cast<uint8_t>((word & 0x1F) << 3), static_cast<uint8_t>(((word >> 5) & 0x1F) << 3),
            static_cast<uint8_t>(((word >> 10) & 0x1F) << 3), static_cast<uint8_t>(word & 0x8000 ? 255 : 0)};
}

Chart EmptyChart()
{
    Chart chart;
    chart.width = g_width;
    chart.height = g_height;
    chart.pixels.resize(static_cast<size_t>(g_width) * g_height);
    return chart;
}

// Colour-mapped, with 24-bit or 16-bit entries.
TgaCase MappedCase(const std::string& name, uint8_t mapDepth)
{
    constexpr uint8_t entries = 200;
    Noise noise(mapDepth);
    Bytes file = Header(1, entries, mapDepth, 8, 0);
    std::vector<ChartPixel> map;
    for (int i = 0; i < entries; ++i)
    {
        if (mapDepth == 16)
        {
            const unsigned word = noise.Byte() | static_cast<unsigned>(noise.Byte()) << 8;
            PutWord(file, word);
            map.push_back(FromWord(word));
            continue;
        }
        const ChartPixel pixel = {noise.Byte(), noise.Byte(), noise.Byte(), 255};
        file.insert(file.end(), {pixel.blue, pixel.green, pixel.red});
        map.push_back(pixel);
    }
    Chart chart = EmptyChart();
    for (int y = g_height - 1; y >= 0; --y)
    {
        for (int x = 0; x < g_width; ++x)
        {
            const uint8_t index = static_cast<uint8_t>(noise.Byte() % entries);
            file.push_back(index);
            chart.At(x, y) = map[index];
        }
    }
    return {name, file, g_width, g_height, mapDepth == 16, FrameOf(chart)};
}

// True colour in 16 bits; bit 15 counts as alpha although the file tells of no attribute bits.
TgaCase WordCase(const std::string& name, bool usesAlpha)
{
    Noise noise(usesAlpha ? 7 : 8);
    Bytes file = Header(2, 0, 0, 16, 0);
    Chart chart = EmptyChart();
    for (int y = g_height - 1; y >= 0; --y)
    {
        for (int x = 0; x < g_width; ++x)
        {
            unsigned word = noise.Byte() | static_cast<unsigned>(noise.Byte()) << 8;
            if (!usesAlpha)
                word |= 0x8000;
            PutWord(file, word);
            chart.At(x, y) = FromWord(word);
        }
    }
    return {name, file, g_width, g_height, usesAlpha, FrameOf(chart)};
}
} // namespace

TgaCase PlainTga(const std::string& name, int width, int height, unsigned seed)
{
    return CaseOf(name, NoiseChart(width, height, seed, Alpha::Opaque), {}, false);
}

TgaCase TransparentTga(const std::string& name, int width, int height, unsigned seed)
{
    return CaseOf(name, NoiseChart(width, height, seed, Alpha::Mixed), {true, false, false}, true);
}

std::vector<TgaCase> TgaCases()
{
    const Chart opaque = NoiseChart(g_width, g_height, 1, Alpha::Opaque);
    const Chart mixed = NoiseChart(g_width, g_height, 2, Alpha::Mixed);
    const Chart clear = NoiseChart(g_width, g_height, 3, Alpha::Clear);
    return {
        CaseOf("24 bits", opaque, {false, false, false}, false),
        CaseOf("24 bits, top row first", opaque, {false, false, true}, false),
        CaseOf("24 bits, run-length", opaque, {false, true, false}, false),
        CaseOf("24 bits, run-length, top row first", opaque, {false, true, true}, false),
        CaseOf("32 bits", mixed, {true, false, false}, true),
        CaseOf("32 bits, top row first", mixed, {true, false, true}, true),
        CaseOf("32 bits, run-length", mixed, {true, true, false}, true),
        CaseOf("32 bits, opaque throughout", opaque, {true, false, false}, false),
        CaseOf("32 bits, alpha zero throughout", clear, {true, false, false}, false),
        MappedCase("colour map of 24 bits", 24),
        MappedCase("colour map of 16 bits", 16),
        WordCase("16 bits", true),
        WordCase("16 bits, opaque throughout", false),
    };
}
