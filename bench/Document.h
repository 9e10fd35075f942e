#pragma once

#include "Workload.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The documents that the editing benchmarks work on, and the questions that check them, for any side (see
/// EditingWorkloads.h).
namespace db2bench {

/// Ends a side with its document at the end of a pass. A side with a constant kIsLeftInMemory is not ended: some peers need
/// minutes to free a deep tree, or run out of stack, which must not cost them the figure that the pass has measured.
template <class Side>
struct SideEnd
{
    void operator()(Side* side) const
    {
        if constexpr (!requires { Side::kIsLeftInMemory; })
            delete side;
    }
};

template <class Side>
using SideOwner = std::unique_ptr<Side, SideEnd<Side>>;

/// A side with a tree in it.
template <class Side>
struct Document
{
    SideOwner<Side> side{new Side};
    std::vector<typename Side::NodeRef> nodes; ///< without a top node, in the order of creation
};

/// A node with all its values, or an exception.
template <class Side>
typename Side::NodeRef makeNode(Side& side, typename Side::NodeRef parent,
                                const NumberedText<typename Side::Character>& name, std::size_t serial)
{
    Values<typename Side::Character> values;
    values.setSerial(serial);
    auto node = side.create(parent, name, values);
    if (!Side::isNode(node))
        throw std::runtime_error("a creation failed");
    return node;
}

template <class Side>
void addNodes(Document<Side>& document, Shape shape, std::size_t count, typename Side::NodeRef top)
{
    NumberedText<typename Side::Character> name("node");
    document.nodes.reserve(count);
    buildShape(shape, count, top, [&](const auto& parent, std::size_t index) {
        name.setNumber(index);
        document.nodes.push_back(makeNode(*document.side, parent, name, document.nodes.size()));
        return document.nodes.back();
    });
}

/// The nodes under the root, with nothing to undo.
template <class Side>
Document<Side> makeDocument(Shape shape, std::size_t count)
{
    Document<Side> document;
    addNodes(document, shape, count, document.side->root());
    document.side->settle();
    return document;
}

/// A node "top0" under the root and the nodes under that one, with nothing to undo.
template <class Side>
Document<Side> makeDocumentUnderTop(Shape shape, std::size_t count)
{
    Document<Side> document;
    const NumberedText<typename Side::Character> name("top");
    addNodes(document, shape, count, makeNode(*document.side, document.side->root(), name, 0));
    document.side->settle();
    return document;
}

template <class Side>
typename Side::NodeRef topOf(Side& side)
{
    const NumberedText<typename Side::Character> name("top");
    return side.child(side.root(), name.view());
}

// --- Checks ---

/// Calls `see(node)` for every node below the root. Needs no recursion, however deep the tree.
template <class Side, class See>
void seeAll(Side& side, See see)
{
    std::vector<typename Side::NodeRef> open{side.root()};
    while (!open.empty())
    {
        const auto node = open.back();
        open.pop_back();
        side.forEachChild(node, [&](const auto& child) {
            see(child);
            open.push_back(child);
        });
    }
}

template <class Side>
std::size_t countNodes(Side& side)
{
    std::size_t count = 0;
    seeAll(side, [&](const auto&) { ++count; });
    return count;
}

/// True when the first @p count nodes have f0 as `wanted(serial)` says.
template <class Side, class Wanted>
bool haveF0(Document<Side>& document, std::size_t count, Wanted wanted)
{
    for (std::size_t serial = 0; serial < count; ++serial)
        if (document.side->f0(document.nodes[serial]) != wanted(serial))
            return false;
    return true;
}

/// True when the tree is as it was made: the number of nodes, the sum of f0, and all values of a thousand nodes.
/// @param nodesBesides  how many nodes there are beside those of the document; their f0 is 0.
template <class Side>
bool isAsMade(Document<Side>& document, std::size_t nodesBesides)
{
    std::size_t count = 0;
    double sum = 0;
    seeAll(*document.side, [&](const auto& node) {
        ++count;
        sum += static_cast<double>(document.side->f0(node));
    });
    const std::size_t made = document.nodes.size();
    if (count != made + nodesBesides || sum != sumOfF0(made))
        return false;
    Values<typename Side::Character> wanted;
    for (std::size_t serial = 0; serial < made; serial += std::max<std::size_t>(1, made / 1000))
    {
        wanted.setSerial(serial);
        if (!document.side->holds(document.nodes[serial], wanted))
            return false;
    }
    return true;
}

// --- Paths ---

/// The path of each node in the order of creation, as in "|node3|node0|node7".
template <class Character>
std::vector<std::basic_string<Character>> makePaths(Shape shape, std::size_t count)
{
    constexpr std::size_t kRoot = static_cast<std::size_t>(-1);
    std::vector<std::basic_string<Character>> paths;
    paths.reserve(count);
    NumberedText<Character> name("|node");
    buildShape(shape, count, kRoot, [&](std::size_t parent, std::size_t index) {
        name.setNumber(index);
        std::basic_string<Character> path = parent != kRoot ? paths[parent] : std::basic_string<Character>();
        paths.push_back(std::move(path.append(name.view())));
        return paths.size() - 1;
    });
    return paths;
}

/// Follows a path name by name, as a side without a path function does.
template <class Side>
typename Side::NodeRef findByNames(Side& side, std::basic_string_view<typename Side::Character> path)
{
    typename Side::NodeRef at = side.root();
    for (std::size_t start = 0; start < path.size() && Side::isNode(at);)
    {
        const std::size_t end = std::min(path.find('|', start + 1), path.size());
        at = side.child(at, path.substr(start + 1, end - start - 1));
        start = end;
    }
    return at;
}

} // namespace db2bench
