// Dialogs and property pages of the ATL subset.
#include <gtest/gtest.h>

#include "DialogTemplates.h"
#include "dstl/WinAPI/Atl.h"
#include "support/LogCapture.h"

#include <atlctl.h>
#include <atlwin.h>

namespace
{

using Texts = std::vector<std::string>;

/// A page whose numbers a test chooses.
template <UINT nDialog>
class TestPage : public CComObjectRootEx<CComSingleThreadModel>,
                 public IPropertyPageImpl<TestPage<nDialog>>,
                 public CDialogImpl<TestPage<nDialog>>
{
public:
    enum
    {
        IDD = nDialog
    };
    BEGIN_COM_MAP(TestPage)
    COM_INTERFACE_ENTRY(IPropertyPage)
    END_COM_MAP()
    BEGIN_MSG_MAP(TestPage)
    END_MSG_MAP()
};

template <class T>
CComPtr<CComObject<T>> Make()
{
    CComObject<T>* p = nullptr;
    EXPECT_EQ(CComObject<T>::CreateInstance(&p), S_OK);
    return p;
}

/// Counts what is asked of it.
class TestUnknown : public IPropertyPageSite
{
public:
    long m_nRefs = 0;
    std::vector<DWORD> m_arrStatus;

    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    STDMETHOD(OnStatusChange)(DWORD dwFlags) override
    {
        m_arrStatus.push_back(dwFlags);
        return S_OK;
    }
    STDMETHOD(GetLocaleID)(LCID*) override { return E_NOTIMPL; }
    STDMETHOD(GetPageContainer)(IUnknown**) override { return E_NOTIMPL; }
    STDMETHOD(TranslateAccelerator)(MSG*) override { return E_NOTIMPL; }
};

class Parent
{
public:
    Parent()
    {
        m_hWnd = CreateWindowExW(0, L"STATIC", L"parent", WS_POPUP | WS_VISIBLE, 10, 20, 400, 300, nullptr,
                                 nullptr, nullptr, nullptr);
        EXPECT_NE(m_hWnd, nullptr);
    }
    ~Parent() { DestroyWindow(m_hWnd); }
    Parent(const Parent&) = delete;
    Parent& operator=(const Parent&) = delete;
    operator HWND() const { return m_hWnd; }

private:
    HWND m_hWnd;
};

std::string TextOf(HWND hWnd)
{
    wchar_t sz[200] = L"";
    GetWindowTextW(hWnd, sz, 200);
    return Utf8(sz);
}

class Page : public testing::Test
{
protected:
    LogCapture m_trace;
    AssertCapture m_asserts;
    TestUnknown m_one, m_two;
    const RECT m_rc = {7, 9, 207, 109};
};

TEST_F(Page, Site)
{
    auto spPage = Make<TestPage<301>>();
    EXPECT_EQ(spPage->SetPageSite(nullptr), S_OK);
    EXPECT_EQ(spPage->SetPageSite(&m_one), S_OK);
    EXPECT_EQ(m_one.m_nRefs, 1);
    EXPECT_EQ(spPage->SetPageSite(&m_two), E_UNEXPECTED);
    EXPECT_EQ(spPage->SetPageSite(&m_one), E_UNEXPECTED);
    EXPECT_EQ(m_one.m_nRefs, 1);
    EXPECT_EQ(m_two.m_nRefs, 0);
    EXPECT_EQ(spPage->SetPageSite(nullptr), S_OK);
    EXPECT_EQ(m_one.m_nRefs, 0);
    EXPECT_EQ(spPage->SetPageSite(&m_two), S_OK);
    EXPECT_EQ(m_two.m_nRefs, 1);
    spPage.Release();
    EXPECT_EQ(m_two.m_nRefs, 0);
}

TEST_F(Page, TheFrameLearnsOfTheFirstChange)
{
    auto spPage = Make<TestPage<301>>();
    EXPECT_EQ(spPage->IsPageDirty(), S_FALSE);
    spPage->SetDirty(TRUE); // nobody to tell
    EXPECT_EQ(spPage->IsPageDirty(), S_OK);
    spPage->SetDirty(FALSE);
    ASSERT_EQ(spPage->SetPageSite(&m_one), S_OK);
    spPage->SetDirty(TRUE);
    spPage->SetDirty(TRUE);
    EXPECT_EQ(m_one.m_arrStatus, std::vector<DWORD>{3});
    EXPECT_EQ(spPage->IsPageDirty(), S_OK);
    spPage->SetDirty(FALSE);
    EXPECT_EQ(spPage->IsPageDirty(), S_FALSE);
    EXPECT_EQ(m_one.m_arrStatus, std::vector<DWORD>{3});
    spPage->SetDirty(TRUE);
    EXPECT_EQ(m_one.m_arrStatus, (std::vector<DWORD>{3, 3}));
    EXPECT_EQ(spPage->Apply(), S_OK);
}

TEST_F(Page, Objects)
{
    auto spPage = Make<TestPage<301>>();
    IUnknown* arrObjects[] = {&m_one, &m_two, &m_one};
    EXPECT_EQ(spPage->SetObjects(1, nullptr), E_POINTER);
    EXPECT_EQ(spPage->SetObjects(3, arrObjects), S_OK);
    EXPECT_EQ(m_one.m_nRefs, 2);
    EXPECT_EQ(m_two.m_nRefs, 1);
    EXPECT_EQ(spPage->m_nObjects, 3u);
    // What is refused leaves the earlier ones.
    IUnknown* arrWithNull[] = {&m_two, nullptr};
    EXPECT_EQ(spPage->SetObjects(2, arrWithNull), E_POINTER);
    EXPECT_EQ(spPage->SetObjects(3, nullptr), E_POINTER);
    EXPECT_EQ(m_one.m_nRefs, 2);
    EXPECT_EQ(m_two.m_nRefs, 1);
    EXPECT_EQ(spPage->m_nObjects, 3u);
    // Others take their place.
    EXPECT_EQ(spPage->SetObjects(1, arrObjects + 1), S_OK);
    EXPECT_EQ(m_one.m_nRefs, 0);
    EXPECT_EQ(m_two.m_nRefs, 1);
    EXPECT_EQ(spPage->m_nObjects, 1u);
    // None: the page lets go.
    EXPECT_EQ(spPage->SetObjects(0, nullptr), S_OK);
    EXPECT_EQ(m_two.m_nRefs, 0);
    EXPECT_EQ(spPage->m_nObjects, 0u);
    EXPECT_EQ(spPage->SetObjects(0, arrObjects), S_OK);
    EXPECT_EQ(m_one.m_nRefs, 0);
    // So does its end.
    EXPECT_EQ(spPage->SetObjects(2, arrObjects), S_OK);
    spPage.Release();
    EXPECT_EQ(m_one.m_nRefs, 0);
    EXPECT_EQ(m_two.m_nRefs, 0);
}

template <class T>
void CheckInfo(T& page, LPCWSTR pszTitle, LPCWSTR pszDoc, LPCWSTR pszHelp, const SIZE& size)
{
    PROPPAGEINFO info;
    memset(&info, 0xCC, sizeof(info));
    ASSERT_EQ(page.GetPageInfo(&info), S_OK);
    EXPECT_EQ(info.cb, sizeof(info));
    EXPECT_STREQ(info.pszTitle, pszTitle);
    EXPECT_STREQ(info.pszDocString, pszDoc);
    EXPECT_STREQ(info.pszHelpFile, pszHelp);
    EXPECT_EQ(info.dwHelpContext, 77u);
    EXPECT_EQ(info.size.cx, size.cx);
    EXPECT_EQ(info.size.cy, size.cy);
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszDocString);
    CoTaskMemFree(info.pszHelpFile);
}

/// Pixels of a dialog, as the system scales it.
template <class T>
SIZE Scaled(T& page, HWND hParent, LONG nWidth, LONG nHeight)
{
    const HWND hWnd = page.Create(hParent);
    EXPECT_NE(hWnd, nullptr);
    RECT rc = {0, 0, nWidth, nHeight};
    EXPECT_TRUE(MapDialogRect(hWnd, &rc));
    EXPECT_TRUE(page.DestroyWindow());
    return {rc.right, rc.bottom};
}

TEST_F(Page, Info)
{
    const Parent parent;
    auto spPage = Make<TestPage<301>>();
    spPage->m_dwTitleID = 310;
    spPage->m_dwDocStringID = 311;
    spPage->m_dwHelpFileID = 312;
    spPage->m_dwHelpContext = 77;
    EXPECT_EQ(spPage->GetPageInfo(nullptr), E_POINTER);
    CheckInfo(*spPage, L"Title of the page", L"Line of the page", L"no such file.hlp",
              Scaled(*spPage, parent, 120, 40));
    // An old template, too.
    auto spPlain = Make<TestPage<302>>();
    spPlain->m_dwTitleID = 310;
    spPlain->m_dwDocStringID = 310;
    spPlain->m_dwHelpFileID = 310;
    spPlain->m_dwHelpContext = 77;
    CheckInfo(*spPlain, L"Title of the page", L"Title of the page", L"Title of the page",
              Scaled(*spPlain, parent, 60, 20));
    EXPECT_EQ(m_trace.Lines(), std::vector<LogLine>{});
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

/// What is measured without a window is what a window becomes.
TEST_F(Page, SizeIsThatOfTheRealDialog)
{
    for (const DialogTemplate& dialog : DialogTemplates())
    {
        SCOPED_TRACE(dialog.sName);
        const HWND hWnd = CreateDialogIndirectParamW(
            GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(dialog.bytes.data()), nullptr,
            [](HWND, UINT, WPARAM, LPARAM) noexcept -> INT_PTR { return FALSE; }, 0);
        ASSERT_NE(hWnd, nullptr);
        RECT rcMapped = {0, 0, dialog.sizeUnits.cx, dialog.sizeUnits.cy}, rcClient = {};
        EXPECT_TRUE(MapDialogRect(hWnd, &rcMapped));
        EXPECT_TRUE(GetClientRect(hWnd, &rcClient));
        DestroyWindow(hWnd);
        SIZE size = {-1, -1};
        ASSERT_TRUE(AtlGetDialogSize(dialog.bytes.data(), dialog.bytes.size(), &size));
        EXPECT_EQ(size.cx, rcMapped.right);
        EXPECT_EQ(size.cy, rcMapped.bottom);
        EXPECT_EQ(size.cx, rcClient.right);
        EXPECT_EQ(size.cy, rcClient.bottom);
    }
}

TEST_F(Page, InfoWithoutTexts)
{
    const Parent parent;
    auto spPage = Make<TestPage<301>>();
    spPage->m_dwHelpContext = 77;
    spPage->m_dwDocStringID = 311;
    CheckInfo(*spPage, nullptr, L"Line of the page", nullptr, Scaled(*spPage, parent, 120, 40));
    EXPECT_EQ(m_trace.Lines(), std::vector<LogLine>(2, {0, "Error : Failed to load string from res\n"}));
}

TEST_F(Page, WithoutItsDialog)
{
    const Parent parent;
    auto spPage = Make<TestPage<399>>();
    PROPPAGEINFO info;
    EXPECT_EQ(spPage->GetPageInfo(&info), E_UNEXPECTED);
    EXPECT_EQ(info.pszTitle, nullptr);
    EXPECT_EQ(info.pszDocString, nullptr);
    EXPECT_EQ(info.pszHelpFile, nullptr);
    EXPECT_EQ(spPage->Activate(parent, &m_rc, FALSE), E_UNEXPECTED);
    EXPECT_EQ(spPage->m_hWnd, nullptr);
    EXPECT_EQ(spPage->Deactivate(), E_UNEXPECTED);
}

TEST_F(Page, OrderOfCalls)
{
    const Parent parent;
    auto spPage = Make<TestPage<301>>();
    // Not active.
    EXPECT_EQ(spPage->Deactivate(), E_UNEXPECTED);
    EXPECT_EQ(spPage->Show(SW_SHOW), E_UNEXPECTED);
    EXPECT_EQ(spPage->Move(&m_rc), E_UNEXPECTED);
    EXPECT_EQ(spPage->Move(nullptr), E_POINTER);
    EXPECT_EQ(spPage->Activate(parent, nullptr, FALSE), E_POINTER);
    EXPECT_EQ(spPage->m_hWnd, nullptr);
    for (const BOOL bModal : {FALSE, TRUE}) // as often as the frame likes
    {
        ASSERT_EQ(spPage->Activate(parent, &m_rc, bModal), S_OK);
        const HWND hWnd = spPage->m_hWnd;
        ASSERT_TRUE(IsWindow(hWnd));
        EXPECT_EQ(spPage->Activate(parent, &m_rc, FALSE), E_UNEXPECTED);
        EXPECT_EQ(spPage->Activate(parent, nullptr, FALSE), E_POINTER);
        EXPECT_EQ(spPage->m_hWnd, hWnd);
        EXPECT_EQ(spPage->Move(nullptr), E_POINTER);
        EXPECT_EQ(spPage->Deactivate(), S_OK);
        EXPECT_FALSE(IsWindow(hWnd));
        EXPECT_EQ(spPage->m_hWnd, nullptr);
        EXPECT_EQ(spPage->Deactivate(), E_UNEXPECTED);
    }
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Page, Window)
{
    const Parent parent;
    auto spPage = Make<TestPage<301>>();
    ASSERT_EQ(spPage->Activate(parent, &m_rc, FALSE), S_OK);
    const HWND hWnd = spPage->m_hWnd;
    EXPECT_EQ(GetParent(hWnd), static_cast<HWND>(parent));
    EXPECT_FALSE(IsWindowVisible(hWnd));
    EXPECT_EQ(spPage->Show(SW_SHOW), S_OK);
    EXPECT_TRUE(IsWindowVisible(hWnd));
    EXPECT_EQ(spPage->Show(SW_HIDE), S_OK);
    EXPECT_FALSE(IsWindowVisible(hWnd));
    EXPECT_EQ(TextOf(GetDlgItem(hWnd, 1001)), "A line of text");
    EXPECT_EQ(spPage->m_size.cx, 200);
    EXPECT_EQ(spPage->m_size.cy, 100);
    const RECT rcNew = {1, 2, 301, 52};
    for (const RECT& rc : {m_rc, rcNew})
    {
        EXPECT_EQ(spPage->Move(&rc), S_OK);
        RECT rcWindow = {};
        EXPECT_TRUE(GetWindowRect(hWnd, &rcWindow));
        MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&rcWindow), 2);
        EXPECT_TRUE(EqualRect(&rcWindow, &rc));
    }
    EXPECT_EQ(spPage->Deactivate(), S_OK);
}

TEST_F(Page, Keys)
{
    const Parent parent;
    auto spPage = Make<TestPage<301>>();
    MSG msg = {};
    msg.message = WM_KEYDOWN;
    msg.wParam = VK_TAB;
    EXPECT_EQ(spPage->TranslateAccelerator(nullptr), E_POINTER);
    EXPECT_EQ(spPage->TranslateAccelerator(&msg), S_FALSE); // not active
    ASSERT_EQ(spPage->Activate(parent, &m_rc, FALSE), S_OK);
    ASSERT_EQ(spPage->Show(SW_SHOW), S_OK);
    EXPECT_EQ(spPage->TranslateAccelerator(nullptr), E_POINTER);
    msg.hwnd = GetDlgItem(spPage->m_hWnd, 1002);
    EXPECT_EQ(spPage->TranslateAccelerator(&msg), S_OK);
    msg.hwnd = parent; // another window's
    EXPECT_EQ(spPage->TranslateAccelerator(&msg), S_FALSE);
    msg.hwnd = GetDlgItem(spPage->m_hWnd, 1002);
    for (const UINT nMessage : {UINT{WM_PAINT}, UINT{WM_TIMER}, UINT{WM_KEYLAST + 1}, UINT{WM_MOUSELAST + 1}})
    {
        msg.message = nMessage;
        EXPECT_EQ(spPage->TranslateAccelerator(&msg), S_FALSE) << nMessage;
    }
    EXPECT_EQ(spPage->Deactivate(), S_OK);
}

TEST_F(Page, HelpThatIsNotThere)
{
    auto spPage = Make<TestPage<301>>();
    EXPECT_EQ(spPage->Help(nullptr), E_NOTIMPL);
    EXPECT_EQ(spPage->Help(L"C:\\"), E_NOTIMPL);
    spPage->m_dwHelpFileID = 312;
    for (const LPCOLESTR pszFolder : {static_cast<LPCOLESTR>(nullptr), L"", L"C:", L"C:\\windows"})
        EXPECT_EQ(spPage->Help(pszFolder), E_NOTIMPL);
}

// --- The dialog

/// Answers some messages itself.
class TestDialog : public CDialogImpl<TestDialog>
{
public:
    enum
    {
        IDD = 301
    };
    bool ProcessWindowMessage(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM, LRESULT& lResult) noexcept
    {
        EXPECT_EQ(hWnd, m_hWnd);
        switch (uMsg)
        {
        case WM_INITDIALOG:
            m_nInits++;
            return false;
        case WM_CTLCOLORDLG:
            lResult = 0x1234; // any handle
            return true;
        case WM_APP:
            lResult = static_cast<LRESULT>(wParam) * 2;
            return true;
        case WM_NCDESTROY:
            m_nEnds++;
            return false;
        default:
            return false;
        }
    }
    int m_nInits = 0, m_nEnds = 0;
};

TEST_F(Page, MessagesOfADialog)
{
    const Parent parent;
    TestDialog dialog;
    EXPECT_FALSE(dialog.DestroyWindow());
    EXPECT_EQ(m_asserts.Texts(), Texts{"m_hWnd != NULL"});
    m_asserts.Clear();
    const HWND hWnd = dialog.Create(parent);
    ASSERT_NE(hWnd, nullptr);
    EXPECT_EQ(dialog.m_hWnd, hWnd);
    EXPECT_EQ(dialog.m_nInits, 1);
    EXPECT_EQ(SendMessageW(hWnd, WM_APP, 21, 0), 42);
    EXPECT_EQ(SendMessageW(hWnd, WM_APP + 1, 21, 0), 0);
    EXPECT_EQ(SendMessageW(hWnd, WM_CTLCOLORDLG, 0, 0), 0x1234);
    EXPECT_EQ(dialog.Create(parent), nullptr); // there is one
    EXPECT_EQ(m_asserts.Texts(), Texts{"m_hWnd == NULL"});
    EXPECT_EQ(dialog.m_hWnd, hWnd);
    EXPECT_TRUE(dialog.DestroyWindow());
    EXPECT_EQ(dialog.m_hWnd, nullptr);
    EXPECT_EQ(dialog.m_nEnds, 1);
}

TEST_F(Page, DialogGoesWithItsParent)
{
    TestDialog dialog;
    {
        const Parent parent;
        ASSERT_NE(dialog.Create(parent), nullptr);
    }
    EXPECT_EQ(dialog.m_hWnd, nullptr);
    EXPECT_EQ(dialog.m_nEnds, 1);
    // A page is then not active.
    auto spPage = Make<TestPage<301>>();
    {
        const Parent parent;
        ASSERT_EQ(spPage->Activate(parent, &m_rc, FALSE), S_OK);
    }
    EXPECT_EQ(spPage->Deactivate(), E_UNEXPECTED);
}

TEST_F(Page, WindowGoesWithItsObject)
{
    const Parent parent;
    HWND hWnd = nullptr;
    {
        TestDialog dialog;
        hWnd = dialog.Create(parent);
        ASSERT_TRUE(IsWindow(hWnd));
    }
    EXPECT_FALSE(IsWindow(hWnd));
    auto spPage = Make<TestPage<301>>();
    ASSERT_EQ(spPage->Activate(parent, &m_rc, FALSE), S_OK);
    hWnd = spPage->m_hWnd;
    spPage.Release();
    EXPECT_FALSE(IsWindow(hWnd));
}

// --- The list of pages

constexpr CLSID clsidOne = {0x11111111, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 6}};
constexpr CLSID clsidTwo = {0x22222222, 0x52C0, 0x4B8E, {0x9E, 0x11, 1, 2, 3, 4, 5, 6}};

class TwoPages : public CComObjectRootEx<CComSingleThreadModel>, public ISpecifyPropertyPagesImpl<TwoPages>
{
public:
    BEGIN_COM_MAP(TwoPages)
    COM_INTERFACE_ENTRY(ISpecifyPropertyPages)
    END_COM_MAP()
    BEGIN_PROP_MAP(TwoPages)
    PROP_PAGE(clsidOne)
    PROP_PAGE(clsidTwo)
    END_PROP_MAP()
};

class NoPages : public CComObjectRootEx<CComSingleThreadModel>, public ISpecifyPropertyPagesImpl<NoPages>
{
public:
    BEGIN_COM_MAP(NoPages)
    COM_INTERFACE_ENTRY(ISpecifyPropertyPages)
    END_COM_MAP()
    BEGIN_PROP_MAP(NoPages)
    END_PROP_MAP()
};

TEST(PropertyMap, Pages)
{
    CAUUID pages = {77, nullptr};
    auto spTwo = Make<TwoPages>();
    EXPECT_EQ(spTwo->GetPages(nullptr), E_POINTER);
    ASSERT_EQ(spTwo->GetPages(&pages), S_OK);
    ASSERT_EQ(pages.cElems, 2u);
    EXPECT_TRUE(IsEqualGUID(pages.pElems[0], clsidOne));
    EXPECT_TRUE(IsEqualGUID(pages.pElems[1], clsidTwo));
    CoTaskMemFree(pages.pElems);
    ASSERT_EQ(Make<NoPages>()->GetPages(&pages), S_OK);
    EXPECT_EQ(pages.cElems, 0u);
    CoTaskMemFree(pages.pElems);
}

} // namespace
