// What runs after what: through inputs and outputs of one node, and through references between nodes.

#include "Fixture.h"

#include <map>
#include <string>
#include <vector>

namespace db2test {
namespace {

using ElementSpecs = std::vector<ElementSpec>;
using Sets = std::vector<ComputeScene::Set>;

class ComputeManagerDependenciesTest : public ComputeManagerTest
{
protected:
    /// Runs of each set. Fails when a set ran more than once.
    static std::map<std::wstring, std::size_t> positions(const Runs& runs)
    {
        std::map<std::wstring, std::size_t> at;
        for (std::size_t i = 0; i < runs.size(); ++i)
            EXPECT_TRUE(at.emplace(runs[i], i).second) << "ran twice";
        return at;
    }

    /// Whether both ran, each once, in this order.
    static bool ranInOrder(const Runs& runs, const wchar_t* first, const wchar_t* second)
    {
        const auto at = positions(runs);
        return at.contains(first) && at.contains(second) && at.at(first) < at.at(second);
    }

    /// A chain of Sum nodes "n0", "n1", ...: each one's a references the sum of the one before. The last ones are made
    /// and connected first, so that no order of making helps.
    std::vector<Node*> chain(unsigned int length)
    {
        std::vector<Node*> nodes(length);
        for (unsigned int i = length; i-- > 0;)
            nodes[i] = create(kSum, (L"n" + std::to_wstring(i)).c_str());
        for (unsigned int i = length; i-- > 1;)
            connect(attribute(nodes[i - 1], L"sum"), attribute(nodes[i], L"a"));
        return nodes;
    }
};

// --- Within a node ---

TEST_F(ComputeManagerDependenciesTest, SetsOfANodeRunInTheOrderOfTheirDependenceNotOfTheirIndices)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"x"), number(L"y"), number(L"z")},
                                            {{{L"y"}, {L"z"}}, {{L"x"}, {L"y"}}, {{L"in"}, {L"x"}}});
    Node* const node = create(type, L"n");
    write(node, L"in", 5);
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.y", L"n.z"})); // a flush
    write(node, L"in", 6);
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.y", L"n.z"})); // from the queue
    EXPECT_EQ(value(node, L"z"), 6);
    write(node, L"in", 7);
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.y", L"n.z"})); // replayed
    EXPECT_EQ(value(node, L"z"), 7);
}

TEST_F(ComputeManagerDependenciesTest, TheBottomOfADiamondRunsOnceAfterBothSides)
{
    const unsigned int type =
        scene.addType({number(L"in"), number(L"left"), number(L"right"), number(L"bottom")},
                      {{{L"left", L"right"}, {L"bottom"}}, {{L"in"}, {L"left"}}, {{L"in"}, {L"right"}}});
    Node* const node = create(type, L"n");
    for (const int in : {1, 2, 3}) // flushed, from the queue, replayed
    {
        SCOPED_TRACE(in);
        write(node, L"in", in);
        const Runs runs = commit();
        EXPECT_EQ(runs.size(), 3u);
        EXPECT_TRUE(ranInOrder(runs, L"n.left", L"n.bottom"));
        EXPECT_TRUE(ranInOrder(runs, L"n.right", L"n.bottom"));
        EXPECT_EQ(value(node, L"bottom"), 2 * in);
    }
}

TEST_F(ComputeManagerDependenciesTest, ALongerWayHoldsBackTheSetThatAShorterOneReachesToo)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"out"), number(L"x"), number(L"y")},
                                            {{{L"in", L"y"}, {L"out"}}, {{L"in"}, {L"x"}}, {{L"x"}, {L"y"}}});
    Node* const node = create(type, L"n");
    settle();
    write(node, L"in", 5);
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.y", L"n.out"}));
    EXPECT_EQ(value(node, L"out"), 10);
}

TEST_F(ComputeManagerDependenciesTest, EveryOutputOfASetFeedsThoseThatReadIt)
{
    const unsigned int type =
        scene.addType({number(L"in"), number(L"even"), number(L"odd"), number(L"fromEven"), number(L"fromOdd")},
                      {{{L"in"}, {L"even", L"odd"}}, {{L"even"}, {L"fromEven"}}, {{L"odd"}, {L"fromOdd"}}});
    Node* const node = create(type, L"n");
    settle();
    write(node, L"in", 10);
    const Runs runs = commit();
    EXPECT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs.front(), L"n.even");
    EXPECT_EQ(value(node, L"fromEven"), 10);
    EXPECT_EQ(value(node, L"fromOdd"), 11);
}

TEST_F(ComputeManagerDependenciesTest, ASetThatReadsTwoOutputsOfAnotherRunsOnce)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"x"), number(L"y"), number(L"both")},
                                            {{{L"x", L"y", L"x"}, {L"both"}}, {{L"in"}, {L"x", L"y"}}});
    Node* const node = create(type, L"n");
    settle();
    write(node, L"in", 10);
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.both"}));
    EXPECT_EQ(value(node, L"both"), 31);
}

TEST_F(ComputeManagerDependenciesTest, AnInputOfSeveralSetsFeedsEachOfThem)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"x"), number(L"y"), number(L"other"), number(L"z")},
                                            {{{L"in"}, {L"x"}}, {{L"in"}, {L"y"}}, {{L"other"}, {L"z"}}});
    Node* const node = create(type, L"n");
    settle();
    write(node, L"in", 10);
    Runs runs = commit();
    std::sort(runs.begin(), runs.end());
    EXPECT_EQ(runs, (Runs{L"n.x", L"n.y"}));
}

TEST_F(ComputeManagerDependenciesTest, ASetWithoutAFunctionHoldsTheOrderOfItsNeighbours)
{
    const unsigned int type = scene.addType({number(L"in"), number(L"x"), number(L"y"), number(L"z")},
                                            {{{L"y"}, {L"z"}}, {{L"x"}, {L"y"}, {}}, {{L"in"}, {L"x"}}});
    Node* const node = create(type, L"n");
    EXPECT_EQ(commit(), (Runs{L"n.x", L"n.z"}));
    for (const int in : {1, 2})
    {
        write(node, L"in", in);
        EXPECT_EQ(commit(), (Runs{L"n.x", L"n.z"}));
    }
}

// --- Between nodes ---

TEST_F(ComputeManagerDependenciesTest, AnOutputFeedsTheInputThatReferencesIt)
{
    Node* const second = create(kSum, L"second");
    Node* const first = create(kSum, L"first");
    connect(attribute(first, L"sum"), attribute(second, L"a"));
    write(second, L"b", 100);
    write(first, L"a", 1);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"second.sum"}));
    EXPECT_EQ(value(second, L"sum"), 101);
    write(first, L"a", 2);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"second.sum"}));
    EXPECT_EQ(value(second, L"sum"), 102);
}

TEST_F(ComputeManagerDependenciesTest, AnInputThatReferencesAnInputIsWrittenWithIt)
{
    Node* const first = create(kSum, L"first");
    Node* const second = create(kSum, L"second");
    connect(attribute(first, L"a"), attribute(second, L"b"));
    settle();
    write(first, L"a", 4);
    EXPECT_EQ(commit().size(), 2u);
    EXPECT_EQ(value(first, L"sum"), 4);
    EXPECT_EQ(value(second, L"sum"), 4);
}

TEST_F(ComputeManagerDependenciesTest, AReferenceLeadsThroughAttributesThatNoSetReads)
{
    Node* const last = create(kSum, L"last");
    Node* const middle = scene.node(L"middle");
    Node* const first = create(kSum, L"first");
    connect(attribute(middle, L"Int"), attribute(first, L"note"));
    connect(attribute(first, L"note"), attribute(last, L"a"));
    connect(attribute(first, L"sum"), attribute(middle, L"Int"));
    write(first, L"a", 9);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"last.sum"}));
    EXPECT_EQ(value(last, L"sum"), 9);
    write(first, L"a", 8);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"last.sum"}));
    EXPECT_EQ(value(last, L"sum"), 8);
}

TEST_F(ComputeManagerDependenciesTest, ADynamicAttributeOnTheWayLeadsOn)
{
    Node* const node = create(kSum, L"n");
    Element* extra = nullptr;
    ASSERT_EQ(computed.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", node, nullptr, &extra),
              Status::kSuccess);
    connect(static_cast<Attribute*>(extra), attribute(node, L"a"));
    settle();
    write(node, L"extra", 12);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(value(node, L"sum"), 12);
}

TEST_F(ComputeManagerDependenciesTest, AllThatReferenceAnOutputRunAfterIt)
{
    constexpr unsigned int kReaders = 200;
    std::vector<Node*> readers;
    for (unsigned int i = 0; i < kReaders; ++i)
        readers.push_back(create(kSum, L"reader"));
    Node* const source = create(kSum, L"source");
    for (Node* const reader : readers)
        connect(attribute(source, L"sum"), attribute(reader, L"a"));
    for (const int written : {1, 2, 3})
    {
        write(source, L"a", written);
        const Runs runs = commit();
        EXPECT_EQ(positions(runs).size(), kReaders + 1);
        EXPECT_EQ(runs.front(), L"source.sum");
        for (const Node* const reader : readers)
            EXPECT_EQ(value(reader, L"sum"), written);
    }
}

TEST_F(ComputeManagerDependenciesTest, OnlyWhatTheWrittenAttributeReachesRuns)
{
    const std::vector<Node*> nodes = chain(5);
    create(kSum, L"apart");
    settle();
    write(nodes[2], L"b", 1);
    EXPECT_EQ(commit(), (Runs{L"n2.sum", L"n3.sum", L"n4.sum"}));
    EXPECT_EQ(value(nodes[4], L"sum"), 1);
    write(nodes[4], L"b", 1);
    EXPECT_EQ(commit(), (Runs{L"n4.sum"}));
}

TEST_F(ComputeManagerDependenciesTest, ALongChainRunsFromItsHeadToItsEnd)
{
    constexpr unsigned int kLength = 20'000; // far more than a stack would carry
    const std::vector<Node*> nodes = chain(kLength);
    Runs expected;
    for (unsigned int i = 0; i < kLength; ++i)
        expected.push_back(L"n" + std::to_wstring(i) + L".sum");
    write(nodes[0], L"a", 1);
    EXPECT_EQ(commit(), expected); // a flush
    for (const int head : {2, 3})  // from the queue, replayed
    {
        write(nodes[0], L"a", head);
        EXPECT_EQ(commit(), expected);
        EXPECT_EQ(value(nodes.back(), L"sum"), head);
    }
}

TEST_F(ComputeManagerDependenciesTest, ALongChainOfReferencesLeadsToItsEnd)
{
    constexpr int kLength = 20'000;
    Node* const last = create(kSum, L"last");
    Attribute* reader = attribute(last, L"a");
    for (int i = 0; i < kLength; ++i)
    {
        Attribute* const link = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"link", scene.node(L"holder"));
        connect(link, reader);
        reader = link;
    }
    Node* const first = create(kSum, L"first");
    connect(attribute(first, L"sum"), reader);
    write(first, L"a", 6);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"last.sum"}));
    write(first, L"a", 7);
    EXPECT_EQ(commit(), (Runs{L"first.sum", L"last.sum"}));
    EXPECT_EQ(value(last, L"sum"), 7);
}

// --- Connections made and broken further upstream than the inputs ---

TEST_F(ComputeManagerDependenciesTest, AReferenceMadeUpstreamOfAnInputPutsTheSetsInOrder)
{
    Node* const second = create(kSum, L"second");
    Node* const first = create(kSum, L"first");
    connect(attribute(second, L"note"), attribute(second, L"a")); // "note" is no input itself
    settle();
    connect(attribute(first, L"sum"), attribute(second, L"note"));
    write(first, L"a", 5);
    EXPECT_TRUE(ranInOrder(commit(), L"first.sum", L"second.sum"));
    EXPECT_EQ(value(second, L"sum"), 5);
    for (const int written : {6, 7}) // in whatever way it runs
    {
        write(second, L"b", written);
        write(first, L"a", written);
        EXPECT_EQ(commit(), (Runs{L"first.sum", L"second.sum"}));
        EXPECT_EQ(value(second, L"sum"), 2 * written);
    }
}

TEST_F(ComputeManagerDependenciesTest, AReferenceMadeUpstreamOfAnInputBringsTheValueAlong)
{
    Node* const node = create(kSum, L"n");
    Node* const source = scene.node(L"source");
    scene.write(attribute(source, L"Int"), 31);
    connect(attribute(node, L"note"), attribute(node, L"a"));
    settle();
    connect(attribute(source, L"Int"), attribute(node, L"note"));
    commit();
    EXPECT_EQ(value(node, L"sum"), 31);
}

TEST_F(ComputeManagerDependenciesTest, AReferenceBrokenUpstreamOfAnInputTakesTheValueAway)
{
    Node* const second = create(kSum, L"second");
    Node* const first = create(kSum, L"first");
    write(second, L"note", 1000);
    connect(attribute(second, L"note"), attribute(second, L"a"));
    connect(attribute(first, L"sum"), attribute(second, L"note"));
    write(first, L"a", 5);
    settle();
    ASSERT_EQ(value(second, L"sum"), 5);
    disconnect(attribute(second, L"note"));
    commit();
    EXPECT_EQ(value(second, L"sum"), 1000);
    write(first, L"a", 6);
    EXPECT_EQ(commit(), (Runs{L"first.sum"}));
}

TEST_F(ComputeManagerDependenciesTest, TurningAConnectionAroundTurnsTheOrderAround)
{
    Node* const one = create(kSum, L"one");
    Node* const two = create(kSum, L"two");
    connect(attribute(one, L"sum"), attribute(two, L"a"));
    settle();
    disconnect(attribute(two, L"a"));
    connect(attribute(two, L"sum"), attribute(one, L"a"));
    EXPECT_TRUE(ranInOrder(commit(), L"two.sum", L"one.sum"));
    write(one, L"b", 1);
    write(two, L"b", 1);
    EXPECT_EQ(commit(), (Runs{L"two.sum", L"one.sum"}));
    EXPECT_EQ(value(one, L"sum"), 2);
}

// --- Arrays ---

class ComputeManagerArraysTest : public ComputeManagerDependenciesTest
{
protected:
    /// total = the sum of the items of "values"; the items of "shifted" = seed and the index.
    const unsigned int kArrays =
        scene.addType({numbers(L"values"), number(L"total"), number(L"seed"), numbers(L"shifted")},
                      {{{L"values"}, {L"total"}}, {{L"seed"}, {L"shifted"}}});

    static AttributeArray* array(const Node* node, const wchar_t* name) { return node->findAttributeArrayByName(name); }
};

TEST_F(ComputeManagerArraysTest, AnOutputFeedsAnItemOfAnInputArrayThatReferencesIt)
{
    Node* const node = create(kArrays, L"n");
    Node* const source = create(kSum, L"source");
    ASSERT_EQ(computed.db_resizeAttributeArray(array(node, L"values"), 3), Status::kSuccess);
    connect(attribute(source, L"sum"), array(node, L"values")->getAttribute(1));
    settle();
    write(source, L"a", 21);
    EXPECT_EQ(commit(), (Runs{L"source.sum", L"n.total"}));
    EXPECT_EQ(value(node, L"total"), 21);
}

TEST_F(ComputeManagerArraysTest, AnItemOfAnOutputArrayFeedsWhatReferencesIt)
{
    Node* const reader = create(kSum, L"reader");
    Node* const node = create(kArrays, L"n");
    ASSERT_EQ(computed.db_resizeAttributeArray(array(node, L"shifted"), 3), Status::kSuccess);
    settle();
    connect(array(node, L"shifted")->getAttribute(2), attribute(reader, L"a"));
    settle();
    write(node, L"seed", 40);
    EXPECT_EQ(commit(), (Runs{L"n.shifted", L"reader.sum"}));
    EXPECT_EQ(value(reader, L"sum"), 42);
}

TEST_F(ComputeManagerArraysTest, AnItemThatReferencesAnItemOfAnotherArrayIsFedByIt)
{
    Node* const last = create(kArrays, L"last");
    Node* const first = create(kArrays, L"first");
    ASSERT_EQ(computed.db_resizeAttributeArray(array(first, L"shifted"), 2), Status::kSuccess);
    ASSERT_EQ(computed.db_resizeAttributeArray(array(last, L"values"), 2), Status::kSuccess);
    connect(array(first, L"shifted")->getAttribute(1), array(last, L"values")->getAttribute(0));
    settle();
    write(first, L"seed", 10);
    EXPECT_EQ(commit(), (Runs{L"first.shifted", L"last.total"}));
    EXPECT_EQ(value(last, L"total"), 11);
}

TEST_F(ComputeManagerArraysTest, AWrittenArrayFeedsWhatReferencesItsItems)
{
    Node* const plain = scene.node(L"plain");
    Node* const reader = create(kSum, L"reader");
    AttributeArray* const items = array(plain, L"IntItems");
    ASSERT_EQ(computed.db_resizeAttributeArray(items, 3), Status::kSuccess);
    connect(items->getAttribute(2), attribute(reader, L"a"));
    settle();
    db2test::write(computed, items, {1, 2, 3});
    EXPECT_EQ(commit(), (Runs{L"reader.sum"}));
    EXPECT_EQ(value(reader, L"sum"), 3);
}

// --- The same order every time ---

TEST(ComputeManagerOrderTest, IndependentSetsRunInAnOrderThatAddressesDoNotChange)
{
    const auto runsOf = [](std::size_t hole) {
        ComputeScene scene;
        const unsigned int type = scene.addType({number(L"a"), number(L"sum")}, {{{L"a"}, {L"sum"}}});
        ComputeManager computed(1, &scene.core(), *scene.root());
        std::vector<Node*> nodes;
        for (std::size_t i = 0; i < 60; ++i)
        {
            Node* node = nullptr;
            EXPECT_EQ(computed.db_createNode(type, L"n", nullptr, nullptr, &node), Status::kSuccess);
            nodes.push_back(node);
            if (i % 7 == hole) // gives the nodes behind it other places
            {
                EXPECT_EQ(computed.db_destroyLeafNode(scene.node(L"gone")), Status::kSuccess);
                EXPECT_EQ(scene.commit(), Status::kSuccess);
            }
        }
        computed.computeGraph();
        for (std::size_t i = 0; i < nodes.size(); ++i)
            write(computed, nodes[i * 17 % nodes.size()]->findAttributeByName(L"a"), 1);
        computed.computeGraph();
        return scene.takeRuns();
    };
    const ComputeScene::Runs runs = runsOf(7); // no holes
    EXPECT_EQ(runs.size(), 120u);
    EXPECT_EQ(runsOf(0), runs);
    EXPECT_EQ(runsOf(3), runs);
}

} // namespace
} // namespace db2test
