/// A folder of 200 pictures of every kind, some of them broken, as a slide show.

#include "GraphSupport.h"
#include "ProcessUsage.h"
#include "TgaWriter.h"
#include "support/picture/GifFile.h"
#include "support/picture/JpegFiles.h"
#include "support/picture/PngFile.h"
#include "support/picture/TiffFile.h"
#include <gtest/gtest.h>
#include <cstdlib>
#include <optional>

namespace
{
constexpr int g_files = 200;
constexpr int g_width = 16; // of the frames and of every picture
constexpr int g_height = 8;
constexpr int g_pixels = g_width * g_height;

struct Colour
{
    uint8_t red, green, blue;
};

// A colour of its own for each file.
Colour ColourOf(int number)
{
    return {static_cast<uint8_t>(number), static_cast<uint8_t>(255 - number),
            static_cast<uint8_t>(number * 7)};
}

Bytes Png(const Colour& c)
{
    PngFile png;
    png.nWidth = g_width;
    png.nHeight = g_height;
    png.colour = ePNG_Rgb;
    for (int i = 0; i < g_pixels; ++i)
        png.samples.insert(png.samples.end(), {c.red, c.green, c.blue});
    return png.Encode();
}

Bytes PalettePng(const Colour& c)
{
    PngFile png;
    png.nWidth = g_width;
    png.nHeight = g_height;
    png.nDepth = 1;
    png.colour = ePNG_Palette;
    png.bInterlaced = true;
    png.palette = {0, 0, 0, c.red, c.green, c.blue};
    png.samples.assign(g_pixels, 1);
    return png.Encode();
}

Bytes Gif(const Colour& c)
{
    GifFile gif;
    gif.nWidth = g_width;
    gif.nHeight = g_height;
    gif.bAnimated = true;
    gif.palette = {c.red, c.green, c.blue, 1, 2, 3};
    for (const uint8_t index : {0, 1})
    {
        GifFrame frame;
        frame.nWidth = g_width;
        frame.nHeight = g_height;
        frame.nDelay = 10;
        frame.indices.assign(g_pixels, index);
        gif.frames.push_back(frame);
    }
    return gif.Encode();
}

Bytes Tiff(const Colour& c)
{
    TiffPage page;
    page.nWidth = g_width;
    page.nHeight = g_height;
    for (int i = 0; i < g_pixels; ++i)
        page.samples.insert(page.samples.end(), {c.red, c.green, c.blue});
    return EncodeTiff({page});
}

Bytes Tga(const Colour& c)
{
    Chart chart;
    chart.width = g_width;
    chart.height = g_height;
    chart.pixels.assign(g_pixels, {c.blue, c.green, c.red, 255});
    return EncodeTga(chart, {true, true, false});
}

Bytes Bmp(const Colour& c, uint8_t bits)
{
    const uint8_t size = bits / 8; // of a pixel; the rows are whole words
    Bytes file = {'B',  'M', 54,       static_cast<uint8_t>(g_pixels * size / 256),
                  0,    0,   0,        0,
                  0,    0,   54,       0,
                  0,    0,   40,       0,
                  0,    0,   g_width,  0,
                  0,    0,   g_height, 0,
                  0,    0,   1,        0,
                  bits, 0};
    file.resize(54);
    for (int i = 0; i < g_pixels; ++i)
    {
        file.insert(file.end(), {c.blue, c.green, c.red});
        if (bits == 32)
            file.push_back(255);
    }
    return file;
}

// A file and the colour that it shows; none: it cannot be loaded.
struct Slide
{
    std::wstring extension;
    Bytes file;
    std::optional<Colour> colour;
};

Slide SlideOf(int number)
{
    const Colour c = ColourOf(number);
    const Bytes png = Png(c), tga = Tga(c), bmp = Bmp(c, 24);
    const auto start = [](const Bytes& file, int size) { return Bytes(file.begin(), file.begin() + size); };
    switch (number % 13)
    {
    case 0:
        return {L".png", png, c};
    case 1:
        return {L".tga", tga, c};
    case 2:
        return {L".bmp", bmp, c};
    case 3:
        return {L".bmp", Bmp(c, 32), c};
    case 4:
        return {L".gif", Gif(c), c};
    case 5:
        return {L".tif", Tiff(c), c};
    case 6:
        return {L".png", PalettePng(c), c};
    case 7:
        return {L".jpg", g_jpegBaseline, Colour{200, 40, 40}};
    case 8:
        return {L".tga", png, c}; // by content
    case 9:
        return {L".png", start(png, 30), {}};
    case 10:
        return {L".tga", start(tga, 40), {}};
    case 11:
        return {L".bmp", start(bmp, 53), {}};
    default:
        return {L".txt", Bytes(static_cast<size_t>(number), 'x'), {}};
    }
}

// The names of a folder in the order in which the system gives them.
std::vector<std::wstring> NamesIn(const std::filesystem::path& folder)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder / L"*.*").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found))
    {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            names.push_back(found.cFileName);
    }
    FindClose(search);
    return names;
}

class SlideShow : public testing::Test
{
protected:
    SlideShow()
    {
        // The names first, as the order is not known before: the slides are numbered in it, and the first is
        // sound.
        for (int i = 0; i < g_files; ++i)
            m_folder.Write(L"slide " + std::to_wstring(i * 7919 % g_files) + SlideOf(i).extension, {});
        m_names = NamesIn(m_folder.Path());
        int number = 0;
        for (const std::wstring& name : m_names)
        {
            const std::wstring extension = std::filesystem::path(name).extension().wstring();
            // The next slide of this kind.
            Slide slide = SlideOf(number);
            for (int i = number; slide.extension != extension; ++i)
                slide = SlideOf(i % g_files);
            if (m_slides.empty() && !slide.colour)
                slide = {extension, Png({9, 8, 7}), Colour{9, 8, 7}};
            m_folder.Write(name, slide.file);
            m_slides.push_back(slide);
            ++number;
        }
    }

    // One life of a filter that plays the folder.
    void Play(FilterGraph& graph)
    {
        {
            const CComPtr<IBaseFilter> source = m_module.CreateSource();
            CComPtr<IQXStillSource> control;
            ASSERT_EQ(source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
                      S_OK);
            ASSERT_EQ(control->SetOutputFormat(CComBSTR(L"RGB32"), g_width, g_height), S_OK);
            ASSERT_EQ(SetPicture(source, m_folder.Path().wstring()), S_OK);
            const std::vector<ReceivedFrame> frames = PlayToEnd(graph, source, 1000);
            ASSERT_EQ(frames.size(),
                      static_cast<size_t>(g_files) + 1); // the number of the last one is sent too
            Colour shown = {};
            for (size_t i = 0; i < frames.size(); ++i)
            {
                const Slide& slide = m_slides[i % g_files];
                if (slide.colour)
                    shown = *slide.colour; // a broken one repeats the picture before it
                ASSERT_EQ(frames[i].bytes.size(), static_cast<size_t>(g_pixels) * 4);
                const int differences[] = {frames[i].bytes[0] - shown.blue, frames[i].bytes[1] - shown.green,
                                           frames[i].bytes[2] - shown.red};
                for (const int difference : differences)
                    EXPECT_LE(std::abs(difference), slide.extension == L".jpg" || !slide.colour ? 2 : 0)
                        << "frame " << i;
                EXPECT_EQ(frames[i].mediaStart, static_cast<LONGLONG>(i));
            }
        }
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    std::vector<std::wstring> m_names;
    std::vector<Slide> m_slides;
};
} // namespace

TEST_F(SlideShow, ShowsEveryFileInOrder)
{
    ASSERT_EQ(m_names.size(), static_cast<size_t>(g_files));
    size_t broken = 0;
    for (const Slide& slide : m_slides)
        broken += !slide.colour;
    EXPECT_GT(broken, 30u);
    EXPECT_LT(broken, 120u);
    FilterGraph graph;
    Play(graph);
}

TEST_F(SlideShow, LeavesNothingBehind)
{
    const size_t kept = HeapBytesKeptByAnEmptyRun();
    FilterGraph graph; // one for all: Wine's graph itself leaves a handle behind
    Play(graph);       // the platform loads its decoders and fills its caches
    Play(graph);
    const Usage before = CurrentUsage();
    Play(graph);
    const Usage after = CurrentUsage();
    Tell(before, after);
    EXPECT_LE(after.handles, before.handles);
    EXPECT_LE(after.heapBytes, before.heapBytes + kept + 1024);
    EXPECT_LE(after.privateBytes, before.privateBytes + 256 * 1024);

    // And every file is free.
    for (const std::wstring& name : m_names)
        EXPECT_TRUE(DeleteFileW(m_folder.Name(name).c_str()));
}
