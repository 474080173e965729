#include "qxlog/LoggedFilter.h"

#include "dstl/dshowx/QXLog.h"
#include "support/OwnRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

/// Names qxlog64.dll in the registry, for this process and as long as the scope lasts.
class OwnLogKey : public OwnRegistry
{
public:
    OwnLogKey()
    {
        wchar_t szProgram[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, szProgram, MAX_PATH);
        std::wstring sDll = (std::filesystem::path(szProgram).parent_path() / L"qxlog64.dll").wstring();
        std::replace(sDll.begin(), sDll.end(), L'\\', L'|');
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, szQXLogKey, nullptr, REG_SZ, sDll.c_str(),
                                  static_cast<DWORD>((sDll.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
};

} // namespace

LoggedFilter::LoggedFilter()
{
    const OwnLogKey key;
    m_module = std::make_unique<FilterModule>();
}

bool LoggedFilter::WaitFor(const std::string& sText, int nTimes) const
{
    // The log is another process's affair in earnest: nobody tells when it grows.
    for (const ULONGLONG ullEnd = GetTickCount64() + g_limit; GetTickCount64() < ullEnd; Sleep(5))
    {
        const std::vector<std::string> texts = ReadTexts(m_file.Path());
        if (std::count(texts.begin(), texts.end(), sText) >= nTimes)
            return true;
    }
    return false;
}

void LoggedFilter::Unload()
{
    EXPECT_EQ(m_module->CanUnloadNow(), S_OK) << "something of the filter lives on";
    m_module.reset();
    EXPECT_EQ(GetModuleHandleW(L"QXStillSource.dll"), nullptr);
}

std::vector<std::string> LoggedFilter::Finish()
{
    Unload();
    return ReadTexts(m_file.Path());
}

std::vector<ReadLine> LoggedFilter::FinishLines()
{
    Unload();
    return ReadLines(m_file.Path());
}
