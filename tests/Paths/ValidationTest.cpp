#include "support/LogRecorder.h"

#include <db2/Paths.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using namespace db2;

struct PathCase
{
    const char* what;
    const wchar_t* path;
};

class PathValidationTest : public ::testing::Test
{
protected:
    template <std::size_t count>
    void expectValid(const PathCase (&cases)[count])
    {
        for (const PathCase& valid : cases)
        {
            SCOPED_TRACE(valid.what);
            EXPECT_EQ(dbu_validatePath(valid.path), Status::kSuccess);
            EXPECT_TRUE(log.take().empty());
        }
    }

    /// @param format  of the message, the path at its `%`; empty for none.
    template <std::size_t count>
    void expectInvalid(Status status, const std::wstring& format, const PathCase (&cases)[count])
    {
        for (const PathCase& invalid : cases)
        {
            SCOPED_TRACE(invalid.what);
            EXPECT_EQ(dbu_validatePath(invalid.path), status);
            if (format.empty())
            {
                EXPECT_TRUE(log.take().empty());
                continue;
            }
            std::wstring message = format;
            message.replace(message.find(L'%'), 1, invalid.path);
            EXPECT_TRUE(log.tookError(message));
        }
    }

    LogRecorder log;
};

TEST_F(PathValidationTest, StepsToNodesAttributesArraysAndItemsAreValid)
{
    expectValid({{"node", L"|a"},
                 {"deeper node", L"|a|b|c"},
                 {"attribute", L"|a|b.c"},
                 {"attribute of the root", L".x"},
                 {"array", L"|a:pts"},
                 {"array of the root", L":pts"},
                 {"item", L"|a:pts[3]"},
                 {"item with a long index", L"|a:pts[00000000000000000012345678901234567890]"},
                 {"item without a name before it", L"[0]"}});
}

TEST_F(PathValidationTest, BlanksAndOrdinaryCharactersAreValidOutsideBrackets)
{
    expectValid({{"blanks", L"| a | b . c"},
                 {"a blank between separators", L"| |b"},
                 {"tab and line feed", L"|\ta\n.x"},
                 {"beyond ASCII", L"|\u00E4\u20AC.\u03B1"},
                 {"other punctuation", L"|a/b-c_d,e;f'g\"h%s{}()"},
                 {"what follows an index", L"|a:pts[3]b"}});
}

TEST_F(PathValidationTest, AnEscapedCharacterIsOrdinary)
{
    expectValid({{"dot", L"|a\\.b"},
                 {"each reserved character", L"|\\.\\:\\[\\\\\\]\\|"},
                 {"at the end", L"|a\\."},
                 {"a backslash at the end", L"|a\\\\"},
                 {"bracket", L"|a\\[b"},
                 {"closing bracket", L"|a\\]b"},
                 {"an ordinary character", L"|\\a"},
                 {"after a separator", L"|a|\\|"},
                 {"before a separator", L"|a\\||b"}});
}

TEST_F(PathValidationTest, ANullPathIsRefused)
{
    EXPECT_EQ(dbu_validatePath(nullptr), Status::kNullPath);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(PathValidationTest, APathMustBeginWithASeparator)
{
    expectInvalid(Status::kPathBadStart, L"",
                  {{"empty", L""},
                   {"name", L"a|b"},
                   {"closing bracket", L"]"},
                   {"blank", L" |a"},
                   {"escape", L"\\|a"},
                   {"escape alone", L"\\"}});
}

TEST_F(PathValidationTest, OnlyDigitsMayStandInBrackets)
{
    expectInvalid(Status::kNonNumericIndex, L"'%' contains square braces with non numerical characters in.",
                  {{"letter behind the digit", L"|a:b[1x]"},
                   {"letter", L"|a:b[x]"},
                   {"sign", L"|a:b[-1]"},
                   {"blank", L"|a:b[ 1]"},
                   {"fraction", L"|a:b[1.5]"},
                   {"escaped digit", L"|a:b[\\1]"},
                   {"escaped bracket", L"|a:b[1\\]"},
                   {"bracket in brackets", L"|a:b[1[2]]"},
                   {"bracket directly in brackets", L"|a:b[[2]]"},
                   {"separator", L"|a:b[1|c]"},
                   {"digits of another script", L"|a:b[\u0663]"},
                   {"letter without a closing bracket", L"|a:b[1x"}});
}

TEST_F(PathValidationTest, ReservedCharactersMayNotStandNextToEachOther)
{
    expectInvalid(Status::kAdjacentReservedCharacters, L"'%' contains reserved characters placed next to each other.",
                  {{"dots", L"|a..b"},
                   {"bars", L"||a"},
                   {"bars at the end", L"|a||"},
                   {"dot and colon", L"|a.:b"},
                   {"empty index", L"|a:b[]"},
                   {"index without an array name", L"|a:[1]"},
                   {"dot behind an index", L"|a:b[2].c"},
                   {"bar behind an index", L"|a:b[2]|c"},
                   {"second index", L"|a:b[2][3]"},
                   {"closing bracket behind a bar", L"|]"}});
}

TEST_F(PathValidationTest, ASeparatorMayNotEndThePath)
{
    expectInvalid(Status::kTrailingReservedCharacter, L"'%' is terminated by a reserved character.",
                  {{"bar alone", L"|"},
                   {"dot alone", L"."},
                   {"dot", L"|a."},
                   {"colon", L"|a:"},
                   {"bar", L"|a|"},
                   {"opening bracket", L"|a:b["},
                   {"escape of nothing", L"|a\\"},
                   {"escape of nothing behind an escape", L"|a\\\\\\"}});
}

TEST_F(PathValidationTest, BracketsMustPair)
{
    expectInvalid(Status::kMismatchedBraces, L"'%' contains mismatching braces.",
                  {{"never closed", L"|a:b[1"},
                   {"nothing to close", L"|a]"},
                   {"nothing to close, further on", L"|a]b"},
                   {"closed twice", L"|a:b[1]c]"}});
}

TEST_F(PathValidationTest, TheFirstFaultAlongThePathIsTheAnswer)
{
    expectInvalid(Status::kNonNumericIndex, L"'%' contains square braces with non numerical characters in.",
                  {{"before adjacent separators", L"|a:b[x]..c"}});
    expectInvalid(Status::kAdjacentReservedCharacters, L"'%' contains reserved characters placed next to each other.",
                  {{"before a letter in brackets", L"|a..b[x]"}, {"before the end", L"|a.."}});
}

TEST_F(PathValidationTest, AnInvalidPathIsLoggedAsItIsWritten)
{
    EXPECT_EQ(dbu_validatePath(L"|%s%n|"), Status::kTrailingReservedCharacter);
    EXPECT_TRUE(log.tookError(L"'|%s%n|' is terminated by a reserved character."));
}

TEST_F(PathValidationTest, AVeryLongPathIsValidatedAndItsMessageCut)
{
    const std::wstring valid = L"|" + std::wstring(1'000'000, L'a');
    EXPECT_EQ(dbu_validatePath(valid.c_str()), Status::kSuccess);
    EXPECT_EQ(dbu_validatePath((valid + L"|").c_str()), Status::kTrailingReservedCharacter);
    const std::vector<LogRecorder::Line> lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines.front().text.starts_with(L"KQDatabase2 : '|aaa"));
}

} // namespace
} // namespace db2test
