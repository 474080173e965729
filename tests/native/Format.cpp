#include "Format.h"

#include "NativeText.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

// Not std::wstring: the C++ library has its code compiled for characters of 32 bits.

namespace
{

/// The arguments of a call, which the two calling conventions store differently.
class CArguments
{
public:
    virtual int Int() = 0;
    virtual int64_t Int64() = 0;
    virtual const void* Pointer() = 0;
    virtual double Double() = 0;

protected:
    ~CArguments() = default;
};

class CSystemArguments final : public CArguments
{
public:
    explicit CSystemArguments(va_list args) { va_copy(m_args, args); }
    ~CSystemArguments() { va_end(m_args); }
    int Int() override { return va_arg(m_args, int); }
    int64_t Int64() override { return va_arg(m_args, int64_t); }
    const void* Pointer() override { return va_arg(m_args, const void*); }
    double Double() override { return va_arg(m_args, double); }

private:
    va_list m_args;
};

/// Reads the slots of 8 bytes itself: the compiler takes two bodies with va_arg for equal, although their lists
/// differ, and would merge them.
class CWindowsArguments final : public CArguments
{
public:
    explicit CWindowsArguments(__builtin_ms_va_list args) : m_pNext(args) {}
    int Int() override { return Next<int>(); }
    int64_t Int64() override { return Next<int64_t>(); }
    const void* Pointer() override { return Next<const void*>(); }
    double Double() override { return Next<double>(); }

private:
    template <class T>
    T Next()
    {
        T value;
        std::memcpy(&value, m_pNext, sizeof(value));
        m_pNext += 8;
        return value;
    }

    const char* m_pNext;
};

/// Writes as much as fits and counts all.
struct Output
{
    wchar_t* psz;
    size_t cch;
    size_t nLength = 0;

    void Put(wchar_t ch)
    {
        if (nLength < cch)
            psz[nLength] = ch;
        nLength++;
    }
};

/// What stands between a percent sign and the letter of the conversion.
struct Conversion
{
    bool bLeft = false;
    bool bPlus = false;
    bool bSpace = false;
    bool bHash = false;
    bool bZero = false;
    int nWidth = 0;
    int nPrecision = -1;
    bool b64 = false;
    bool bNarrow = false;
    bool bWide = false;
};

int ReadNumber(const wchar_t*& psz, CArguments& args)
{
    if (*psz == '*')
    {
        psz++;
        return args.Int();
    }
    int n = 0;
    for (; *psz >= '0' && *psz <= '9' && n < 100000; psz++)
        n = n * 10 + (*psz - '0');
    return n;
}

Conversion ReadConversion(const wchar_t*& psz, CArguments& args)
{
    Conversion cv;
    for (bool bFlag = true; bFlag; psz += bFlag)
    {
        bFlag = true;
        switch (*psz)
        {
        case '-':
            cv.bLeft = true;
            break;
        case '+':
            cv.bPlus = true;
            break;
        case ' ':
            cv.bSpace = true;
            break;
        case '#':
            cv.bHash = true;
            break;
        case '0':
            cv.bZero = true;
            break;
        default:
            bFlag = false;
            break;
        }
    }
    cv.nWidth = ReadNumber(psz, args);
    if (cv.nWidth < 0)
    {
        cv.bLeft = true;
        cv.nWidth = -cv.nWidth;
    }
    if (*psz == '.')
    {
        psz++;
        cv.nPrecision = ReadNumber(psz, args);
    }
    for (;; psz++)
    {
        if (psz[0] == 'I' && psz[1] == '6' && psz[2] == '4')
        {
            cv.b64 = true;
            psz += 2;
        }
        else if (psz[0] == 'I' && psz[1] == '3' && psz[2] == '2')
            psz += 2;
        else if (psz[0] == 'l' && psz[1] == 'l')
        {
            cv.b64 = true;
            psz++;
        }
        else if (*psz == 'I' || *psz == 'z')
            cv.b64 = true;
        else if (*psz == 'l' || *psz == 'w')
            cv.bWide = true; // an integer keeps 32 bits
        else if (*psz == 'h')
            cv.bNarrow = true;
        else
            return cv;
    }
}

/// Puts sign or prefix, zeros or spaces, and the body, in the order that the flags ask for.
void PutField(Output& out, const Conversion& cv, const std::string& strPrefix, const std::u16string& strBody,
              bool bZeroFill)
{
    const int nLength = static_cast<int>(strPrefix.size() + strBody.size());
    const int nFill = cv.nWidth > nLength ? cv.nWidth - nLength : 0;
    if (!cv.bLeft && !bZeroFill)
    {
        for (int i = 0; i < nFill; i++)
            out.Put(' ');
    }
    for (const char ch : strPrefix)
        out.Put(static_cast<unsigned char>(ch));
    if (!cv.bLeft && bZeroFill)
    {
        for (int i = 0; i < nFill; i++)
            out.Put('0');
    }
    for (const char16_t ch : strBody)
        out.Put(static_cast<wchar_t>(ch));
    if (cv.bLeft)
    {
        for (int i = 0; i < nFill; i++)
            out.Put(' ');
    }
}

std::u16string Digits(uint64_t nValue, unsigned nBase, bool bUpper, int nMinimum)
{
    std::u16string str;
    while (nValue != 0 || static_cast<int>(str.size()) < nMinimum)
    {
        const unsigned nDigit = static_cast<unsigned>(nValue % nBase);
        const char ch = (bUpper ? "0123456789ABCDEF" : "0123456789abcdef")[nDigit];
        str.insert(str.begin(), static_cast<char16_t>(ch));
        nValue /= nBase;
    }
    return str;
}

void PutSigned(Output& out, const Conversion& cv, CArguments& args)
{
    const int64_t nValue = cv.b64 ? args.Int64() : cv.bNarrow ? static_cast<short>(args.Int()) : args.Int();
    const uint64_t nAbs = nValue < 0 ? 0 - static_cast<uint64_t>(nValue) : static_cast<uint64_t>(nValue);
    const char* pszSign = nValue < 0 ? "-" : cv.bPlus ? "+" : cv.bSpace ? " " : "";
    PutField(out, cv, pszSign, Digits(nAbs, 10, false, cv.nPrecision < 0 ? 1 : cv.nPrecision),
             cv.bZero && cv.nPrecision < 0);
}

void PutUnsigned(Output& out, const Conversion& cv, CArguments& args, unsigned nBase, bool bUpper)
{
    const uint64_t nValue = cv.b64       ? static_cast<uint64_t>(args.Int64())
                            : cv.bNarrow ? static_cast<unsigned short>(args.Int())
                                         : static_cast<unsigned>(args.Int());
    const char* pszPrefix = cv.bHash && nBase == 16 && nValue != 0 ? (bUpper ? "0X" : "0x") : "";
    PutField(out, cv, pszPrefix, Digits(nValue, nBase, bUpper, cv.nPrecision < 0 ? 1 : cv.nPrecision),
             cv.bZero && cv.nPrecision < 0);
}

void PutDouble(Output& out, const Conversion& cv, CArguments& args, char chType)
{
    char szFormat[] = {'%', '.', '*', chType, 0};
    char szText[512];
    snprintf(szText, sizeof(szText), szFormat, cv.nPrecision < 0 ? 6 : cv.nPrecision, args.Double());
    const bool bNegative = szText[0] == '-';
    std::u16string strBody;
    for (const char* psz = szText + (bNegative ? 1 : 0); *psz != 0; psz++)
        strBody += static_cast<char16_t>(*psz);
    PutField(out, cv, bNegative ? "-" : cv.bPlus ? "+" : "", strBody, cv.bZero);
}

void PutText(Output& out, const Conversion& cv, CArguments& args, bool bNarrow)
{
    const void* pv = args.Pointer();
    std::u16string strBody;
    const size_t nMaximum = cv.nPrecision < 0 ? SIZE_MAX : static_cast<size_t>(cv.nPrecision);
    if (pv == nullptr)
    {
        pv = L"(null)";
        bNarrow = false;
    }
    if (bNarrow)
    {
        const auto* psz = static_cast<const unsigned char*>(pv);
        for (size_t i = 0; i < nMaximum && psz[i] != 0; i++)
            strBody += static_cast<char16_t>(psz[i]);
    }
    else
    {
        const auto* psz = static_cast<const wchar_t*>(pv);
        for (size_t i = 0; i < nMaximum && psz[i] != 0; i++)
            strBody += static_cast<char16_t>(psz[i]);
    }
    PutField(out, cv, "", strBody, false);
}

void Format(Output& out, const wchar_t* pszFormat, CArguments& args)
{
    for (const wchar_t* psz = pszFormat; *psz != 0; psz++)
    {
        if (*psz != '%')
        {
            out.Put(*psz);
            continue;
        }
        psz++;
        const Conversion cv = ReadConversion(psz, args);
        switch (*psz)
        {
        case 0:
            return; // the format ends within a conversion
        case 'd':
        case 'i':
            PutSigned(out, cv, args);
            break;
        case 'u':
            PutUnsigned(out, cv, args, 10, false);
            break;
        case 'o':
            PutUnsigned(out, cv, args, 8, false);
            break;
        case 'x':
            PutUnsigned(out, cv, args, 16, false);
            break;
        case 'X':
            PutUnsigned(out, cv, args, 16, true);
            break;
        case 'p':
            PutField(out, cv, "", Digits(reinterpret_cast<uintptr_t>(args.Pointer()), 16, true, 16), false);
            break;
        case 'c':
        case 'C':
            PutField(out, cv, "", std::u16string(1, static_cast<char16_t>(args.Int())), false);
            break;
        case 's':
            PutText(out, cv, args, cv.bNarrow);
            break;
        case 'S':
            PutText(out, cv, args, !cv.bWide);
            break;
        case 'e':
        case 'E':
        case 'f':
        case 'g':
        case 'G':
            PutDouble(out, cv, args, static_cast<char>(*psz));
            break;
        default:
            out.Put(*psz);
            break; // "%%", and letters that are no conversion
        }
    }
}

} // namespace

int _vsnwprintf(wchar_t* pszOut, size_t cchOut, const wchar_t* pszFormat, va_list va)
{
    CSystemArguments args(va);
    Output out{pszOut, cchOut};
    Format(out, pszFormat, args);
    if (out.nLength < cchOut)
        pszOut[out.nLength] = 0;
    return out.nLength <= cchOut ? static_cast<int>(out.nLength) : -1;
}

int _snwprintf(wchar_t* pszOut, size_t cchOut, const wchar_t* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const int nResult = _vsnwprintf(pszOut, cchOut, pszFormat, args);
    va_end(args);
    return nResult;
}

// Cuts at 1,023 characters, as on Windows.
INT WINAPIV wsprintfW(LPWSTR pszOut, LPCWSTR pszFormat, ...)
{
    __builtin_ms_va_list va;
    __builtin_ms_va_start(va, pszFormat);
    CWindowsArguments args(va);
    Output out{pszOut, 1023};
    Format(out, pszFormat, args);
    __builtin_ms_va_end(va);
    const size_t nLength = out.nLength < 1023 ? out.nLength : 1023;
    pszOut[nLength] = 0;
    return static_cast<INT>(nLength);
}
