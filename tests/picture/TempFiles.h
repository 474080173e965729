#pragma once
/// A folder for the files of one test, gone with it, and wide text that both builds can make.

#include "dstl/WinAPI/Platform.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/NewFolder.h"

/// ASCII as wide text. (std::wstring takes 32-bit characters for granted in the native build.)
class WideText
{
public:
    WideText(const std::string& s) : m_text(s.begin(), s.end()) { m_text.push_back(0); }
    operator const wchar_t*() const { return m_text.data(); }

private:
    std::vector<wchar_t> m_text;
};

using Bytes = std::vector<BYTE>;

class TempFolder
{
public:
    TempFolder() : m_path(MakeNewFolder("qxpicture")) {}
    ~TempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string Path(const std::string& sName) const { return (m_path / sName).string(); }
    std::string Path() const { return m_path.string(); }

    /// \return the path
    std::string Write(const std::string& sName, const Bytes& bytes) const
    {
        const std::string sPath = Path(sName);
        std::ofstream(sPath, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return sPath;
    }

    Bytes Read(const std::string& sName) const
    {
        std::ifstream file(Path(sName), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

    bool Has(const std::string& sName) const { return std::filesystem::exists(m_path / sName); }

private:
    std::filesystem::path m_path;
};

inline void AppendU16(Bytes& bytes, unsigned n)
{
    bytes.push_back(static_cast<BYTE>(n));
    bytes.push_back(static_cast<BYTE>(n >> 8));
}

inline void AppendU32(Bytes& bytes, DWORD n)
{
    AppendU16(bytes, n & 0xFFFF);
    AppendU16(bytes, n >> 16);
}

inline void Append(Bytes& bytes, const Bytes& more)
{
    for (const BYTE by : more) // a range insert makes the cross compiler see overruns that are not there
        bytes.push_back(by);
}

/// So many bytes that differ from their neighbours.
inline Bytes Pattern(size_t cb, unsigned nSeed = 1)
{
    Bytes bytes(cb);
    for (size_t i = 0; i < cb; ++i)
        bytes[i] = static_cast<BYTE>((i + 1) * 37 + nSeed * 101 + (i >> 5));
    return bytes;
}
