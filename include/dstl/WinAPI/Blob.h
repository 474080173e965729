#pragma once
/// An owning block of bytes with a choice of memory source. Not for concurrent use of one holder.

#include "dstl/WinAPI/Owner.h"
#include "dstl/dshowx/DSTrace.h"

#include <cstring>
#include <limits>
#include <new>

/// A block of bytes and its size. The platform's own BLOB names its fields otherwise.
struct DSTLBLOB
{
    DWORD cbData; ///< bytes in use
    BYTE* pbData; ///< the block, or null
};

/// Memory source: the heap.
struct CHeapMemory
{
    /// \param dwSize bytes asked for; becomes 0 when there is no memory
    static BYTE* Alloc(DWORD& dwSize) noexcept
    {
        BYTE* pb = static_cast<BYTE*>(::operator new(dwSize, std::nothrow));
        if (pb == nullptr)
            dwSize = 0;
        return pb;
    }
    static void Free(BYTE* pb, DWORD /*dwSize*/) noexcept { ::operator delete(pb); }
};

/// Memory source: COM task memory, for blocks that change hands.
struct CTaskMemory
{
    /// A size of 0 gives null.
    static BYTE* Alloc(DWORD& dwSize) noexcept
    {
        return dwSize != 0 ? static_cast<BYTE*>(CoTaskMemAlloc(dwSize)) : nullptr;
    }
    static void Free(BYTE* pb, DWORD /*dwSize*/) noexcept { TaskMemoryTraits<BYTE>::Close(pb); }
};

/// Memory source: whole pages. Deliberately executable as well as writable.
struct CVirtualMemory
{
    static constexpr DWORD cbPage = 4096;

    /// \param dwSize bytes asked for, rounded up to whole pages in place
    static BYTE* Alloc(DWORD& dwSize) noexcept
    {
        if (dwSize > std::numeric_limits<DWORD>::max() - (cbPage - 1))
            return nullptr; // the rounded size would not fit
        void* pv = VirtualAlloc(nullptr, dwSize, MEM_COMMIT, PAGE_EXECUTE_READWRITE);
        dwSize = (dwSize + cbPage - 1) / cbPage * cbPage;
        return static_cast<BYTE*>(pv);
    }
    /// Does nothing for a null pointer or a size of 0.
    static void Free(BYTE* pb, DWORD dwSize) noexcept
    {
        if (pb == nullptr || dwSize == 0)
            return;
        const BOOL bSuccess = VirtualFree(pb, 0, MEM_RELEASE);
        DSASSERT(bSuccess);
    }
};

/// Owns a block of bytes. A smaller size keeps the block, a larger one replaces it and loses the contents.
template <class TAlloc>
class CBLOBHolder
{
public:
    CBLOBHolder() noexcept
    {
        trace(atlTraceGeneral, eTL_Call, L"CBLOBHolder::CBLOBHolder( Ptr:%08X, Size=%d, allsize=%d)\n",
              TracePtr(this), static_cast<int>(sizeof(*this)), static_cast<int>(m_dwAllocSize));
    }
    CBLOBHolder(const CBLOBHolder& blob) noexcept : CBLOBHolder() { Copy(blob); }
    CBLOBHolder(CBLOBHolder&& blob) noexcept : CBLOBHolder() { Swap(blob); }
    ~CBLOBHolder() { Free(); }

    /// Without memory for the copy the holder is empty.
    CBLOBHolder& operator=(const CBLOBHolder& blob) noexcept
    {
        if (this != &blob)
        {
            Free();
            Copy(blob);
        }
        return *this;
    }
    /// The source is empty afterwards.
    CBLOBHolder& operator=(CBLOBHolder&& blob) noexcept
    {
        if (this != &blob)
        {
            Free();
            Swap(blob);
        }
        return *this;
    }

    /// Bytes in use.
    DWORD GetSize() const noexcept { return m_blobData.cbData; }
    /// Bytes allocated.
    DWORD GetAllocSize() const noexcept { return m_dwAllocSize; }

    /// Makes room for _dwSize bytes.
    /// \return S_OK with a new block whose contents are undefined; S_FALSE when the block was large enough
    /// and is kept with its contents; E_OUTOFMEMORY with an empty holder
    HRESULT Resize(DWORD _dwSize) noexcept
    {
        DSASSERT(m_dwAllocSize < 1 * 1024 * 1024 * 1024);
        if (m_dwAllocSize >= _dwSize)
        {
            m_blobData.cbData = _dwSize;
            return S_FALSE;
        }
        Free();
        if (!Obtain(_dwSize, _dwSize))
            return E_OUTOFMEMORY;
        return S_OK;
    }

    /// Resize, and with bFill all bytes in use become byFill.
    HRESULT Alloc(DWORD _dwSize, bool bFill = false, BYTE byFill = 0) noexcept
    {
        const HRESULT hr = Resize(_dwSize);
        if (SUCCEEDED(hr) && bFill && m_blobData.cbData != 0)
            memset(m_blobData.pbData, byFill, m_blobData.cbData);
        return hr;
    }

    /// Changes the bytes in use within the allocation; no memory moves.
    /// \return E_INVALIDARG above the allocation
    HRESULT SetSize(DWORD _dwSize) noexcept
    {
        DSASSERT(m_dwAllocSize >= _dwSize);
        if (_dwSize > m_dwAllocSize)
            return E_INVALIDARG;
        m_blobData.cbData = _dwSize;
        return S_OK;
    }

    /// \return the address of a byte of the allocation, null for an offset outside it
    BYTE* GetPtr(DWORD _dwOffset = 0) const noexcept
    {
        DSASSERT_TEXT((m_dwAllocSize > _dwOffset && m_blobData.cbData >= _dwOffset) || _dwOffset == 0,
                      "m_dwAllocSize > _dwOffset && m_blobData.cbData >= _dwOffset || _dwOffset == 0");
        return _dwOffset < m_dwAllocSize ? m_blobData.pbData + _dwOffset : nullptr;
    }

    /// Fills bytes in use from an offset on.
    /// \param nCount bytes, capped at what remains; negative means all that remains
    void Fill(BYTE byValue, DWORD _dwOffset = 0, LONG nCount = -1) noexcept
    {
        DSASSERT(m_blobData.pbData != NULL);
        DSASSERT(_dwOffset < m_blobData.cbData);
        if (m_blobData.pbData == nullptr || _dwOffset >= m_blobData.cbData)
            return; // nothing remains behind the capped offset
        const DWORD cbRest = m_blobData.cbData - _dwOffset;
        const DWORD cbFill = nCount < 0 || static_cast<DWORD>(nCount) > cbRest ? cbRest : nCount;
        memset(m_blobData.pbData + _dwOffset, byValue, cbFill);
    }

    /// False when no bytes are in use.
    bool IsValid() const noexcept
    {
        if (m_blobData.cbData == 0)
            return false;
        DSASSERT(m_blobData.pbData);
        return true;
    }

    /// Hands the block out; the caller owns it, and the holder is empty. Without pBlob nothing changes.
    void Detach(DSTLBLOB* pBlob) noexcept
    {
        if (pBlob == nullptr)
            return;
        *pBlob = m_blobData;
        Zero();
    }

    /// Takes a block over, which must be of this holder's memory source, and gives back the one held.
    void Attach(const DSTLBLOB* pBlob) noexcept
    {
        if (pBlob == nullptr)
            return;
        const DSTLBLOB blobNew = *pBlob;
        if (blobNew.pbData != m_blobData.pbData)
            Free(); // or the block that is to be taken over would be gone
        m_blobData.pbData = blobNew.pbData;
        m_blobData.cbData = blobNew.pbData != nullptr ? blobNew.cbData : 0;
        m_dwAllocSize = m_blobData.cbData;
    }

private:
    void Zero() noexcept
    {
        m_blobData.cbData = 0;
        m_blobData.pbData = nullptr;
        m_dwAllocSize = 0;
    }

    void Free() noexcept
    {
        TAlloc::Free(m_blobData.pbData, m_dwAllocSize);
        Zero();
    }

    /// Gets a block into the empty holder, which stays empty on failure.
    bool Obtain(DWORD cbData, DWORD dwAllocSize) noexcept
    {
        m_blobData.cbData = cbData;
        m_dwAllocSize = dwAllocSize;
        m_blobData.pbData = TAlloc::Alloc(m_dwAllocSize);
        if (m_blobData.pbData != nullptr)
            return true;
        Zero();
        return false;
    }

    void Copy(const CBLOBHolder& blob) noexcept
    {
        if (blob.m_blobData.pbData == nullptr || blob.m_dwAllocSize == 0)
            return;
        Obtain(blob.m_blobData.cbData, blob.m_dwAllocSize);
        DSASSERT(m_blobData.pbData);
        if (m_blobData.pbData != nullptr)
            memcpy(m_blobData.pbData, blob.m_blobData.pbData, m_blobData.cbData);
    }

    void Swap(CBLOBHolder& blob) noexcept
    {
        const DSTLBLOB blobData = m_blobData;
        m_blobData = blob.m_blobData;
        blob.m_blobData = blobData;
        const DWORD dwAllocSize = m_dwAllocSize;
        m_dwAllocSize = blob.m_dwAllocSize;
        blob.m_dwAllocSize = dwAllocSize;
    }

    DSTLBLOB m_blobData = {};
    DWORD m_dwAllocSize = 0; ///< never below m_blobData.cbData
};
