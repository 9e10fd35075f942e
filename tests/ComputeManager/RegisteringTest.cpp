// Which nodes the layer computes: those that came through it, those that were there before it, and no others.

#include "Fixture.h"

#include <algorithm>

namespace db2test {
namespace {

using ComputeManagerRegisteringTest = ComputeManagerTest;

// --- Creation ---

TEST_F(ComputeManagerRegisteringTest, ANewNodeIsComputedAtTheNextCommit)
{
    Node* const node = create(kSum, L"n");
    write(node, L"a", 3);
    write(node, L"b", 4);
    EXPECT_EQ(value(node, L"sum"), 0);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(value(node, L"sum"), 7);
}

TEST_F(ComputeManagerRegisteringTest, ANewNodeThatNobodyWritesToIsComputedToo)
{
    create(kSum, L"n");
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
}

TEST_F(ComputeManagerRegisteringTest, ANodeWhoseCreatorDoesNotAskForItIsComputed)
{
    ASSERT_EQ(computed.db_createNode(kSum, L"n", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
}

TEST_F(ComputeManagerRegisteringTest, CreatingANodeRunsEverySetOnce)
{
    create(kSum, L"n");
    create(kSum, L"m");
    settle();
    create(kSum, L"o");
    Runs runs = commit();
    std::sort(runs.begin(), runs.end());
    EXPECT_EQ(runs, (Runs{L"m.sum", L"n.sum", L"o.sum"}));
    EXPECT_EQ(takeCounts(), kFlush);
}

TEST_F(ComputeManagerRegisteringTest, CreatingANodeWithoutComputeSetsLeavesTheGraphUntouched)
{
    Node* const node = create(kSum, L"n");
    settle();
    create(Scene::kAll, L"other", node);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRegisteringTest, CreatingAnUnknownNodeLeavesTheGraphUntouched)
{
    create(kSum, L"n");
    settle();
    for (const bool legacy : {false, true})
    {
        ASSERT_EQ(computed.db_createUnknownNode(L"Gone", scene.module(), L"u", nullptr, nullptr, legacy, nullptr),
                  Status::kSuccess);
    }
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRegisteringTest, ARefusedCreationLeavesTheGraphUntouched)
{
    Node* const node = create(kSum, L"n");
    settle();
    Node* const stranger = create(Scene::kPlain, L"p", node);
    Node* out = nullptr;
    EXPECT_EQ(computed.db_createNode(99, L"x", nullptr, nullptr, &out), Status::kUnknownTypeId);
    EXPECT_EQ(computed.db_createNode(kSum, L"x", nullptr, stranger, &out), Status::kNextNotChildOfParent);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

// --- Destruction ---

TEST_F(ComputeManagerRegisteringTest, DestroyingANodeRunsEverySetThatIsLeft)
{
    Node* const node = create(kSum, L"n");
    create(kSum, L"m");
    settle();
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"m.sum"}));
    EXPECT_EQ(takeCounts(), kFlush);
}

TEST_F(ComputeManagerRegisteringTest, ANodeThatIsDestroyedBeforeTheCommitNeverRuns)
{
    Node* const node = create(kSum, L"n");
    write(node, L"a", 3);
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(commit(), Runs{});
}

TEST_F(ComputeManagerRegisteringTest, ADestroyedNodeIsFreedByTheCommitAlthoughItWasWritten)
{
    Node* const node = create(kSum, L"n");
    settle();
    write(node, L"a", 3);
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    commit();
    EXPECT_EQ(scene.registry().lookupNodeTemplate(kSum)->getReferenceCount(), 0u);
}

TEST_F(ComputeManagerRegisteringTest, DestroyingTheLastComputedNodeLeavesNothingToRun)
{
    Node* const node = create(kSum, L"n");
    settle();
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(commit(), Runs{});
    create(kSum, L"m");
    EXPECT_EQ(commit(), (Runs{L"m.sum"}));
}

TEST_F(ComputeManagerRegisteringTest, DestroyingANodeWithoutComputeSetsLeavesTheGraphUntouched)
{
    create(kSum, L"n");
    Node* const other = create(Scene::kAll, L"other");
    settle();
    ASSERT_EQ(computed.db_destroyLeafNode(other), Status::kSuccess);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRegisteringTest, ARefusedDestructionLeavesTheGraphUntouched)
{
    Node* const node = create(kSum, L"n");
    create(Scene::kPlain, L"child", node);
    settle();
    EXPECT_EQ(computed.db_destroyLeafNode(node), Status::kNodeHasChildren);
    EXPECT_EQ(computed.db_destroyLeafNode(nullptr), Status::kNullNodeToDestroy);
    EXPECT_EQ(computed.db_destroyLeafNode(scene.root()), Status::kRootNode);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
    write(node, L"a", 3);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
}

TEST_F(ComputeManagerRegisteringTest, DestroyingANodeTwiceIsRefusedAndHarmsNothing)
{
    Node* const node = create(kSum, L"n");
    Node* const other = create(kSum, L"m");
    settle();
    ASSERT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(computed.db_destroyLeafNode(node), Status::kNodeAlreadyDestroyed);
    write(other, L"a", 1);
    EXPECT_EQ(commit(), (Runs{L"m.sum"}));
    EXPECT_EQ(value(other, L"sum"), 1);
}

// --- The tree that was there before the layer ---

TEST_F(ComputeManagerRegisteringTest, ALayerOverAnExistingTreeTakesInItsNodesAndComputesThemAtTheFirstCommit)
{
    Node* const outer = scene.nodeOf(kSum, L"outer");
    Node* const inner = scene.nodeOf(kSum, L"inner", scene.nodeOf(Scene::kPlain, L"between", outer));
    scene.write(attribute(inner, L"a"), 5);
    ComputeManager late(8, &scene.core(), *scene.root());
    ASSERT_EQ(late.db_commit(L"test", L"RegisteringTest.cpp", 1), Status::kSuccess);

    Runs runs = scene.takeRuns();
    std::sort(runs.begin(), runs.end());
    EXPECT_EQ(runs, (Runs{L"inner.sum", L"outer.sum"}));
    EXPECT_EQ(value(inner, L"sum"), 5);
    db2test::write(late, attribute(inner, L"b"), 6);
    ASSERT_EQ(late.db_commit(L"test", L"RegisteringTest.cpp", 1), Status::kSuccess);
    EXPECT_EQ(value(inner, L"sum"), 11);
}

TEST_F(ComputeManagerRegisteringTest, ALayerOverAnEmptyTreeHasNothingToRun)
{
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRegisteringTest, ALayerOverAVeryDeepTreeTakesInTheDeepestNode)
{
    Node* deepest = nullptr;
    for (int i = 0; i < 100'000; ++i)
        deepest = scene.nodeOf(Scene::kPlain, L"n", deepest);
    scene.nodeOf(kSum, L"last", deepest);
    ComputeManager late(8, &scene.core(), *scene.root());
    late.computeGraph();
    EXPECT_EQ(scene.takeRuns(), (Runs{L"last.sum"}));
}

TEST_F(ComputeManagerRegisteringTest, ALayerThatGoesLeavesNothingListed)
{
    Node* const node = create(kSum, L"n");
    settle();
    {
        ComputeManager inner(8, &scene.core(), *scene.root());
        db2test::write(inner, attribute(node, L"a"), 5);
        ASSERT_TRUE(attribute(node, L"a")->hasFlag(ElementFlag::kDirty));
    }
    EXPECT_FALSE(attribute(node, L"a")->hasFlag(ElementFlag::kDirty));
    write(node, L"a", 6);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
}

// --- Clearing ---

TEST_F(ComputeManagerRegisteringTest, ClearingForgetsTheNodesAndWhatWasWritten)
{
    Node* const node = create(kSum, L"n");
    settle();
    write(node, L"a", 3);
    create(kSum, L"m", node);
    ASSERT_EQ(computed.db_clear(), Status::kSuccess);
    EXPECT_EQ(scene.registry().lookupNodeTemplate(kSum)->getReferenceCount(), 0u); // no listed element keeps a node
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRegisteringTest, AfterClearingNewNodesAreComputed)
{
    Node* before = create(kSum, L"n");
    settle();
    write(before, L"a", 3);
    settle();
    ASSERT_EQ(computed.db_clear(), Status::kSuccess);
    Node* const node = create(kSum, L"n");
    write(node, L"a", 3);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    write(node, L"a", 4);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(value(node, L"sum"), 4);
}

TEST_F(ComputeManagerRegisteringTest, ARefusedClearForgetsNothing)
{
    Node* const node = create(kSum, L"n");
    Node* const other = create(kSum, L"m");
    settle();
    write(node, L"a", 3);
    ValueHandle handle;
    ASSERT_EQ(computed.db_lockAttribute(attribute(other, L"a"), &handle), Status::kSuccess);
    EXPECT_EQ(computed.db_clear(), Status::kLockOutstanding);
    handle.getInt() = 4;
    ASSERT_EQ(computed.db_unlockAttribute(attribute(other, L"a")), Status::kSuccess);

    commit();
    EXPECT_EQ(value(node, L"sum"), 3);
    EXPECT_EQ(value(other, L"sum"), 4);
    write(other, L"b", 1);
    EXPECT_EQ(commit(), (Runs{L"m.sum"}));
}

} // namespace
} // namespace db2test
