// bench_juce: the editing and file benchmarks with JUCE's ValueTree and UndoManager. One tree object a node; its name and values
// are properties, vectors, matrices and colours as binary ones. Files are the XML that JUCE makes of a tree.

#include "EditingWorkloads.h"
#include "FileWorkloads.h"
#include "Program.h"

#include <juce_data_structures/juce_data_structures.h>

#include <array>
#include <limits>

namespace {

using namespace db2bench;

const juce::Identifier kNode{"node"}, kName{"name"};
const juce::Identifier kF0{"f0"}, kF1{"f1"}, kI{"i"}, kB{"b"}, kS{"s"}, kV{"v"}, kM{"m"}, kC{"c"};
const juce::Identifier kLocal{"local"}, kWorld{"world"};

template <std::size_t size>
juce::var binary(const std::array<float, size>& values)
{
    return {values.data(), sizeof values};
}

template <std::size_t size>
bool equals(const juce::var& value, const std::array<float, size>& wanted)
{
    const auto* const block = value.getBinaryData();
    return block != nullptr && block->getSize() == sizeof wanted && block->matches(wanted.data(), sizeof wanted);
}

juce::String text(std::string_view from)
{
    return {from.data(), from.size()};
}

class JuceEditor
{
public:
    static constexpr const char* kSide = "juce";
    static constexpr const char* kFileExtension = ".xml";
    static constexpr bool kIsLeftInMemory = true;
    using Character = char;
    using NodeRef = juce::ValueTree;

    NodeRef root() { return root_; }
    static bool isNode(const NodeRef& node) { return node.isValid(); }

    NodeRef create(NodeRef parent, const NumberedText<char>& name, const Values<char>& values)
    {
        NodeRef node(kNode);
        node.setProperty(kName, text(name.view()), nullptr);
        node.setProperty(kF0, values.f0, nullptr);
        node.setProperty(kF1, values.f1, nullptr);
        node.setProperty(kI, values.i, nullptr);
        node.setProperty(kB, values.b, nullptr);
        node.setProperty(kS, text(values.s.view()), nullptr);
        node.setProperty(kV, binary(values.v), nullptr);
        node.setProperty(kM, binary(values.m), nullptr);
        node.setProperty(kC, binary(values.c), nullptr);
        parent.appendChild(node, recorder_);
        return node;
    }

    /// Compares with one child after the other, which is all that a ValueTree has for names.
    NodeRef child(const NodeRef& parent, std::string_view name)
    {
        return parent.getChildWithProperty(kName, text(name));
    }

    template <class See>
    void forEachChild(const NodeRef& node, See see)
    {
        for (const auto child : node)
            see(child);
    }

    float f0(const NodeRef& node) { return node[kF0]; }
    void set(NodeRef node, float f0) { node.setProperty(kF0, f0, recorder_); }
    bool holds(const NodeRef& node, const Values<char>& values)
    {
        return float(node[kF0]) == values.f0 && float(node[kF1]) == values.f1 && int(node[kI]) == values.i &&
               bool(node[kB]) == values.b && node[kS].toString() == text(values.s.view()) &&
               equals(node[kV], values.v) && equals(node[kM], values.m) && equals(node[kC], values.c);
    }
    void destroy(const NodeRef& node) { node.getParent().removeChild(node, recorder_); }

    void settle() {}
    void begin(std::size_t)
    {
        undo_.beginNewTransaction();
        recorder_ = &undo_;
    }
    void commit() { recorder_ = nullptr; }
    void undo() { undo_.undo(); }
    void redo() { undo_.redo(); }
    void clearHistory() { undo_.clearUndoHistory(); }
    void observe(std::size_t* counter)
    {
        counter_.count = counter;
        root_.addListener(&counter_);
    }

    bool save(const std::string& path)
    {
        const auto xml = root_.createXml();
        return xml != nullptr && xml->writeTo(juce::File(text(path)));
    }
    bool load(const std::string& path)
    {
        const auto xml = juce::parseXML(juce::File(text(path)));
        if (xml != nullptr)
            root_ = juce::ValueTree::fromXml(*xml);
        return xml != nullptr && root_.isValid();
    }

    void buildComputed(const std::vector<int>& parents)
    {
        for (std::size_t i = 0; i < parents.size(); ++i)
        {
            NodeRef parent = i != 0 ? computed_[std::size_t(parents[i])] : root_;
            NodeRef node(kNode);
            node.setProperty(kLocal, 1.0, nullptr);
            node.setProperty(kWorld, double(parent[kWorld]) + 1, nullptr);
            parent.appendChild(node, nullptr);
            computed_.push_back(node);
        }
        root_.addListener(&propagation_);
    }
    void setLocal(int index, float value) { computed_[std::size_t(index)].setProperty(kLocal, double(value), nullptr); }
    void updateComputed() {} // the listener has done it
    float world(int index) { return float(double(computed_[std::size_t(index)][kWorld])); }

private:
    struct Counter : juce::ValueTree::Listener
    {
        std::size_t* count = nullptr;
        void valueTreePropertyChanged(juce::ValueTree&, const juce::Identifier&) override { ++*count; }
    };

    /// Recomputes by hand: a node's world value follows its local value and its parent's world value.
    struct Propagation : juce::ValueTree::Listener
    {
        static void update(juce::ValueTree& node)
        {
            node.setProperty(kWorld, double(node.getParent()[kWorld]) + double(node[kLocal]), nullptr);
        }
        void valueTreePropertyChanged(juce::ValueTree& node, const juce::Identifier& property) override
        {
            if (property == kLocal)
                update(node);
            else if (property == kWorld)
                for (auto child : node)
                    update(child);
        }
    };

    juce::UndoManager undo_{std::numeric_limits<int>::max(), 1};
    juce::UndoManager* recorder_ = nullptr; ///< the undo manager within a unit of work
    juce::ValueTree root_{"root"};
    Counter counter_;
    Propagation propagation_;
    std::vector<NodeRef> computed_;
};

} // namespace

int main(int argc, char** argv)
{
    const juce::ScopedJuceInitialiser_GUI events; // what the undo manager tells its listeners goes through; no display
    return runBenchmarks(argc, argv, [] {
        addEditingBenchmarks<JuceEditor>();
        addFileBenchmarks<JuceEditor>();
    });
}
