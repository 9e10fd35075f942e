// What layers further in do by themselves, and how change reporting takes it.

#include "support/ChangeScene.h"
#include "support/HeapThatRunsOut.h"
#include "support/RecordingObservers.h"

#include <db2/UndoManager.h>
#include <db2/testing/RecordingLayer.h>

#include <new>
#include <vector>

namespace db2test {
namespace {

using ChangeManagerInnerLayersTest = ChangeScene;

/// The layers of an example chain: reports outside undo, which replays past them.
class ChangeManagerOutsideUndoTest : public ChangeScene
{
protected:
    ChangeManagerOutsideUndoTest()
    {
        reports.db_setNextInterface(&undo);
        reports.addObserver(&observer);
    }
    ~ChangeManagerOutsideUndoTest() override { reports.db_setNextInterface(&scene.core()); }

    UndoManager undo{&scene.core(), scene.core()};
    RecordingObserver observer;
};

TEST_F(ChangeManagerOutsideUndoTest, CreatedNodesThatWereTakenBackBelowAreNotReported)
{
    Node* const arm = create(L"arm");
    create(L"hand", arm);
    const unsigned int point = undo.createRollbackPoint();
    ASSERT_NE(point, UndoManager::kNoRollbackPoint);
    create(L"leg");
    create(L"foot", scene.root()->findChildByName(L"leg"));
    ASSERT_EQ(undo.rollback(point), Status::kSuccess);
    create(L"wing");

    commit();
    EXPECT_EQ(observer.told.back(), (Lines{L"created node |arm", L"created node |wing", L"created node |arm|hand"}));
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerOutsideUndoTest, CreatedNodesThatWereTakenBackBelowAreNotPreReported)
{
    RecordingPreObserver preObserver;
    reports.addPreObserver(&preObserver);
    create(L"arm");
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    create(L"leg");
    reports.preReportChanges(false);
    EXPECT_EQ(preObserver.told, std::vector<Lines>{Lines{L"created node |leg"}});
}

TEST_F(ChangeManagerOutsideUndoTest, CreatedElementsThatWereTakenBackBelowAreNotReported)
{
    Node* const node = create(L"node");
    commit();
    createElement(L"one", node);
    createElement(L"many", node, true);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    createElement(L"kept", node);
    commit();
    EXPECT_EQ(observer.told.back(), Lines{L"created dynamic attribute |node.kept"});
}

TEST_F(ChangeManagerOutsideUndoTest, CreatedReferencesThatWereTakenBackBelowAreNotReported)
{
    Node* const node = create(L"node");
    commit();
    reference(node->findAttributeByName(L"Int"), node->findAttributeByName(L"Float"));
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    reference(node->findAttributeByName(L"Int"), node->findAttributeByName(L"Double"));
    commit();
    EXPECT_EQ(observer.told.back(), (Lines{L"changed node |node", L"created reference |node.Double",
                                           L"changed attribute |node.Float", L"changed attribute |node.Double"}));
}

TEST_F(ChangeManagerOutsideUndoTest, WhatIsListedStaysReadableUntilTheReport)
{
    Node* const node = create(L"node");
    Element* const extra = createElement(L"extra", node);
    reference(node->findAttributeByName(L"Int"), node->findAttributeByName(L"Float"));
    ASSERT_EQ(undo.rollback(0), Status::kSuccess); // commits below, which frees what nobody lists
    EXPECT_TRUE(node->isDestroyed());
    EXPECT_EQ(node->getName(), L"node");
    EXPECT_STREQ(extra->getName(), L"extra");
    commit();
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerOutsideUndoTest, ANodeDestroyedAgainAfterItCameBackBelowIsRecordedOnce)
{
    Node* const node = create(L"node");
    Element* const extra = createElement(L"extra", node);
    commit();
    destroy(extra);
    destroy(node);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    ASSERT_FALSE(node->isDestroyed());
    ASSERT_FALSE(extra->isDestroyed());
    destroy(extra);
    destroy(node);
    EXPECT_EQ(recorded(), (Lines{L"destroyed node |node", L"destroyed dynamic attribute |node.extra"}));
}

TEST_F(ChangeManagerOutsideUndoTest, AUndoThatIsReplayedBelowIsNotReported)
{
    create(L"node");
    commit();
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    commit();
    EXPECT_EQ(observer.told.back(), Lines{});
    ASSERT_EQ(undo.redo(), Status::kSuccess);
    commit();
    EXPECT_EQ(observer.told.back(), Lines{});
    EXPECT_NE(scene.root()->findChildByName(L"node"), nullptr);
}

/// The recommended order: undo outside, so that what it replays is an edit like any other.
TEST_F(ChangeManagerInnerLayersTest, UndoAndRedoThroughTheLayerAreReported)
{
    RecordingObserver observer;
    reports.addObserver(&observer);
    UndoManager undo(&reports, scene.core());
    Node* node = nullptr;
    ASSERT_EQ(undo.db_createNode(Scene::kAll, L"node", nullptr, nullptr, &node), Status::kSuccess);
    ASSERT_EQ(undo.db_commit(L"create", L"", 0), Status::kSuccess);
    ASSERT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_EQ(observer.told.back(), Lines{L"destroyed node |node"});
    ASSERT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_EQ(observer.told.back(), Lines{L"created node |node"});
}

/// Destroyed and brought back within one unit: in both lists, and the node lives.
TEST_F(ChangeManagerInnerLayersTest, ANodeDestroyedAndRolledBackThroughTheLayerIsDestroyedAndCreated)
{
    RecordingObserver observer;
    reports.addObserver(&observer);
    Node* const node = scene.node(L"node");
    UndoManager undo(&reports, scene.core());
    const unsigned int point = undo.createRollbackPoint();
    ASSERT_EQ(undo.db_destroyLeafNode(node), Status::kSuccess);
    ASSERT_EQ(undo.rollback(point), Status::kSuccess);
    EXPECT_EQ(observer.told.back(), (Lines{L"created node |node", L"destroyed node |node"}));
    EXPECT_FALSE(node->isDestroyed());
}

TEST_F(ChangeManagerOutsideUndoTest, DestroyedNodesThatWereBroughtBackBelowAreNotReported)
{
    Node* const arm = create(L"arm");
    Node* const hand = create(L"hand", arm);
    Node* const leg = create(L"leg");
    commit();
    destroy(leg);
    const unsigned int point = undo.createRollbackPoint();
    destroy(hand);
    destroy(arm);
    ASSERT_EQ(undo.rollback(point), Status::kSuccess);
    ASSERT_FALSE(hand->isDestroyed());
    ASSERT_EQ(reports.preReportChanges(false), Status::kSuccess);
    EXPECT_EQ(changesOf(snapshot), Lines{L"destroyed node |leg"});
    commit();
    EXPECT_EQ(observer.told.back(), Lines{L"destroyed node |leg"});
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kChangeFlags));
}

TEST_F(ChangeManagerOutsideUndoTest, DestroyedElementsAndReferencesThatWereBroughtBackBelowAreNotReported)
{
    Node* const node = create(L"node");
    Element* const extra = createElement(L"extra", node);
    Element* const list = createElement(L"list", node, true);
    Attribute* const referencer = node->findAttributeByName(L"Float");
    reference(node->findAttributeByName(L"Int"), referencer);
    commit();
    destroy(extra);
    destroy(list);
    endReference(referencer);
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    ASSERT_FALSE(extra->isDestroyed());
    ASSERT_NE(referencer->getReference(), nullptr);
    commit();
    EXPECT_EQ(observer.told.back(), (Lines{L"changed node |node", L"changed attribute |node.Float"}));
    EXPECT_FALSE(extra->hasAnyFlag(ElementFlag::kChangeFlags));
    EXPECT_FALSE(list->hasAnyFlag(ElementFlag::kChangeFlags));
    EXPECT_FALSE(referencer->hasAnyFlag(ElementFlag::kChangeFlags));
}

/// As a layer may answer that only looks at what is asked.
TEST_F(ChangeManagerInnerLayersTest, ANextLayerThatSaysYesToNullsIsNoReasonToFail)
{
    db2::conformance::RecordingLayer yes(nullptr);
    reports.db_setNextInterface(&yes);
    const IntAttributeMetaDataDef definition;
    Node* node = scene.root();
    Element* element = scene.root()->getElement(0);
    ValueHandle value;
    void* values = nullptr;
    EXPECT_EQ(data.db_createNode(Scene::kAll, L"x", nullptr, nullptr, &node), Status::kSuccess);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(data.db_createUnknownNode(L"X", scene.module(), L"x", nullptr, nullptr, false, nullptr),
              Status::kSuccess);
    EXPECT_EQ(data.db_destroyLeafNode(nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_renameNode(nullptr, L"x"), Status::kSuccess);
    EXPECT_EQ(data.db_reparentNode(nullptr, nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_reorderNode(nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_createDynamicElement(definition, L"x", nullptr, nullptr, &element), Status::kSuccess);
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(data.db_destroyDynamicElement(nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_renameDynamicElement(nullptr, L"x"), Status::kSuccess);
    EXPECT_EQ(data.db_resizeAttributeArray(nullptr, 1), Status::kSuccess);
    EXPECT_EQ(data.db_createReference(nullptr, nullptr, false), Status::kSuccess);
    EXPECT_EQ(data.db_destroyReference(nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_lockAttribute(nullptr, &value), Status::kSuccess);
    EXPECT_EQ(data.db_lockAttributeArray(nullptr, &values), Status::kSuccess);
    EXPECT_EQ(recorded(), Lines{});
    reports.db_setNextInterface(&next);
}

// --- Memory ---

/// Sorting takes memory, which has run out here.
class UnsortableChangeSet : public ConcreteChangeSet
{
public:
    void stableSortCreatedNodes(BreadthFirstSortFunctor&) override { throw std::bad_alloc(); }
};

TEST_F(ChangeManagerInnerLayersTest, AReportIsToldWithoutMemoryToSortIt)
{
    UnsortableChangeSet unsortable;
    ChangeManager layer(&scene.core(), unsortable, snapshot);
    RecordingObserver observer;
    layer.addObserver(&observer);
    Node* up = nullptr;
    Node* made = nullptr;
    ASSERT_EQ(layer.db_createNode(Scene::kAll, L"up", nullptr, nullptr, &up), Status::kSuccess);
    ASSERT_EQ(layer.db_createNode(Scene::kAll, L"made", nullptr, nullptr, &made), Status::kSuccess);
    ASSERT_EQ(layer.db_reparentNode(up, made, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(layer.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_EQ(observer.told, (std::vector<Lines>{{L"created node |made|up", L"created node |made"}}));
    EXPECT_TRUE(scene.log().tookError(
        L"Out of memory while preparing a report of changes; it is told in the order of recording."));
    EXPECT_FALSE(up->hasAnyFlag(NodeFlag::kChangeFlags));
}

/// Counts what it is told, which takes no memory.
class CountingObserver : public DataObserver
{
public:
    void onReportChanges(ChangeManager*, const ChangeSet& changes, bool) override
    {
        ++reports;
        created += changes.CreatedNodeCount();
    }
    void onClear(ChangeManager*) override {}

    unsigned int reports = 0;
    unsigned int created = 0;
};

TEST_F(ChangeManagerOutsideUndoTest, WhatWasTakenBackBelowIsNotReportedWithoutMemoryEither)
{
    CountingObserver counter;
    reports.addObserver(&counter);
    create(L"gone");
    ASSERT_EQ(undo.rollback(0), Status::kSuccess);
    {
        const HeapThatRunsOut heap(0);
        EXPECT_EQ(data.db_commitTransient(), Status::kSuccess);
    }
    EXPECT_EQ(counter.reports, 1u);
    EXPECT_EQ(counter.created, 0u);
}

} // namespace
} // namespace db2test
