#include <db2/NameHash.h>

#include "support/NameCollision.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using db2::hashName;
using db2test::Random;

// --- The hash once more, one byte after the other ---

/// The 16-bit form of a text: a character above U+FFFF becomes its surrogate pair, everything else stays.
std::u16string utf16Of(std::wstring_view text)
{
    std::u16string units;
    for (const wchar_t character : text)
    {
        const auto code = static_cast<std::uint32_t>(character);
        if (code > 0xFFFF)
        {
            units += static_cast<char16_t>(0xD800 + (code - 0x10000) / 0x400);
            units += static_cast<char16_t>(0xDC00 + (code - 0x10000) % 0x400);
        }
        else
        {
            units += static_cast<char16_t>(code);
        }
    }
    return units;
}

/// MurmurHash2 over the units' bytes, low byte first, with the seed of names.
std::uint32_t referenceHash(std::u16string_view units)
{
    constexpr std::uint32_t kMultiplier = 0x5BD1E995;
    const std::size_t bytes = 2 * units.size();
    const auto byteAt = [units](std::size_t i) {
        return i % 2 == 0 ? std::uint32_t{units[i / 2]} & 0xFF : std::uint32_t{units[i / 2]} >> 8;
    };

    std::uint32_t hash = std::uint32_t{0x8F5F144A} ^ static_cast<std::uint32_t>(bytes);
    std::size_t at = 0;
    for (; at + 4 <= bytes; at += 4)
    {
        std::uint32_t word = byteAt(at) | byteAt(at + 1) << 8 | byteAt(at + 2) << 16 | byteAt(at + 3) << 24;
        word *= kMultiplier;
        word ^= word >> 24;
        word *= kMultiplier;
        hash = hash * kMultiplier ^ word;
    }
    if (at < bytes) // units have two bytes, so two are left or none
        hash = (hash ^ byteAt(at + 1) << 8 ^ byteAt(at)) * kMultiplier;
    hash = (hash ^ hash >> 13) * kMultiplier;
    return hash ^ hash >> 15;
}

std::uint32_t referenceHash(std::wstring_view text)
{
    return referenceHash(utf16Of(text));
}

// --- The library's ---

TEST(NameHashTest, KnownNamesHaveKnownHashes)
{
    struct Row
    {
        const wchar_t* name;
        std::uint32_t hash;
    };
    constexpr Row kRows[] = {{L"", 0x4D49F508},
                             {L"a", 0x14190C8B},
                             {L"Int", 0x444DCB12},
                             {L"Root", 0xD0A8B7B8},
                             {L"KQDatabase1", 0xCDFF478E},
                             {L"\u20AC", 0x3EB84A66},
                             {L"\U0001F600", 0xAC90D3D6},
                             {L"A name of forty characters, which is long", 0x1255FC60}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(::testing::Message() << row.name);
        EXPECT_EQ(hashName(row.name), row.hash);
    }
}

TEST(NameHashTest, NullHashesLikeTheEmptyText)
{
    EXPECT_EQ(hashName(nullptr), hashName(L""));
    EXPECT_EQ(hashName(nullptr, 0), hashName(L""));
}

TEST(NameHashTest, EveryLengthIsTheByteWiseHash)
{
    std::wstring name;
    for (int length = 0; length <= 70; ++length)
    {
        SCOPED_TRACE(length);
        EXPECT_EQ(hashName(name.c_str()), referenceHash(name));
        name += static_cast<wchar_t>(L'a' + length % 26);
    }
}

TEST(NameHashTest, ACharacterBeyondTheBasicPlaneHashesAsItsSurrogatePair)
{
    EXPECT_EQ(hashName(L"\U0001F600"), referenceHash(u"\xD83D\xDE00"));
    EXPECT_EQ(hashName(L"a\U00010000\U0010FFFF"), referenceHash(u"a\xD800\xDC00\xDBFF\xDFFF"));

    const wchar_t pair[] = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00), L'\0'};
    EXPECT_EQ(hashName(pair), hashName(L"\U0001F600"));
}

TEST(NameHashTest, SurrogatesWithoutAPartnerHashAsTheyStand)
{
    for (const int unit : {0xD800, 0xDBFF, 0xDC00, 0xDFFF})
    {
        SCOPED_TRACE(unit);
        const wchar_t text[] = {L'x', static_cast<wchar_t>(unit), L'y', L'\0'};
        const char16_t units[] = {u'x', static_cast<char16_t>(unit), u'y'};
        EXPECT_EQ(hashName(text), referenceHash(std::u16string_view(units, 3)));
    }
}

TEST(NameHashTest, GivenTheLengthItReadsExactlyThatManyCharacters)
{
    EXPECT_EQ(hashName(L"handle", 4), hashName(L"hand"));
    EXPECT_EQ(hashName(L"handle", 0), hashName(L""));
    EXPECT_EQ(hashName(L"a\0b", 3), referenceHash(std::u16string_view(u"a\0b", 3)));
}

TEST(NameHashTest, TwoDifferentNamesCanHaveTheSameHash)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    EXPECT_NE(names.first, names.second);
    EXPECT_EQ(referenceHash(names.first), referenceHash(names.second));
    EXPECT_EQ(hashName(names.first.c_str()), hashName(names.second.c_str()));
}

TEST(NameHashTest, RandomNamesHaveTheByteWiseHash)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int i = 0; i < 20000; ++i)
    {
        std::wstring name;
        for (std::size_t length = random.below(60); length > 0; --length)
        {
            const bool beyondBasicPlane = sizeof(wchar_t) > 2 && random.chance(1, 4);
            name +=
                static_cast<wchar_t>(beyondBasicPlane ? 0x10000 + random.below(0x100000) : 1 + random.below(0xFFFF));
        }
        ASSERT_EQ(hashName(name.c_str()), referenceHash(name)) << "name " << i;
    }
}

} // namespace
