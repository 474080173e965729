// Row pitches, frame sizes, planes and offsets.
#include "ImageTest.h"

#include <climits>

namespace
{

struct PitchRow
{
    PicProps pic;
    DWORD cbRow;   ///< GetPicRowBytes
    DWORD cbRow10; ///< GetPicRowBytes10
    DWORD cbFrame; ///< GetPicSize
};

constexpr PitchRow arrPitches[] = {
    // row width 0, equal to the width, and larger
    {{FOURCC_RGB24, 10, 4, 0}, 32, 0, 128},
    {{FOURCC_RGB24, 10, 4, 10}, 32, 32, 128},
    {{FOURCC_RGB24, 10, 4, 13}, 40, 40, 160},
    // packed rows are padded to 4 bytes
    {{FOURCC_RGB8, 1, 3, 0}, 4, 0, 12},
    {{FOURCC_RGB8, 5, 3, 5}, 8, 8, 24},
    {{FOURCC_RGB565, 3, 3, 0}, 8, 0, 24},
    {{FOURCC_RGB555, 3, -3, 0}, 8, 0, 24},
    {{FOURCC_RGB24, 1, 1, 0}, 4, 0, 4},
    {{FOURCC_RGB24, 3, -2, 0}, 12, 0, 24},
    {{FOURCC_RGB32, 3, 2, 0}, 12, 0, 24},
    {{FOURCC_ARGB32, 3, 2, 0}, 12, 0, 24},
    {{FOURCC_YUY2, 2, 3, 0}, 4, 0, 12},
    {{FOURCC_UYVY, 6, 3, 8}, 16, 16, 48},
    {{FOURCC_HDYC, 6, -3, 0}, 12, 0, 36},
    {{FOURCC_YVYU, 6, 3, 0}, 12, 0, 36},
    {{FOURCC_IYU2, 3, 2, 0}, 12, 0, 24},
    {{FOURCC_YVU9, 3, 2, 0}, 4, 0, 8}, // 27 bits are 3 bytes
    // planar rows are not
    {{FOURCC_I420, 6, 4, 0}, 6, 0, 36},
    {{FOURCC_YV12, 6, 4, 8}, 8, 8, 48},
    {{FOURCC_I420, 6, 3, 0}, 6, 0, 27},
    {{FOURCC_NV12, 6, 4, 0}, 6, 0, 48}, // 16 bits a pixel count here
    {{FOURCC_Y422, 6, 4, 6}, 6, 6, 48},
    {{FOURCC_Y444, 6, 4, 0}, 6, 0, 72},
    // blocks of the 10-bit formats
    {{FOURCC_v210, 48, 2, 0}, 128, 0, 256},
    {{FOURCC_v210, 49, 2, 49}, 256, 256, 512},
    {{FOURCC_v210, 720, -576, 720}, 1920, 1920, 1105920},
    {{FOURCC_r210, 64, 2, 0}, 256, 0, 512},
    {{FOURCC_r210, 65, 2, 65}, 512, 512, 1024},
    // usual frames
    {{FOURCC_UYVY, 720, 576, 0}, 1440, 0, 829440},
    {{FOURCC_I420, 720, 576, 0}, 720, 0, 622080},
    {{FOURCC_ARGB32, 1920, -1080, 0}, 7680, 0, 8294400},
    // an unknown code counts 0 bits
    {{0, 16, 8, 0}, 0, 0, 0},
    // extremes keep the low 32 bits
    {{FOURCC_RGB8, INT_MAX, 1, 0}, 0x80000000, 0, 0x80000000},
    {{FOURCC_RGB32, INT_MAX, 1, INT_MAX}, 0xFFFFFFFC, 0xFFFFFFFC, 0xFFFFFFFC},
    {{FOURCC_RGB32, 1, INT_MIN, 0}, 4, 0, 0},
    {{FOURCC_I420, 2, INT_MIN, 0}, 2, 0, 0x80000000},
    {{FOURCC_RGB32, -16, 8, 0}, 0xFFFFFFC0, 0, 0},
};

TEST(Planes, PitchesAndSizes)
{
    for (const PitchRow& row : arrPitches)
    {
        SCOPED_TRACE(Str(row.pic));
        EXPECT_EQ(GetPicRowBytes(&row.pic), row.cbRow);
        EXPECT_EQ(GetPicRowBytes10(&row.pic), row.cbRow10);
        EXPECT_EQ(GetPicSize(&row.pic), row.cbFrame);
    }
    EXPECT_EQ(GetPicRowBytes(nullptr), 0u);
    EXPECT_EQ(GetPicRowBytes10(nullptr), 0u);
    EXPECT_EQ(GetPicSize(nullptr), 0u);
}

struct PlanesRow
{
    PicProps pic;
    bool bPlanarYUV;
    DWORD arrShift[3];
    DWORD arrStep[3];
    bool bMirror;
};

/// What a caller set stays in the entries of planes that a format lacks.
constexpr DWORD nUnset = 77;

constexpr PlanesRow arrPlanes[] = {
    {{FOURCC_I420, 6, 4, 0}, false, {0, 24, 30}, {6, 3, 3}, false},
    {{FOURCC_YV12, 6, 4, 0}, false, {0, 30, 24}, {6, 3, 3}, false},
    {{FOURCC_I420, 6, 4, 0}, true, {0, 24, 30}, {6, 3, 3}, false},
    {{FOURCC_YV12, 6, -4, 8}, true, {0, 40, 32}, {8, 4, 4}, false},
    {{FOURCC_I420, 6, 3, 0}, false, {0, 18, 22}, {6, 3, 3}, false},
    {{FOURCC_YUY2, 6, 4, 0}, true, {0, 24, 36}, {6, 3, 3}, false},
    {{FOURCC_UYVY, 6, 4, 0}, true, {0, 24, 36}, {6, 3, 3}, false},
    {{FOURCC_HDYC, 6, 4, 8}, true, {0, 32, 48}, {8, 4, 4}, false},
    {{FOURCC_YVYU, 6, 4, 0}, true, {0, 36, 24}, {6, 3, 3}, false},
    {{FOURCC_YUY2, 6, 10, 0}, false, {0, nUnset, nUnset}, {12, nUnset, nUnset}, false},
    {{FOURCC_UYVY, 6, -10, 8}, false, {0, nUnset, nUnset}, {16, nUnset, nUnset}, false},
    {{FOURCC_HDYC, 6, 10, 0}, false, {0, nUnset, nUnset}, {12, nUnset, nUnset}, false},
    {{FOURCC_YVYU, 6, 10, 0}, false, {0, nUnset, nUnset}, {12, nUnset, nUnset}, false},
    {{FOURCC_RGB24, 5, 10, 0}, false, {0, nUnset, nUnset}, {16, nUnset, nUnset}, true},
    {{FOURCC_RGB24, 5, -10, 0}, false, {0, nUnset, nUnset}, {16, nUnset, nUnset}, false},
    {{FOURCC_RGB24, 5, 10, 0}, true, {0, nUnset, nUnset}, {16, nUnset, nUnset}, true},
    {{FOURCC_RGB8, 5, 10, 0}, false, {0, nUnset, nUnset}, {8, nUnset, nUnset}, true},
    {{FOURCC_RGB565, 5, 10, 7}, false, {0, nUnset, nUnset}, {16, nUnset, nUnset}, true},
    {{FOURCC_RGB555, 5, -10, 0}, false, {0, nUnset, nUnset}, {12, nUnset, nUnset}, false},
    {{FOURCC_RGB32, 5, 10, 0}, false, {0, nUnset, nUnset}, {20, nUnset, nUnset}, true},
    {{FOURCC_ARGB32, 5, -10, 6}, false, {0, nUnset, nUnset}, {24, nUnset, nUnset}, false},
};

TEST(Planes, ShiftsStepsAndMirror)
{
    for (const PlanesRow& row : arrPlanes)
    {
        SCOPED_TRACE(Str(row.pic));
        DWORD arrShift[3] = {nUnset, nUnset, nUnset};
        DWORD arrStep[3] = {nUnset, nUnset, nUnset};
        bool bMirror = !row.bMirror;
        AssertCapture asserts;
        EXPECT_TRUE(GetPicPlanes(&row.pic, arrShift, arrStep, &bMirror, row.bPlanarYUV));
        for (int i = 0; i < 3; i++)
        {
            EXPECT_EQ(arrShift[i], row.arrShift[i]) << i;
            EXPECT_EQ(arrStep[i], row.arrStep[i]) << i;
        }
        EXPECT_EQ(bMirror, row.bMirror);
        EXPECT_TRUE(GetPicPlanes(&row.pic, arrShift, arrStep, nullptr, row.bPlanarYUV));
        EXPECT_EQ(asserts.Texts(), Texts{});
    }
}

TEST(Planes, RefusedDescriptors)
{
    DWORD arrShift[3] = {};
    DWORD arrStep[3] = {};
    bool bMirror = false;
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps pic = {fccType, 16, 8, 0};
        EXPECT_FALSE(GetPicPlanes(&pic, arrShift, arrStep, &bMirror, false));
        EXPECT_FALSE(GetPicPlanes(&pic, arrShift, arrStep, &bMirror, true));
    }
    // The last frame that 32-bit offsets reach, and the first that they do not.
    const PicProps picLast = {FOURCC_RGB32, INT_MAX / 2, -1, 0};
    EXPECT_TRUE(GetPicPlanes(&picLast, arrShift, arrStep, &bMirror, false));
    const PicProps picHuge = {FOURCC_RGB32, 1 << 15, 1 << 15, 0};
    EXPECT_FALSE(GetPicPlanes(&picHuge, arrShift, arrStep, &bMirror, false));
    const PicProps picHugePlanar = {FOURCC_I420, 1 << 16, 1 << 16, 0};
    EXPECT_FALSE(GetPicPlanes(&picHugePlanar, arrShift, arrStep, &bMirror, false));
    const PicProps picHugest = {FOURCC_I420, INT_MAX - 1, INT_MIN, 0};
    EXPECT_FALSE(GetPicPlanes(&picHugest, arrShift, arrStep, &bMirror, false));

    AssertCapture asserts;
    EXPECT_FALSE(GetPicPlanes(nullptr, arrShift, arrStep, &bMirror, false));
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps != NULL"});
}

struct OffsetRow
{
    PicProps pic;
    LONG x, y;
    bool bPlanarYUV;
    DWORD arrOffset[3];
};

constexpr OffsetRow arrOffsets[] = {
    {{FOURCC_RGB24, 5, 10, 0}, 2, 3, false, {54, 0, 0}},
    {{FOURCC_RGB565, 5, 10, 0}, 2, 3, false, {40, 0, 0}},
    {{FOURCC_RGB555, 5, 10, 7}, 2, 3, false, {52, 0, 0}},
    {{FOURCC_RGB32, 5, 10, 0}, 2, 3, true, {68, 0, 0}},
    {{FOURCC_ARGB32, 5, 10, 8}, 2, 3, false, {104, 0, 0}},
    {{FOURCC_RGB8, 5, 10, 0}, 2, 3, false, {17, 0, 0}}, // no padding here
    {{FOURCC_RGB8, 5, 10, 6}, 2, 3, true, {20, 0, 0}},
    {{FOURCC_YUY2, 6, 4, 0}, 2, 3, false, {40, 0, 0}},
    {{FOURCC_UYVY, 6, 4, 8}, 4, 1, false, {24, 0, 0}},
    {{FOURCC_HDYC, 6, 4, 0}, 2, 3, false, {40, 0, 0}},
    {{FOURCC_YVYU, 6, 4, 0}, 2, 3, false, {40, 0, 0}},
    {{FOURCC_YUY2, 6, 4, 0}, 2, 3, true, {20, 10, 10}},
    {{FOURCC_UYVY, 6, 4, 8}, 4, 1, true, {12, 6, 6}},
    {{FOURCC_HDYC, 6, 4, 0}, 2, 1, true, {8, 4, 4}},
    {{FOURCC_YVYU, 6, 4, 0}, 2, 1, true, {8, 4, 4}},
    {{FOURCC_I420, 6, 4, 0}, 2, 2, false, {14, 4, 4}},
    {{FOURCC_YV12, 6, 4, 8}, 4, 2, true, {20, 6, 6}},
    {{FOURCC_I420, 6, 4, 0}, 2, 3, false, {20, 5, 5}}, // an odd row stands inside a chroma row
    // 10-bit formats take the row width as it stands
    {{FOURCC_v210, 720, 576, 720}, 13, 2, false, {3872, 0, 0}},
    {{FOURCC_v210, 720, 576, 0}, 13, 2, false, {32, 0, 0}},
    {{FOURCC_r210, 720, 576, 720}, 13, 2, true, {6196, 0, 0}},
    // what wraps keeps the low 32 bits
    {{FOURCC_RGB32, 1 << 20, -1, 0}, 1, 1 << 12, false, {4, 0, 0}},
    {{FOURCC_RGB24, 16, 8, 0}, -1, -1, false, {0xFFFFFFCD, 0, 0}},
};

TEST(Planes, Offsets)
{
    for (const OffsetRow& row : arrOffsets)
    {
        SCOPED_TRACE(Str(row.pic));
        DWORD arrOffset[3] = {nUnset, nUnset, nUnset};
        AssertCapture asserts;
        EXPECT_TRUE(GetPicOffsets(&row.pic, row.x, row.y, arrOffset, row.bPlanarYUV));
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(arrOffset[i], row.arrOffset[i]) << i;
        EXPECT_EQ(asserts.Texts(), Texts{});
    }
}

TEST(Planes, OffsetsOfRefusedDescriptors)
{
    DWORD arrOffset[3] = {};
    AssertCapture asserts;
    for (const DWORD fccType : {FOURCC_NV12, FOURCC_Y422, FOURCC_Y444, FOURCC_IYU2})
    {
        const PicProps pic = {fccType, 16, 8, 0};
        EXPECT_FALSE(GetPicOffsets(&pic, 0, 0, arrOffset, false));
    }
    EXPECT_EQ(asserts.Texts(), Texts{});

    const PicProps picUnknown = {1, 16, 8, 0};
    EXPECT_FALSE(GetPicOffsets(&picUnknown, 0, 0, arrOffset, false));
    EXPECT_EQ(asserts.Texts(), Texts{"Is10Bit(): unknown FOURCC code"});

    const PicProps picOdd = {FOURCC_YUY2, 15, 8, 0};
    EXPECT_FALSE(GetPicOffsets(&picOdd, 0, 0, arrOffset, true));

    asserts.Clear();
    EXPECT_FALSE(GetPicOffsets(nullptr, 0, 0, arrOffset, false));
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps != NULL"});
}

/// Offsets of pixels inside a picture lie inside its frame, in every view.
TEST(Planes, OffsetsStayInsideTheFrame)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        for (LONG nHeight : {1, 2, 3, 7, -8})
        {
            for (LONG nPadding : {0, 2, 6})
            {
                const PicProps pic = {fccType, 10, nHeight, nPadding ? 10 + nPadding : 0};
                SCOPED_TRACE(Str(pic));
                for (const bool bPlanarYUV : {false, true})
                {
                    DWORD arrShift[3] = {};
                    DWORD arrStep[3] = {};
                    ASSERT_TRUE(GetPicPlanes(&pic, arrShift, arrStep, nullptr, bPlanarYUV));
                    for (LONG y = 0; y < static_cast<LONG>(AbsHeight(nHeight)); y++)
                    {
                        for (LONG x = 0; x < 10; x++)
                        {
                            DWORD arrOffset[3] = {};
                            ASSERT_TRUE(GetPicOffsets(&pic, x, y, arrOffset, bPlanarYUV));
                            EXPECT_LT(arrShift[0] + arrOffset[0], GetPicSize(&pic));
                            // A single row has no 4:2:0 chroma of its own.
                            if (y + 1 == static_cast<LONG>(AbsHeight(nHeight)))
                                continue;
                            EXPECT_LT(arrShift[1] + arrOffset[1], GetPicSize(&pic));
                            EXPECT_LT(arrShift[2] + arrOffset[2], GetPicSize(&pic));
                        }
                    }
                }
            }
        }
    }
}

} // namespace
