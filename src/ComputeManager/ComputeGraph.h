#pragma once

#include "PriorityBuckets.h"

#include <db2/DataInterface.h>
#include <db2/Node.h>

#include <kqx/Anchor.h>
#include <kqx/Array.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

namespace db2 {

/// The nodes with compute sets, which set feeds which, and the order of running them.
///
/// A computer is one compute set of one node; computers are numbered node by node, in the order of registration. The
/// priority of a computer is the length of the longest way onward from it, so running the greatest first is running
/// everything after what it depends on. Order and numbers depend on the edits alone, never on addresses.
class ComputeGraph
{
public:
    // --- Nodes ---

    /// Throws std::bad_alloc, changing nothing.
    void addNode(Node& node);
    void removeNode(const Node& node);
    void clear();

    /// False only when no write of the element can reach a compute set: neither it nor what references it is an input.
    [[nodiscard]] static bool mayFeedAny(const Element& element);

    // --- Order ---

    /// Finds all edges and priorities anew. Costs what the nodes and their edges cost. Throws std::bad_alloc; the graph
    /// must be rebuilt before the next run then.
    void rebuild();

    /// Replaces @p priorities by those of the node's sets, as of the last rebuild; empty for a node without sets.
    void getPriorities(const Node& node, kqx::SizeTArray& priorities) const;

    // --- Running: each computer at most once a run ---

    /// Runs every computer.
    void runAll(DataInterface& data);

    /// Queues what the elements feed; they still carry ElementFlag::kDirty.
    void queueFedBy(const kqtl::pod_vector<Element*>& written);

    /// Runs what is queued and all that depends on it, and remembers the order.
    void runQueued(DataInterface& data);

    /// Runs in the order of the last runQueued().
    void runAgain(DataInterface& data);

private:
    using Index = std::uint32_t;

    struct ComputedNode
    {
        kqx::AnchorHandle<Node> node; ///< null once destroyed, also when an inner layer did it unseen
        Index firstComputer;
        std::size_t elements; ///< where its elements stand in elements_
    };
    struct Computer
    {
        Index node;
        Index set;
        Index firstEdge; ///< in edges_; the run ends where the next one's begins
        std::uint32_t priority;
        std::uint64_t queuedIn; ///< the number of the last run that had it queued
    };

    void numberComputers();
    void collectEdges();
    void assignPriorities();
    void logCycle(std::span<const Index> members) const;
    void sortByPriority();
    void runOne(const Computer& computer, DataInterface& data);
    void queue(Index computer);
    template <class Visit>
    void forEachReader(const Element& element, Visit visit) const;

    std::vector<ComputedNode> nodes_;
    std::unordered_map<const Node*, Index> indices_; ///< of nodes_; for look-ups only, never walked
    std::vector<Computer> computers_;                ///< and one more behind the last, for its edges' end
    std::vector<Index> edges_;                       ///< dependants
    std::vector<Element*> elements_;                 ///< the element tables of all nodes
    std::vector<Index> byPriority_;                  ///< all computers, the greatest priority first
    std::vector<Index> lastOrder_;                   ///< of the last runQueued()
    std::vector<std::uint64_t> edgeMarks_;           ///< which computer's edges last led to a computer
    PriorityBuckets queue_;
    std::uint64_t run_ = 0;
};

} // namespace db2
