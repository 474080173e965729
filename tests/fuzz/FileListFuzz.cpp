// The list of names with any name and any folder. An input is 16-bit characters: the path of a folder that
// exists, the name that is asked for, and the folder's entries, apart by zeros; each entry begins with its
// attributes.
#include "FileInput.h"

#include "dstl/Old/FileList.h"

#include <cstring>
#include <vector>

namespace
{
using Text = std::vector<WCHAR>;

/// The texts of the input.
std::vector<Text> Split(const uint8_t* pb, size_t cb)
{
    std::vector<Text> texts(1);
    for (size_t i = 0; i + 1 < cb; i += sizeof(WCHAR))
    {
        WCHAR ch;
        std::memcpy(&ch, pb + i, sizeof(ch));
        if (ch == 0)
            texts.emplace_back();
        else
            texts.back().push_back(ch);
    }
    return texts;
}

Text ToText(const CComBSTR& bs)
{
    Require(bs.m_str != nullptr);
    return Text(bs.m_str, bs.m_str + bs.Length());
}

/// The entries with "|" between them.
Text Joined(const CFileNames& names)
{
    Text text;
    for (int i = 0; i < names.GetSize(); ++i)
    {
        if (i != 0)
            text.push_back('|');
        const Text entry = ToText(names[i]);
        text.insert(text.end(), entry.begin(), entry.end());
    }
    return text;
}

/// Whether the entry ends in the name of one of the folder's entries that is not a plain folder.
bool IsFound(const Text& entry)
{
    for (const memory::Entry& found : memory::g_folder.entries)
    {
        if (found.dwAttributes != FILE_ATTRIBUTE_DIRECTORY && found.name.size() <= entry.size() &&
            std::equal(found.name.rbegin(), found.name.rend(), entry.rbegin()))
            return true;
    }
    return false;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pb, size_t cb)
{
    std::vector<Text> texts = Split(pb, cb);
    texts.resize(std::max<size_t>(texts.size(), 2));
    memory::Reset();
    memory::g_folder.path = texts[0];
    for (size_t i = 2; i < texts.size(); ++i)
    {
        if (texts[i].size() < 2 || texts[i].size() > MAX_PATH)
            continue; // no name, or none that a file system has
        memory::g_folder.entries.push_back({Text(texts[i].begin() + 1, texts[i].end()), texts[i][0]});
    }
    Text name = texts[1];
    name.push_back(0);

    CFileNames names;
    const bool bAny = ScanFileList(name.data(), names);
    Require(bAny == (names.GetSize() != 0));
    Require(memory::g_calls.nOpenSearches == 0);
    name.pop_back();
    // A name that is no folder comes apart at its bars and nowhere else.
    if (bAny && Joined(names) != name)
    {
        for (int i = 0; i < names.GetSize(); ++i)
            Require(IsFound(ToText(names[i])));
    }
    return 0;
}
