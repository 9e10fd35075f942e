// What each edit makes the next run do: nothing, run what it reaches, or rebuild and run everything.

#include "Fixture.h"

#include <db2/testing/RecordingLayer.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace db2test {
namespace {

/// Two nodes that add up ("n" reads nothing of "m"), one with arrays, one that computes nothing, all up to date.
class ComputeManagerMarkingTest : public ComputeManagerTest
{
protected:
    ComputeManagerMarkingTest()
    {
        EXPECT_EQ(computed.db_resizeAttributeArray(values, 3), Status::kSuccess);
        EXPECT_EQ(computed.db_resizeAttributeArray(ignored, 3), Status::kSuccess);
        settle();
    }

    [[nodiscard]] static bool isListed(const Element* element) { return element->hasFlag(ElementFlag::kDirty); }

    /// Nothing is to run, and the layer was not even asked to look.
    void expectNothingToRun()
    {
        EXPECT_EQ(commit(), Runs{});
        EXPECT_EQ(takeCounts(), kNoRun);
    }

    void expectFlush()
    {
        EXPECT_EQ(commit().size(), 3u); // every set
        EXPECT_EQ(takeCounts(), kFlush);
    }

    const unsigned int kArrays = scene.addType(
        {numbers(L"values"), number(L"total"), numbers(L"ignored"), raisingNumber(L"rate"), raisingNumbers(L"rates")},
        {{{L"values"}, {L"total"}}});
    Node* const n = create(kSum, L"n");
    Node* const m = create(kSum, L"m");
    Node* const arrays = create(kArrays, L"arrays");
    Node* const plain = create(Scene::kAll, L"plain");
    AttributeArray* const values = arrays->findAttributeArrayByName(L"values");
    AttributeArray* const ignored = arrays->findAttributeArrayByName(L"ignored");
};

// --- Values ---

TEST_F(ComputeManagerMarkingTest, WritingAnInputRunsItsSet)
{
    write(n, L"a", 1);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(takeCounts(), kQueueRun);
}

TEST_F(ComputeManagerMarkingTest, WritingTheSameValueAgainRunsTheSetAllTheSame)
{
    write(n, L"a", 0);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
}

TEST_F(ComputeManagerMarkingTest, WritingBothInputsRunsTheSetOnce)
{
    write(n, L"a", 1);
    write(n, L"b", 2);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(value(n, L"sum"), 3);
}

TEST_F(ComputeManagerMarkingTest, WritingAnInputTwiceListsItOnce)
{
    write(n, L"a", 1);
    EXPECT_TRUE(isListed(attribute(n, L"a")));
    write(n, L"a", 2);
    EXPECT_EQ(commit(), (Runs{L"n.sum"}));
    EXPECT_EQ(value(n, L"sum"), 2);
    write(n, L"a", 3); // a list of two entries would not be the one of the run before
    commit();
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 1}));
}

TEST_F(ComputeManagerMarkingTest, WritingWhatNoSetReadsRunsNothing)
{
    write(n, L"note", 1);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kQueueRun);
    EXPECT_FALSE(isListed(attribute(n, L"note")));
}

TEST_F(ComputeManagerMarkingTest, WhatAHostWritesToAnOutputFeedsItsReadersAndStandsUntilItsSetRuns)
{
    connect(attribute(n, L"sum"), attribute(m, L"a"));
    settle();
    write(n, L"sum", 50);
    EXPECT_EQ(commit(), (Runs{L"m.sum"}));
    EXPECT_EQ(value(m, L"sum"), 50);
    EXPECT_EQ(value(n, L"sum"), 50);
    write(n, L"a", 1);
    commit();
    EXPECT_EQ(value(n, L"sum"), 1);
}

TEST_F(ComputeManagerMarkingTest, ARefusedLockRunsNothing)
{
    connect(attribute(m, L"note"), attribute(n, L"a"));
    settle();
    ValueHandle handle;
    EXPECT_EQ(computed.db_lockAttribute(nullptr, &handle), Status::kNullAttributeToLock);
    EXPECT_EQ(computed.db_lockAttribute(attribute(n, L"b"), nullptr), Status::kNullLockOutput);
    EXPECT_EQ(computed.db_lockAttribute(attribute(n, L"a"), &handle), Status::kLockReferencer);
    EXPECT_FALSE(isListed(attribute(n, L"a")));
    EXPECT_FALSE(isListed(attribute(n, L"b")));
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, AnUnlockByItselfRunsNothing)
{
    ValueHandle handle;
    void* storage = nullptr;
    ASSERT_EQ(scene.core().db_lockAttribute(attribute(n, L"a"), &handle), Status::kSuccess);
    ASSERT_EQ(scene.core().db_lockAttributeArray(values, &storage), Status::kSuccess);
    EXPECT_EQ(computed.db_unlockAttribute(attribute(n, L"a")), Status::kSuccess);
    EXPECT_EQ(computed.db_unlockAttributeArray(values), Status::kSuccess);
    EXPECT_EQ(computed.db_unlockAttribute(attribute(n, L"a")), Status::kAttributeNotLocked);
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, WritingAnAttributeWithTheRaiseFlagRunsEverything)
{
    write(arrays, L"rate", 1);
    expectFlush();
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, WritingBesideAnAttributeWithTheRaiseFlagRunsEverythingOnce)
{
    write(n, L"a", 1);
    write(arrays, L"rate", 1);
    write(m, L"a", 1);
    expectFlush();
    EXPECT_FALSE(isListed(attribute(n, L"a")));
    EXPECT_FALSE(isListed(attribute(m, L"a")));
}

// --- Arrays ---

TEST_F(ComputeManagerMarkingTest, WritingAnItemOfAnInputArrayRunsItsSet)
{
    db2test::write(computed, values->getAttribute(1), 8);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_EQ(value(arrays, L"total"), 8);
}

TEST_F(ComputeManagerMarkingTest, WritingAWholeInputArrayRunsItsSet)
{
    void* storage = nullptr;
    ASSERT_EQ(computed.db_lockAttributeArray(values, &storage), Status::kSuccess);
    static_cast<int*>(storage)[2] = 9;
    ASSERT_EQ(computed.db_unlockAttributeArray(values), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_EQ(value(arrays, L"total"), 9);
}

TEST_F(ComputeManagerMarkingTest, WritingAWholeArrayThatNoSetReadsRunsNothing)
{
    void* storage = nullptr;
    ASSERT_EQ(computed.db_lockAttributeArray(ignored, &storage), Status::kSuccess);
    ASSERT_EQ(computed.db_unlockAttributeArray(ignored), Status::kSuccess);
    EXPECT_EQ(commit(), Runs{});
    EXPECT_NE(takeCounts(), kFlush);
}

TEST_F(ComputeManagerMarkingTest, WritingAWholeArrayWithTheRaiseFlagRunsEverything)
{
    AttributeArray* const rates = arrays->findAttributeArrayByName(L"rates");
    ASSERT_EQ(computed.db_resizeAttributeArray(rates, 2), Status::kSuccess);
    settle();
    void* storage = nullptr;
    ASSERT_EQ(computed.db_lockAttributeArray(rates, &storage), Status::kSuccess);
    ASSERT_EQ(computed.db_unlockAttributeArray(rates), Status::kSuccess);
    expectFlush();
}

TEST_F(ComputeManagerMarkingTest, ARefusedLockOfAnArrayRunsNothing)
{
    connect(attribute(m, L"note"), values->getAttribute(0));
    settle();
    void* storage = nullptr;
    EXPECT_EQ(computed.db_lockAttributeArray(values, &storage), Status::kLockArrayWithReferencer);
    EXPECT_EQ(computed.db_lockAttributeArray(nullptr, &storage), Status::kNullArrayToLock);
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, ResizingAnInputArrayRunsItsSet)
{
    db2test::write(computed, values, {1, 2, 4});
    settle();
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 2), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_EQ(value(arrays, L"total"), 3);
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 20), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
}

TEST_F(ComputeManagerMarkingTest, EmptyingAnInputArrayRunsItsSet)
{
    db2test::write(computed, values, {1, 2, 4});
    settle();
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 0), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_EQ(value(arrays, L"total"), 0);
}

TEST_F(ComputeManagerMarkingTest, ResizingAnArrayThatNoSetReadsRunsNothing)
{
    ASSERT_EQ(computed.db_resizeAttributeArray(ignored, 7), Status::kSuccess);
    EXPECT_EQ(commit(), Runs{});
}

/// A walk to the referencers of all items for each of these would take 10^10 steps.
TEST_F(ComputeManagerMarkingTest, ResizingAnArrayRunsNothingThatReadsTheItemsThatStay)
{
    constexpr unsigned int kItems = 100000;
    ASSERT_EQ(computed.db_resizeAttributeArray(ignored, kItems), Status::kSuccess);
    connect(ignored->getAttribute(0), attribute(n, L"a"));
    connect(values->getAttribute(0), attribute(m, L"a"));
    settle();
    for (unsigned int i = 1; i <= 100000; ++i)
    {
        ASSERT_EQ(computed.db_resizeAttributeArray(ignored, kItems + i % 2), Status::kSuccess);
        ASSERT_EQ(commit(), Runs{});
    }
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 1), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"})) << "which reads the array, while m reads an item";
}

TEST_F(ComputeManagerMarkingTest, AnItemThatIsWrittenBesideAResizeRunsWhatReadsIt)
{
    connect(values->getAttribute(0), attribute(m, L"a"));
    settle();
    db2test::write(computed, values->getAttribute(0), 6);
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 9), Status::kSuccess);
    const Runs runs = commit();
    EXPECT_EQ(std::count(runs.begin(), runs.end(), L"m.sum"), 1);
    EXPECT_EQ(value(m, L"sum"), 6);
    EXPECT_EQ(value(arrays, L"total"), 6);
}

TEST_F(ComputeManagerMarkingTest, ARefusedResizeRunsNothing)
{
    connect(values->getAttribute(2), attribute(n, L"a"));
    settle();
    EXPECT_EQ(computed.db_resizeAttributeArray(values, 2), Status::kResizeDropsReferences);
    EXPECT_EQ(computed.db_resizeAttributeArray(nullptr, 2), Status::kNullArrayToResize);
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, AnItemThatWasWrittenAndReleasedIsTakenOffTheList)
{
    Attribute* const item = values->getAttribute(2);
    db2test::write(computed, item, 5);
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 1), Status::kSuccess);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_FALSE(isListed(item));
    ASSERT_EQ(computed.db_resizeAttributeArray(values, 3), Status::kSuccess);
    db2test::write(computed, item, 6);
    EXPECT_EQ(commit(), (Runs{L"arrays.total"}));
    EXPECT_EQ(value(arrays, L"total"), 6);
}

// --- References ---

TEST_F(ComputeManagerMarkingTest, AReferenceFromAnInputRunsEverything)
{
    scene.write(attribute(plain, L"Int"), 12);
    connect(attribute(plain, L"Int"), attribute(n, L"a"));
    expectFlush();
    EXPECT_EQ(value(n, L"sum"), 12);
}

TEST_F(ComputeManagerMarkingTest, AReferenceFromAnItemOfAnInputArrayRunsEverything)
{
    scene.write(attribute(plain, L"Int"), 12);
    connect(attribute(plain, L"Int"), values->getAttribute(1));
    expectFlush();
    EXPECT_EQ(value(arrays, L"total"), 12);
}

TEST_F(ComputeManagerMarkingTest, AReferenceFromWhatNoSetReadsRunsNothing)
{
    connect(attribute(plain, L"Int"), attribute(n, L"note"));
    EXPECT_EQ(commit(), Runs{});
    EXPECT_EQ(takeCounts(), kQueueRun);
}

TEST_F(ComputeManagerMarkingTest, ARefusedReferenceRunsNothing)
{
    EXPECT_EQ(computed.db_createReference(attribute(n, L"a"), attribute(n, L"a"), false), Status::kSelfReference);
    expectNothingToRun();
}

TEST_F(ComputeManagerMarkingTest, BreakingTheReferenceOfAnInputRunsEverything)
{
    scene.write(attribute(plain, L"Int"), 12);
    write(n, L"a", 5);
    connect(attribute(plain, L"Int"), attribute(n, L"a"));
    settle();
    disconnect(attribute(n, L"a"));
    expectFlush();
    EXPECT_EQ(value(n, L"sum"), 5);
}

TEST_F(ComputeManagerMarkingTest, BreakingTheReferenceOfAnItemOfAnInputArrayRunsEverything)
{
    connect(attribute(plain, L"Int"), values->getAttribute(1));
    settle();
    disconnect(values->getAttribute(1));
    expectFlush();
}

TEST_F(ComputeManagerMarkingTest, BreakingTheReferenceOfWhatNoSetReadsRunsNothing)
{
    connect(attribute(plain, L"Int"), attribute(n, L"note"));
    settle();
    disconnect(attribute(n, L"note"));
    EXPECT_EQ(commit(), Runs{});
    EXPECT_NE(takeCounts(), kFlush);
}

TEST_F(ComputeManagerMarkingTest, ARefusedBreakRunsNothing)
{
    EXPECT_EQ(computed.db_destroyReference(attribute(n, L"a")), Status::kNoReference);
    expectNothingToRun();
}

// --- What is refused before the next layer hears of it ---

struct ForwardCounter : ForwardingLayer
{
    using ForwardingLayer::ForwardingLayer;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        ++forwarded;
        return ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        ++forwarded;
        return ForwardingLayer::db_destroyReference(referencer);
    }
    int forwarded = 0;
};

TEST_F(ComputeManagerMarkingTest, ReferencesAreCheckedInOrderBeforeForwarding)
{
    ForwardCounter counter(&scene.core());
    computed.db_setNextInterface(&counter);
    Attribute* const free = attribute(n, L"a");
    Attribute* const output = attribute(n, L"sum");
    Attribute* const raising = attribute(arrays, L"rate");
    const struct
    {
        const char* name;
        Attribute* referenced;
        Attribute* referencer;
        Status expected;
    } rows[] = {
        {"both null", nullptr, nullptr, Status::kNullReferencer},
        {"no referencer", free, nullptr, Status::kNullReferencer},
        {"nothing referenced", nullptr, free, Status::kNullComputeReferenced},
        {"nothing referenced, by an output", nullptr, output, Status::kNullComputeReferenced},
        {"an output references", free, output, Status::kReferencerIsComputed},
        {"an output references one with the raise flag", raising, output, Status::kReferencerIsComputed},
        {"one with the raise flag references", free, raising, Status::kNotConnectable},
        {"one with the raise flag is referenced", raising, free, Status::kNotConnectable},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(computed.db_createReference(row.referenced, row.referencer, false), row.expected);
        EXPECT_EQ(computed.db_createReference(row.referenced, row.referencer, true), row.expected);
    }
    EXPECT_EQ(computed.db_destroyReference(nullptr), Status::kFailure);
    EXPECT_EQ(counter.forwarded, 0);
    EXPECT_EQ(scene.core().getStatistics().references, 0u);
    expectNothingToRun();
    computed.db_setNextInterface(&scene.core());
}

TEST_F(ComputeManagerMarkingTest, AnItemOfAnOutputArrayReferencesNothing)
{
    const unsigned int type = scene.addType({number(L"in"), numbers(L"out")}, {{{L"in"}, {L"out"}}});
    Node* const node = create(type, L"node");
    AttributeArray* const out = node->findAttributeArrayByName(L"out");
    ASSERT_EQ(computed.db_resizeAttributeArray(out, 1), Status::kSuccess);
    EXPECT_EQ(computed.db_createReference(attribute(n, L"a"), out->getAttribute(0), false),
              Status::kReferencerIsComputed);
}

// --- Edits that change no value ---

TEST_F(ComputeManagerMarkingTest, EditsOfTheTreeThatChangeNoValueRunNothing)
{
    Element* extra = nullptr;
    const std::pair<const char*, std::function<Status()>> edits[] = {
        {"rename", [&] { return computed.db_renameNode(n, L"named"); }},
        {"reparent", [&] { return computed.db_reparentNode(n, plain, nullptr, nullptr); }},
        {"reorder", [&] { return computed.db_reorderNode(m, nullptr); }},
        {"create a dynamic element",
         [&] { return computed.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", n, nullptr, &extra); }},
        {"rename a dynamic element", [&] { return computed.db_renameDynamicElement(extra, L"other"); }},
        {"destroy a dynamic element", [&] { return computed.db_destroyDynamicElement(extra); }},
    };
    for (const auto& [name, edit] : edits)
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(edit(), Status::kSuccess);
        expectNothingToRun();
    }
}

/// As a layer may answer that only looks at what is asked.
TEST_F(ComputeManagerMarkingTest, ANextLayerThatSaysYesToNullsIsNoReasonToFail)
{
    db2::conformance::RecordingLayer yes(nullptr);
    computed.db_setNextInterface(&yes);
    Node* node = n;
    ValueHandle handle;
    void* storage = nullptr;
    EXPECT_EQ(computed.db_createNode(kSum, L"x", nullptr, nullptr, &node), Status::kSuccess);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(computed.db_destroyLeafNode(nullptr), Status::kSuccess);
    EXPECT_EQ(computed.db_resizeAttributeArray(nullptr, 1), Status::kSuccess);
    EXPECT_EQ(computed.db_lockAttribute(nullptr, &handle), Status::kSuccess);
    EXPECT_EQ(computed.db_lockAttributeArray(nullptr, &storage), Status::kSuccess);
    expectNothingToRun();
    computed.db_setNextInterface(&scene.core());
}

// --- The list ---

TEST_F(ComputeManagerMarkingTest, EveryKindOfRunTakesEveryAttributeOffTheList)
{
    for (const RunCounts& kind : {kQueueRun, kReplay, kFlush})
    {
        SCOPED_TRACE(::testing::PrintToString(kind));
        write(n, L"a", 1);
        write(m, L"note", 1);
        if (kind == kFlush)
            write(arrays, L"rate", 1);
        EXPECT_TRUE(isListed(attribute(n, L"a")));
        EXPECT_TRUE(isListed(attribute(m, L"note")));
        commit();
        EXPECT_EQ(takeCounts(), kind);
        EXPECT_FALSE(isListed(attribute(n, L"a")));
        EXPECT_FALSE(isListed(attribute(m, L"note")));
        EXPECT_FALSE(isListed(attribute(arrays, L"rate")));
    }
}

TEST_F(ComputeManagerMarkingTest, EveryKindOfRunTakesDestroyedAttributesOffTheList)
{
    for (const RunCounts& kind : {kQueueRun, kReplay, kFlush})
    {
        SCOPED_TRACE(::testing::PrintToString(kind));
        Element* extra = nullptr;
        ASSERT_EQ(computed.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", plain, nullptr, &extra),
                  Status::kSuccess);
        auto* const attributeToDestroy = static_cast<Attribute*>(extra);
        write(m, L"note", 1); // another list, in case the attribute stands where that of the last round stood
        settle();
        if (kind == kReplay)
        {
            db2test::write(computed, attributeToDestroy, 1);
            settle();
        }
        db2test::write(computed, attributeToDestroy, 1);
        if (kind == kFlush)
            write(arrays, L"rate", 1);
        ASSERT_EQ(computed.db_destroyDynamicElement(extra), Status::kSuccess);
        computed.computeGraph();
        EXPECT_EQ(takeCounts(), kind);
        EXPECT_FALSE(isListed(extra));
        commit(); // frees it; the next run must not look at it
        EXPECT_EQ(scene.core().getStatistics().dynamicElements, 0u);
    }
}

TEST_F(ComputeManagerMarkingTest, ADestroyedAttributeOfTheListIsKeptUntilItIsOffTheList)
{
    Element* extra = nullptr;
    ASSERT_EQ(computed.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", plain, nullptr, &extra),
              Status::kSuccess);
    db2test::write(computed, static_cast<Attribute*>(extra), 1);
    ASSERT_EQ(computed.db_destroyDynamicElement(extra), Status::kSuccess);
    ASSERT_EQ(scene.commit(), Status::kSuccess); // a commit that this layer does not see
    EXPECT_TRUE(isListed(extra));
    EXPECT_EQ(commit(), Runs{});
}

TEST_F(ComputeManagerMarkingTest, ADestroyedArrayIsKeptUntilItsItemsAreOffTheList)
{
    const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(AttributeType::kInt));
    definition->setArray(true);
    Element* extra = nullptr;
    ASSERT_EQ(computed.db_createDynamicElement(*definition, L"extra", plain, nullptr, &extra), Status::kSuccess);
    auto* const array = static_cast<AttributeArray*>(extra);
    ASSERT_EQ(computed.db_resizeAttributeArray(array, 3), Status::kSuccess);
    settle();
    Attribute* const item = array->getAttribute(2);
    Attribute* const released = array->getAttribute(1);
    db2test::write(computed, item, 1);
    db2test::write(computed, released, 1);
    ASSERT_EQ(scene.core().db_resizeAttributeArray(array, 1), Status::kSuccess); // unseen, so the array is not listed
    ASSERT_EQ(computed.db_destroyDynamicElement(extra), Status::kSuccess);
    ASSERT_EQ(scene.commit(), Status::kSuccess); // likewise
    EXPECT_TRUE(isListed(item));
    EXPECT_TRUE(isListed(released));
    EXPECT_EQ(commit(), Runs{});
}

TEST_F(ComputeManagerMarkingTest, MoreAttributesThanTheListIsReservedForAreAllComputed)
{
    constexpr int kNodes = 3000;
    std::vector<Node*> nodes;
    for (int i = 0; i < kNodes; ++i)
        nodes.push_back(create(kSum, L"many"));
    settle();
    for (const int round : {1, 2})
    {
        for (Node* const node : nodes)
            write(node, L"b", round);
        EXPECT_EQ(commit().size(), static_cast<std::size_t>(kNodes));
        for (const Node* const node : nodes)
            ASSERT_EQ(value(node, L"sum"), round);
    }
    EXPECT_EQ(takeCounts(), (RunCounts{0, 1, 1}));
}

} // namespace
} // namespace db2test
