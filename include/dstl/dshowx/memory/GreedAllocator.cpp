#include "dstl/dshowx/memory/GreedAllocator.h"

HRESULT CGreedMemoryAllocator::Create(IMemAllocator** ppAllocator) noexcept
{
    DSASSERT(ppAllocator != NULL);
    if (ppAllocator == nullptr)
        return E_POINTER;
    *ppAllocator = nullptr;
    CComPtr<CComObject<CGreedMemoryAllocator>> spAllocator;
    const HRESULT hr = DSTLCreateObject(&spAllocator.p);
    if (FAILED(hr))
        return hr;
    return spAllocator->QueryInterface(IID_IMemAllocator, reinterpret_cast<void**>(ppAllocator));
}

HRESULT CGreedMemoryAllocator::FinalConstruct() noexcept
{
    return Construct();
}

void CGreedMemoryAllocator::FinalRelease() noexcept
{
    trace(atlTraceGeneral, eTL_Error, L"CGreedMemoryAllocator::FinalRelease [0x%08X]\n", TracePtr(this));
    DSASSERT(m_eState == AS_Create || m_eState == AS_Init || m_eState == AS_Prop);
    m_hSem.Close();
    m_eState = AS_Create;
    FreeAll();
    m_spNotify.Release();
}

CGreedMemoryAllocator::~CGreedMemoryAllocator()
{
    DSASSERT(m_eState == AS_Create);
}

ULONG CGreedMemoryAllocator::InternalRelease() noexcept
{
    const bool bCommitted = m_eState == AS_Committed; // the object may be gone behind the decrement
    const ULONG nRef = CComObjectRootEx::InternalRelease();
    if (nRef == 1 && bCommitted)
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CGreedMemoryAllocator::InternalRelease(): IMemAllocator::Decommit() isn't called, "
              L"memory isn't freed\n");
    return nRef;
}
