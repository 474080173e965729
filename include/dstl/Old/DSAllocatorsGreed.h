#pragma once
/// The buffer store behind the filter's own allocator, greedy with memory: a stack of slots of which only the
/// last two receive memory at first. A slot receives memory when it is popped, and each return gives the
/// memory of the slot below it back to the system. Memory thus follows what is in flight, and after a burst
/// one warm buffer remains; the price is one VirtualAlloc and one VirtualFree a frame while more than one is
/// in flight.
///
/// The store knows nothing of samples, states or locks: whoever owns it locks around every call.

#include "dstl/dshowx/memory/AllocatorProps.h"
#include "dstl/dshowx/DSTrace.h"

#include <memory>
#include <new>

/// One place of the stack. Both pointers are null while it holds no memory.
struct GreedBufferSlot
{
    BYTE* pbAlignedBuffer; ///< what a sample sees: an aligned address plus the prefix
    BYTE* pbRawBuffer;     ///< what VirtualAlloc gave
};

/// The memory policy: how a buffer is had from the system, and how the slots are filled and emptied at once.
///
/// pbAlignedBuffer is ((pbRawBuffer + cbAlign - 1) & ~(cbAlign - 1)) + cbPrefix. In front of a negative
/// prefix lie as many whole alignments as keep the buffer within its memory.
class CGreedArrayOnVirtualAlloc
{
public:
    /// Empties all slots, then gives memory to those from index cBuffers - 2 on.
    /// \param ppBuffers the address of a pointer to cBuffers slots
    /// \return false without memory; what was obtained until then stays in the slots
    bool AllocArray(ALLOCATOR_PROPERTIES rgProps, GreedBufferSlot** ppBuffers) noexcept;
    /// Gives memory to one slot, with the properties of the array. New memory is filled with zeros.
    bool AllocOne(GreedBufferSlot* pBuffer) noexcept;
    /// Gives the memory of all slots back and forgets the properties.
    /// \param pBuffers null to forget only
    void FreeArray(GreedBufferSlot* pBuffers, DWORD nBuffers) noexcept;
    /// Gives the memory of one slot back, if it holds any.
    static void FreeOne(GreedBufferSlot& slot) noexcept;
    /// The policy's opinion of an alignment: every one will do.
    static bool IsValidAlign(LONG) noexcept { return true; }

    DWORD m_cbAllocSize = 0;                  ///< bytes asked of the system for each buffer; 0 without array
    ALLOCATOR_PROPERTIES m_rgAllocProps = {}; ///< what the array was made with; all 0 without array

private:
    bool AllocSlot(GreedBufferSlot& slot, const ALLOCATOR_PROPERTIES& rgProps) const noexcept;
};

/// The free stack. Slots [0, m_nFree) are free, the last of them is the top; slots [m_nFree, m_nStackSize)
/// are handed out and keep their pointers.
/// \tparam TArray the memory policy
template <class TArray>
class CGreedAllocatorBuffers : public TArray
{
public:
    CGreedAllocatorBuffers() noexcept = default;
    CGreedAllocatorBuffers(const CGreedAllocatorBuffers&) = delete;
    CGreedAllocatorBuffers& operator=(const CGreedAllocatorBuffers&) = delete;
    ~CGreedAllocatorBuffers() { Free(); }

    /// See CorrectAllocatorProps.
    static HRESULT Correct(ALLOCATOR_PROPERTIES& rgProps) noexcept
    {
        return CorrectAllocatorProps(rgProps, &TArray::IsValidAlign);
    }

    /// Makes the stack, in the place of an earlier one.
    /// \return false, with an empty store, without memory
    bool Alloc(ALLOCATOR_PROPERTIES rgProps) noexcept
    {
        DSASSERT(rgProps.cBuffers > 0 && rgProps.cbBuffer > 0 && rgProps.cbAlign >= 0);
        if (rgProps.cbAlign < 1)
            rgProps.cbAlign = 1;
        Free();
        if (rgProps.cBuffers < 1)
            return false;
        const DWORD nBuffers = static_cast<DWORD>(rgProps.cBuffers);
        m_stackFree.reset(new (std::nothrow) GreedBufferSlot[nBuffers]());
        if (m_stackFree == nullptr)
            return false;
        m_nStackSize = m_nFree = nBuffers; // a slot counts as free with or without memory
        GreedBufferSlot* pBuffers = m_stackFree.get();
        if (this->AllocArray(rgProps, &pBuffers))
            return true;
        Free(); // deliberately after the policy has forgotten its properties, which is asserted
        return false;
    }

    /// Gives everything back. Nothing may be handed out.
    void Free() noexcept
    {
        DSASSERT(IsAllReturn());
        if (m_stackFree != nullptr)
        {
            this->FreeArray(m_stackFree.get(), m_nStackSize);
            m_stackFree.reset();
        }
        m_nFree = m_nStackSize = 0;
    }

    /// \return a buffer that Push takes back; null when none is free, or none can be had: then the slot
    /// counts as handed out for as long as this stack lives, deliberately
    BYTE* Pop() noexcept
    {
        DSASSERT(m_stackFree != NULL);
        if (m_nFree == 0)
            return nullptr;
        GreedBufferSlot& slot = m_stackFree[--m_nFree];
        if (slot.pbRawBuffer == nullptr)
        {
            DSASSERT(m_stackFree[m_nFree].pbAlignedBuffer == NULL);
            if (!this->AllocOne(&slot))
                return nullptr;
        }
        DSASSERT(m_stackFree[m_nFree].pbAlignedBuffer);
        return slot.pbAlignedBuffer;
    }

    /// Takes a buffer back as the new top and gives the memory of the slot below it back to the system. An
    /// address that is not handed out deliberately takes the place of one that is.
    void Push(BYTE* pbAlignedBuffer) noexcept
    {
        DSASSERT(m_stackFree != NULL && !IsAllReturn());
        if (IsAllReturn())
            return; // there is no slot for it
        GreedBufferSlot& top = m_stackFree[m_nFree];
        BYTE* pbRawBuffer = nullptr;
        for (DWORD i = m_nFree; i < m_nStackSize; i++)
        {
            if (m_stackFree[i].pbAlignedBuffer != pbAlignedBuffer)
                continue;
            pbRawBuffer = m_stackFree[i].pbRawBuffer;
            m_stackFree[i] = top; // keeps those that are handed out together
            break;
        }
        top = {pbAlignedBuffer, pbRawBuffer};
        if (m_nFree++ > 0)
            TArray::FreeOne((&top)[-1]);
    }

    /// Whether no buffer is handed out. An empty store has none.
    bool IsAllReturn() const noexcept { return m_nStackSize == m_nFree; }
    /// Free slots, with or without memory.
    DWORD GetFreeCount() const noexcept { return m_nFree; }

    std::unique_ptr<GreedBufferSlot[]> m_stackFree;
    DWORD m_nStackSize = 0;
    DWORD m_nFree = 0;
};
