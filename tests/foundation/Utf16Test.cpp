#include <kqx/Utf16.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Units = std::vector<std::uint16_t>;

Units unitsOf(const std::wstring& text)
{
    Units units;
    kqx::forEachUtf16Unit(text.data(), text.size(), [&units](std::uint16_t unit) { units.push_back(unit); });
    EXPECT_EQ(kqx::utf16Length(text.data(), text.size()), units.size());
    return units;
}

TEST(Utf16Test, EmptyTextHasNoUnits)
{
    EXPECT_EQ(unitsOf(L""), Units());
    EXPECT_EQ(kqx::utf16Length(nullptr, 0), 0u);
}

TEST(Utf16Test, CharactersOfOneUnitPassAsTheyStand)
{
    EXPECT_EQ(unitsOf(std::wstring(L"a\0\x20AC\xFFFF", 4)), (Units{0x61, 0, 0x20AC, 0xFFFF}));
}

TEST(Utf16Test, LargeCharactersAreSurrogatePairs)
{
    EXPECT_EQ(unitsOf(L"x\U0001F600y"), (Units{'x', 0xD83D, 0xDE00, 'y'}));
    EXPECT_EQ(unitsOf(L"\U00010000\U0010FFFF"), (Units{0xD800, 0xDC00, 0xDBFF, 0xDFFF}));
}

TEST(Utf16Test, StoredPairsAndUnpairedSurrogatesPassAsTheyStand)
{
    const wchar_t text[] = {wchar_t(0xD83D), wchar_t(0xDE00), wchar_t(0xDC00), wchar_t(0xD800)};
    EXPECT_EQ(unitsOf(std::wstring(text, 4)), (Units{0xD83D, 0xDE00, 0xDC00, 0xD800}));
}

TEST(Utf16Test, ValuesBeyondUnicodeAreReplaced)
{
    if constexpr (sizeof(wchar_t) > 2)
    {
        const std::wstring text{static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
        EXPECT_EQ(unitsOf(text), (Units{0xFFFD, 0xFFFD}));
    }
    else
    {
        EXPECT_EQ(unitsOf(std::wstring(1, static_cast<wchar_t>(-1))), (Units{0xFFFF})); // there are none to replace
    }
}

TEST(Utf16Test, SurrogatesAreToldApart)
{
    EXPECT_TRUE(kqx::isHighSurrogate(0xD800) && kqx::isHighSurrogate(0xDBFF));
    EXPECT_FALSE(kqx::isHighSurrogate(0xD7FF) || kqx::isHighSurrogate(0xDC00) || kqx::isHighSurrogate(0x1D800));
    EXPECT_TRUE(kqx::isLowSurrogate(0xDC00) && kqx::isLowSurrogate(0xDFFF));
    EXPECT_FALSE(kqx::isLowSurrogate(0xDBFF) || kqx::isLowSurrogate(0xE000) || kqx::isLowSurrogate(0x1DC00));
}

} // namespace
