// Without memory to take a node in, its creation is refused; without memory to note what was written, the next run is a
// flush; and a run that cannot be made is made later. Nothing is ever missed.

#include "Fixture.h"

#include "support/OutOfMemory.h"
#include "support/TreeDump.h"

#include <functional>
#include <new>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// Nodes enough that the list of written attributes is full, so that one more needs memory.
class ComputeManagerOutOfMemoryTest : public ComputeManagerTest
{
protected:
    static constexpr std::size_t kReserved = 1024;

    ComputeManagerOutOfMemoryTest()
    {
        EXPECT_EQ(computed.db_resizeAttributeArray(items, 3), Status::kSuccess);
        connect(attribute(plain, L"Int"), attribute(reader, L"b"));
        for (std::size_t i = 0; i < kReserved; ++i)
            written.push_back(
                scene.dynamicAttribute(IntAttributeMetaDataDef(), L"x", scene.nodeOf(Scene::kPlain, L"p")));
        settle();
        for (Attribute* const entry : written)
            db2test::write(computed, entry, 1);
    }

    /// The edit succeeds, and the commit computes everything.
    void expectFlushAfter(const std::function<Status()>& edit)
    {
        {
            const HeapThatRunsOut heap(0);
            EXPECT_EQ(edit(), Status::kSuccess);
            EXPECT_TRUE(heap.hasRunOut());
        }
        EXPECT_EQ(commit().size(), 2u);
        EXPECT_EQ(takeCounts(), kFlush);
        EXPECT_EQ(value(node, L"sum"), value(node, L"a") + value(node, L"b"));
        EXPECT_EQ(value(reader, L"sum"), value(reader, L"a") + value(reader, L"b"));
    }

    Node* const node = create(kSum, L"n");
    Node* const reader = create(kSum, L"reader");
    Node* const plain = scene.node(L"plain");
    AttributeArray* const items = plain->findAttributeArrayByName(L"IntItems");
    std::vector<Attribute*> written;
};

TEST_F(ComputeManagerOutOfMemoryTest, AWriteIsComputedAllTheSame)
{
    expectFlushAfter([&] {
        ValueHandle handle;
        EXPECT_EQ(computed.db_lockAttribute(attribute(node, L"a"), &handle), Status::kSuccess);
        handle.getInt() = 8;
        return computed.db_unlockAttribute(attribute(node, L"a"));
    });
    EXPECT_EQ(value(node, L"sum"), 8);
}

TEST_F(ComputeManagerOutOfMemoryTest, AWriteOfAnArrayIsComputedAllTheSame)
{
    expectFlushAfter([&] {
        void* storage = nullptr;
        EXPECT_EQ(computed.db_lockAttributeArray(items, &storage), Status::kSuccess);
        return computed.db_unlockAttributeArray(items);
    });
}

TEST_F(ComputeManagerOutOfMemoryTest, AResizeIsComputedAllTheSame)
{
    expectFlushAfter([&] { return computed.db_resizeAttributeArray(items, 1); });
}

TEST_F(ComputeManagerOutOfMemoryTest, ABrokenReferenceIsComputedAllTheSame)
{
    expectFlushAfter([&] { return computed.db_destroyReference(attribute(reader, L"b")); });
}

TEST_F(ComputeManagerOutOfMemoryTest, AReferenceThatTheNextLayerRefusesIsNotNoted)
{
    const std::wstring before = dumpTree(scene.core());
    EXPECT_GT(failUntilMemorySuffices(
                  [&] { return computed.db_createReference(attribute(plain, L"Int"), attribute(node, L"a"), false); },
                  [&] { EXPECT_TRUE(isSameDump(before, dumpTree(scene.core()))); }),
              0u);
    scene.write(attribute(plain, L"Int"), 4);
    commit();
    EXPECT_EQ(value(node, L"sum"), 4);
}

TEST_F(ComputeManagerOutOfMemoryTest, ACreationIsRefused)
{
    for (int i = 0; i < 300; ++i) // through a few growths of what holds the nodes
    {
        const std::uint32_t nodes = scene.core().getStatistics().nodes;
        Node* made = nullptr;
        failUntilMemorySuffices([&] { return computed.db_createNode(kSum, L"made", nullptr, nullptr, &made); },
                                [&] { EXPECT_EQ(scene.core().getStatistics().nodes, nodes); });
        ASSERT_NE(made, nullptr);
        write(made, L"a", i);
    }
    commit();
    for (const Node* made = scene.root()->getLastChild(); made->getTypeId() == kSum && made != reader;
         made = made->getPreviousSibling())
        EXPECT_EQ(value(made, L"sum"), value(made, L"a"));
}

TEST_F(ComputeManagerOutOfMemoryTest, DestroyingANodeNeedsNoMemory)
{
    const HeapThatRunsOut heap(0);
    EXPECT_EQ(computed.db_destroyLeafNode(node), Status::kSuccess);
}

// --- Runs ---

/// A commit without memory for the run fails, and the next one with memory computes what is due.
class ComputeManagerRunWithoutMemoryTest : public ComputeManagerTest
{
protected:
    ComputeManagerRunWithoutMemoryTest()
    {
        for (int i = 0; i < 50; ++i)
            nodes.push_back(create(kSum, L"n"));
        for (std::size_t i = 1; i < nodes.size(); ++i)
            connect(attribute(nodes[i - 1], L"sum"), attribute(nodes[i], L"a"));
    }

    /// @return how often the commit failed.
    std::size_t commitUntilMemorySuffices()
    {
        return failUntilMemorySuffices(
            [&] {
                Status status = Status::kSuccess;
                EXPECT_NO_THROW(status = computed.db_commit(L"why", L"where", 1));
                return status;
            },
            [] {});
    }

    void expectUpToDate()
    {
        for (const Node* const node : nodes)
            ASSERT_EQ(value(node, L"sum"), value(node, L"a") + value(node, L"b"));
        scene.takeRuns();
        EXPECT_EQ(commit(), Runs{});
    }

    std::vector<Node*> nodes;
};

TEST_F(ComputeManagerRunWithoutMemoryTest, AFlushIsMadeUpFor)
{
    write(nodes[0], L"a", 5);
    EXPECT_GT(commitUntilMemorySuffices(), 0u);
    EXPECT_EQ(value(nodes.back(), L"sum"), 5);
    expectUpToDate();
}

TEST_F(ComputeManagerRunWithoutMemoryTest, ARunFromTheQueueAndAReplayNeedNone)
{
    settle();
    for (const int written : {6, 7})
    {
        write(nodes[0], L"a", written);
        EXPECT_EQ(commitUntilMemorySuffices(), 0u);
        EXPECT_EQ(value(nodes.back(), L"sum"), written);
        expectUpToDate();
    }
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 1}));
}

TEST_F(ComputeManagerRunWithoutMemoryTest, ATransientCommitFailsLikeAnother)
{
    {
        const HeapThatRunsOut heap(0);
        EXPECT_EQ(computed.db_commitTransient(), Status::kFailure);
    }
    EXPECT_EQ(scene.takeRuns(), Runs{});
    EXPECT_EQ(scene.log().take().size(), 1u);
    kqx::SizeTArray numbersOfNode;
    computed.debug_getWatches(nodes[0], numbersOfNode);
    EXPECT_TRUE(numbersOfNode.empty());
    EXPECT_EQ(computed.db_commitTransient(), Status::kSuccess);
    expectUpToDate();
}

TEST_F(ComputeManagerRunWithoutMemoryTest, ACircleIsComputedEvenWithoutMemoryForTheLog)
{
    connect(attribute(nodes.back(), L"sum"), attribute(nodes.front(), L"a"));
    commitUntilMemorySuffices();
    EXPECT_FALSE(scene.takeRuns().empty());
    EXPECT_EQ(commit(), Runs{});
}

TEST(ComputeManagerConstructionTest, WithoutMemoryTheConstructorThrows)
{
    ComputeScene scene;
    const unsigned int type = scene.addType({number(L"a"), number(L"sum")}, {{{L"a"}, {L"sum"}}});
    for (int i = 0; i < 10; ++i)
        scene.nodeOf(type, L"n");
    std::size_t failures = 0;
    for (bool isDone = false; !isDone; ++failures)
    {
        ASSERT_LT(failures, 1000u);
        try
        {
            const HeapThatRunsOut heap(failures);
            const ComputeManager computed(1, &scene.core(), *scene.root());
            isDone = true;
        }
        catch (const std::bad_alloc&)
        {
        }
    }
    EXPECT_GT(failures, 1u);
}

} // namespace
} // namespace db2test
