#pragma once
/// An input of the readers' fuzz targets: how the file behaves, then its bytes.

#include "support/MemoryFiles.h"

#include <cstddef>
#include <cstdint>

/// The four bytes before the file.
struct FileInput
{
    static constexpr size_t cbOptions = 4;
    static constexpr uint8_t fBadFrom = 0x40;        ///< reads fail from nPlace on
    static constexpr uint8_t fBreaksOff = 0x80;      ///< the system tells of more bytes than there are
    static constexpr uint32_t nMostMissing = 0xFFFF; ///< mask of nPlace for them: memory follows what is told

    uint8_t fOptions; ///< the lower six bits are the target's
    uint32_t nPlace;  ///< 24 bits, little-endian

    /// Puts the file in place. \return false for an input that is too short
    bool Open(const uint8_t* pb, size_t cb)
    {
        if (cb < cbOptions)
            return false;
        fOptions = pb[0];
        nPlace = pb[1] | static_cast<uint32_t>(pb[2]) << 8 | static_cast<uint32_t>(pb[3]) << 16;
        memory::Reset();
        memory::g_file.bytes.assign(pb + cbOptions, pb + cb);
        if ((fOptions & fBadFrom) != 0)
            memory::g_file.nBadFrom = nPlace;
        if ((fOptions & fBreaksOff) != 0)
            memory::g_file.cbTold = memory::g_file.bytes.size() + (nPlace & nMostMissing);
        return true;
    }
};

/// Ends the program, as a finding, unless the condition holds.
inline void Require(bool bCondition)
{
    if (!bCondition)
        __builtin_trap();
}
