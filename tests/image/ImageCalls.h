#pragma once
/// Random calls of every public entry point of the image library: fuzz targets and tests make them, with
/// numbers and with memory of their own kind.

#include "imgconverter/ImgConverter.h"
#include "support/GuardedPages.h"

#include <memory>
#include <random>
#include <span>
#include <string>

/// Where the settings of random calls come from.
class CallNumbers
{
public:
    virtual ~CallNumbers() = default;
    virtual BYTE Byte() = 0;

    /// 0 to n - 1; n is at most 256.
    unsigned Below(unsigned n) { return Byte() % n; }
    bool OneOf(unsigned n) { return Below(n) == 0; }
    /// nLow to nHigh, which lie less than 65535 apart.
    LONG Between(LONG nLow, LONG nHigh)
    {
        return nLow + static_cast<LONG>(Word() % static_cast<WORD>(nHigh - nLow + 1));
    }
    DWORD Dword() { return Word() | DWORD{Word()} << 16; }

    template <class T, size_t n>
    const T& Of(const T (&arr)[n])
    {
        return arr[Below(n)];
    }

private:
    WORD Word()
    {
        const BYTE nLow = Byte();
        return static_cast<WORD>(nLow | Byte() << 8);
    }
};

/// Numbers of a seed.
class SeedNumbers final : public CallNumbers
{
public:
    explicit SeedNumbers(unsigned nSeed) : m_engine(nSeed) {}
    BYTE Byte() override { return static_cast<BYTE>(m_engine() >> 11); }

private:
    std::mt19937 m_engine;
};

/// The bytes of an input, and zeros behind them.
class InputNumbers final : public CallNumbers
{
public:
    explicit InputNumbers(std::span<const BYTE> bytes) : m_bytes(bytes) {}
    BYTE Byte() override
    {
        if (m_bytes.empty())
            return 0;
        const BYTE n = m_bytes.front();
        m_bytes = m_bytes.subspan(1);
        return n;
    }
    bool IsEmpty() const { return m_bytes.empty(); }

private:
    std::span<const BYTE> m_bytes;
};

/// The buffers of one call.
enum eSlot
{
    eSL_Input,
    eSL_Alpha,
    eSL_Output,
    eSL_Temp,
    eSL_Key,
    eSL_Points,
    eSL_Rects,
    eSL_Count
};

/// Where the buffers lie.
class CallMemory
{
public:
    virtual ~CallMemory() = default;
    /// A buffer of exactly cb bytes, in the place of the slot's earlier one.
    virtual BYTE* Get(eSlot slot, size_t cb) = 0;
    /// False when a byte beside a buffer was written.
    virtual bool IsWhole() const = 0;
};

/// The heap, where AddressSanitizer knows the bounds. Large buffers, which would come as fresh pages each time, end
/// at a forbidden page.
class HeapMemory final : public CallMemory
{
public:
    BYTE* Get(eSlot slot, size_t cb) override
    {
        m_arrBlocks[slot].reset();
        if (cb > cbLargestBlock)
            return m_arrPages[slot].Place(cb, GuardedPages::AtEnd);
        m_arrBlocks[slot].reset(new BYTE[cb]);
        return m_arrBlocks[slot].get();
    }
    bool IsWhole() const override { return true; }

private:
    static constexpr size_t cbLargestBlock = 0x10000;

    std::unique_ptr<BYTE[]> m_arrBlocks[eSL_Count];
    GuardedPages m_arrPages[eSL_Count];
};

/// Between forbidden pages.
class PageMemory final : public CallMemory
{
public:
    explicit PageMemory(GuardedPages::eSide side) : m_side(side) {}
    BYTE* Get(eSlot slot, size_t cb) override { return m_arrPages[slot].Place(cb, m_side); }
    bool IsWhole() const override
    {
        for (const GuardedPages& pages : m_arrPages)
        {
            if (!pages.IsWhole())
                return false;
        }
        return true;
    }

private:
    GuardedPages m_arrPages[eSL_Count];
    const GuardedPages::eSide m_side;
};

class ImageCalls
{
public:
    ImageCalls(CallNumbers& numbers, CallMemory& memory) : m_numbers(numbers), m_memory(memory) {}

    /// Makes one call of a random entry point, all of whose buffers have exactly the size that the public
    /// header tells. What a frame or a work memory of more than 64 MiB would need is left out; a frame of 4
    /// GiB or more, which has to be refused, gets what is left of its size in 32 bits. \return null; or what
    /// was wrong: a result that the entry point does not have, a changed input, an output that was written
    /// although the result says that nothing was done, a byte beside a buffer
    const char* Make();

    /// The last call, for a message.
    std::string Describe() const;

    /// Calls that were made, and those of one entry point.
    unsigned long long Count() const;
    unsigned long long Count(size_t nEntry) const { return m_arrCount[nEntry]; }

    static constexpr size_t nEntries = 20;
    static const char* NameOf(size_t nEntry);

private:
    struct Frame
    {
        PicProps pic = {};
        BYTE* pb = nullptr;
        size_t cb = 0;
        bool bRefused = false; ///< of 4 GiB or more
    };

    struct Entry
    {
        const char* pszName;
        HRESULT (ImageCalls::*pfnCall)();
        DWORD dwResults; ///< eResult
    };
    static const Entry arrEntries[nEntries];

    LONG Size();
    LONG Coordinate(LONG nSize);
    int Setting();
    DWORD Format();
    PicProps Picture(DWORD fccType);
    const RECT* Rect(RECT& rc, const PicProps& pic);
    const RECT* RectIn() { return Rect(m_rcInput, m_input.pic); }
    const RECT* RectOut() { return Rect(m_rcOutput, m_output.pic); }

    BYTE* Buffer(eSlot slot, size_t cb);
    bool Open(Frame& frame, eSlot slot, DWORD fccType);
    bool OpenPair(bool bSameFormat);
    bool WorkMemory(BYTE*& pTemp, size_t cb, bool bAlways);
    bool IsUnchanged(eSlot slot) const;
    BYTE* In() { return m_bNullInput ? nullptr : m_input.pb; }
    BYTE* Out() { return m_bNullOutput ? nullptr : m_output.pb; }
    const PicProps* PicIn() { return m_bNullPicture ? nullptr : &m_input.pic; }
    const PicProps* PicOut() { return &m_output.pic; }

    HRESULT CheckProps();
    HRESULT GetRects();
    HRESULT BufferSize();
    HRESULT BufferSizeEx();
    HRESULT InitConverter();
    HRESULT Copy();
    HRESULT Convert();
    HRESULT ConvertResize();
    HRESULT ResizeFrame();
    HRESULT ResizeFields();
    HRESULT Fill();
    HRESULT DrawFrame();
    HRESULT FillColor();
    HRESULT Yuv();
    HRESULT MixAlpha();
    HRESULT MixPicture();
    HRESULT Blend();
    HRESULT ChromaKey();
    HRESULT CalcKey();
    HRESULT ImageGraph();

    CallNumbers& m_numbers;
    CallMemory& m_memory;
    unsigned long long m_arrCount[nEntries] = {};

    // The call under way.
    const Entry* m_pEntry = nullptr;
    Frame m_input;
    Frame m_output;
    RECT m_rcInput = {};
    RECT m_rcOutput = {};
    const RECT* m_prcInput = nullptr;
    const RECT* m_prcOutput = nullptr;
    BYTE* m_arrBytes[eSL_Count] = {};
    size_t m_arrSize[eSL_Count] = {};
    bool m_bNullInput = false;
    bool m_bNullOutput = false;
    bool m_bNullPicture = false;
    bool m_bMade = false;           ///< the call was made, and not left out for its memory
    bool m_bInputMayChange = false; ///< the entry point says so
    bool m_bMayBeHuge = false;      ///< the call does not look at the pixels, so that any size will do
    std::string m_sSettings;
    HRESULT m_hr = S_OK;
};
