#include "support/EveryOperation.h"
#include "support/Scene.h"

#include <db2/UndoManager.h>
#include <db2/testing/RecordingLayer.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace db2test {
namespace {

/// An arm with a hand, a shelf beside it, and a watch on the arm. Nodes that the scene makes itself go past the layer.
class WatchManagerTest : public ::testing::Test
{
protected:
    WatchManagerTest() { EXPECT_EQ(watches.addWatch(arm), Status::kSuccess); }

    /// Makes the edit, which must succeed, with the watch armed. @return whether it marked the watch on the arm.
    bool marks(const std::function<Status()>& edit)
    {
        EXPECT_EQ(watches.resetWatch(arm), Status::kSuccess);
        EXPECT_EQ(edit(), Status::kSuccess);
        return watches.hasWatchedNodeChanged(arm);
    }

    Scene scene;
    RefusingLayer next{&scene.core()};
    WatchManager watches{&next};
    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
    Node* shelf = scene.node(L"shelf");
};

// --- Watches ---

TEST_F(WatchManagerTest, AWatchStartsArmed)
{
    EXPECT_EQ(watches.addWatch(hand), Status::kSuccess);
    EXPECT_TRUE(watches.isNodeWatched(hand));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(hand));
    EXPECT_EQ(hand->getFlags() & NodeFlag::kWatchFlags, 0x800u);
}

TEST_F(WatchManagerTest, ANodeIsWatchedOnce)
{
    EXPECT_EQ(static_cast<unsigned int>(watches.addWatch(arm)), 68u);
    EXPECT_EQ(watches.removeWatch(arm), Status::kSuccess);
    EXPECT_FALSE(watches.isNodeWatched(arm)) << "and one removal ends it";
    EXPECT_EQ(watches.removeWatch(arm), Status::kRemoveUnwatched);
}

TEST_F(WatchManagerTest, ASecondWatchLeavesTheFirstOnesMarksAlone)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    ASSERT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    EXPECT_EQ(watches.addWatch(arm), Status::kAlreadyWatched);
    EXPECT_EQ(arm->getFlags() & NodeFlag::kWatchFlags, NodeFlag::kWatchFlags);
}

TEST_F(WatchManagerTest, NullHasNoWatch)
{
    EXPECT_EQ(watches.addWatch(nullptr), Status::kFailure);
    EXPECT_EQ(static_cast<unsigned int>(watches.removeWatch(nullptr)), 69u);
    EXPECT_EQ(static_cast<unsigned int>(watches.enableWatch(nullptr, true)), 71u);
    EXPECT_EQ(static_cast<unsigned int>(watches.resetWatch(nullptr)), 4u);
    EXPECT_FALSE(watches.isNodeWatched(nullptr));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(nullptr));
}

TEST_F(WatchManagerTest, ANodeThatIsNotWatchedHasNoWatch)
{
    EXPECT_EQ(static_cast<unsigned int>(watches.removeWatch(shelf)), 69u);
    EXPECT_EQ(static_cast<unsigned int>(watches.enableWatch(shelf, false)), 71u);
    EXPECT_EQ(static_cast<unsigned int>(watches.resetWatch(shelf)), 70u);
    EXPECT_FALSE(watches.isNodeWatched(shelf));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(shelf));
    EXPECT_FALSE(shelf->hasAnyFlag(NodeFlag::kWatchFlags));
}

TEST_F(WatchManagerTest, HasChangedIsFalseForANodeWithoutAWatchWhateverItsMark)
{
    shelf->setFlag(NodeFlag::kWatchChanged);
    EXPECT_FALSE(watches.hasWatchedNodeChanged(shelf));
    shelf->clearFlag(NodeFlag::kWatchChanged);
}

TEST_F(WatchManagerTest, RemovingAWatchClearsAllItsMarks)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    ASSERT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    EXPECT_EQ(watches.removeWatch(arm), Status::kSuccess);
    EXPECT_FALSE(arm->hasAnyFlag(NodeFlag::kWatchFlags));
    ASSERT_EQ(watches.db_renameNode(hand, L"hook"), Status::kSuccess);
    EXPECT_FALSE(arm->hasAnyFlag(NodeFlag::kWatchFlags)) << "and no edit marks it any more";
}

TEST_F(WatchManagerTest, AMarkedWatchStaysMarkedUntilItIsReset)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    ASSERT_EQ(watches.db_renameNode(hand, L"hook"), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm)) << "asking changes nothing";
    EXPECT_EQ(watches.resetWatch(arm), Status::kSuccess);
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
    ASSERT_EQ(watches.db_renameNode(hand, L"hand"), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
}

TEST_F(WatchManagerTest, ADisabledWatchIsNotMarkedAndNotWhenItIsEnabledAgainEither)
{
    EXPECT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    EXPECT_FALSE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    EXPECT_EQ(watches.enableWatch(arm, true), Status::kSuccess);
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
    EXPECT_TRUE(marks([&] { return watches.db_renameNode(hand, L"hook"); }));
}

TEST_F(WatchManagerTest, DisablingAWatchLeavesItsMark)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    EXPECT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
    EXPECT_EQ(watches.enableWatch(arm, true), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
    EXPECT_EQ(watches.resetWatch(arm), Status::kSuccess);
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
}

TEST_F(WatchManagerTest, ResettingADisabledWatchLeavesItDisabled)
{
    ASSERT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    EXPECT_EQ(watches.resetWatch(arm), Status::kSuccess);
    EXPECT_FALSE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
}

// --- Whom an edit marks ---

TEST_F(WatchManagerTest, TheWatchesOnTheNodeAndOnItsAncestorsAreMarkedAndNoOthers)
{
    Node* const finger = scene.node(L"finger", hand);
    Node* const other = scene.node(L"other", arm);
    for (Node* const node : {scene.root(), hand, finger, other, shelf})
        ASSERT_EQ(watches.addWatch(node), Status::kSuccess);
    ASSERT_EQ(watches.db_renameNode(hand, L"claw"), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(scene.root()));
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
    EXPECT_TRUE(watches.hasWatchedNodeChanged(hand));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(finger));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(other));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(shelf));
}

TEST_F(WatchManagerTest, AMarkedOrDisabledWatchOnTheWayDoesNotHideThoseAboveIt)
{
    Node* const finger = scene.node(L"finger", hand);
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(watches.addWatch(finger), Status::kSuccess);
    ASSERT_EQ(watches.enableWatch(hand, false), Status::kSuccess);
    ASSERT_EQ(watches.db_renameNode(finger, L"thumb"), Status::kSuccess);
    ASSERT_TRUE(watches.hasWatchedNodeChanged(finger));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(hand));
    EXPECT_TRUE(marks([&] { return watches.db_renameNode(finger, L"toe"); })) << "through the marked one, too";
}

// --- The marking table, row by row ---

TEST_F(WatchManagerTest, ACreatedNodeMarks)
{
    Node* made = nullptr;
    EXPECT_TRUE(marks([&] { return watches.db_createNode(Scene::kAll, L"made", arm, hand, &made); }));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getNextSibling(), hand);
    EXPECT_FALSE(marks([&] { return watches.db_createNode(Scene::kAll, L"made", shelf, nullptr, nullptr); }));
}

TEST_F(WatchManagerTest, ACreatedUnknownNodeMarks)
{
    Node* made = nullptr;
    EXPECT_TRUE(
        marks([&] { return watches.db_createUnknownNode(L"Gone", scene.module(), L"made", arm, hand, true, &made); }));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getNextSibling(), hand);
    EXPECT_TRUE(made->isLegacy());
    EXPECT_FALSE(marks([&] {
        return watches.db_createUnknownNode(L"Gone", scene.module(), L"made", shelf, nullptr, false, nullptr);
    }));
}

TEST_F(WatchManagerTest, ADestroyedNodeMarks)
{
    EXPECT_TRUE(marks([&] { return watches.db_destroyLeafNode(hand); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyLeafNode(shelf); }));
}

TEST_F(WatchManagerTest, ADestroyedNodesOwnWatchEndsUnmarked)
{
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(watches.enableWatch(hand, false), Status::kSuccess);
    EXPECT_TRUE(marks([&] { return watches.db_destroyLeafNode(hand); }));
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kWatchFlags));
    EXPECT_FALSE(watches.isNodeWatched(hand));
    EXPECT_EQ(watches.removeWatch(hand), Status::kRemoveUnwatched);
}

TEST_F(WatchManagerTest, ARefusedDestructionLeavesTheNodesOwnWatch)
{
    EXPECT_EQ(watches.db_destroyLeafNode(arm), Status::kNodeHasChildren);
    EXPECT_TRUE(watches.isNodeWatched(arm));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
}

TEST_F(WatchManagerTest, ARenamedNodeMarks)
{
    EXPECT_TRUE(marks([&] { return watches.db_renameNode(arm, L"leg"); }));
    EXPECT_TRUE(marks([&] { return watches.db_renameNode(hand, L"foot"); }));
    EXPECT_FALSE(marks([&] { return watches.db_renameNode(shelf, L"board"); }));
}

TEST_F(WatchManagerTest, ReparentMarksTheSubtreeThatTheNodeLeaves)
{
    EXPECT_TRUE(marks([&] { return watches.db_reparentNode(hand, shelf, nullptr, nullptr); }));
}

TEST_F(WatchManagerTest, ReparentMarksTheSubtreeThatTheNodeComesTo)
{
    Node* const made = scene.node(L"made");
    EXPECT_TRUE(marks([&] { return watches.db_reparentNode(made, arm, hand, L"other"); }));
    EXPECT_EQ(made->getNextSibling(), hand);
    EXPECT_EQ(made->getName(), L"other");
}

TEST_F(WatchManagerTest, ReparentMarksNeitherTheNodeItselfNorWhatIsBelowIt)
{
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    EXPECT_FALSE(marks([&] { return watches.db_reparentNode(arm, shelf, nullptr, nullptr); }));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(hand));
}

TEST_F(WatchManagerTest, ReparentOfNullIsRefusedWithoutForwarding)
{
    const unsigned int before = next.calls();
    EXPECT_EQ(static_cast<unsigned int>(watches.db_reparentNode(nullptr, arm, nullptr, nullptr)), 21u);
    EXPECT_EQ(next.calls(), before);
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
}

TEST_F(WatchManagerTest, AReorderMarksTheNodeAndSoItsParentsWatchButNotTheNextOnes)
{
    Node* const other = scene.node(L"other", arm);
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(watches.addWatch(other), Status::kSuccess);
    EXPECT_TRUE(marks([&] { return watches.db_reorderNode(other, hand); }));
    EXPECT_EQ(arm->getFirstChild(), other);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(other));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(hand));
}

TEST_F(WatchManagerTest, ACreatedDynamicElementMarksItsNode)
{
    Element* made = nullptr;
    const IntAttributeMetaDataDef definition;
    EXPECT_TRUE(marks([&] { return watches.db_createDynamicElement(definition, L"made", hand, nullptr, &made); }));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made, hand->findElementByName(L"made"));
    EXPECT_TRUE(marks([&] { return watches.db_createDynamicElement(definition, L"first", hand, made, nullptr); }));
    EXPECT_EQ(hand->getDynamicElement(1), made);
    EXPECT_FALSE(marks([&] { return watches.db_createDynamicElement(definition, L"made", shelf, nullptr, nullptr); }));
}

TEST_F(WatchManagerTest, ARenamedDynamicElementMarksItsNode)
{
    Element* const extra = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", hand);
    EXPECT_TRUE(marks([&] { return watches.db_renameDynamicElement(extra, L"other"); }));
}

TEST_F(WatchManagerTest, ADestroyedDynamicElementMarksItsNode)
{
    Element* const extra = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", hand);
    EXPECT_TRUE(marks([&] { return watches.db_destroyDynamicElement(extra); }));
}

TEST_F(WatchManagerTest, AResizedArrayMarksItsNode)
{
    EXPECT_TRUE(marks([&] { return watches.db_resizeAttributeArray(hand->findAttributeArrayByName(L"IntItems"), 3); }));
}

TEST_F(WatchManagerTest, AReferenceMarksTheReferencersNodeOnly)
{
    Attribute* const here = hand->findAttributeByName(L"Int");
    Attribute* const elsewhere = shelf->findAttributeByName(L"Int");
    EXPECT_TRUE(marks([&] { return watches.db_createReference(elsewhere, here, true); }));
    EXPECT_TRUE(here->referenceIsSingle());
    EXPECT_TRUE(marks([&] { return watches.db_destroyReference(here); }));
    EXPECT_FALSE(marks([&] { return watches.db_createReference(here, elsewhere, false); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyReference(elsewhere); }));
}

TEST_F(WatchManagerTest, AReferenceOfAnArrayItemMarksTheItemsNode)
{
    AttributeArray* const items = hand->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(items, 1), Status::kSuccess);
    EXPECT_TRUE(marks(
        [&] { return watches.db_createReference(shelf->findAttributeByName(L"Int"), items->getAttribute(0), false); }));
}

TEST_F(WatchManagerTest, ALockMarksAndItsUnlockDoesNot)
{
    Attribute* const attribute = hand->findAttributeByName(L"Int");
    ValueHandle value;
    EXPECT_TRUE(marks([&] { return watches.db_lockAttribute(attribute, &value); }));
    value.getInt() = 3;
    EXPECT_FALSE(marks([&] { return watches.db_unlockAttribute(attribute); }));
    EXPECT_EQ(attribute->getValue().getInt(), 3);
}

TEST_F(WatchManagerTest, ALockOfAnArrayMarksAndItsUnlockDoesNot)
{
    AttributeArray* const items = hand->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(items, 1), Status::kSuccess);
    void* values = nullptr;
    EXPECT_TRUE(marks([&] { return watches.db_lockAttributeArray(items, &values); }));
    ASSERT_NE(values, nullptr);
    *static_cast<int*>(values) = 3;
    EXPECT_FALSE(marks([&] { return watches.db_unlockAttributeArray(items); }));
    EXPECT_EQ(items->getAttribute(0)->getValue().getInt(), 3);
}

TEST_F(WatchManagerTest, ALockOfAnItemMarksItsNode)
{
    AttributeArray* const items = hand->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(items, 1), Status::kSuccess);
    ValueHandle value;
    EXPECT_TRUE(marks([&] { return watches.db_lockAttribute(items->getAttribute(0), &value); }));
    ASSERT_EQ(watches.db_unlockAttribute(items->getAttribute(0)), Status::kSuccess);
}

TEST_F(WatchManagerTest, CommitsMarkNothingAndWatchesSurviveThem)
{
    ASSERT_EQ(watches.addWatch(scene.root()), Status::kSuccess);
    EXPECT_FALSE(marks([&] { return watches.db_commit(L"", L"", 0); }));
    EXPECT_FALSE(marks([&] { return watches.db_commitTransient(); }));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(scene.root()));
    EXPECT_TRUE(watches.isNodeWatched(arm));
    ASSERT_EQ(watches.db_renameNode(hand, L"claw"), Status::kSuccess);
    ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm)) << "marks survive, too";
}

TEST_F(WatchManagerTest, AClearEndsEveryWatchBeforeItIsForwarded)
{
    for (Node* const node : {scene.root(), hand, shelf})
        ASSERT_EQ(watches.addWatch(node), Status::kSuccess);
    ASSERT_EQ(watches.db_renameNode(hand, L"claw"), Status::kSuccess);
    ASSERT_EQ(watches.enableWatch(shelf, false), Status::kSuccess);

    next.answer(Status::kLockOutstanding); // so that the nodes can still be read
    EXPECT_EQ(watches.db_clear(), Status::kLockOutstanding);
    for (const Node* const node : {scene.root(), arm, hand, shelf})
        EXPECT_FALSE(node->hasAnyFlag(NodeFlag::kWatchFlags));
    next.answer(Status::kSuccess);
    EXPECT_EQ(watches.db_clear(), Status::kSuccess);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_EQ(watches.addWatch(scene.root()), Status::kSuccess);
}

// --- Elements that are excluded ---

TEST_F(WatchManagerTest, TheFlagThatExcludesElementsIsAConstant)
{
    EXPECT_EQ(WatchManager::getExcludeFromWatchElementMetaDataFlag(), 0x20u);
}

TEST_F(WatchManagerTest, EditsOfAnExcludedElementMarkNothing)
{
    IntAttributeMetaDataDef quiet;
    quiet.setFlags(WatchManager::getExcludeFromWatchElementMetaDataFlag());
    Element* element = nullptr;
    EXPECT_FALSE(marks([&] { return watches.db_createDynamicElement(quiet, L"quiet", hand, nullptr, &element); }));
    auto* const attribute = static_cast<Attribute*>(element);
    ValueHandle value;
    EXPECT_FALSE(marks([&] { return watches.db_lockAttribute(attribute, &value); }));
    EXPECT_FALSE(marks([&] { return watches.db_unlockAttribute(attribute); }));
    EXPECT_FALSE(marks([&] { return watches.db_renameDynamicElement(element, L"silent"); }));
    Attribute* const loud = hand->findAttributeByName(L"Int");
    EXPECT_FALSE(marks([&] { return watches.db_createReference(loud, attribute, false); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyReference(attribute); }));
    EXPECT_TRUE(marks([&] { return watches.db_createReference(attribute, loud, false); })) << "the referencer counts";
    EXPECT_TRUE(marks([&] { return watches.db_destroyReference(loud); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyDynamicElement(element); }));
}

TEST_F(WatchManagerTest, EditsOfAnExcludedArrayAndOfItsItemsMarkNothing)
{
    IntAttributeMetaDataDef quiet;
    quiet.setArray(true);
    quiet.setFlags(WatchManager::getExcludeFromWatchElementMetaDataFlag());
    Element* element = nullptr;
    EXPECT_FALSE(marks([&] { return watches.db_createDynamicElement(quiet, L"quiet", hand, nullptr, &element); }));
    auto* const array = static_cast<AttributeArray*>(element);
    ASSERT_TRUE(array->isAttributeArray());
    void* values = nullptr;
    ValueHandle value;
    EXPECT_FALSE(marks([&] { return watches.db_resizeAttributeArray(array, 2); }));
    EXPECT_FALSE(marks([&] { return watches.db_lockAttributeArray(array, &values); }));
    EXPECT_FALSE(marks([&] { return watches.db_unlockAttributeArray(array); }));
    EXPECT_FALSE(marks([&] { return watches.db_lockAttribute(array->getAttribute(0), &value); }));
    EXPECT_FALSE(marks([&] { return watches.db_unlockAttribute(array->getAttribute(0)); }));
}

// --- As a layer ---

TEST_F(WatchManagerTest, TheNextLayerCanBeExchanged)
{
    EXPECT_EQ(watches.db_getNextInterface(), &next);
    RefusingLayer other(&scene.core());
    watches.db_setNextInterface(&other);
    ASSERT_EQ(watches.db_renameNode(hand, L"claw"), Status::kSuccess);
    EXPECT_EQ(next.calls(), 0u);
    EXPECT_EQ(other.calls(), 1u);
}

TEST_F(WatchManagerTest, WhatTheNextLayerRefusesIsPassedUpAndMarksNothing)
{
    Operands operands(scene);
    for (Node* const node : {scene.root(), operands.node, operands.leaf, operands.sibling})
        ASSERT_EQ(watches.addWatch(node), Status::kSuccess);
    next.answer(Status::kReserved15); // which nobody returns
    for (const Operation& operation : everyOperation())
    {
        SCOPED_TRACE(operation.name);
        const unsigned int calls = next.calls();
        EXPECT_EQ(operation.call(watches, operands), Status::kReserved15);
        EXPECT_EQ(next.calls(), calls + 1) << "forwarded once";
        for (const Node* const node : {scene.root(), operands.node, operands.leaf, operands.sibling})
            EXPECT_FALSE(watches.hasWatchedNodeChanged(node));
        if (operation.name != "db_clear") // which ends them before it is forwarded
        {
            EXPECT_TRUE(watches.isNodeWatched(operands.leaf));
        }
    }
    EXPECT_EQ(operands.outNode, nullptr) << "what the next layer left, null at first";
    EXPECT_EQ(operands.outElement, nullptr);
}

TEST_F(WatchManagerTest, EveryOperationIsForwardedAndAllButCommitsAndUnlocksMarkTheRoot)
{
    for (const Operation& operation : everyOperation())
    {
        SCOPED_TRACE(operation.name);
        ASSERT_EQ(watches.db_clear(), Status::kSuccess);
        Operands operands(scene);
        ASSERT_EQ(watches.addWatch(scene.root()), Status::kSuccess);
        const std::string_view name = operation.name;
        EXPECT_EQ(callUnlocked(operation, watches, operands), Status::kSuccess);
        const bool isEdit = name.find("unlock") == name.npos && name.find("commit") == name.npos && name != "db_clear";
        EXPECT_EQ(watches.hasWatchedNodeChanged(scene.root()), isEdit);
    }
}

/// As a layer may answer that only looks at what is asked.
TEST_F(WatchManagerTest, ANextLayerThatSaysYesToNullsIsNoReasonToFail)
{
    db2::conformance::RecordingLayer yes(nullptr);
    watches.db_setNextInterface(&yes);
    Node* node = arm;
    Element* element = arm->getElement(0);
    ValueHandle value;
    void* values = nullptr;
    const IntAttributeMetaDataDef definition;
    EXPECT_FALSE(marks([&] { return watches.db_createNode(Scene::kAll, L"x", arm, nullptr, &node); }));
    EXPECT_EQ(node, nullptr);
    EXPECT_FALSE(
        marks([&] { return watches.db_createUnknownNode(L"X", scene.module(), L"x", arm, nullptr, false, &node); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyLeafNode(nullptr); }));
    EXPECT_FALSE(marks([&] { return watches.db_renameNode(nullptr, L"x"); }));
    EXPECT_TRUE(marks([&] { return watches.db_reparentNode(hand, nullptr, nullptr, nullptr); })) << "where it was";
    EXPECT_FALSE(marks([&] { return watches.db_reorderNode(nullptr, nullptr); }));
    EXPECT_FALSE(marks([&] { return watches.db_createDynamicElement(definition, L"x", arm, nullptr, &element); }));
    EXPECT_EQ(element, nullptr);
    EXPECT_FALSE(marks([&] { return watches.db_destroyDynamicElement(nullptr); }));
    EXPECT_FALSE(marks([&] { return watches.db_renameDynamicElement(nullptr, L"x"); }));
    EXPECT_FALSE(marks([&] { return watches.db_resizeAttributeArray(nullptr, 1); }));
    EXPECT_FALSE(marks([&] { return watches.db_createReference(nullptr, nullptr, false); }));
    EXPECT_FALSE(marks([&] { return watches.db_destroyReference(nullptr); }));
    EXPECT_FALSE(marks([&] { return watches.db_lockAttribute(nullptr, &value); }));
    EXPECT_FALSE(marks([&] { return watches.db_lockAttributeArray(nullptr, &values); }));
    watches.db_setNextInterface(&next);
}

TEST_F(WatchManagerTest, TheEndOfALayerLeavesTheMarksOnTheNodes)
{
    {
        WatchManager layer(&scene.core());
        ASSERT_EQ(layer.addWatch(shelf), Status::kSuccess);
        ASSERT_EQ(layer.db_renameNode(shelf, L"board"), Status::kSuccess);
    }
    EXPECT_EQ(shelf->getFlags() & NodeFlag::kWatchFlags, NodeFlag::kWatched | NodeFlag::kWatchChanged);
    EXPECT_EQ(watches.removeWatch(shelf), Status::kSuccess) << "whoever has the bit has a watch to end";
    EXPECT_FALSE(shelf->hasAnyFlag(NodeFlag::kWatchFlags));
}

TEST_F(WatchManagerTest, ACopyHasTheSameNextLayerAndTheSameWatches)
{
    WatchManager copy(watches);
    EXPECT_EQ(copy.db_getNextInterface(), &next);
    ASSERT_EQ(copy.db_renameNode(hand, L"claw"), Status::kSuccess);
    EXPECT_TRUE(copy.hasWatchedNodeChanged(arm));

    WatchManager assigned(&scene.core());
    assigned = copy;
    EXPECT_EQ(assigned.db_getNextInterface(), &next);
    next.answer(Status::kLockOutstanding);
    EXPECT_EQ(assigned.db_clear(), Status::kLockOutstanding);
    EXPECT_FALSE(arm->hasAnyFlag(NodeFlag::kWatchFlags)) << "it knew the watch";
    next.answer(Status::kSuccess);
}

// --- What inner layers do by themselves ---

/// Undo replays past a watch layer that stands outside it.
class WatchManagerOutsideUndoTest : public WatchManagerTest
{
protected:
    WatchManagerOutsideUndoTest() { next.db_setNextInterface(&undo); }
    ~WatchManagerOutsideUndoTest() override { next.db_setNextInterface(&scene.core()); }

    /// A node that undo takes back with the unit of work, and a watch on it.
    Node* makeWatched()
    {
        Node* made = nullptr;
        EXPECT_EQ(watches.db_createNode(Scene::kAll, L"made", nullptr, nullptr, &made), Status::kSuccess);
        EXPECT_EQ(watches.addWatch(made), Status::kSuccess);
        return made;
    }

    UndoManager undo{&scene.core(), scene.core()};
};

TEST_F(WatchManagerOutsideUndoTest, AWatchOnANodeThatWasTakenBackBelowEndsAtTheNextCommit)
{
    Node* const made = makeWatched();
    ASSERT_EQ(undo.rollback(0), Status::kSuccess); // commits below, which frees what nobody lists
    EXPECT_TRUE(made->isDestroyed());
    EXPECT_EQ(made->getName(), L"made") << "still readable";
    EXPECT_TRUE(watches.isNodeWatched(made));
    ASSERT_EQ(watches.db_commitTransient(), Status::kSuccess); // frees nothing, and ends no watch
    EXPECT_TRUE(watches.isNodeWatched(made));

    next.answer(Status::kLockOutstanding); // so that the node can still be read behind the commit
    EXPECT_EQ(watches.db_commit(L"", L"", 0), Status::kLockOutstanding);
    EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kWatchFlags));
    EXPECT_TRUE(watches.isNodeWatched(arm)) << "the others go on";
    next.answer(Status::kSuccess);
    ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
}

TEST_F(WatchManagerOutsideUndoTest, AUndoThatIsReplayedBelowMarksNothing)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_FALSE(marks([&] { return undo.undo(); }));
    EXPECT_EQ(hand->getName(), L"hand");
}

TEST_F(WatchManagerOutsideUndoTest, AWatchGoesOnWhenItsNodeWasBroughtBackBelowBeforeTheNextCommit)
{
    Node* const made = makeWatched();
    ASSERT_EQ(watches.db_commit(L"make", L"", 0), Status::kSuccess);
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_EQ(undo.undo(), Status::kSuccess);
        ASSERT_TRUE(made->isDestroyed());
        ASSERT_EQ(undo.redo(), Status::kSuccess);
        ASSERT_EQ(scene.root()->getLastChild(), made);
        ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
        EXPECT_TRUE(watches.isNodeWatched(made));
        EXPECT_EQ(watches.resetWatch(made), Status::kSuccess);
        ValueHandle value;
        ASSERT_EQ(watches.db_lockAttribute(made->findAttributeByName(L"Int"), &value), Status::kSuccess);
        EXPECT_TRUE(watches.hasWatchedNodeChanged(made));
        ASSERT_EQ(watches.db_unlockAttribute(made->findAttributeByName(L"Int")), Status::kSuccess);
        ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    }
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kWatchFlags)) << "undo holds it, but it was away at a commit";
}

TEST_F(WatchManagerOutsideUndoTest, AClearEndsTheWatchesOnNodesThatWereTakenBackBelow)
{
    Node* const made = makeWatched();
    ASSERT_EQ(watches.db_commit(L"make", L"", 0), Status::kSuccess);
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    next.answer(Status::kLockOutstanding);
    EXPECT_EQ(watches.db_clear(), Status::kLockOutstanding);
    EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kWatchFlags));
    next.answer(Status::kSuccess);
}

// --- Two layers for one tree ---

/// Another watch layer inside the first. Nodes that are gone are named to a layer no more; what would still lead to one is
/// found by the address sanitizer.
class TwoWatchManagersTest : public WatchManagerTest
{
protected:
    TwoWatchManagersTest() { next.db_setNextInterface(&inner); }
    ~TwoWatchManagersTest() override { next.db_setNextInterface(&scene.core()); }

    void commitTwice()
    {
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    }

    WatchManager inner{&scene.core()};
};

TEST_F(TwoWatchManagersTest, ADestructionEndsTheWatchOfEitherLayer)
{
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(inner.addWatch(shelf), Status::kSuccess);
    ASSERT_EQ(watches.db_destroyLeafNode(hand), Status::kSuccess);
    ASSERT_EQ(watches.db_destroyLeafNode(shelf), Status::kSuccess);
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kWatchFlags));
    EXPECT_FALSE(shelf->hasAnyFlag(NodeFlag::kWatchFlags));
    commitTwice();
    EXPECT_TRUE(watches.isNodeWatched(arm));
    EXPECT_EQ(watches.db_clear(), Status::kSuccess);
}

TEST_F(TwoWatchManagersTest, ADestructionFurtherInEndsTheOutersWatchAsWell)
{
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(inner.db_destroyLeafNode(hand), Status::kSuccess);
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kWatchFlags));
    ASSERT_EQ(inner.db_commit(L"", L"", 0), Status::kSuccess); // which frees it
    commitTwice();
    EXPECT_EQ(watches.db_clear(), Status::kSuccess);
}

TEST_F(TwoWatchManagersTest, AWatchThatTheOtherLayerEndedLeavesNothingBehind)
{
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    ASSERT_EQ(inner.removeWatch(hand), Status::kSuccess);
    EXPECT_FALSE(watches.isNodeWatched(hand));
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess) << "and may begin again";
    ASSERT_EQ(inner.removeWatch(hand), Status::kSuccess);
    ASSERT_EQ(scene.core().db_destroyLeafNode(hand), Status::kSuccess);
    ASSERT_EQ(scene.commit(), Status::kSuccess); // which frees it
    EXPECT_EQ(watches.db_clear(), Status::kSuccess);
}

/// The recommended order: undo outside, so that what it replays is an edit like any other.
TEST_F(WatchManagerTest, UndoAndRedoThroughTheLayerMark)
{
    UndoManager undo(&watches, scene.core());
    ASSERT_EQ(undo.db_renameNode(hand, L"claw"), Status::kSuccess);
    ASSERT_EQ(undo.db_commit(L"rename", L"", 0), Status::kSuccess);
    EXPECT_TRUE(marks([&] { return undo.undo(); }));
    EXPECT_TRUE(marks([&] { return undo.redo(); }));
}

/// A pass over all watches for each of these edits would take 10^10 steps.
TEST_F(WatchManagerTest, ManyWatchesBesideAnEditCostItNothing)
{
    constexpr int kWatches = 100000;
    std::vector<Node*> beside;
    for (int i = 0; i < kWatches; ++i)
    {
        beside.push_back(scene.nodeOf(Scene::kPlain, std::to_wstring(i).append(L"n").c_str(), shelf));
        ASSERT_EQ(watches.addWatch(beside.back()), Status::kSuccess);
    }
    Attribute* const attribute = hand->findAttributeByName(L"Int");
    for (int i = 0; i < 100000; ++i)
    {
        ValueHandle value;
        ASSERT_EQ(watches.db_lockAttribute(attribute, &value), Status::kSuccess);
        ASSERT_EQ(watches.db_unlockAttribute(attribute), Status::kSuccess);
    }
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
    EXPECT_FALSE(watches.hasWatchedNodeChanged(beside.front()));
    for (Node* const node : beside) // in the order of their beginning
        ASSERT_EQ(watches.removeWatch(node), Status::kSuccess);
}

/// A pass over all watches for each of these commits would take 10^10 steps.
TEST_F(WatchManagerTest, ManyWatchesCostACommitNothingAndNeitherDoesTheEndOfOne)
{
    constexpr int kWatches = 100000;
    std::vector<Node*> watched;
    for (int i = 0; i < kWatches; ++i)
    {
        watched.push_back(scene.nodeOf(Scene::kPlain, std::to_wstring(i).append(L"n").c_str(), shelf));
        ASSERT_EQ(watches.addWatch(watched.back()), Status::kSuccess);
    }
    for (int i = 0; i < 100000; ++i)
        ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    for (Node* const node : watched)
    {
        ASSERT_EQ(watches.db_destroyLeafNode(node), Status::kSuccess);
        ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    }
    EXPECT_TRUE(watches.isNodeWatched(arm));
}

/// Each write far down costs the way up only while there is a watch that it may have to mark: else it would be 10^11 steps.
TEST_F(WatchManagerTest, AWriteFarBelowMarkedDisabledAndEndedWatchesDoesNotGoUpToThem)
{
    Node* deep = hand;
    for (int i = 0; i < 100000; ++i)
        deep = scene.nodeOf(Scene::kPlain, L"d", deep);
    Attribute* const attribute = scene.node(L"leaf", deep)->findAttributeByName(L"Int");
    const auto write = [&] {
        ValueHandle value;
        ASSERT_EQ(watches.db_lockAttribute(attribute, &value), Status::kSuccess);
        ASSERT_EQ(watches.db_unlockAttribute(attribute), Status::kSuccess);
    };
    const auto writeOften = [&] {
        for (int i = 0; i < 250000; ++i)
            write();
    };
    ASSERT_EQ(watches.addWatch(hand), Status::kSuccess);
    writeOften();
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm)) << "behind the nearer watch";
    EXPECT_TRUE(watches.hasWatchedNodeChanged(hand));

    ASSERT_EQ(watches.enableWatch(arm, false), Status::kSuccess);
    ASSERT_EQ(watches.resetWatch(arm), Status::kSuccess);
    writeOften();
    EXPECT_FALSE(watches.hasWatchedNodeChanged(arm));
    for (const bool enable : {true, false, true}) // also twice the same
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(watches.enableWatch(arm, enable), Status::kSuccess);
    write();
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));

    ASSERT_EQ(watches.resetWatch(hand), Status::kSuccess);
    ASSERT_EQ(watches.resetWatch(hand), Status::kSuccess);
    ASSERT_EQ(watches.removeWatch(hand), Status::kSuccess);
    writeOften();
    ASSERT_EQ(watches.addWatch(shelf), Status::kSuccess);
    ASSERT_EQ(watches.db_destroyLeafNode(shelf), Status::kSuccess);
    writeOften();
    ASSERT_EQ(watches.resetWatch(arm), Status::kSuccess);
    write();
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
}

/// The watch on a node that was destroyed below ends at the commit, and with it what it cost.
TEST_F(WatchManagerOutsideUndoTest, AnArmedWatchThatEndedAtACommitCostsNothingAnyMore)
{
    makeWatched();
    ASSERT_EQ(watches.removeWatch(arm), Status::kSuccess);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    ASSERT_EQ(watches.db_commit(L"", L"", 0), Status::kSuccess);
    Node* deep = hand;
    for (int i = 0; i < 100000; ++i)
        deep = scene.nodeOf(Scene::kPlain, L"d", deep);
    for (int i = 0; i < 250000; ++i)
        ASSERT_EQ(watches.db_reorderNode(deep, nullptr), Status::kSuccess);
    ASSERT_EQ(watches.addWatch(arm), Status::kSuccess);
    ASSERT_EQ(watches.db_reorderNode(deep, nullptr), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
}

TEST_F(TwoWatchManagersTest, AWatchThatTheOtherLayerArmsAgainIsMarked)
{
    ASSERT_TRUE(marks([&] { return watches.db_renameNode(hand, L"claw"); }));
    ASSERT_EQ(inner.resetWatch(arm), Status::kSuccess);
    ASSERT_FALSE(watches.hasWatchedNodeChanged(arm));
    ASSERT_EQ(watches.db_renameNode(hand, L"hook"), Status::kSuccess);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(arm));
}

} // namespace
} // namespace db2test
