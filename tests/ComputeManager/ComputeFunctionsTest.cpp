// What compute functions may do, and what happens when they do what they should not.

#include "Fixture.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// A type whose set ("in" to "out" and "list") does what the test says, and a reader of "out".
class ComputeFunctionsTest : public ComputeManagerTest
{
protected:
    ComputeFunctionsTest()
    {
        connect(attribute(node, L"out"), attribute(reader, L"a"));
        settle();
    }

    std::function<void(const ComputeCall&)> body = ComputeScene::addUp;
    const unsigned int kFree = scene.addType(
        {number(L"in"), number(L"out"), numbers(L"list"), number(L"total")},
        {{{L"in"}, {L"out", L"list"}, [&](const ComputeCall& call) { body(call); }}, {{L"list"}, {L"total"}}});
    Node* const reader = create(kSum, L"reader");
    Node* const node = create(kFree, L"node");
    AttributeArray* const list = node->findAttributeArrayByName(L"list");
};

// --- What they may do ---

TEST_F(ComputeFunctionsTest, AFunctionMayResizeAndWriteAnOutputArray)
{
    body = [](const ComputeCall& call) {
        std::vector<int> counted;
        for (int i = 0; i < call.input(0)->getValue().getInt(); ++i)
            counted.push_back(i + 1);
        db2test::write(call.data, call.outputArray(1), counted);
    };
    for (const int size : {4, 2, 6, 0, 3}) // in every way of running
    {
        write(node, L"in", size);
        EXPECT_EQ(commit().size(), 3u);
        EXPECT_EQ(list->getSize(), static_cast<unsigned int>(size));
        EXPECT_EQ(value(node, L"total"), size * (size + 1) / 2);
    }
}

TEST_F(ComputeFunctionsTest, AFunctionMayWriteNothing)
{
    body = [](const ComputeCall&) {};
    write(node, L"in", 5);
    EXPECT_EQ(commit().size(), 3u);
    EXPECT_EQ(value(reader, L"sum"), 0);
}

TEST_F(ComputeFunctionsTest, WhatAFunctionWritesMakesNothingDirty)
{
    write(node, L"in", 5);
    commit();
    EXPECT_FALSE(attribute(node, L"out")->hasFlag(ElementFlag::kDirty));
    EXPECT_EQ(commit(), Runs{});
}

// --- What they should not do, and what must not break ---

TEST_F(ComputeFunctionsTest, ARunWithinARunDoesNothing)
{
    int depth = 0;
    body = [&](const ComputeCall& call) {
        ASSERT_EQ(++depth, 1);
        computed.computeGraph();
        EXPECT_EQ(computed.db_commitTransient(), Status::kSuccess);
        ComputeScene::addUp(call);
        --depth;
    };
    for (const int in : {1, 2, 3})
    {
        write(node, L"in", in);
        EXPECT_EQ(commit().size(), 3u);
        EXPECT_EQ(value(reader, L"sum"), in);
    }
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 2}));
}

TEST_F(ComputeFunctionsTest, WhatAFunctionWritesThroughTheLayerItselfIsComputedByTheNextRun)
{
    Node* const other = create(kSum, L"other");
    settle();
    body = [&](const ComputeCall& call) {
        write(other, L"a", call.input(0)->getValue().getInt());
        ComputeScene::addUp(call);
    };
    for (const int in : {1, 2, 3, 4})
    {
        SCOPED_TRACE(in);
        write(node, L"in", in);
        commit();
        commit();
        EXPECT_EQ(value(other, L"sum"), in);
        EXPECT_EQ(value(reader, L"sum"), in);
    }
}

TEST_F(ComputeFunctionsTest, ANodeThatAFunctionMakesThroughTheLayerIsComputedByTheNextRun)
{
    Node* made = nullptr;
    body = [&](const ComputeCall& call) {
        if (made == nullptr)
            made = create(kSum, L"made");
        ComputeScene::addUp(call);
    };
    write(node, L"in", 1);
    commit();
    ASSERT_NE(made, nullptr);
    write(made, L"a", 4);
    commit();
    EXPECT_EQ(value(made, L"sum"), 4);
    EXPECT_EQ(value(reader, L"sum"), 1);
}

TEST_F(ComputeFunctionsTest, ANodeThatAFunctionDestroysThroughTheLayerDoesNotRunAnyMore)
{
    Node* const victim = create(kSum, L"victim");
    settle();
    bool isThere = true;
    body = [&](const ComputeCall& call) {
        if (std::exchange(isThere, false))
        {
            EXPECT_EQ(computed.db_destroyLeafNode(victim), Status::kSuccess);
        }
        ComputeScene::addUp(call);
    };
    write(victim, L"a", 1);
    write(node, L"in", 1);
    commit();
    for (int i = 0; i < 3; ++i)
    {
        write(node, L"in", i);
        for (const std::wstring& run : commit())
            EXPECT_NE(run, L"victim.sum");
        EXPECT_EQ(value(reader, L"sum"), i);
    }
}

TEST_F(ComputeFunctionsTest, AFunctionThatClearsTheTreeThroughTheLayerEndsTheRun)
{
    bool cleared = false;
    body = [&](const ComputeCall&) {
        cleared = true;
        EXPECT_EQ(computed.db_clear(), Status::kSuccess);
    };
    write(node, L"in", 1);
    EXPECT_EQ(commit(), (Runs{L"node.out"}));
    EXPECT_TRUE(cleared);
    Node* const fresh = create(kSum, L"fresh");
    write(fresh, L"a", 2);
    EXPECT_EQ(commit(), (Runs{L"fresh.sum"}));
}

// --- Exceptions ---

TEST_F(ComputeFunctionsTest, AnExceptionOfAFunctionPassesAndNothingIsMissedByTheNextRun)
{
    for (const RunCounts& kind : {kQueueRun, kReplay, kFlush})
    {
        SCOPED_TRACE(::testing::PrintToString(kind));
        body = ComputeScene::addUp;
        if (kind == kFlush)
            create(kSum, L"another");
        else if (kind == kReplay)
        {
            write(node, L"in", 3);
            commit();
        }
        else
            settle();
        takeCounts();
        body = [](const ComputeCall&) { throw std::runtime_error("a host's"); };
        const int in = value(node, L"in") + 10;
        write(node, L"in", in);
        EXPECT_THROW((void)computed.db_commit(L"why", L"where", 1), std::runtime_error);
        EXPECT_EQ(takeCounts(), kind);

        body = ComputeScene::addUp;
        commit();
        EXPECT_EQ(value(node, L"out"), in);
        EXPECT_EQ(value(reader, L"sum"), in);
        EXPECT_FALSE(attribute(node, L"in")->hasFlag(ElementFlag::kDirty));
        EXPECT_EQ(commit(), Runs{});
    }
}

TEST(ComputeFunctionsSlotTest, AnExceptionOfAFunctionLeavesTheSlotAsItWas)
{
    ComputeScene scene;
    const unsigned int type =
        scene.addType({number(L"in"), number(L"out")},
                      {{{L"in"}, {L"out"}, [](const ComputeCall&) { throw std::runtime_error("a host's"); }}});
    DataInterface* slot = nullptr;
    ComputeManager computed(1, &scene.core(), *scene.root(), &slot);
    slot = &computed;
    ASSERT_EQ(computed.db_createNode(type, L"n", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_THROW(computed.computeGraph(), std::runtime_error);
    EXPECT_EQ(slot, &computed);
}

// --- Locks ---

/// A lock refuses commits below, but the run comes first: what is written under the lock afterwards must not be lost.
TEST_F(ComputeFunctionsTest, AnAttributeThatIsLockedDuringARunIsComputedAgainByTheNextOne)
{
    ValueHandle handle;
    ASSERT_EQ(computed.db_lockAttribute(attribute(node, L"in"), &handle), Status::kSuccess);
    EXPECT_EQ(computed.db_commit(L"why", L"where", 1), Status::kLockOutstanding);
    handle.getInt() = 77;
    ASSERT_EQ(computed.db_unlockAttribute(attribute(node, L"in")), Status::kSuccess);
    commit();
    EXPECT_EQ(value(node, L"out"), 77);
    EXPECT_EQ(value(reader, L"sum"), 77);
    EXPECT_EQ(commit(), Runs{});
}

TEST_F(ComputeFunctionsTest, AnArrayThatIsLockedDuringARunIsComputedAgainByTheNextOne)
{
    const unsigned int type = scene.addType({numbers(L"values"), number(L"total")}, {{{L"values"}, {L"total"}}});
    Node* const totals = create(type, L"totals");
    AttributeArray* const values = totals->findAttributeArrayByName(L"values");
    db2test::write(computed, values, {1, 2});
    settle();
    void* storage = nullptr;
    ASSERT_EQ(computed.db_lockAttributeArray(values, &storage), Status::kSuccess);
    EXPECT_EQ(computed.db_commit(L"why", L"where", 1), Status::kLockOutstanding);
    static_cast<int*>(storage)[0] = 40;
    ASSERT_EQ(computed.db_unlockAttributeArray(values), Status::kSuccess);
    commit();
    EXPECT_EQ(value(totals, L"total"), 42);
}

} // namespace
} // namespace db2test
