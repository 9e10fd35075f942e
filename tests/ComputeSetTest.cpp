#include <db2/ComputeSet.h>

#include <db2/AttributeMetaDataDef.h>
#include <db2/Module.h>
#include <db2/NodeRegistry.h>
#include <db2/NodeTemplate.h>

#include "support/HeapThatRunsOut.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace db2;
using db2test::HeapThatRunsOut;
using db2test::Random;
using Indices = std::vector<unsigned int>;

void computeNothing(DataInterface&, Node&, Element**, void*) {}

// --- The set itself ---

TEST(ComputeSetTest, KeepsCopiesOfItsLists)
{
    Indices inputs{3, 1, 3};
    Indices outputs{0, 7};
    int userData = 0;
    const ComputeSet set(inputs.data(), 3, outputs.data(), 2, computeNothing, &userData);
    std::fill(inputs.begin(), inputs.end(), 99u);
    std::fill(outputs.begin(), outputs.end(), 99u);

    EXPECT_EQ(set.getInputCount(), 3u);
    EXPECT_EQ(Indices(set.getInputs(), set.getInputs() + 3), (Indices{3, 1, 3}));
    EXPECT_EQ(set.getOutputCount(), 2u);
    EXPECT_EQ(Indices(set.getOutputs(), set.getOutputs() + 2), (Indices{0, 7}));
    EXPECT_EQ(set.getComputeFunction(), computeNothing);
    EXPECT_EQ(set.getUserData(), &userData);
    EXPECT_TRUE(set.getOutputSets().empty());
}

TEST(ComputeSetTest, TheOutputsStandBehindTheInputs)
{
    const Indices inputs{3, 1};
    const Indices outputs{0};
    const ComputeSet set(inputs.data(), 2, outputs.data(), 1, nullptr, nullptr);
    EXPECT_EQ(set.getOutputs(), set.getInputs() + set.getInputCount());
    EXPECT_EQ(set.getComputeFunction(), nullptr);
}

TEST(ComputeSetTest, OutputSetsAreAddedAndReplaced)
{
    const unsigned int index = 0;
    ComputeSet set(&index, 1, &index, 1, nullptr, nullptr);
    set.addOutputSet(2);
    set.addOutputSet(5);
    EXPECT_EQ(set.getOutputSets(), (kqx::SizeTArray{2, 5}));
    set.setOutputSets(kqx::SizeTArray());
    EXPECT_TRUE(set.getOutputSets().empty());
}

TEST(ComputeSetTest, ACopyHasEverythingForItself)
{
    const Indices inputs{3, 1};
    const Indices outputs{0};
    int userData = 0;
    ComputeSet original(inputs.data(), 2, outputs.data(), 1, computeNothing, &userData);
    original.addOutputSet(4);
    const ComputeSet constructed(original);
    ComputeSet assigned(outputs.data(), 1, outputs.data(), 1, nullptr, nullptr);
    assigned = original;
    original.addOutputSet(5);
    for (const ComputeSet* const copy : {&constructed, static_cast<const ComputeSet*>(&assigned)})
    {
        EXPECT_EQ(Indices(copy->getInputs(), copy->getInputs() + copy->getInputCount()), inputs);
        EXPECT_EQ(Indices(copy->getOutputs(), copy->getOutputs() + copy->getOutputCount()), outputs);
        EXPECT_NE(copy->getInputs(), original.getInputs());
        EXPECT_EQ(copy->getComputeFunction(), computeNothing);
        EXPECT_EQ(copy->getUserData(), &userData);
        EXPECT_EQ(copy->getOutputSets(), (kqx::SizeTArray{4}));
    }
}

TEST(ComputeSetTest, WithoutMemoryForTheListsItThrows)
{
    const Indices indices(100, 1);
    const HeapThatRunsOut heap(0);
    EXPECT_THROW((void)ComputeSet(indices.data(), 100, indices.data(), 100, nullptr, nullptr), std::bad_alloc);
}

// --- What registration finds out about a template's sets ---

struct SetSpec
{
    Indices inputs;
    Indices outputs;
};

/// What of a template's sets depends on which: per set the sets that read its outputs, per element those that read it.
struct Dependencies
{
    std::vector<std::vector<std::size_t>> outputSets;
    std::vector<Indices> readers;

    bool operator==(const Dependencies&) const = default;
};

/// From the definitions: every set that has an input computed by the set; every set that has the element as input.
Dependencies expectedDependencies(unsigned int elementCount, const std::vector<SetSpec>& sets)
{
    Dependencies expected{std::vector<std::vector<std::size_t>>(sets.size()), std::vector<Indices>(elementCount)};
    const auto isIn = [](const Indices& list, unsigned int index) {
        return std::find(list.begin(), list.end(), index) != list.end();
    };
    for (unsigned int reader = 0; reader < sets.size(); ++reader)
    {
        for (std::size_t computer = 0; computer < sets.size(); ++computer)
        {
            const Indices& outputs = sets[computer].outputs;
            if (std::any_of(outputs.begin(), outputs.end(), [&](auto e) { return isIn(sets[reader].inputs, e); }))
                expected.outputSets[computer].push_back(reader);
        }
        for (unsigned int element = 0; element < elementCount; ++element)
            if (isIn(sets[reader].inputs, element))
                expected.readers[element].push_back(reader);
    }
    return expected;
}

/// A template of Int elements with compute sets, registered.
class DependenciesTest : public ::testing::Test
{
protected:
    void build(unsigned int elementCount, const std::vector<SetSpec>& sets)
    {
        auto owned = std::make_unique<NodeTemplate>(L"Type", 1, module);
        const IntAttributeMetaDataDef definition;
        for (unsigned int i = 0; i < elementCount; ++i)
            ASSERT_EQ(owned->addAttribute(definition, (L"e" + std::to_wstring(i)).c_str()), Status::kSuccess);
        for (SetSpec set : sets)
        {
            set.inputs.push_back(NodeTemplate::kEndOfList);
            set.outputs.push_back(NodeTemplate::kEndOfList);
            ASSERT_EQ(owned->addComputeSet(set.inputs.data(), set.outputs.data(), nullptr, nullptr), Status::kSuccess);
        }
        nodeTemplate = owned.get();
        ASSERT_EQ(registry->registerNodeTemplate(owned.get()), Status::kSuccess);
        (void)owned.release();
    }

    /// Reads the readers of each element through the run that its metadata names.
    [[nodiscard]] Dependencies found() const
    {
        Dependencies dependencies;
        for (unsigned int i = 0; i < nodeTemplate->getComputeSetCount(); ++i)
        {
            const kqx::SizeTArray& sets = nodeTemplate->getComputeSet(i)->getOutputSets();
            dependencies.outputSets.emplace_back(sets.begin(), sets.end());
        }
        const auto& outputs = nodeTemplate->getElementOutputs();
        for (unsigned int i = 0; i < nodeTemplate->getElementCount(); ++i)
        {
            const ElementMetaData& element = *nodeTemplate->getElementMetaData(i);
            EXPECT_EQ(element.hasOutputComputeSets(), element.getOutputComputeSetSize() != 0);
            Indices readers;
            for (unsigned int r = 0; r < element.getOutputComputeSetSize(); ++r)
                readers.push_back(outputs[element.getOutputComputeSet() + r]);
            dependencies.readers.push_back(readers);
        }
        return dependencies;
    }

    void rebuild(unsigned int elementCount, const std::vector<SetSpec>& sets)
    {
        registry = std::make_unique<NodeRegistry>();
        build(elementCount, sets);
    }

    Module module;
    std::unique_ptr<NodeRegistry> registry = std::make_unique<NodeRegistry>();
    const NodeTemplate* nodeTemplate = nullptr;
};

TEST_F(DependenciesTest, WithoutComputeSetsThereAreNone)
{
    build(3, {});
    EXPECT_TRUE(nodeTemplate->getElementOutputs().empty());
    EXPECT_EQ(nodeTemplate->getElementMetaData(0)->getOutputComputeSet(), ElementMetaData::kNoComputeSet);
    EXPECT_FALSE(nodeTemplate->getElementMetaData(0)->hasOutputComputeSets());
}

TEST_F(DependenciesTest, ASetThatReadsAnOutputTwiceIsListedOnce)
{
    build(3, {{{0}, {1}}, {{1, 1}, {2}}});
    EXPECT_EQ(nodeTemplate->getComputeSet(0)->getOutputSets(), (kqx::SizeTArray{1}));
    EXPECT_TRUE(nodeTemplate->getComputeSet(1)->getOutputSets().empty());
    EXPECT_EQ(found().readers[1], (Indices{1}));
}

TEST_F(DependenciesTest, ASetThatReadsTwoOutputsOfAnotherIsListedOnce)
{
    build(4, {{{0}, {1, 2}}, {{2, 1}, {3}}});
    EXPECT_EQ(nodeTemplate->getComputeSet(0)->getOutputSets(), (kqx::SizeTArray{1}));
}

TEST_F(DependenciesTest, OutputSetsAscendWhateverTheOrderOfTheInputs)
{
    build(6, {{{5}, {4}}, {{0}, {1}}, {{1, 4}, {2}}, {{4, 1}, {3}}});
    EXPECT_EQ(nodeTemplate->getComputeSet(0)->getOutputSets(), (kqx::SizeTArray{2, 3}));
    EXPECT_EQ(nodeTemplate->getComputeSet(1)->getOutputSets(), (kqx::SizeTArray{2, 3}));
}

TEST_F(DependenciesTest, ASetThatReadsItsOwnOutputIsAmongItsOutputSets)
{
    build(2, {{{0, 1}, {1}}});
    EXPECT_EQ(nodeTemplate->getComputeSet(0)->getOutputSets(), (kqx::SizeTArray{0}));
}

TEST_F(DependenciesTest, TheRunsOfTheElementsStandInElementOrderWithoutGaps)
{
    build(6, {{{4, 1}, {0}}, {{1, 4, 0}, {2}}, {{4}, {5}}});
    const auto& outputs = nodeTemplate->getElementOutputs();
    EXPECT_EQ(Indices(outputs.begin(), outputs.end()), (Indices{1, 0, 1, 0, 1, 2}));
    EXPECT_EQ(nodeTemplate->getElementMetaData(0)->getOutputComputeSet(), 0u);
    EXPECT_EQ(nodeTemplate->getElementMetaData(1)->getOutputComputeSet(), 1u);
    EXPECT_EQ(nodeTemplate->getElementMetaData(4)->getOutputComputeSet(), 3u);
    EXPECT_EQ(nodeTemplate->getElementMetaData(4)->getOutputComputeSetSize(), 3u); // the last one's, too
}

TEST_F(DependenciesTest, AnElementThatNoSetReadsKeepsNoRun)
{
    build(4, {{{1}, {3}}});
    for (const unsigned int unread : {0u, 2u, 3u})
    {
        SCOPED_TRACE(unread);
        EXPECT_EQ(nodeTemplate->getElementMetaData(unread)->getOutputComputeSet(), ElementMetaData::kNoComputeSet);
        EXPECT_EQ(nodeTemplate->getElementMetaData(unread)->getOutputComputeSetSize(), 0u);
    }
}

TEST_F(DependenciesTest, RandomSetsDependOnEachOtherAsTheirListsSay)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 200; ++round)
    {
        const auto elementCount = static_cast<unsigned int>(1 + random.below(30));
        const auto anyElement = [&] { return static_cast<unsigned int>(random.below(elementCount)); };
        std::set<unsigned int> computed;
        std::vector<SetSpec> sets;
        for (std::size_t wanted = random.below(12); wanted > 0; --wanted)
        {
            SetSpec set;
            for (std::size_t i = 1 + random.below(6); i > 0; --i)
                set.inputs.push_back(anyElement());
            for (std::size_t i = 1 + random.below(3); i > 0; --i)
                if (const unsigned int output = anyElement(); computed.insert(output).second)
                    set.outputs.push_back(output);
            if (!set.outputs.empty())
                sets.push_back(set);
        }
        SCOPED_TRACE(::testing::Message() << "round " << round);
        ASSERT_NO_FATAL_FAILURE(rebuild(elementCount, sets));

        const Dependencies expected = expectedDependencies(elementCount, sets);
        ASSERT_EQ(found(), expected);
        std::size_t total = 0;
        for (const Indices& readers : expected.readers)
            total += readers.size();
        ASSERT_EQ(nodeTemplate->getElementOutputs().size(), total);
    }
}

} // namespace
