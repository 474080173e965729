#pragma once
/// The owner of what the platform hands out and wants back, whatever it is: one template, and for each kind of
/// resource a traits class that gives it back. Interfaces are owned by CComPtr, strings by CComBSTR.

#include "dstl/WinAPI/Platform.h"

#include <type_traits>
#include <utility>

/// Sole owner of one resource, given back at the end of the owner's life.
/// \tparam TTraits `Value`, the resource, whose zero is none; `bool Close(Value) noexcept`, which gives it back
template <class TTraits>
class COwner
{
public:
    using Value = typename TTraits::Value;

    constexpr COwner() noexcept = default;
    /// INVALID_HANDLE_VALUE counts as no handle, here and in Attach.
    explicit COwner(Value value) noexcept : m_h(Held(value)) {}
    COwner(COwner&& other) noexcept : m_h(other.Detach()) {}
    COwner& operator=(COwner&& other) noexcept
    {
        Attach(other.Detach());
        return *this;
    }
    ~COwner() { Close(); }

    Value Get() const noexcept { return m_h; }
    explicit operator bool() const noexcept { return m_h != Value{}; }

    /// Takes a resource over and gives back the one held.
    void Attach(Value value) noexcept
    {
        if (value != m_h)
            Close();
        m_h = Held(value);
    }
    /// Hands the resource out; the caller gives it back.
    Value Detach() noexcept { return std::exchange(m_h, Value{}); }
    /// Gives back what is held.
    /// \return false when that failed; the last error then tells why
    bool Close() noexcept { return m_h == Value{} || TTraits::Close(Detach()); }
    /// For a call that hands out a resource: gives back what is held first.
    Value* Out() noexcept
    {
        Close();
        return &m_h;
    }

protected:
    Value m_h{};

private:
    static Value Held(Value value) noexcept
    {
        if constexpr (std::is_same_v<Value, HANDLE>)
            return value != INVALID_HANDLE_VALUE ? value : nullptr;
        else
            return value;
    }
};

/// Files, events, threads, mutexes, and all else that CloseHandle closes.
struct HandleTraits
{
    using Value = HANDLE;
    static bool Close(HANDLE h) noexcept { return CloseHandle(h) != FALSE; }
};
using COwnedHandle = COwner<HandleTraits>;

/// A search for files.
struct FindTraits
{
    using Value = HANDLE;
    static bool Close(HANDLE h) noexcept { return FindClose(h) != FALSE; }
};
using COwnedFind = COwner<FindTraits>;

struct ModuleTraits
{
    using Value = HMODULE;
    static bool Close(HMODULE h) noexcept { return FreeLibrary(h) != FALSE; }
};
using COwnedModule = COwner<ModuleTraits>;

struct RegKeyTraits
{
    using Value = HKEY;
    static bool Close(HKEY h) noexcept { return RegCloseKey(h) == ERROR_SUCCESS; }
};
using COwnedKey = COwner<RegKeyTraits>;

/// A block that LocalFree frees.
template <class T>
struct LocalMemoryTraits
{
    using Value = T*;
    static bool Close(T* p) noexcept { return LocalFree(p) == nullptr; }
};
template <class T>
using COwnedLocal = COwner<LocalMemoryTraits<T>>;

/// A block of COM task memory.
template <class T>
struct TaskMemoryTraits
{
    using Value = T*;
    static bool Close(T* p) noexcept
    {
        CoTaskMemFree(p);
        return true;
    }
};
template <class T>
using COwnedTask = COwner<TaskMemoryTraits<T>>;

/// Fonts, bitmaps, brushes.
template <class THandle>
struct GdiObjectTraits
{
    using Value = THandle;
    static bool Close(THandle h) noexcept { return DeleteObject(h) != FALSE; }
};
template <class THandle>
using COwnedGdi = COwner<GdiObjectTraits<THandle>>;

/// A device context in memory.
struct MemoryDcTraits
{
    using Value = HDC;
    static bool Close(HDC h) noexcept { return DeleteDC(h) != FALSE; }
};
using COwnedMemoryDc = COwner<MemoryDcTraits>;

/// The device context of the screen.
struct ScreenDcTraits
{
    using Value = HDC;
    static bool Close(HDC h) noexcept { return ReleaseDC(nullptr, h) != 0; }
};
using COwnedScreenDc = COwner<ScreenDcTraits>;
