// Undo, redo and rollback around the layer: what they replay passes through it and is computed like any edit. Undo inside
// it: the layer does not see what is replayed, and nothing that it keeps may break.

#include "Fixture.h"

#include <db2/UndoManager.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// Edits go through undo, then the layer. "second" adds up the sum of "first" and its own b; "list" totals its values.
class ComputeManagerHistoryTest : public ComputeManagerTest
{
protected:
    ComputeManagerHistoryTest()
    {
        connect(attribute(first, L"sum"), attribute(second, L"a"));
        db2test::write(computed, values, {1, 2, 4});
        write(first, L"a", 1);
        settle();
    }

    void commitItem() { EXPECT_EQ(undo.db_commit(L"item", L"HistoryTest.cpp", 1), Status::kSuccess); }

    /// What the outputs should be, from what the inputs are.
    void expectUpToDate() const
    {
        const auto expectSum = [](const Node* node) {
            if (!node->isDestroyed())
            {
                EXPECT_EQ(value(node, L"sum"), value(node, L"a") + value(node, L"b"));
            }
        };
        expectSum(first);
        expectSum(second);
        int total = 0;
        for (unsigned int i = 0; i < values->getSize(); ++i)
            total += values->getAttribute(i)->getValue().getInt();
        EXPECT_EQ(value(list, L"total"), total);
    }

    /// Makes the edit a unit of work, takes it back and brings it back twice. @return what the undo ran.
    Runs expectUpToDateThroughUndoAndRedoOf(const std::function<void()>& edit)
    {
        edit();
        commitItem();
        expectUpToDate();
        Runs ranInUndo;
        for (int round = 0; round < 2; ++round)
        {
            scene.takeRuns();
            EXPECT_EQ(undo.undo(), Status::kSuccess);
            ranInUndo = scene.takeRuns();
            expectUpToDate();
            EXPECT_EQ(undo.redo(), Status::kSuccess);
            EXPECT_FALSE(scene.takeRuns().empty());
            expectUpToDate();
            EXPECT_TRUE(undo.lastReplayWasComplete());
        }
        return ranInUndo;
    }

    const unsigned int kList = scene.addType({numbers(L"values"), number(L"total")}, {{{L"values"}, {L"total"}}});
    UndoManager undo{&computed, scene.core()};
    Node* const second = create(kSum, L"second");
    Node* const first = create(kSum, L"first");
    Node* const list = create(kList, L"list");
    AttributeArray* const values = list->findAttributeArrayByName(L"values");
};

TEST_F(ComputeManagerHistoryTest, UndoAndRedoOfAWriteComputeWhatItReaches)
{
    EXPECT_EQ(expectUpToDateThroughUndoAndRedoOf([&] { db2test::write(undo, attribute(first, L"a"), 50); }),
              (Runs{L"first.sum", L"second.sum"}));
    EXPECT_EQ(value(second, L"sum"), 50);
}

TEST_F(ComputeManagerHistoryTest, UndoAndRedoOfAnItemsWriteComputeTheArraysSet)
{
    EXPECT_EQ(expectUpToDateThroughUndoAndRedoOf([&] { db2test::write(undo, values->getAttribute(1), 50); }),
              (Runs{L"list.total"}));
    EXPECT_EQ(value(list, L"total"), 55);
}

TEST_F(ComputeManagerHistoryTest, UndoAndRedoOfAnArraysWriteComputeItsSet)
{
    expectUpToDateThroughUndoAndRedoOf([&] { db2test::write(undo, values, {7, 8, 9}); });
    EXPECT_EQ(value(list, L"total"), 24);
}

TEST_F(ComputeManagerHistoryTest, UndoAndRedoOfAResizeComputeTheArraysSet)
{
    expectUpToDateThroughUndoAndRedoOf([&] { EXPECT_EQ(undo.db_resizeAttributeArray(values, 1), Status::kSuccess); });
    EXPECT_EQ(value(list, L"total"), 1);
    expectUpToDateThroughUndoAndRedoOf([&] { EXPECT_EQ(undo.db_resizeAttributeArray(values, 8), Status::kSuccess); });
}

TEST_F(ComputeManagerHistoryTest, UndoAndRedoOfAReferenceComputeItsReader)
{
    expectUpToDateThroughUndoAndRedoOf([&] {
        EXPECT_EQ(undo.db_createReference(attribute(first, L"a"), attribute(second, L"b"), false), Status::kSuccess);
    });
    expectUpToDateThroughUndoAndRedoOf(
        [&] { EXPECT_EQ(undo.db_destroyReference(attribute(second, L"a")), Status::kSuccess); });
}

TEST_F(ComputeManagerHistoryTest, ANodeWhoseDestructionIsUndoneIsComputedAgain)
{
    expectUpToDateThroughUndoAndRedoOf([&] {
        EXPECT_EQ(undo.db_destroyReference(attribute(second, L"a")), Status::kSuccess);
        EXPECT_EQ(undo.db_destroyLeafNode(second), Status::kSuccess);
    });
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    db2test::write(undo, attribute(first, L"a"), 9);
    commitItem();
    EXPECT_EQ(value(second, L"sum"), 9);
}

TEST_F(ComputeManagerHistoryTest, ANodeWhoseCreationIsUndoneNeverRuns)
{
    ASSERT_EQ(undo.db_createNode(kSum, L"third", nullptr, nullptr, nullptr), Status::kSuccess);
    commitItem();
    scene.takeRuns();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    for (const std::wstring& run : scene.takeRuns())
        EXPECT_NE(run, L"third.sum");
    ASSERT_EQ(undo.redo(), Status::kSuccess);
    const Runs runs = scene.takeRuns();
    EXPECT_NE(std::find(runs.begin(), runs.end(), L"third.sum"), runs.end());
}

TEST_F(ComputeManagerHistoryTest, ANodeThatUndoDropsForGoodLeavesNothingBehind)
{
    ASSERT_EQ(undo.db_createNode(kSum, L"third", nullptr, nullptr, nullptr), Status::kSuccess);
    db2test::write(undo, attribute(scene.root()->findChildByName(L"third"), L"a"), 1);
    commitItem();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    undo.clearUndoHistory();
    commitItem();
    EXPECT_EQ(scene.registry().lookupNodeTemplate(kSum)->getReferenceCount(), 2u);
    db2test::write(undo, attribute(first, L"b"), 1);
    commitItem();
    expectUpToDate();
}

TEST_F(ComputeManagerHistoryTest, ARollbackComputesWhatItTakesBack)
{
    db2test::write(undo, attribute(first, L"a"), 50);
    db2test::write(undo, values->getAttribute(0), 50);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(value(first, L"a"), 1);
    expectUpToDate();
    EXPECT_EQ(value(second, L"sum"), 1);
}

TEST_F(ComputeManagerHistoryTest, ARollbackAfterARunInTheMiddleOfAUnitComputesAgain)
{
    db2test::write(undo, attribute(first, L"a"), 50);
    computed.computeGraph();
    ASSERT_EQ(value(second, L"sum"), 50);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(value(second, L"sum"), 1);
}

TEST_F(ComputeManagerHistoryTest, ComputedValuesAreNotRecorded)
{
    db2test::write(undo, attribute(first, L"a"), 50);
    commitItem();
    EXPECT_EQ(undo.getNumUndoOperations(0), 1u);
}

// --- Undo inside the layer ---

/// Edits go through the layer, then undo.
class ComputeManagerOutsideUndoTest : public ::testing::Test
{
protected:
    Node* create(const wchar_t* name)
    {
        Node* node = nullptr;
        EXPECT_EQ(computed.db_createNode(kSum, name, nullptr, nullptr, &node), Status::kSuccess);
        return node;
    }

    void commit() { EXPECT_EQ(computed.db_commit(L"item", L"HistoryTest.cpp", 1), Status::kSuccess); }

    /// Two edits of others, of which one is a flush.
    void expectOthersAreComputed()
    {
        write(computed, other->findAttributeByName(L"a"), 5);
        commit();
        EXPECT_EQ(other->findAttributeByName(L"sum")->getValue().getInt(), 5);
        std::vector<Node*> others; // some of them may come to stand where the node that is gone stood
        for (int i = 0; i < 5; ++i)
        {
            others.push_back(create(L"another"));
            write(computed, others.back()->findAttributeByName(L"a"), i);
        }
        write(computed, other->findAttributeByName(L"a"), 6);
        commit();
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(others[static_cast<std::size_t>(i)]->findAttributeByName(L"sum")->getValue().getInt(), i);
        EXPECT_EQ(other->findAttributeByName(L"sum")->getValue().getInt(), 6);
        write(computed, other->findAttributeByName(L"a"), 7);
        commit();
        EXPECT_EQ(other->findAttributeByName(L"sum")->getValue().getInt(), 7);
    }

    ComputeScene scene;
    const unsigned int kSum = scene.addType({number(L"a"), number(L"sum")}, {{{L"a"}, {L"sum"}}});
    UndoManager undo{&scene.core(), scene.core()};
    ComputeManager computed{1, &undo, *scene.root()};
    Node* const other = create(L"other");
};

TEST_F(ComputeManagerOutsideUndoTest, ANodeWhoseCreationIsUndoneBelowIsNotRunAnyMore)
{
    commit();
    Node* const node = create(L"n");
    commit();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    ASSERT_TRUE(node->isDestroyed());
    scene.takeRuns();
    create(L"m"); // a flush
    commit();
    for (const std::wstring& run : scene.takeRuns())
        EXPECT_NE(run, L"n.sum");
}

TEST_F(ComputeManagerOutsideUndoTest, ANodeThatUndoFreesBelowLeavesNothingThatRuns)
{
    commit();
    Node* const node = create(L"n");
    write(computed, node->findAttributeByName(L"a"), 1);
    commit();
    write(computed, node->findAttributeByName(L"a"), 2); // so that the order of the last run holds the node
    commit();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    undo.clearUndoHistory();
    ASSERT_EQ(scene.commit(), Status::kSuccess); // frees what nobody lists
    expectOthersAreComputed();
}

TEST_F(ComputeManagerOutsideUndoTest, AWrittenNodeThatARollbackBelowTakesAwayLeavesNothingThatRuns)
{
    commit();
    Node* const node = create(L"n");
    write(computed, node->findAttributeByName(L"a"), 1);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    expectOthersAreComputed();
}

TEST_F(ComputeManagerOutsideUndoTest, WhatIsWrittenToANodeThatUndoBringsBackBelowIsHarmless)
{
    Node* const node = create(L"n");
    commit();
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    commit();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    ASSERT_FALSE(node->isDestroyed());
    write(computed, node->findAttributeByName(L"a"), 3); // the layer does not know the node any more
    commit();
    expectOthersAreComputed();
}

TEST_F(ComputeManagerOutsideUndoTest, ANodeThatCameBackBelowMayBeDestroyedThroughTheLayer)
{
    Node* const node = create(L"n");
    commit();
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    commit();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    commit();
    expectOthersAreComputed();
}

} // namespace
} // namespace db2test
