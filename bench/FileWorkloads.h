#pragma once

#include "Document.h"
#include "Measure.h"
#include "TemporaryFile.h"

#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

/// Saving to a text file and loading it, written once for any side. A side has what the editing benchmarks' sides have
/// (EditingWorkloads.h), of it root(), isNode(), create(), child(), forEachChild(), f0(), holds(), settle(), and
///   kFileExtension      what a file's name ends in
///   save(path)          writes all nodes; false on failure
///   load(path)          fills an empty side; false on failure
namespace db2bench {

/// The nodes of a loaded document, in the order in which they were made: looked up by name, so that names count, too.
template <class Side>
void findNodes(Document<Side>& document, std::size_t count)
{
    using NodeRef = typename Side::NodeRef;
    NumberedText<typename Side::Character> name("node");
    document.nodes.reserve(count);
    buildShape(Shape::kTree, count, document.side->root(), [&](const NodeRef& parent, std::size_t index) {
        name.setNumber(index);
        NodeRef node = document.side->child(parent, name.view());
        if (!Side::isNode(node))
            throw std::runtime_error("a node is missing");
        document.nodes.push_back(node);
        return node;
    });
}

template <class Side>
bool isLoadedAsMade(Document<Side>& document, std::size_t count)
{
    findNodes(document, count);
    return isAsMade(document, 0);
}

inline double bytesPerNode(const TemporaryFile& file, std::size_t count)
{
    return static_cast<double>(std::filesystem::file_size(file.path())) / static_cast<double>(count);
}

template <class Side>
void savePass(benchmark::State& state, std::size_t count)
{
    const TemporaryFile file(Side::kFileExtension);
    bool done = false;
    {
        Document<Side> document = makeDocument<Side>(Shape::kTree, count);
        measureWithPeak(state, count, [&] { done = document.side->save(file.path()); });
    }
    require(state, done, "the save failed");
    if (!done)
        return;
    state.counters["file_bytes_per_node"] = bytesPerNode(file, count);
    Document<Side> loaded;
    require(state, loaded.side->load(file.path()) && isLoadedAsMade(loaded, count), "wrong nodes in the file");
}

/// The file is made by a process of its own, so that the load finds a fresh heap.
/// @tparam isRecorded  the load is a unit of work, which can be undone; its commit counts.
template <class Side, bool isRecorded>
void loadPass(benchmark::State& state, std::size_t count)
{
    const TemporaryFile file(Side::kFileExtension);
    inProcessOfItsOwn([&] {
        Document<Side> document = makeDocument<Side>(Shape::kTree, count);
        return document.side->save(file.path());
    });
    Document<Side> document;
    bool done = false;
    const auto load = [&] { done = document.side->load(file.path()); };
    if constexpr (isRecorded)
        measureWithPeak(state, count, [&] {
            document.side->begin(count);
            load();
            document.side->commit();
        });
    else
        measureWithPeak(state, count, load);
    require(state, done && isLoadedAsMade(document, count), "wrong nodes after the load");
    if constexpr (isRecorded)
    {
        document.side->undo();
        require(state, countNodes(*document.side) == 0, "nodes are left after the undo of the load");
    }
}

inline constexpr std::initializer_list<std::size_t> kFileCounts = {10'000, 100'000, 1'000'000};

template <class Side>
void addFileBenchmarks()
{
    addBenchmark("text_file", "save", Side::kSide, savePass<Side>, kFileCounts);
    addBenchmark("text_file", "load", Side::kSide, loadPass<Side, false>, kFileCounts);
}

} // namespace db2bench
