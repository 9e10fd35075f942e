#include "support/EditRecorder.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

class TreeUtilitiesDestroyingTest : public ::testing::Test
{
protected:
    Attribute* attribute(Node* node, const wchar_t* name) { return node->findAttributeByName(name); }
    Attribute* item(Node* node, unsigned int index)
    {
        return node->findAttributeArrayByName(L"IntItems")->getAttribute(index);
    }
    void resizeItems(Node* node, unsigned int size)
    {
        ASSERT_EQ(scene.core().db_resizeAttributeArray(node->findAttributeArrayByName(L"IntItems"), size),
                  Status::kSuccess);
    }
    void reference(Attribute* referenced, Attribute* referencer, bool single = false)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, single), Status::kSuccess);
    }
    Node* plain(const wchar_t* name, Node* parent = nullptr) { return scene.nodeOf(Scene::kPlain, name, parent); }
    std::wstring childNames(const Node* parent)
    {
        std::wstring names;
        for (const Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
            names += std::wstring(child->getName()) + L" ";
        return names;
    }

    Scene scene;
    EditRecorder data{&scene.core()};
};

// --- A leaf ---

TEST_F(TreeUtilitiesDestroyingTest, ALeafLosesReferencesByAttributeThenDynamicElementsBackwardsThenGoes)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", a);
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"y", a);
    resizeItems(a, 2);
    reference(attribute(a, L"Int"), attribute(b, L"Int"));
    reference(attribute(a, L"Int"), attribute(b, L"Double"));
    reference(attribute(b, L"Float"), attribute(a, L"Int"));
    reference(attribute(b, L"Float"), item(a, 1));
    reference(attribute(a, L"y"), attribute(b, L"String"));

    dbu_destroyLeafNode(a, &data);

    EXPECT_EQ(data.take(), (Lines{L"unreference |a.Int", L"unreference |b.Double", L"unreference |b.Int",
                                  L"unreference |a:IntItems[1]", L"unreference |b.String", L"destroy element |a.y",
                                  L"destroy element |a.x", L"destroy |a"}));
    EXPECT_TRUE(a->isDestroyed());
    EXPECT_EQ(scene.core().getStatistics().references, 0u);
}

TEST_F(TreeUtilitiesDestroyingTest, AReferenceWithinTheLeafIsEndedOnce)
{
    Node* const a = scene.node(L"a");
    reference(attribute(a, L"Float"), attribute(a, L"Int"));
    dbu_destroyLeafNode(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"unreference |a.Int", L"destroy |a"}));
}

TEST_F(TreeUtilitiesDestroyingTest, ADestroyedNodeAndNullAreLeftAlone)
{
    Node* const a = scene.node(L"a");
    ASSERT_EQ(scene.core().db_destroyLeafNode(a), Status::kSuccess);
    dbu_destroyLeafNode(a, &data);
    dbu_destroyLeafNode(nullptr, &data);
    dbu_destroyLeafNode(scene.node(L"b"), nullptr);
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(childNames(scene.root()), L"b ");
}

TEST_F(TreeUtilitiesDestroyingTest, ANodeWithChildrenLosesReferencesAndDynamicElementsAndStays)
{
    Node* const a = scene.node(L"a");
    Node* const child = scene.node(L"child", a);
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", a);
    reference(attribute(child, L"Int"), attribute(a, L"Int"));
    dbu_destroyLeafNode(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"unreference |a.Int", L"destroy element |a.x", L"destroy |a failed"}));
    EXPECT_FALSE(a->isDestroyed());
    EXPECT_EQ(a->getFirstChild(), child);
}

TEST_F(TreeUtilitiesDestroyingTest, AReferenceThatALayerKeepsDoesNotHoldUpTheRest)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b");
    reference(attribute(a, L"Int"), attribute(b, L"Int"));
    reference(attribute(a, L"Int"), attribute(b, L"Float"));
    data.refuse(L"unreference |b.Float", Status::kFailure);
    dbu_destroyLeafNode(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"unreference |b.Float failed", L"unreference |b.Int", L"destroy |a failed"}));
}

// --- Subtrees ---

TEST_F(TreeUtilitiesDestroyingTest, ASubtreeGoesChildrenFirstInOrder)
{
    Node* const a = plain(L"a");
    Node* const b = plain(L"b", a);
    plain(L"c", b);
    plain(L"d", b);
    plain(L"e", a);
    plain(L"f");
    dbu_destroyNodeRecursively(a, &data);
    EXPECT_EQ(data.take(),
              (Lines{L"destroy |a|b|c", L"destroy |a|b|d", L"destroy |a|b", L"destroy |a|e", L"destroy |a"}));
    EXPECT_EQ(childNames(scene.root()), L"f ");
}

TEST_F(TreeUtilitiesDestroyingTest, ReferencesBetweenTheNodesOfASubtreeAndFromOutsideGoToo)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    Node* const outside = scene.node(L"outside");
    reference(attribute(b, L"Int"), attribute(a, L"Int"));
    reference(attribute(a, L"Float"), attribute(b, L"Float"));
    reference(attribute(b, L"Int"), attribute(outside, L"Int"));
    dbu_destroyNodeRecursively(a, &data);
    EXPECT_TRUE(a->isDestroyed());
    EXPECT_TRUE(b->isDestroyed());
    EXPECT_EQ(attribute(outside, L"Int")->getReference(), nullptr);
}

TEST_F(TreeUtilitiesDestroyingTest, ASubtreeEndsAtTheNodeThatALayerKeeps)
{
    Node* const a = scene.node(L"a");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", a);
    plain(L"b", a);
    Node* const c = plain(L"c", a);
    plain(L"d", c);
    plain(L"e", c);
    plain(L"f", a);
    data.refuse(L"destroy |a|c|d", Status::kFailure);
    dbu_destroyNodeRecursively(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"destroy |a|b", L"destroy |a|c|d failed"}));
    EXPECT_EQ(childNames(a), L"c f ");
    EXPECT_EQ(a->getDynamicElementCount(), 1u);
}

TEST_F(TreeUtilitiesDestroyingTest, ChildrenGoAndTheNodeStays)
{
    Node* const a = scene.node(L"a");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", a);
    plain(L"c", plain(L"b", a));
    plain(L"d", a);
    dbu_destroyChildrenRecursively(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"destroy |a|b|c", L"destroy |a|b", L"destroy |a|d"}));
    EXPECT_FALSE(a->isDestroyed());
    EXPECT_EQ(a->getDynamicElementCount(), 1u);
}

TEST_F(TreeUtilitiesDestroyingTest, EverythingBelowTheRootCanGo)
{
    plain(L"b", plain(L"a"));
    plain(L"c");
    dbu_destroyChildrenRecursively(scene.root(), &data);
    EXPECT_EQ(data.take(), (Lines{L"destroy |a|b", L"destroy |a", L"destroy |c"}));
}

TEST_F(TreeUtilitiesDestroyingTest, ChildrenEndAtTheNodeThatALayerKeeps)
{
    Node* const a = plain(L"a");
    plain(L"b", a);
    plain(L"c", a);
    data.refuse(L"destroy |a|b", Status::kFailure);
    dbu_destroyChildrenRecursively(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"destroy |a|b failed"}));
    EXPECT_EQ(childNames(a), L"b c ");
}

TEST_F(TreeUtilitiesDestroyingTest, SubtreesOfNullAndWithoutAnInterfaceAreLeftAlone)
{
    Node* const a = plain(L"a");
    plain(L"b", a);
    dbu_destroyNodeRecursively(nullptr, &data);
    dbu_destroyNodeRecursively(a, nullptr);
    dbu_destroyChildrenRecursively(nullptr, &data);
    dbu_destroyChildrenRecursively(a, nullptr);
    dbu_destroyNodeButNotChildren(nullptr, &data);
    dbu_destroyNodeButNotChildren(a, nullptr);
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(childNames(a), L"b ");
}

TEST_F(TreeUtilitiesDestroyingTest, ADeepSubtreeNeedsNoDeepStack)
{
    Node* const top = plain(L"top");
    Node* deepest = top;
    for (int i = 0; i < 100000; ++i)
        deepest = plain(L"n", deepest);
    dbu_destroyNodeRecursively(top, &scene.core());
    EXPECT_EQ(scene.core().getStatistics().nodes, 1u);
}

// --- A node, but not its children ---

TEST_F(TreeUtilitiesDestroyingTest, ChildrenTakeTheNodesPlaceInTheirOrder)
{
    plain(L"before");
    Node* const a = plain(L"a");
    plain(L"after");
    plain(L"x", a);
    plain(L"y", a);
    dbu_destroyNodeButNotChildren(a, &data);
    EXPECT_EQ(data.take(),
              (Lines{L"move |a|x under | before |after", L"move |a|y under | before |after", L"destroy |a"}));
    EXPECT_EQ(childNames(scene.root()), L"before x y after ");
}

TEST_F(TreeUtilitiesDestroyingTest, ChildrenOfTheLastSiblingGoToTheEnd)
{
    plain(L"before");
    Node* const a = plain(L"a");
    plain(L"x", a);
    plain(L"y", a);
    dbu_destroyNodeButNotChildren(a, &data);
    EXPECT_EQ(childNames(scene.root()), L"before x y ");
}

TEST_F(TreeUtilitiesDestroyingTest, AMovedChildGetsAFreeName)
{
    Node* const a = plain(L"a");
    plain(L"x");
    Node* const child = plain(L"x", a);
    dbu_destroyNodeButNotChildren(a, &data);
    EXPECT_EQ(scene.root()->getFirstChild(), child);
    EXPECT_NE(child->getName(), L"x");
}

TEST_F(TreeUtilitiesDestroyingTest, WithoutChildrenANodeGoesAsALeaf)
{
    Node* const a = scene.node(L"a");
    reference(attribute(scene.node(L"b"), L"Int"), attribute(a, L"Int"));
    dbu_destroyNodeButNotChildren(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"unreference |a.Int", L"destroy |a"}));
}

TEST_F(TreeUtilitiesDestroyingTest, TheRootKeepsItsChildren)
{
    plain(L"a");
    dbu_destroyNodeButNotChildren(scene.root(), &data);
    EXPECT_EQ(data.take(), Lines{});
}

TEST_F(TreeUtilitiesDestroyingTest, TheFirstChildThatCannotBeMovedEndsIt)
{
    Node* const a = scene.node(L"a");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"d", a);
    plain(L"x", a);
    plain(L"y", a);
    plain(L"z", a);
    data.refuse(L"move |a|y", Status::kFailure);
    dbu_destroyNodeButNotChildren(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"move |a|x under |", L"move |a|y under | failed"}));
    EXPECT_EQ(childNames(a), L"y z ");
    EXPECT_EQ(a->getDynamicElementCount(), 1u);
}

// --- What a predicate chooses ---

struct Chooser
{
    std::wstring chosen; ///< names with a blank before and behind; all when empty
    std::wstring asked;
    static bool choose(Node* node, void* userData)
    {
        auto& self = *static_cast<Chooser*>(userData);
        const std::wstring name = L" " + std::wstring(node->getName()) + L" ";
        self.asked += node->getName();
        return self.chosen.empty() || self.chosen.find(name) != std::wstring::npos;
    }
};

class TreeUtilitiesDestroyIfTest : public TreeUtilitiesDestroyingTest
{
protected:
    TreeUtilitiesDestroyIfTest()
    {
        Node* const a = plain(L"a");
        Node* const b = plain(L"b", a);
        plain(L"c", b);
        plain(L"d", a);
        plain(L"e");
    }
    Chooser chooser;
    NodeIterator nodes{scene.root()};
};

TEST_F(TreeUtilitiesDestroyIfTest, EveryNodeCanGoWhileTheWalkCompletes)
{
    EXPECT_EQ(dbu_destroyIf(nodes, &data, Chooser::choose, &chooser), Status::kSuccess);
    EXPECT_EQ(chooser.asked, L"abcde");
    EXPECT_EQ(scene.core().getStatistics().nodes, 1u);
    EXPECT_FALSE(nodes.next());
}

TEST_F(TreeUtilitiesDestroyIfTest, ChosenNodesLeaveTheirChildren)
{
    chooser.chosen = L" a b ";
    EXPECT_EQ(dbu_destroyIf(nodes, &data, Chooser::choose, &chooser), Status::kSuccess);
    EXPECT_EQ(chooser.asked, L"abcde");
    EXPECT_EQ(childNames(scene.root()), L"c d e ");
}

TEST_F(TreeUtilitiesDestroyIfTest, ANodeGoesWhenTheWalkHasGoneOn)
{
    chooser.chosen = L" a ";
    dbu_destroyIf(nodes, &data, Chooser::choose, &chooser);
    EXPECT_EQ(data.take(), (Lines{L"move |a|b under | before |e", L"move |a|d under | before |e", L"destroy |a"}));
}

TEST_F(TreeUtilitiesDestroyIfTest, TheLastMatchGoesAfterTheWalk)
{
    chooser.chosen = L" e ";
    dbu_destroyIf(nodes, &data, Chooser::choose, &chooser);
    EXPECT_EQ(data.take(), (Lines{L"destroy |e"}));
}

TEST_F(TreeUtilitiesDestroyIfTest, TheWalkGoesOnFromWhereItStands)
{
    ASSERT_TRUE(nodes.next());
    ASSERT_TRUE(nodes.next());
    dbu_destroyIf(nodes, &data, Chooser::choose, &chooser);
    EXPECT_EQ(chooser.asked, L"cde");
    EXPECT_EQ(childNames(scene.root()), L"a ");
}

TEST_F(TreeUtilitiesDestroyIfTest, TheRootOfTheWalkCanGoAndNothingOutsideIsAsked)
{
    nodes.begin(scene.root()->getFirstChild());
    nodes.includeRoot(true);
    EXPECT_EQ(dbu_destroyIf(nodes, &data, Chooser::choose, &chooser), Status::kSuccess);
    EXPECT_EQ(chooser.asked, L"abcd");
    EXPECT_EQ(childNames(scene.root()), L"e ");
}

TEST_F(TreeUtilitiesDestroyIfTest, NothingChosenChangesNothing)
{
    chooser.chosen = L" nobody ";
    EXPECT_EQ(dbu_destroyIf(nodes, &data, Chooser::choose, &chooser), Status::kSuccess);
    EXPECT_EQ(data.take(), Lines{});
}

TEST_F(TreeUtilitiesDestroyIfTest, NullIsRefusedWithoutAStep)
{
    EXPECT_EQ(dbu_destroyIf(nodes, nullptr, Chooser::choose, &chooser), Status::kFailure);
    EXPECT_EQ(dbu_destroyIf(nodes, &data, nullptr, &chooser), Status::kFailure);
    EXPECT_EQ(chooser.asked, L"");
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(nodes.node(), nullptr);
}

} // namespace
} // namespace db2test
