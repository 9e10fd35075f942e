#pragma once

#include "Document.h"
#include "Measure.h"
#include "Workload.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// The editing benchmarks, written once for any side: edits that can be undone, observers, computed values, paths,
/// subtrees. Each step is a benchmark of its own, whose set-up carries out the steps before it.
///
/// A side is a class that has a default constructor and
///   kSide, Character, NodeRef     its name, of what texts are made, and how it refers to a node
///   root(), isNode(node)          isNode() tells a node from what a failed create() or child() returns
///   create(parent, name, values), child(parent, name), forEachChild(node, see)
///   f0(node), set(node, f0), holds(node, values), destroy(node)
///   settle()                      what was built is there to stay: nothing of it can be undone
///   begin(edits), commit()        a unit of work; outside of one nothing need be recorded
///   undo(), redo(), clearHistory()
///   observe(counter)              adds up the values that each unit of work wrote
///   buildComputed(parents), setLocal(i, value), updateComputed(), world(i)
///                                 nodes whose world is their parent's plus their local value, which is 1 at first
/// and, when it has them, find(path), a look-up by path of its own, with a null character behind the path, and the constant
/// kIsLeftInMemory (see SideEnd).
namespace db2bench {

// --- One unit of work: f0 of every node is written ---

enum class EditStep
{
    kWrite,
    kUndo,
    kRedo
};

constexpr float originalF0(std::size_t serial)
{
    return static_cast<float>(serial) * 0.25f;
}

template <class Side>
void rewriteAll(Document<Side>& document)
{
    Side& side = *document.side;
    const std::size_t count = document.nodes.size();
    side.begin(count);
    for (std::size_t i = 0; i < count; ++i)
        side.set(document.nodes[i], rewrittenF0(i));
    side.commit();
}

template <class Side, EditStep timed>
void unitOfWorkPass(benchmark::State& state, std::size_t count)
{
    Document<Side> document = makeDocument<Side>(Shape::kTree, count);
    if constexpr (timed == EditStep::kWrite)
    {
        const double bytes = measure(state, count, [&] { rewriteAll(document); });
        state.counters["bytes_per_write"] = bytes / static_cast<double>(count);
        if constexpr (requires { document.side->undoBytes(); })
            state.counters["bytes_per_undo_record"] =
                static_cast<double>(document.side->undoBytes()) / static_cast<double>(count);
        require(state, haveF0(document, count, rewrittenF0), "wrong values after the writes");
        return;
    }
    rewriteAll(document);
    if constexpr (timed == EditStep::kUndo)
    {
        measure(state, count, [&] { document.side->undo(); });
        require(state, haveF0(document, count, originalF0), "wrong values after the undo");
        return;
    }
    document.side->undo();
    measure(state, count, [&] { document.side->redo(); });
    require(state, haveF0(document, count, rewrittenF0), "wrong values after the redo");
}

/// The same write, with an observer that goes through what was written.
template <class Side>
void observedWritePass(benchmark::State& state, std::size_t count)
{
    Document<Side> document = makeDocument<Side>(Shape::kTree, count);
    std::size_t seen = 0;
    document.side->observe(&seen);
    measure(state, count, [&] { rewriteAll(document); });
    require(state, haveF0(document, count, rewrittenF0), "wrong values after the writes");
    require(state, seen == count, "the observer missed a write");
}

// --- A commit for each write; write w goes to node w mod count and says which one it was ---

inline constexpr std::size_t kSingleWrites = 100'000;

/// The state after the first @p writes writes.
template <class Side>
bool isAfterWrites(Document<Side>& document, std::size_t writes)
{
    const std::size_t count = document.nodes.size();
    return haveF0(document, std::min(count, kSingleWrites), [&](std::size_t i) {
        return i < writes ? static_cast<float>(i + (writes - 1 - i) / count * count) + 0.75f : originalF0(i);
    });
}

template <class Side, EditStep timed>
void commitEachPass(benchmark::State& state, std::size_t count)
{
    Document<Side> document = makeDocument<Side>(Shape::kTree, count);
    Side& side = *document.side;
    const auto write = [&](std::size_t i) {
        side.begin(1);
        side.set(document.nodes[i % count], static_cast<float>(i) + 0.75f);
        side.commit();
    };
    const auto undo = [&](std::size_t) { side.undo(); };
    if constexpr (timed == EditStep::kWrite)
    {
        const LoopResult written = measureLoop(state, kSingleWrites, 1, write);
        state.counters["bytes_per_write"] = written.bytes / static_cast<double>(written.calls);
        require(state, isAfterWrites(document, written.calls), "wrong values after the writes");
        return;
    }
    const std::size_t written = repeat(kSingleWrites, write);
    if constexpr (timed == EditStep::kUndo)
    {
        const std::size_t undone = measureLoop(state, written, 1, undo).calls;
        require(state, isAfterWrites(document, written - undone), "wrong values after the undos");
        return;
    }
    const std::size_t undone = repeat(written, undo);
    const std::size_t redone = measureLoop(state, undone, 1, [&](std::size_t) { side.redo(); }).calls;
    require(state, isAfterWrites(document, written - undone + redone), "wrong values after the redos");
}

// --- Computed values ---

enum class ComputeStep
{
    kBuild,
    kRoot,
    kLeaf
};

inline constexpr std::size_t kRootChanges = 20;
inline constexpr std::size_t kLeafChanges = 10'000;

/// For each node the index of its parent, -1 for the first; the others stand below it in the given shape.
inline std::vector<int> makeParents(Shape shape, std::size_t count)
{
    std::vector<int> parents{-1};
    parents.reserve(count);
    buildShape(shape, count - 1, 0, [&](int parent, std::size_t) {
        parents.push_back(parent);
        return static_cast<int>(parents.size()) - 1;
    });
    return parents;
}

/// True when every world is what the local values make it: all of them 1, but the first's and the last's.
template <class Side>
bool areComputed(Side& side, const std::vector<int>& parents, float firstLocal, float lastLocal)
{
    std::vector<float> wanted(parents.size(), firstLocal);
    for (std::size_t i = 1; i < parents.size(); ++i)
        wanted[i] = wanted[static_cast<std::size_t>(parents[i])] + (i + 1 == parents.size() ? lastLocal : 1);
    for (std::size_t i = 0; i < parents.size(); ++i)
        if (side.world(static_cast<int>(i)) != wanted[i])
            return false;
    return true;
}

template <class Side, Shape shape, ComputeStep timed>
void computePass(benchmark::State& state, std::size_t count)
{
    const std::vector<int> parents = makeParents(shape, count);
    const int last = static_cast<int>(count) - 1;
    const SideOwner<Side> owner(new Side);
    Side& side = *owner;
    if constexpr (timed == ComputeStep::kBuild)
    {
        measure(state, count, [&] { side.buildComputed(parents); });
        require(state, areComputed(side, parents, 1, 1), "wrong values after the build");
        return;
    }
    side.buildComputed(parents);
    if constexpr (timed == ComputeStep::kRoot)
    {
        const std::size_t changes = measureLoop(state, kRootChanges, count, [&](std::size_t i) {
                                        side.setLocal(0, static_cast<float>(i) + 2);
                                        side.updateComputed();
                                    }).calls;
        require(state, areComputed(side, parents, static_cast<float>(changes) + 1, 1), "wrong values");
        return;
    }
    const std::size_t changes = measureLoop(state, kLeafChanges, 1, [&](std::size_t i) {
                                    side.setLocal(last, static_cast<float>(i) + 2);
                                    side.updateComputed();
                                }).calls;
    require(state, areComputed(side, parents, 1, static_cast<float>(changes) + 1), "wrong values");
}

// --- Every node by its path, in a random order ---

template <class Side, Shape shape>
void findPathPass(benchmark::State& state, std::size_t count)
{
    using Character = typename Side::Character;
    Document<Side> document = makeDocument<Side>(shape, count);
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0u);
    std::shuffle(order.begin(), order.end(), std::mt19937(42));
    // One text, so that the timed work reads the paths in a row.
    std::basic_string<Character> texts;
    std::vector<std::size_t> starts{0};
    {
        auto paths = makePaths<Character>(shape, count);
        // Of very many siblings some have other names than was asked for, where names are told apart by a hash.
        if constexpr (shape == Shape::kFlat && requires { Side::nameOf(document.nodes[0]); })
            for (std::size_t i = 0; i < count; ++i)
                paths[i].replace(1, paths[i].npos, Side::nameOf(document.nodes[i]));
        for (const std::uint32_t serial : order)
        {
            texts.append(paths[serial]).push_back(Character{});
            starts.push_back(texts.size());
        }
    }
    std::size_t found = 0;
    const auto findOne = [&](std::size_t i) {
        const std::basic_string_view<Character> path(&texts[starts[i]], starts[i + 1] - starts[i] - 1);
        if constexpr (requires { document.side->find(path); })
            found += document.side->find(path) == document.nodes[order[i]] ? 1u : 0u;
        else
            found += findByNames(*document.side, path) == document.nodes[order[i]] ? 1u : 0u;
    };
    const std::size_t looked = measureLoop(state, count, 1, findOne).calls;
    require(state, found == looked, "a node was not found");
}

// --- A node with everything below it ---

enum class SubtreeStep
{
    kDestroy, ///< in a unit of work
    kUndo,    ///< of the destruction
    kPurge,   ///< it is destroyed once more, then the history goes, and the nodes with it
    kTearDown ///< a document with the nodes in it is destroyed
};

/// A chain in one unit of work.
template <class Side>
void createChainPass(benchmark::State& state, std::size_t count)
{
    Document<Side> document;
    document.nodes.reserve(count);
    Side& side = *document.side;
    NumberedText<typename Side::Character> name("node");
    typename Side::NodeRef parent = side.root();
    side.begin(count);
    const auto add = [&](std::size_t i) {
        name.setNumber(i);
        parent = makeNode(side, parent, name, i);
        document.nodes.push_back(parent);
        if (i + 1 == count)
            side.commit();
    };
    const std::size_t created = measureLoop(state, count, 1, add).calls;
    if (created < count)
        side.commit();
    require(state, document.nodes.size() == created && isAsMade(document, 0), "wrong nodes");
}

template <class Side>
void destroyTop(Side& side, std::size_t count)
{
    side.begin(count);
    side.destroy(topOf(side));
    side.commit();
}

template <class Side, Shape shape, SubtreeStep timed>
void subtreePass(benchmark::State& state, std::size_t count)
{
    Document<Side> document = makeDocumentUnderTop<Side>(shape, count);
    Side& side = *document.side;
    if constexpr (timed == SubtreeStep::kTearDown)
    {
        document.nodes = {}; // so that nothing but the document holds the nodes
        measure(state, count, [side = document.side.release()] { delete side; });
        return;
    }
    if constexpr (timed == SubtreeStep::kDestroy)
    {
        measure(state, count, [&] { destroyTop(side, count); });
        require(state, !Side::isNode(topOf(side)) && countNodes(side) == 0, "nodes are left");
        return;
    }
    destroyTop(side, count);
    if constexpr (timed == SubtreeStep::kUndo)
    {
        measure(state, count, [&] { side.undo(); });
        require(state, isAsMade(document, 1), "wrong nodes after the undo");
        return;
    }
    side.undo();
    side.redo();
    document.nodes = {};
    const double bytes = measure(state, count, [&] { side.clearHistory(); });
    require(state, countNodes(side) == 0, "nodes are left");
    require(state, bytes < 0, "no node was freed");
}

// --- All of them ---

template <class Side>
void addEditingBenchmarks()
{
    const auto counts = {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}};
    const auto depths = {std::size_t{10'000}, std::size_t{100'000}}; // of chains
    const auto add = [&](const char* workload, const char* step, Pass pass) {
        addBenchmark(workload, step, Side::kSide, pass, counts);
    };
    const auto addChain = [&](const char* workload, const char* step, Pass pass) {
        addBenchmark(workload, step, Side::kSide, pass, depths);
    };
    add("unit_of_work", "write", unitOfWorkPass<Side, EditStep::kWrite>);
    add("unit_of_work", "undo", unitOfWorkPass<Side, EditStep::kUndo>);
    add("unit_of_work", "redo", unitOfWorkPass<Side, EditStep::kRedo>);
    add("unit_of_work", "observed_write", observedWritePass<Side>);
    add("commit_each", "write", commitEachPass<Side, EditStep::kWrite>);
    add("commit_each", "undo", commitEachPass<Side, EditStep::kUndo>);
    add("commit_each", "redo", commitEachPass<Side, EditStep::kRedo>);
    add("compute_tree", "build", computePass<Side, Shape::kTree, ComputeStep::kBuild>);
    add("compute_tree", "root", computePass<Side, Shape::kTree, ComputeStep::kRoot>);
    add("compute_tree", "leaf", computePass<Side, Shape::kTree, ComputeStep::kLeaf>);
    addChain("compute_chain", "build", computePass<Side, Shape::kChain, ComputeStep::kBuild>);
    addChain("compute_chain", "root", computePass<Side, Shape::kChain, ComputeStep::kRoot>);
    addChain("compute_chain", "leaf", computePass<Side, Shape::kChain, ComputeStep::kLeaf>);
    add("find_path", "tree", findPathPass<Side, Shape::kTree>);
    add("find_path", "flat", findPathPass<Side, Shape::kFlat>);
    add("subtree", "destroy", subtreePass<Side, Shape::kTree, SubtreeStep::kDestroy>);
    add("subtree", "undo", subtreePass<Side, Shape::kTree, SubtreeStep::kUndo>);
    add("subtree", "purge", subtreePass<Side, Shape::kTree, SubtreeStep::kPurge>);
    addChain("chain", "create", createChainPass<Side>);
    addChain("chain", "destroy", subtreePass<Side, Shape::kChain, SubtreeStep::kDestroy>);
    addChain("chain", "undo", subtreePass<Side, Shape::kChain, SubtreeStep::kUndo>);
    addChain("chain", "purge", subtreePass<Side, Shape::kChain, SubtreeStep::kPurge>);
    addChain("chain", "teardown", subtreePass<Side, Shape::kChain, SubtreeStep::kTearDown>);
}

} // namespace db2bench
