#include <kqx/NumberText.h>

#include "HeapLimit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <new>
#include <string>

namespace {

using db2test::Random;
using foundationtest::HeapLimit;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

int parseInt(const std::wstring& text)
{
    return kqx::parseInt(text.data(), text.size());
}

double parseDouble(const std::wstring& text)
{
    return kqx::parseDouble(text.data(), text.size());
}

std::wstring widen(const std::string& text)
{
    return {text.begin(), text.end()};
}

template <class Number>
std::wstring print(Number number)
{
    kqx::String text;
    kqx::appendNumber(text, number);
    return text.c_str();
}

std::uint64_t bitsOf(double number)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    return bits;
}

double fromBits(std::uint64_t bits)
{
    double number = 0.0;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

// --- Integers from text ---

TEST(ParseIntTest, ReadsSignAndDigits)
{
    EXPECT_EQ(parseInt(L"0"), 0);
    EXPECT_EQ(parseInt(L"42"), 42);
    EXPECT_EQ(parseInt(L"+42"), 42);
    EXPECT_EQ(parseInt(L"-42"), -42);
    EXPECT_EQ(parseInt(L"-0"), 0);
    EXPECT_EQ(parseInt(L"0007"), 7);
}

TEST(ParseIntTest, SkipsLeadingBlanks)
{
    EXPECT_EQ(parseInt(L" \t\n\v\f\r-7"), -7);
    EXPECT_EQ(parseInt(L"\xA0"
                       L"7"),
              0); // no other character is a blank
    EXPECT_EQ(parseInt(L"- 7"), 0);
}

TEST(ParseIntTest, StopsAtTheFirstCharacterThatDoesNotFit)
{
    EXPECT_EQ(parseInt(L"12abc"), 12);
    EXPECT_EQ(parseInt(L"0.5"), 0);
    EXPECT_EQ(parseInt(L"3.9"), 3);
    EXPECT_EQ(parseInt(L"1e5"), 1);
    EXPECT_EQ(parseInt(L"0x10"), 0);
    EXPECT_EQ(parseInt(std::wstring(L"1\0"
                                    L"2",
                                    3)),
              1);
    EXPECT_EQ(parseInt(L"1\xFF12"), 1); // a digit of another script
    EXPECT_EQ(kqx::parseInt(L"1234", 2), 12);
}

TEST(ParseIntTest, NoNumberIsZero)
{
    EXPECT_EQ(parseInt(L""), 0);
    EXPECT_EQ(kqx::parseInt(nullptr, 0), 0);
    EXPECT_EQ(parseInt(L"abc"), 0);
    EXPECT_EQ(parseInt(L"   "), 0);
    EXPECT_EQ(parseInt(L"-"), 0);
    EXPECT_EQ(parseInt(L"+-1"), 0);
}

TEST(ParseIntTest, SaturatesAtTheEndsOfTheRange)
{
    EXPECT_EQ(parseInt(L"2147483647"), INT_MAX);
    EXPECT_EQ(parseInt(L"2147483648"), INT_MAX);
    EXPECT_EQ(parseInt(L"-2147483648"), INT_MIN);
    EXPECT_EQ(parseInt(L"-2147483649"), INT_MIN);
    EXPECT_EQ(parseInt(std::wstring(100000, L'9')), INT_MAX);
    EXPECT_EQ(parseInt(L"-" + std::wstring(100000, L'9')), INT_MIN);
}

// --- Floating-point numbers from text ---

TEST(ParseDoubleTest, ReadsSignDigitsFractionAndExponent)
{
    EXPECT_EQ(parseDouble(L"0"), 0.0);
    EXPECT_EQ(parseDouble(L"12"), 12.0);
    EXPECT_EQ(parseDouble(L"+1.5"), 1.5);
    EXPECT_EQ(parseDouble(L"-1.5"), -1.5);
    EXPECT_EQ(parseDouble(L".5"), 0.5);
    EXPECT_EQ(parseDouble(L"5."), 5.0);
    EXPECT_EQ(parseDouble(L"-.5e2x"), -50.0);
    EXPECT_EQ(parseDouble(L"1e3"), 1000.0);
    EXPECT_EQ(parseDouble(L"1E+3"), 1000.0);
    EXPECT_EQ(parseDouble(L"25e-2"), 0.25);
    EXPECT_EQ(parseDouble(L" \t\n\v\f\r2"), 2.0);
    EXPECT_EQ(parseDouble(L"000123.4500"), 123.45);
    EXPECT_EQ(parseDouble(L"0.000125"), 0.000125);
}

TEST(ParseDoubleTest, StopsAtTheFirstCharacterThatDoesNotFit)
{
    EXPECT_EQ(parseDouble(L"1.5.5"), 1.5);
    EXPECT_EQ(parseDouble(L"1,5"), 1.0);
    EXPECT_EQ(parseDouble(L"12abc"), 12.0);
    EXPECT_EQ(parseDouble(L"1e"), 1.0);
    EXPECT_EQ(parseDouble(L"1e+"), 1.0);
    EXPECT_EQ(parseDouble(L"1e+x"), 1.0);
    EXPECT_EQ(parseDouble(L"1e2.5"), 100.0);
    EXPECT_EQ(parseDouble(L"0x10"), 0.0);
    EXPECT_EQ(kqx::parseDouble(L"1234", 2), 12.0);
    EXPECT_EQ(kqx::parseDouble(L"1e55", 3), 1e5);
}

TEST(ParseDoubleTest, NoNumberIsZero)
{
    for (const wchar_t* text :
         {L"", L" ", L"abc", L"-", L".", L"-.", L"e5", L".e5", L"inf", L"nan", L"-infinity", L"- 1"})
    {
        EXPECT_EQ(bitsOf(parseDouble(text)), 0u) << "a text of " << std::wstring(text).size();
    }
    EXPECT_EQ(kqx::parseDouble(nullptr, 0), 0.0);
}

TEST(ParseDoubleTest, ZeroKeepsItsSign)
{
    EXPECT_FALSE(std::signbit(parseDouble(L"0.0")));
    EXPECT_TRUE(std::signbit(parseDouble(L"-0.0")));
    EXPECT_TRUE(std::signbit(parseDouble(L"-0e99999")));
    EXPECT_EQ(parseDouble(L"-0e99999"), 0.0);
}

TEST(ParseDoubleTest, BeyondTheRangeIsInfinite)
{
    EXPECT_EQ(parseDouble(L"1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(parseDouble(L"1.7976931348623158e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(parseDouble(L"1.7976931348623159e308"), kInfinity);
    EXPECT_EQ(parseDouble(L"1e309"), kInfinity);
    EXPECT_EQ(parseDouble(L"-1e309"), -kInfinity);
    EXPECT_EQ(parseDouble(L"1e99999999999999999999999"), kInfinity);
    EXPECT_EQ(parseDouble(L"-1e99999999999999999999999"), -kInfinity);
    EXPECT_EQ(parseDouble(std::wstring(1000, L'9')), kInfinity);
}

TEST(ParseDoubleTest, BelowTheRangeIsZeroOfTheSameSign)
{
    EXPECT_EQ(parseDouble(L"4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(parseDouble(L"2.5e-324"), std::numeric_limits<double>::denorm_min()); // above the halfway point
    EXPECT_EQ(bitsOf(parseDouble(L"2.4e-324")), 0u);
    EXPECT_EQ(bitsOf(parseDouble(L"1e-400")), 0u);
    EXPECT_EQ(bitsOf(parseDouble(L"-1e-400")), bitsOf(-0.0));
    EXPECT_EQ(bitsOf(parseDouble(L"1e-99999999999999999999999")), 0u);
}

TEST(ParseDoubleTest, DigitsAndExponentTogetherDecideTheRange)
{
    EXPECT_EQ(parseDouble(L"0." + std::wstring(1000, L'0') + L"1e1001"), 1.0);
    EXPECT_EQ(parseDouble(L"1" + std::wstring(1000, L'0') + L"e-1000"), 1.0);
    EXPECT_EQ(parseDouble(L"1" + std::wstring(1000, L'0') + L"e-1300"), 1e-300);
}

TEST(ParseDoubleTest, RoundsToTheNearestWhateverTheNumberOfDigits)
{
    // 2^53 + 1 lies halfway between two doubles: ties go to the even one, and the last of many digits decides.
    EXPECT_EQ(parseDouble(L"9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(parseDouble(L"9007199254740993." + std::wstring(2000, L'0')), 9007199254740992.0);
    EXPECT_EQ(parseDouble(L"9007199254740993." + std::wstring(2000, L'0') + L"1"), 9007199254740994.0);
    EXPECT_EQ(parseDouble(L"9007199254740992." + std::wstring(2000, L'9')), 9007199254740992.0);
    EXPECT_EQ(parseDouble(L"0.1"), 0.1);
    EXPECT_EQ(parseDouble(L"2.2250738585072011e-308"), 2.2250738585072011e-308);
}

TEST(ParseDoubleTest, LongTextsAreRead)
{
    EXPECT_EQ(parseDouble(std::wstring(1000000, L' ') + L"1" + std::wstring(1000000, L'0') + L"e-1000000"), 1.0);
    EXPECT_EQ(parseDouble(L"1." + std::wstring(1000000, L'3')), 1.0 + 1.0 / 3.0);
    EXPECT_EQ(parseDouble(L"1e" + std::wstring(1000000, L'0') + L"2"), 100.0);
}

/// Random decimal texts, and texts of random doubles, against the C library in its own locale.
TEST(ParseDoubleTest, RandomTextsAgreeWithTheCLibrary)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 100000; ++round)
    {
        std::string text;
        if (random.chance(1, 2))
        {
            const std::size_t digits = 1 + random.below(random.chance(1, 10) ? 40 : 19);
            for (std::size_t i = 0; i < digits; ++i)
                text += static_cast<char>('0' + random.below(10));
            if (random.chance(1, 2))
                text.insert(random.below(text.size() + 1), ".");
            text += "e" + std::to_string(static_cast<int>(random.below(random.chance(1, 2) ? 45 : 660)) - 22);
        }
        else
        {
            const double number = fromBits(random.bits());
            if (!std::isfinite(number))
                continue;
            char buffer[64];
            std::snprintf(buffer, sizeof(buffer), "%.*e", static_cast<int>(random.below(20)), number);
            text = buffer;
        }
        const double expected = std::strtod(text.c_str(), nullptr);
        ASSERT_EQ(bitsOf(parseDouble(widen(text))), bitsOf(expected)) << text;
    }
}

/// All decimal digits of a number of at least 0, as many before the point and as many behind it for every number.
std::string exactDigits(double number)
{
    char buffer[1500];
    const int length = std::snprintf(buffer, sizeof(buffer), "%01450.1100f", number);
    return {buffer, buffer + length};
}

/// The number halfway between two that exactDigits() wrote.
std::string halfway(const std::string& first, const std::string& second)
{
    std::string sum = "0" + first + "0"; // room for a carry and for a half
    int carry = 0;
    for (std::size_t i = first.size(); i-- > 0;)
    {
        if (first[i] == '.')
            continue;
        const int digit = (first[i] - '0') + (second[i] - '0') + carry;
        sum[i + 1] = static_cast<char>('0' + digit % 10);
        carry = digit / 10;
    }
    sum[0] = static_cast<char>('0' + carry);
    int rest = 0;
    for (char& digit : sum)
    {
        if (digit == '.')
            continue;
        const int value = rest * 10 + (digit - '0');
        digit = static_cast<char>('0' + value / 2);
        rest = value % 2;
    }
    return sum;
}

/// The points halfway between neighbouring doubles, written out in full, and what lies a little beside them.
TEST(ParseDoubleTest, HalfwayPointsAgreeWithTheCLibrary)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 2000; ++round)
    {
        const double number = std::fabs(fromBits(random.bits()));
        if (!std::isfinite(number) || number == std::numeric_limits<double>::max())
            continue;
        const std::string text = halfway(exactDigits(number), exactDigits(std::nextafter(number, kInfinity)));
        std::string below = text; // by one in the last place
        const std::size_t last = below.find_last_not_of(".0");
        --below[last];
        std::replace(below.begin() + static_cast<std::ptrdiff_t>(last) + 1, below.end(), '0', '9');
        for (const std::string& written : {text, text + "0001", text + "e0", below})
        {
            const double expected = std::strtod(written.c_str(), nullptr);
            ASSERT_EQ(bitsOf(parseDouble(widen(written))), bitsOf(expected)) << written;
        }
        ASSERT_EQ(parseDouble(widen(below)), number) << below;
        ASSERT_EQ(parseDouble(widen(text + "0001")), std::nextafter(number, kInfinity)) << text;
    }
}

// --- Numbers to text ---

TEST(AppendNumberTest, IntegersAreDecimal)
{
    EXPECT_EQ(print(0), L"0");
    EXPECT_EQ(print(42), L"42");
    EXPECT_EQ(print(INT_MAX), L"2147483647");
    EXPECT_EQ(print(INT_MIN), L"-2147483648");
}

TEST(AppendNumberTest, FloatingPointHasSixSignificantDigits)
{
    EXPECT_EQ(print(0.0), L"0");
    EXPECT_EQ(print(-0.0), L"-0");
    EXPECT_EQ(print(1.0), L"1");
    EXPECT_EQ(print(2.5f), L"2.5");
    EXPECT_EQ(print(0.1f), L"0.1");
    EXPECT_EQ(print(1.0 / 3.0), L"0.333333");
    EXPECT_EQ(print(-123456.0), L"-123456");
    EXPECT_EQ(print(1234567.0), L"1.23457e+06");
    EXPECT_EQ(print(999999.5), L"1e+06");
    EXPECT_EQ(print(0.0001), L"0.0001");
    EXPECT_EQ(print(0.00001), L"1e-05");
    EXPECT_EQ(print(1e100), L"1e+100");
    EXPECT_EQ(print(std::numeric_limits<float>::max()), L"3.40282e+38");
    EXPECT_EQ(print(std::numeric_limits<double>::denorm_min()), L"4.94066e-324");
}

TEST(AppendNumberTest, InfinitiesAndNaNsAreWords)
{
    EXPECT_EQ(print(kInfinity), L"inf");
    EXPECT_EQ(print(-kInfinity), L"-inf");
    EXPECT_EQ(print(std::numeric_limits<double>::quiet_NaN()), L"nan");
    EXPECT_EQ(print(std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0)), L"nan");
    EXPECT_EQ(print(std::numeric_limits<float>::quiet_NaN()), L"nan");
}

TEST(AppendNumberTest, AppendsToTheText)
{
    kqx::String text(L"x = ");
    kqx::appendNumber(text, 1);
    text += L' ';
    kqx::appendNumber(text, 2.5);
    EXPECT_EQ(text, L"x = 1 2.5");
}

TEST(AppendNumberTest, OutOfMemoryThrowsAndChangesNothing)
{
    kqx::String text(L"x");
    const HeapLimit heap(0);
    EXPECT_THROW(kqx::appendNumber(text, 1), std::bad_alloc);
    EXPECT_THROW(kqx::appendNumber(text, 1.5f), std::bad_alloc);
    EXPECT_THROW(kqx::appendNumber(text, 1.5), std::bad_alloc);
    EXPECT_EQ(text, L"x");
}

TEST(AppendNumberTest, RandomNumbersAgreeWithTheCLibrary)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 50000; ++round)
    {
        const double number =
            random.chance(1, 2) ? fromBits(random.bits()) : static_cast<double>(random.below(100000000)) / 1000.0;
        if (std::isnan(number))
            continue;
        char buffer[64];
        std::snprintf(buffer, sizeof(buffer), "%g", number);
        ASSERT_EQ(print(number), widen(buffer));
        const float single = static_cast<float>(number);
        std::snprintf(buffer, sizeof(buffer), "%g", static_cast<double>(single));
        ASSERT_EQ(print(single), widen(buffer));
    }
}

// --- The locale ---

class CommaForPoint : public std::numpunct<wchar_t>
{
protected:
    wchar_t do_decimal_point() const override { return L','; }
    wchar_t do_thousands_sep() const override { return L'.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(NumberTextTest, TheGlobalLocaleChangesNothing)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaForPoint));
    const std::wstring floating = print(1.5);
    const std::wstring integer = print(1234567);
    const double parsed = parseDouble(L"1.5");
    const double comma = parseDouble(L"1,5");
    std::locale::global(before);
    EXPECT_EQ(floating, L"1.5");
    EXPECT_EQ(integer, L"1234567");
    EXPECT_EQ(parsed, 1.5);
    EXPECT_EQ(comma, 1.0);
}

/// The C library's locale, where the machine has one with a comma; the C++ one above is there everywhere.
TEST(NumberTextTest, TheCLocaleChangesNothing)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* name : {"C", "C.UTF-8", "de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "German"})
    {
        if (std::setlocale(LC_ALL, name) == nullptr)
            continue;
        const std::wstring printed = print(1.5);
        const double parsed = parseDouble(L"1.5");
        std::setlocale(LC_ALL, before.c_str());
        EXPECT_EQ(printed, L"1.5") << name;
        EXPECT_EQ(parsed, 1.5) << name;
    }
}

} // namespace
