#pragma once
/// The size of a dialog that has no window, from its template. The platform measures windows only, and a
/// session without a display can have none.

#include "atlbase.h"

#include <cstring>

/// The point size of a template that takes the font of message boxes; no font name follows it.
inline constexpr WORD nMessageBoxFont = 0x7FFF;

/// What a dialog template says about the size of its dialog.
struct DialogExtent
{
    SHORT nWidth;              ///< in quarters of the font's average width
    SHORT nHeight;             ///< in eighths of the font's height
    bool bFont;                ///< the template names a font; otherwise it is the system's
    WORD nPointSize;           ///< or nMessageBoxFont
    WORD nWeight;              ///< as in LOGFONT; 0 in a template of the older kind, which has none
    bool bItalic;              ///< false in a template of the older kind
    WCHAR szFace[LF_FACESIZE]; ///< name of the font, cut to this length
};

/// Reads a dialog template of either kind, DLGTEMPLATE or DLGTEMPLATEEX, and nothing behind its end.
class DialogTemplateReader
{
public:
    DialogTemplateReader(const void* pvTemplate, size_t cbTemplate) noexcept
        : m_pb(static_cast<const BYTE*>(pvTemplate)), m_cbLeft(cbTemplate)
    {
    }

    /// \return false for a template that ends before its size, or before the font that it announces
    bool Read(DialogExtent& extent) noexcept
    {
        extent = {};
        // An extended template begins with its version and a mark. The older kind begins with the style.
        const bool bExtended = PeekWord(0) == 1 && PeekWord(1) == 0xFFFF;
        DWORD dwStyle = 0;
        if (bExtended)
            Skip(2 * sizeof(WORD) + 2 * sizeof(DWORD)); // version, mark; help identifier, extended style
        Take(dwStyle);
        if (!bExtended)
            Skip(sizeof(DWORD)); // extended style
        Skip(3 * sizeof(WORD));  // number of controls, left, top
        Take(extent.nWidth);
        Take(extent.nHeight);
        extent.bFont = (dwStyle & DS_SETFONT) != 0;
        if (extent.bFont)
        {
            SkipNameOrNumber();   // menu
            SkipNameOrNumber();   // class
            TakeText(nullptr, 0); // title
            TakeFont(extent, bExtended);
        }
        return m_bWhole;
    }

private:
    void TakeFont(DialogExtent& extent, bool bExtended) noexcept
    {
        Take(extent.nPointSize);
        if (extent.nPointSize == nMessageBoxFont)
            return;
        if (bExtended)
        {
            BYTE byItalic = 0;
            Take(extent.nWeight);
            Take(byItalic);
            Skip(sizeof(BYTE)); // character set
            extent.bItalic = byItalic != 0;
        }
        TakeText(extent.szFace, LF_FACESIZE - 1);
    }
    /// The name of a resource, or a mark and its number; an empty name for none.
    void SkipNameOrNumber() noexcept
    {
        if (PeekWord(0) == 0xFFFF)
            Skip(2 * sizeof(WORD));
        else
            TakeText(nullptr, 0);
    }
    /// Takes a text with its final zero, and keeps the first cchMax characters.
    void TakeText(WCHAR* psz, size_t cchMax) noexcept
    {
        WCHAR ch = 0;
        Take(ch);
        for (size_t i = 0; m_bWhole && ch != 0; i++)
        {
            if (i < cchMax)
                psz[i] = ch;
            Take(ch);
        }
    }
    template <class T>
    void Take(T& value) noexcept
    {
        const BYTE* const pb = m_pb;
        Skip(sizeof(value));
        if (m_bWhole)
            memcpy(&value, pb, sizeof(value)); // fields are at any address
    }
    void Skip(size_t cb) noexcept
    {
        m_bWhole = m_bWhole && cb <= m_cbLeft;
        if (!m_bWhole)
            return;
        m_pb += cb;
        m_cbLeft -= cb;
    }
    /// 0 behind the end.
    WORD PeekWord(size_t nIndex) const noexcept
    {
        WORD n = 0;
        if ((nIndex + 1) * sizeof(n) <= m_cbLeft)
            memcpy(&n, m_pb + nIndex * sizeof(n), sizeof(n));
        return n;
    }

    const BYTE* m_pb;
    size_t m_cbLeft;
    bool m_bWhole = true;
};

/// The font of a template, as the platform makes it for the dialog.
inline LOGFONTW AtlDialogFont(const DialogExtent& extent, int nDotsPerInch) noexcept
{
    if (extent.nPointSize == nMessageBoxFont)
    {
        NONCLIENTMETRICSW metrics = {};
        metrics.cbSize = sizeof(metrics);
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
        return metrics.lfMessageFont;
    }
    constexpr int nPointsPerInch = 72;
    LOGFONTW font = {};
    font.lfHeight = -MulDiv(extent.nPointSize, nDotsPerInch, nPointsPerInch);
    font.lfWeight = extent.nWeight;
    font.lfItalic = extent.bItalic;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfQuality = PROOF_QUALITY;
    memcpy(font.lfFaceName, extent.szFace, sizeof(font.lfFaceName));
    return font;
}

/// Pixels of an average letter, and of the height, of the font that is selected.
/// \return false on failure
inline bool AtlFontUnits(HDC hDC, SIZE& units) noexcept
{
    constexpr WCHAR szLetters[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr int nLetters = 52;
    TEXTMETRICW metrics = {};
    SIZE sizeLetters = {};
    if (!GetTextMetricsW(hDC, &metrics) || !GetTextExtentPoint32W(hDC, szLetters, nLetters, &sizeLetters))
        return false;
    units = {(sizeLetters.cx / (nLetters / 2) + 1) / 2, metrics.tmHeight};
    return true;
}

/// Pixels of four horizontal and of eight vertical dialog units of a template.
inline SIZE AtlDialogUnits(const DialogExtent& extent) noexcept
{
    const LONG nSystemUnits = GetDialogBaseUnits();
    SIZE units = {LOWORD(nSystemUnits), HIWORD(nSystemUnits)};
    const COwnedMemoryDc dc(extent.bFont ? CreateCompatibleDC(nullptr) : nullptr);
    if (!dc)
        return units;
    const LOGFONTW logFont = AtlDialogFont(extent, GetDeviceCaps(dc.Get(), LOGPIXELSY));
    const COwnedGdi<HFONT> font(CreateFontIndirectW(&logFont));
    if (font)
    {
        const HGDIOBJ hBefore = SelectObject(dc.Get(), font.Get());
        AtlFontUnits(dc.Get(), units);
        SelectObject(dc.Get(), hBefore);
    }
    return units;
}

/// Pixels of the inside of a dialog.
/// \return false for a template that is cut off
inline bool AtlGetDialogSize(const void* pvTemplate, size_t cbTemplate, SIZE* pSize) noexcept
{
    DialogExtent extent;
    if (!DialogTemplateReader(pvTemplate, cbTemplate).Read(extent))
        return false;
    const SIZE units = AtlDialogUnits(extent);
    *pSize = {MulDiv(extent.nWidth, units.cx, 4), MulDiv(extent.nHeight, units.cy, 8)};
    return true;
}

/// The same of a dialog resource of the module.
/// \return false also when there is none
inline bool AtlGetDialogSize(UINT nId, SIZE* pSize) noexcept
{
    const HINSTANCE hInst = _Module.GetResourceInstance();
    const HRSRC hResource = FindResourceW(hInst, MAKEINTRESOURCEW(nId), RT_DIALOG);
    if (hResource == nullptr)
        return false;
    const void* const pvTemplate = LockResource(LoadResource(hInst, hResource));
    return pvTemplate != nullptr && AtlGetDialogSize(pvTemplate, SizeofResource(hInst, hResource), pSize);
}
