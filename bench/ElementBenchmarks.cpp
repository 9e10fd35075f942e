// Dynamic elements, and arrays that grow item by item.

#include "Benchmarks.h"
#include "DatabaseTree.h"
#include "Measure.h"
#include "NameTable.h"

#include <memory>
#include <string>
#include <vector>

namespace db2bench {
namespace {

// --- Dynamic elements ---

/// The library: each element has metadata of its own.
class DatabaseElements
{
public:
    static constexpr const char* kSide = "db2";

    explicit DatabaseElements(std::size_t nodes)
    {
        NumberedText<wchar_t> name("node");
        for (std::size_t i = 0; i < nodes; ++i)
        {
            name.setNumber(i);
            nodes_.push_back(tree_.createNode(DatabaseTree::kOneFloat, tree_.root(), name.c_str()));
        }
    }

    using Name = NumberedText<wchar_t>;

    bool add(std::size_t node, const Name& name)
    {
        return tree_.data().db_createDynamicElement(definition_, name.c_str(), nodes_[node], nullptr, nullptr) ==
               db2::Status::kSuccess;
    }

    [[nodiscard]] std::size_t count() const { return tree_.core().getStatistics().dynamicElements; }

    [[nodiscard]] bool has(std::size_t node, const Name& name) const
    {
        return nodes_[node]->findAttributeByName(name.c_str()) != nullptr;
    }

private:
    DatabaseTree tree_;
    db2::FloatAttributeMetaDataDef definition_;
    std::vector<db2::Node*> nodes_;
};

/// The floor: one allocation an element, which is a name and a float, and one table for all names.
class FloorElements
{
public:
    static constexpr const char* kSide = "floor";

    explicit FloorElements(std::size_t nodes) : nodes_(nodes) {}
    FloorElements(const FloorElements&) = delete;
    FloorElements& operator=(const FloorElements&) = delete;

    using Name = NumberedText<char>;

    bool add(std::size_t node, const Name& name)
    {
        const std::uint32_t hash = Names::hashOf(name.view());
        if (names_.find(&nodes_[node], name.view(), hash) != nullptr)
            return false;
        auto element = std::make_unique<Item>();
        element->owner = &nodes_[node];
        element->hash = hash;
        element->name = name.view();
        names_.enter(element.get());
        nodes_[node].elements.push_back(std::move(element));
        return true;
    }

    [[nodiscard]] std::size_t count() const
    {
        std::size_t elements = 0;
        for (const Node& node : nodes_)
            elements += node.elements.size();
        return elements;
    }

    [[nodiscard]] bool has(std::size_t node, const Name& name) const
    {
        return names_.find(&nodes_[node], name.view(), Names::hashOf(name.view())) != nullptr;
    }

private:
    struct Item
    {
        const void* owner = nullptr;
        std::uint32_t hash = 0;
        float value = 0;
        std::string name;
    };
    struct Node
    {
        std::vector<std::unique_ptr<Item>> elements;
    };
    using Names = NameTable<Item>;

    std::vector<Node> nodes_;
    Names names_;
};

template <class Side, bool onOneNode>
void addElementPass(benchmark::State& state, std::size_t count)
{
    const std::size_t perNode = onOneNode ? count : 8;
    const std::size_t nodes = count / perNode;
    Side side(nodes);
    // A prefix under which the hashes of all names differ: by a hash of 32 bits, one of 10^5 names may count as taken.
    typename Side::Name name("added");
    const auto forEach = [&](auto act) {
        for (std::size_t node = 0; node < nodes; ++node)
        {
            for (std::size_t i = 0; i < perNode; ++i)
            {
                name.setNumber(i);
                act(node);
            }
        }
    };
    bool right = true;
    const double bytes =
        measure(state, count, [&] { forEach([&](std::size_t node) { right = side.add(node, name) && right; }); });
    state.counters["bytes_per_element"] = bytes / static_cast<double>(count);
    forEach([&](std::size_t node) { right = side.has(node, name) && right; });
    require(state, right && side.count() == count, "an element is missing");
}

// --- Arrays ---

class DatabaseArray
{
public:
    static constexpr const char* kSide = "db2";

    DatabaseArray()
    {
        const db2::Node* const node = tree_.createNode(DatabaseTree::kFloatArray, tree_.root(), L"array");
        array_ = node->findAttributeArrayByName(L"values");
    }

    bool resize(std::size_t size)
    {
        return tree_.data().db_resizeAttributeArray(array_, static_cast<unsigned int>(size)) == db2::Status::kSuccess;
    }

    [[nodiscard]] std::size_t size() const { return array_->getSize(); }

private:
    DatabaseTree tree_;
    db2::AttributeArray* array_;
};

class FloorArray
{
public:
    static constexpr const char* kSide = "floor";

    bool resize(std::size_t size)
    {
        values_.resize(size);
        benchmark::DoNotOptimize(values_.data());
        return true;
    }

    [[nodiscard]] std::size_t size() const { return values_.size(); }

private:
    std::vector<float> values_;
};

template <class Side>
void growArrayPass(benchmark::State& state, std::size_t count)
{
    Side side;
    bool right = true;
    const double bytes = measure(state, count, [&] {
        for (std::size_t size = 1; size <= count; ++size)
            right = side.resize(size) && right;
    });
    state.counters["bytes_per_item"] = bytes / static_cast<double>(count);
    require(state, right && side.size() == count, "wrong size");
}

template <class Elements, class Array>
void addSide()
{
    const auto elements = {std::size_t{10'000}, std::size_t{100'000}};
    addBenchmark("add_element", "eight_a_node", Elements::kSide, addElementPass<Elements, false>, elements);
    addBenchmark("add_element", "one_node", Elements::kSide, addElementPass<Elements, true>, elements);
    addBenchmark("grow_array", "one_by_one", Array::kSide, growArrayPass<Array>,
                 {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}});
}

} // namespace

void addElementBenchmarks()
{
    addSide<FloorElements, FloorArray>();
    addSide<DatabaseElements, DatabaseArray>();
}

} // namespace db2bench
