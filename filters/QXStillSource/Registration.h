#pragma once
/// How the still-picture source is registered: its pin table, its merit, its categories.

#include "dstl/dshowx/DSRegister.h"

/// The pin table of the filter: one output.
UINT GetPinInfo(int nIndex, const CPinInfo** ppInfo) noexcept;

/// What the filter class's UpdateRegistry does:
///     static HRESULT WINAPI UpdateRegistry(BOOL bRegister) noexcept
///     {
///         return QXUpdateFilterRegistry(bRegister);
///     }
HRESULT QXUpdateFilterRegistry(BOOL bRegister) noexcept;
