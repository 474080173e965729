#pragma once
/// Blocks of bytes in COM task memory, for pixels that change hands.

#include "dstl/WinAPI/Owner.h"

#include <cstring>

/// Owner of bytes in COM task memory.
class CTaskBytes : public COwnedTask<BYTE>
{
public:
    CTaskBytes() noexcept = default;
    explicit CTaskBytes(size_t cb) noexcept { Alloc(cb); }

    /// Frees what was held; null afterwards when there is no memory.
    void Alloc(size_t cb) noexcept { *Out() = static_cast<BYTE*>(CoTaskMemAlloc(cb)); }

    /// Alloc, and all bytes are zero.
    void AllocZeroed(size_t cb) noexcept
    {
        Alloc(cb);
        if (Get() != nullptr)
            std::memset(Get(), 0, cb);
    }
};
