#include "support/UndoFixture.h"

#include <string>
#include <vector>

// Rollback takes back what is not committed, all of it or what came after a point.

namespace db2test {
namespace {

class UndoManagerRollbackTest : public UndoFixture
{
protected:
    UndoManagerRollbackTest() { settle(); }

    [[nodiscard]] std::wstring nameOfArm() const { return arm->getName().c_str(); }

    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
};

// --- Points ---

TEST_F(UndoManagerRollbackTest, PointsAreNumberedFromZero)
{
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
    EXPECT_EQ(undo.createRollbackPoint(), 1u);
    rename(arm, L"leg");
    EXPECT_EQ(undo.createRollbackPoint(), 2u);
}

TEST_F(UndoManagerRollbackTest, ManyPointsCanBeMade)
{
    for (unsigned int i = 0; i < 500; ++i)
    {
        ASSERT_EQ(undo.createRollbackPoint(), i);
        rename(arm, (L"arm" + std::to_wstring(i)).c_str());
    }
    EXPECT_EQ(undo.rollback(300), Status::kSuccess);
    EXPECT_EQ(nameOfArm(), L"arm299");
}

TEST_F(UndoManagerRollbackTest, PointsEndWithACommit)
{
    undo.createRollbackPoint();
    undo.createRollbackPoint();
    rename(arm, L"leg");
    commit();
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
}

TEST_F(UndoManagerRollbackTest, PointsEndWithACommitThatHasNothingToKeep)
{
    undo.createRollbackPoint();
    commit();
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
}

TEST_F(UndoManagerRollbackTest, PointsOutliveATransientCommit)
{
    rename(arm, L"leg");
    undo.createRollbackPoint();
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(undo.createRollbackPoint(), 1u);
}

// --- What comes back ---

TEST_F(UndoManagerRollbackTest, WithoutPointsPointZeroTakesBackEverything)
{
    const std::wstring before = dump();
    write(floatOf(arm), 1.0f);
    destroy(hand);
    rename(arm, L"leg");
    node(L"new");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRollbackTest, APointKeepsWhatWasDoneBeforeIt)
{
    rename(arm, L"leg");
    write(floatOf(arm), 1.0f);
    const std::wstring before = dump();
    const unsigned int point = undo.createRollbackPoint();
    write(floatOf(hand), 2.0f);
    destroy(hand);
    rename(arm, L"foot");
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(operationsOfCommit(), 2u);
}

TEST_F(UndoManagerRollbackTest, APointBeforeAllWorkTakesBackEverything)
{
    undo.createRollbackPoint();
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(nameOfArm(), L"arm");
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRollbackTest, APointAtTheEndTakesBackNothingAndForwardsItsCommit)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    below.take();
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(below.take(), std::vector<std::string>{"db_commit"});
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRollbackTest, InversesRunNewestFirstAndAreForwarded)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.db_reorderNode(hand, nullptr), Status::kSuccess);
    node(L"new");
    below.take();
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(below.take(),
              (std::vector<std::string>{"db_destroyLeafNode", "db_reorderNode", "db_renameNode", "db_commit"}));
}

TEST_F(UndoManagerRollbackTest, AValueFirstWrittenBeforeThePointStaysAsItIs)
{
    write(floatOf(arm), 1.0f);
    const unsigned int point = undo.createRollbackPoint();
    write(floatOf(arm), 2.0f);
    write(floatOf(hand), 2.0f);
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 2.0f);
    EXPECT_EQ(floatOf(hand)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRollbackTest, AValueThatWasRolledBackIsRecordedAgain)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    write(floatOf(arm), 1.0f);
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    write(floatOf(arm), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 2u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRollbackTest, ADestroyedNodeComesBackAsItWas)
{
    write(textOf(hand), L"a text that takes memory");
    settle();
    const std::wstring before = dump();
    destroy(hand);
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(arm->getFirstChild(), hand);
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed | NodeFlag::kCreatedInItem));
    write(floatOf(hand), 1.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRollbackTest, AnUnrecordedValueOfANodeThatStaysIsNotTakenBack)
{
    Node* const made = node(L"made");
    const unsigned int point = undo.createRollbackPoint();
    write(floatOf(made), 1.0f);
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(floatOf(made)->getValue().getFloat(), 1.0f);
}

TEST_F(UndoManagerRollbackTest, TheRestOfTheUnitCanBeCommittedAndUndone)
{
    const std::wstring before = dump();
    rename(arm, L"leg");
    const std::wstring atPoint = dump();
    const unsigned int point = undo.createRollbackPoint();
    node(L"new");
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    commit(L"rest");
    EXPECT_EQ(undo.getUndoDescription(-1), L"rest");
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    expectRedone();
    EXPECT_TRUE(isSameDump(atPoint, dump()));
}

TEST_F(UndoManagerRollbackTest, WhatIsTakenBackBehindAPointGivesItsMemoryBack)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    for (int i = 0; i < 1000; ++i)
    {
        write(floatOf(hand), 1.0f);
        rename(hand, std::wstring(100, L'n').c_str());
        ASSERT_EQ(undo.rollback(point), Status::kSuccess);
    }
    commit();
    EXPECT_LE(undo.getUndoMemoryInUse(0), 1000u);
    expectUndone();
    EXPECT_EQ(nameOfArm(), L"arm");
}

/// What could not come back stays in the open item, behind places that later points had.
TEST_F(UndoManagerRollbackTest, LaterPointsOutliveARollbackThatKeepsSomething)
{
    Node* const other = node(L"other");
    settle();
    rename(arm, L"one");
    const unsigned int first = undo.createRollbackPoint();
    rename(arm, L"two");
    const unsigned int second = undo.createRollbackPoint();
    destroy(other);
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.rollback(first), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    for (int i = 0; i < 100; ++i)
        rename(hand, std::wstring(static_cast<std::size_t>(10 + i), L'n').c_str());
    EXPECT_EQ(undo.rollback(second), Status::kSuccess);
    EXPECT_EQ(hand->getName(), L"hand");
    rename(hand, std::wstring(500, L'n').c_str());
    EXPECT_EQ(undo.rollback(first), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
    EXPECT_FALSE(other->isDestroyed());
    EXPECT_EQ(nameOfArm(), L"one");
}

// --- Points after a rollback ---

TEST_F(UndoManagerRollbackTest, PointsStayWhenSomeWorkIsLeft)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
    rename(arm, L"foot");
    EXPECT_EQ(undo.createRollbackPoint(), 1u);
    rename(arm, L"toe");
    EXPECT_EQ(undo.rollback(1), Status::kSuccess);
    EXPECT_EQ(nameOfArm(), L"foot");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(nameOfArm(), L"leg");
    EXPECT_EQ(undo.createRollbackPoint(), 2u);
}

TEST_F(UndoManagerRollbackTest, PointsEndWhenNoWorkIsLeft)
{
    undo.createRollbackPoint();
    rename(arm, L"leg");
    undo.createRollbackPoint();
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(undo.createRollbackPoint(), 0u);
}

TEST_F(UndoManagerRollbackTest, APointBeyondTheWorkThatIsLeftIsLoggedAndChangesNothing)
{
    rename(arm, L"leg");
    undo.createRollbackPoint();
    rename(arm, L"foot");
    undo.createRollbackPoint();
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    below.take();
    EXPECT_EQ(undo.rollback(1), Status::kFailure);
    EXPECT_TRUE(scene.log().tookError(L"Internal error in UndoManager::rollback()"));
    EXPECT_TRUE(below.take().empty());
    EXPECT_EQ(nameOfArm(), L"leg");
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRollbackTest, APointThatWasPassedHoldsAgainOnceWorkReachesIt)
{
    rename(arm, L"leg");
    undo.createRollbackPoint();
    rename(arm, L"foot");
    undo.createRollbackPoint();
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    rename(arm, L"paw");
    rename(arm, L"toe");
    EXPECT_EQ(undo.rollback(1), Status::kSuccess);
    EXPECT_EQ(nameOfArm(), L"paw");
}

// --- What it leaves alone, and what it says ---

TEST_F(UndoManagerRollbackTest, LeavesBothStacksAndTheRevisionAlone)
{
    rename(arm, L"one");
    commit();
    rename(arm, L"two");
    commit();
    expectUndone();
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(undo.getRedoStackSize(), 1u);
    EXPECT_EQ(undo.getRevision(), 1);
    expectRedone();
    EXPECT_EQ(nameOfArm(), L"two");
}

TEST_F(UndoManagerRollbackTest, ForwardsACommitOfItsOwn)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    const auto commits = below.takeCommits();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_EQ(commits[0].description, L"rollback");
    EXPECT_TRUE(commits[0].file.ends_with(L"UndoManager.cpp"));
    EXPECT_EQ(commits[0].line, 886u);
}

TEST_F(UndoManagerRollbackTest, WithoutOpenWorkItFailsSilently)
{
    undo.createRollbackPoint();
    for (const unsigned int point : {0u, 1u, 7u, UndoManager::kNoRollbackPoint})
        EXPECT_EQ(undo.rollback(point), Status::kFailure) << point;
    EXPECT_TRUE(scene.log().take().empty());
    EXPECT_TRUE(below.take().empty());
    EXPECT_EQ(undo.createRollbackPoint(), 1u);
}

TEST_F(UndoManagerRollbackTest, APointThatDoesNotExistIsLoggedAndChangesNothing)
{
    for (int i = 0; i < 3; ++i)
        undo.createRollbackPoint();
    rename(arm, L"leg");
    below.take();
    for (const unsigned int point : {3u, 5u, UndoManager::kNoRollbackPoint})
    {
        EXPECT_EQ(undo.rollback(point), Status::kFailure) << point;
        EXPECT_TRUE(scene.log().tookError(L"Failed to rollback. Invalid rollback point.")) << point;
    }
    EXPECT_TRUE(below.take().empty());
    EXPECT_EQ(nameOfArm(), L"leg");
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRollbackTest, WithoutPointsOnlyPointZeroIsValid)
{
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(1), Status::kFailure);
    EXPECT_TRUE(scene.log().tookError(L"Failed to rollback. Invalid rollback point."));
    EXPECT_EQ(nameOfArm(), L"leg");
}

} // namespace
} // namespace db2test
