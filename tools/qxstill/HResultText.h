#pragma once
/// Result codes in words.

#include "dstl/WinAPI/Platform.h"
#include <string>

/// The constant's name, for instance "VFW_E_NOT_STOPPED"; null for a code that the table does not know.
const char* HResultName(HRESULT hr);

/// Name and number: "VFW_E_NOT_STOPPED (0x80040224)".
std::string HResultCode(HRESULT hr);

/// Why a file was not opened, in words: "file not found (0x80070002)"; for other codes as HResultText.
std::string HResultReason(HRESULT hr);

/// Name, number and the platform's text on one line, as far as there are any:
/// "VFW_E_NOT_STOPPED (0x80040224): The operation could not be performed because the filter is not stopped."
std::string HResultText(HRESULT hr);
