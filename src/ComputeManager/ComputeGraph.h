#pragma once

#include "NodeIndex.h"
#include "PriorityBuckets.h"

#include <db2/ComputeSet.h>
#include <db2/DataInterface.h>
#include <db2/Node.h>

#include <kqtl/pod_vector.h>
#include <kqx/Anchor.h>
#include <kqx/Array.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace db2 {

/// The nodes with compute sets, which set feeds which, and the order of running them.
///
/// A computer is one compute set of one node; computers are numbered node by node, in the order of registration. The
/// priority of a computer is the length of the longest way onward from it, so running the greatest first is running
/// everything after what it depends on. Order and numbers depend on the edits alone, never on addresses.
class ComputeGraph
{
public:
    // --- Nodes: they leave by themselves when they are destroyed, by whatever layer ---

    /// Makes room for one node more. @return false when memory is out.
    [[nodiscard]] bool reserveNode();

    /// @param node  not in the graph; there must be room.
    void addNode(Node& node);
    void clear();

    /// False only when no write of the element can reach a compute set: neither it nor what references it is an input.
    [[nodiscard]] static bool mayFeedAny(const Element& element);

    // --- Order ---

    /// Finds all edges and priorities anew. Costs what the nodes and their edges cost. Throws std::bad_alloc; the graph
    /// must be rebuilt before the next run then.
    void rebuild();

    /// Replaces @p priorities by those of the node's sets, as of the last rebuild; empty for a node without sets.
    void getPriorities(const Node& node, kqx::SizeTArray& priorities) const;

    /// Whether there is anything to run, as of the last rebuild.
    [[nodiscard]] bool hasComputers() const { return countComputers() != 0; }

    // --- Running: first an order, with each computer at most once, then the run. Needs no memory ---

    /// Orders all computers.
    void orderAll();

    /// Orders what the elements feed, directly or through others. They still carry ElementFlag::kDirty.
    void orderFedBy(std::span<Element* const> written);

    /// Runs in the order that was made last, except on nodes that are destroyed by then. Compute functions may do to the
    /// graph what they like, but for a rebuild or another order.
    void run(DataInterface& data);

private:
    using Index = std::uint32_t;

    struct ComputedNode
    {
        kqx::AnchorHandle<Node> node; ///< null once destroyed
        Index firstComputer = 0;
        Index firstElement = 0; ///< in elements_
    };
    struct Computer
    {
        ComputeFunction function; ///< may be null
        void* userData;
        Index node;
        Index firstEdge; ///< in edges_; the run ends where the next one's begins
        std::uint32_t priority;
        std::uint32_t queuedIn;   ///< the number of the last order that had it queued
        std::uint16_t firstInput; ///< elements of the node, as what to prefetch: shortIndex()
        std::uint16_t lastInput;
        std::uint16_t firstOutput;
    };

    void dropDestroyedNodes();
    void numberComputers();
    void collectEdges();
    void assignPriorities();
    [[nodiscard]] kqx::String nameSet(Index computer) const;
    void logCycle(std::span<const Index> members) const;
    void sortEdges();
    void prepareRuns();
    [[nodiscard]] const ComputeSet& getSet(Index computer) const;
    [[nodiscard]] Element& getElement(Index computer, unsigned int element) const;
    [[nodiscard]] std::span<const Index> getDependants(Index computer) const;
    [[nodiscard]] Index countComputers() const;
    void beginOrder();
    void queue(Index computer);
    void prefetchNode(Index computer) const;
    void prefetchLinks(Index computer) const;
    template <class Visit>
    void forEachReader(const Element& element, Visit visit) const;

    kqx::Array<ComputedNode> nodes_;       ///< in the order of registration
    NodeIndex indices_;                    ///< of nodes_, as of the last rebuild
    kqtl::pod_vector<Computer> computers_; ///< and one more behind the last, for its edges' end
    kqtl::pod_vector<Index> edges_;        ///< dependants
    kqtl::pod_vector<Element*> elements_;  ///< the element tables of all nodes
    kqtl::pod_vector<Index> order_;        ///< of running
    PriorityBuckets queue_;
    std::uint32_t orders_ = 0; ///< how many were made, since the last rebuild
};

} // namespace db2
