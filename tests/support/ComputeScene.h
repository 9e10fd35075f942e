#pragma once

#include "ModelValue.h"
#include "Scene.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace db2test {

/// What a compute function of a ComputeScene is called with, and the set that it is called for.
struct ComputeCall
{
    DataInterface& data;
    Node& node;
    Element** elements;
    const ComputeSet& set;

    [[nodiscard]] Attribute* input(unsigned int index) const;
    [[nodiscard]] Attribute* output(unsigned int index) const;
    [[nodiscard]] AttributeArray* outputArray(unsigned int index) const;
};

/// A scene whose node types compute, and that remembers which sets ran.
class ComputeScene : public Scene
{
public:
    using Body = std::function<void(const ComputeCall&)>;
    using Runs = std::vector<std::wstring>; ///< "node.output" for each run, by the set's first output

    /// A compute set by the names of its elements.
    struct Set
    {
        std::vector<std::wstring> inputs;
        std::vector<std::wstring> outputs;
        Body body = addUp; ///< empty: the set gets no function at all
    };

    /// Registers a node type. @return its id.
    unsigned int addType(const std::vector<ElementSpec>& elements, const std::vector<Set>& sets);

    /// What ran since the last call, in order.
    Runs takeRuns() { return std::exchange(runs_, {}); }

    /// Writes the sum of all inputs, items of arrays included, to each output; to the second one 1 more, and so on. The
    /// items of an output array get the sum and their index.
    static void addUp(const ComputeCall& call);

private:
    struct Probe
    {
        ComputeScene* scene;
        const ComputeSet* set;
        Body body;
    };
    static void run(DataInterface& data, Node& node, Element** elements, void* probe);

    std::deque<Probe> probes_; ///< the user data of the sets
    Runs runs_;
    unsigned int nextTypeId_ = 100;
};

/// Int elements, which most tests compute with.
[[nodiscard]] ElementSpec number(const wchar_t* name);
[[nodiscard]] ElementSpec numbers(const wchar_t* name);       ///< an array
[[nodiscard]] ElementSpec raisingNumber(const wchar_t* name); ///< writing it asks for a rebuild
[[nodiscard]] ElementSpec raisingNumbers(const wchar_t* name);

/// Writes an Int through a layer; it must succeed.
void write(DataInterface& data, Attribute* attribute, int value);

/// Gives an array of Int this size and these values through a layer; it must succeed.
void write(DataInterface& data, AttributeArray* array, const std::vector<int>& values);

} // namespace db2test
