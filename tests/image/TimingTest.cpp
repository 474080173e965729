// The measuring functions tell how long they take: which lines each call writes, figures left out.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <cctype>
#include <cstdlib>

namespace
{

/// A report line with '#' for each figure.
std::string WithoutFigures(const std::string& sLine)
{
    std::string s;
    for (const char ch : sLine)
    {
        const bool bDigit = std::isdigit(static_cast<unsigned char>(ch)) != 0;
        if (!bDigit)
            s += ch;
        else if (s.empty() || s.back() != '#')
            s += '#';
    }
    return s;
}

std::string ReportOf(const std::string& sLabel)
{
    return sLabel + ": avg=#.# ms (# calls), summ=#.# ms, CPU: #.#%\n";
}

/// The runs that a report line tells.
int RunsOf(const std::string& sLine)
{
    const size_t nAt = sLine.find(" ms (");
    return nAt == std::string::npos ? -1 : std::atoi(sLine.c_str() + nAt + 5);
}

enum eMeasurement
{
    eM_ChromaKey,
    eM_CalcKey,
    eM_Graph
};

HRESULT Measure(eMeasurement eWhat, DWORD fccType, int nMode)
{
    const PicProps pic = {fccType, 4, 4, 4};
    PictureBuffer input(pic);
    input.Fill(1);
    DWORD arrKey[2] = {};
    POINT pt = {1, 1};
    PicProps picGraph;
    std::vector<BYTE> graph(768 * 768 * 4);
    switch (eWhat)
    {
    case eM_ChromaKey:
        return Img_GetChromaKey(input.Data(), &pic, nMode, arrKey, nullptr);
    case eM_CalcKey:
        return Img_CalcKey(input.Data(), &pic, 1, &pt, 0, nullptr, nMode, arrKey);
    default:
        return Img_GetImageGraph(input.Data(), &pic, nMode, graph.data(), &picGraph);
    }
}

struct TimingRow
{
    eMeasurement eWhat;
    DWORD fccType;
    int nMode;
    HRESULT hr;
    Texts labels;
};

TEST(Timing, LinesOfEachMeasurement)
{
    const TimingRow arrRows[] = {
        {eM_ChromaKey, FOURCC_RGB32, eIK_RGB, S_OK, {"[PIXEL STAT]"}},
        {eM_ChromaKey, FOURCC_ARGB32, eIK_HLS, S_OK, {"[RGB->HLS]", "[PIXEL STAT]"}},
        {eM_ChromaKey, FOURCC_YUY2, eIK_RGB, S_OK, {"[YUV->RGB]", "[PIXEL STAT]"}},
        {eM_ChromaKey, FOURCC_RGB24, eIK_HLS, S_OK, {"[YUV->RGB]", "[RGB->HLS]", "[PIXEL STAT]"}},
        {eM_ChromaKey, FOURCC_YVYU, eIK_RGB, E_NOTIMPL, {"[YUV->RGB]"}}, // fails behind the conversion
        {eM_ChromaKey, FOURCC_RGB32, eIK_YUV, E_INVALIDARG, {}},
        {eM_CalcKey, FOURCC_RGB32, eIK_RGB, S_OK, {"[Img_CalcKey]"}},
        {eM_CalcKey, FOURCC_RGB32, 77, S_OK, {"[Img_CalcKey]"}}, // measures RGB
        {eM_CalcKey, FOURCC_RGB32, eIK_HLS, S_OK, {"[RGB->HLS]", "[Img_CalcKey]"}},
        {eM_CalcKey, FOURCC_ARGB32, eIK_YUV, S_OK, {"[RGB->YUV]", "[Img_CalcKey]"}},
        {eM_CalcKey, FOURCC_I420, eIK_YUV, S_OK, {"[YUV->RGB]", "[RGB->YUV]", "[Img_CalcKey]"}},
        {eM_CalcKey, FOURCC_UYVY, eIK_HLS, S_OK, {"[YUV->RGB]", "[RGB->HLS]", "[Img_CalcKey]"}},
        {eM_CalcKey, FOURCC_v210, eIK_HLS, E_INVALIDARG, {}},
        {eM_Graph, FOURCC_RGB32, 1, S_OK, {}},
        {eM_Graph, FOURCC_YV12, 1, S_OK, {"[YUV->RGB]"}},
        {eM_Graph, FOURCC_YV12, 2, E_INVALIDARG, {"[YUV->RGB]"}}, // the mode is looked at last
    };
    AssertCapture asserts; // the refused pair asserts
    for (const TimingRow& row : arrRows)
    {
        SCOPED_TRACE("measurement " + std::to_string(row.eWhat) + " of " +
                     Str(PicProps{row.fccType, 4, 4, 4}) + " mode " + std::to_string(row.nMode));
        Texts expected;
        for (const std::string& sLabel : row.labels)
            expected.push_back(ReportOf(sLabel));
        std::vector<int> arrRuns;
        for (int i = 0; i < 2; i++) // each call is one more run of its counters
        {
            LogCapture log;
            EXPECT_EQ(Measure(row.eWhat, row.fccType, row.nMode), row.hr);
            Texts lines;
            std::vector<int> arrNow;
            for (const std::string& sLine : log.Texts(2))
            {
                lines.push_back(WithoutFigures(sLine));
                arrNow.push_back(RunsOf(sLine));
            }
            EXPECT_EQ(lines, expected);
            for (int& nRuns : arrRuns)
                nRuns++;
            if (i > 0)
            {
                EXPECT_EQ(arrNow, arrRuns);
            }
            arrRuns = arrNow;
        }
    }
}

} // namespace
