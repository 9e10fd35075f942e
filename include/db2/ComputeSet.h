#pragma once

#include <db2/Export.h>

#include <kqtl/pod_vector.h>
#include <kqx/Array.h>

namespace db2 {

class DataInterface;
class Element;
class Node;

/// Computes a set's outputs from its inputs on one node.
/// @param data      the interface to lock and write the outputs through.
/// @param elements  the node's template elements, by element index.
/// @param userData  what the host gave to NodeTemplate::addComputeSet().
using ComputeFunction = void (*)(DataInterface& data, Node& node, Element** elements, void* userData);

/// A function that computes some elements of a node type from others, and the indices of both. Owned by its template.
class DB2_API ComputeSet
{
public:
    /// Copies both lists; throws std::bad_alloc when memory is out.
    ComputeSet(const unsigned int* inputs, unsigned int inputCount, const unsigned int* outputs,
               unsigned int outputCount, ComputeFunction function, void* userData);

    /// Element indices, getInputCount() and getOutputCount() of them.
    [[nodiscard]] const unsigned int* getInputs() const { return indices_.data(); }
    [[nodiscard]] const unsigned int* getOutputs() const { return indices_.data() + inputCount_; }
    [[nodiscard]] unsigned int getInputCount() const { return inputCount_; }
    [[nodiscard]] unsigned int getOutputCount() const { return outputCount_; }

    [[nodiscard]] ComputeFunction getComputeFunction() const { return function_; } ///< may be null
    [[nodiscard]] void* getUserData() const { return userData_; }

    /// The sets of the same template that read an output of this one, ascending, each once; known from the template's
    /// registration on.
    [[nodiscard]] const kqx::SizeTArray& getOutputSets() const { return outputSets_; }
    void addOutputSet(unsigned int computeSet) { outputSets_.push_back(computeSet); }
    void setOutputSets(kqx::SizeTArray&& computeSets) noexcept { outputSets_.swap(computeSets); }

private:
    void* userData_;
    kqtl::pod_vector<unsigned int> indices_; ///< the inputs, then the outputs
    unsigned int inputCount_;
    unsigned int outputCount_;
    ComputeFunction function_;
    kqx::SizeTArray outputSets_;
};

} // namespace db2
