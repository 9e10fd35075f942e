#include "support/RecordingObservers.h"
#include "support/UndoFixture.h"

#include <functional>

// Observers that call the layer back while it forwards the end of a unit of work: what the layers refuse costs no history.

namespace db2test {
namespace {

/// Change reporting stands below undo, as recommended. It refuses every edit while its observers run.
class UndoManagerReentryTest : public UndoFixture
{
protected:
    UndoManagerReentryTest()
    {
        settle();
        below.db_setNextInterface(&reports);
        rename(arm, L"one");
        commit();
        rename(arm, L"two");
        commit();
        expectUndone();
        reports.addObserver(&observer);
    }

    /// From now on each report has its observer make the call, which must be refused.
    void expectRefusedInReports(std::function<Status()> call)
    {
        observer.onReport = [this, call](const ChangeSet&) {
            ++calls;
            EXPECT_EQ(call(), Status::kFailure);
        };
    }

    void expectStacks(unsigned int undoItems, unsigned int redoItems)
    {
        EXPECT_EQ(undo.getUndoStackSize(), undoItems);
        EXPECT_EQ(undo.getRedoStackSize(), redoItems);
    }

    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&core, changes, snapshot};
    RecordingObserver observer;
    int calls = 0;
    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
};

// --- Undo, redo and rollback ---

TEST_F(UndoManagerReentryTest, UndoAndRedoAreRefusedWithinATransientCommit)
{
    expectRefusedInReports([&] { return undo.undo(); });
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    expectRefusedInReports([&] { return undo.redo(); });
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(calls, 2);
    observer.onReport = nullptr;
    expectStacks(1, 1);
    EXPECT_EQ(undo.getRevision(), 1);
    expectUndone();
    EXPECT_EQ(arm->getName(), L"arm");
}

TEST_F(UndoManagerReentryTest, RollbackIsRefusedWithinATransientCommit)
{
    rename(arm, L"leg");
    expectRefusedInReports([&] { return undo.rollback(0); });
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(calls, 1);
    observer.onReport = nullptr;
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
    EXPECT_EQ(arm->getName(), L"one");
}

// --- Commits ---

TEST_F(UndoManagerReentryTest, ARefusedCommitWithinATransientCommitLeavesTheUnitOpen)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    rename(hand, L"paw");
    expectRefusedInReports([&] { return undo.db_commit(L"inner", L"test", 1); });
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(calls, 1);
    observer.onReport = nullptr;
    expectStacks(1, 1);
    EXPECT_EQ(undo.getRevision(), 1);
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(hand->getName(), L"hand");
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerReentryTest, ARefusedCommitWithinTheCommitOfARollbackLeavesTheUnitOpen)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    rename(hand, L"paw");
    expectRefusedInReports([&] { return undo.db_commit(L"inner", L"test", 1); });
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(calls, 1);
    observer.onReport = nullptr;
    expectStacks(1, 1);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerReentryTest, ARefusedCommitWithinACommitLeavesWhatCameBetweenOpen)
{
    class Editor : public UndoObserver
    {
    public:
        explicit Editor(Node* node) : node_(node) {}
        void onUndoStackPushed(UndoManager* manager) override
        {
            EXPECT_EQ(manager->db_renameNode(node_, L"paw"), Status::kSuccess);
        }

    private:
        Node* node_;
    } editor(hand);
    undo.addObserver(&editor);
    rename(arm, L"leg");
    expectRefusedInReports([&] { return undo.db_commit(L"inner", L"test", 1); });
    commit(L"outer");
    undo.removeObserver(&editor);
    EXPECT_EQ(calls, 1);
    observer.onReport = nullptr;
    expectStacks(2, 0);
    EXPECT_EQ(undo.getUndoDescription(-1), L"outer");
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
}

TEST_F(UndoManagerReentryTest, ACommitByAnObserverOfTheStacksIsACommit)
{
    class Committer : public UndoObserver
    {
    public:
        void onUndoStackPushed(UndoManager* manager) override
        {
            if (manager->getUndoStackSize() == 2)
            {
                EXPECT_EQ(manager->db_renameNode(node, L"paw"), Status::kSuccess);
                EXPECT_EQ(manager->db_commit(L"inner", L"test", 1), Status::kSuccess);
            }
        }
        Node* node = nullptr;
    } committer;
    committer.node = hand;
    undo.addObserver(&committer);
    rename(arm, L"leg");
    commit(L"outer");
    undo.removeObserver(&committer);
    expectStacks(3, 0);
    EXPECT_EQ(undo.getUndoDescription(-1), L"inner");
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
}

// --- Clearing ---

TEST_F(UndoManagerReentryTest, AClearWithinAnyCommitIsRefusedAndDropsNothing)
{
    rename(arm, L"leg");
    expectRefusedInReports([&] { return undo.db_clear(); });
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    expectStacks(1, 1);
    commit();
    expectStacks(2, 0);
    expectUndone();
    expectRedone();
    EXPECT_EQ(calls, 4);
    expectStacks(2, 0);
    EXPECT_EQ(arm->getName(), L"leg");
}

/// Edits, and commits if it shall, whenever an item leaves a stack.
class EditorOfPoppedItems : public UndoObserver
{
public:
    explicit EditorOfPoppedItems(bool commits) : commits_(commits) {}
    void onUndoStackPopped(UndoManager* manager) override { edit(*manager); }
    void onRedoStackPopped(UndoManager* manager) override { edit(*manager); }
    int calls = 0;

private:
    void edit(UndoManager& manager)
    {
        ++calls;
        Node* node = nullptr;
        EXPECT_EQ(manager.db_createNode(Scene::kAll, L"log", nullptr, nullptr, &node), Status::kSuccess);
        if (commits_)
            manager.db_commit(L"log", L"test", 1);
    }

    bool commits_;
};

TEST_F(UndoManagerReentryTest, WhatObserversEditWhileTheHistoryIsClearedGoesWithTheTree)
{
    for (const bool commits : {false, true})
    {
        SCOPED_TRACE(commits);
        EditorOfPoppedItems editor(commits);
        Node* const made = node(L"made");
        commit();
        rename(made, L"other");
        commit();
        expectUndone();
        undo.addObserver(&editor);
        EXPECT_EQ(undo.db_clear(), Status::kSuccess);
        undo.removeObserver(&editor);
        EXPECT_GE(editor.calls, 2);
        EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
        expectStacks(0, 0);
        EXPECT_EQ(operationsOfCommit(), 0u);
    }
}

} // namespace
} // namespace db2test
