#include <kqx/UTF8.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using db2test::Random;

std::string toUTF8(const std::wstring& text)
{
    std::string bytes(kqx::UTF8Length(text.data(), text.size()) + 1, '!');
    const std::size_t written = kqx::UTF8FromUCS2(text.data(), text.size(), bytes.data());
    EXPECT_EQ(written, bytes.size() - 1);
    EXPECT_EQ(bytes.back(), '!') << "wrote behind its measure";
    bytes.pop_back();
    return bytes;
}

std::wstring fromUTF8(const std::string& bytes)
{
    std::wstring text(kqx::UCS2LengthFromUTF8(bytes.data(), bytes.size()) + 1, L'!');
    const std::size_t written = kqx::UCS2FromUTF8(bytes.data(), bytes.size(), text.data());
    EXPECT_EQ(written, text.size() - 1);
    EXPECT_EQ(text.back(), L'!') << "wrote behind its measure";
    text.pop_back();
    return text;
}

TEST(UTF8Test, EmptyText)
{
    EXPECT_EQ(toUTF8(L""), "");
    EXPECT_EQ(fromUTF8(""), L"");
    EXPECT_EQ(kqx::UTF8Length(nullptr, 0), 0u);
    EXPECT_EQ(kqx::UCS2LengthFromUTF8(nullptr, 0), 0u);
    EXPECT_EQ(kqx::UTF8FromUCS2(nullptr, 0, nullptr), 0u);
    EXPECT_EQ(kqx::UCS2FromUTF8(nullptr, 0, nullptr), 0u);
}

TEST(UTF8Test, EachSequenceLengthAtItsEnds)
{
    const std::wstring wide(L"\x01\x7F\x80\x7FF\x800\xD7FF\xE000\xFFFF\U00010000\U0010FFFF");
    const std::string bytes = "\x01\x7F"
                              "\xC2\x80\xDF\xBF"
                              "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                              "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(toUTF8(wide), bytes);
    EXPECT_EQ(fromUTF8(bytes), wide);
}

TEST(UTF8Test, NullCharactersAreText)
{
    EXPECT_EQ(toUTF8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(fromUTF8(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(UTF8Test, SurrogatePairIsOneSequenceWhateverTheSizeOfAWideCharacter)
{
    const std::wstring pair{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(toUTF8(pair), "\xF0\x9F\x98\x80");
    EXPECT_EQ(fromUTF8("\xF0\x9F\x98\x80"), L"\U0001F600");
}

TEST(UTF8Test, UnpairedSurrogatesAreReplaced)
{
    const wchar_t high = static_cast<wchar_t>(0xD83D);
    const wchar_t low = static_cast<wchar_t>(0xDE00);
    EXPECT_EQ(toUTF8(std::wstring{high}), "\xEF\xBF\xBD");
    EXPECT_EQ(toUTF8(std::wstring{low}), "\xEF\xBF\xBD");
    EXPECT_EQ(toUTF8(std::wstring{high, L'a'}), "\xEF\xBF\xBD"
                                                "a");
    EXPECT_EQ(toUTF8(std::wstring{high, high, low}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
    EXPECT_EQ(toUTF8(std::wstring{low, high}), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(UTF8Test, ValuesBeyondUnicodeAreReplaced)
{
    // Where a wide character has 16 bits, the same values are U+0000 and U+FFFF.
    const std::wstring text{static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
    EXPECT_EQ(toUTF8(text), sizeof(wchar_t) > 2 ? "\xEF\xBF\xBD\xEF\xBF\xBD" : std::string("\0\xEF\xBF\xBF", 4));
}

TEST(UTF8Test, StrayAndImpossibleBytesAreReplacedOneByOne)
{
    EXPECT_EQ(fromUTF8("a\x80z"), L"a\xFFFDz");
    EXPECT_EQ(fromUTF8("\xBF\x80"), L"\xFFFD\xFFFD");
    EXPECT_EQ(fromUTF8("\xFE\xFF\xF5\xF8"), L"\xFFFD\xFFFD\xFFFD\xFFFD");
}

TEST(UTF8Test, OverlongFormsAreReplacedByteByByte)
{
    EXPECT_EQ(fromUTF8("\xC0\xAF"), L"\xFFFD\xFFFD");
    EXPECT_EQ(fromUTF8("\xE0\x80\xAF"), L"\xFFFD\xFFFD\xFFFD");
    EXPECT_EQ(fromUTF8("\xF0\x80\x80\xAF"), L"\xFFFD\xFFFD\xFFFD\xFFFD");
}

TEST(UTF8Test, SurrogatesAndLargeValuesAreReplacedByteByByte)
{
    EXPECT_EQ(fromUTF8("\xED\xA0\x80"), L"\xFFFD\xFFFD\xFFFD");
    EXPECT_EQ(fromUTF8("\xED\xBF\xBF"
                       "x"),
              L"\xFFFD\xFFFD\xFFFDx");
    EXPECT_EQ(fromUTF8("\xF4\x90\x80\x80"), L"\xFFFD\xFFFD\xFFFD\xFFFD");
}

TEST(UTF8Test, CutSequencesAreReplacedOnce)
{
    // The example of the Unicode Standard, table 3-11.
    EXPECT_EQ(fromUTF8("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), L"\xFFFD\xFFFD\xFFFD\xFFFD\x41");
    EXPECT_EQ(fromUTF8("\xE2\x82"), L"\xFFFD");
    EXPECT_EQ(fromUTF8("\xF0\x9F\x98"), L"\xFFFD");
    EXPECT_EQ(fromUTF8("\xC3"), L"\xFFFD");
    EXPECT_EQ(fromUTF8("\xE2\x82\xC3\xA9"), L"\xFFFD\xE9");
}

TEST(UTF8Test, NextCharacterStepsThroughAText)
{
    const std::string bytes = "a\xC3\xA9\xE2\x82z";
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    EXPECT_EQ(kqx::nextUTF8Character(at, end), U'a');
    EXPECT_EQ(kqx::nextUTF8Character(at, end), U'\xE9');
    EXPECT_EQ(kqx::nextUTF8Character(at, end), U'\xFFFD');
    EXPECT_EQ(kqx::nextUTF8Character(at, end), U'z');
    EXPECT_EQ(at, end);
}

TEST(UTF8Test, EveryCharacterComesBack)
{
    for (std::uint32_t character = 0; character <= 0x10FFFF; ++character)
    {
        if (character >= 0xD800 && character <= 0xDFFF)
            continue;
        std::wstring wide;
        if (sizeof(wchar_t) == 2 && character > 0xFFFF)
            wide = {static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10)),
                    static_cast<wchar_t>(0xDC00 + (character & 0x3FF))};
        else
            wide = {static_cast<wchar_t>(character)};
        ASSERT_EQ(fromUTF8(toUTF8(wide)), wide) << std::hex << character;
    }
}

/// Whatever the bytes, what comes out is sound: it goes to UTF-8 and back unchanged.
TEST(UTF8Test, RandomBytesGiveSoundText)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    const std::string frequent = "\x41\x80\xBF\xC2\xE0\xA0\xED\x9F\xF0\x90\xF4\x8F";
    for (int round = 0; round < 20000; ++round)
    {
        std::string bytes(random.below(12), '\0');
        for (char& byte : bytes)
            byte = random.chance(3, 4) ? frequent[random.below(frequent.size())] : static_cast<char>(random.below(256));
        const std::wstring wide = fromUTF8(bytes);
        ASSERT_EQ(fromUTF8(toUTF8(wide)), wide);
        ASSERT_LE(wide.size(), bytes.size());
    }
}

} // namespace
