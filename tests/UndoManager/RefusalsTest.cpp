#include "support/UndoFixture.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

// When undo, redo and rollback are refused, and what becomes of inverses that fail.

namespace db2test {
namespace {

class UndoManagerRefusalsTest : public UndoFixture
{
protected:
    /// One item on each stack.
    UndoManagerRefusalsTest()
    {
        settle();
        rename(arm, L"one");
        commit();
        rename(arm, L"two");
        commit();
        expectUndone();
        below.take();
    }

    void expectAllRefused()
    {
        EXPECT_EQ(undo.undo(), Status::kFailure);
        EXPECT_EQ(undo.redo(), Status::kFailure);
        EXPECT_EQ(undo.rollback(0), Status::kFailure);
    }

    void expectStacks(unsigned int undoItems, unsigned int redoItems)
    {
        EXPECT_EQ(undo.getUndoStackSize(), undoItems);
        EXPECT_EQ(undo.getRedoStackSize(), redoItems);
    }

    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
};

// --- While an attribute is locked ---

TEST_F(UndoManagerRefusalsTest, UndoAndRedoAreRefusedWhileAnAttributeIsLocked)
{
    ValueHandle value;
    ASSERT_EQ(core.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
    const std::wstring before = dump();
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_EQ(undo.redo(), Status::kFailure);
    EXPECT_TRUE(below.take().empty());
    EXPECT_TRUE(isSameDump(before, dump()));
    expectStacks(1, 1);
    EXPECT_EQ(undo.getRevision(), 1);
    ASSERT_EQ(core.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    expectUndone();
}

TEST_F(UndoManagerRefusalsTest, RollbackIsRefusedWhileAnAttributeIsLocked)
{
    rename(arm, L"leg");
    ValueHandle value;
    ASSERT_EQ(undo.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
    below.take();
    EXPECT_EQ(undo.rollback(0), Status::kFailure);
    EXPECT_TRUE(below.take().empty());
    ASSERT_EQ(undo.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    EXPECT_EQ(arm->getName(), L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(arm->getName(), L"one");
}

TEST_F(UndoManagerRefusalsTest, UndoIsRefusedWhileAnArrayIsLocked)
{
    void* values = nullptr;
    ASSERT_EQ(core.db_lockAttributeArray(floatsOf(arm), &values), Status::kSuccess);
    expectAllRefused();
    ASSERT_EQ(core.db_unlockAttributeArray(floatsOf(arm)), Status::kSuccess);
    expectUndone();
}

TEST_F(UndoManagerRefusalsTest, EditsWhileAnAttributeIsLockedAreRefusedAndNotRecorded)
{
    ValueHandle value;
    ASSERT_EQ(core.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
    EXPECT_EQ(undo.db_destroyLeafNode(hand), Status::kLockOutstanding);
    EXPECT_EQ(undo.db_renameNode(arm, L"leg"), Status::kLockOutstanding);
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"a", nullptr, nullptr, nullptr), Status::kLockOutstanding);
    EXPECT_EQ(undo.db_resizeAttributeArray(floatsOf(arm), 3), Status::kLockOutstanding);
    EXPECT_EQ(undo.db_commitTransient(), Status::kLockOutstanding);
    EXPECT_FALSE(hand->hasFlag(NodeFlag::kInUndo));
    ASSERT_EQ(core.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRefusalsTest, AShrinkAndALockOfWhatShowsALargerTypeAreRefusedAndNotRecorded)
{
    AttributeArray* const floats = floatsOf(arm);
    ASSERT_EQ(core.db_resizeAttributeArray(floats, 1), Status::kSuccess);
    Attribute* const item = floats->getAttribute(0);
    ASSERT_EQ(core.db_createReference(hand->findAttributeByName(L"Matrix"), item, false), Status::kSuccess);
    ASSERT_EQ(core.db_createReference(hand->findAttributeByName(L"String"), floatOf(arm), false), Status::kSuccess);
    ValueHandle value;
    EXPECT_EQ(undo.db_lockAttribute(item, &value), Status::kLockReferencer);
    EXPECT_EQ(undo.db_lockAttribute(floatOf(arm), &value), Status::kLockReferencer);
    EXPECT_EQ(undo.db_resizeAttributeArray(floats, 0), Status::kResizeDropsReferences);
    expectStacks(1, 1);
    EXPECT_EQ(undo.getRevision(), 1);
}

TEST_F(UndoManagerRefusalsTest, ACommitAndAClearAreRefusedWhileAnAttributeIsLockedAndChangeNothing)
{
    rename(arm, L"leg");
    const unsigned int point = undo.createRollbackPoint();
    rename(hand, L"paw");
    ValueHandle value;
    ASSERT_EQ(core.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
    EXPECT_EQ(undo.db_commit(L"edit", L"test", 1), Status::kLockOutstanding);
    EXPECT_EQ(undo.db_clear(), Status::kLockOutstanding);
    ASSERT_EQ(core.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    expectStacks(1, 1);
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(hand->getName(), L"hand");
    EXPECT_EQ(operationsOfCommit(), 1u);
}

// --- From within ---

TEST_F(UndoManagerRefusalsTest, AllAreRefusedWithinACommit)
{
    int calls = 0;
    below.callInCommits([&] {
        ++calls;
        expectAllRefused();
    });
    rename(arm, L"leg");
    commit();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(arm->getName(), L"leg");
    expectStacks(2, 0);
}

TEST_F(UndoManagerRefusalsTest, AllAreRefusedWithinTheCommitOfAnUndoARedoAndARollback)
{
    int calls = 0;
    below.callInCommits([&] {
        ++calls;
        expectAllRefused();
    });
    expectUndone();
    expectStacks(0, 2);
    expectRedone();
    expectStacks(1, 1);
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    expectStacks(1, 1);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(arm->getName(), L"one");
}

TEST_F(UndoManagerRefusalsTest, AllAreRefusedWhileOperationsAreReplayed)
{
    int calls = 0;
    below.callInRenames([&] {
        ++calls;
        expectAllRefused();
    });
    expectUndone();
    expectRedone();
    below.callInRenames(nullptr);
    rename(arm, L"leg");
    below.callInRenames([&] {
        ++calls;
        expectAllRefused();
    });
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(calls, 3);
    expectStacks(1, 1);
}

TEST_F(UndoManagerRefusalsTest, TheHistoryStaysAsItIsWhileOperationsAreReplayed)
{
    below.callInRenames([&] {
        EXPECT_EQ(undo.db_commit(L"inner", L"test", 1), Status::kFailure);
        EXPECT_EQ(undo.db_clear(), Status::kFailure);
        undo.clearUndoHistory();
        undo.setMaxUndoItems(5);
        for (const int index : {-1, 0, 1})
        {
            (void)undo.getUndoDescription(index);
            (void)undo.getRedoDescription(index);
        }
        EXPECT_EQ(undo.getNumRedoOperations(1), 0u);
        EXPECT_EQ(undo.getRedoMemoryInUse(1), 0u);
    });
    expectUndone();
    expectStacks(0, 2);
    EXPECT_EQ(undo.getMaxUndoItems(), 5);
    expectRedone();
    expectStacks(1, 1);
}

TEST_F(UndoManagerRefusalsTest, ALimitSetWhileOperationsAreReplayedHoldsAfterwards)
{
    below.callInRenames([&] { undo.setMaxUndoItems(0); });
    expectRedone();
    expectStacks(0, 0);
}

TEST_F(UndoManagerRefusalsTest, AllAreRefusedWithinEveryCallOfAnObserver)
{
    class Caller : public UndoObserver
    {
    public:
        void onUndoStackPushed(UndoManager* manager) override { call(*manager); }
        void onUndoStackPopped(UndoManager* manager) override { call(*manager); }
        void onUndoStackPoppedFront(UndoManager* manager) override { call(*manager); }
        void onRedoStackPushed(UndoManager* manager) override { call(*manager); }
        void onRedoStackPopped(UndoManager* manager) override { call(*manager); }
        int calls = 0;

    private:
        void call(UndoManager& manager)
        {
            ++calls;
            EXPECT_EQ(manager.undo(), Status::kFailure);
            EXPECT_EQ(manager.redo(), Status::kFailure);
            EXPECT_EQ(manager.rollback(0), Status::kFailure);
        }
    } caller;
    undo.addObserver(&caller);
    expectUndone();
    expectRedone(); // two calls each
    rename(arm, L"leg");
    commit(); // an item pushed, the redo item dropped
    EXPECT_EQ(caller.calls, 6);
    undo.setMaxUndoItems(1);
    undo.clearUndoHistory();
    EXPECT_EQ(caller.calls, 8);
    undo.removeObserver(&caller);
}

TEST_F(UndoManagerRefusalsTest, AnEditWithinACommitBelongsToTheNextUnit)
{
    below.callInCommits([&] {
        below.callInCommits(nullptr);
        rename(hand, L"paw");
    });
    rename(arm, L"leg");
    commit();
    EXPECT_EQ(undo.getNumUndoOperations(1), 1u);
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
    EXPECT_EQ(arm->getName(), L"leg");
}

TEST_F(UndoManagerRefusalsTest, AnEditWithinTheCommitOfAnUndoBelongsToTheNextUnit)
{
    below.callInCommits([&] {
        below.callInCommits(nullptr);
        rename(hand, L"paw");
    });
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_EQ(undo.getNumRedoOperations(1), 1u);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRefusalsTest, ACommitWithinACommitIsACommit)
{
    below.callInCommits([&] {
        below.callInCommits(nullptr);
        rename(hand, L"paw");
        commit(L"inner");
    });
    rename(arm, L"leg");
    commit(L"outer");
    expectStacks(3, 0);
    EXPECT_EQ(undo.getUndoDescription(-1), L"inner");
    EXPECT_EQ(undo.getUndoDescription(1), L"outer");
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
}

// --- Inverses that fail ---

class UndoManagerFailedInversesTest : public UndoManagerRefusalsTest
{
};

TEST_F(UndoManagerFailedInversesTest, TheOthersAreReplayedAndTheUndoSucceeds)
{
    settle();
    rename(hand, L"paw");
    write(floatOf(arm), 1.0f);
    EXPECT_EQ(undo.db_reorderNode(hand, nullptr), Status::kSuccess);
    commit();
    below.refuse({"db_renameNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    EXPECT_TRUE(scene.log().tookError(L"Failed to take back db_renameNode"));
    EXPECT_EQ(hand->getName(), L"paw");
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 0.0f);
    expectStacks(0, 1);
    EXPECT_EQ(undo.getNumRedoOperations(0), 2u);
    below.refuseNothing();
    expectRedone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 1.0f);
}

TEST_F(UndoManagerFailedInversesTest, TheNextReplayIsCompleteAgain)
{
    below.refuse({"db_renameNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
}

TEST_F(UndoManagerFailedInversesTest, ARefusedUndoLeavesTheAnswerAboutTheLastReplay)
{
    below.refuse({"db_renameNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    below.refuseNothing();
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_FALSE(undo.lastReplayWasComplete());
}

TEST_F(UndoManagerFailedInversesTest, RollbackReplaysTheOthersAndSucceeds)
{
    const unsigned int point = undo.createRollbackPoint();
    rename(hand, L"paw");
    write(floatOf(arm), 1.0f);
    below.refuse({"db_renameNode"});
    EXPECT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    EXPECT_TRUE(scene.log().tookError(L"Failed to take back db_renameNode"));
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 0.0f);
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerFailedInversesTest, EveryKindIsLoggedByItsName)
{
    Element* const element = dynamicElement(L"dynamic", arm);
    Element* const destroyed = dynamicElement(L"destroyed", arm);
    Node* const leaf = node(L"leaf");
    Node* unknown = nullptr;
    ASSERT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"gone", nullptr, nullptr, false, &unknown),
              Status::kSuccess);
    resize(floatsOf(arm), 3);
    AttributeArray* const texts = hand->findAttributeArrayByName(L"StringItems");
    EXPECT_EQ(undo.db_createReference(floatOf(arm), floatsOf(arm)->getAttribute(0), false), Status::kSuccess);
    settle();

    struct Row
    {
        const wchar_t* recorded; ///< what the log names
        const char* inverse;     ///< what is refused
        std::function<Status()> edit;
    };
    const Row rows[] = {
        {L"db_createNode", "db_destroyLeafNode",
         [&] { return undo.db_createNode(Scene::kAll, L"a", nullptr, nullptr, nullptr); }},
        {L"db_destroyLeafNode", "db_createNode", [&] { return undo.db_destroyLeafNode(leaf); }},
        {L"db_destroyLeafNode", "db_createUnknownNode", [&] { return undo.db_destroyLeafNode(unknown); }},
        {L"db_createUnknownNode", "db_destroyLeafNode",
         [&] { return undo.db_createUnknownNode(L"Gone", scene.module(), L"b", nullptr, nullptr, true, nullptr); }},
        {L"db_renameNode", "db_renameNode", [&] { return undo.db_renameNode(arm, L"new"); }},
        {L"db_reparentNode", "db_reparentNode",
         [&] { return undo.db_reparentNode(hand, scene.root(), nullptr, nullptr); }},
        {L"db_reorderNode", "db_reorderNode", [&] { return undo.db_reorderNode(hand, nullptr); }},
        {L"db_createDynamicElement", "db_destroyDynamicElement",
         [&] { return undo.db_createDynamicElement(IntAttributeMetaDataDef(), L"a", arm, nullptr, nullptr); }},
        {L"db_destroyDynamicElement", "db_createDynamicElement",
         [&] { return undo.db_destroyDynamicElement(destroyed); }},
        {L"db_renameDynamicElement", "db_renameDynamicElement",
         [&] { return undo.db_renameDynamicElement(element, L"new"); }},
        {L"db_resizeAttributeArray", "db_resizeAttributeArray", [&] { return undo.db_resizeAttributeArray(texts, 2); }},
        {L"db_createReference", "db_destroyReference",
         [&] { return undo.db_createReference(floatOf(arm), floatOf(hand), false); }},
        {L"db_destroyReference", "db_createReference",
         [&] { return undo.db_destroyReference(floatsOf(arm)->getAttribute(0)); }},
        {L"db_lockAttribute", "db_lockAttribute",
         [&] {
             write(textOf(arm), L"new");
             return Status::kSuccess;
         }},
        {L"db_lockAttributeArray", "db_lockAttributeArray",
         [&] {
             writeItems(floatsOf(arm), 2.0f);
             return Status::kSuccess;
         }},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.inverse);
        ASSERT_EQ(row.edit(), Status::kSuccess);
        commit();
        scene.log().take();
        below.refuse({row.inverse});
        EXPECT_EQ(undo.undo(), Status::kSuccess);
        EXPECT_FALSE(undo.lastReplayWasComplete());
        EXPECT_TRUE(scene.log().tookError(std::wstring(L"Failed to take back ") + row.recorded));
        below.refuseNothing();
        settle();
    }
}

TEST_F(UndoManagerFailedInversesTest, AReleasedItemThatIsNotWrittenMakesTheReplayIncomplete)
{
    resize(floatsOf(arm), 3);
    settle();
    resize(floatsOf(arm), 0);
    commit();
    below.refuse({"db_lockAttribute"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    EXPECT_EQ(floatsOf(arm)->getSize(), 3u);
    EXPECT_FALSE(core.isLockOutstanding());
}

TEST_F(UndoManagerFailedInversesTest, ANodeThatCouldNotComeBackStaysHeldAndComesBackWithALaterUndo)
{
    write(textOf(hand), L"a text that takes memory");
    settle();
    const std::wstring before = dump();
    destroy(hand);
    commit();
    const std::wstring after = dump();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    commit();
    commit();
    EXPECT_TRUE(hand->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_TRUE(isSameDump(after, dump()));

    EXPECT_NE(node(L"other"), hand); // the pending one was taken back
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    expectStacks(0, 1);
    EXPECT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(after, dump()));
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(arm->getFirstChild(), hand);
}

TEST_F(UndoManagerFailedInversesTest, AnElementThatCouldNotComeBackStaysHeldAndComesBackWithALaterUndo)
{
    Element* const element = dynamicElement(L"dynamic", arm);
    write(static_cast<Attribute*>(element), L"a text that takes memory");
    settle();
    const std::wstring before = dump();
    ASSERT_EQ(undo.db_destroyDynamicElement(element), Status::kSuccess);
    commit();
    const std::wstring after = dump();
    below.refuse({"db_createDynamicElement"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    commit();
    EXPECT_TRUE(element->hasFlag(ElementFlag::kInUndo));
    EXPECT_NE(dynamicElement(L"other", arm), element);
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(after, dump()));
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
}

TEST_F(UndoManagerFailedInversesTest, ANodeThatARollbackCouldNotBringBackStaysHeld)
{
    settle();
    const std::wstring before = dump();
    destroy(hand);
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    EXPECT_TRUE(hand->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_NE(node(L"other"), hand);
    destroy(scene.root()->findChildByName(L"other"));
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
    EXPECT_TRUE(isSameDump(before, dump()));
}

TEST_F(UndoManagerFailedInversesTest, ARefusedNodeComesBackWithTheUndoOfTheUnitThatDropsTheRedo)
{
    settle();
    Node* const index = node(L"index", arm);
    commit();
    const std::wstring before = dump();
    destroy(index);
    commit();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    below.refuseNothing();
    node(L"index", arm); // takes its name meanwhile
    commit();
    commit();
    EXPECT_FALSE(undo.canRedo());
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(arm->getLastChild(), index);
    expectUndone(); // its creation
    EXPECT_TRUE(index->isDestroyed());
}

TEST_F(UndoManagerFailedInversesTest, RefusedNodesOfSeveralItemsComeBackInOrder)
{
    Node* const index = node(L"index", arm);
    Node* const thumb = node(L"thumb", index);
    settle();
    const std::wstring before = dump();
    destroy(thumb); // stands behind nothing
    commit();
    destroy(index);
    destroy(hand);
    commit();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    below.refuseNothing();
    rename(arm, L"leg");
    commit();
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(arm->getFirstChild(), hand);
    EXPECT_EQ(index->getFirstChild(), thumb);
}

TEST_F(UndoManagerFailedInversesTest, ANodeThatIsRefusedTimeAndAgainIsNeverLost)
{
    settle();
    const std::wstring before = dump();
    destroy(hand);
    commit();
    for (int i = 0; i < 100; ++i)
    {
        below.refuse({"db_createNode"});
        EXPECT_EQ(undo.undo(), Status::kSuccess);
        below.refuseNothing();
        EXPECT_EQ(undo.redo(), Status::kSuccess);
    }
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
}

TEST_F(UndoManagerFailedInversesTest, ANodeThatARedoCouldNotBringBackComesBackWithALaterRedo)
{
    settle();
    node(L"index", arm);
    commit();
    const std::wstring after = dump();
    expectUndone();
    const std::wstring before = dump();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    commit();
    EXPECT_TRUE(isSameDump(before, dump()));
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    expectRedone();
    EXPECT_TRUE(isSameDump(after, dump()));
}

TEST_F(UndoManagerFailedInversesTest, ANodeThatARedoCouldNotBringBackOutlivesItsItem)
{
    settle();
    Node* const index = node(L"index", arm);
    Node* const thumb = node(L"thumb", index);
    commit();
    write(floatOf(index), 1.0f);
    commit();
    const std::wstring after = dump();
    expectUndone();
    expectUndone();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    below.refuseNothing();
    undo.setMaxUndoItems(0);
    commit();
    commit();
    expectRedone(); // the write, to which it takes the node
    EXPECT_TRUE(isSameDump(after, dump()));
    EXPECT_EQ(arm->getLastChild(), index);
    EXPECT_EQ(index->getFirstChild(), thumb);
}

TEST_F(UndoManagerFailedInversesTest, ArrayValuesAreNotWrittenToAnArrayOfAnotherSize)
{
    resize(floatsOf(arm), 40);
    settle();
    writeItems(floatsOf(arm), 1.0f);
    resize(floatsOf(arm), 1);
    commit();
    below.refuse({"db_resizeAttributeArray"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.lastReplayWasComplete());
    EXPECT_EQ(floatsOf(arm)->getAttribute(0)->getValue().getFloat(), 1.0f);
    EXPECT_FALSE(core.isLockOutstanding());
}

TEST_F(UndoManagerFailedInversesTest, AHeldNodeThatCouldNotComeBackIsFreedWithTheHistory)
{
    settle();
    destroy(hand);
    commit();
    below.refuse({"db_createNode"});
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    below.refuseNothing();
    undo.clearUndoHistory();
    commit();
    EXPECT_EQ(core.getRegistry().lookupNodeTemplate(Scene::kAll)->getReferenceCount(), 1u);
}

} // namespace
} // namespace db2test
