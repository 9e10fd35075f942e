// Sets that depend on each other in a circle: named in the log, run once each, and never for ever.

#include "Fixture.h"

#include <set>
#include <string>
#include <vector>

namespace db2test {
namespace {

class ComputeManagerCyclesTest : public ComputeManagerTest
{
protected:
    /// A ring of Sum nodes: each one's a references the sum of the one before.
    std::vector<Node*> ring(unsigned int length, const wchar_t* name)
    {
        std::vector<Node*> nodes;
        for (unsigned int i = 0; i < length; ++i)
            nodes.push_back(create(kSum, (name + std::to_wstring(i)).c_str()));
        for (unsigned int i = 0; i < length; ++i)
            connect(attribute(nodes[i], L"sum"), attribute(nodes[(i + 1) % length], L"a"));
        return nodes;
    }

    /// The errors since the last call.
    std::vector<std::wstring> takeErrors()
    {
        std::vector<std::wstring> errors;
        for (const LogRecorder::Line& line : scene.log().take())
        {
            EXPECT_EQ(line.level, LogRecorder::kError);
            errors.push_back(line.text);
        }
        return errors;
    }

    static bool names(const std::wstring& text, const wchar_t* name) { return text.find(name) != std::wstring::npos; }

    /// Commits and expects these runs in any order.
    void expectRuns(const std::set<std::wstring>& expected)
    {
        const Runs runs = commit();
        EXPECT_EQ(runs.size(), expected.size());
        EXPECT_EQ(std::set<std::wstring>(runs.begin(), runs.end()), expected);
    }
};

TEST_F(ComputeManagerCyclesTest, ACircleThroughReferencesIsLoggedWithItsMembersAndRunsEachSetOnce)
{
    ring(3, L"ring");
    create(kSum, L"apart");
    expectRuns({L"ring0.sum", L"ring1.sum", L"ring2.sum", L"apart.sum"});
    const std::vector<std::wstring> errors = takeErrors();
    ASSERT_EQ(errors.size(), 1u);
    for (const wchar_t* const member : {L"|ring0", L"|ring1", L"|ring2"})
        EXPECT_TRUE(names(errors[0], member)) << ::testing::PrintToString(errors[0]);
    EXPECT_FALSE(names(errors[0], L"apart"));
}

TEST_F(ComputeManagerCyclesTest, ACircleIsLoggedWhenTheGraphIsRebuiltAndNotByOtherRuns)
{
    const std::vector<Node*> nodes = ring(2, L"ring");
    settle();
    takeErrors();
    for (const int written : {1, 2}) // from the queue, replayed
    {
        write(nodes[0], L"b", written);
        expectRuns({L"ring0.sum", L"ring1.sum"});
        EXPECT_TRUE(takeErrors().empty());
    }
    create(kSum, L"apart");
    commit();
    EXPECT_EQ(takeErrors().size(), 1u);
    EXPECT_EQ(takeCounts(), (RunCounts{1, 1, 1}));
}

TEST_F(ComputeManagerCyclesTest, ASetThatReadsItsOwnOutputIsACircleOfOne)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"count")}, {{{L"in", L"count"}, {L"count"}}});
    Node* const node = create(type, L"counter");
    write(node, L"in", 5);
    expectRuns({L"counter.count"});
    EXPECT_EQ(value(node, L"count"), 5);
    const std::vector<std::wstring> errors = takeErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_TRUE(names(errors[0], L"counter"));
    for (const int count : {10, 15})
    {
        write(node, L"in", 5);
        expectRuns({L"counter.count"});
        EXPECT_EQ(value(node, L"count"), count);
    }
}

TEST_F(ComputeManagerCyclesTest, ACircleOfTheSetsOfOneNodeIsLogged)
{
    const unsigned int type =
        scene.addType({number(L"in"), number(L"x"), number(L"y")}, {{{L"in", L"y"}, {L"x"}}, {{L"x"}, {L"y"}}});
    Node* const node = create(type, L"both");
    expectRuns({L"both.x", L"both.y"});
    ASSERT_EQ(takeErrors().size(), 1u);
    write(node, L"in", 1);
    expectRuns({L"both.x", L"both.y"});
}

TEST_F(ComputeManagerCyclesTest, EachCircleIsNamed)
{
    ring(2, L"left");
    ring(2, L"right");
    commit();
    std::wstring all;
    for (const std::wstring& error : takeErrors())
        all += error;
    for (const wchar_t* const member : {L"left0", L"left1", L"right0", L"right1"})
        EXPECT_TRUE(names(all, member)) << member;
}

TEST_F(ComputeManagerCyclesTest, WhatFeedsACircleRunsBeforeItAndWhatItFeedsAfterIt)
{
    const std::vector<Node*> nodes = ring(3, L"ring");
    Node* const after = create(kSum, L"after");
    Node* const before = create(kSum, L"before");
    connect(attribute(nodes[1], L"sum"), attribute(after, L"a"));
    connect(attribute(before, L"sum"), attribute(nodes[1], L"b"));
    for (const int written : {1, 2, 3})
    {
        write(before, L"a", written);
        const Runs runs = commit();
        ASSERT_EQ(runs.size(), 5u);
        EXPECT_EQ(runs.front(), L"before.sum");
        EXPECT_EQ(runs.back(), L"after.sum");
        EXPECT_EQ(value(after, L"sum"), value(nodes[1], L"sum"));
    }
    const std::vector<std::wstring> errors = takeErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_FALSE(names(errors[0], L"before"));
    EXPECT_FALSE(names(errors[0], L"after"));
}

TEST_F(ComputeManagerCyclesTest, WritingWithinACircleRunsAllOfItOnce)
{
    const std::vector<Node*> nodes = ring(4, L"ring");
    settle();
    for (Node* const node : nodes)
    {
        write(node, L"b", 1);
        expectRuns({L"ring0.sum", L"ring1.sum", L"ring2.sum", L"ring3.sum"});
    }
}

TEST_F(ComputeManagerCyclesTest, ACircleThatIsBrokenIsComputedInOrderAndNotLoggedAnyMore)
{
    const std::vector<Node*> nodes = ring(3, L"ring");
    settle();
    takeErrors();
    disconnect(attribute(nodes[0], L"a"));
    EXPECT_EQ(commit(), (Runs{L"ring0.sum", L"ring1.sum", L"ring2.sum"}));
    EXPECT_TRUE(takeErrors().empty());
    write(nodes[0], L"b", 5);
    EXPECT_EQ(commit(), (Runs{L"ring0.sum", L"ring1.sum", L"ring2.sum"}));
}

TEST_F(ComputeManagerCyclesTest, ALargeCircleEndsAndAllItsMembersAreNamedOnceEach)
{
    constexpr unsigned int kLength = 20'000;
    const std::vector<Node*> nodes = ring(kLength, L"n");
    EXPECT_EQ(commit().size(), kLength);
    write(nodes[0], L"b", 1);
    EXPECT_EQ(commit().size(), kLength);
    const std::vector<std::wstring> errors = takeErrors();
    EXPECT_EQ(errors.size(), kLength / 16) << "sixteen to a line";
    std::set<std::wstring> named;
    std::size_t count = 0;
    for (const std::wstring& error : errors)
    {
        EXPECT_NE(error.find(L"cycle of 20000"), error.npos);
        for (std::size_t at = error.find(L"'|"); at != error.npos; at = error.find(L"'|", at + 1), ++count)
            named.insert(error.substr(at, error.find(L"'", at + 1) - at));
    }
    EXPECT_EQ(count, kLength);
    EXPECT_EQ(named.size(), kLength);
    EXPECT_TRUE(named.contains(L"'|n0.sum"));
    EXPECT_TRUE(named.contains(L"'|n19999.sum"));
}

TEST_F(ComputeManagerCyclesTest, LongNamesInACircleAreWhole)
{
    constexpr unsigned int kLength = 40;
    const std::wstring name(600, L'x');
    ring(kLength, name.c_str());
    commit();
    std::size_t named = 0;
    for (const std::wstring& error : takeErrors())
    {
        EXPECT_EQ(error.back(), L'\'') << "cut off";
        for (std::size_t at = error.find(L"'|"); at != error.npos; at = error.find(L"'|", at + 1))
            ++named;
    }
    EXPECT_EQ(named, kLength);
}

TEST_F(ComputeManagerCyclesTest, ACircleTooDeepForPathsIsNamedByItsNodesAndLeavesNoOtherError)
{
    Node* deep = nullptr;
    for (int i = 0; i < 510; ++i)
        deep = scene.nodeOf(Scene::kPlain, L"d", deep);
    Node* deepest = nullptr; // whose path just fits
    Node* below = nullptr;
    ASSERT_EQ(computed.db_createNode(kSum, L"deepest", deep, nullptr, &deepest), Status::kSuccess);
    ASSERT_EQ(computed.db_createNode(kSum, L"below", deepest, nullptr, &below), Status::kSuccess);
    connect(attribute(deepest, L"sum"), attribute(below, L"a"));
    connect(attribute(below, L"sum"), attribute(deepest, L"a"));
    commit();
    const std::vector<std::wstring> errors = takeErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_TRUE(names(errors[0], L"|d|deepest.sum'")) << ::testing::PrintToString(errors[0]);
    EXPECT_TRUE(names(errors[0], L"'below.sum'")) << ::testing::PrintToString(errors[0]);
}

TEST(ComputeManagerCircleOrderTest, TheOrderWithinACircleIsTheSameEveryTime)
{
    const auto runsOf = [] {
        ComputeScene scene;
        const unsigned int type =
            scene.addType({number(L"a"), number(L"b"), number(L"sum")}, {{{L"a", L"b"}, {L"sum"}}});
        ComputeManager computed(1, &scene.core(), *scene.root());
        std::vector<Node*> nodes;
        for (int i = 0; i < 10; ++i)
        {
            Node* node = nullptr;
            EXPECT_EQ(computed.db_createNode(type, L"n", nullptr, nullptr, &node), Status::kSuccess);
            nodes.push_back(node);
        }
        for (std::size_t i = 0; i < nodes.size(); ++i)
        {
            EXPECT_EQ(computed.db_createReference(nodes[i]->findAttributeByName(L"sum"),
                                                  nodes[(i + 3) % 10]->findAttributeByName(L"a"), false),
                      Status::kSuccess);
        }
        computed.computeGraph();
        db2test::write(computed, nodes[4]->findAttributeByName(L"b"), 1);
        computed.computeGraph();
        return scene.takeRuns();
    };
    const ComputeScene::Runs runs = runsOf();
    EXPECT_EQ(runs.size(), 20u);
    EXPECT_EQ(runsOf(), runs);
}

} // namespace
} // namespace db2test
