/// Lives of the filter, and files and formats with hostile headers: handles, threads, GDI objects and heap
/// are afterwards what they were before.

#include "Stress.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include <dvdmedia.h>

#include "ProcessUsage.h"

namespace
{

constexpr int nLives = 500;
constexpr int nHeaders = 1000;
constexpr int nWarmUp = 50; // rounds in which the platform fills its caches

/// What has grown by more than half of a piece, or of 64 bytes, for each round.
std::vector<std::string> Grown(const Usage& before, const Usage& after, int nRounds)
{
    const size_t n = static_cast<size_t>(nRounds);
    std::vector<std::string> names;
    const auto compare = [&](const char* pszName, size_t nBefore, size_t nAfter, size_t nAllowed)
    {
        EXPECT_GT(nBefore, 0u) << pszName << " cannot be counted";
        if (nAfter > nBefore + nAllowed)
            names.push_back(pszName);
    };
    compare("handles", before.handles, after.handles, n / 2);
    compare("threads", before.threads, after.threads, n / 2);
    compare("GDI objects", before.gdiObjects, after.gdiObjects, n / 2);
    compare("heap", before.heapBytes, after.heapBytes, n * 32);
    return names;
}

/// Runs rounds, the first ones uncounted. \param fnRound gets the number of the round
/// \return what has grown
std::vector<std::string> GrownBy(int nRounds, const std::function<void(int)>& fnRound)
{
    for (int n = -nWarmUp; n < 0; n++)
        fnRound(n + nWarmUp);
    const Usage before = CurrentUsage();
    for (int n = 0; n < nRounds && !testing::Test::HasFatalFailure(); n++)
        fnRound(n);
    const Usage after = CurrentUsage();
    Tell(before, after);
    return Grown(before, after, nRounds);
}

class Leaks : public testing::Test
{
protected:
    /// Makes a filter, shows something, and lets it go.
    void Live(int nLife)
    {
        HardSource source(m_module);
        ASSERT_TRUE(source.spPin);
        m_watchdog.Step(nLife, "set the picture");
        const std::wstring& sName =
            m_pictures.Names()[static_cast<size_t>(nLife) % m_pictures.Names().size()];
        if (sName != L"videoq")       // which has no frames
            source.SetPicture(sName); // or refuse it
        if (nLife % 4 == 0)
        {
            EXPECT_EQ(source.spControl->SetPictureHandle(m_bitmap.Handle()), S_OK);
        }

        CEvent evFrame;
        ASSERT_TRUE(evFrame.Create(true));
        HardPin sink;
        sink.m_fnReceive = [&](IMediaSample*)
        {
            evFrame.Set();
            return S_OK;
        };
        m_watchdog.Step(nLife, "connect");
        ASSERT_EQ(source.spPin->Connect(&sink, nullptr), S_OK);
        m_watchdog.Step(nLife, "wait for a frame");
        ASSERT_TRUE(SUCCEEDED(source.spFilter->Pause()));
        ASSERT_EQ(WaitForSingleObject(evFrame, nTestLimitMs), WAIT_OBJECT_0);
        m_watchdog.Step(nLife, "stop");
        ASSERT_EQ(source.spFilter->Stop(), S_OK);
        m_watchdog.Step(nLife, "disconnect");
        EXPECT_EQ(source.spPin->Disconnect(), S_OK);
        m_watchdog.Step(nLife, "release");
        source.Release();
        EXPECT_EQ(sink.Refs(), 0);
    }

    const HardCom m_com;
    const LoadedModule m_module;
    const HardPictures m_pictures;
    const HardBitmap m_bitmap{16, 8, 32, 0x55};
    Watchdog m_watchdog;
};

TEST_F(Leaks, FiveHundredLives)
{
    EXPECT_EQ(GrownBy(nLives, [this](int n) { Live(n); }), std::vector<std::string>{});
    EXPECT_TRUE(WaitUntilUnloadable(m_module));
}

// The counters and the limits: a piece that each life loses is seen, and taken for what it is.
TEST_F(Leaks, OneLostByEachLifeIsSeen)
{
    constexpr int nFew = 40;
    CEvent evEnd;
    ASSERT_TRUE(evEnd.Create(true));
    std::vector<HANDLE> handles;
    std::vector<std::thread> threads;
    std::vector<HBITMAP> bitmaps;
    std::vector<void*> blocks;
    const auto livesWith = [&](const std::function<void()>& fnLose)
    {
        return GrownBy(nFew,
                       [&](int n)
                       {
                           Live(n);
                           fnLose();
                       });
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(livesWith([&] { handles.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }),
              Names{"handles"});
    EXPECT_EQ(livesWith([&] { bitmaps.push_back(CreateBitmap(1, 1, 1, 1, nullptr)); }), Names{"GDI objects"});
    EXPECT_EQ(livesWith([&] { blocks.push_back(HeapAlloc(GetProcessHeap(), 0, 64)); }), Names{"heap"});
    const Names grown =
        livesWith([&] { threads.emplace_back([&] { WaitForSingleObject(evEnd, INFINITE); }); });
    EXPECT_NE(std::find(grown.begin(), grown.end(), "threads"), grown.end()); // and what a thread needs

    evEnd.Set();
    for (std::thread& thread : threads)
        thread.join();
    for (const HANDLE h : handles)
        CloseHandle(h);
    for (const HBITMAP h : bitmaps)
        DeleteObject(h);
    for (void* const pv : blocks)
        HeapFree(GetProcessHeap(), 0, pv);
}

/// Values that sizes and counts of a header are known to go wrong with.
DWORD HostileNumber(HardRandom& random)
{
    constexpr DWORD rgNumbers[] = {0,          1,          2,         3,       7,          8,
                                   24,         32,         255,       256,     32767,      32768,
                                   65535,      65536,      1 << 24,   1 << 30, 0x7FFFFFFF, 0x80000000,
                                   0x80000001, 0xFFFFFFF8, 0xFFFFFFFF};
    return random.OneIn(4) ? static_cast<DWORD>(random.Below(100))
                           : rgNumbers[random.Below(std::size(rgNumbers))];
}

template <class T>
void Put(Bytes& bytes, T value)
{
    const BYTE* const pb = reinterpret_cast<const BYTE*>(&value);
    bytes.insert(bytes.end(), pb, pb + sizeof(value));
}

/// A TGA file with a few bytes behind its header. Other kinds are left to the platform, whose decoder keeps
/// the file of a broken BMP open.
Bytes HostileTga(HardRandom& random)
{
    constexpr BYTE rgTypes[] = {1, 2, 3, 9, 10, 11, 0, 32};
    constexpr BYTE rgDepths[] = {8, 15, 16, 17, 24, 31, 32, 33};
    Bytes file;
    const BYTE nType = rgTypes[random.Below(8)];
    Put(file, static_cast<BYTE>(random.OneIn(3) ? random.Below(256) : 0));
    Put(file, static_cast<BYTE>((nType & 3) == 1)); // the map that the type has to have
    Put(file, nType);
    for (int n = 0; n < 2; n++)
        Put(file, static_cast<WORD>(HostileNumber(random)));
    Put(file, rgDepths[random.Below(8)]);
    for (int n = 0; n < 4; n++)
        Put(file, static_cast<WORD>(HostileNumber(random)));
    Put(file, rgDepths[random.Below(8)]);
    Put(file, static_cast<BYTE>(random.Below(256)));
    for (int n = random.Below(400); n > 0; n--)
        Put(file, static_cast<BYTE>(random.Below(256)));
    return file;
}

/// A format whose header says what it likes.
CMType HostileFormat(HardRandom& random)
{
    VIDEOINFOHEADER2 header = {};
    const auto fill = [&](auto& record)
    {
        for (size_t n = 0; n + sizeof(DWORD) <= sizeof(record); n += sizeof(DWORD))
        {
            const DWORD dw = HostileNumber(random);
            memcpy(reinterpret_cast<BYTE*>(&record) + n, &dw, sizeof(dw));
        }
    };
    fill(header);
    header.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    CMType mt(MEDIATYPE_Video, random.OneIn(2) ? MEDIASUBTYPE_RGB32 : MEDIASUBTYPE_UYVY, FORMAT_VideoInfo2,
              sizeof(header), reinterpret_cast<const BYTE*>(&header));
    mt.cbFormat = random.OneIn(4) ? static_cast<ULONG>(random.Below(sizeof(header))) : mt.cbFormat;
    return mt;
}

TEST_F(Leaks, AThousandHostileHeaders)
{
    const TempFolder folder;
    HardRandom random(20260309);
    HardSource source(m_module);
    ASSERT_TRUE(source.spPin);
    CComPtr<IAMStreamConfig> spConfig;
    ASSERT_EQ(source.spPin->QueryInterface(&spConfig), S_OK);
    int nShown = 0, nTaken = 0;
    const auto round = [&](int n)
    {
        m_watchdog.Step(n, "a hostile file");
        nShown += SUCCEEDED(source.SetPicture(folder.Write(L"hostile.tga", HostileTga(random))));
        m_watchdog.Step(n, "a hostile format");
        CMType mt = HostileFormat(random);
        nTaken += SUCCEEDED(spConfig->SetFormat(&mt));
        mt.cbFormat = sizeof(VIDEOINFOHEADER2); // as it was made
    };
    EXPECT_EQ(GrownBy(nHeaders, round), std::vector<std::string>{});
    std::printf("%i files shown, %i formats taken\n", nShown, nTaken);
    EXPECT_GT(nShown, 0) << "no header came near to what is read";
    EXPECT_LT(nShown, nHeaders / 2) << "they are not hostile";
    spConfig.Release();
    source.Release();
    EXPECT_TRUE(WaitUntilUnloadable(m_module));
}

} // namespace
