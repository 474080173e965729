#pragma once
/// Everything that is written in the parts of the registry where a server registers itself.

#include "dstl/WinAPI/Platform.h"

#include <map>
#include <string>

/// Data by "KEY" for a key and by "KEY|VALUE" for a value, the default value being "KEY|". Text is given as
/// it is, a number as "dword:" and eight digits, anything else as "hex:" and its bytes; a key has no data.
/// The platform's copy of some keys for 32-bit programs is left out.
using RegistrySnapshot = std::map<std::wstring, std::wstring>;

/// HKEY_CLASSES_ROOT as all users have it, and what the user's own settings hold.
RegistrySnapshot TakeRegistrySnapshot();

/// What the second one has that the first one has not, or has with other data.
RegistrySnapshot Added(const RegistrySnapshot& before, const RegistrySnapshot& after);

/// One line an entry, to be read in a failure.
std::string Lines(const RegistrySnapshot& snapshot);
