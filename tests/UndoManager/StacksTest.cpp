#include "support/UndoFixture.h"

#include <memory>
#include <string>
#include <vector>

// Units of work become items of the undo stack, undo moves them to the redo stack, and redo back.

namespace db2test {
namespace {

class UndoManagerStacksTest : public UndoFixture
{
protected:
    UndoManagerStacksTest() { settle(); }

    /// Renames the arm and commits, so many times; the descriptions are the new names.
    void commits(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            const std::wstring name = L"arm" + std::to_wstring(nextName++);
            rename(arm, name.c_str());
            commit(name.c_str());
        }
    }

    [[nodiscard]] std::wstring nameOfArm() const { return arm->getName().c_str(); }

    Node* arm = scene.node(L"arm");
    int nextName = 1;
};

// --- A new manager ---

TEST_F(UndoManagerStacksTest, ANewManagerHasNoHistoryAndNoLimit)
{
    UndoManager fresh(&core, core);
    EXPECT_FALSE(fresh.canUndo());
    EXPECT_FALSE(fresh.canRedo());
    EXPECT_EQ(fresh.getUndoStackSize(), 0u);
    EXPECT_EQ(fresh.getRedoStackSize(), 0u);
    EXPECT_EQ(fresh.getMaxUndoItems(), -1);
    EXPECT_EQ(fresh.getRevision(), 0);
    EXPECT_FALSE(fresh.hasChangedSinceCheckpoint());
    EXPECT_TRUE(fresh.lastReplayWasComplete());
    EXPECT_EQ(fresh.db_getNextInterface(), &core);
    EXPECT_EQ(fresh.createRollbackPoint(), 0u);
}

TEST_F(UndoManagerStacksTest, TheNextLayerCanBeExchanged)
{
    undo.db_setNextInterface(&core);
    EXPECT_EQ(undo.db_getNextInterface(), &core);
    rename(arm, L"leg");
    EXPECT_TRUE(below.take().empty());
    commit();
    undo.db_setNextInterface(&below);
    expectUndone();
    EXPECT_EQ(below.take(), (std::vector<std::string>{"db_renameNode", "db_commit"}));
}

// --- Commits ---

TEST_F(UndoManagerStacksTest, ACommitPutsTheUnitOnTheUndoStackUnderItsDescription)
{
    rename(arm, L"leg");
    EXPECT_FALSE(undo.canUndo());
    EXPECT_EQ(undo.db_commit(L"Rename the arm", L"host.cpp", 12), Status::kSuccess);
    EXPECT_TRUE(undo.canUndo());
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(undo.getUndoDescription(0), L"Rename the arm");
    EXPECT_EQ(undo.getNumUndoOperations(0), 1u);
    EXPECT_EQ(undo.getRevision(), 1);
}

TEST_F(UndoManagerStacksTest, ACommitIsForwardedAsItIs)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.db_commit(L"Rename the arm", L"host.cpp", 12), Status::kSuccess);
    const auto commits = below.takeCommits();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_EQ(commits[0].description, L"Rename the arm");
    EXPECT_EQ(commits[0].file, L"host.cpp");
    EXPECT_EQ(commits[0].line, 12u);
}

TEST_F(UndoManagerStacksTest, ACommitReturnsTheAnswerOfTheNextLayer)
{
    rename(arm, L"leg");
    below.refuse({"db_commit"});
    EXPECT_EQ(undo.db_commit(L"edit", L"test", 1), Status::kFailure);
}

TEST_F(UndoManagerStacksTest, ACommitWithoutEditsChangesNothingAndIsForwarded)
{
    commits(1);
    expectUndone();
    below.takeCommits();
    const int revision = undo.getRevision();
    commit(L"nothing");
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
    EXPECT_EQ(undo.getRevision(), revision);
    EXPECT_EQ(below.takeCommits().size(), 1u);
}

TEST_F(UndoManagerStacksTest, ATransientCommitIsForwardedAndReturnsItsAnswer)
{
    below.refuse({"db_commitTransient"});
    EXPECT_EQ(undo.db_commitTransient(), Status::kFailure);
    EXPECT_EQ(below.take(), std::vector<std::string>{"db_commitTransient"});
}

TEST_F(UndoManagerStacksTest, ACommitWithoutADescriptionHasAnEmptyOne)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.db_commit(nullptr, nullptr, 0), Status::kSuccess);
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_TRUE(undo.getUndoDescription(0).empty());
}

TEST_F(UndoManagerStacksTest, AnOrdinaryCommitDropsTheRedoStack)
{
    commits(3);
    expectUndone();
    expectUndone();
    EXPECT_EQ(undo.getRedoStackSize(), 2u);
    commits(1);
    EXPECT_EQ(undo.getRedoStackSize(), 0u);
    EXPECT_FALSE(undo.canRedo());
    EXPECT_EQ(undo.getUndoStackSize(), 2u);
    EXPECT_EQ(undo.redo(), Status::kFailure);
}

// --- Undo and redo ---

TEST_F(UndoManagerStacksTest, UndoMovesTheTopItemToTheRedoStack)
{
    commits(2);
    expectUndone();
    EXPECT_EQ(nameOfArm(), L"arm1");
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
    EXPECT_EQ(undo.getUndoDescription(-1), L"arm1");
    EXPECT_EQ(undo.getRedoDescription(-1), L"arm2");
    EXPECT_EQ(undo.getNumRedoOperations(0), 1u);
    EXPECT_EQ(undo.getRevision(), 1);
}

TEST_F(UndoManagerStacksTest, RedoMovesTheTopItemToTheUndoStackAndLeavesTheOthers)
{
    commits(3);
    expectUndone();
    expectUndone();
    expectRedone();
    EXPECT_EQ(nameOfArm(), L"arm2");
    EXPECT_EQ(undo.getUndoStackSize(), 2u);
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
    EXPECT_EQ(undo.getUndoDescription(-1), L"arm2");
    EXPECT_EQ(undo.getRedoDescription(-1), L"arm3");
    EXPECT_EQ(undo.getRevision(), 2);
}

TEST_F(UndoManagerStacksTest, UndoForwardsACommitOfItsOwnToTheNextLayer)
{
    commits(1);
    below.takeCommits();
    expectUndone();
    const auto commits = below.takeCommits();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_EQ(commits[0].description, L"undo");
    EXPECT_TRUE(commits[0].file.ends_with(L"UndoManager.cpp"));
    EXPECT_EQ(commits[0].line, 785u);
}

TEST_F(UndoManagerStacksTest, RedoForwardsACommitOfItsOwnToTheNextLayer)
{
    commits(1);
    expectUndone();
    below.takeCommits();
    expectRedone();
    const auto commits = below.takeCommits();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_EQ(commits[0].description, L"redo");
    EXPECT_TRUE(commits[0].file.ends_with(L"UndoManager.cpp"));
    EXPECT_EQ(commits[0].line, 819u);
}

TEST_F(UndoManagerStacksTest, UndoSucceedsWhateverTheForwardedCommitAnswers)
{
    commits(1);
    below.refuse({"db_commit"});
    expectUndone();
    expectRedone();
    EXPECT_EQ(nameOfArm(), L"arm1");
}

TEST_F(UndoManagerStacksTest, UndoAndRedoWithoutAnItemFail)
{
    const std::wstring before = dump();
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_EQ(undo.redo(), Status::kFailure);
    EXPECT_TRUE(below.take().empty());
    EXPECT_TRUE(scene.log().take().empty());
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(undo.getRevision(), 0);
}

TEST_F(UndoManagerStacksTest, UndoAndRedoFailWhileSomethingIsNotCommitted)
{
    commits(2);
    expectUndone();
    rename(arm, L"leg");
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_EQ(undo.redo(), Status::kFailure);
    EXPECT_EQ(nameOfArm(), L"leg");
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
    EXPECT_EQ(undo.getRevision(), 1);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerStacksTest, AUnitThatRecordedNothingDoesNotStandInTheWayOfAnUndo)
{
    commits(1);
    EXPECT_EQ(undo.db_resizeAttributeArray(floatsOf(arm), 0), Status::kSuccess); // its size already
    expectUndone();
}

TEST_F(UndoManagerStacksTest, ALongHistoryGoesBackAndForthItemByItem)
{
    constexpr int kItems = 3000; // more than the stacks are reserved for
    commits(kItems);
    EXPECT_EQ(undo.getUndoStackSize(), 3000u);
    for (int i = kItems - 1; i > 0; --i)
    {
        ASSERT_EQ(undo.undo(), Status::kSuccess);
        ASSERT_EQ(nameOfArm(), L"arm" + std::to_wstring(i));
    }
    for (int i = 2; i <= kItems; ++i)
    {
        ASSERT_EQ(undo.redo(), Status::kSuccess);
        ASSERT_EQ(nameOfArm(), L"arm" + std::to_wstring(i));
    }
}

// --- Questions ---

TEST_F(UndoManagerStacksTest, DescriptionsAreCountedFromTheOldestItem)
{
    commits(3);
    EXPECT_EQ(undo.getUndoDescription(0), L"arm1");
    EXPECT_EQ(undo.getUndoDescription(1), L"arm2");
    EXPECT_EQ(undo.getUndoDescription(2), L"arm3");
    EXPECT_EQ(undo.getUndoDescription(-1), L"arm3");
    expectUndone();
    expectUndone();
    EXPECT_EQ(undo.getRedoDescription(0), L"arm3");
    EXPECT_EQ(undo.getRedoDescription(1), L"arm2");
    EXPECT_EQ(undo.getRedoDescription(-1), L"arm2");
}

TEST_F(UndoManagerStacksTest, DescriptionsBeyondTheStacksAreEmpty)
{
    EXPECT_TRUE(undo.getUndoDescription(-1).empty());
    EXPECT_TRUE(undo.getRedoDescription(-1).empty());
    EXPECT_TRUE(undo.getUndoDescription(0).empty());
    EXPECT_TRUE(undo.getRedoDescription(0).empty());
    commits(2);
    expectUndone();
    EXPECT_TRUE(undo.getUndoDescription(1).empty());
    EXPECT_TRUE(undo.getRedoDescription(1).empty());
    EXPECT_TRUE(undo.getUndoDescription(-2).empty());
    EXPECT_TRUE(undo.getRedoDescription(-2).empty());
}

TEST_F(UndoManagerStacksTest, OperationsAndMemoryBeyondTheStacksAreNone)
{
    commits(2);
    expectUndone();
    for (const unsigned int index : {1u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(undo.getNumUndoOperations(index), 0u);
        EXPECT_EQ(undo.getNumRedoOperations(index), 0u);
        EXPECT_EQ(undo.getUndoMemoryInUse(index), 0u);
        EXPECT_EQ(undo.getRedoMemoryInUse(index), 0u);
    }
}

// --- Revision and checkpoint ---

TEST_F(UndoManagerStacksTest, TheRevisionFollowsCommitsUndosAndRedos)
{
    commits(2);
    EXPECT_EQ(undo.getRevision(), 2);
    expectUndone();
    EXPECT_EQ(undo.getRevision(), 1);
    expectUndone();
    EXPECT_EQ(undo.getRevision(), 0);
    expectRedone();
    EXPECT_EQ(undo.getRevision(), 1);
    commits(1);
    EXPECT_EQ(undo.getRevision(), 2);
}

TEST_F(UndoManagerStacksTest, TheCheckpointIsWhereTheDocumentIsUnchanged)
{
    commits(1);
    EXPECT_TRUE(undo.hasChangedSinceCheckpoint());
    undo.setCheckpoint();
    EXPECT_FALSE(undo.hasChangedSinceCheckpoint());
    commits(1);
    EXPECT_TRUE(undo.hasChangedSinceCheckpoint());
    expectUndone();
    EXPECT_FALSE(undo.hasChangedSinceCheckpoint());
    expectUndone();
    EXPECT_TRUE(undo.hasChangedSinceCheckpoint());
    expectRedone();
    EXPECT_FALSE(undo.hasChangedSinceCheckpoint());
}

// --- The limit ---

TEST_F(UndoManagerStacksTest, ALimitDropsTheOldestItemsAtOnce)
{
    commits(5);
    undo.setMaxUndoItems(2);
    EXPECT_EQ(undo.getMaxUndoItems(), 2);
    EXPECT_EQ(undo.getUndoStackSize(), 2u);
    EXPECT_EQ(undo.getUndoDescription(0), L"arm4");
    EXPECT_EQ(undo.getUndoDescription(1), L"arm5");
    expectUndone();
    expectUndone();
    EXPECT_EQ(nameOfArm(), L"arm3");
    EXPECT_EQ(undo.undo(), Status::kFailure);
}

TEST_F(UndoManagerStacksTest, ALimitIsKeptByCommits)
{
    undo.setMaxUndoItems(2);
    commits(5);
    EXPECT_EQ(undo.getUndoStackSize(), 2u);
    EXPECT_EQ(undo.getUndoDescription(0), L"arm4");
    EXPECT_EQ(undo.getRevision(), 5);
}

TEST_F(UndoManagerStacksTest, ALimitIsKeptByRedos)
{
    commits(3);
    expectUndone();
    expectUndone();
    undo.setMaxUndoItems(1);
    expectRedone();
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(undo.getUndoDescription(0), L"arm2");
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
}

TEST_F(UndoManagerStacksTest, ALimitLeavesTheRedoStackAlone)
{
    commits(3);
    expectUndone();
    expectUndone();
    undo.setMaxUndoItems(0);
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
    EXPECT_EQ(undo.getRedoStackSize(), 2u);
}

TEST_F(UndoManagerStacksTest, ALimitOfZeroKeepsNoHistory)
{
    undo.setMaxUndoItems(0);
    commits(1);
    EXPECT_FALSE(undo.canUndo());
    EXPECT_EQ(undo.getRevision(), 1);
}

TEST_F(UndoManagerStacksTest, ANegativeLimitIsNone)
{
    undo.setMaxUndoItems(1);
    for (const int none : {-1, -2, -2147483647 - 1})
    {
        undo.clearUndoHistory();
        undo.setMaxUndoItems(none);
        commits(3);
        EXPECT_EQ(undo.getUndoStackSize(), 3u) << none;
    }
}

// --- The end of a history ---

TEST_F(UndoManagerStacksTest, ClearingTheHistoryDropsBothStacksAndLeavesTheOpenUnit)
{
    commits(3);
    expectUndone();
    rename(arm, L"leg");
    undo.clearUndoHistory();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_EQ(nameOfArm(), L"leg");
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(nameOfArm(), L"arm2");
}

TEST_F(UndoManagerStacksTest, ClearingTheTreeDropsTheHistoryTheOpenUnitAndThePoints)
{
    commits(2);
    expectUndone();
    write(floatOf(arm), 1.0f);
    destroy(arm);
    undo.createRollbackPoint();
    EXPECT_EQ(undo.db_clear(), Status::kSuccess);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
    EXPECT_EQ(operationsOfCommit(), 0u);
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
    EXPECT_EQ(undo.undo(), Status::kFailure);
}

TEST_F(UndoManagerStacksTest, ClearingTheTreeReturnsTheAnswerOfTheNextLayer)
{
    below.refuse({"db_clear"});
    EXPECT_EQ(undo.db_clear(), Status::kFailure);
}

TEST_F(UndoManagerStacksTest, WorkGoesOnInATreeThatWasCleared)
{
    commits(1);
    ASSERT_EQ(undo.db_clear(), Status::kSuccess);
    const std::wstring before = dump();
    node(L"new");
    commit();
    const std::wstring after = dump();
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    expectRedone();
    EXPECT_TRUE(isSameDump(after, dump()));
}

TEST_F(UndoManagerStacksTest, ValuesAreRecordedAfterAnOpenUnitEndedWithItsManager)
{
    {
        UndoManager shortLived(&core, core);
        ValueHandle value;
        ASSERT_EQ(shortLived.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
        ASSERT_EQ(shortLived.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    }
    write(floatOf(arm), 1.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

// --- What undo holds ---

class UndoManagerHeldTest : public UndoManagerStacksTest
{
protected:
    /// The number of nodes of the type "All" in memory.
    [[nodiscard]] unsigned int inMemory() const
    {
        return core.getRegistry().lookupNodeTemplate(Scene::kAll)->getReferenceCount();
    }
};

TEST_F(UndoManagerHeldTest, ADestroyedNodeIsHeldWhileItsItemIsInTheHistory)
{
    destroy(arm);
    commit();
    commit();
    EXPECT_TRUE(arm->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_EQ(undo.db_renameNode(arm, L"leg"), Status::kInUndo);
    EXPECT_TRUE(scene.log().tookError(L"Attempt to access node that is in undo"));
    ValueHandle value;
    EXPECT_EQ(undo.db_lockAttribute(floatOf(arm), &value), Status::kInUndo);
    EXPECT_TRUE(scene.log().tookError(L"Attempt to access attribute that is in undo"));
    EXPECT_EQ(inMemory(), 1u);
}

TEST_F(UndoManagerHeldTest, ADestroyedNodeIsFreedByTheCommitAfterItsItemLeft)
{
    destroy(arm);
    commit();
    undo.clearUndoHistory();
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_FALSE(arm->hasFlag(NodeFlag::kInUndo));
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(UndoManagerHeldTest, ADestroyedNodeIsFreedWhenItsItemFallsToTheLimit)
{
    Node* const spare = node(L"spare");
    commit();
    destroy(arm);
    commit();
    undo.setMaxUndoItems(1);
    rename(spare, L"new");
    commit();
    commit();
    EXPECT_EQ(inMemory(), 1u);
}

TEST_F(UndoManagerHeldTest, ANodeWhoseCreationWasUndoneIsFreedWhenTheRedoStackIsDropped)
{
    node(L"new");
    commit();
    expectUndone();
    commit();
    EXPECT_EQ(inMemory(), 2u);
    commits(1);
    EXPECT_EQ(inMemory(), 1u);
}

TEST_F(UndoManagerHeldTest, ANodeThatARollbackTakesBackIsFreedAtOnce)
{
    node(L"new");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(inMemory(), 1u);
}

TEST_F(UndoManagerHeldTest, ADestroyedSubtreeIsFreedWhole)
{
    Node* const hand = node(L"hand", arm);
    node(L"thumb", hand);
    commit();
    destroy(hand->getFirstChild());
    destroy(hand);
    commit();
    destroy(arm);
    commit();
    EXPECT_EQ(inMemory(), 3u);
    undo.clearUndoHistory();
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(UndoManagerHeldTest, ADestroyedElementIsHeldWhileItsItemIsInTheHistory)
{
    Element* const element = dynamicElement(L"dynamic", arm);
    settle();
    ASSERT_EQ(undo.db_destroyDynamicElement(element), Status::kSuccess);
    commit();
    commit();
    EXPECT_TRUE(element->hasFlag(ElementFlag::kInUndo));
    EXPECT_EQ(undo.db_renameDynamicElement(element, L"new"), Status::kInUndo);
    EXPECT_TRUE(scene.log().tookError(L"Attempt to access attribute that is in undo"));
    undo.clearUndoHistory();
    EXPECT_FALSE(element->hasFlag(ElementFlag::kInUndo));
    commit();
}

TEST_F(UndoManagerHeldTest, ANodeThatCameBackIsNotFreedWithTheHistory)
{
    destroy(arm);
    commit();
    expectUndone();
    undo.clearUndoHistory();
    commit();
    EXPECT_EQ(scene.root()->getFirstChild(), arm);
    EXPECT_EQ(inMemory(), 1u);
}

TEST_F(UndoManagerHeldTest, NothingIsHeldWhenTheManagerHasGone)
{
    auto shortLived = std::make_unique<UndoManager>(&core, core);
    ASSERT_EQ(shortLived->db_destroyLeafNode(arm), Status::kSuccess);
    ASSERT_EQ(shortLived->db_commit(L"edit", L"test", 1), Status::kSuccess);
    Node* made = nullptr;
    ASSERT_EQ(shortLived->db_createNode(Scene::kAll, L"a", nullptr, nullptr, &made), Status::kSuccess);
    ASSERT_EQ(shortLived->db_destroyLeafNode(made), Status::kSuccess); // not committed
    EXPECT_EQ(inMemory(), 2u);
    shortLived.reset();
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 0u);
}

} // namespace
} // namespace db2test
