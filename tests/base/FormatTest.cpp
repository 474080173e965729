// The conversions that trace lines use. The same rows run against the platform's runtime and against the
// stand-in of the native build, so that both agree.
#include "dstl/WinAPI/Platform.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cwchar>
#include <string>
#include <vector>

#ifdef QX_NATIVE
#include "Format.h"
#endif

namespace
{

std::string Formatted(const wchar_t* pszFormat, ...)
{
    std::vector<wchar_t> buffer(600, L'#');
    va_list args;
    va_start(args, pszFormat);
    const int nResult = _vsnwprintf(buffer.data(), buffer.size(), pszFormat, args);
    va_end(args);
    const std::string sText = Utf8(buffer.data());
    EXPECT_EQ(nResult, static_cast<int>(sText.size()));
    return sText;
}

TEST(Format, Integers)
{
    EXPECT_EQ(Formatted(L"%d %i %u", -1, 2147483647, 4294967295u), "-1 2147483647 4294967295");
    EXPECT_EQ(Formatted(L"%x %X 0x%X %08X", 0xabcu, 0xABCu, 0x80070005u, 0x1Fu),
              "abc ABC 0x80070005 0000001F");
    EXPECT_EQ(Formatted(L"%ld %lu %lX", -5, 7u, 0xFFu), "-5 7 FF");
    EXPECT_EQ(Formatted(L"[%5d][%-5d][%05d][%+d][%.3d]", 42, 42, -42, 42, 7),
              "[   42][42   ][-0042][+42][007]");
    EXPECT_EQ(Formatted(L"[%*d][%-*d]", 4, 1, 4, 2), "[   1][2   ]");
    EXPECT_EQ(Formatted(L"%02u:%02u:%02u.%03u'%04u", 1u, 2u, 3u, 4u, 5u), "01:02:03.004'0005");
    EXPECT_EQ(Formatted(L"%#x %o", 255u, 8u), "0xff 10");
}

TEST(Format, Integers64)
{
    EXPECT_EQ(Formatted(L"%I64d %I64i %I64u", LONGLONG(-9223372036854775807 - 1), LONGLONG(400000),
                        ULONGLONG(18446744073709551615u)),
              "-9223372036854775808 400000 18446744073709551615");
    EXPECT_EQ(Formatted(L"%I64X %016I64X", ULONGLONG(0x123456789ABCDEF), ULONGLONG(0xF)),
              "123456789ABCDEF 000000000000000F");
    EXPECT_EQ(Formatted(L"%lld %llu", LONGLONG(-3), ULONGLONG(3)), "-3 3");
}

TEST(Format, Texts)
{
    EXPECT_EQ(Formatted(L"%s|%ws|%ls|%hs|%S", L"w1", L"w2", L"w3", "n1", "n2"), "w1|w2|w3|n1|n2");
    EXPECT_EQ(Formatted(L"[%5s][%-5s][%.2s][%5.1hs]", L"abc", L"abc", L"abc", "abc"),
              "[  abc][abc  ][ab][    a]");
    EXPECT_EQ(Formatted(L"%s %hs", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
              "(null) (null)");
    EXPECT_EQ(Formatted(L"%c%c%%%c", L'a', L'b', L'c'), "ab%c");
}

TEST(Format, Pointers)
{
    EXPECT_EQ(Formatted(L"0x%p", reinterpret_cast<void*>(UINT_PTR(0x12ABCDEF))), "0x0000000012ABCDEF");
}

TEST(Format, Numbers)
{
    EXPECT_EQ(Formatted(L"%f %.2f %5.1f %g", 1.5, 25.0, -2.5, 0.5), "1.500000 25.00  -2.5 0.5");
}

TEST(Format, WhatDoesNotFitGivesMinusOne)
{
    wchar_t szText[] = L"########";
    EXPECT_EQ(_snwprintf(szText, 4, L"%s", L"abcdef"), -1);
    EXPECT_EQ(Utf8(szText), "abcd####");
    EXPECT_EQ(_snwprintf(szText, 4, L"%s", L"wxyz"), 4); // no terminator
    EXPECT_EQ(Utf8(szText), "wxyz####");
    EXPECT_EQ(_snwprintf(szText, 4, L"%s", L"123"), 3);
    EXPECT_EQ(Utf8(szText), "123");
}

TEST(Format, WsprintfIsCutAt1023Characters)
{
    std::vector<wchar_t> text(3000, L'x');
    text.back() = 0;
    std::vector<wchar_t> buffer(1040, L'#');
    wsprintfW(buffer.data(), L"%i %s", -7, text.data());
    EXPECT_EQ(buffer[1024], L'#');
    buffer[1023] = 0; // not every platform ends a text that was cut
    EXPECT_EQ(Utf8(buffer.data()), "-7 " + std::string(1020, 'x'));
    EXPECT_EQ(wsprintfW(buffer.data(), L"%s %hs %08X %u", L"w", "n", 0xBEEFu, 9u), 14);
    EXPECT_EQ(Utf8(buffer.data()), "w n 0000BEEF 9");
}

} // namespace
