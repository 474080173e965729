// The property page of the DLL, as a host comes to it: by the pin's list of pages.
#include <gtest/gtest.h>

#include <ocidl.h>
#include <olectl.h>
#include <strmif.h>

#include <memory>
#include <optional>

#include "LoadedModule.h"
#include "QXStillSource.h"
#include "support/LogCapture.h"

CComModule _Module;

namespace
{

std::string TextOf(HWND hWnd)
{
    wchar_t sz[200] = L"";
    GetWindowTextW(hWnd, sz, 200);
    return Utf8(sz);
}

/// Texts of all windows below one.
std::vector<std::string> TextsBelow(HWND hWnd)
{
    std::vector<std::string> texts;
    EnumChildWindows(
        hWnd,
        [](HWND hChild, LPARAM lParam) noexcept -> BOOL
        {
            reinterpret_cast<std::vector<std::string>*>(lParam)->push_back(TextOf(hChild));
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&texts));
    return texts;
}

/// An object that is shown: it counts what is asked of it.
class ShownObject : public IUnknown
{
public:
    long m_nRefs = 0;
    int m_nQueries = 0;

    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        m_nQueries++;
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
};

class StillSourcePage : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        m_module.emplace();
        m_hParent = CreateWindowExW(0, L"STATIC", L"parent", WS_POPUP | WS_VISIBLE, 0, 0, 500, 400, nullptr,
                                    nullptr, nullptr, nullptr);
        ASSERT_NE(m_hParent, nullptr);
        CComPtr<IClassFactory> spFactory;
        ASSERT_EQ(m_module->GetClassObject(CLSID_QXStillSourcePage, IID_IClassFactory,
                                           reinterpret_cast<void**>(&spFactory)),
                  S_OK);
        ASSERT_EQ(spFactory->CreateInstance(nullptr, IID_IPropertyPage, reinterpret_cast<void**>(&m_spPage)),
                  S_OK);
        m_trace.Clear();
    }
    void TearDown() override
    {
        m_spPage.Release();
        DestroyWindow(m_hParent);
        EXPECT_EQ(m_module->CanUnloadNow(), S_OK);
        m_module.reset();
        CoUninitialize();
    }
    CComPtr<IPin> FirstPin()
    {
        CComPtr<IClassFactory> spFactory;
        CComPtr<IBaseFilter> spFilter;
        CComPtr<IEnumPins> spEnum;
        CComPtr<IPin> spPin;
        EXPECT_EQ(m_module->GetClassObject(CLSID_CoQXStillSource, IID_IClassFactory,
                                           reinterpret_cast<void**>(&spFactory)),
                  S_OK);
        EXPECT_EQ(spFactory->CreateInstance(nullptr, IID_IBaseFilter, reinterpret_cast<void**>(&spFilter)),
                  S_OK);
        m_spFilter = spFilter;
        EXPECT_EQ(spFilter->EnumPins(&spEnum), S_OK);
        EXPECT_EQ(spEnum->Next(1, &spPin, nullptr), S_OK);
        return spPin;
    }

    std::optional<LoadedModule> m_module;
    LogCapture m_trace;
    HWND m_hParent = nullptr;
    CComPtr<IPropertyPage> m_spPage;
    CComPtr<IBaseFilter> m_spFilter;
};

TEST_F(StillSourcePage, Interfaces)
{
    struct
    {
        const IID& iid;
        HRESULT hr;
    } const rows[] = {
        {IID_IUnknown, S_OK},
        {IID_IPropertyPage, S_OK},
        {IID_IPropertyPage2, E_NOINTERFACE},
        {IID_IBaseFilter, E_NOINTERFACE},
    };
    for (const auto& row : rows)
    {
        CComPtr<IUnknown> sp;
        EXPECT_EQ(m_spPage->QueryInterface(row.iid, reinterpret_cast<void**>(&sp)), row.hr);
    }
    EXPECT_EQ(m_module->CanUnloadNow(), S_FALSE);
}

TEST_F(StillSourcePage, Info)
{
    PROPPAGEINFO info = {};
    ASSERT_EQ(m_spPage->GetPageInfo(&info), S_OK);
    EXPECT_EQ(info.cb, sizeof(info));
    EXPECT_STREQ(info.pszTitle, L"Qorvex Still Source");
    EXPECT_STREQ(info.pszHelpFile, L"Help File Name");
    EXPECT_STREQ(info.pszDocString, L"Your Help String");
    EXPECT_EQ(info.dwHelpContext, 0u);
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszHelpFile);
    CoTaskMemFree(info.pszDocString);
    EXPECT_EQ(m_trace.Lines(), std::vector<LogLine>{});

    // As large as its dialog really becomes.
    RECT rc = {0, 0, info.size.cx, info.size.cy};
    ASSERT_EQ(m_spPage->Activate(m_hParent, &rc, FALSE), S_OK);
    const HWND hDialog = GetWindow(m_hParent, GW_CHILD);
    rc = {0, 0, 186, 95};
    EXPECT_TRUE(MapDialogRect(hDialog, &rc));
    EXPECT_EQ(info.size.cx, rc.right);
    EXPECT_EQ(info.size.cy, rc.bottom);
    EXPECT_EQ(m_spPage->Deactivate(), S_OK);
}

TEST_F(StillSourcePage, Resources)
{
    struct
    {
        UINT nId;
        const wchar_t* pszText;
    } const rows[] = {
        {100, L"QXStillSource"},
        {102, L"Qorvex Still Source"},
        {103, L"Help File Name"},
        {104, L"Your Help String"},
    };
    for (const auto& row : rows)
    {
        wchar_t sz[100] = L"";
        LoadStringW(m_module->Handle(), row.nId, sz, 100);
        EXPECT_STREQ(sz, row.pszText);
    }
    EXPECT_NE(FindResourceW(m_module->Handle(), MAKEINTRESOURCEW(106), RT_DIALOG), nullptr);
    EXPECT_NE(FindResourceW(m_module->Handle(), MAKEINTRESOURCEW(105), L"REGISTRY"), nullptr);
}

TEST_F(StillSourcePage, ShowsOneLine)
{
    const RECT rc = {10, 20, 310, 220};
    ASSERT_EQ(m_spPage->Activate(m_hParent, &rc, TRUE), S_OK);
    ASSERT_EQ(m_spPage->Show(SW_SHOW), S_OK);
    const HWND hDialog = GetWindow(m_hParent, GW_CHILD);
    ASSERT_NE(hDialog, nullptr);
    EXPECT_TRUE(IsWindowVisible(hDialog));
    EXPECT_EQ(TextsBelow(hDialog), std::vector<std::string>{"Insert your controls here."});
    EXPECT_EQ(m_spPage->IsPageDirty(), S_FALSE);
    EXPECT_EQ(m_spPage->Activate(m_hParent, &rc, TRUE), E_UNEXPECTED);
    EXPECT_EQ(m_spPage->Deactivate(), S_OK);
    EXPECT_FALSE(IsWindow(hDialog));
    EXPECT_EQ(m_spPage->Deactivate(), E_UNEXPECTED);
}

TEST_F(StillSourcePage, ApplyChangesNothing)
{
    const std::vector<LogLine> expected = {{0, "CQXStillSourcePage::Apply\n"}};
    EXPECT_EQ(m_spPage->Apply(), S_OK); // no objects
    EXPECT_EQ(m_trace.Lines(), expected);
    ShownObject one, two;
    IUnknown* arrObjects[] = {&one, &two};
    ASSERT_EQ(m_spPage->SetObjects(2, arrObjects), S_OK);
    m_trace.Clear();
    EXPECT_EQ(m_spPage->Apply(), S_OK);
    EXPECT_EQ(m_trace.Lines(), expected);
    EXPECT_EQ(one.m_nQueries + two.m_nQueries, 0);
    EXPECT_EQ(one.m_nRefs, 1);
    EXPECT_EQ(two.m_nRefs, 1);
    EXPECT_EQ(m_spPage->IsPageDirty(), S_FALSE);
    m_spPage.Release();
    EXPECT_EQ(one.m_nRefs, 0);
    EXPECT_EQ(two.m_nRefs, 0);
}

TEST_F(StillSourcePage, NullPointers)
{
    EXPECT_EQ(m_spPage->GetPageInfo(nullptr), E_POINTER);
    EXPECT_EQ(m_spPage->SetObjects(1, nullptr), E_POINTER);
    EXPECT_EQ(m_spPage->Activate(m_hParent, nullptr, FALSE), E_POINTER);
    EXPECT_EQ(m_spPage->Move(nullptr), E_POINTER);
    EXPECT_EQ(m_spPage->TranslateAccelerator(nullptr), E_POINTER);
    EXPECT_EQ(m_spPage->Help(nullptr), E_NOTIMPL);
    EXPECT_EQ(m_spPage->SetPageSite(nullptr), S_OK);
}

TEST_F(StillSourcePage, ThePinNamesIt)
{
    CComQIPtr<ISpecifyPropertyPages> spPages(FirstPin());
    ASSERT_NE(spPages.p, nullptr);
    CAUUID pages = {};
    EXPECT_EQ(spPages->GetPages(nullptr), E_POINTER);
    ASSERT_EQ(spPages->GetPages(&pages), S_OK);
    ASSERT_EQ(pages.cElems, 1u);
    EXPECT_TRUE(IsEqualGUID(pages.pElems[0], CLSID_QXStillSourcePage));
    CoTaskMemFree(pages.pElems);
    CComQIPtr<ISpecifyPropertyPages> spOfTheFilter(m_spFilter);
    EXPECT_EQ(spOfTheFilter.p, nullptr); // the pin alone has pages
    spPages.Release();
    m_spFilter.Release();
}

/// What is seen of the frame while it is open.
std::vector<std::string> g_frame;

void CALLBACK CloseTheFrame(HWND, UINT, UINT_PTR nTimer, DWORD) noexcept
{
    // The frame is the only dialog of this thread.
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND hWnd, LPARAM) noexcept -> BOOL
        {
            const std::vector<std::string> texts = TextsBelow(hWnd);
            if (texts.empty() || !IsWindowVisible(hWnd))
                return TRUE;
            g_frame = texts;
            PostMessageW(hWnd, WM_COMMAND, IDOK, 0);
            return FALSE;
        },
        0);
    if (!g_frame.empty())
        KillTimer(nullptr, nTimer);
}

TEST_F(StillSourcePage, InAFrame)
{
    m_spPage.Release();
    ASSERT_EQ(m_module->Register(), S_OK);
    CComPtr<IPin> spPin = FirstPin();
    IUnknown* pPin = spPin;
    CAUUID pages = {};
    {
        CComQIPtr<ISpecifyPropertyPages> spPages(spPin);
        ASSERT_EQ(spPages->GetPages(&pages), S_OK);
    }
    SetTimer(nullptr, 0, 50, &CloseTheFrame);
    EXPECT_EQ(OleCreatePropertyFrame(nullptr, 0, 0, L"Video Out", 1, &pPin, pages.cElems, pages.pElems,
                                     LOCALE_USER_DEFAULT, 0, nullptr),
              S_OK);
    CoTaskMemFree(pages.pElems);
    EXPECT_EQ(std::count(g_frame.begin(), g_frame.end(), "Insert your controls here."), 1);
    spPin.Release();
    m_spFilter.Release();
    CoFreeUnusedLibrariesEx(0, 0);
    EXPECT_EQ(m_module->Unregister(), S_OK);
}

} // namespace
