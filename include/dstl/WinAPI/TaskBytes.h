#pragma once
/// Owner of a block of COM task memory, for pixels that change hands.

#include "dstl/WinAPI/Platform.h"

#include <cstring>

/// Owner of COM task memory.
class CTaskBytes
{
public:
    CTaskBytes() noexcept = default;
    explicit CTaskBytes(size_t cb) noexcept { Alloc(cb); }
    ~CTaskBytes() { CoTaskMemFree(m_pb); }
    CTaskBytes(const CTaskBytes&) = delete;
    CTaskBytes& operator=(const CTaskBytes&) = delete;

    explicit operator bool() const noexcept { return m_pb != NULL; }
    BYTE* Get() const noexcept { return m_pb; }

    /// Frees what was held; null afterwards when there is no memory.
    void Alloc(size_t cb) noexcept
    {
        CoTaskMemFree(m_pb);
        m_pb = static_cast<BYTE*>(CoTaskMemAlloc(cb));
    }

    /// Alloc, and all bytes are zero.
    void AllocZeroed(size_t cb) noexcept
    {
        Alloc(cb);
        if (m_pb != NULL)
            std::memset(m_pb, 0, cb);
    }

    /// Frees what was held, for a function that hands out a block.
    BYTE** Out() noexcept
    {
        CoTaskMemFree(m_pb);
        m_pb = NULL;
        return &m_pb;
    }

    /// Hands the block over.
    BYTE* Detach() noexcept
    {
        BYTE* pb = m_pb;
        m_pb = NULL;
        return pb;
    }

private:
    BYTE* m_pb = NULL;
};
