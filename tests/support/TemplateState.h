#pragma once

#include <db2/db2.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace db2test {

/// What can be seen of a NodeTemplate, to compare before and after an edit that must change nothing.
struct TemplateState
{
    struct Element
    {
        std::wstring name;
        std::uint32_t typeId;
        unsigned int flags;
        unsigned int computeSet;
        unsigned int firstOutput;
        unsigned int outputCount;

        bool operator==(const Element&) const = default;
    };
    struct ComputeSet
    {
        std::vector<unsigned int> inputs;
        std::vector<unsigned int> outputs;
        std::vector<std::size_t> outputSets;

        bool operator==(const ComputeSet&) const = default;
    };

    explicit TemplateState(const db2::NodeTemplate& nodeTemplate)
        : elementOutputs(nodeTemplate.getElementOutputs().begin(), nodeTemplate.getElementOutputs().end()),
          registered(nodeTemplate.hasFlag(db2::NodeTemplateFlag::kRegistered)),
          referenceCount(nodeTemplate.getReferenceCount()), nodeSize(nodeTemplate.getNodeMemoryRequirements().size),
          nodeAlignment(nodeTemplate.getNodeMemoryRequirements().alignment)
    {
        for (unsigned int i = 0; i < nodeTemplate.getElementCount(); ++i)
        {
            const db2::ElementMetaData& element = *nodeTemplate.getElementMetaData(i);
            elements.push_back({element.getName(), element.getTypeId(), element.getFlags(), element.getComputeSet(),
                                element.getOutputComputeSet(), element.getOutputComputeSetSize()});
        }
        for (unsigned int i = 0; i < nodeTemplate.getComputeSetCount(); ++i)
        {
            const db2::ComputeSet& set = *nodeTemplate.getComputeSet(i);
            computeSets.push_back({{set.getInputs(), set.getInputs() + set.getInputCount()},
                                   {set.getOutputs(), set.getOutputs() + set.getOutputCount()},
                                   {set.getOutputSets().begin(), set.getOutputSets().end()}});
        }
    }

    bool operator==(const TemplateState&) const = default;

    /// For the messages of failed expectations.
    friend std::ostream& operator<<(std::ostream& out, const TemplateState& state)
    {
        out << "node " << state.nodeSize << " at " << state.nodeAlignment << ", " << state.referenceCount << " nodes"
            << (state.registered ? ", registered" : "") << "; elements (type, flags, compute set, outputs)";
        for (const Element& element : state.elements)
            out << " (" << element.typeId << ", " << element.flags << ", " << element.computeSet << ", "
                << element.firstOutput << "+" << element.outputCount << ")";
        out << "; " << state.elementOutputs.size() << " element outputs; compute sets (inputs, outputs, output sets)";
        for (const ComputeSet& set : state.computeSets)
            out << " (" << set.inputs.size() << ", " << set.outputs.size() << ", " << set.outputSets.size() << ")";
        return out;
    }

    std::vector<Element> elements;
    std::vector<ComputeSet> computeSets;
    std::vector<unsigned int> elementOutputs;
    bool registered;
    unsigned int referenceCount;
    std::uint32_t nodeSize;
    std::uint32_t nodeAlignment;
};

} // namespace db2test
