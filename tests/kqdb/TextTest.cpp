// Texts for people.

#include "Text.h"
#include "Failure.h"

#include <gtest/gtest.h>

namespace {

using namespace kqdb;

TEST(KqdbTextTest, NumbersAreGroupedByThousands)
{
    EXPECT_EQ(grouped(0), "0");
    EXPECT_EQ(grouped(999), "999");
    EXPECT_EQ(grouped(1000), "1 000");
    EXPECT_EQ(grouped(1234567), "1 234 567");
}

TEST(KqdbTextTest, NounsFollowTheirNumber)
{
    EXPECT_EQ(counted(1, "node"), "1 node");
    EXPECT_EQ(counted(0, "node"), "0 nodes");
    EXPECT_EQ(counted(12345, "vertex", "vertices"), "12 345 vertices");
}

TEST(KqdbTextTest, SizesHaveAUnit)
{
    EXPECT_EQ(byteSize(1023), "1023 B");
    EXPECT_EQ(byteSize(1024), "1.0 KiB");
    EXPECT_EQ(byteSize(1536), "1.5 KiB");
    EXPECT_EQ(byteSize(std::uint64_t{5} << 40), "5.0 TiB");
    EXPECT_EQ(byteSize(std::uint64_t{5000} << 40), "5000.0 TiB");
}

TEST(KqdbTextTest, LongTextsAreCutBetweenCharacters)
{
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abc...");
    EXPECT_EQ(shortened("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 6),
              "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9");
    EXPECT_EQ(shortened("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 6), "\xC3\xA9\xC3\xA9\xC3\xA9...");
    EXPECT_EQ(shortened("", 6), "");
}

TEST(KqdbTextTest, ControlCharactersAreMadeVisible)
{
    EXPECT_EQ(visible(L"a\x1b[1m\x9b\n\u00e9"), "a\\u001b[1m\\u009b\\u000a\xC3\xA9");
    EXPECT_EQ(visible(L""), "");
}

TEST(KqdbTextTest, AFileNameThatIsNoUtf8IsRefused)
{
    EXPECT_THROW(static_cast<void>(filePath("caf\xE9")), Failure);
    EXPECT_EQ(fileName(filePath("caf\xC3\xA9")), "caf\xC3\xA9");
}

} // namespace
