// The type library in the DLL, as languages without C++ headers read it, and its agreement with the header.
#include <gtest/gtest.h>

#include <cstddef>

#include "LoadedModule.h"
#include "QXStillSource.h"
#include "support/LogCapture.h"

static_assert(sizeof(eQGFCC) == 4 && sizeof(eQGInterlace) == 4 && sizeof(eQGKeepAspect) == 4);
static_assert(sizeof(QG_VID_PROPS) == 32);
static_assert(offsetof(QG_VID_PROPS, nWidth) == 0 && offsetof(QG_VID_PROPS, nHeight) == 4);
static_assert(offsetof(QG_VID_PROPS, fccType) == 8 && offsetof(QG_VID_PROPS, eInterlace) == 12);
static_assert(offsetof(QG_VID_PROPS, nAspectX) == 16 && offsetof(QG_VID_PROPS, nAspectY) == 18);
static_assert(offsetof(QG_VID_PROPS, eKeepAspect) == 20 && offsetof(QG_VID_PROPS, dblRate) == 24);

namespace
{

std::string NameOf(ITypeInfo* pInfo, MEMBERID id)
{
    CComBSTR bsName;
    if (FAILED(pInfo->GetDocumentation(id, &bsName, nullptr, nullptr, nullptr)))
        return "(none)";
    return Utf8(bsName.m_str);
}

class TypeLibrary : public testing::Test
{
protected:
    void SetUp() override
    {
        LoadedModule module;
        ASSERT_EQ(S_OK, LoadTypeLibEx(module.File().c_str(), REGKIND_NONE, &m_spLib));
    }
    CComPtr<ITypeInfo> Find(const wchar_t* pszName)
    {
        CComPtr<ITypeInfo> sp;
        std::wstring sName(pszName);
        MEMBERID id = 0;
        USHORT nFound = 1;
        EXPECT_EQ(S_OK, m_spLib->FindName(sName.data(), 0, &sp, &id, &nFound));
        EXPECT_EQ(1, nFound) << Utf8(pszName);
        return sp;
    }
    CComPtr<ITypeLib> m_spLib;
};

TEST_F(TypeLibrary, IsTheProducts)
{
    TLIBATTR* pAttr = nullptr;
    ASSERT_EQ(S_OK, m_spLib->GetLibAttr(&pAttr));
    EXPECT_TRUE(IsEqualGUID(LIBID_QXStillSourceLib, pAttr->guid));
    EXPECT_EQ(1, pAttr->wMajorVerNum);
    EXPECT_EQ(0, pAttr->wMinorVerNum);
    EXPECT_EQ(SYS_WIN64, pAttr->syskind);
    m_spLib->ReleaseTLibAttr(pAttr);
}

TEST_F(TypeLibrary, HasTheClassWithItsInterface)
{
    CComPtr<ITypeInfo> spClass;
    ASSERT_EQ(S_OK, m_spLib->GetTypeInfoOfGuid(CLSID_CoQXStillSource, &spClass));
    EXPECT_EQ("CoQXStillSource", NameOf(spClass, MEMBERID_NIL));
    HREFTYPE hRef = 0;
    ASSERT_EQ(S_OK, spClass->GetRefTypeOfImplType(0, &hRef));
    CComPtr<ITypeInfo> spInterface;
    ASSERT_EQ(S_OK, spClass->GetRefTypeInfo(hRef, &spInterface));
    TYPEATTR* pAttr = nullptr;
    ASSERT_EQ(S_OK, spInterface->GetTypeAttr(&pAttr));
    EXPECT_TRUE(IsEqualGUID(IID_IQXStillSource, pAttr->guid));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IQXStillSource), pAttr->guid));
    spInterface->ReleaseTypeAttr(pAttr);
}

TEST_F(TypeLibrary, OperationsInSlotOrder)
{
    CComPtr<ITypeInfo> spInterface;
    ASSERT_EQ(S_OK, m_spLib->GetTypeInfoOfGuid(IID_IQXStillSource, &spInterface));
    const char* const names[] = {"SetOutputFormat", "GetOutputFormat",  "SetFrameRate",   "GetFrameRate",
                                 "SetPicture",      "SetPictureHandle", "SetOutputProps", "GetOutputProps"};
    const int parameters[] = {3, 3, 1, 1, 1, 1, 1, 1};
    TYPEATTR* pAttr = nullptr;
    ASSERT_EQ(S_OK, spInterface->GetTypeAttr(&pAttr));
    EXPECT_EQ(TKIND_INTERFACE, pAttr->typekind);
    EXPECT_EQ(8, pAttr->cFuncs);
    spInterface->ReleaseTypeAttr(pAttr);
    for (UINT i = 0; i < 8; ++i)
    {
        FUNCDESC* pFunc = nullptr;
        ASSERT_EQ(S_OK, spInterface->GetFuncDesc(i, &pFunc));
        EXPECT_EQ(names[i], NameOf(spInterface, pFunc->memid));
        // Behind the three of IUnknown.
        EXPECT_EQ(static_cast<SHORT>((3 + i) * sizeof(void*)), pFunc->oVft);
        EXPECT_EQ(parameters[i], pFunc->cParams);
        EXPECT_EQ(VT_HRESULT, pFunc->elemdescFunc.tdesc.vt);
        spInterface->ReleaseFuncDesc(pFunc);
    }
}

struct Constant
{
    const char* pszName;
    LONG nValue;
    LONG nHeader; ///< the value in the C++ header
};

#define CONSTANT(name, value)                                                                                \
    {                                                                                                        \
#name, static_cast < LONG>(value), static_cast < LONG>(name)                                         \
    }

const Constant formats[] = {
    CONSTANT(eQGFCC_Default, 0),          CONSTANT(eQGFCC_YV12, 0x32315659),
    CONSTANT(eQGFCC_I420, 0x30323449),    CONSTANT(eQGFCC_YUY2, 0x32595559),
    CONSTANT(eQGFCC_UYVY, 0x59565955),    CONSTANT(eQGFCC_YVYU, 0x55595659),
    CONSTANT(eQGFCC_HDYC, 0x43594448),    CONSTANT(eQGFCC_RGB24, 0xE436EB7D),
    CONSTANT(eQGFCC_RGB32, 0xE436EB7E),   CONSTANT(eQGFCC_ARGB32, 0x773C9AC0),
    CONSTANT(eQGFCC_v210, 0x30313276),    CONSTANT(eQGFCC_r210, 0x30313272),
    CONSTANT(eQGFCC_NoVideo, 0xFFFFFFFF),
};

const Constant interlaces[] = {
    CONSTANT(eQGI_Default, 0),
    CONSTANT(eQGI_Field1First, 1),
    CONSTANT(eQGI_Field2First, 2),
    CONSTANT(eQGI_Progressive, 3),
    CONSTANT(eQGI_FieldsOrderMask, 0x0F),
    CONSTANT(eQGI_3D_SideBySide, 0x10),
    CONSTANT(eQGI_3D_TopBottom, 0x20),
    CONSTANT(eQGI_3D_Interlaced, 0x40),
    CONSTANT(eQGI_3D_Tile, 0x80),
    CONSTANT(eQGI_3DMask, 0xFF0),
    CONSTANT(eQGI_Field1First_3DSide, 0x11),
    CONSTANT(eQGI_Field2First_3DSide, 0x12),
    CONSTANT(eQGI_Progressive_3DSide, 0x13),
    CONSTANT(eQGI_Field1First_3DTopBottom, 0x21),
    CONSTANT(eQGI_Field2First_3DTopBottom, 0x22),
    CONSTANT(eQGI_Progressive_3DTopBottom, 0x23),
    CONSTANT(eQGI_Progressive_3DInterlaced, 0x43),
};

const Constant aspects[] = {
    CONSTANT(eQGKA_Default, 0),
    CONSTANT(eQGKA_None, 1),
    CONSTANT(eQGKA_LetterBox, 2),
    CONSTANT(eQGKA_Crop, 3),
};

void CheckEnumeration(ITypeInfo* pInfo, const Constant* pConstants, size_t nConstants)
{
    TYPEATTR* pAttr = nullptr;
    ASSERT_EQ(S_OK, pInfo->GetTypeAttr(&pAttr));
    EXPECT_EQ(TKIND_ENUM, pAttr->typekind);
    EXPECT_EQ(nConstants, pAttr->cVars);
    pInfo->ReleaseTypeAttr(pAttr);
    for (size_t i = 0; i < nConstants; ++i)
    {
        EXPECT_EQ(pConstants[i].nValue, pConstants[i].nHeader) << pConstants[i].pszName;
        VARDESC* pVar = nullptr;
        ASSERT_EQ(S_OK, pInfo->GetVarDesc(static_cast<UINT>(i), &pVar));
        EXPECT_EQ(pConstants[i].pszName, NameOf(pInfo, pVar->memid));
        VARIANT varLong;
        VariantInit(&varLong);
        // Some values are stored unsigned.
        if (pVar->lpvarValue->vt == VT_UI4)
            varLong.lVal = static_cast<LONG>(pVar->lpvarValue->ulVal);
        else
            EXPECT_EQ(S_OK, VariantChangeType(&varLong, pVar->lpvarValue, 0, VT_I4));
        EXPECT_EQ(pConstants[i].nValue, varLong.lVal) << pConstants[i].pszName;
        pInfo->ReleaseVarDesc(pVar);
    }
}

TEST_F(TypeLibrary, Enumerations)
{
    CheckEnumeration(Find(L"eQGFCC"), formats, std::size(formats));
    CheckEnumeration(Find(L"eQGInterlace"), interlaces, std::size(interlaces));
    CheckEnumeration(Find(L"eQGKeepAspect"), aspects, std::size(aspects));
}

TEST_F(TypeLibrary, RecordOfOutputProperties)
{
    CComPtr<ITypeInfo> spRecord = Find(L"QG_VID_PROPS");
    const char* const names[] = {"nWidth",   "nHeight",  "fccType",     "eInterlace",
                                 "nAspectX", "nAspectY", "eKeepAspect", "dblRate"};
    const ULONG offsets[] = {0, 4, 8, 12, 16, 18, 20, 24};
    TYPEATTR* pAttr = nullptr;
    ASSERT_EQ(S_OK, spRecord->GetTypeAttr(&pAttr));
    EXPECT_EQ(TKIND_RECORD, pAttr->typekind);
    EXPECT_EQ(8, pAttr->cVars);
    EXPECT_EQ(32u, pAttr->cbSizeInstance);
    spRecord->ReleaseTypeAttr(pAttr);
    for (UINT i = 0; i < 8; ++i)
    {
        VARDESC* pVar = nullptr;
        ASSERT_EQ(S_OK, spRecord->GetVarDesc(i, &pVar));
        EXPECT_EQ(names[i], NameOf(spRecord, pVar->memid));
        EXPECT_EQ(offsets[i], pVar->oInst);
        spRecord->ReleaseVarDesc(pVar);
    }
}

TEST(Resources, TextsAndVersion)
{
    LoadedModule module;
    struct Row
    {
        UINT nId;
        const char* pszText;
    };
    const Row rows[] = {{100, "QXStillSource"},
                        {102, "Qorvex Still Source"},
                        {103, "Help File Name"},
                        {104, "Your Help String"}};
    for (const Row& row : rows)
    {
        wchar_t sz[64] = L"";
        EXPECT_NE(0, LoadStringW(module.Handle(), row.nId, sz, 64));
        EXPECT_EQ(row.pszText, Utf8(sz));
    }
    EXPECT_NE(nullptr, FindResourceW(module.Handle(), MAKEINTRESOURCEW(101), L"REGISTRY"));
    EXPECT_NE(nullptr, FindResourceW(module.Handle(), MAKEINTRESOURCEW(1), L"TYPELIB"));
    EXPECT_NE(nullptr, FindResourceW(module.Handle(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16)));
}

} // namespace
