#pragma once
/// The part of ATL's window header that this system uses: a modeless dialog from a resource. A dialog belongs
/// to the thread that made it.

#include "atlbase.h"

/// The messages that a class handles itself: none, unless the class writes the operation out.
/// \param theClass only names the class, as in ATL
#define BEGIN_MSG_MAP(theClass)                                                                              \
public:                                                                                                      \
    bool ProcessWindowMessage(HWND, UINT, WPARAM, LPARAM, LRESULT&) noexcept                                 \
    {
#define END_MSG_MAP()                                                                                        \
    return false;                                                                                            \
    }

/// A modeless dialog. T supplies `enum { IDD = ... }`, the number of a dialog resource of the module, and
/// a message map, or `bool ProcessWindowMessage(HWND, UINT, WPARAM, LPARAM, LRESULT& lResult) noexcept`,
/// which tells whether it has handled a message.
template <class T>
class CDialogImpl
{
public:
    CDialogImpl() noexcept = default;
    CDialogImpl(const CDialogImpl&) = delete;
    CDialogImpl& operator=(const CDialogImpl&) = delete;
    /// A window that is left goes too, without a message to the object.
    ~CDialogImpl()
    {
        const HWND hWnd = std::exchange(m_hWnd, nullptr);
        if (hWnd == nullptr)
            return;
        SetWindowLongPtrW(hWnd, DWLP_USER, 0);
        ::DestroyWindow(hWnd);
    }

    /// Makes the dialog; with WM_INITDIALOG m_hWnd is set.
    /// \return null when there is no such resource, or the window cannot be made
    HWND Create(HWND hWndParent) noexcept
    {
        ATLASSERT(m_hWnd == NULL);
        if (m_hWnd != nullptr)
            return nullptr;
        return CreateDialogParamW(_Module.GetResourceInstance(), MAKEINTRESOURCEW(T::IDD), hWndParent,
                                  &CDialogImpl::DialogProc, reinterpret_cast<LPARAM>(this));
    }
    /// \return FALSE without a window
    BOOL DestroyWindow() noexcept
    {
        ATLASSERT(m_hWnd != NULL);
        return m_hWnd != nullptr ? ::DestroyWindow(m_hWnd) : FALSE;
    }

    HWND m_hWnd = nullptr; ///< null without a window

private:
    static INT_PTR CALLBACK DialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) noexcept
    {
        CDialogImpl* pThis = reinterpret_cast<CDialogImpl*>(GetWindowLongPtrW(hWnd, DWLP_USER));
        if (uMsg == WM_INITDIALOG)
        {
            pThis = reinterpret_cast<CDialogImpl*>(lParam);
            SetWindowLongPtrW(hWnd, DWLP_USER, lParam);
            pThis->m_hWnd = hWnd;
        }
        if (pThis == nullptr)
            return FALSE; // before the first message of the dialog, and behind the last
        LRESULT lResult = 0;
        const bool bHandled =
            static_cast<T*>(pThis)->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult);
        if (uMsg == WM_NCDESTROY)
        {
            SetWindowLongPtrW(hWnd, DWLP_USER, 0);
            pThis->m_hWnd = nullptr;
        }
        if (!bHandled)
            return FALSE;
        switch (uMsg)
        {
        case WM_COMPAREITEM:
        case WM_VKEYTOITEM:
        case WM_CHARTOITEM:
        case WM_INITDIALOG:
        case WM_QUERYDRAGICON:
        case WM_CTLCOLORMSGBOX:
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX:
        case WM_CTLCOLORBTN:
        case WM_CTLCOLORDLG:
        case WM_CTLCOLORSCROLLBAR:
        case WM_CTLCOLORSTATIC:
            return static_cast<INT_PTR>(lResult); // the messages whose result is the procedure's own
        default:
            SetWindowLongPtrW(hWnd, DWLP_MSGRESULT, lResult);
            return TRUE;
        }
    }
};
