// Calls as a language makes them that knows the filter's interface from the type library alone.
#include <gtest/gtest.h>

#include <vector>

#include "LoadedModule.h"
#include "QXStillSource.h"

namespace
{

class LateCall : public testing::Test
{
protected:
    void SetUp() override
    {
        CComPtr<ITypeLib> spLib;
        ASSERT_EQ(S_OK, LoadTypeLibEx(m_module.File().c_str(), REGKIND_NONE, &spLib));
        std::wstring sName = L"IQXStillSource";
        MEMBERID id = 0;
        USHORT nFound = 1;
        ASSERT_EQ(S_OK, spLib->FindName(sName.data(), 0, &m_spInfo, &id, &nFound));
        ASSERT_EQ(1, nFound);
        CComPtr<IClassFactory> spFactory;
        ASSERT_EQ(S_OK, m_module.GetClassObject(CLSID_CoQXStillSource, IID_IClassFactory,
                                                reinterpret_cast<void**>(&spFactory)));
        TYPEATTR* pAttr = nullptr;
        ASSERT_EQ(S_OK, m_spInfo->GetTypeAttr(&pAttr));
        ASSERT_EQ(S_OK,
                  spFactory->CreateInstance(nullptr, pAttr->guid, reinterpret_cast<void**>(&m_spObject)));
        m_spInfo->ReleaseTypeAttr(pAttr);
    }

    /// Calls an operation by its name: place in the table, calling convention and result come from the
    /// library.
    HRESULT Call(const wchar_t* pszName, std::vector<VARIANT> arrArguments)
    {
        std::wstring sName = pszName;
        LPOLESTR psz = sName.data();
        MEMBERID id = 0;
        HRESULT hr = m_spInfo->GetIDsOfNames(&psz, 1, &id);
        if (FAILED(hr))
            return hr;
        for (UINT i = 0;; i++)
        {
            FUNCDESC* pFunc = nullptr;
            hr = m_spInfo->GetFuncDesc(i, &pFunc);
            if (FAILED(hr))
                return hr;
            const bool bFound = pFunc->memid == id;
            if (bFound)
                hr = Invoke(*pFunc, arrArguments);
            m_spInfo->ReleaseFuncDesc(pFunc);
            if (bFound)
                return hr;
        }
    }

    static VARIANT Argument(VARTYPE vt, void* pv = nullptr)
    {
        VARIANT var{};
        var.vt = vt;
        var.byref = pv;
        return var;
    }
    static VARIANT Number(int n)
    {
        VARIANT var{};
        var.vt = VT_I4;
        var.lVal = n;
        return var;
    }

    LoadedModule m_module;
    CComPtr<ITypeInfo> m_spInfo;
    CComPtr<IUnknown> m_spObject;

private:
    HRESULT Invoke(const FUNCDESC& func, std::vector<VARIANT>& arrArguments)
    {
        EXPECT_EQ(static_cast<size_t>(func.cParams), arrArguments.size());
        std::vector<VARTYPE> arrTypes;
        std::vector<VARIANTARG*> arrPointers;
        for (size_t i = 0; i < arrArguments.size(); i++)
        {
            const TYPEDESC& type = func.lprgelemdescParam[i].tdesc;
            // What the caller passes is what the library tells.
            const bool bSame = type.vt == VT_PTR ? (arrArguments[i].vt & VT_BYREF) != 0
                                                 : type.vt == arrArguments[i].vt ||
                                                       (type.vt == VT_INT && arrArguments[i].vt == VT_I4);
            EXPECT_TRUE(bSame) << i << ": " << type.vt;
            arrTypes.push_back(arrArguments[i].vt);
            arrPointers.push_back(&arrArguments[i]);
        }
        EXPECT_EQ(VT_HRESULT, func.elemdescFunc.tdesc.vt);
        VARIANT varResult{};
        // VT_ERROR is how this function calls an HRESULT.
        const HRESULT hr =
            DispCallFunc(m_spObject.p, static_cast<ULONG_PTR>(func.oVft), func.callconv, VT_ERROR,
                         static_cast<UINT>(arrTypes.size()), arrTypes.data(), arrPointers.data(), &varResult);
        return FAILED(hr) ? hr : varResult.scode;
    }
};

TEST_F(LateCall, FormatGoesInAndComesOut)
{
    CComBSTR bsFormat(L"YUY2");
    EXPECT_EQ(S_OK, Call(L"SetOutputFormat", {Argument(VT_BSTR, bsFormat.m_str), Number(320), Number(240)}));
    CComBSTR bsFound;
    int nWidth = 0;
    int nHeight = 0;
    EXPECT_EQ(S_OK, Call(L"GetOutputFormat",
                         {Argument(VT_BSTR | VT_BYREF, &bsFound), Argument(VT_I4 | VT_BYREF, &nWidth),
                          Argument(VT_I4 | VT_BYREF, &nHeight)}));
    EXPECT_STREQ(L"YUY2", bsFound.m_str);
    EXPECT_EQ(320, nWidth);
    EXPECT_EQ(240, nHeight);
}

TEST_F(LateCall, RateAndPicture)
{
    VARIANT varRate{};
    varRate.vt = VT_R8;
    varRate.dblVal = 29.97;
    EXPECT_EQ(S_OK, Call(L"SetFrameRate", {varRate}));
    double dblRate = 0;
    EXPECT_EQ(S_OK, Call(L"GetFrameRate", {Argument(VT_R8 | VT_BYREF, &dblRate)}));
    EXPECT_EQ(29.97, dblRate);
    CComBSTR bsPicture(L"red");
    EXPECT_EQ(S_OK, Call(L"SetPicture", {Argument(VT_BSTR, bsPicture.m_str)}));
    EXPECT_EQ(E_INVALIDARG, Call(L"SetPictureHandle", {Number(0)}));
}

} // namespace
