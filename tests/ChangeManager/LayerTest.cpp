#include "support/ChangeScene.h"
#include "support/HeapThatRunsOut.h"
#include "support/RecordingObservers.h"

#include <memory>

// ChangeManager as a layer: what it is made of, what it does with refusals, and its copies.

namespace db2test {
namespace {

class ChangeManagerLayerTest : public ChangeScene
{
};

// --- Construction ---

/// Counts calls of reserve().
class ReservingChangeSet : public ConcreteChangeSet
{
public:
    void reserve() override { ++reserved; }
    int reserved = 0;
};

TEST_F(ChangeManagerLayerTest, ConstructionReservesTheRecordingSetOnce)
{
    ReservingChangeSet recording;
    ReservingChangeSet shown;
    const ChangeManager layer(&scene.core(), recording, shown);
    EXPECT_EQ(recording.reserved, 1);
    EXPECT_EQ(shown.reserved, 0);
}

TEST_F(ChangeManagerLayerTest, ObserversCanAskForTheHostsDatabase)
{
    int database = 0;
    const ChangeManager layer(&scene.core(), changes, snapshot, &database);
    EXPECT_EQ(layer.getWrapperDatabase(), &database);
    EXPECT_EQ(reports.getWrapperDatabase(), nullptr);
}

TEST_F(ChangeManagerLayerTest, TheNextLayerCanBeExchanged)
{
    EXPECT_EQ(reports.db_getNextInterface(), &next);
    RefusingLayer other(&scene.core());
    reports.db_setNextInterface(&other);
    create(L"made");
    EXPECT_EQ(next.calls(), 0u);
    EXPECT_EQ(other.calls(), 1u);
}

TEST_F(ChangeManagerLayerTest, TheStatisticsStayZero)
{
    RecordingObserver observer;
    reports.addObserver(&observer);
    create(L"made");
    reports.preReportChanges(false);
    commit();
    EXPECT_EQ(reports.debug_getReportChangesCount(), 0u);
    EXPECT_EQ(reports.debug_getReportChangesTotalTime(), 0.0f);
    EXPECT_EQ(reports.debug_getReportChangesLastTime(), 0.0f);
    EXPECT_EQ(reports.debug_getPreReportChangesCount(), 0u);
    EXPECT_EQ(reports.debug_getPreReportChangesTotalTime(), 0.0f);
    EXPECT_EQ(reports.debug_getPreReportChangesLastTime(), 0.0f);
}

TEST_F(ChangeManagerLayerTest, TheEndOfALayerTellsNobodyAndLeavesTheChangeSetsAlone)
{
    RecordingObserver observer;
    {
        ChangeManager layer(&scene.core(), changes, snapshot);
        layer.addObserver(&observer);
        ASSERT_EQ(layer.db_createNode(Scene::kPlain, L"made", nullptr, nullptr, nullptr), Status::kSuccess);
        layer.preReportChanges(false);
    }
    EXPECT_TRUE(observer.told.empty());
    EXPECT_EQ(recorded(), Lines{L"created node |made"});
    EXPECT_EQ(changesOf(snapshot), Lines{L"created node |made"});
    commit();
}

// --- What a host's own layer can build on ---

class DerivedManager : public ChangeManager
{
public:
    using ChangeManager::addChangedAttribute;
    using ChangeManager::ChangeManager;
    using ChangeManager::clear;
    using ChangeManager::handleCreatedNode;
    using ChangeManager::reportChanges;
};

TEST_F(ChangeManagerLayerTest, ADerivedLayerCanRecord)
{
    DerivedManager derived(&next, changes, snapshot);
    Node* const node = scene.node(L"node");
    Node* const made = scene.node(L"made");
    AttributeArray* const items = node->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(items, 1), Status::kSuccess);
    derived.handleCreatedNode(made);
    derived.handleCreatedNode(made);
    derived.addChangedAttribute(node->findAttributeByName(L"Int"));
    derived.addChangedAttribute(node->findAttributeByName(L"Int"));
    derived.addChangedAttribute(made->findAttributeByName(L"Int")); // of a created node
    derived.addChangedAttribute(items->getAttribute(0));
    EXPECT_EQ(recorded(), (Lines{L"created node |made", L"changed node |node", L"changed attribute |node.Int"}));
}

TEST_F(ChangeManagerLayerTest, ADerivedLayerCanReportAndClear)
{
    DerivedManager derived(&next, changes, snapshot);
    RecordingObserver observer;
    derived.addObserver(&observer);
    Node* const node = scene.node(L"node");
    derived.handleCreatedNode(node);
    derived.reportChanges(true);
    EXPECT_EQ(observer.told, std::vector<Lines>{Lines{L"created node |node"}});
    EXPECT_EQ(observer.transients, std::vector<bool>{true});
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_EQ(next.calls(), 0u) << "a report is no commit";

    derived.handleCreatedNode(node);
    derived.clear();
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_FALSE(node->hasAnyFlag(NodeFlag::kChangeFlags));
    EXPECT_EQ(observer.told.size(), 1u);
}

// --- Copies ---

TEST_F(ChangeManagerLayerTest, ACopyHasTheSameSetsAndItsOwnListsOfTheSameObservers)
{
    int database = 0;
    RecordingObserver observer;
    RecordingPreObserver preObserver;
    ChangeManager original(&next, changes, snapshot, &database);
    original.addObserver(&observer);
    original.addPreObserver(&preObserver);
    ASSERT_EQ(original.db_createNode(Scene::kPlain, L"made", nullptr, nullptr, nullptr), Status::kSuccess);

    ChangeManager copy(original);
    EXPECT_EQ(copy.getWrapperDatabase(), &database);
    EXPECT_EQ(copy.db_getNextInterface(), &next);
    original.removeObserver(&observer);
    copy.preReportChanges(false);
    ASSERT_EQ(copy.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_EQ(preObserver.told, std::vector<Lines>{Lines{L"created node |made"}});
    EXPECT_EQ(observer.told, std::vector<Lines>{Lines{L"created node |made"}});
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerLayerTest, AnAssignedLayerIsACopyToo)
{
    int database = 0;
    RecordingObserver observer;
    RecordingObserver other;
    ConcreteChangeSet otherChanges;
    ConcreteChangeSet otherSnapshot;
    ChangeManager target(&scene.core(), otherChanges, otherSnapshot);
    target.addObserver(&other);
    ChangeManager source(&next, changes, snapshot, &database);
    source.addObserver(&observer);

    target = source;
    EXPECT_EQ(target.getWrapperDatabase(), &database);
    EXPECT_EQ(target.db_getNextInterface(), &next);
    ASSERT_EQ(target.db_createNode(Scene::kPlain, L"made", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(recorded(), Lines{L"created node |made"});
    EXPECT_EQ(changesOf(otherChanges), Lines{});
    ASSERT_EQ(target.db_commit(L"", L"", 0), Status::kSuccess);
    EXPECT_EQ(observer.told.size(), 1u);
    EXPECT_TRUE(other.told.empty());
}

// --- Refusals of the next layer ---

TEST_F(ChangeManagerLayerTest, WhatTheNextLayerRefusesIsPassedUpAndNotRecorded)
{
    Operands operands(scene);
    const Lines before = recorded();
    next.answer(Status::kReserved15); // which nobody returns
    for (const Operation& operation : everyOperation())
    {
        SCOPED_TRACE(operation.name);
        const unsigned int calls = next.calls();
        EXPECT_EQ(operation.call(data, operands), Status::kReserved15);
        EXPECT_EQ(next.calls(), calls + 1) << "forwarded once";
        EXPECT_EQ(recorded(), before);
    }
    EXPECT_EQ(operands.outNode, nullptr) << "what the next layer left, null at first";
    EXPECT_EQ(operands.outElement, nullptr);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(ChangeManagerLayerTest, ASuccessWithARemarkIsNoEdit)
{
    Node* const node = scene.node(L"node");
    next.answer(Status::kLoadedWithMigration);
    EXPECT_EQ(data.db_renameNode(node, L"other"), Status::kLoadedWithMigration);
    EXPECT_EQ(recorded(), Lines{});
}

// --- Memory ---

TEST_F(ChangeManagerLayerTest, AnEditWithoutMemoryForItsRecordSucceedsWithAnErrorInTheLog)
{
    Node* const node = scene.node(L"node");
    // Full lists: the next entry needs memory.
    ConcreteChangeSet full;
    ChangeManager layer(&scene.core(), full, snapshot);
    for (int i = 0; i < 1024; ++i)
        full.addRenamedNode(scene.root(), L"");
    Status status = Status::kFailure;
    {
        const HeapThatRunsOut heap(2); // two for the texts: the old name and the new one
        status = layer.db_renameNode(node, L"another name, longer than the one before");
        ASSERT_TRUE(heap.hasRunOut());
    }
    ASSERT_EQ(status, Status::kSuccess);
    EXPECT_EQ(node->getName(), L"another name, longer than the one before");
    EXPECT_TRUE(scene.log().tookError(L"Out of memory while recording a change; the report will lack it."));
    EXPECT_FALSE(node->hasAnyFlag(NodeFlag::kChangeFlags)) << "not in the list, so without its bit";
    EXPECT_EQ(full.RenamedNodeCount(), 1024u);
}

} // namespace
} // namespace db2test
