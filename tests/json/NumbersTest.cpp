// The numbers that are written and read without the standard library, which must not show: it is asked for the same ones.

#include "support/Random.h"

#include <NumberText.h>
#include <NumberToken.h>

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using namespace db2::json;
using db2test::Random;

template <class Number>
std::string byStandard(Number value)
{
    char text[kLongestNumber];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

template <class Number>
std::string written(Number value)
{
    char text[kLongestNumber];
    return {text, writeFinite(value, std::signbit(value), text)};
}

template <class Number>
class JsonNumbersTest : public ::testing::Test
{
protected:
    static void expectSameText(Number value)
    {
        ASSERT_EQ(written(value), byStandard(value));
        ASSERT_EQ(written(-value), byStandard(-value));
    }

    /// Where the short way takes the text at all, it reads what the standard library does.
    static void expectSameNumber(const std::string& text)
    {
        Number read = 0;
        const char* const end = readShortDecimal(text.c_str(), read);
        if (end == nullptr)
            return;
        Number expected = 0;
        std::from_chars(text.data(), text.data() + text.size(), expected);
        ASSERT_EQ(end, text.data() + text.size()) << text;
        ASSERT_EQ(byStandard(read), byStandard(expected)) << text;
        ASSERT_EQ(std::signbit(read), std::signbit(expected)) << text;
    }
};

using FloatingPointTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(JsonNumbersTest, FloatingPointTypes);

TYPED_TEST(JsonNumbersTest, ThousandthsAndTheirNeighboursAreWrittenAsTheStandardLibraryDoes)
{
    constexpr std::uint32_t kBeyondTheLimit = 16384 * 1000 + 5000;
    for (std::uint32_t thousandths = 0; thousandths < kBeyondTheLimit; thousandths += 37)
    {
        const TypeParam value = static_cast<TypeParam>(thousandths) / TypeParam{1000};
        TestFixture::expectSameText(value);
        TestFixture::expectSameText(std::nextafter(value, TypeParam{1e9}));
        TestFixture::expectSameText(std::nextafter(value, TypeParam{0}));
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

TYPED_TEST(JsonNumbersTest, SmallThousandthsAndIntegersAreWrittenAsTheStandardLibraryDoes)
{
    for (std::uint32_t i = 0; i < 120000; ++i)
    {
        TestFixture::expectSameText(static_cast<TypeParam>(i) / TypeParam{1000});
        TestFixture::expectSameText(static_cast<TypeParam>(i));
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

TYPED_TEST(JsonNumbersTest, AnyBitsAreWrittenAsTheStandardLibraryDoes)
{
    using Bits = std::conditional_t<sizeof(TypeParam) == 4, std::uint32_t, std::uint64_t>;
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int i = 0; i < 200000; ++i)
    {
        const auto value = std::bit_cast<TypeParam>(static_cast<Bits>(random.bits()));
        if (!std::isfinite(value))
            continue;
        ASSERT_EQ(written(value), byStandard(value));
    }
}

TYPED_TEST(JsonNumbersTest, ShortDecimalsAreReadAsTheStandardLibraryDoes)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int i = 0; i < 300000; ++i)
    {
        std::string text = random.chance(1, 3) ? "-" : "";
        text += std::to_string(random.below(random.chance(1, 2) ? 100 : 100000000));
        if (random.chance(2, 3))
        {
            text += '.';
            for (std::size_t digits = 1 + random.below(8); digits > 0; --digits)
                text += static_cast<char>('0' + random.below(10));
        }
        TestFixture::expectSameNumber(text);
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

TYPED_TEST(JsonNumbersTest, WhatIsNoShortDecimalIsLeftToOthers)
{
    for (const char* const text : {"", "-", ".5", "1.", "01", "-01", "1e5", "1.5e5", "1E5", "+1", "1-", "1.2.3",
                                   "12345678", "1.2345678", "0.0000001", "4294967297", "NaN", "Infinity"})
    {
        TypeParam out = 7;
        EXPECT_EQ(readShortDecimal(text, out), nullptr) << text;
    }
}

} // namespace
