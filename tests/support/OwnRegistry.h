#pragma once
/// A registry of the test's own, so that what the user has set neither matters nor changes.

#include "dstl/WinAPI/Platform.h"

#include <gtest/gtest.h>

#include <cwchar>

/// Puts an empty key in the place of HKEY_CURRENT_USER, for this process and as long as the scope lasts. One
/// at a time; no thread may read the registry while it comes or goes.
class OwnRegistry
{
public:
    OwnRegistry()
    {
        swprintf(m_szPath, 100, L"Software\\QxOwnRegistry-%lu", GetCurrentProcessId());
        RegCreateKeyExW(HKEY_CURRENT_USER, m_szPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hRoot,
                        nullptr);
        EXPECT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, m_hRoot), ERROR_SUCCESS);
    }
    ~OwnRegistry()
    {
        EXPECT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, nullptr), ERROR_SUCCESS);
        RegCloseKey(m_hRoot);
        EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, m_szPath), ERROR_SUCCESS);
    }
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;

private:
    wchar_t m_szPath[100];
    HKEY m_hRoot = nullptr;
};
