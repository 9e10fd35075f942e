// Random edits in random commits, with undo, redo and rollback at random: what change reports tell is what happened.

#include "support/ChangeLists.h"
#include "support/LayerEdits.h"
#include "support/MirrorTree.h"
#include "support/RecordingObservers.h"
#include "support/TreeDump.h"

#include <db2/ComputeManager.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace db2test {
namespace {

constexpr int kSteps = 8000;

/// The first line in which two mirrors differ.
::testing::AssertionResult areEqual(const MirrorTree& mirror, const MirrorTree& tree)
{
    const std::vector<std::wstring> kept = mirror.lines();
    const std::vector<std::wstring> actual = tree.lines();
    if (kept == actual)
        return ::testing::AssertionSuccess();
    const auto [a, b] = std::mismatch(kept.begin(), kept.end(), actual.begin(), actual.end());
    return ::testing::AssertionFailure() << "kept: " << ::testing::PrintToString(a != kept.end() ? *a : L"nothing")
                                         << ", actual: "
                                         << ::testing::PrintToString(b != actual.end() ? *b : L"nothing");
}

// --- The recommended chain ---

/// Undo outermost (call logging left out), so that all that it replays is reported like any edit.
class ChangeReportsTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    ChangeReportsTest() { reports.addObserver(&mirror); }
    ~ChangeReportsTest() override { reports.removeObserver(&mirror); }

    /// A unit of work's end, or something that undo does.
    void endUnit()
    {
        switch (random.below(8))
        {
        case 0: undo.undo(); break;
        case 1: undo.redo(); break;
        case 2: undo.rollback(undo.createRollbackPoint()); break;
        case 3: rollBack(); break;
        case 4: EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess); break;
        default: EXPECT_EQ(undo.db_commit(L"unit", L"", 0), Status::kSuccess); break;
        }
    }

    void rollBack()
    {
        const unsigned int point = undo.createRollbackPoint();
        for (std::size_t i = random.below(6); i > 0; --i)
            edits.edit();
        undo.rollback(random.chance(1, 2) ? point : 0);
    }

    /// Of what is committed.
    void expectMirrorEqual()
    {
        expectBitsInStep(scene.core(), changes);
        if (changesOf(changes).empty())
        {
            EXPECT_TRUE(areEqual(mirror, MirrorTree(scene.root())));
        }
    }

    Random random{GetParam()};
    Scene scene;
    WatchManager watches{&scene.core()};
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&watches, changes, snapshot};
    ComputeManager computed{1, &reports, *scene.root()};
    UndoManager undo{&computed, scene.core()};
    LayerEdits edits{undo, scene, random};
    MirrorTree mirror{scene.root()};
};

TEST_P(ChangeReportsTest, AMirrorKeptFromReportsAloneEqualsTheTree)
{
    SCOPED_TRACE(random.description());
    int equal = 0;
    for (int i = 0; i < kSteps && !HasFailure(); ++i)
    {
        edits.edit();
        if (!random.chance(1, 6))
            continue;
        endUnit();
        expectMirrorEqual();
        equal += changesOf(changes).empty() ? 1 : 0;
        if (random.chance(1, 200))
        {
            ASSERT_EQ(undo.db_clear(), Status::kSuccess);
            expectMirrorEqual();
        }
    }
    EXPECT_GT(equal, kSteps / 12);
    for (std::size_t kind = 0; kind < static_cast<std::size_t>(LayerEdits::Kind::kMistake); ++kind)
        EXPECT_GT(edits.successes(static_cast<LayerEdits::Kind>(kind)), 0u) << "edits of kind " << kind;
}

/// Most edits are made while pre-observers hear of the unit, through the outermost layer.
TEST_P(ChangeReportsTest, EditsOfPreObserversAreReportedLikeAnyOther)
{
    SCOPED_TRACE(random.description());
    RecordingPreObserver editor;
    editor.onPreReport = [this](const ChangeSet& shown) {
        const std::size_t before = changesOf(shown).size();
        for (std::size_t i = random.below(8); i > 0; --i)
            edits.edit();
        EXPECT_EQ(changesOf(shown).size(), before) << "their own edits show in the snapshot";
    };
    reports.addPreObserver(&editor);
    for (int i = 0; i < kSteps / 12 && !HasFailure(); ++i)
    {
        if (random.chance(1, 2))
            edits.edit();
        ASSERT_EQ(reports.preReportChanges(false), Status::kSuccess);
        endUnit();
        expectMirrorEqual();
    }
    reports.removePreObserver(&editor);
    EXPECT_GE(editor.told.size(), static_cast<std::size_t>(kSteps / 12));
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, ChangeReportsTest, ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u));

// --- The layers change nothing ---

/// What a run of edits came to.
struct EditRun
{
    std::vector<Status> answers;
    std::vector<std::wstring> trees; ///< as text, from time to time
};

EditRun runEdits(Scene& scene, DataInterface& data, Random random)
{
    LayerEdits edits(data, scene, random);
    EditRun run;
    for (int i = 0; i < kSteps; ++i)
    {
        edits.edit();
        if (i % 100 == 0)
            run.answers.push_back(data.db_commit(L"", L"", 0));
        if (i % 100 == 50)
            run.trees.push_back(dumpTree(scene.core()));
    }
    run.answers.insert(run.answers.end(), edits.answers().begin(), edits.answers().end());
    return run;
}

EditRun runPlainEdits(const Random& random)
{
    Scene scene;
    return runEdits(scene, scene.core(), random);
}

EditRun runLayeredEdits(const Random& random)
{
    Scene scene;
    WatchManager watches(&scene.core());
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports(&watches, changes, snapshot);
    EXPECT_EQ(watches.addWatch(scene.root()), Status::kSuccess);
    EditRun run = runEdits(scene, reports, random);
    EXPECT_TRUE(watches.hasWatchedNodeChanged(scene.root()));
    return run;
}

class TransparentLayersTest : public ::testing::TestWithParam<unsigned int>
{
};

/// The same edits with and without the layers: the same answers, the same tree.
TEST_P(TransparentLayersTest, EditsThroughChangeReportsAndWatchesAnswerAndDoTheSame)
{
    const Random random(GetParam());
    SCOPED_TRACE(random.description());
    const EditRun plain = runPlainEdits(random);
    const EditRun layered = runLayeredEdits(random);
    EXPECT_EQ(layered.answers, plain.answers);
    ASSERT_EQ(layered.trees.size(), plain.trees.size());
    for (std::size_t i = 0; i < plain.trees.size(); ++i)
        ASSERT_EQ(layered.trees[i], plain.trees[i]) << "after edit " << i * 100 + 50;
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, TransparentLayersTest, ::testing::Values(1u, 2u, 3u));

} // namespace
} // namespace db2test
