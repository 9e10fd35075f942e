#include <kqx/Format.h>

#include "HeapLimit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

namespace {

using db2test::Random;
using foundationtest::HeapLimit;

/// The whole text of a format, measured first.
template <class... Arguments>
std::wstring format(const wchar_t* text, Arguments... arguments)
{
    const std::size_t length = kqx::formatTextOf(nullptr, 0, text, arguments...);
    std::wstring result(length + 1, L'!');
    EXPECT_EQ(kqx::formatTextOf(result.data(), length + 1, text, arguments...), length);
    EXPECT_EQ(result.back(), L'\0');
    result.pop_back();
    return result;
}

/// What the C library makes of it.
template <class... Arguments>
std::wstring expected(const char* text, Arguments... arguments)
{
    char buffer[20000];
    const int length = std::snprintf(buffer, sizeof(buffer), text, arguments...);
    EXPECT_GE(length, 0);
    EXPECT_LT(length, static_cast<int>(sizeof(buffer)));
    return {buffer, buffer + length};
}

// --- Plain text and the buffer ---

TEST(FormatTest, TextWithoutConversionsIsCopied)
{
    EXPECT_EQ(format(L""), L"");
    EXPECT_EQ(format(L"Cannot perform operations on the root node."), L"Cannot perform operations on the root node.");
    EXPECT_EQ(format(L"\x20AC"), L"\x20AC");
}

TEST(FormatTest, NullFormatIsEmpty)
{
    EXPECT_EQ(format(nullptr), L"");
}

TEST(FormatTest, TwoPercentSignsGiveOne)
{
    EXPECT_EQ(format(L"%%"), L"%");
    EXPECT_EQ(format(L"100%% of %d%%", 5), L"100% of 5%");
}

TEST(FormatTest, LongTextIsCutAndCounted)
{
    wchar_t buffer[6] = L"?????";
    EXPECT_EQ(kqx::formatTextOf(buffer, 5, L"%s", L"abcdefgh"), 8u);
    EXPECT_STREQ(buffer, L"abcd");
    EXPECT_EQ(kqx::formatTextOf(buffer, 5, L"%s", L"abcd"), 4u);
    EXPECT_STREQ(buffer, L"abcd");
    EXPECT_EQ(kqx::formatTextOf(buffer, 5, L"ab%8d", 1), 10u);
    EXPECT_STREQ(buffer, L"ab  ");
    EXPECT_EQ(kqx::formatTextOf(buffer, 5, L"abcdef%d%%x", 12), 10u);
    EXPECT_STREQ(buffer, L"abcd");
    EXPECT_EQ(buffer[5], L'\0'); // never touched
}

TEST(FormatTest, CapacityOneHoldsTheEndAlone)
{
    wchar_t buffer[2] = {L'?', L'?'};
    EXPECT_EQ(kqx::formatTextOf(buffer, 1, L"%d", 123), 3u);
    EXPECT_EQ(buffer[0], L'\0');
    EXPECT_EQ(buffer[1], L'?');
}

TEST(FormatTest, CapacityZeroWritesNothing)
{
    wchar_t buffer[1] = {L'?'};
    EXPECT_EQ(kqx::formatTextOf(buffer, 0, L"%d", 123), 3u);
    EXPECT_EQ(buffer[0], L'?');
    EXPECT_EQ(kqx::formatTextOf(nullptr, 0, L"abc %s", L"def"), 7u);
}

std::size_t formatTwice(wchar_t* first, wchar_t* second, std::size_t capacity, const wchar_t* text, ...)
{
    std::va_list arguments;
    va_start(arguments, text);
    kqx::formatText(first, capacity, text, arguments);
    const std::size_t length = kqx::formatText(second, capacity, text, arguments);
    va_end(arguments);
    return length;
}

TEST(FormatTest, ArgumentListMayBeReadAgain)
{
    wchar_t first[32];
    wchar_t second[32];
    EXPECT_EQ(formatTwice(first, second, 32, L"%s %d %g", L"a", 2, 0.5), 7u);
    EXPECT_STREQ(first, L"a 2 0.5");
    EXPECT_STREQ(second, L"a 2 0.5");
}

TEST(FormatTest, AllocatesNothing)
{
    const HeapLimit heap(0);
    EXPECT_EQ(format(L"%s %.50f %d", L"x", 1.5, 3).size(), 56u);
    EXPECT_EQ(heap.requests(), 0u);
}

// --- Unknown conversions ---

TEST(FormatTest, UnknownConversionsAreCopiedAndTakeNoArgument)
{
    EXPECT_EQ(format(L"Cannot register duplicate module '%'"), L"Cannot register duplicate module '%'");
    EXPECT_EQ(format(L"'%' and %d", 7), L"'%' and 7");
    EXPECT_EQ(format(L"%n%d", 7), L"%n7");
    EXPECT_EQ(format(L"%y %d", 7), L"%y 7");
    EXPECT_EQ(format(L"%-08.3y %d", 7), L"%-08.3y 7");
    EXPECT_EQ(format(L"%*.*y %d", 7), L"%*.*y 7");
    EXPECT_EQ(format(L"%1$d %d", 7), L"%1$d 7");
    EXPECT_EQ(format(L"%'d %d", 7), L"%'d 7");
    EXPECT_EQ(format(L"%Lf %d", 7), L"%Lf 7");
    EXPECT_EQ(format(L"%S %C %m %d", 7), L"%S %C %m 7");
    EXPECT_EQ(format(L"%\x20AC %d", 7), L"%\x20AC 7");
}

TEST(FormatTest, LengthsThatDoNotFitAreUnknown)
{
    EXPECT_EQ(format(L"%hf %lls %zc %hhs %jp %d", 7), L"%hf %lls %zc %hhs %jp 7");
    EXPECT_EQ(format(L"%hhhd %llld %d", 7), L"%hhhd %llld 7");
}

TEST(FormatTest, PercentSignEndsAnUnknownConversionAndStartsTheNext)
{
    EXPECT_EQ(format(L"50% %d", 7), L"50% 7");
    EXPECT_EQ(format(L"%5%d", 7), L"%57");
    EXPECT_EQ(format(L"%l%%"), L"%l%");
}

TEST(FormatTest, ConversionsCutByTheEndAreCopied)
{
    EXPECT_EQ(format(L"%"), L"%");
    EXPECT_EQ(format(L"a %5"), L"a %5");
    EXPECT_EQ(format(L"%-+ #0*.*ll"), L"%-+ #0*.*ll");
    EXPECT_EQ(format(L"%h"), L"%h");
    EXPECT_EQ(format(L"%."), L"%.");
    EXPECT_EQ(format(L"%%%"), L"%%");
}

// --- Texts ---

TEST(FormatTest, WideTexts)
{
    EXPECT_EQ(format(L"'%s'", L"arm"), L"'arm'");
    EXPECT_EQ(format(L"%ls", L"\x20AC\U0001F600"), L"\x20AC\U0001F600");
    EXPECT_EQ(format(L"%s", L""), L"");
    EXPECT_EQ(format(L"[%6s][%-6s][%2s]", L"arm", L"arm", L"arm"), L"[   arm][arm   ][arm]");
    EXPECT_EQ(format(L"%.2s|%.0s|%.s|%.9s", L"arm", L"arm", L"arm", L"arm"), L"ar|||arm");
    EXPECT_EQ(format(L"[%*s][%*s]", 5, L"arm", -5, L"arm"), L"[  arm][arm  ]");
    EXPECT_EQ(format(L"%.*s|%.*s", 1, L"arm", -1, L"arm"), L"a|arm");
}

TEST(FormatTest, LongWideTextsAreWhole)
{
    const std::wstring text(100000, L'x');
    EXPECT_EQ(format(L"%s", text.c_str()), text);
    EXPECT_EQ(format(L"%.5000s", text.c_str()).size(), 5000u);
}

TEST(FormatTest, PrecisionBoundsWhatIsRead)
{
    const wchar_t wide[] = {L'a', L'b', L'c'}; // without an end
    EXPECT_EQ(format(L"%.3s", static_cast<const wchar_t*>(wide)), L"abc");
    const char narrow[] = {'a', 'b', 'c'};
    EXPECT_EQ(format(L"%.3hs", static_cast<const char*>(narrow)), L"abc");
}

TEST(FormatTest, Utf8Texts)
{
    EXPECT_EQ(format(L"%hs", "arm"), L"arm");
    EXPECT_EQ(format(L"%hs", "\xE2\x82\xAC\xF0\x9F\x98\x80"), L"\x20AC\U0001F600");
    EXPECT_EQ(format(L"[%4hs][%-4hs]", "\xC3\xA9", "\xC3\xA9"), L"[   \xE9][\xE9   ]");
    EXPECT_EQ(format(L"%.3hs", "\xE2\x82\xAC"
                               "abc"),
              L"\x20AC"); // the precision counts bytes
    EXPECT_EQ(format(L"a\xFFFD%hs", "b\xFF"
                                    "c"),
              L"a\xFFFD"
              L"b\xFFFD"
              L"c");
}

TEST(FormatTest, NullTextsAreNamed)
{
    EXPECT_EQ(format(L"%s", static_cast<const wchar_t*>(nullptr)), L"(null)");
    EXPECT_EQ(format(L"%hs", static_cast<const char*>(nullptr)), L"(null)");
    EXPECT_EQ(format(L"%.3s", static_cast<const wchar_t*>(nullptr)), L"(nu");
    EXPECT_EQ(format(L"%8s", static_cast<const wchar_t*>(nullptr)), L"  (null)");
}

TEST(FormatTest, Characters)
{
    EXPECT_EQ(format(L"%c%lc", L'a', L'\x20AC'), L"a\x20AC");
    EXPECT_EQ(format(L"[%3c][%-3c]", L'a', L'b'), L"[  a][b  ]");
    EXPECT_EQ(format(L"%c", 0), std::wstring(1, L'\0'));
}

// --- Integers ---

TEST(FormatTest, Integers)
{
    EXPECT_EQ(format(L"%d %i %u", -5, 7, 4294967295u), L"-5 7 4294967295");
    EXPECT_EQ(format(L"%x %X %o", 255u, 255u, 8u), L"ff FF 10");
    EXPECT_EQ(format(L"%d %d", INT_MIN, INT_MAX), L"-2147483648 2147483647");
    EXPECT_EQ(format(L"%#x %#X %#o %#x %#o", 255u, 255u, 8u, 0u, 0u), L"0xff 0XFF 010 0 0");
    EXPECT_EQ(format(L"%+d|% d|%+ d|%+u", 5, 5, 5, 5u), L"+5| 5|+5|5");
    EXPECT_EQ(format(L"%5d|%-5d|%05d|%-05d|%+05d", 42, 42, 42, 42, 42), L"   42|42   |00042|42   |+0042");
    EXPECT_EQ(format(L"%.3d|%5.3d|%05.3d|%.0d|%.0x|%#.0o|%+.0d", 7, 7, 7, 0, 0u, 0u, 0), L"007|  007|  007|||0|+");
    EXPECT_EQ(format(L"%#08x|%#8x|%-#8x|%#.4x", 255u, 255u, 255u, 255u), L"0x0000ff|    0xff|0xff    |0x00ff");
    EXPECT_EQ(format(L"%#.3o|%#.1o", 8u, 8u), L"010|010");
}

TEST(FormatTest, IntegerLengths)
{
    EXPECT_EQ(format(L"%hhd %hd", 0x1FF, 0x1FFFF), L"-1 -1");
    EXPECT_EQ(format(L"%hhu %hu %hhx", 0x1FFu, 0x1FFFFu, 0x1FFu), L"255 65535 ff");
    EXPECT_EQ(format(L"%ld %lu", LONG_MIN, ULONG_MAX), expected("%ld %lu", LONG_MIN, ULONG_MAX));
    EXPECT_EQ(format(L"%lld %llu", LLONG_MIN, ULLONG_MAX), L"-9223372036854775808 18446744073709551615");
    EXPECT_EQ(format(L"%zu %zd", SIZE_MAX, std::ptrdiff_t{-1}), expected("%zu %zd", SIZE_MAX, std::ptrdiff_t{-1}));
    EXPECT_EQ(format(L"%td %tx", PTRDIFF_MIN, std::ptrdiff_t{-1}),
              expected("%td %tx", PTRDIFF_MIN, std::ptrdiff_t{-1}));
    EXPECT_EQ(format(L"%jd %ju", INTMAX_MIN, UINTMAX_MAX), L"-9223372036854775808 18446744073709551615");
}

TEST(FormatTest, ArgumentsStayInStepWhateverTheirSize)
{
    EXPECT_EQ(format(L"%d %lld %hhd %g %s %c %zu %d", 1, 2LL, 3, 4.5, L"five", L'6', std::size_t{7}, 8),
              L"1 2 3 4.5 five 6 7 8");
}

TEST(FormatTest, PointersAreHexadecimal)
{
    EXPECT_EQ(format(L"%p", reinterpret_cast<void*>(std::uintptr_t{0xABC0})), L"0xabc0");
    EXPECT_EQ(format(L"%p", static_cast<void*>(nullptr)), L"0x0");
    EXPECT_EQ(format(L"[%8p][%-8p]", reinterpret_cast<void*>(std::uintptr_t{16}), static_cast<void*>(nullptr)),
              L"[    0x10][0x0     ]");
}

// --- Floating-point numbers ---

TEST(FormatTest, FixedAndScientific)
{
    EXPECT_EQ(format(L"%f %F", 1.5, -0.25), L"1.500000 -0.250000");
    EXPECT_EQ(format(L"%.0f %.0f %.0f %#.0f", 0.5, 1.5, 2.5, 3.0), L"0 2 2 3.");
    EXPECT_EQ(format(L"%e %E", 12345.678, 0.0), L"1.234568e+04 0.000000E+00");
    EXPECT_EQ(format(L"%.0e %#.0e", 15.0, 15.0), L"2e+01 2.e+01");
    EXPECT_EQ(format(L"%10.2f|%-10.2f|%010.2f|%+.1f|% .1f", 3.14159, 3.14159, -3.14159, 1.0, 1.0),
              L"      3.14|3.14      |-000003.14|+1.0| 1.0");
    EXPECT_EQ(format(L"%lf", 1.0), L"1.000000");
    EXPECT_EQ(format(L"%.*f|%.*f", 2, 1.0, -1, 1.0), L"1.00|1.000000");
}

TEST(FormatTest, General)
{
    EXPECT_EQ(format(L"%g %g %g %g", 0.0, 100000.0, 1000000.0, 0.00001), L"0 100000 1e+06 1e-05");
    EXPECT_EQ(format(L"%G %.3g %.0g %.10g", 1e-10, 1234.0, 1234.0, 0.1), L"1E-10 1.23e+03 1e+03 0.1");
    EXPECT_EQ(format(L"%#g %#.3g %#g %#.0g %#g", 1.0, 1e5, 0.0, 1.0, 1e-5), L"1.00000 1.00e+05 0.00000 1. 1.00000e-05");
    EXPECT_EQ(format(L"%#.6g %#.7g", 999999.5, 999999.5), L"1.00000e+06 999999.5");
}

TEST(FormatTest, Hexadecimal)
{
    EXPECT_EQ(format(L"%a %A", 1.0, 255.5), L"0x1p+0 0X1.FFP+7");
    EXPECT_EQ(format(L"%.3a %.0a %#.0a", 1.0, 1.5, 1.0), L"0x1.000p+0 0x2p+0 0x1.p+0");
    EXPECT_EQ(format(L"%012a|%12a|%-12a|%+a", 1.0, 1.0, 1.0, 1.0), L"0x0000001p+0|      0x1p+0|0x1p+0      |+0x1p+0");
    EXPECT_EQ(format(L"%a %.20a", -0.0, 0.5), L"-0x0p+0 0x1.00000000000000000000p-1");
}

TEST(FormatTest, InfinitiesAndNaNsAreWordsPaddedWithBlanks)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(format(L"%f %E %g %A", infinity, -infinity, infinity, -infinity), L"inf -INF inf -INF");
    EXPECT_EQ(format(L"%f %G", nan, nan), L"nan NAN");
    EXPECT_EQ(format(L"%f", std::copysign(nan, -1.0)), L"nan");
    EXPECT_EQ(format(L"%06f|%-6f|%+f|% f", infinity, infinity, infinity, infinity), L"   inf|inf   |+inf| inf");
}

TEST(FormatTest, LargePrecisionsAreExactAndEndInZeros)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    const double large = std::numeric_limits<double>::max();
    EXPECT_EQ(format(L"%f", large), expected("%f", large));
    EXPECT_EQ(format(L"%.1074f", tiny), expected("%.1074f", tiny));
    EXPECT_EQ(format(L"%.2000f", tiny), expected("%.2000f", tiny));
    EXPECT_EQ(format(L"%.2000f", large), expected("%.2000f", large));
    EXPECT_EQ(format(L"%.2000e", tiny), expected("%.2000e", tiny));
    EXPECT_EQ(format(L"%.2000g", tiny), expected("%.2000g", tiny));
    EXPECT_EQ(format(L"%#.2000g", 0.1), expected("%#.2000g", 0.1));
    EXPECT_EQ(format(L"%#.2000g", large), expected("%#.2000g", large));
    EXPECT_EQ(format(L"%.2000a", 0.1), expected("%.2000a", 0.1));
}

// --- Limits ---

TEST(FormatTest, WidthAndPrecisionAreClamped)
{
    EXPECT_EQ(format(L"%4095d", 1).size(), 4095u);
    EXPECT_EQ(format(L"%999999999999999999999d", 1).size(), 4095u);
    EXPECT_EQ(format(L"%*d", INT_MAX, 1).size(), 4095u);
    EXPECT_EQ(format(L"%*d|", INT_MIN, 1).size(), 4096u);
    EXPECT_EQ(format(L"%.999999999999d", 1).size(), 4095u);
    EXPECT_EQ(format(L"%.*f", INT_MAX, 1.0).size(), 4097u);
    EXPECT_EQ(format(L"%.999999999999g", 0.5), L"0.5");
    EXPECT_EQ(format(L"%.99999999999999s", L"abc"), L"abc");
    EXPECT_EQ(format(L"%.*d", INT_MIN, 5), L"5");
}

// --- Properties ---

/// The flags that say something: what they are to say nothing of, not every C library leaves alone.
std::string effectiveFlags(std::string flags, char conversion)
{
    const bool isUnsigned = std::strchr("uxXo", conversion) != nullptr;
    const bool isLeftAligned = flags.find('-') != std::string::npos;
    std::erase_if(flags, [&](char flag) {
        return (isUnsigned && (flag == '+' || flag == ' ')) || (isLeftAligned && flag == '0');
    });
    return flags;
}

/// Zero in octal with a leading zero and no digit, which one C library takes for nothing at all.
bool isBareOctalZero(const std::string& flags, char conversion, long long number)
{
    return number == 0 && conversion == 'o' && flags.find('#') != std::string::npos;
}

#if defined(_WIN32)
constexpr std::uint64_t kNeverHalfway = 1; ///< where the C library rounds hexadecimal ties up, as nobody else does
#else
constexpr std::uint64_t kNeverHalfway = 0;
#endif

/// A double of any kind, but for a NaN, whose sign is ours to choose, and a denormal, whose first hexadecimal digit is.
double randomDouble(Random& random, std::uint64_t bits, char conversion)
{
    double number = static_cast<double>(bits) / 1000.0;
    if (random.chance(1, 2))
    {
        const std::uint64_t any = random.bits();
        std::memcpy(&number, &any, sizeof(number));
    }
    const bool isHexadecimal = conversion == 'a' || conversion == 'A';
    if (isHexadecimal)
        number = std::bit_cast<double>(std::bit_cast<std::uint64_t>(number) | kNeverHalfway);
    const bool isOurs = std::isnan(number) || (isHexadecimal && std::fpclassify(number) == FP_SUBNORMAL);
    return isOurs ? 0.0 : number;
}

/// Random conversions of random numbers against the C library in its own locale.
TEST(FormatTest, RandomNumbersAgreeWithTheCLibrary)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 50000; ++round)
    {
        std::string flags;
        for (const char flag : {'-', '+', ' ', '#', '0'})
        {
            if (random.chance(1, 4))
                flags += flag;
        }
        std::string rest;
        if (random.chance(1, 2))
            rest += std::to_string(1 + random.below(random.chance(1, 20) ? 400 : 30));
        if (random.chance(1, 2))
            rest += "." + std::to_string(random.below(random.chance(1, 20) ? 400 : 20));

        const bool isInteger = random.chance(1, 2);
        const char conversion = isInteger ? "diuxXo"[random.below(6)] : "fFeEgGaA"[random.below(8)];
        if (isInteger)
            rest += "ll";
        rest += conversion;
        const std::string text = "%" + flags + rest;
        const std::wstring wide(text.begin(), text.end());
        const std::string reference = "%" + effectiveFlags(flags, conversion) + rest;

        const std::uint64_t bits = random.bits() >> random.below(64);
        const long long integer = static_cast<long long>(random.chance(1, 2) ? bits : 0 - bits);
        const double number = randomDouble(random, bits, conversion);
        if (isInteger && isBareOctalZero(flags, conversion, integer))
            continue;
        if (isInteger)
            ASSERT_EQ(format(wide.c_str(), integer), expected(reference.c_str(), integer)) << text << " of " << integer;
        else
            ASSERT_EQ(format(wide.c_str(), number), expected(reference.c_str(), number)) << text << " of " << number;
    }
}

/// Any text is a format: without arguments to take it never fails, and what it gives fits every capacity.
TEST(FormatTest, RandomFormatsWithoutArgumentsSurvive)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    const std::wstring letters = L"%%%%-+ #0123456789.hlztjnyLqSC'$a ";
    for (int round = 0; round < 20000; ++round)
    {
        std::wstring text(random.below(30), L'\0');
        for (wchar_t& letter : text)
            letter = letters[random.below(letters.size())];
        // The letters that take an argument are missing but for a, which each argument below feeds.
        const std::size_t capacity = random.below(40);
        wchar_t buffer[41];
        std::fill_n(buffer, 41, L'?');
        const double zero = 0.0;
        const std::size_t length = kqx::formatTextOf(buffer, capacity, text.c_str(), zero, zero, zero, zero, zero, zero,
                                                     zero, zero, zero, zero, zero, zero, zero, zero, zero);
        ASSERT_EQ(buffer[capacity], L'?');
        ASSERT_TRUE(capacity == 0 || buffer[std::min(length, capacity - 1)] == L'\0');
    }
}

} // namespace
