#pragma once
/// Dialog templates in memory, of both kinds and with every form of their parts.

#include "dstl/WinAPI/Platform.h"

#include <cstring>
#include <string>
#include <vector>

struct DialogTemplate
{
    std::string sName;
    std::vector<BYTE> bytes;
    SIZE sizeUnits;    ///< of the dialog, in dialog units
    size_t cbMeasured; ///< bytes that its size depends on; the rest are controls
};

class DialogTemplateBuilder
{
public:
    template <class T>
    DialogTemplateBuilder& Add(T value)
    {
        m_bytes.resize(m_bytes.size() + sizeof(value));
        memcpy(m_bytes.data() + m_bytes.size() - sizeof(value), &value, sizeof(value));
        return *this;
    }
    DialogTemplateBuilder& Text(const std::wstring& s)
    {
        for (const wchar_t ch : s)
            Add(ch);
        return Add(L'\0');
    }
    DialogTemplateBuilder& Number(WORD n) { return Add(WORD{0xFFFF}).Add(n); }
    /// Without controls. nWidth and nHeight are dialog units.
    DialogTemplateBuilder& Plain(DWORD dwStyle, SHORT nWidth, SHORT nHeight)
    {
        return Add(dwStyle).Add(DWORD{0}).Place(nWidth, nHeight);
    }
    DialogTemplateBuilder& Extended(DWORD dwStyle, SHORT nWidth, SHORT nHeight)
    {
        Add(WORD{1}).Add(WORD{0xFFFF}).Add(DWORD{0x12345678}).Add(DWORD{0}).Add(dwStyle);
        return Place(nWidth, nHeight);
    }
    const std::vector<BYTE>& Bytes() const { return m_bytes; }

private:
    DialogTemplateBuilder& Place(SHORT nWidth, SHORT nHeight)
    {
        return Add(WORD{0}).Add(SHORT{7}).Add(SHORT{9}).Add(nWidth).Add(nHeight);
    }
    std::vector<BYTE> m_bytes;
};

/// One of each kind, with and without a font, menu, class and title.
inline std::vector<DialogTemplate> DialogTemplates()
{
    struct Face
    {
        const char* pszName;
        WORD nPoints, nWeight;
        BYTE byItalic;
        const wchar_t* pszFace;
    };
    constexpr Face arrFaces[] = {{"shell 8", 8, FW_NORMAL, 0, L"MS Shell Dlg"},
                                 {"shell 8, no weight", 8, 0, 0, L"MS Shell Dlg"},
                                 {"large bold", 23, FW_BOLD, 0, L"Tahoma"},
                                 {"italic", 14, FW_NORMAL, 1, L"MS Sans Serif"},
                                 {"unknown", 9, FW_NORMAL, 0, L"No Font Has This Name"},
                                 {"no name", 9, FW_NORMAL, 0, L""},
                                 {"name cut", 9, FW_NORMAL, 0, L"A name that is longer than a face name is"}};
    constexpr SIZE arrSizes[] = {{186, 95}, {1, 1}, {0, 0}, {3001, 2003}};
    std::vector<DialogTemplate> templates;
    for (const bool bExtended : {false, true})
    {
        for (const SIZE& size : arrSizes)
        {
            const auto add = [&](const std::string& sName, DWORD dwStyle, const auto& addRest)
            {
                DialogTemplateBuilder builder;
                const SHORT nWidth = static_cast<SHORT>(size.cx), nHeight = static_cast<SHORT>(size.cy);
                if (bExtended)
                    builder.Extended(WS_POPUP | dwStyle, nWidth, nHeight);
                else
                    builder.Plain(WS_POPUP | dwStyle, nWidth, nHeight);
                const size_t cbFixed = builder.Bytes().size();
                addRest(builder);
                templates.push_back({(bExtended ? "extended, " : "plain, ") + sName, builder.Bytes(), size,
                                     (dwStyle & DS_SETFONT) != 0 ? builder.Bytes().size() : cbFixed});
            };
            const auto addNames = [](DialogTemplateBuilder& builder, bool bNames)
            {
                if (bNames)
                    builder.Text(L"").Number(32770).Text(L"A title"); // the class of dialogs
                else
                    builder.Text(L"").Text(L"").Text(L"");
            };
            add("system font", 0, [&](DialogTemplateBuilder& builder) { addNames(builder, false); });
            add("system font, border", WS_BORDER,
                [&](DialogTemplateBuilder& builder) { addNames(builder, true); });
            add("font of message boxes", DS_SETFONT,
                [&](DialogTemplateBuilder& builder)
                {
                    addNames(builder, false);
                    builder.Add(WORD{0x7FFF});
                });
            for (const Face& face : arrFaces)
            {
                for (const bool bNames : {false, true})
                {
                    add(face.pszName, bNames ? DS_SHELLFONT : DS_SETFONT,
                        [&](DialogTemplateBuilder& builder)
                        {
                            addNames(builder, bNames);
                            builder.Add(face.nPoints);
                            if (bExtended)
                                builder.Add(face.nWeight).Add(face.byItalic).Add(BYTE{DEFAULT_CHARSET});
                            builder.Text(face.pszFace);
                        });
                }
            }
        }
    }
    return templates;
}
