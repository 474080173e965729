#pragma once
/// A frame buffer of an exact size. AddressSanitizer sees its bounds in the native build; elsewhere bytes on
/// both sides tell whether something was written beside it.

#include "Common/Common.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

class PictureBuffer
{
public:
    explicit PictureBuffer(size_t cb) : m_cb(cb), m_pb(new BYTE[cb + 2 * cbGuard])
    {
        std::memset(m_pb.get(), nGuard, m_cb + 2 * cbGuard);
    }
    explicit PictureBuffer(const PicProps& pic) : PictureBuffer(GetPicSize(&pic)) {}

    BYTE* Data() { return m_pb.get() + cbGuard; }
    const BYTE* Data() const { return m_pb.get() + cbGuard; }
    size_t Size() const { return m_cb; }

    /// Bytes that differ from their neighbours, from a seed.
    PictureBuffer& Fill(unsigned nSeed)
    {
        for (size_t i = 0; i < m_cb; i++)
        {
            nSeed = nSeed * 1664525u + 1013904223u;
            Data()[i] = static_cast<BYTE>(nSeed >> 24);
        }
        return *this;
    }

    /// All bytes zero.
    PictureBuffer& Clear()
    {
        std::memset(Data(), 0, m_cb);
        return *this;
    }

    std::vector<BYTE> Bytes() const { return {Data(), Data() + m_cb}; }

    bool IsGuardWhole() const
    {
        const auto isGuard = [](BYTE b) { return b == nGuard; };
        return std::all_of(m_pb.get(), m_pb.get() + cbGuard, isGuard) &&
               std::all_of(Data() + m_cb, Data() + m_cb + cbGuard, isGuard);
    }

private:
#ifdef QX_NATIVE
    static constexpr size_t cbGuard = 0;
#else
    static constexpr size_t cbGuard = 256;
#endif
    static constexpr BYTE nGuard = 0xC5;

    size_t m_cb;
    std::unique_ptr<BYTE[]> m_pb;
};
