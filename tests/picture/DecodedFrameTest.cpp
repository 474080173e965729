// Rows and delays of a decoder, as the loader hands them on.
#include "TempFiles.h"
#include "Video/TgaBmp/BmpFile.h"
#include "dstl/Old/DecodedFrame.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace
{
/// A block of the heap of exactly so many bytes, so that a sanitizer sees every byte beside it.
class ExactBlock
{
public:
    explicit ExactBlock(const Bytes& bytes) : m_pb(std::make_unique<BYTE[]>(bytes.size()))
    {
        std::copy(bytes.begin(), bytes.end(), m_pb.get());
    }
    const BYTE* At(size_t n) const { return m_pb.get() + n; }

private:
    std::unique_ptr<BYTE[]> m_pb;
};

struct Rows : testing::Test
{
    HRESULT Copy(const DecodedRows& rows)
    {
        DSTLBLOB blob = {77, reinterpret_cast<BYTE*>(ULONG_PTR{0xCC})};
        const HRESULT hr = CopyRowsBottomUp(rows, &blob);
        *m_block.Out() = blob.pbData;
        m_cb = blob.cbData;
        return hr;
    }

    Bytes Block() const { return Bytes(m_block.Get(), m_block.Get() + m_cb); }

    void ExpectNothing() const
    {
        EXPECT_EQ(m_block.Get(), nullptr);
        EXPECT_EQ(m_cb, 0u);
    }

    CTaskBytes m_block;
    DWORD m_cb = 0;
};

/// The rows of a block in the other order.
Bytes Turned(const Bytes& rows, size_t cbRow)
{
    Bytes turned;
    for (size_t nAt = rows.size(); nAt >= cbRow; nAt -= cbRow)
        turned.insert(turned.end(), rows.begin() + static_cast<ptrdiff_t>(nAt - cbRow),
                      rows.begin() + static_cast<ptrdiff_t>(nAt));
    return turned;
}

TEST_F(Rows, BottomRowFirst)
{
    const Bytes pixels = Pattern(3 * 2 * 4);
    const ExactBlock block(pixels);
    ASSERT_EQ(Copy({block.At(0), 12, 3, 2}), S_OK);
    EXPECT_EQ(Block(), Turned(pixels, 12));

    ASSERT_EQ(Copy({block.At(0), 4, 1, 6}), S_OK);
    EXPECT_EQ(Block(), Turned(pixels, 4));
    ASSERT_EQ(Copy({block.At(0), 24, 6, 1}), S_OK);
    EXPECT_EQ(Block(), pixels);
}

TEST_F(Rows, NegativeStride)
{
    const Bytes pixels = Pattern(3 * 4 * 4);
    const ExactBlock block(pixels); // the top row lies last
    ASSERT_EQ(Copy({block.At(36), -12, 3, 4}), S_OK);
    EXPECT_EQ(Block(), pixels);
}

TEST_F(Rows, StrideWithSlack)
{
    // Two pixels and four bytes of slack; the last row ends with its pixels.
    const Bytes pixels = Pattern(12 + 12 + 8);
    Bytes expected;
    for (const size_t nAt : {24, 12, 0})
    {
        for (size_t i = 0; i < 12; ++i)
            expected.push_back(i < 8 ? pixels[nAt + i] : 0);
    }
    const ExactBlock block(pixels);
    ASSERT_EQ(Copy({block.At(0), 12, 2, 3}), S_OK);
    EXPECT_EQ(Block(), expected);
    ASSERT_EQ(Copy({block.At(24), -12, 2, 3}), S_OK);
    EXPECT_EQ(Block(), Turned(expected, 12));

    // A stride of no whole pixels
    const ExactBlock odd(Pattern(9 + 8));
    ASSERT_EQ(Copy({odd.At(0), 9, 2, 2}), S_OK);
    EXPECT_EQ(Block().size(), 18u);
    EXPECT_EQ(Block()[8], 0);
    EXPECT_EQ(Block()[17], 0);
}

TEST_F(Rows, Nothing)
{
    const ExactBlock block(Pattern(64));
    for (const DecodedRows& rows :
         {DecodedRows{nullptr, 8, 2, 2}, DecodedRows{block.At(0), 0, 2, 2}, DecodedRows{block.At(0), 7, 2, 2},
          DecodedRows{block.At(32), -7, 2, 2}, DecodedRows{block.At(0), 8, 0, 2},
          DecodedRows{block.At(0), 8, 2, 0}, DecodedRows{block.At(0), 0, 0, 0},
          DecodedRows{block.At(0), 8, 0x40000002, 2}, DecodedRows{block.At(0), INT_MAX, 0xFFFFFFFF, 1}})
    {
        EXPECT_EQ(Copy(rows), S_FALSE);
        ExpectNothing();
    }
}

TEST_F(Rows, SizesThatDoNotFit)
{
    const ExactBlock block(Pattern(64)); // never read
    for (const DecodedRows& rows :
         {DecodedRows{block.At(0), 65536, 16384, 65536}, DecodedRows{block.At(0), -65536, 16384, 65536},
          DecodedRows{block.At(0), INT_MAX, 2, 3}, DecodedRows{block.At(0), INT_MIN, 2, 2},
          DecodedRows{block.At(0), 4, 1, 0x40000000}, DecodedRows{block.At(0), 8, 2, 0xFFFFFFFF}})
    {
        EXPECT_EQ(Copy(rows), E_OUTOFMEMORY);
        ExpectNothing();
    }
}

TEST(FrameTimes, Duration)
{
    const struct
    {
        LONG nDelay;
        LONGLONG rtDuration;
    } rgRows[] = {{0, 0},
                  {1, 1000000},
                  {2, 2000000},
                  {3, 300000},
                  {4, 400000},
                  {10, 1000000},
                  {65535, 6553500000},
                  {-1, -1000000},
                  {INT_MAX, 214748364700000},
                  {INT_MIN, -2147483648000000}};
    for (const auto& row : rgRows)
        EXPECT_EQ(FrameDuration(row.nDelay), row.rtDuration) << row.nDelay;
}

TEST(FrameTimes, NextStart)
{
    EXPECT_EQ(NextFrameStart(0, 0), 400000);
    EXPECT_EQ(NextFrameStart(400000, 0), 800000);
    EXPECT_EQ(NextFrameStart(0, 1000000), 1000000);
    EXPECT_EQ(NextFrameStart(5, -1000000), -999995);
    EXPECT_EQ(NextFrameStart(LLONG_MAX, 1), LLONG_MIN); // wraps
}
} // namespace
