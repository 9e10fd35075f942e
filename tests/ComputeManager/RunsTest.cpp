// How a run goes: which way it takes, what its functions are handed, what stands in the slot, and what is counted.

#include "Fixture.h"

#include <kqx/Timer.h>

#include <string>
#include <type_traits>
#include <vector>

namespace db2test {
namespace {

class ComputeManagerRunsTest : public ComputeManagerTest
{
protected:
    ComputeManagerRunsTest() { settle(); }

    /// Its function takes this many seconds, so that the times that are measured differ from nothing.
    static constexpr float kSlowness = 0.002f;
    const unsigned int slow = scene.addType({number(L"in"), number(L"out")}, {{{L"in"}, {L"out"}, waitABit}});
    static void waitABit(const ComputeCall&)
    {
        kqx::Timer timer;
        timer.start();
        while (timer.seconds() <= static_cast<double>(kSlowness))
        {
        }
    }

    Node* const n = create(kSum, L"n");
    Node* const m = create(kSum, L"m");
    Node* const o = create(kSum, L"o");
};

// --- Which way ---

TEST_F(ComputeManagerRunsTest, ACommitWithoutChangesRunsNothing)
{
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kNoRun);
}

TEST_F(ComputeManagerRunsTest, TheSameAttributesInTheSameOrderReplayTheOrderOfTheRunBefore)
{
    for (const RunCounts& kind : {kQueueRun, kReplay})
    {
        write(n, L"a", value(n, L"a") + 1);
        write(m, L"b", value(m, L"b") + 2);
        const Runs runs = commit();
        EXPECT_EQ(runs.size(), 2u);
        EXPECT_EQ(takeCounts(), kind);
    }
    EXPECT_EQ(value(n, L"sum"), 2);
    EXPECT_EQ(value(m, L"sum"), 4);
    EXPECT_EQ(value(o, L"sum"), 0);
}

TEST_F(ComputeManagerRunsTest, AReplayRunsTheSameSetsInTheSameOrder)
{
    connect(attribute(o, L"sum"), attribute(n, L"a"));
    connect(attribute(n, L"sum"), attribute(m, L"a"));
    settle();
    write(m, L"b", 1);
    write(o, L"b", 1);
    const Runs first = commit();
    EXPECT_EQ(first, (Runs{L"o.sum", L"n.sum", L"m.sum"}));
    write(m, L"b", 2);
    write(o, L"b", 2);
    EXPECT_EQ(commit(), first);
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 1}));
    EXPECT_EQ(value(m, L"sum"), 4);
}

TEST_F(ComputeManagerRunsTest, AfterAReplayTheOrderIsWorkedOutAnew)
{
    for (const RunCounts& kind : {kQueueRun, kReplay, kQueueRun, kReplay})
    {
        write(n, L"a", 1);
        EXPECT_EQ(commit(), (Runs{L"n.sum"}));
        EXPECT_EQ(takeCounts(), kind);
    }
}

TEST_F(ComputeManagerRunsTest, AfterAFlushTheOrderIsWorkedOutAnew)
{
    write(n, L"a", 1);
    commit();
    create(kSum, L"p");
    commit();
    write(n, L"a", 1);
    commit();
    EXPECT_EQ(takeCounts(), (RunCounts{1, 0, 2}));
}

TEST_F(ComputeManagerRunsTest, OtherListsThanTheOneBeforeAreWorkedOutAnew)
{
    const struct
    {
        const char* name;
        std::vector<Node*> before;
        std::vector<Node*> written;
    } rows[] = {
        {"another order", {n, m}, {m, n}},
        {"a shorter list", {n, m}, {n}},
        {"a longer list", {n}, {n, m}},
        {"another one at the end", {n, m}, {n, o}},
        {"another one at the beginning", {n, m}, {o, m}},
        {"another one in the middle", {n, m, o}, {n, o, m}},
        {"nothing in common", {n}, {o}},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        write(n, L"note", 1); // a list that no row begins with
        commit();
        for (Node* const node : row.before)
            write(node, L"a", 1);
        commit();
        takeCounts();
        for (Node* const node : row.written)
            write(node, L"a", value(node, L"a") + 1);
        EXPECT_EQ(commit().size(), row.written.size());
        EXPECT_EQ(takeCounts(), kQueueRun);
        for (const Node* const node : {n, m, o})
            EXPECT_EQ(value(node, L"sum"), value(node, L"a"));
    }
}

TEST_F(ComputeManagerRunsTest, AnotherAttributeOfTheSameNodeIsAnotherList)
{
    write(n, L"a", 1);
    commit();
    write(n, L"b", 1);
    commit();
    EXPECT_EQ(takeCounts(), (RunCounts{0, 0, 2}));
}

TEST_F(ComputeManagerRunsTest, AnEmptyCommitBetweenTwoKeepsTheOrderOfTheLastRun)
{
    write(n, L"a", 1);
    commit();
    commit();
    write(n, L"a", 2);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 1}));
}

TEST_F(ComputeManagerRunsTest, WhatWasComputedInAReplayIsNotMissedByTheNextRun)
{
    connect(attribute(n, L"sum"), attribute(m, L"a"));
    settle();
    for (int i = 1; i <= 6; ++i)
    {
        write(i % 3 == 0 ? m : n, L"b", i);
        commit();
        EXPECT_EQ(value(m, L"sum"), value(n, L"b") + value(m, L"b"));
    }
}

// --- When ---

TEST_F(ComputeManagerRunsTest, AHostBringsOutputsUpToDateWithoutACommit)
{
    write(n, L"a", 4);
    computed.computeGraph();
    EXPECT_EQ(value(n, L"sum"), 4);
    EXPECT_EQ(scene.takeRuns(), (Runs{L"n.sum"}));
    EXPECT_EQ(commit(), Runs{});
}

TEST_F(ComputeManagerRunsTest, ATransientCommitBringsOutputsUpToDate)
{
    write(n, L"a", 4);
    EXPECT_EQ(computed.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(value(n, L"sum"), 4);
    EXPECT_EQ(commit().size(), 1u); // the runs until here
}

/// Notes what the outputs are when a commit comes by, and answers what it is told to.
struct CommitRecorder : ForwardingLayer
{
    CommitRecorder(DataInterface* next, const Attribute* watchedOutput) : ForwardingLayer(next), output(watchedOutput)
    {
    }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        seen.push_back(std::wstring(description) + L"," + file + L"," + std::to_wstring(line));
        return noteOutput();
    }
    Status db_commitTransient() override
    {
        seen.push_back(L"transient");
        return noteOutput();
    }
    Status noteOutput()
    {
        outputs.push_back(output->getValue().getInt());
        return answer;
    }

    const Attribute* output;
    std::vector<std::wstring> seen;
    std::vector<int> outputs;
    Status answer = Status::kSuccess;
};

TEST_F(ComputeManagerRunsTest, CommitsAreForwardedAfterTheRunAndTheirAnswerIsHandedUp)
{
    CommitRecorder next(&scene.core(), attribute(n, L"sum"));
    next.answer = Status::kLockOutstanding;
    computed.db_setNextInterface(&next);
    write(n, L"a", 1);
    EXPECT_EQ(computed.db_commit(L"why", L"where", 12), Status::kLockOutstanding);
    write(n, L"a", 2);
    EXPECT_EQ(computed.db_commitTransient(), Status::kLockOutstanding);
    EXPECT_EQ(next.seen, (std::vector<std::wstring>{L"why,where,12", L"transient"}));
    EXPECT_EQ(next.outputs, (std::vector<int>{1, 2}));
    computed.db_setNextInterface(&scene.core());
}

// --- What a function is handed ---

TEST(ComputeFunctionArgumentsTest, AreTheNextLayerTheNodeItsElementsAndTheUserData)
{
    ComputeScene scene;
    std::vector<DataInterface*> handed;
    std::vector<const Node*> nodes;
    std::vector<Element*> elements;
    const unsigned int type =
        scene.addType({number(L"in"), numbers(L"list"), number(L"out")},
                      {{{L"in"}, {L"out"}, [&](const ComputeCall& call) { // the user data led here
                            handed.push_back(&call.data);
                            nodes.push_back(&call.node);
                            elements.assign(call.elements, call.elements + 3);
                            ComputeScene::addUp(call);
                        }}});
    ForwardingLayer next(&scene.core());
    ComputeManager computed(1, &next, *scene.root());
    Node* node = nullptr;
    ASSERT_EQ(computed.db_createNode(type, L"n", nullptr, nullptr, &node), Status::kSuccess);
    for (int way = 0; way < 3; ++way) // flushed, from the queue, replayed
    {
        SCOPED_TRACE(way);
        write(computed, node->findAttributeByName(L"in"), way);
        elements.clear();
        computed.computeGraph();
        ASSERT_EQ(handed.size(), static_cast<std::size_t>(way) + 1);
        EXPECT_EQ(handed.back(), &next);
        EXPECT_EQ(nodes.back(), node);
        EXPECT_EQ(elements, (std::vector<Element*>{node->getElement(0), node->getElement(1), node->getElement(2)}));
    }
    EXPECT_EQ(computed.debug_getFlushCount(), 1u);
    EXPECT_EQ(computed.debug_getPriorityQueueUseCount(), 1u);
    EXPECT_EQ(computed.debug_getCacheUseCount(), 1u);
}

struct LockRecorder : ForwardingLayer
{
    using ForwardingLayer::ForwardingLayer;
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        locked.push_back(attribute->getName());
        return ForwardingLayer::db_lockAttribute(attribute, outValue);
    }
    std::vector<std::wstring> locked;
};

TEST_F(ComputeManagerRunsTest, ComputedWritesAreSeenByTheLayersInsideAndNotByThoseOutside)
{
    LockRecorder inside(&scene.core());
    LockRecorder outside(&computed);
    computed.db_setNextInterface(&inside);
    db2test::write(outside, attribute(n, L"a"), 3);
    ASSERT_EQ(outside.db_commit(L"why", L"where", 1), Status::kSuccess);
    EXPECT_EQ(outside.locked, (std::vector<std::wstring>{L"a"}));
    EXPECT_EQ(inside.locked, (std::vector<std::wstring>{L"a", L"sum"}));
    computed.db_setNextInterface(&scene.core());
}

// --- The slot ---

class ComputeManagerSlotTest : public ::testing::Test
{
protected:
    ComputeManagerSlotTest()
    {
        EXPECT_EQ(computed.db_createNode(type, L"n", nullptr, nullptr, &node), Status::kSuccess);
        computed.computeGraph();
        during.clear();
    }

    ComputeScene scene;
    std::vector<DataInterface*> during; ///< what the slot held in each run
    const unsigned int type = scene.addType({number(L"in"), number(L"out")},
                                            {{{L"in"}, {L"out"}, [&](const ComputeCall&) { during.push_back(slot); }}});
    DataInterface* slot = nullptr;
    ForwardingLayer next{&scene.core()};
    ComputeManager computed{1, &next, *scene.root(), &slot};
    ForwardingLayer outermost{&computed};
    Node* node = nullptr;
};

TEST_F(ComputeManagerSlotTest, HoldsTheNextLayerDuringARunAndAfterwardsWhatItHeldBefore)
{
    slot = &outermost;
    write(outermost, node->findAttributeByName(L"in"), 1);
    ASSERT_EQ(outermost.db_commit(L"why", L"where", 1), Status::kSuccess);
    EXPECT_EQ(during, (std::vector<DataInterface*>{&next}));
    EXPECT_EQ(slot, &outermost);
}

TEST_F(ComputeManagerSlotTest, MayHoldNothing)
{
    write(outermost, node->findAttributeByName(L"in"), 1);
    computed.computeGraph();
    EXPECT_EQ(during, (std::vector<DataInterface*>{&next}));
    EXPECT_EQ(slot, nullptr);
}

TEST_F(ComputeManagerSlotTest, IsFilledWithTheNextLayerAsItIsThen)
{
    computed.db_setNextInterface(&scene.core());
    write(outermost, node->findAttributeByName(L"in"), 1);
    computed.computeGraph();
    EXPECT_EQ(during, (std::vector<DataInterface*>{&scene.core()}));
}

// --- Statistics ---

TEST_F(ComputeManagerRunsTest, EachWayOfRunningIsTimed)
{
    const struct
    {
        const char* name;
        float (ComputeManager::*last)() const;
        float (ComputeManager::*total)() const;
    } ways[] = {
        {"flush", &ComputeManager::debug_getFlushLastTime, &ComputeManager::debug_getFlushTotalTime},
        {"queue", &ComputeManager::debug_getPriorityQueueLastTime, &ComputeManager::debug_getPriorityQueueTotalTime},
        {"cache", &ComputeManager::debug_getCacheLastTime, &ComputeManager::debug_getCacheTotalTime},
    };
    create(slow, L"slow"); // so that the first run is a flush
    for (const auto& way : ways)
    {
        SCOPED_TRACE(way.name);
        const float totalBefore = (computed.*way.total)();
        write(scene.root()->findChildByName(L"slow"), L"in", 1);
        kqx::Timer timer;
        timer.start();
        commit();
        const auto elapsed = static_cast<float>(timer.seconds());
        const float last = (computed.*way.last)();
        EXPECT_GE(last, kSlowness);
        EXPECT_LE(last, elapsed);
        EXPECT_FLOAT_EQ((computed.*way.total)(), totalBefore + last);
    }
    EXPECT_EQ(takeCounts(), (RunCounts{1, 1, 1}));
}

TEST(ComputeManagerStatisticsTest, BeginAtZero)
{
    Scene scene;
    const ComputeManager computed(1, &scene.core(), *scene.root());
    EXPECT_EQ(computed.debug_getFlushCount(), 0u);
    EXPECT_EQ(computed.debug_getCacheUseCount(), 0u);
    EXPECT_EQ(computed.debug_getPriorityQueueUseCount(), 0u);
    for (const float time : {computed.debug_getFlushLastTime(), computed.debug_getFlushTotalTime(),
                             computed.debug_getCacheLastTime(), computed.debug_getCacheTotalTime(),
                             computed.debug_getPriorityQueueLastTime(), computed.debug_getPriorityQueueTotalTime()})
        EXPECT_EQ(time, 0.0f);
}

// --- Identity and the priority numbers ---

TEST(ComputeManagerIdentityTest, TheIdIsTheHostsAndTheRaiseFlagIsSixteen)
{
    Scene scene;
    const ComputeManager computed(42, &scene.core(), *scene.root());
    EXPECT_EQ(computed.getId(), 42u);
    EXPECT_EQ(computed.db_getNextInterface(), &scene.core());
    EXPECT_EQ(ComputeManager::getRaiseFlag(), 16u);
    static_assert(!std::is_copy_constructible_v<ComputeManager>);
}

TEST_F(ComputeManagerRunsTest, ThePriorityNumberOfASetIsGreaterThanThoseOfAllThatDependOnIt)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"x"), number(L"y"), number(L"apart"), number(L"z")},
                                            {{{L"x"}, {L"y"}}, {{L"in"}, {L"x"}}, {{L"apart"}, {L"z"}}});
    Node* const node = create(type, L"node");
    connect(attribute(node, L"y"), attribute(n, L"a"));
    connect(attribute(n, L"sum"), attribute(m, L"b"));
    settle();
    kqx::SizeTArray numbersOfNode;
    kqx::SizeTArray numbersOfN;
    kqx::SizeTArray numbersOfM;
    computed.debug_getWatches(node, numbersOfNode);
    computed.debug_getWatches(n, numbersOfN);
    computed.debug_getWatches(m, numbersOfM);
    ASSERT_EQ(numbersOfNode.size(), 3u);
    ASSERT_EQ(numbersOfN.size(), 1u);
    ASSERT_EQ(numbersOfM.size(), 1u);
    EXPECT_GT(numbersOfNode[1], numbersOfNode[0]);
    EXPECT_GT(numbersOfNode[0], numbersOfN[0]);
    EXPECT_GT(numbersOfN[0], numbersOfM[0]);
    EXPECT_EQ(numbersOfNode[2], numbersOfM[0]); // nothing depends on either
}

TEST_F(ComputeManagerRunsTest, NodesWithoutComputeSetsHaveNoPriorityNumbers)
{
    for (const Node* const node : {scene.node(L"plain"), static_cast<Node*>(nullptr)})
    {
        kqx::SizeTArray found{1, 2};
        computed.debug_getWatches(node, found);
        EXPECT_TRUE(found.empty());
    }
}

} // namespace
} // namespace db2test
