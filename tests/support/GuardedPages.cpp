#include "support/GuardedPages.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef QX_NATIVE
#include <sys/mman.h>
#endif

namespace
{

[[noreturn]] void OutOfMemory()
{
    std::fputs("no memory for a guarded buffer\n", stderr);
    std::abort();
}

} // namespace

GuardedPages::~GuardedPages()
{
    Free();
}

#ifdef QX_NATIVE

void GuardedPages::Allocate(size_t cbRoom)
{
    void* const pv =
        mmap(nullptr, cbRoom + 2 * cbPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pv == MAP_FAILED)
        OutOfMemory();
    m_pRoom = static_cast<BYTE*>(pv) + cbPage;
    m_cbRoom = cbRoom;
    if (mprotect(m_pRoom, m_cbRoom, PROT_READ | PROT_WRITE) != 0)
        OutOfMemory();
}

void GuardedPages::Free()
{
    if (m_pRoom)
        munmap(m_pRoom - cbPage, m_cbRoom + 2 * cbPage);
    m_pRoom = nullptr;
}

#else

void GuardedPages::Allocate(size_t cbRoom)
{
    void* const pv = VirtualAlloc(nullptr, cbRoom + 2 * cbPage, MEM_RESERVE, PAGE_NOACCESS);
    if (!pv)
        OutOfMemory();
    m_pRoom = static_cast<BYTE*>(pv) + cbPage;
    m_cbRoom = cbRoom;
    if (!VirtualAlloc(m_pRoom, m_cbRoom, MEM_COMMIT, PAGE_READWRITE))
        OutOfMemory();
}

void GuardedPages::Free()
{
    if (m_pRoom)
        VirtualFree(m_pRoom - cbPage, 0, MEM_RELEASE);
    m_pRoom = nullptr;
}

#endif

BYTE* GuardedPages::Place(size_t cb, eSide side)
{
    const size_t cbNeeded = (cb + cbMargin + cbPage - 1) / cbPage * cbPage;
    if (!m_pRoom || cbNeeded > m_cbRoom)
    {
        Free();
        Allocate(std::max(cbNeeded, size_t{16} * cbPage));
    }
    m_side = side;
    m_cb = cb;
    m_pb = side == AtEnd ? m_pRoom + (m_cbRoom - cb) : m_pRoom;
    std::memset(Margin(), nMargin, cbMargin);
    return m_pb;
}

bool GuardedPages::IsWhole() const
{
    if (!m_pRoom)
        return true;
    // All bytes equal the first one, which is right.
    const BYTE* const pb = Margin();
    return pb[0] == nMargin && std::memcmp(pb, pb + 1, cbMargin - 1) == 0;
}
