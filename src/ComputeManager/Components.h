#pragma once

#include <kqtl/pod_vector.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace db2 {

/// Finds the strongly connected components of a directed graph (Tarjan 1972), without recursion. A node that is in no
/// cycle is a component of its own.
/// @param count      the nodes are numbered 0 to count - 1.
/// @param edgesOf    gives a node's successors, a range of numbers that can be indexed.
/// @param component  called with the members of each component, ascending; those that it leads to come before it.
/// Cost: nodes plus edges. Throws std::bad_alloc.
template <class EdgesOf, class VisitComponent>
void forEachComponent(std::uint32_t count, EdgesOf edgesOf, VisitComponent component)
{
    struct Visit
    {
        std::uint32_t node;
        std::uint32_t nextEdge;
    };
    constexpr std::uint32_t kUnseen = 0;
    constexpr std::uint32_t kDone = 0xFFFFFFFFu;
    kqtl::pod_vector<std::uint32_t> order;  // when a node was first seen, from 1; kDone with its component
    kqtl::pod_vector<std::uint32_t> lowest; // the earliest node on the stack that it leads back to
    kqtl::pod_vector<std::uint32_t> open;   // seen, and in no component yet
    kqtl::pod_vector<Visit> path;
    std::uint32_t seen = 0;
    order.resize(count, kUnseen);
    lowest.resize(count);

    const auto enter = [&](std::uint32_t node) {
        order[node] = lowest[node] = ++seen;
        open.push_back(node);
        path.push_back({node, 0});
    };
    const auto finish = [&](std::uint32_t node) {
        const auto first =
            std::find(std::make_reverse_iterator(open.end()), std::make_reverse_iterator(open.begin()), node).base() -
            1;
        std::sort(first, open.end());
        component(std::span<const std::uint32_t>(first, open.end()));
        for (auto member = first; member != open.end(); ++member)
            order[*member] = kDone;
        open.erase(first, open.end());
    };

    for (std::uint32_t start = 0; start < count; ++start)
    {
        if (order[start] != kUnseen)
            continue;
        enter(start);
        while (!path.empty())
        {
            const std::uint32_t node = path.back().node;
            const auto edges = edgesOf(node);
            if (path.back().nextEdge < edges.size())
            {
                const std::uint32_t successor = edges[path.back().nextEdge++];
                if (order[successor] == kUnseen)
                    enter(successor);
                else if (order[successor] != kDone)
                    lowest[node] = std::min(lowest[node], order[successor]);
                continue;
            }
            path.pop_back();
            if (!path.empty())
                lowest[path.back().node] = std::min(lowest[path.back().node], lowest[node]);
            if (lowest[node] == order[node])
                finish(node);
        }
    }
}

} // namespace db2
