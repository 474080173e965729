// Names and folders that the fuzz target of the name list starts from.
#include "Seeds.h"
#include "dstl/WinAPI/Platform.h"

#include <initializer_list>
#include <vector>

namespace
{
struct Entry
{
    std::string name;
    WORD wAttributes;
};

std::vector<unsigned char> Input(const std::string& sFolder, const std::string& sName,
                                 std::initializer_list<Entry> entries)
{
    std::vector<unsigned char> bytes;
    const auto put = [&](unsigned ch)
    {
        bytes.push_back(static_cast<unsigned char>(ch));
        bytes.push_back(static_cast<unsigned char>(ch >> 8));
    };
    const auto text = [&](const std::string& s)
    {
        for (const char ch : s)
            put(static_cast<unsigned char>(ch));
    };
    text(sFolder);
    put(0);
    text(sName);
    for (const Entry& entry : entries)
    {
        put(0);
        put(entry.wAttributes);
        text(entry.name);
    }
    return bytes;
}
} // namespace

int main(int argc, char** argv)
{
    const std::string folder = SeedFolder(argc, argv);
    const std::string sLong(300, 'x');
    const struct
    {
        const char* pszSeed;
        std::string sName;
    } rgRows[] = {
        {"file", "C:\\p\\one.tga"},
        {"folder", "C:\\p"},
        {"folder-separator", "C:\\p\\"},
        {"pattern", "C:/p/*.tga"},
        {"pattern-of-a-folder", "C:\\p\\sub*"},
        {"pattern-of-a-folder-2", "C:\\p\\s?b"},
        {"all", "C:\\p\\*"},
        {"missing", "C:\\p\\none.tga"},
        {"nowhere", "C:\\q\\none.tga"},
        {"pattern-alone", "*.tga"},
        {"list", "red|C:\\p\\one.tga|C:\\q\\b.bmp"},
        {"list-ends-plain", "C:\\p\\one.tga|bars"},
        {"empty", ""},
        {"bars", "|a||"},
        {"long", "C:\\p\\" + sLong},
        {"long-list", sLong + "|" + sLong},
        {"separator-first", "\\"},
    };
    for (const auto& row : rgRows)
        WriteSeed(folder + row.pszSeed, Input("C:\\p", row.sName,
                                              {{".", FILE_ATTRIBUTE_DIRECTORY},
                                               {"..", FILE_ATTRIBUTE_DIRECTORY},
                                               {"one.tga", FILE_ATTRIBUTE_ARCHIVE},
                                               {"sub", FILE_ATTRIBUTE_DIRECTORY},
                                               {"hidden", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN},
                                               {"two.bmp", FILE_ATTRIBUTE_NORMAL}}));
    WriteSeed(folder + "long-folder", Input(sLong, sLong + "\\a", {{"a", FILE_ATTRIBUTE_ARCHIVE}}));
    const std::string sFits(258, 'y');
    WriteSeed(folder + "folder-that-fits", Input(sFits, sFits, {{sFits, FILE_ATTRIBUTE_ARCHIVE}}));
}
