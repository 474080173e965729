#pragma once
/// A growable array and a text accumulator. Not for concurrent use of one object.

#include "dstl/dshowx/DSTrace.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

/// A growable array with the contract of a simple vector. Elements move by bytes when the array grows, so
/// they must not hold pointers into themselves.
template <class T>
class CSimpleArray2
{
    static_assert(alignof(T) <= alignof(std::max_align_t), "the block comes from realloc");

public:
    /// The largest number of elements: their bytes fit into 31 bits.
    static constexpr int nMaxSize = static_cast<int>(2147483647 / sizeof(T));

    CSimpleArray2() noexcept = default;
    CSimpleArray2(const CSimpleArray2&) = delete;
    CSimpleArray2& operator=(const CSimpleArray2&) = delete;
    CSimpleArray2(CSimpleArray2&& ar) noexcept { Take(ar); }
    CSimpleArray2& operator=(CSimpleArray2&& ar) noexcept
    {
        if (this != &ar)
        {
            RemoveAll();
            Take(ar);
        }
        return *this;
    }
    ~CSimpleArray2() { RemoveAll(); }

    int GetSize() const noexcept { return m_nSize; }
    int GetAllocSize() const noexcept { return m_nAllocSize; }
    T* GetData() const noexcept { return m_aT; }

    /// The capacity that follows when nSize elements fill the array: the double, or 1 for the first element.
    /// \return -1 when there may not be so many
    static constexpr int NextAllocSize(int nSize, int nAllocSize) noexcept
    {
        const int64_t nNew = nAllocSize == 0 ? 1 : int64_t(nSize) * 2;
        return nNew < 0 || nNew > nMaxSize ? -1 : static_cast<int>(nNew);
    }

    /// Appends a copy.
    /// \return false without memory, with no change
    bool Add(const T& t) noexcept(std::is_nothrow_copy_constructible_v<T>)
    {
        const T* pSource = std::addressof(t);
        if (m_nSize == m_nAllocSize)
        {
            const bool bOwn = IsOwn(pSource);
            DSASSERT_TEXT(!bOwn, "&t < m_aT || &t >= m_aT + m_nAllocSize");
            const ptrdiff_t nOwn = bOwn ? pSource - m_aT : 0;
            if (!Grow())
                return false;
            if (bOwn)
                pSource = m_aT + nOwn; // the element moved with its array
        }
        new (static_cast<void*>(m_aT + m_nSize)) Wrapper(*pSource);
        m_nSize++;
        return true;
    }

    /// The index is only asserted; one outside gives a spare element that belongs to no array.
    T& operator[](int nIndex) noexcept
    {
        DSASSERT(0 <= nIndex && nIndex < m_nSize);
        return nIndex >= 0 && nIndex < m_nSize ? m_aT[nIndex] : Spare();
    }
    const T& operator[](int nIndex) const noexcept
    {
        DSASSERT(nIndex >= 0 && nIndex < m_nSize);
        return nIndex >= 0 && nIndex < m_nSize ? m_aT[nIndex] : Spare();
    }

    /// Destroys the elements in index order and frees the array.
    void RemoveAll() noexcept
    {
        for (int i = 0; i < m_nSize; i++)
            m_aT[i].~T();
        free(static_cast<void*>(m_aT));
        m_aT = nullptr;
        m_nSize = 0;
        m_nAllocSize = 0;
    }

private:
    /// Constructs an element in place. Such an element is never to be deleted by itself.
    class Wrapper
    {
    public:
        explicit Wrapper(const T& _t) noexcept(std::is_nothrow_copy_constructible_v<T>) : t(_t) {}
        static void* operator new(size_t, void* pv) noexcept { return pv; }
        static void operator delete(void*) noexcept { ReportDelete(); }
        static void operator delete(void*, void*) noexcept { ReportDelete(); }

        T t;

    private:
        static void ReportDelete() noexcept
        {
            DSASSERT_TEXT(false, "CSimpleArray2::Wrapper(): operator delete");
        }
    };
    static_assert(sizeof(Wrapper) == sizeof(T));

    bool IsOwn(const T* p) const noexcept
    {
        const auto nAddress = reinterpret_cast<uintptr_t>(p);
        const auto nFirst = reinterpret_cast<uintptr_t>(m_aT);
        return nAddress >= nFirst && nAddress - nFirst < sizeof(T) * static_cast<size_t>(m_nAllocSize);
    }

    bool Grow() noexcept
    {
        const int nNew = NextAllocSize(m_nSize, m_nAllocSize);
        if (nNew < 0)
            return false;
        void* pv = realloc(static_cast<void*>(m_aT), sizeof(T) * static_cast<size_t>(nNew));
        if (pv == nullptr)
            return false;
        m_aT = static_cast<T*>(pv);
        m_nAllocSize = nNew;
        return true;
    }

    void Take(CSimpleArray2& ar) noexcept
    {
        m_aT = ar.m_aT;
        m_nSize = ar.m_nSize;
        m_nAllocSize = ar.m_nAllocSize;
        ar.m_aT = nullptr;
        ar.m_nSize = 0;
        ar.m_nAllocSize = 0;
    }

    static T& Spare() noexcept
    {
        if constexpr (std::is_default_constructible_v<T>)
        {
            static T spare{};
            return spare;
        }
        else
        {
            alignas(T) static unsigned char spare[sizeof(T)] = {};
            return *reinterpret_cast<T*>(spare);
        }
    }

    T* m_aT = nullptr;
    int m_nSize = 0;
    int m_nAllocSize = 0;
};

/// Collects wide text.
class CTextAccumulator
{
public:
    CTextAccumulator() noexcept = default;
    /// Starts with room for nCapacity characters, terminator included, or empty when there is no memory.
    explicit CTextAccumulator(size_t nCapacity) noexcept { Ensure(nCapacity); }
    CTextAccumulator(const CTextAccumulator&) = delete;
    CTextAccumulator& operator=(const CTextAccumulator&) = delete;
    ~CTextAccumulator() { free(m_pszText); }

    /// Appends a text, which may be a piece of the accumulator's own.
    /// \return false without memory or text
    bool Append(const wchar_t* psz) noexcept
    {
        DSASSERT(psz != NULL);
        if (psz == nullptr)
            return false;
        const size_t nLength = Length(psz);
        if (nLength == 0)
            return true;
        const auto nOffset = reinterpret_cast<uintptr_t>(psz) - reinterpret_cast<uintptr_t>(m_pszText);
        const bool bOwn = m_pszText != nullptr && nOffset < m_nCapacity * sizeof(wchar_t);
        if (!Ensure(m_nLength + nLength + 1))
            return false;
        if (bOwn)
            psz = m_pszText + nOffset / sizeof(wchar_t); // it moved with the buffer
        memmove(m_pszText + m_nLength, psz, nLength * sizeof(wchar_t));
        m_nLength += nLength;
        m_pszText[m_nLength] = 0;
        return true;
    }

    /// Never null.
    const wchar_t* GetText() const noexcept { return m_pszText != nullptr ? m_pszText : L""; }
    /// Characters without the terminator.
    size_t GetLength() const noexcept { return m_nLength; }
    /// Characters that the buffer holds, terminator included.
    size_t GetCapacity() const noexcept { return m_nCapacity; }

private:
    /// A loop of our own, as the wide functions of a runtime need not have characters of 16 bits.
    static size_t Length(const wchar_t* psz) noexcept
    {
        size_t nLength = 0;
        while (psz[nLength] != 0)
            nLength++;
        return nLength;
    }

    bool Ensure(size_t nCapacity) noexcept
    {
        if (nCapacity <= m_nCapacity)
            return true;
        const size_t nNew = nCapacity > m_nCapacity * 2 ? nCapacity : m_nCapacity * 2;
        if (nNew > SIZE_MAX / sizeof(wchar_t))
            return false;
        auto* psz = static_cast<wchar_t*>(realloc(m_pszText, nNew * sizeof(wchar_t)));
        if (psz == nullptr)
            return false;
        if (m_pszText == nullptr)
            psz[0] = 0;
        m_pszText = psz;
        m_nCapacity = nNew;
        return true;
    }

    wchar_t* m_pszText = nullptr;
    size_t m_nCapacity = 0;
    size_t m_nLength = 0;
};
