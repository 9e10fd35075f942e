#include "support/EditRecorder.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

/// Known nodes that become unknown ones. (The way back is a loader's.)
class TreeUtilitiesUnknownNodesTest : public ::testing::Test
{
protected:
    enum TypeId : unsigned int
    {
        kThing = 50,
        kForeign
    };

    TreeUtilitiesUnknownNodesTest()
    {
        auto* const thing = new NodeTemplate(L"Thing", kThing, scene.module());
        IntAttributeMetaDataDef number;
        EXPECT_EQ(thing->addAttribute(number, L"number"), Status::kSuccess);
        number.setArray(true);
        EXPECT_EQ(thing->addAttribute(number, L"list"), Status::kSuccess);
        EnumAttributeMetaDataDef colour;
        colour.addChoice(L"red");
        colour.addChoice(L"green");
        EXPECT_EQ(thing->addAttribute(colour, L"colour"), Status::kSuccess);
        EXPECT_EQ(scene.registry().registerNodeTemplate(thing), Status::kSuccess);

        foreignModule.setId(L"Foreign");
        EXPECT_EQ(scene.registry().registerNodeTemplate(new NodeTemplate(L"Foreign", kForeign, foreignModule)),
                  Status::kSuccess);
    }

    static Attribute* number(const Node* node) { return node->findAttributeByName(L"number"); }
    static AttributeArray* list(const Node* node) { return node->findAttributeArrayByName(L"list"); }
    void reference(Attribute* referenced, Attribute* referencer, bool single = false)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, single), Status::kSuccess);
    }
    Node* replace(Node* node) { return dbu_replaceKnownNodeWithUnknownNode(node, &data, &scene.core()); }
    /// The names of the nodes below the root in order, unknown ones with a question mark.
    std::wstring names()
    {
        std::wstring names;
        for (NodeIterator walk(scene.root()); walk.next();)
            names += std::wstring(walk.node()->getName()) + (walk.node()->isUnknown() ? L"? " : L" ");
        return names;
    }

    Module foreignModule;
    Scene scene;
    EditRecorder data{&scene.core()};
};

TEST_F(TreeUtilitiesUnknownNodesTest, TheReplacementHasNamePlaceTypeAndModule)
{
    scene.nodeOf(kThing, L"before");
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.nodeOf(kThing, L"after");
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(node->isDestroyed());
    EXPECT_TRUE(made->isUnknown());
    EXPECT_FALSE(made->isLegacy());
    EXPECT_EQ(names(), L"before node? after ");
    EXPECT_EQ(made->getTypeName(), L"Thing");
    EXPECT_EQ(made->getModule(), &scene.module());
}

TEST_F(TreeUtilitiesUnknownNodesTest, TheStepsGoThroughTheInterfaceInTheirOrder)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", node);
    scene.nodeOf(kThing, L"x", node);
    scene.nodeOf(kThing, L"y", node);
    scene.nodeOf(kThing, L"after");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(list(node), 1), Status::kSuccess);
    reference(number(node), number(scene.nodeOf(kThing, L"z")));
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(data.take(),
              (Lines{L"create unknown 'Thing' 'node' under | before |after", L"lock |node0.number",
                     L"unlock |node0.number", L"unreference |z.number", L"reference |node0.number from |z.number",
                     L"resize |node0:list to 1", L"lock |node0:list[0]", L"unlock |node0:list[0]",
                     L"lock |node0.colour", L"unlock |node0.colour", L"add 'extra' to |node0", L"lock |node0.extra",
                     L"unlock |node0.extra", L"move |node|x under |node0", L"move |node|y under |node0",
                     L"destroy element |node.extra", L"destroy |node", L"rename |node0 to 'node'"}));
}

TEST_F(TreeUtilitiesUnknownNodesTest, ElementsKeepKindMetadataAndValues)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.write(number(node), 5);
    scene.write(node->findAttributeByName(L"colour"), 1);
    ASSERT_EQ(scene.core().db_resizeAttributeArray(list(node), 2), Status::kSuccess);
    scene.write(list(node)->getAttribute(1), 6);
    IntAttributeMetaDataDef definition;
    definition.setDocString(L"more");
    scene.write(scene.dynamicAttribute(definition, L"extra", node), 7);

    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    ASSERT_EQ(made->getElementCount(), 4u);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_TRUE(made->getElement(i)->isUnknown());
    EXPECT_TRUE(made->getElement(3)->isDynamic());
    EXPECT_EQ(number(made)->getValue().getInt(), 5);
    ASSERT_EQ(list(made)->getSize(), 2u);
    EXPECT_EQ(list(made)->getAttribute(1)->getValue().getInt(), 6);
    const Attribute* const colour = made->findAttributeByName(L"colour");
    EXPECT_EQ(colour->getValue().getInt(), 1);
    EXPECT_STREQ(static_cast<const EnumAttributeMetaData*>(colour->getMetaData())->getChoice(1), L"green");
    const Attribute* const extra = made->findAttributeByName(L"extra");
    EXPECT_EQ(extra->getValue().getInt(), 7);
    EXPECT_STREQ(extra->getDocString(), L"more");
}

TEST_F(TreeUtilitiesUnknownNodesTest, ReferencesAtBothEndsMoveOver)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    Node* const other = scene.nodeOf(kThing, L"other");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(list(node), 2), Status::kSuccess);
    reference(number(other), number(node));
    reference(list(node)->getAttribute(1), other->findAttributeByName(L"colour"), true);
    scene.write(number(other), 3);
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(number(made)->getReference(), number(other));
    EXPECT_EQ(other->findAttributeByName(L"colour")->getReference(), list(made)->getAttribute(1));
    EXPECT_TRUE(other->findAttributeByName(L"colour")->referenceIsSingle());
    EXPECT_EQ(scene.core().getStatistics().references, 2u);
}

TEST_F(TreeUtilitiesUnknownNodesTest, AReferenceWithinTheNodeStaysWithinIt)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    reference(number(node), node->findAttributeByName(L"colour"));
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->findAttributeByName(L"colour")->getReference(), number(made));
}

TEST_F(TreeUtilitiesUnknownNodesTest, ChildrenKeepTheirOrderAndNames)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.nodeOf(kThing, L"x", node);
    scene.nodeOf(kThing, L"node", node);
    replace(node);
    EXPECT_EQ(names(), L"node? x node ");
}

TEST_F(TreeUtilitiesUnknownNodesTest, UnknownNodesTheRootAndNullsGiveNull)
{
    Node* const unknown = scene.unknownNode(L"unknown");
    Node* const node = scene.nodeOf(kThing, L"node");
    EXPECT_EQ(replace(unknown), nullptr);
    EXPECT_EQ(replace(scene.root()), nullptr);
    EXPECT_EQ(replace(nullptr), nullptr);
    EXPECT_EQ(dbu_replaceKnownNodeWithUnknownNode(node, nullptr, &scene.core()), nullptr);
    EXPECT_EQ(dbu_replaceKnownNodeWithUnknownNode(node, &data, nullptr), nullptr);
    EXPECT_EQ(names(), L"unknown? node ");
}

TEST_F(TreeUtilitiesUnknownNodesTest, ARefusedCreationGivesNullAndChangesNothing)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    const std::wstring before = dumpTree(scene.core());
    data.refuse(L"create unknown", Status::kFailure);
    EXPECT_EQ(replace(node), nullptr);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core())));
}

TEST_F(TreeUtilitiesUnknownNodesTest, AChildThatCannotBeMovedStaysWithTheOldNode)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.nodeOf(kThing, L"x", node);
    scene.nodeOf(kThing, L"y", node);
    data.refuse(L"move |node|y", Status::kFailure);
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_FALSE(node->isDestroyed());
    ASSERT_NE(node->getFirstChild(), nullptr);
    EXPECT_EQ(node->getFirstChild()->getName(), L"y");
    EXPECT_EQ(made->getFirstChild()->getName(), L"x");
}

TEST_F(TreeUtilitiesUnknownNodesTest, AnElementThatCannotBeMadeStaysWithTheOldNodeAndSoDoTheChildren)
{
    Node* const node = scene.nodeOf(kThing, L"node");
    scene.write(scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", node), 7);
    scene.nodeOf(kThing, L"x", node);
    data.refuse(L"add 'extra'", Status::kFailure);
    const Node* const made = replace(node);
    ASSERT_NE(made, nullptr);
    EXPECT_FALSE(node->isDestroyed());
    EXPECT_EQ(node->findAttributeByName(L"extra")->getValue().getInt(), 7);
    EXPECT_EQ(names(), L"node x node0? ");
}

// --- All nodes of a module ---

TEST_F(TreeUtilitiesUnknownNodesTest, EveryNodeOfTheModuleBelowTheRootIsReplaced)
{
    Node* const a = scene.nodeOf(kThing, L"a");
    Node* const b = scene.nodeOf(kForeign, L"b", a);
    scene.nodeOf(kThing, L"c", scene.nodeOf(kThing, L"d", b));
    scene.nodeOf(kThing, L"e");
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &scene.core()),
              Status::kSuccess);
    EXPECT_EQ(names(), L"a? b d? c? e? ");
    EXPECT_FALSE(scene.root()->isUnknown());
}

TEST_F(TreeUtilitiesUnknownNodesTest, NodesOfOtherModulesAndThoseOutsideStay)
{
    Node* const a = scene.nodeOf(kForeign, L"a");
    scene.nodeOf(kThing, L"b", a);
    scene.nodeOf(kThing, L"c");
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), a, &data, &scene.core()), Status::kSuccess);
    EXPECT_EQ(names(), L"a b? c ");
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&foreignModule, scene.root(), &data, &scene.core()),
              Status::kSuccess);
    EXPECT_EQ(names(), L"a? b? c ");
}

TEST_F(TreeUtilitiesUnknownNodesTest, ANodeThatCannotBeReplacedDoesNotEndTheConversion)
{
    Node* const a = scene.nodeOf(kThing, L"a");
    scene.nodeOf(kThing, L"b", a);
    scene.nodeOf(kThing, L"c");
    data.refuse(L"create unknown 'Thing' 'a'", Status::kFailure);
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &scene.core()),
              Status::kSuccess);
    EXPECT_EQ(names(), L"a b? c? ");
}

TEST_F(TreeUtilitiesUnknownNodesTest, ConvertingEndsWhereAChildCannotBeMoved)
{
    Node* const a = scene.nodeOf(kThing, L"a");
    scene.nodeOf(kThing, L"b", a);
    scene.nodeOf(kThing, L"c");
    data.refuse(L"move |a|b", Status::kFailure);
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &scene.core()),
              Status::kSuccess); // and does not replace the node that stays over and over
    EXPECT_TRUE(scene.root()->findChildByName(L"c")->isUnknown());
}

TEST_F(TreeUtilitiesUnknownNodesTest, ConvertingRefusesNull)
{
    scene.nodeOf(kThing, L"a");
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(nullptr, scene.root(), &data, &scene.core()),
              Status::kFailure);
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), nullptr, &data, &scene.core()),
              Status::kFailure);
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), nullptr, &scene.core()),
              Status::kFailure);
    EXPECT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, nullptr),
              Status::kFailure);
    EXPECT_EQ(names(), L"a ");
}

} // namespace
} // namespace db2test
