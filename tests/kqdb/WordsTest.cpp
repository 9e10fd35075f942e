#include "shell/Words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kqdb {
namespace {

using Words = std::vector<std::string>;

Words wordsOf(const std::string& text)
{
    Words words;
    EXPECT_TRUE(splitWords(text, words)) << text;
    return words;
}

TEST(WordsTest, BlanksSeparateWords)
{
    EXPECT_EQ(wordsOf("  set\t|a.x  5 "), (Words{"set", "|a.x", "5"}));
    EXPECT_EQ(wordsOf(""), Words());
    EXPECT_EQ(wordsOf(" \t "), Words());
}

TEST(WordsTest, QuotesKeepBlanksAndMayBeEmptyOrPartOfAWord)
{
    EXPECT_EQ(wordsOf("'a b' \"c d\" x'y z'w '' \"\""), (Words{"a b", "c d", "xy zw", "", ""}));
}

TEST(WordsTest, BackslashTakesTheNextCharacterLiterally)
{
    EXPECT_EQ(wordsOf("a\\ b \\' \\\\ \\#"), (Words{"a b", "'", "\\", "#"}));
}

TEST(WordsTest, SingleQuotesMakeNothingSpecial)
{
    EXPECT_EQ(wordsOf(R"('|left\ arm' '"' '#')"), (Words{R"(|left\ arm)", "\"", "#"}));
}

TEST(WordsTest, DoubleQuotesLeaveBackslashesInFrontOfOrdinaryCharacters)
{
    EXPECT_EQ(wordsOf(R"("a\"b" "a\\b" "a\nb" "\ ")"), (Words{"a\"b", "a\\b", R"(a\nb)", "\\ "}));
}

TEST(WordsTest, CommentBeginsWhereAWordCould)
{
    EXPECT_EQ(wordsOf("a # b ' c"), (Words{"a"}));
    EXPECT_EQ(wordsOf("a#b"), (Words{"a#b"}));
    EXPECT_EQ(wordsOf("# all of it"), Words());
}

TEST(WordsTest, OpenQuoteAndTrailingBackslashAreNotComplete)
{
    Words words;
    for (const char* const text : {"'", "a 'b", "\"x\\\"", "a\\", "\\"})
        EXPECT_FALSE(splitWords(text, words)) << text;
}

TEST(WordsTest, LinesJoinBehindABackslashAndWithinQuotes)
{
    EXPECT_EQ(wordsOf("set \\\n|a.x\\\n5"), (Words{"set", "|a.x5"}));
    EXPECT_EQ(wordsOf("'a\nb' \"c\\\nd\""), (Words{"a\nb", "cd"}));
}

TEST(WordsTest, OtherCharactersAreOrdinaryAndUtf8StaysWhole)
{
    EXPECT_EQ(wordsOf("|a:b[3] $x *.y ;z ä€😀"), (Words{"|a:b[3]", "$x", "*.y", ";z", "ä€😀"}));
}

TEST(WordsTest, TypedWordsEndAtTheCursor)
{
    const TypedWords between = typedWords("get ");
    EXPECT_EQ(between.before, (Words{"get"}));
    EXPECT_EQ(between.current, "");
    EXPECT_EQ(between.begin, 4u);

    const TypedWords within = typedWords("set '|left\\ ar");
    EXPECT_EQ(within.before, (Words{"set"}));
    EXPECT_EQ(within.current, "|left\\ ar");
    EXPECT_EQ(within.begin, 4u);

    EXPECT_TRUE(typedWords("get # x").isComment);
    EXPECT_FALSE(typedWords("get x").isComment);
}

TEST(WordsTest, QuotedWordReadsBackAsTheWord)
{
    for (const std::string word :
         {"plain", "", "a b", "it's", "\"", "back\\slash", "#x", "x#", "tab\t", "ä", "''", "\n"})
        EXPECT_EQ(wordsOf("x " + quotedWord(word) + " y"), (Words{"x", word, "y"})) << word;
    EXPECT_EQ(quotedWord("|a.x"), "|a.x");
}

TEST(WordsTest, QuotedBeginningLeavesTheQuoteOpen)
{
    EXPECT_EQ(quotedBeginning("|a"), "|a");
    EXPECT_EQ(quotedBeginning("|a\\ b"), "'|a\\ b");
    EXPECT_EQ(typedWords("get " + quotedBeginning("it's |a")).current, "it's |a");
}

} // namespace
} // namespace kqdb
