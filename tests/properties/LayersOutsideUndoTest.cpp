// A chain in which change reports and watches stand outside undo, which replays past them: random edits in random
// commits, with undo, redo and rollback at random. Less is reported then, but nothing that is gone: no report and no
// watch leads to what was freed. What would is found by the address sanitizer, since everything that is named is read.

#include "support/ChangeLists.h"
#include "support/LayerEdits.h"
#include "support/RecordingObservers.h"
#include "support/TreeDump.h"

#include <db2/ComputeManager.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace db2test {
namespace {

constexpr int kSteps = 25000;

class LayersOutsideUndoTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    LayersOutsideUndoTest()
    {
        observer.onReport = [this](const ChangeSet& reported) { readAll(reported); };
        preObserver.onPreReport = [this](const ChangeSet& reported) { readAll(reported); };
        reports.addObserver(&observer);
        reports.addPreObserver(&preObserver);
    }

    /// What a report says to be there is there, and the rest can be read.
    void readAll(const ChangeSet& reported)
    {
        lines += changesOf(reported).size();
        for (unsigned int i = 0; i < reported.CreatedNodeCount(); ++i)
            EXPECT_FALSE(reported.CreatedNode(i)->isDestroyed());
        for (unsigned int i = 0; i < reported.CreatedDynamicAttributeCount(); ++i)
            EXPECT_FALSE(reported.CreatedDynamicAttribute(i)->isDestroyed());
        for (unsigned int i = 0; i < reported.CreatedDynamicAttributeArrayCount(); ++i)
            EXPECT_FALSE(reported.CreatedDynamicAttributeArray(i)->isDestroyed());
        for (unsigned int i = 0; i < reported.CreatedReferenceCount(); ++i)
            EXPECT_NE(reported.CreatedReference(i)->getReference(), nullptr);
        for (unsigned int i = 0; i < reported.ChangedAttributeCount(); ++i)
            valueTexts += dumpValue(reported.ChangedAttribute(i)->getValue()).size();
    }

    /// Directly at the undo layer, so past the two outside it.
    void replay()
    {
        switch (random.below(4))
        {
        case 0: undo.undo(); break;
        case 1: undo.redo(); break;
        case 2: undo.rollback(0); break;
        default:
            undo.createRollbackPoint();
            edits.edit();
            edits.edit();
            undo.rollback(static_cast<unsigned int>(random.below(3)));
            break;
        }
    }

    void endUnit()
    {
        const bool isTransient = random.chance(1, 6);
        EXPECT_EQ(isTransient ? data.db_commitTransient() : data.db_commit(L"unit", L"", 0), Status::kSuccess);
        EXPECT_EQ(changesOf(changes), std::vector<std::wstring>{});
        expectBitsInStep(scene.core(), changes);
        if (!isTransient)
            expectWatchesEndedWithTheirNodes();
    }

    void changeWatch()
    {
        Node* const node = edits.anyNode();
        if (watches.addWatch(node) == Status::kSuccess)
            watched.insert(node);
        else
            watches.resetWatch(node);
    }

    /// A node that was not in the tree at some commit has no watch, also when undo has brought it back since.
    void expectWatchesEndedWithTheirNodes()
    {
        std::set<const Node*> left;
        NodeIterator walk(scene.root());
        walk.includeRoot(true);
        while (walk.next())
        {
            if (watched.contains(walk.node()))
                left.insert(walk.node());
            else
                EXPECT_FALSE(walk.node()->hasAnyFlag(NodeFlag::kWatchFlags));
        }
        watched = left;
    }

    Random random{GetParam()};
    Scene scene;
    ComputeManager computed{1, &scene.core(), *scene.root()};
    UndoManager undo{&computed, scene.core()};
    WatchManager watches{&undo};
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&watches, changes, snapshot};
    DataInterface& data = reports;
    LayerEdits edits{data, scene, random};
    RecordingObserver observer;
    RecordingPreObserver preObserver;
    std::set<const Node*> watched; ///< those whose watch may still go on
    std::size_t lines = 0;
    std::size_t valueTexts = 0;
};

TEST_P(LayersOutsideUndoTest, NothingThatIsGoneIsReportedOrWatched)
{
    SCOPED_TRACE(random.description());
    for (int i = 0; i < kSteps && !HasFailure(); ++i)
    {
        edits.edit();
        if (random.chance(1, 6))
            changeWatch();
        if (random.chance(1, 6))
            replay();
        if (random.chance(1, 10))
            reports.preReportChanges(random.chance(1, 2));
        if (random.chance(1, 6))
            endUnit();
        if (random.chance(1, 300))
        {
            ASSERT_EQ(data.db_clear(), Status::kSuccess);
            expectBitsInStep(scene.core(), changes);
            watched.clear();
        }
        if (random.chance(1, 300))
            undo.clearUndoHistory();
        if (random.chance(1, 300))
            undo.setMaxUndoItems(static_cast<int>(random.below(4)));
    }
    EXPECT_GT(lines, static_cast<std::size_t>(kSteps));
    EXPECT_GT(valueTexts, 0u);
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, LayersOutsideUndoTest, ::testing::Values(1u, 2u, 3u, 4u));

} // namespace
} // namespace db2test
