#include "support/EditRecorder.h"
#include "support/HeapThatRunsOut.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

class TreeUtilitiesCopyingTest : public ::testing::Test
{
protected:
    Attribute* intOf(const Node* node) { return node->findAttributeByName(L"Int"); }
    Attribute* floatOf(const Node* node) { return node->findAttributeByName(L"Float"); }
    AttributeArray* items(const Node* node) { return node->findAttributeArrayByName(L"IntItems"); }
    Node* plain(const wchar_t* name, Node* parent = nullptr) { return scene.nodeOf(Scene::kPlain, name, parent); }
    void reference(Attribute* referenced, Attribute* referencer, bool single = false)
    {
        ASSERT_EQ(core.db_createReference(referenced, referencer, single), Status::kSuccess);
    }
    void resize(AttributeArray* array, unsigned int size)
    {
        ASSERT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
    }
    /// "a(b(c)d)" for a with the children b, which has the child c, and d.
    static std::wstring shapeOf(const Node* node)
    {
        std::wstring shape = node->getName().c_str();
        if (node->getFirstChild() == nullptr)
            return shape;
        shape += L"(";
        for (const Node* child = node->getFirstChild(); child != nullptr; child = child->getNextSibling())
            shape += shapeOf(child);
        return shape + L")";
    }
    void expectLine(LogRecorder::Level level, const std::wstring& text)
    {
        EXPECT_EQ(scene.log().take(), (std::vector<LogRecorder::Line>{{level, L"KQDatabase2 : " + text}}));
    }
    void expectSilence() { EXPECT_EQ(scene.log().take(), std::vector<LogRecorder::Line>{}); }

    Node* copy(const Node* source, Node* parent, const wchar_t* name = nullptr)
    {
        return dbu_copyNodeRecursively(scene.root(), source, &data, &core, parent, nullptr, nullptr, name, false);
    }

    Scene scene;
    CoreManager& core = scene.core();
    EditRecorder data{&core};
    Node* target = plain(L"target");
};

// --- One node, no references ---

TEST_F(TreeUtilitiesCopyingTest, ANodeIsCopiedWithTypeNameAndPlace)
{
    Node* const a = scene.node(L"a");
    Node* const next = plain(L"next", target);
    Node* const made = dbu_copyNodeWithNoReferences(a, &data, &core, target, next, nullptr);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getNodeTemplate(), a->getNodeTemplate());
    EXPECT_EQ(shapeOf(target), L"target(anext)");
    EXPECT_EQ(data.take().front(), L"create 3 'a' under |target before |target|next");
}

TEST_F(TreeUtilitiesCopyingTest, ACopyCanHaveANameOfItsOwnAndIsMadeUnique)
{
    Node* const a = scene.node(L"a", target);
    EXPECT_EQ(dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, L"b")->getName(), L"b");
    const Node* const second = dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr);
    EXPECT_NE(second->getName(), L"a");
}

TEST_F(TreeUtilitiesCopyingTest, NullParentIsTheRoot)
{
    Node* const made = dbu_copyNodeWithNoReferences(scene.node(L"a", target), &data, &core, nullptr, nullptr, nullptr);
    EXPECT_EQ(made->getParent(), scene.root());
}

TEST_F(TreeUtilitiesCopyingTest, ValuesAreCopiedAsTheSourceShowsThem)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b");
    scene.write(intOf(a), 5);
    scene.write(floatOf(b), 2.5f);
    reference(floatOf(b), floatOf(a));
    resize(items(a), 2);
    scene.write(items(a)->getAttribute(1), 9);
    const Node* const made = dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr);
    EXPECT_EQ(intOf(made)->getValue().getInt(), 5);
    EXPECT_EQ(floatOf(made)->getValue().getFloat(), 2.5f);
    EXPECT_EQ(floatOf(made)->getReference(), nullptr);
    ASSERT_EQ(items(made)->getSize(), 2u);
    EXPECT_EQ(items(made)->getAttribute(1)->getValue().getInt(), 9);
}

TEST_F(TreeUtilitiesCopyingTest, DynamicElementsAreMadeLikeTheSources)
{
    Node* const a = scene.node(L"a");
    FloatAttributeMetaDataDef definition;
    definition.setDocString(L"how long");
    definition.setFlags(ElementMetaDataFlag::kAlwaysSave);
    definition.setDefaultValue(3.0f);
    scene.write(scene.dynamicAttribute(definition, L"length", a), 4.0f);
    IntAttributeMetaDataDef list;
    list.setArray(true);
    scene.dynamicAttribute(list, L"list", a);
    resize(a->findAttributeArrayByName(L"list"), 3);

    const Node* const made = dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr);
    ASSERT_EQ(made->getDynamicElementCount(), 2u);
    const Attribute* const length = made->findAttributeByName(L"length");
    EXPECT_TRUE(length->getMetaData()->compare(*a->findAttributeByName(L"length")->getMetaData()));
    EXPECT_EQ(length->getDefaultValue().getFloat(), 3.0f);
    EXPECT_EQ(length->getValue().getFloat(), 4.0f);
    EXPECT_EQ(made->findAttributeArrayByName(L"list")->getSize(), 3u);
    EXPECT_TRUE(length->isDynamic());
}

TEST_F(TreeUtilitiesCopyingTest, AnUnknownNodeKeepsTypeNameModuleAndElements)
{
    Node* const a = scene.unknownNode(L"a");
    Element* element = nullptr;
    ASSERT_EQ(core.createUnknownElement(IntAttributeMetaDataDef(), L"odd", a, &element), Status::kSuccess);
    scene.write(static_cast<Attribute*>(element), 8);
    scene.write(scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", a), 9);

    const Node* const made = dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr);
    EXPECT_EQ(data.take().front(), L"create unknown 'Gone' 'a' under |target");
    EXPECT_TRUE(made->isUnknown());
    EXPECT_FALSE(made->isLegacy());
    EXPECT_EQ(made->getTypeName(), L"Gone");
    EXPECT_EQ(made->getModule(), &scene.module());
    ASSERT_EQ(made->getElementCount(), 2u);
    EXPECT_TRUE(made->getElement(0)->isUnknown());
    EXPECT_EQ(made->findAttributeByName(L"odd")->getValue().getInt(), 8);
    EXPECT_TRUE(made->getElement(1)->isDynamic());
    EXPECT_EQ(made->findAttributeByName(L"extra")->getValue().getInt(), 9);
}

TEST_F(TreeUtilitiesCopyingTest, ALegacyNodeStaysLegacy)
{
    const Node* const made =
        dbu_copyNodeWithNoReferences(scene.unknownNode(L"a", nullptr, true), &data, &core, target, nullptr, nullptr);
    EXPECT_TRUE(made->isLegacy());
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenStayBehind)
{
    Node* const a = plain(L"a");
    plain(L"b", a);
    EXPECT_EQ(dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr)->getFirstChild(), nullptr);
    EXPECT_EQ(dbu_copyNode(a, &data, &core, target, nullptr, L"c")->getFirstChild(), nullptr);
}

TEST_F(TreeUtilitiesCopyingTest, ARefusedCreationGivesNull)
{
    const Node* const a = scene.node(L"a");
    data.refuse(L"create", Status::kFailure);
    EXPECT_EQ(dbu_copyNodeWithNoReferences(a, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNode(a, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNodeRecursivelyWithNoReferences(a, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(copy(a, target), nullptr);
    EXPECT_EQ(shapeOf(target), L"target");
}

TEST_F(TreeUtilitiesCopyingTest, ADynamicElementThatALayerRefusesIsPassedOver)
{
    Node* const a = scene.node(L"a");
    scene.write(scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", a), 1);
    scene.write(scene.dynamicAttribute(IntAttributeMetaDataDef(), L"y", a), 2);
    reference(intOf(a), a->findAttributeByName(L"x"));
    reference(floatOf(a), a->findAttributeByName(L"y"));
    data.refuse(L"add 'x'", Status::kFailure);
    const Node* const made = copy(a, target);
    EXPECT_EQ(made->findAttributeByName(L"x"), nullptr);
    ASSERT_NE(made->findAttributeByName(L"y"), nullptr);
    EXPECT_EQ(made->findAttributeByName(L"y")->getReference(), floatOf(made));
    expectLine(LogRecorder::kError, L"'.x' does not resolve to an attribute.");
}

TEST_F(TreeUtilitiesCopyingTest, NullsGiveNullAndChangeNothing)
{
    const Node* const a = scene.node(L"a");
    EXPECT_EQ(dbu_copyNodeWithNoReferences(nullptr, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNodeWithNoReferences(a, nullptr, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNodeWithNoReferences(a, &data, nullptr, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNode(nullptr, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbu_copyNodeRecursivelyWithNoReferences(nullptr, &data, &core, target, nullptr, nullptr), nullptr);
    EXPECT_EQ(copy(nullptr, target), nullptr);
    dbu_copyChildrenRecursivelyWithNoReferences(nullptr, &data, &core, target);
    dbu_copyChildrenRecursively(scene.root(), nullptr, &data, &core, target, nullptr, false);
    dbu_copyChildrenRecursively(scene.root(), a, nullptr, &core, target, nullptr, false);
    dbu_copyChildrenRecursively(scene.root(), a, &data, nullptr, target, nullptr, false);
    EXPECT_EQ(data.take(), Lines{});
}

// --- One node with its references ---

TEST_F(TreeUtilitiesCopyingTest, ACopyReferencesWhatTheSourceReferences)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b");
    resize(items(a), 2);
    reference(intOf(b), intOf(a));
    reference(floatOf(b), items(a)->getAttribute(1));
    const Node* const made = dbu_copyNode(a, &data, &core, target, nullptr, nullptr);
    EXPECT_EQ(intOf(made)->getReference(), intOf(b));
    EXPECT_EQ(items(made)->getAttribute(0)->getReference(), nullptr);
    EXPECT_EQ(items(made)->getAttribute(1)->getReference(), floatOf(b));
    EXPECT_EQ(intOf(a)->getReference(), intOf(b));
    expectSilence();
}

TEST_F(TreeUtilitiesCopyingTest, AReferenceWithinTheSourceLeadsFromTheCopyToTheSource)
{
    Node* const a = scene.node(L"a");
    reference(floatOf(a), intOf(a));
    const Node* const made = dbu_copyNode(a, &data, &core, target, nullptr, nullptr);
    EXPECT_EQ(intOf(made)->getReference(), floatOf(a));
}

TEST_F(TreeUtilitiesCopyingTest, ASingleOutputReferenceIsLeftOutWithAWarning)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b");
    reference(intOf(b), intOf(a), true);
    reference(floatOf(b), floatOf(a));
    const Node* const made = dbu_copyNode(a, &data, &core, target, nullptr, L"made");
    expectLine(LogRecorder::kWarning,
               L"Attribute 'Int' in node 'a' references a single output reference attribute, the "
               L"reference will not be copied.");
    EXPECT_EQ(intOf(made)->getReference(), nullptr);
    EXPECT_EQ(floatOf(made)->getReference(), floatOf(b));
    EXPECT_FALSE(floatOf(made)->referenceIsSingle());
}

// --- Subtrees without references ---

TEST_F(TreeUtilitiesCopyingTest, ASubtreeIsCopiedInOrder)
{
    Node* const a = plain(L"a");
    Node* const b = scene.node(L"b", a);
    plain(L"c", b);
    Node* const d = scene.node(L"d", a);
    reference(intOf(b), intOf(d));
    Node* const next = plain(L"next", target);
    const Node* const made = dbu_copyNodeRecursivelyWithNoReferences(a, &data, &core, target, next, L"copy");
    EXPECT_EQ(shapeOf(target), L"target(copy(b(c)d)next)");
    EXPECT_EQ(made, target->getFirstChild());
    EXPECT_EQ(intOf(made->getLastChild())->getReference(), nullptr);
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenAreCopiedBehindTheTargets)
{
    Node* const a = plain(L"a");
    plain(L"c", plain(L"b", a));
    plain(L"d", a);
    plain(L"first", target);
    dbu_copyChildrenRecursivelyWithNoReferences(a, &data, &core, target);
    EXPECT_EQ(shapeOf(target), L"target(firstb(c)d)");
}

TEST_F(TreeUtilitiesCopyingTest, ANodeCopiedIntoItselfHoldsWhatWasThereWhenItBegan)
{
    Node* const a = plain(L"a");
    plain(L"b", a);
    EXPECT_NE(dbu_copyNodeRecursivelyWithNoReferences(a, &data, &core, a, nullptr, nullptr), nullptr);
    EXPECT_EQ(shapeOf(a), L"a(ba(b))");
}

TEST_F(TreeUtilitiesCopyingTest, ANodeCopiedIntoItsDescendantHoldsWhatWasThereWhenItBegan)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    reference(intOf(a), intOf(b));
    const Node* const made = copy(a, b);
    EXPECT_EQ(shapeOf(a), L"a(b(a(b)))");
    EXPECT_EQ(intOf(made->getFirstChild())->getReference(), intOf(made));
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenCopiedIntoTheirParentAreThoseThatWereThere)
{
    Node* const a = plain(L"a");
    plain(L"b", a);
    plain(L"c", a);
    dbu_copyChildrenRecursivelyWithNoReferences(a, &data, &core, a);
    EXPECT_EQ(core.getStatistics().nodes, 2u + 1u + 4u);
    dbu_copyChildrenRecursively(scene.root(), a, &data, &core, a, nullptr, false);
    EXPECT_EQ(core.getStatistics().nodes, 2u + 1u + 8u);
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenOfANodeThatCouldNotBeCopiedAreLeftOut)
{
    Node* const a = plain(L"a");
    plain(L"c", plain(L"b", a));
    plain(L"d", a);
    data.refuse(L"create 2 'b'", Status::kFailure);
    dbu_copyNodeRecursivelyWithNoReferences(a, &data, &core, target, nullptr, nullptr);
    EXPECT_EQ(shapeOf(target), L"target(a(d))");
}

TEST_F(TreeUtilitiesCopyingTest, ADeepSubtreeNeedsNoDeepStack)
{
    Node* const top = plain(L"top");
    Node* deepest = top;
    for (int i = 0; i < 100000; ++i)
        deepest = plain(L"n", deepest);
    dbu_copyNodeRecursively(scene.root(), top, &core, &core, target, nullptr, nullptr, nullptr, false);
    EXPECT_EQ(core.getStatistics().nodes, 2u + 2u * 100001u);
}

TEST_F(TreeUtilitiesCopyingTest, EachAttributeOfALongChainOfReferencesIsCopiedWithTheValueItShows)
{
    for (const bool forwards : {true, false}) // each references the one before it, or the one behind
    {
        Node* const a = plain(L"a");
        std::vector<Node*> chain;
        for (int i = 0; i < 100; ++i)
            chain.push_back(scene.node(L"n", a));
        for (std::size_t i = 1; i < chain.size(); ++i)
            reference(intOf(chain[forwards ? i - 1 : i]), intOf(chain[forwards ? i : i - 1]));
        scene.write(intOf(forwards ? chain.front() : chain.back()), 77);
        const Node* const made = dbu_copyNodeRecursivelyWithNoReferences(a, &core, &core, target, nullptr, nullptr);
        for (const Node* copied = made->getFirstChild(); copied != nullptr; copied = copied->getNextSibling())
            ASSERT_EQ(intOf(copied)->getValue().getInt(), 77) << copied->getName().c_str();
    }
}

// --- Subtrees with references ---

TEST_F(TreeUtilitiesCopyingTest, AReferenceBetweenCopiedNodesLeadsFromCopyToCopy)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    resize(items(b), 2);
    reference(intOf(a), intOf(b));
    reference(items(b)->getAttribute(1), floatOf(a));
    const Node* const made = copy(a, target);
    const Node* const madeB = made->getFirstChild();
    EXPECT_EQ(intOf(madeB)->getReference(), intOf(made));
    EXPECT_EQ(floatOf(made)->getReference(), items(madeB)->getAttribute(1));
    EXPECT_EQ(intOf(b)->getReference(), intOf(a));
    expectSilence();
}

TEST_F(TreeUtilitiesCopyingTest, AReferenceFromOutsideLeadsToTheSameAttribute)
{
    Node* const a = scene.node(L"a");
    Node* const outside = scene.node(L"outside");
    reference(intOf(outside), intOf(a));
    EXPECT_EQ(intOf(copy(a, target))->getReference(), intOf(outside));
}

TEST_F(TreeUtilitiesCopyingTest, WhatReferencesTheSourceFromOutsideIsNotCopied)
{
    Node* const a = scene.node(L"a");
    Node* const outside = scene.node(L"outside");
    reference(intOf(a), intOf(outside));
    EXPECT_EQ(intOf(copy(a, target))->getReferents(), nullptr);
    EXPECT_EQ(intOf(outside)->getReference(), intOf(a));
}

TEST_F(TreeUtilitiesCopyingTest, ReferencesAreMadeInTheOrderOfTheirHoldersWhenAllNodesAreThere)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    reference(intOf(b), floatOf(a));
    reference(floatOf(b), intOf(a));
    reference(floatOf(b), intOf(b));
    copy(a, target);
    const Lines lines = data.take();
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{L"reference |target|a|b.Float from |target|a.Int",
                                                          L"reference |target|a|b.Int from |target|a.Float",
                                                          L"reference |target|a|b.Float from |target|a|b.Int"}));
}

TEST_F(TreeUtilitiesCopyingTest, InternalOnlyLeavesReferencesFromOutsideOut)
{
    Node* const a = scene.node(L"a");
    Node* const outside = scene.node(L"outside");
    reference(intOf(outside), intOf(a));
    reference(intOf(a), floatOf(a));
    const Node* const made =
        dbu_copyNodeRecursively(scene.root(), a, &data, &core, target, nullptr, nullptr, nullptr, true);
    EXPECT_EQ(intOf(made)->getReference(), nullptr);
    EXPECT_EQ(floatOf(made)->getReference(), intOf(made));
}

TEST_F(TreeUtilitiesCopyingTest, AnInternalSingleOutputReferenceIsOneInTheCopyToo)
{
    Node* const a = scene.node(L"a");
    reference(intOf(a), floatOf(a), true);
    const Node* const made = copy(a, target);
    EXPECT_EQ(floatOf(made)->getReference(), intOf(made));
    EXPECT_TRUE(floatOf(made)->referenceIsSingle());
    expectSilence();
}

TEST_F(TreeUtilitiesCopyingTest, ASingleOutputOutsideCannotBeHadTwice)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    Node* const outside = scene.node(L"outside");
    reference(intOf(outside), intOf(b), true);
    reference(floatOf(outside), floatOf(b));
    const Node* const made = copy(a, target);
    expectLine(LogRecorder::kWarning,
               L"The reference from '|outside.Int' to '|b.Int' is a single output reference, it is not possible to "
               L"create another reference to '|outside.Int'");
    EXPECT_EQ(intOf(made->getFirstChild())->getReference(), nullptr);
    EXPECT_EQ(floatOf(made->getFirstChild())->getReference(), floatOf(outside));
}

TEST_F(TreeUtilitiesCopyingTest, TheTopNodeOfASubtreeHasThePathOfItsAttributeOnly)
{
    Node* const a = scene.node(L"a");
    reference(intOf(scene.node(L"outside")), intOf(a), true);
    copy(a, target);
    expectLine(
        LogRecorder::kWarning,
        L"The reference from '|outside.Int' to '.Int' is a single output reference, it is not possible to create "
        L"another reference to '|outside.Int'");
}

TEST_F(TreeUtilitiesCopyingTest, WithoutARootPathsBeginAtTheTopmostNode)
{
    Node* const a = scene.node(L"a");
    Node* const outside = scene.node(L"outside");
    reference(intOf(outside), intOf(a));
    const Node* const made =
        dbu_copyNodeRecursively(nullptr, a, &data, &core, target, nullptr, nullptr, nullptr, false);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(intOf(made)->getReference(), intOf(outside));
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenAreCopiedWithTheReferencesBetweenThem)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    Node* const c = scene.node(L"c", a);
    reference(intOf(b), intOf(c));
    reference(floatOf(a), floatOf(c)); // the source itself is outside
    dbu_copyChildrenRecursively(scene.root(), a, &data, &core, target, nullptr, false);
    EXPECT_EQ(shapeOf(target), L"target(bc)");
    EXPECT_EQ(intOf(target->getLastChild())->getReference(), intOf(target->getFirstChild()));
    EXPECT_EQ(floatOf(target->getLastChild())->getReference(), floatOf(a));
}

TEST_F(TreeUtilitiesCopyingTest, ChildrenInternalOnlyLeaveTheSourceOut)
{
    Node* const a = scene.node(L"a");
    Node* const c = scene.node(L"c", a);
    reference(floatOf(a), floatOf(c));
    dbu_copyChildrenRecursively(scene.root(), a, &data, &core, target, nullptr, true);
    EXPECT_EQ(floatOf(target->getFirstChild())->getReference(), nullptr);
}

TEST_F(TreeUtilitiesCopyingTest, ATakenNameOnTheWayDoesNotMisleadInternalReferences)
{
    Node* const a = scene.node(L"a", target);
    Node* const b = scene.node(L"b", a);
    reference(intOf(a), intOf(b));
    const Node* const made = copy(a, target);
    ASSERT_NE(made->getName(), L"a");
    EXPECT_EQ(intOf(made->getFirstChild())->getReference(), intOf(made));
}

TEST_F(TreeUtilitiesCopyingTest, WithoutMemoryTheSourceStaysAsItIs)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    scene.write(scene.dynamicAttribute(StringAttributeMetaDataDef(), L"text", b), L"a text that needs memory");
    resize(items(b), 20);
    reference(intOf(a), intOf(b));
    const std::wstring before = dumpTree(core, DumpDetail::kContent);
    bool ranOut = true;
    for (std::size_t granted = 0; ranOut; ++granted)
    {
        SCOPED_TRACE(::testing::Message() << "allocations granted: " << granted);
        {
            const HeapThatRunsOut heap(granted);
            dbu_copyNodeRecursively(scene.root(), a, &core, &core, target, nullptr, nullptr, L"copy", false);
            ranOut = heap.hasRunOut();
        }
        const Node* const copy = target->getFirstChild();
        if (!ranOut)
        {
            EXPECT_EQ(shapeOf(copy), L"copy(b)");
        }
        dbu_destroyChildrenRecursively(target, &core);
        ASSERT_TRUE(isSameDump(before, dumpTree(core, DumpDetail::kContent)));
        ASSERT_LT(granted, 1000u);
    }
}

// --- Into another tree ---

class TreeUtilitiesCopyingToAnotherTreeTest : public TreeUtilitiesCopyingTest
{
protected:
    Node* make(const wchar_t* name)
    {
        Node* node = nullptr;
        EXPECT_EQ(other.db_createNode(Scene::kAll, name, nullptr, nullptr, &node), Status::kSuccess);
        return node;
    }
    Node* copyOver(const Node* source, const Node* targetRoot)
    {
        return dbu_copyNodeRecursively(scene.root(), source, &other, &other, other.getRoot(), nullptr, targetRoot,
                                       nullptr, false);
    }

    CoreManager other{scene.registry(), Scene::kRoot};
};

TEST_F(TreeUtilitiesCopyingToAnotherTreeTest, AReferenceFromOutsideLeadsToTheSamePathThere)
{
    Node* const a = scene.node(L"a");
    reference(intOf(scene.node(L"outside")), intOf(a));
    Node* const outsideThere = make(L"outside");
    const Node* const made = copyOver(a, other.getRoot());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getParent(), other.getRoot());
    EXPECT_EQ(intOf(made)->getReference(), intOf(outsideThere));
    expectSilence();
}

TEST_F(TreeUtilitiesCopyingToAnotherTreeTest, APathThatLeadsNowhereThereIsAnErrorAndTheRestGoesOn)
{
    Node* const a = scene.node(L"a");
    Node* const outside = scene.node(L"outside");
    reference(intOf(outside), intOf(a));
    reference(intOf(a), floatOf(a));
    const Node* const made = copyOver(a, other.getRoot());
    expectLine(LogRecorder::kError, L"'|outside.Int' does not resolve to an attribute.");
    EXPECT_EQ(intOf(made)->getReference(), nullptr);
    EXPECT_EQ(floatOf(made)->getReference(), intOf(made));
}

TEST_F(TreeUtilitiesCopyingToAnotherTreeTest, ASingleOutputThereThatIsTakenIsLeftOut)
{
    Node* const a = scene.node(L"a");
    reference(intOf(scene.node(L"outside")), intOf(a));
    Node* const outsideThere = make(L"outside");
    ASSERT_EQ(other.db_createReference(intOf(outsideThere), intOf(make(L"taker")), true), Status::kSuccess);
    const Node* const made = copyOver(a, other.getRoot());
    expectLine(
        LogRecorder::kWarning,
        L"The reference from '|outside.Int' to '.Int' is a single output reference, it is not possible to create "
        L"another reference to '|outside.Int'");
    EXPECT_EQ(intOf(made)->getReference(), nullptr);
}

TEST_F(TreeUtilitiesCopyingToAnotherTreeTest, ASingleOutputReferenceStaysOneWhereItIsFree)
{
    Node* const a = scene.node(L"a");
    reference(intOf(scene.node(L"outside")), intOf(a), true);
    Node* const outsideThere = make(L"outside");
    const Node* const made = copyOver(a, other.getRoot());
    EXPECT_EQ(intOf(made)->getReference(), intOf(outsideThere));
    EXPECT_TRUE(intOf(made)->referenceIsSingle());
    expectSilence();
}

TEST_F(TreeUtilitiesCopyingToAnotherTreeTest, ATargetRootThatHasAParentIsRefused)
{
    const Node* const a = scene.node(L"a");
    EXPECT_EQ(copyOver(a, make(L"noRoot")), nullptr);
    dbu_copyChildrenRecursively(scene.root(), scene.root(), &other, &other, other.getRoot(),
                                other.getRoot()->getFirstChild(), false);
    EXPECT_EQ(shapeOf(other.getRoot()), L"Root(noRoot)");
}

} // namespace
} // namespace db2test
