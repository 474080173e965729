#pragma once

#include "dstl/WinAPI/Platform.h"
#include <string>

/// Writes a file in one go, over one that is there. A disk that is full gives ERROR_DISK_FULL as an HRESULT;
/// after that and any other failure to write there is no file.
HRESULT WriteWholeFile(const std::wstring& path, const void* bytes, size_t size);
