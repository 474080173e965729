#include "QXStillSourcePage.h"

CQXStillSourcePage::CQXStillSourcePage() noexcept
{
    m_dwTitleID = IDS_TITLEQXSTILLSOURCEPAGE;
    m_dwHelpFileID = IDS_HELPFILEQXSTILLSOURCEPAGE;
    m_dwDocStringID = IDS_DOCSTRINGQXSTILLSOURCEPAGE;
}

STDMETHODIMP CQXStillSourcePage::Apply() noexcept
{
    ATLTRACE(L"CQXStillSourcePage::Apply\n");
    for (ULONG i = 0; i < m_nObjects; i++)
    {
        // Deliberately empty: the place where a page with controls would copy their values to the object.
    }
    m_bDirty = FALSE;
    return S_OK;
}
