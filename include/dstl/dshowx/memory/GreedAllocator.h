#pragma once
/// The filter's own allocator: for output pins whose peer brings none. It takes little memory for many
/// buffers (DSAllocatorsGreed.h), and makes its samples when they are asked for.

#include "dstl/Old/DSAllocatorsGreed.h"
#include "dstl/dshowx/memory/MemAllocBase.h"

/// Not creatable through COM. Any thread may call any operation.
class CGreedMemoryAllocator
    : public CComObjectRootEx<CComMultiThreadModel>,
      public CComCoClass<CGreedMemoryAllocator, &GUID_NULL>,
      public CMemAllocBase<CGreedMemoryAllocator, CGreedAllocatorBuffers<CGreedArrayOnVirtualAlloc>,
                           CMediaSample>
{
public:
    ~CGreedMemoryAllocator();

    BEGIN_COM_MAP(CGreedMemoryAllocator)
    COM_INTERFACE_ENTRY(IMemAllocator)
    COM_INTERFACE_ENTRY(IMemAllocatorCallbackTemp)
    COM_INTERFACE_ENTRY(IMemAllocatorEx)
    END_COM_MAP()

    /// \param ppAllocator receives a counted allocator; null on failure
    static HRESULT Create(IMemAllocator** ppAllocator) noexcept;

    HRESULT FinalConstruct() noexcept;
    void FinalRelease() noexcept;
    /// Reports a committed allocator that nobody but itself holds any more: it and its memory stay.
    ULONG InternalRelease() noexcept;

    LPCWSTR GetClassName() const noexcept override { return L"CGreedMemoryAllocator"; }
};
