#pragma once
/// Files of a log, as its tests read them.

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

/// Names a log file of the test's own, with a name beyond the code pages, in the environment of this process.
/// Gone with the scope, with its folder.
class OwnLogFile
{
public:
    /// \param pszSize value of QXLOG_SIZE, null: not set
    explicit OwnLogFile(const wchar_t* pszSize = nullptr);
    ~OwnLogFile();
    OwnLogFile(const OwnLogFile&) = delete;
    OwnLogFile& operator=(const OwnLogFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    /// The name of an earlier file.
    std::filesystem::path Earlier(int n) const { return m_path.wstring() + L"." + std::to_wstring(n); }

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_path;
};

/// A line of the file, taken apart. The test fails if it has another form.
struct ReadLine
{
    unsigned long dwProcess = 0;
    unsigned long dwThread = 0;
    char chLevel = 0;
    bool bFurther = false; ///< a further line of the same message
    std::string sText;
};

std::string ReadFileBytes(const std::filesystem::path& path);
std::vector<ReadLine> ReadLines(const std::filesystem::path& path);
/// The texts alone, each behind its level as "8 text", "8+ text". Lines that tell the opening of the file are
/// left out.
std::vector<std::string> ReadTexts(const std::filesystem::path& path);
