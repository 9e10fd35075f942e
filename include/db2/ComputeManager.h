#pragma once

#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/ForwardingLayer.h>

#include <kqtl/pod_vector.h>
#include <kqx/Array.h>

#include <cstddef>
#include <memory>
#include <span>

namespace db2 {

class ComputeGraph;

/// Keeps computed attributes up to date: notes which attributes were written and, at each commit, runs the compute sets
/// that depend on them, each once and after all that it depends on, before it forwards the commit. Between commits
/// outputs are as the last one left them.
/// A compute function gets the next layer, so that what it writes passes this layer and those outside by: put undo
/// outside and change reporting inside, and computed values are reported but not recorded. It may lock, write and unlock
/// its outputs and resize output arrays; other edits are passed on and are the host's error.
/// Cost: constant an edit; a commit costs what the written attributes reach. Creating or destroying nodes with compute
/// sets, connecting or disconnecting what feeds a set, and writing an attribute with the raise flag make the next commit
/// rebuild the graph and run every set. An edit that finds no memory to note what it wrote has that effect, too.
/// Undo inside this layer is safe, but what it replays is not seen: nodes that it takes away do not run any more, and those
/// that it brings back are not computed. Threads: the editing thread only.
class DB2_API ComputeManager : public ForwardingLayer
{
public:
    /// @param id             the host's, handed back by getId().
    /// @param root           the tree's root; nodes with compute sets that stand below it already are taken in.
    /// @param interfaceSlot  may be null; else holds the next layer while compute functions run, and what it held before
    ///                       afterwards, also when a function throws.
    /// Throws std::bad_alloc.
    ComputeManager(unsigned int id, DataInterface* nextLayer, const Node& root,
                   DataInterface** interfaceSlot = nullptr);
    ComputeManager(const ComputeManager&) = delete;
    ComputeManager& operator=(const ComputeManager&) = delete;
    ~ComputeManager() override;

    [[nodiscard]] unsigned int getId() const { return id_; }

    /// Brings outputs up to date now; does nothing when called by a compute function. Sets that depend on each other in a
    /// circle are logged as an error when the graph is rebuilt, and run once each in an order that is the same every time.
    /// Without memory for a rebuild, an error is logged, and the next run makes up for it. What is locked counts as
    /// written once more. An exception of a compute function passes through, and the next run runs every set.
    void computeGraph();

    /// The metadata flag of attributes whose writes make the next run a rebuild. Such attributes cannot be connected.
    [[nodiscard]] static constexpr unsigned int getRaiseFlag() { return ElementMetaDataFlag::kNotConnectable; }

    // --- Statistics: how often each way of running was chosen, and how long it took, in seconds ---

    [[nodiscard]] unsigned int debug_getFlushCount() const { return flush_.count; }
    [[nodiscard]] float debug_getFlushLastTime() const { return flush_.lastTime; }
    [[nodiscard]] float debug_getFlushTotalTime() const { return flush_.totalTime; }
    [[nodiscard]] unsigned int debug_getCacheUseCount() const { return cacheUse_.count; }
    [[nodiscard]] float debug_getCacheLastTime() const { return cacheUse_.lastTime; }
    [[nodiscard]] float debug_getCacheTotalTime() const { return cacheUse_.totalTime; }
    [[nodiscard]] unsigned int debug_getPriorityQueueUseCount() const { return priorityQueueUse_.count; }
    [[nodiscard]] float debug_getPriorityQueueLastTime() const { return priorityQueueUse_.lastTime; }
    [[nodiscard]] float debug_getPriorityQueueTotalTime() const { return priorityQueueUse_.totalTime; }

    /// Replaces @p watches by the priority numbers of the node's compute sets, by set index, as of the last rebuild; a
    /// set runs after those of greater numbers. Empty for a node without sets.
    void debug_getWatches(const Node* node, kqx::SizeTArray& watches) const;

    // --- Edits this layer acts on, in slot order; the others pass through ---

    /// @return kFailure also when there is no memory to take the node in; nothing is forwarded then.
    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    /// @return also kNullReferencer, kNullComputeReferenced, kReferencerIsComputed when the referencer is an output, and
    ///         kNotConnectable when either has the raise flag; tested before forwarding.
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    /// @return kFailure for null.
    Status db_destroyReference(Attribute* referencer) override;
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    /// Brings outputs up to date, then forwards. @return kFailure, without forwarding, when memory is out for a rebuild.
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    Status db_commitTransient() override;
    /// Forgets all nodes and what was written, then forwards; remembers all of it when the next layer refuses.
    Status db_clear() override;

private:
    struct Statistics
    {
        unsigned int count = 0;
        float lastTime = 0;
        float totalTime = 0;
    };
    using DirtyList = kqtl::pod_vector<Element*>; ///< what is dirty has ElementFlag::kDirty, so the core keeps it

    void takeIn(Node& node);
    void requestRebuild();
    void markWritten(Element& element);
    void markDirty(Element& element);
    [[nodiscard]] bool bringUpToDate();
    void settleDirtyList();
    void run();

    unsigned int id_;
    DataInterface** interfaceSlot_;
    std::unique_ptr<ComputeGraph> graph_;
    [[nodiscard]] std::span<Element* const> dirtyElements() const { return {written_.data(), dirtyCount_}; }

    /// What was written since the last run, in the order of the first writes. Takes the place of what the run before
    /// had, entry by entry; what is left of that is only compared by address, never followed.
    DirtyList written_;
    std::size_t dirtyCount_ = 0;    ///< entries written since the last run
    std::size_t previousCount_ = 0; ///< how many the run before had
    bool isDirty_ = false;
    bool needsRebuild_ = false;
    bool isCacheValid_ = false;
    bool isRunning_ = false; ///< while compute functions run
    Statistics flush_;
    Statistics cacheUse_;
    Statistics priorityQueueUse_;
};

} // namespace db2
