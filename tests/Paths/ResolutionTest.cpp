#include "Paths/PathResolution.h"
#include "support/NameCollision.h"
#include "support/OutOfMemory.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace db2test {
namespace {

// --- Steps ---

TEST_F(PathResolutionTest, ABarStepsToAChild)
{
    expectResolved(L"|a", {Status::kSuccess, a});
    expectResolved(L"|a|b", {Status::kSuccess, b});
}

TEST_F(PathResolutionTest, ADotReachesAnAttributeAndItsNode)
{
    expectResolved(L"|a.Int", {Status::kSuccess, a, nullptr, attributeOf(a)});
    expectResolved(L"|a|b.Float", {Status::kSuccess, b, nullptr, attributeOf(b, L"Float")});
}

TEST_F(PathResolutionTest, AColonReachesAnArrayAndItsNode)
{
    expectResolved(L"|a|b:IntItems", {Status::kSuccess, b, ptsOfB});
}

TEST_F(PathResolutionTest, BracketsReachAnItemItsArrayAndItsNode)
{
    expectResolved(L"|a:IntItems[0]", {Status::kSuccess, a, pts, pts->getAttribute(0)});
    expectResolved(L"|a|b:IntItems[3]", {Status::kSuccess, b, ptsOfB, ptsOfB->getAttribute(3)});
    expectResolved(L"|a:IntItems[0003]", {Status::kSuccess, a, pts, pts->getAttribute(3)});
}

TEST_F(PathResolutionTest, ElementsOfTheRootAreReachedWithoutANode)
{
    EXPECT_EQ(resolveFrom(a, L".Int"), (Reached{Status::kSuccess, nullptr, nullptr, attributeOf(a)}));
    EXPECT_EQ(resolveFrom(a, L":IntItems"), (Reached{Status::kSuccess, nullptr, pts}));
    EXPECT_EQ(resolveFrom(a, L":IntItems[1]"), (Reached{Status::kSuccess, nullptr, pts, pts->getAttribute(1)}));
}

TEST_F(PathResolutionTest, PathsAreRelativeToTheGivenRoot)
{
    EXPECT_EQ(resolveFrom(a, L"|b"), (Reached{Status::kSuccess, b}));
    EXPECT_EQ(resolveFrom(b, L"|b"), Reached{Status::kPathNotResolved});
}

TEST_F(PathResolutionTest, WhatWasReachedStaysReachedWhenThePathGoesOn)
{
    expectResolved(L"|a.Int|b", {Status::kSuccess, b, nullptr, attributeOf(a)});
    expectResolved(L"|a:IntItems|b", {Status::kSuccess, b, pts});
    expectResolved(L"|a.Int:IntItems[2]", {Status::kSuccess, a, pts, pts->getAttribute(2)});
}

TEST_F(PathResolutionTest, AllOutputsMayBeNull)
{
    EXPECT_EQ(dbu_resolvePath(scene.root(), L"|a:IntItems[0]", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(dbu_resolvePath(scene.root(), L"|x", nullptr, nullptr, nullptr), Status::kPathNotResolved);
    EXPECT_EQ(dbu_resolvePath(scene.root(), L"x", nullptr, nullptr, nullptr), Status::kPathBadStart);
}

TEST_F(PathResolutionTest, DynamicElementsAreReachedByName)
{
    IntAttributeMetaDataDef definition;
    Attribute* const one = scene.dynamicAttribute(definition, L"one", a);
    definition.setArray(true);
    Element* const many = scene.dynamicAttribute(definition, L"many", a);
    expectResolved(L"|a.one", {Status::kSuccess, a, nullptr, one});
    expectResolved(L"|a:many", {Status::kSuccess, a, static_cast<AttributeArray*>(many)});
}

// --- Names ---

TEST_F(PathResolutionTest, AnEscapedCharacterBelongsToTheName)
{
    Node* const dotted = scene.node(L"a.b");
    expectResolved(L"|a\\.b", {Status::kSuccess, dotted});
    expectResolved(L"|\\a", {Status::kSuccess, a});
    Node* const all = scene.node(L".:[\\]|");
    expectResolved(L"|\\.\\:\\[\\\\\\]\\|", {Status::kSuccess, all});
}

TEST_F(PathResolutionTest, BlanksTabsAndLineFeedsAroundNamesAreIgnored)
{
    expectResolved(L"| a | b ", {Status::kSuccess, b});
    expectResolved(L"|\ta\n|\n\tb\t. Int ", {Status::kSuccess, b, nullptr, attributeOf(b)});
    expectResolved(L"|a : IntItems", {Status::kSuccess, a, pts});
}

TEST_F(PathResolutionTest, ABlankInANameNeedsAnEscape)
{
    Node* const spaced = scene.node(L"two words");
    expectResolved(L"|two\\ words", {Status::kSuccess, spaced});
    expectUnresolved(L"|two words");
    Node* const joined = scene.node(L"twowords");
    expectResolved(L"|two words", {Status::kSuccess, joined});
    Node* const blank = scene.node(L" \t\n");
    expectResolved(L"|\\ \\\t\\\n", {Status::kSuccess, blank});
}

TEST_F(PathResolutionTest, OtherWhiteSpaceBelongsToTheName)
{
    Node* const returned = scene.node(L"a\r");
    expectResolved(L"|a\r", {Status::kSuccess, returned});
    Node* const hard = scene.node(L"a\u00A0b");
    expectResolved(L"|a\u00A0b", {Status::kSuccess, hard});
}

TEST_F(PathResolutionTest, NamesAreComparedExactly)
{
    expectUnresolved(L"|A");
    expectUnresolved(L"|a.int");
    expectUnresolved(L"|a:intItems");
    expectUnresolved(L"|a|bb");
    Node* const upper = scene.node(L"A");
    expectResolved(L"|A", {Status::kSuccess, upper});
}

TEST_F(PathResolutionTest, ANameOfTheSameHashIsAnotherName)
{
    Node* const first = scene.node(nameCollision().first.c_str());
    expectResolved((L"|" + nameCollision().first).c_str(), {Status::kSuccess, first});
    expectUnresolved((L"|" + nameCollision().second).c_str());
    for (int i = 0; i < 5; ++i)
        scene.node(L"sibling"); // now the children have an index
    expectResolved((L"|" + nameCollision().first).c_str(), {Status::kSuccess, first});
    expectUnresolved((L"|" + nameCollision().second).c_str());
}

TEST_F(PathResolutionTest, ChildrenAreFoundAmongManySiblings)
{
    for (int i = 0; i < 2000; ++i)
        scene.nodeOf(Scene::kPlain, (L"child" + std::to_wstring(i)).c_str(), b);
    for (const wchar_t* const name : {L"child0", L"child1", L"child999", L"child1999"})
        expectResolved((std::wstring(L"|a|b|") + name).c_str(), {Status::kSuccess, b->findChildByName(name)});
    expectUnresolved(L"|a|b|child2000");
}

// --- What leads nowhere ---

TEST_F(PathResolutionTest, AStepThatFindsNothingEndsWithNullOutputsAndNoMessage)
{
    expectUnresolved(L"|x");
    expectUnresolved(L"|a|x");
    expectUnresolved(L"|x|b");
    expectUnresolved(L"|a.x");
    expectUnresolved(L"|a:x");
    expectUnresolved(L"|a|b.Int|x");
}

TEST_F(PathResolutionTest, TheKindOfAnElementMustBeTheOneNamed)
{
    expectUnresolved(L"|a.IntItems");
    expectUnresolved(L"|a:Int");
}

TEST_F(PathResolutionTest, AnIndexMustBeBelowTheSize)
{
    expectUnresolved(L"|a:IntItems[4]");
    expectUnresolved(L"|a:FloatItems[0]"); // an empty array
    ASSERT_EQ(scene.core().db_resizeAttributeArray(pts, 1), Status::kSuccess);
    expectUnresolved(L"|a:IntItems[1]");
}

TEST_F(PathResolutionTest, AnIndexThatDoesNotFitLeadsNowhere)
{
    expectUnresolved(L"|a:IntItems[2147483647]");
    expectUnresolved(L"|a:IntItems[2147483648]");
    expectUnresolved(L"|a:IntItems[4294967296]"); // 2^32, and 2^64 and some, must not come round to an item
    expectUnresolved(L"|a:IntItems[4294967297]");
    expectUnresolved(L"|a:IntItems[18446744073709551617]");
    expectUnresolved((L"|a:IntItems[1" + std::wstring(5000, L'0') + L"]").c_str());
}

TEST_F(PathResolutionTest, AnIndexNeedsAnArray)
{
    expectUnresolved(L"|a[0]");
    expectUnresolved(L"|a.Int[0]");
    expectUnresolved(L"[0]");
}

TEST_F(PathResolutionTest, ANullRootLeadsNowhere)
{
    for (const wchar_t* const path : {L"|a", L".Int", L":IntItems", L":IntItems[0]", L"[0]"})
        EXPECT_EQ(resolveFrom(nullptr, path), Reached{Status::kPathNotResolved});
}

TEST_F(PathResolutionTest, ADestroyedNodeIsNoLongerReached)
{
    ASSERT_EQ(scene.core().db_destroyLeafNode(b), Status::kSuccess);
    expectUnresolved(L"|a|b");
}

// --- Validation ---

TEST_F(PathResolutionTest, AnInvalidPathIsAnsweredByTheValidationWithNullOutputs)
{
    EXPECT_EQ(resolve(L"a|b"), Reached{Status::kPathBadStart});
    EXPECT_EQ(resolve(L""), Reached{Status::kPathBadStart});
    EXPECT_TRUE(scene.log().take().empty());
    EXPECT_EQ(resolve(L"|a."), Reached{Status::kTrailingReservedCharacter});
    EXPECT_TRUE(scene.log().tookError(L"'|a.' is terminated by a reserved character."));
    EXPECT_EQ(resolve(L"|a||b"), Reached{Status::kAdjacentReservedCharacters});
    EXPECT_EQ(resolve(L"|a:IntItems[1x]"), Reached{Status::kNonNumericIndex});
    EXPECT_EQ(resolve(L"|a:IntItems[1"), Reached{Status::kMismatchedBraces});
}

TEST_F(PathResolutionTest, ANullPathIsRefusedEitherWay)
{
    EXPECT_EQ(resolve(nullptr, true), Reached{Status::kNullPath});
    EXPECT_EQ(resolve(nullptr, false), Reached{Status::kNullPath});
}

TEST_F(PathResolutionTest, TheEmptyPathReachesNothingWithoutValidation)
{
    EXPECT_EQ(resolve(L"", false), Reached{Status::kSuccess});
}

TEST_F(PathResolutionTest, AFirstNameIsAChildOfTheRootWithoutValidation)
{
    EXPECT_EQ(resolve(L"a", false), (Reached{Status::kSuccess, a}));
    EXPECT_EQ(resolve(L"a|b.Int", false), (Reached{Status::kSuccess, b, nullptr, attributeOf(b)}));
}

TEST_F(PathResolutionTest, WhatFollowsAClosingBracketIsIgnoredWithoutValidation)
{
    const Reached item{Status::kSuccess, a, pts, pts->getAttribute(2)};
    EXPECT_EQ(resolve(L"|a:IntItems[2].nowhere|at:all[", false), item);
    EXPECT_EQ(resolve(L"|a:IntItems[2]]", false), item);
    EXPECT_EQ(resolve(L"|a]|b", false), (Reached{Status::kSuccess, a}));
}

TEST_F(PathResolutionTest, AnIndexIsParsedAsFarAsItGoesWithoutValidation)
{
    const Reached second{Status::kSuccess, a, pts, pts->getAttribute(1)};
    EXPECT_EQ(resolve(L"|a:IntItems[1x]", false), second);
    EXPECT_EQ(resolve(L"|a:IntItems[+1]", false), second);
    EXPECT_EQ(resolve(L"|a:IntItems[ 1 ]", false), second);
    EXPECT_EQ(resolve(L"|a:IntItems[\\1]", false), second);
    EXPECT_EQ(resolve(L"|a:IntItems[x]", false), (Reached{Status::kSuccess, a, pts, pts->getAttribute(0)}));
    EXPECT_EQ(resolve(L"|a:IntItems[]", false), (Reached{Status::kSuccess, a, pts, pts->getAttribute(0)}));
    EXPECT_EQ(resolve(L"|a:IntItems[-1]", false), Reached{Status::kPathNotResolved});
}

TEST_F(PathResolutionTest, AnIndexEndsWithThePathWithoutValidation)
{
    EXPECT_EQ(resolve(L"|a:IntItems[2", false), (Reached{Status::kSuccess, a, pts, pts->getAttribute(2)}));
}

TEST_F(PathResolutionTest, AnEscapeAtTheEndEndsTheWalkWithoutValidation)
{
    EXPECT_EQ(resolve(L"|a\\"), Reached{Status::kTrailingReservedCharacter});
    EXPECT_EQ(resolve(L"|a\\", false), (Reached{Status::kSuccess, a}));
}

TEST_F(PathResolutionTest, AnEmptyNameLeadsNowhereWithoutValidation)
{
    for (const wchar_t* const path : {L"||a", L"|a|", L"|a.", L"|a:", L"|", L".", L":", L"[", L" "})
    {
        SCOPED_TRACE(std::string(path, path + std::wcslen(path)));
        EXPECT_EQ(resolve(path, false), Reached{Status::kPathNotResolved});
    }
    EXPECT_TRUE(scene.log().take().empty());
}

// --- Size and memory ---

TEST_F(PathResolutionTest, AVeryDeepNodeIsReached)
{
    std::wstring path;
    Node* node = nullptr;
    for (int i = 0; i < 20'000; ++i)
    {
        node = scene.nodeOf(Scene::kPlain, L"n", node);
        path += L"|n";
    }
    expectResolved(path.c_str(), {Status::kSuccess, node});
}

TEST_F(PathResolutionTest, WithoutMemoryNothingIsReached)
{
    Node* const node = scene.node(L"a name that is long enough to need memory wherever it is kept");
    const wchar_t* const path =
        L"|a\\ name\\ that\\ is\\ long\\ enough\\ to\\ need\\ memory\\ wherever\\ it\\ is\\ kept.Int";
    Reached reached;
    const std::size_t failures = failUntilMemorySuffices(
        [&] {
            reached = resolve(path);
            return reached.status;
        },
        [&] { EXPECT_EQ(reached, Reached{Status::kFailure}); });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(reached, (Reached{Status::kSuccess, node, nullptr, attributeOf(node)}));
}

// --- The short forms ---

TEST_F(PathResolutionTest, PathToNodeGivesTheNodeThatThePathStepsTo)
{
    Node* node = nullptr;
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"|a|b", &node), Status::kSuccess);
    EXPECT_EQ(node, b);
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"|a.Int", &node), Status::kSuccess);
    EXPECT_EQ(node, a);
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"a|b", &node, false), Status::kSuccess);
    EXPECT_EQ(node, b);
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"|a", nullptr), Status::kSuccess);
}

TEST_F(PathResolutionTest, PathToNodeAnswersAsTheResolutionDoes)
{
    Node* node = elsewhere;
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"|x", &node), Status::kPathNotResolved);
    EXPECT_EQ(node, nullptr);
    node = elsewhere;
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"a", &node), Status::kPathBadStart);
    EXPECT_EQ(node, nullptr);
    node = elsewhere;
    EXPECT_EQ(dbu_pathToNode(scene.root(), L"", &node, false), Status::kSuccess);
    EXPECT_EQ(node, nullptr);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(PathResolutionTest, PathToAttributeArrayGivesTheArray)
{
    AttributeArray* array = nullptr;
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"|a:IntItems", &array), Status::kSuccess);
    EXPECT_EQ(array, pts);
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"|a|b:IntItems[1]", &array), Status::kSuccess);
    EXPECT_EQ(array, ptsOfB);
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"a:IntItems", &array, false), Status::kSuccess);
    EXPECT_EQ(array, pts);
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"|a:IntItems", nullptr), Status::kSuccess);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(PathResolutionTest, PathToAttributeArrayRefusesAPathThatLeadsElsewhere)
{
    for (const wchar_t* const path : {L"|a", L"|a.Int"})
    {
        AttributeArray* array = pts;
        EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), path, &array), Status::kPathNotAttributeArray);
        EXPECT_EQ(array, nullptr);
        EXPECT_TRUE(scene.log().tookError(L"'" + std::wstring(path) + L"' does not resolve to an attribute array."));
    }
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"|a", nullptr), Status::kPathNotAttributeArray);
    EXPECT_TRUE(scene.log().tookError(L"'|a' does not resolve to an attribute array."));
    AttributeArray* array = pts;
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"", &array, false), Status::kPathNotAttributeArray);
    EXPECT_TRUE(scene.log().tookError(L"'' does not resolve to an attribute array."));
    EXPECT_EQ(array, nullptr);
}

TEST_F(PathResolutionTest, PathToAttributeArrayPassesOtherFailuresOn)
{
    AttributeArray* array = pts;
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"|a:x", &array), Status::kPathNotResolved);
    EXPECT_EQ(array, nullptr);
    array = pts;
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), L"x", &array), Status::kPathBadStart);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(dbu_pathToAttributeArray(scene.root(), nullptr, &array), Status::kNullPath);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(PathResolutionTest, PathToAttributeGivesTheAttributeOrItem)
{
    Attribute* attribute = nullptr;
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a.Int", &attribute), Status::kSuccess);
    EXPECT_EQ(attribute, attributeOf(a));
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a:IntItems[3]", &attribute), Status::kSuccess);
    EXPECT_EQ(attribute, pts->getAttribute(3));
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"a.Float", &attribute, false), Status::kSuccess);
    EXPECT_EQ(attribute, attributeOf(a, L"Float"));
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(PathResolutionTest, PathToAttributeRefusesAPathThatLeadsElsewhere)
{
    for (const wchar_t* const path : {L"|a", L"|a:IntItems"})
    {
        Attribute* attribute = attributeOf(b);
        EXPECT_EQ(dbu_pathToAttribute(scene.root(), path, &attribute), Status::kPathNotAttribute);
        EXPECT_EQ(attribute, nullptr);
        EXPECT_TRUE(scene.log().tookError(L"'" + std::wstring(path) + L"' does not resolve to an attribute."));
    }
}

TEST_F(PathResolutionTest, PathToAttributeNeedsAnOutputBeforeAnythingElse)
{
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a.Int", nullptr), Status::kNullOutput);
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a||", nullptr), Status::kNullOutput);
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), nullptr, nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(PathResolutionTest, PathToAttributePassesOtherFailuresOn)
{
    Attribute* attribute = attributeOf(b);
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a.x", &attribute), Status::kPathNotResolved);
    EXPECT_EQ(attribute, nullptr);
    attribute = attributeOf(b);
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"x", &attribute), Status::kPathBadStart);
    EXPECT_EQ(attribute, nullptr);
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), nullptr, &attribute), Status::kNullPath);
    EXPECT_TRUE(scene.log().take().empty());
}

} // namespace
} // namespace db2test
