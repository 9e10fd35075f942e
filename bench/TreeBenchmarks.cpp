// Creating, writing, finding, visiting and destroying nodes: each pass is written once, for either side.

#include "Benchmarks.h"
#include "DatabaseTree.h"
#include "FloorTree.h"
#include "Measure.h"
#include "Workload.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <string_view>
#include <vector>

namespace db2bench {
namespace {

/// A side's tree, its nodes in the order of creation, and whether every edit so far succeeded.
template <class Side>
struct Scene
{
    Side side;
    std::vector<typename Side::NodeRef> nodes;
    bool right = true;
};

/// The nodes with the default values of their type.
template <class Side>
void createNodes(Scene<Side>& scene, Shape shape, std::size_t count)
{
    NumberedText<typename Side::Character> name("node");
    buildShape(shape, count, scene.side.root(), [&](auto parent, std::size_t index) {
        name.setNumber(index);
        const auto node = scene.side.create(parent, name);
        scene.right = scene.right && node != nullptr;
        scene.nodes.push_back(node);
        return node;
    });
}

/// The nodes with all eight values written.
template <class Side>
void createNodesWithValues(Scene<Side>& scene, Shape shape, std::size_t count)
{
    NumberedText<typename Side::Character> name("node");
    Values<typename Side::Character> values;
    buildShape(shape, count, scene.side.root(), [&](auto parent, std::size_t index) {
        name.setNumber(index);
        values.setSerial(scene.nodes.size());
        const auto node = scene.side.create(parent, name);
        scene.right = scene.right && node != nullptr && scene.side.write(node, values);
        scene.nodes.push_back(node);
        return node;
    });
}

template <class Side>
bool hasNodes(const Side& side, std::size_t count, double sumOfF0)
{
    std::size_t seen = 0;
    double sum = 0;
    side.visit([&](float f0) {
        ++seen;
        sum += static_cast<double>(f0);
    });
    return seen == count && sum == sumOfF0;
}

/// Looks at all values of a thousand nodes.
template <class Side>
bool holdsValues(const Scene<Side>& scene)
{
    Values<typename Side::Character> wanted;
    const std::size_t step = std::max<std::size_t>(1, scene.nodes.size() / 1000);
    for (std::size_t serial = 0; serial < scene.nodes.size(); serial += step)
    {
        wanted.setSerial(serial);
        if (!Side::holds(scene.nodes[serial], wanted))
            return false;
    }
    return true;
}

/// How many nodes got another name than was asked for. The library tells siblings by a hash of 32 bits, so some of
/// many siblings do.
template <class Side>
std::size_t countRenamed(Scene<Side>& scene, Shape shape, std::size_t count)
{
    NumberedText<typename Side::Character> wanted("node");
    std::size_t serial = 0;
    std::size_t renamed = 0;
    buildShape(shape, count, scene.side.root(), [&](auto, std::size_t index) {
        wanted.setNumber(index);
        const auto node = scene.nodes[serial++];
        if (Side::nameOf(node) != wanted.view())
            ++renamed;
        return node;
    });
    return renamed;
}

// --- Creation ---

/// kFresh: the pass gets its memory from the system, page fault by page fault. kWarm: it gets memory that as many nodes
/// have left, which shows what the work costs without the system's share.
enum class Heap
{
    kFresh,
    kWarm
};

template <class Side>
void create(Scene<Side>& scene, Shape shape, std::size_t count, bool withValues)
{
    if (withValues)
        createNodesWithValues(scene, shape, count);
    else
        createNodes(scene, shape, count);
}

template <class Side, Shape shape, bool withValues, Heap heap>
void createPass(benchmark::State& state, std::size_t count)
{
    if constexpr (heap == Heap::kWarm)
    {
        Scene<Side> before;
        create(before, shape, count, withValues);
    }
    Scene<Side> scene;
    scene.nodes.reserve(count);
    const double bytes = measure(state, count, [&] { create(scene, shape, count, withValues); });
    require(state, scene.right, "a creation failed");
    if (!scene.right)
        return;
    require(state, hasNodes(scene.side, count, withValues ? sumOfF0(count) : 0), "wrong nodes");
    require(state, !withValues || holdsValues(scene), "wrong values");
    state.counters["renamed"] = static_cast<double>(countRenamed(scene, shape, count));
    if constexpr (heap == Heap::kFresh)
        state.counters["bytes_per_node"] = bytes / static_cast<double>(count);
    if constexpr (requires { scene.side.bytesOfNodeBlock(); })
        state.counters["node_block_bytes"] = static_cast<double>(scene.side.bytesOfNodeBlock());
}

// --- Edits and reads of a tree that stands ---

template <class Side, Shape shape>
void writePass(benchmark::State& state, std::size_t count)
{
    Scene<Side> scene;
    scene.nodes.reserve(count);
    createNodesWithValues(scene, shape, count);
    measure(state, count, [&] {
        for (std::size_t i = 0; i < count; ++i)
            scene.right = scene.side.writeF0(scene.nodes[i], rewrittenF0(i)) && scene.right;
    });
    require(state, scene.right && hasNodes(scene.side, count, sumOfRewrittenF0(count)), "wrong values");
}

template <class Side, Shape shape>
void visitPass(benchmark::State& state, std::size_t count)
{
    Scene<Side> scene;
    scene.nodes.reserve(count);
    createNodesWithValues(scene, shape, count);
    double sum = 0;
    measure(state, count, [&] { scene.side.visit([&](float f0) { sum += static_cast<double>(f0); }); });
    require(state, scene.right && sum == sumOfF0(count), "wrong sum");
}

// --- Look-up by name ---

/// Each node under its parent by its name, in a random order, prepared so that carrying the look-ups out reads memory in
/// a row: a name stands with its length before it and a null character behind it.
template <class Side>
struct LookUps
{
    using NodeRef = typename Side::NodeRef;
    using Character = typename Side::Character;

    std::vector<NodeRef> parents;
    std::vector<NodeRef> wanted;
    std::vector<Character> texts;

    void add(NodeRef node)
    {
        const std::basic_string_view<Character> name = Side::nameOf(node);
        parents.push_back(Side::parentOf(node));
        wanted.push_back(node);
        texts.push_back(static_cast<Character>(name.size()));
        texts.insert(texts.end(), name.begin(), name.end());
        texts.push_back(Character{});
    }

    /// @return how many found their node.
    [[nodiscard]] std::size_t carryOut(const Side& side) const
    {
        std::size_t found = 0;
        const Character* text = texts.data();
        for (std::size_t i = 0; i < parents.size(); ++i)
        {
            const auto length = static_cast<std::size_t>(*text);
            if (side.find(parents[i], {text + 1, length}) == wanted[i])
                ++found;
            text += length + 2;
        }
        return found;
    }
};

template <class Side, Shape shape>
void findPass(benchmark::State& state, std::size_t count)
{
    Scene<Side> scene;
    scene.nodes.reserve(count);
    createNodesWithValues(scene, shape, count);
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), std::mt19937(42));
    LookUps<Side> lookUps;
    for (const std::size_t serial : order)
        lookUps.add(scene.nodes[serial]);
    std::size_t found = 0;
    measure(state, count, [&] { found = lookUps.carryOut(scene.side); });
    require(state, scene.right && found == count, "a node was not found");
}

// --- Destruction ---

template <class Side, Shape shape>
void destroyPass(benchmark::State& state, std::size_t count)
{
    Scene<Side> scene;
    scene.nodes.reserve(count);
    createNodesWithValues(scene, shape, count);
    measure(state, count, [&] { scene.right = scene.side.destroyAll() && scene.right; });
    require(state, scene.right && hasNodes(scene.side, 0, 0), "nodes are left");
}

template <class Side, Shape shape>
void clearPass(benchmark::State& state, std::size_t count)
{
    Scene<Side> scene;
    scene.nodes.reserve(count);
    createNodesWithValues(scene, shape, count);
    measure(state, count, [&] { scene.right = scene.side.clear() && scene.right; });
    require(state, scene.right && hasNodes(scene.side, 0, 0), "nodes are left");
}

// --- All of them ---

template <class Side>
void addSide()
{
    const auto counts = {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}};
    const auto add = [&counts](const char* workload, const char* shape, Pass pass) {
        addBenchmark(workload, shape, Side::kSide, pass, counts);
    };
    add("create", "tree", createPass<Side, Shape::kTree, false, Heap::kFresh>);
    add("create", "flat", createPass<Side, Shape::kFlat, false, Heap::kFresh>);
    add("create", "chain", createPass<Side, Shape::kChain, false, Heap::kFresh>);
    add("create_warm", "tree", createPass<Side, Shape::kTree, false, Heap::kWarm>);
    add("create_with_values", "tree", createPass<Side, Shape::kTree, true, Heap::kFresh>);
    add("create_with_values", "flat", createPass<Side, Shape::kFlat, true, Heap::kFresh>);
    add("create_with_values_warm", "tree", createPass<Side, Shape::kTree, true, Heap::kWarm>);
    add("write", "tree", writePass<Side, Shape::kTree>);
    add("write", "flat", writePass<Side, Shape::kFlat>);
    add("find", "tree", findPass<Side, Shape::kTree>);
    add("find", "flat", findPass<Side, Shape::kFlat>);
    add("visit", "tree", visitPass<Side, Shape::kTree>);
    add("visit", "flat", visitPass<Side, Shape::kFlat>);
    add("visit", "chain", visitPass<Side, Shape::kChain>);
    add("destroy", "tree", destroyPass<Side, Shape::kTree>);
    add("destroy", "flat", destroyPass<Side, Shape::kFlat>);
    add("clear", "tree", clearPass<Side, Shape::kTree>);
    add("clear", "flat", clearPass<Side, Shape::kFlat>);
    add("clear", "chain", clearPass<Side, Shape::kChain>);
}

} // namespace

void addTreeBenchmarks()
{
    addSide<FloorTree>();
    addSide<DatabaseTree>();
}

} // namespace db2bench
