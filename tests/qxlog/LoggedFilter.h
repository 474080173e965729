#pragma once
/// The filter's DLL, loaded while the registry names qxlog64.dll: what it does stands in a file, as on a
/// user's machine.

#include "GraphSupport.h"
#include "qxlog/LogFiles.h"

#include <memory>
#include <string>
#include <vector>

/// One at a time: the DLL looks for its log when it is loaded.
class LoggedFilter
{
public:
    LoggedFilter();
    LoggedFilter(const LoggedFilter&) = delete;
    LoggedFilter& operator=(const LoggedFilter&) = delete;

    CComPtr<IBaseFilter> CreateSource() const { return m_module->CreateSource(); }
    /// Waits until a text stands so often in the log, in the form of Finish. \return false when the time is
    /// over
    bool WaitFor(const std::string& sText, int nTimes = 1) const;
    /// Unloads the DLL and gives the texts of the log, each behind its level as "8 text".
    std::vector<std::string> Finish();
    /// The same with all that a line has.
    std::vector<ReadLine> FinishLines();

private:
    void Unload();

    OwnLogFile m_file;
    std::unique_ptr<FilterModule> m_module;
};
