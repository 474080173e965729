#pragma once
/// The part of ATL's control header that this system uses: property pages, and the list of an object's pages.

#include "DialogSize.h"
#include "atlwin.h"

#include <ocidl.h>
#include <olectl.h>

#include <memory>

// --- The pages of an object

/// A page of an object's property map; the map ends with a null identifier.
struct ATLPROPMAP_ENTRY
{
    const CLSID* pclsidPropPage;
};

// clang-format off
#define BEGIN_PROP_MAP(theClass)                                                                             \
public:                                                                                                      \
    static const ATLPROPMAP_ENTRY* GetPropertyMap() noexcept                                                 \
    {                                                                                                        \
        static constexpr ATLPROPMAP_ENTRY arrPages[] = {
#define PROP_PAGE(clsid)                                                                                     \
            {&clsid},
#define END_PROP_MAP()                                                                                       \
            {nullptr}};                                                                                      \
        return arrPages;                                                                                     \
    }
// clang-format on

/// Names the pages of T's property map.
template <class T>
class ISpecifyPropertyPagesImpl : public ISpecifyPropertyPages
{
public:
    /// \param pPages receives an array in task memory
    /// \return S_OK, E_POINTER, or E_OUTOFMEMORY, which leaves an empty list
    STDMETHOD(GetPages)(CAUUID* pPages) noexcept override
    {
        if (pPages == nullptr)
            return E_POINTER;
        pPages->cElems = 0;
        pPages->pElems = nullptr;
        ULONG nPages = 0;
        for (const ATLPROPMAP_ENTRY* pEntry = T::GetPropertyMap(); pEntry->pclsidPropPage != nullptr;
             ++pEntry)
            nPages++;
        pPages->pElems = static_cast<GUID*>(CoTaskMemAlloc(nPages * sizeof(GUID)));
        if (pPages->pElems == nullptr)
            return E_OUTOFMEMORY;
        pPages->cElems = nPages;
        for (ULONG i = 0; i < nPages; i++)
            pPages->pElems[i] = *T::GetPropertyMap()[i].pclsidPropPage;
        return S_OK;
    }
};

// --- A page

/// IPropertyPage of a dialog. T is also a CDialogImpl<T>, hides nothing of it, and may override Apply. It
/// sets the numbers of its string resources in its constructor.
template <class T>
class IPropertyPageImpl : public IPropertyPage
{
public:
    /// Marks the page changed or unchanged. The frame is told when an unchanged page becomes a changed one.
    void SetDirty(BOOL bDirty) noexcept
    {
        if (bDirty && !m_bDirty && m_pPageSite)
            m_pPageSite->OnStatusChange(PROPPAGESTATUS_DIRTY | PROPPAGESTATUS_VALIDATE);
        m_bDirty = bDirty;
    }

    /// Null lets the site go.
    /// \return E_UNEXPECTED for a second site, which changes nothing
    STDMETHOD(SetPageSite)(IPropertyPageSite* pPageSite) noexcept override
    {
        if (pPageSite != nullptr && m_pPageSite)
            return E_UNEXPECTED;
        m_pPageSite = pPageSite;
        return S_OK;
    }
    /// Makes the dialog, not yet visible; it is modeless whatever bModal says.
    /// \return E_POINTER, E_UNEXPECTED for a page that is active already, or without its dialog resource
    STDMETHOD(Activate)(HWND hWndParent, LPCRECT prc, BOOL /*bModal*/) noexcept override
    {
        if (prc == nullptr)
            return E_POINTER;
        if (Page().m_hWnd != nullptr || Page().Create(hWndParent) == nullptr)
            return E_UNEXPECTED;
        m_size = {Extent(prc->left, prc->right), Extent(prc->top, prc->bottom)};
        return Move(prc);
    }
    /// \return E_UNEXPECTED for a page that is not active
    STDMETHOD(Deactivate)() noexcept override
    {
        if (Page().m_hWnd == nullptr)
            return E_UNEXPECTED;
        Page().DestroyWindow();
        return S_OK;
    }
    /// Needs no window.
    /// \param pPageInfo receives texts in task memory, null where the module has none, and the size in pixels
    /// \return E_POINTER, or E_UNEXPECTED without the dialog resource, or when that is cut off
    STDMETHOD(GetPageInfo)(PROPPAGEINFO* pPageInfo) noexcept override
    {
        if (pPageInfo == nullptr)
            return E_POINTER;
        *pPageInfo = {};
        if (!AtlGetDialogSize(T::IDD, &m_size))
            return E_UNEXPECTED;
        pPageInfo->cb = sizeof(*pPageInfo);
        pPageInfo->pszTitle = LoadStringHelper(m_dwTitleID);
        pPageInfo->size = m_size;
        pPageInfo->pszDocString = LoadStringHelper(m_dwDocStringID);
        pPageInfo->pszHelpFile = LoadStringHelper(m_dwHelpFileID);
        pPageInfo->dwHelpContext = m_dwHelpContext;
        return S_OK;
    }
    /// Holds the objects that Apply works on, in the place of earlier ones. Without any the page holds none.
    /// \return E_POINTER for a null array, or a null in it, and E_OUTOFMEMORY: both change nothing
    STDMETHOD(SetObjects)(ULONG nObjects, IUnknown** ppUnk) noexcept override
    {
        std::unique_ptr<CComPtr<IUnknown>[]> arrObjects;
        if (nObjects != 0)
        {
            if (ppUnk == nullptr)
                return E_POINTER;
            arrObjects.reset(new (std::nothrow) CComPtr<IUnknown>[nObjects]);
            if (!arrObjects)
                return E_OUTOFMEMORY;
        }
        for (ULONG i = 0; i < nObjects; i++)
        {
            if (ppUnk[i] == nullptr)
                return E_POINTER;
            arrObjects[i] = ppUnk[i];
        }
        m_ppUnk.swap(arrObjects);
        m_nObjects = nObjects;
        return S_OK;
    }
    /// \param nCmdShow of ShowWindow
    /// \return E_UNEXPECTED for a page that is not active
    STDMETHOD(Show)(UINT nCmdShow) noexcept override
    {
        if (Page().m_hWnd == nullptr)
            return E_UNEXPECTED;
        ShowWindow(Page().m_hWnd, static_cast<int>(nCmdShow));
        return S_OK;
    }
    /// \return E_POINTER, E_UNEXPECTED for a page that is not active
    STDMETHOD(Move)(LPCRECT prc) noexcept override
    {
        if (prc == nullptr)
            return E_POINTER;
        if (Page().m_hWnd == nullptr)
            return E_UNEXPECTED;
        MoveWindow(Page().m_hWnd, prc->left, prc->top, Extent(prc->left, prc->right),
                   Extent(prc->top, prc->bottom), TRUE);
        return S_OK;
    }
    STDMETHOD(IsPageDirty)() noexcept override { return m_bDirty ? S_OK : S_FALSE; }
    STDMETHOD(Apply)() noexcept override { return S_OK; }
    /// Opens the page's help file in a folder.
    /// \return E_NOTIMPL where there is no such file
    STDMETHOD(Help)(LPCOLESTR pszHelpDir) noexcept override
    {
        const COwnedTask<OLECHAR> helpFile(LoadStringHelper(m_dwHelpFileID));
        if (!helpFile)
            return E_NOTIMPL;
        CComBSTR bsFile(pszHelpDir);
        if (bsFile.m_str != nullptr && *bsFile.m_str != 0)
            bsFile.Append(L"\\");
        bsFile.Append(helpFile.Get());
        // Asked first: the help program would go on looking for the file. What is not there has every bit.
        if (bsFile.m_str == nullptr || (GetFileAttributesW(bsFile) & FILE_ATTRIBUTE_DIRECTORY) != 0)
            return E_NOTIMPL;
        WinHelpW(Page().m_hWnd, bsFile, HELP_CONTEXT, m_dwHelpContext);
        return S_OK;
    }
    /// \return S_OK for a key or mouse message that the dialog has handled, else S_FALSE; E_POINTER
    STDMETHOD(TranslateAccelerator)(MSG* pMsg) noexcept override
    {
        if (pMsg == nullptr)
            return E_POINTER;
        const bool bKey = pMsg->message >= WM_KEYFIRST && pMsg->message <= WM_KEYLAST;
        const bool bMouse = pMsg->message >= WM_MOUSEFIRST && pMsg->message <= WM_MOUSELAST;
        if (Page().m_hWnd == nullptr || (!bKey && !bMouse))
            return S_FALSE;
        return IsDialogMessageW(Page().m_hWnd, pMsg) ? S_OK : S_FALSE;
    }

    CComPtr<IPropertyPageSite> m_pPageSite;       ///< the frame
    std::unique_ptr<CComPtr<IUnknown>[]> m_ppUnk; ///< the objects that the page is shown for
    ULONG m_nObjects = 0;                         ///< how many
    SIZE m_size = {};                             ///< of the dialog, in pixels
    UINT m_dwTitleID = 0;                         ///< string resource of the title
    UINT m_dwHelpFileID = 0;                      ///< and of the help file
    UINT m_dwDocStringID = 0;                     ///< and of the line that describes the page
    DWORD m_dwHelpContext = 0;                    ///< topic in the help file
    BOOL m_bDirty = FALSE;                        ///< changed since the last Apply

protected:
    ~IPropertyPageImpl() = default;

    /// A text of the module in task memory; null when there is none.
    static LPOLESTR LoadStringHelper(UINT nId) noexcept
    {
        // Without room for a copy the function gives the place of the text in the resource.
        LPCWSTR pszText = nullptr;
        const int cch =
            LoadStringW(_Module.GetResourceInstance(), nId, reinterpret_cast<LPWSTR>(&pszText), 0);
        if (cch <= 0)
        {
            ATLTRACE(L"Error : Failed to load string from res\n");
            return nullptr;
        }
        const size_t nChars = static_cast<size_t>(cch);
        LPOLESTR const psz = static_cast<LPOLESTR>(CoTaskMemAlloc((nChars + 1) * sizeof(OLECHAR)));
        if (psz == nullptr)
            return nullptr;
        memcpy(psz, pszText, nChars * sizeof(OLECHAR));
        psz[nChars] = 0;
        return psz;
    }

private:
    T& Page() noexcept { return *static_cast<T*>(this); }

    static LONG Extent(LONG nFrom, LONG nTo) noexcept
    {
        return static_cast<LONG>(static_cast<ULONG>(nTo) - static_cast<ULONG>(nFrom));
    }
};
