#include "qxlog/LogFiles.h"

#include "LogSettings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

#include "support/NewFolder.h"

namespace fs = std::filesystem;

OwnLogFile::OwnLogFile(const wchar_t* pszSize)
{
    m_folder = MakeNewFolder(L"qxlog \u00FC\u0416\u4E2D ");
    m_path = m_folder / L"the l\u00F6g.txt";
    SetEnvironmentVariableW(szVariableFile, m_path.c_str());
    SetEnvironmentVariableW(szVariableSize, pszSize);
}

OwnLogFile::~OwnLogFile()
{
    SetEnvironmentVariableW(szVariableFile, nullptr);
    SetEnvironmentVariableW(szVariableSize, nullptr);
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

std::string ReadFileBytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<ReadLine> ReadLines(const fs::path& path)
{
    static const std::regex s_form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (\d+):(\d+) ([0-8-])(\+?) )",
                                   std::regex::optimize);
    const std::string sBytes = ReadFileBytes(path);
    std::vector<ReadLine> lines;
    for (size_t nBegin = 0; nBegin < sBytes.size();)
    {
        size_t nEnd = sBytes.find("\r\n", nBegin);
        if (nEnd == std::string::npos)
        {
            ADD_FAILURE() << "no end: " << sBytes.substr(nBegin);
            nEnd = sBytes.size();
        }
        const std::string sLine = sBytes.substr(nBegin, nEnd - nBegin);
        nBegin = nEnd + 2;
        std::smatch match;
        // The form is looked for in the beginning alone, as the expression goes deeper with each character.
        const std::string sBeginning = sLine.substr(0, 80);
        if (!std::regex_search(sBeginning, match, s_form, std::regex_constants::match_continuous))
        {
            ADD_FAILURE() << "no line of the log: " << sLine;
            continue;
        }
        lines.push_back({std::stoul(match[1]), std::stoul(match[2]), match[3].str()[0],
                         match[4].length() != 0, sLine.substr(static_cast<size_t>(match.length(0)))});
    }
    return lines;
}

std::vector<std::string> ReadTexts(const fs::path& path)
{
    std::vector<std::string> texts;
    for (const ReadLine& line : ReadLines(path))
    {
        if (line.sText.rfind("qxlog64: opened by ", 0) != 0)
            texts.push_back(std::string(1, line.chLevel) + (line.bFurther ? "+ " : " ") + line.sText);
    }
    return texts;
}
