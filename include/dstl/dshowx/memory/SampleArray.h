#pragma once
/// The pool of blocks in which sample objects are built: raw memory of one size, reused last in, first out.
/// Not for concurrent use of one pool.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>
#include <memory>

class CSampleArray
{
public:
    /// \param cbBlock bytes of a block
    explicit CSampleArray(size_t cbBlock) noexcept : m_cbBlock(cbBlock) {}
    ~CSampleArray() { Clear(); }
    CSampleArray(const CSampleArray&) = delete;
    CSampleArray& operator=(const CSampleArray&) = delete;

    /// Starts afresh with n blocks; none for n of 0 or less. \return false, with an empty pool, without
    /// memory
    bool Create(LONG n) noexcept;
    /// \return a block filled with zeros, a new one when none is free; null without memory
    void* Get() noexcept;
    /// Takes a block back.
    void Put(void* pSample) noexcept;
    /// Frees everything. No block may be handed out.
    void Clear() noexcept;

    std::unique_ptr<void*[]> m_ppArr; ///< the free blocks in [0, m_nBusy)
    DWORD m_nCapacity = 0;            ///< entries of m_ppArr
    DWORD m_nAll = 0;                 ///< blocks that exist
    DWORD m_nBusy = 0;                ///< blocks in the array: in spite of the name, the free ones

private:
    bool Grow() noexcept;
    void* NewBlock() const noexcept;

    const size_t m_cbBlock;
};
