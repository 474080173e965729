#pragma once
/// Expands the name of a picture or of several pictures into a list of single names.

#include "dstl/WinAPI/Platform.h"
#include "dstl/WinAPI/Containers.h"

#include "dstl/WinAPI/Atl.h"

/// Owned names; a null BSTR in it never occurs, an empty name is an empty string.
using CFileNames = CSimpleArray2<CComBSTR>;

/// Appends to arrFiles what the name stands for: a folder or a wildcard gives the files found, each with the
/// folder in front and in the order in which the system finds them; anything else is split at "|" and not
/// tested.
/// \param pszName null counts as the empty name
/// \return true when arrFiles holds anything afterwards
bool ScanFileList(const wchar_t* pszName, CFileNames& arrFiles) noexcept;
