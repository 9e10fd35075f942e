#include "support/OutOfMemory.h"
#include "support/Scene.h"

#include <db2/Paths.h>

#include <gtest/gtest.h>

#include <string>

namespace db2test {
namespace {

constexpr const wchar_t* kNoNode = L"A valid node pointer must be given.";
constexpr const wchar_t* kNoString = L"'path' should point to a valid kqx::String.";

/// A node "a" with a child "b" that has a child "c".
class PathBuildingTest : public ::testing::Test
{
protected:
    AttributeArray* items(Node* node, unsigned int size)
    {
        AttributeArray* const array = node->findAttributeArrayByName(L"IntItems");
        EXPECT_EQ(scene.core().db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    /// Makes a chain of nodes below @p node and returns its end.
    Node* chainBelow(Node* node, unsigned int count)
    {
        for (unsigned int i = 0; i < count; ++i)
            node = scene.nodeOf(Scene::kPlain, L"n", node);
        return node;
    }

    Scene scene;
    Node* a = scene.node(L"a");
    Node* b = scene.node(L"b", a);
    Node* c = scene.node(L"c", b);
    kqx::String path = L"what was there before";
};

// --- Nodes ---

TEST_F(PathBuildingTest, ANodesPathLeadsThroughTheNamesBelowTheRoot)
{
    EXPECT_EQ(dbu_nodeToPath(scene.root(), c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b|c");
}

TEST_F(PathBuildingTest, AnyAncestorMayBeTheRootOfThePath)
{
    EXPECT_EQ(dbu_nodeToPath(a, c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|b|c");
    EXPECT_EQ(dbu_nodeToPath(b, c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|c");
}

TEST_F(PathBuildingTest, ANullRootIsTheTopmostAncestor)
{
    EXPECT_EQ(dbu_nodeToPath(nullptr, c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b|c");
}

TEST_F(PathBuildingTest, TheRootsOwnPathIsEmpty)
{
    EXPECT_EQ(dbu_nodeToPath(b, b, &path), Status::kSuccess);
    EXPECT_EQ(path, L"");
    path = L"what was there before";
    EXPECT_EQ(dbu_nodeToPath(nullptr, scene.root(), &path), Status::kSuccess);
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, ADestroyedNodesPathIsThatOfItsFormerPlace)
{
    ASSERT_EQ(scene.core().db_destroyLeafNode(c), Status::kSuccess);
    EXPECT_EQ(dbu_nodeToPath(scene.root(), c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b|c");
}

TEST_F(PathBuildingTest, ANullNodeIsRefused)
{
    EXPECT_EQ(dbu_nodeToPath(scene.root(), nullptr, &path), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, ANullNodeIsRefusedWithANullRootToo)
{
    EXPECT_EQ(dbu_nodeToPath(nullptr, nullptr, &path), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, ANullPathIsRefused)
{
    EXPECT_EQ(dbu_nodeToPath(scene.root(), a, nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoString));
    EXPECT_EQ(dbu_nodeToPath(a, a, nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoString));
}

TEST_F(PathBuildingTest, TheNodeIsTestedBeforeThePath)
{
    EXPECT_EQ(dbu_nodeToPath(scene.root(), nullptr, nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
}

TEST_F(PathBuildingTest, ANodeThatIsNotBelowTheRootHasNoPath)
{
    const Node* const elsewhere = scene.node(L"elsewhere");
    EXPECT_EQ(dbu_nodeToPath(elsewhere, c, &path), Status::kNotAncestor);
    EXPECT_TRUE(scene.log().tookError(L"'elsewhere' is not an ancestor of 'c'"));
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, AnAncestorHasNoPathFromItsDescendant)
{
    EXPECT_EQ(dbu_nodeToPath(c, a, &path), Status::kNotAncestor);
    EXPECT_TRUE(scene.log().tookError(L"'c' is not an ancestor of 'a'"));
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, APathHoldsUpTo511Names)
{
    std::wstring expected;
    for (int i = 0; i < 511; ++i)
        expected += L"|n";
    const Node* const end = chainBelow(scene.root(), 511);
    for (const Node* const root : {static_cast<const Node*>(nullptr), static_cast<const Node*>(scene.root())})
    {
        SCOPED_TRACE(root != nullptr ? "from the root" : "from a null root");
        EXPECT_EQ(dbu_nodeToPath(root, end, &path), Status::kSuccess);
        EXPECT_EQ(path, expected.c_str());
    }
}

TEST_F(PathBuildingTest, APathOf512NamesIsRefusedWithAnEmptyMessage)
{
    const Node* const end = chainBelow(scene.root(), 512);
    for (const Node* const root : {static_cast<const Node*>(nullptr), static_cast<const Node*>(scene.root())})
    {
        SCOPED_TRACE(root != nullptr ? "from the root" : "from a null root");
        path = L"what was there before";
        EXPECT_EQ(dbu_nodeToPath(root, end, &path), Status::kPathNotBuilt);
        EXPECT_TRUE(scene.log().tookError(L""));
        EXPECT_EQ(path, L"");
    }
}

TEST_F(PathBuildingTest, OnlyTheNamesBelowTheGivenRootCount)
{
    Node* const middle = chainBelow(scene.root(), 400);
    const Node* const end = chainBelow(middle, 400);
    EXPECT_EQ(dbu_nodeToPath(middle, end, &path), Status::kSuccess);
    EXPECT_EQ(path.size(), 800u);
}

TEST_F(PathBuildingTest, AStrangersDepthDoesNotHideThatItIsNoDescendant)
{
    const Node* const end = chainBelow(a, 600);
    EXPECT_EQ(dbu_nodeToPath(c, end, &path), Status::kNotAncestor);
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, WithoutMemoryThereIsNoPathAndNoMessage)
{
    for (const wchar_t* const name : {L"short", L"a.name.with.many.characters.that.are.written.with.an.escape"})
    {
        const Node* const node = scene.node(name, c);
        path = kqx::String(); // without memory of its own
        const std::size_t failures = failUntilMemorySuffices([&] { return dbu_nodeToPath(nullptr, node, &path); },
                                                             [&] { EXPECT_EQ(path, L""); });
        EXPECT_GT(failures, 0u);
        EXPECT_TRUE(scene.log().take().empty());
        EXPECT_TRUE(std::wstring(path.c_str()).starts_with(L"|a|b|c|"));
    }
}

// --- Attributes, arrays and items ---

TEST_F(PathBuildingTest, AnAttributeStandsBehindADot)
{
    EXPECT_EQ(dbu_attributeToPath(scene.root(), b->findAttributeByName(L"Int"), &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b.Int");
}

TEST_F(PathBuildingTest, AnArrayStandsBehindAColon)
{
    EXPECT_EQ(dbu_attributeArrayToPath(scene.root(), b->findAttributeArrayByName(L"IntItems"), &path),
              Status::kSuccess);
    EXPECT_EQ(path, L"|a|b:IntItems");
}

TEST_F(PathBuildingTest, AnItemStandsInBracketsBehindItsArray)
{
    const AttributeArray* const array = items(b, 12);
    EXPECT_EQ(dbu_attributeToPath(scene.root(), array->getAttribute(0), &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b:IntItems[0]");
    EXPECT_EQ(dbu_attributeToPath(nullptr, array->getAttribute(11), &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b:IntItems[11]");
}

TEST_F(PathBuildingTest, ElementsOfTheRootOfThePathHaveNoNamesBeforeThem)
{
    const AttributeArray* const array = items(b, 1);
    EXPECT_EQ(dbu_attributeToPath(b, b->findAttributeByName(L"Int"), &path), Status::kSuccess);
    EXPECT_EQ(path, L".Int");
    EXPECT_EQ(dbu_attributeArrayToPath(b, array, &path), Status::kSuccess);
    EXPECT_EQ(path, L":IntItems");
    EXPECT_EQ(dbu_attributeToPath(b, array->getAttribute(0), &path), Status::kSuccess);
    EXPECT_EQ(path, L":IntItems[0]");
}

TEST_F(PathBuildingTest, DynamicAndLegacyElementsAreNamedLikeAnyOther)
{
    const Attribute* const dynamic = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"more.of it", a);
    Element* legacy = nullptr;
    ASSERT_EQ(scene.core().createLegacyElement(IntAttributeMetaDataDef(), L"old", a, &legacy), Status::kSuccess);
    EXPECT_EQ(dbu_attributeToPath(nullptr, dynamic, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a.more\\.of\\ it");
    EXPECT_EQ(dbu_attributeToPath(nullptr, static_cast<Attribute*>(legacy), &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a.old");
}

TEST_F(PathBuildingTest, ArrayNamesAreEscapedBeforeAnIndex)
{
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    auto* const array =
        static_cast<AttributeArray*>(static_cast<Element*>(scene.dynamicAttribute(definition, L"p[0]", a)));
    ASSERT_EQ(scene.core().db_resizeAttributeArray(array, 1), Status::kSuccess);
    EXPECT_EQ(dbu_attributeArrayToPath(nullptr, array, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a:p\\[0\\]");
    EXPECT_EQ(dbu_attributeToPath(nullptr, array->getAttribute(0), &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a:p\\[0\\][0]");
}

TEST_F(PathBuildingTest, ANullAttributeOrArrayCountsAsANullNode)
{
    EXPECT_EQ(dbu_attributeToPath(scene.root(), nullptr, &path), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
    EXPECT_EQ(path, L"");
    path = L"what was there before";
    EXPECT_EQ(dbu_attributeArrayToPath(scene.root(), nullptr, &path), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, ANullPathIsRefusedForElementsToo)
{
    EXPECT_EQ(dbu_attributeToPath(nullptr, a->findAttributeByName(L"Int"), nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoString));
    EXPECT_EQ(dbu_attributeArrayToPath(nullptr, a->findAttributeArrayByName(L"IntItems"), nullptr),
              Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoString));
    EXPECT_EQ(dbu_attributeToPath(nullptr, nullptr, nullptr), Status::kNullOutput);
    EXPECT_TRUE(scene.log().tookError(kNoNode));
}

TEST_F(PathBuildingTest, AnElementWhoseNodeHasNoPathHasNone)
{
    EXPECT_EQ(dbu_attributeToPath(c, a->findAttributeByName(L"Int"), &path), Status::kNotAncestor);
    EXPECT_TRUE(scene.log().tookError(L"'c' is not an ancestor of 'a'"));
    EXPECT_EQ(path, L"");
    EXPECT_EQ(dbu_attributeArrayToPath(c, a->findAttributeArrayByName(L"IntItems"), &path), Status::kNotAncestor);
    EXPECT_TRUE(scene.log().tookError(L"'c' is not an ancestor of 'a'"));
    const Node* const deep = scene.node(L"deep", chainBelow(scene.root(), 511));
    EXPECT_EQ(dbu_attributeToPath(nullptr, deep->findAttributeByName(L"Int"), &path), Status::kPathNotBuilt);
    EXPECT_EQ(dbu_attributeArrayToPath(nullptr, deep->findAttributeArrayByName(L"IntItems"), &path),
              Status::kPathNotBuilt);
    EXPECT_EQ(path, L"");
}

TEST_F(PathBuildingTest, WithoutMemoryAnElementHasNoPath)
{
    const AttributeArray* const array = items(c, 1);
    path = kqx::String(); // without memory of its own
    EXPECT_GT(failUntilMemorySuffices([&] { return dbu_attributeToPath(nullptr, array->getAttribute(0), &path); },
                                      [&] { EXPECT_EQ(path, L""); }),
              0u);
    EXPECT_EQ(path, L"|a|b|c:IntItems[0]");
    path = kqx::String();
    EXPECT_GT(failUntilMemorySuffices([&] { return dbu_attributeArrayToPath(nullptr, array, &path); },
                                      [&] { EXPECT_EQ(path, L""); }),
              0u);
    EXPECT_EQ(path, L"|a|b|c:IntItems");
}

TEST_F(PathBuildingTest, AStringThatIsUsedAgainKeepsItsMemory)
{
    ASSERT_EQ(dbu_nodeToPath(nullptr, c, &path), Status::kSuccess);
    const HeapThatRunsOut heap(0);
    EXPECT_EQ(dbu_nodeToPath(nullptr, b, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b");
    EXPECT_EQ(dbu_nodeToPath(nullptr, c, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b|c");
}

// --- Escaped names ---

TEST_F(PathBuildingTest, TabsLineFeedsBlanksAndReservedCharactersAreEscaped)
{
    struct Row
    {
        const char* what;
        const wchar_t* name;
        const wchar_t* written;
    };
    for (const Row& row : {Row{"tab", L"\t", L"\\\t"}, Row{"line feed", L"\n", L"\\\n"}, Row{"blank", L" ", L"\\ "},
                           Row{"dot", L".", L"\\."}, Row{"colon", L":", L"\\:"}, Row{"opening", L"[", L"\\["},
                           Row{"backslash", L"\\", L"\\\\"}, Row{"closing", L"]", L"\\]"}, Row{"bar", L"|", L"\\|"}})
    {
        SCOPED_TRACE(row.what);
        kqx::String out;
        dbu_appendEscapeNames(row.name, out);
        EXPECT_EQ(out, row.written);
    }
}

TEST_F(PathBuildingTest, OtherCharactersAreWrittenAsTheyAre)
{
    for (const wchar_t* const name : {L"plain", L"1/2,3;4'5\"6%s{}()<>", L"\r\v\f\a", L"\u00A0\u00E4\u20AC\u2003"})
    {
        kqx::String out;
        dbu_appendEscapeNames(name, out);
        EXPECT_EQ(out, name);
    }
}

TEST_F(PathBuildingTest, EscapedNamesAreAppended)
{
    kqx::String out = L"before";
    dbu_appendEscapeNames(L"a.b", out);
    dbu_appendEscapeNames(L"", out);
    dbu_appendEscapeNames(nullptr, out);
    dbu_appendEscapeNames(L"c", out);
    EXPECT_EQ(out, L"beforea\\.bc");
}

TEST_F(PathBuildingTest, NodeNamesAreWrittenEscaped)
{
    const Node* const dotted = scene.node(L"a.b");
    EXPECT_EQ(dbu_nodeToPath(scene.root(), dotted, &path), Status::kSuccess);
    EXPECT_EQ(path, L"|a\\.b");
}

} // namespace
} // namespace db2test
