#pragma once
/// Memory between two pages that nobody may touch. A buffer ends exactly at the page behind it or starts
/// right behind the page before it, so that the first byte read or written beside it faults, in any code.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

class GuardedPages
{
public:
    /// Which side of a buffer the forbidden page touches.
    enum eSide
    {
        AtEnd,
        AtStart
    };

    GuardedPages() = default;
    ~GuardedPages();
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    /// A buffer of cb bytes of any content, in the place of the earlier one. Never null, also for 0 bytes,
    /// none of which may then be touched. Ends the program when there is no memory.
    BYTE* Place(size_t cb, eSide side);

    /// Whether the bytes on the side without a page are as Place left them.
    bool IsWhole() const;

private:
    static constexpr size_t cbPage = 4096;
    /// Bytes that are watched on the side without a page.
    static constexpr size_t cbMargin = 128;
    static constexpr BYTE nMargin = 0xC5;

    void Allocate(size_t cbRoom);
    void Free();
    BYTE* Margin() const { return m_side == AtEnd ? m_pb - cbMargin : m_pb + m_cb; }

    BYTE* m_pRoom = nullptr; ///< accessible bytes, a forbidden page on both sides
    size_t m_cbRoom = 0;
    BYTE* m_pb = nullptr;
    size_t m_cb = 0;
    eSide m_side = AtEnd;
};
