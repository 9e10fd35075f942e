#include <db2/ComputeManager.h>

#include <db2/Library.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>

#include "../OutOfMemory.h"
#include "ComputeGraph.h"

#include <kqx/Timer.h>

#include <utility>

namespace db2 {
namespace {

constexpr std::size_t kReservedDirtyElements = 1024;

/// Lends the host's interface slot to the compute functions.
class SlotLoan
{
public:
    SlotLoan(DataInterface** slot, DataInterface* inside) : slot_(slot)
    {
        if (slot_ != nullptr)
            former_ = std::exchange(*slot_, inside);
    }
    SlotLoan(const SlotLoan&) = delete;
    SlotLoan& operator=(const SlotLoan&) = delete;
    ~SlotLoan()
    {
        if (slot_ != nullptr)
            *slot_ = former_;
    }

private:
    DataInterface** slot_;
    DataInterface* former_ = nullptr;
};

bool hasComputeSets(const Node& node)
{
    return node.getNodeTemplate()->hasComputeSets();
}

} // namespace

// --- Construction ---

ComputeManager::ComputeManager(unsigned int id, DataInterface* nextLayer, const Node& root,
                               DataInterface** interfaceSlot)
    : ForwardingLayer(nextLayer), id_(id), interfaceSlot_(interfaceSlot), graph_(new ComputeGraph)
{
    dirtyElements_.reserve(kReservedDirtyElements);
    previousElements_.reserve(kReservedDirtyElements);
    for (NodeIterator nodes(const_cast<Node*>(&root)); nodes.next();) // the layers edit what the root owns
        if (hasComputeSets(*nodes.node()))
            registerNode(*nodes.node());
}

ComputeManager::~ComputeManager()
{
    takeOffDirtyList();
}

// --- What was written ---

void ComputeManager::requestRebuild()
{
    isDirty_ = true;
    needsRebuild_ = true;
    isCacheValid_ = false;
}

void ComputeManager::registerNode(Node& node)
{
    if (!succeeds([&] { graph_->addNode(node); }))
        logError(L"Out of memory while registering node '%s'; it will not be computed.", node.getName().c_str());
    requestRebuild();
}

/// The rule for every kind of write.
void ComputeManager::markWritten(Element& element)
{
    if (element.hasMetaDataFlag(getRaiseFlag()))
        requestRebuild();
    else
        markDirty(element);
}

/// The cached order stays of use for as long as the same elements are written in the same order as before the last run.
void ComputeManager::markDirty(Element& element)
{
    if (element.hasFlag(ElementFlag::kDirty))
        return;
    if (!succeeds([&] { dirtyElements_.push_back(&element); }))
        return requestRebuild(); // which computes everything, this included
    element.setFlag(ElementFlag::kDirty);
    isDirty_ = true;
    const std::size_t position = dirtyElements_.size() - 1;
    isCacheValid_ = isCacheValid_ && position < previousElements_.size() && previousElements_[position] == &element;
}

void ComputeManager::takeOffDirtyList()
{
    for (Element* const element : dirtyElements_)
        element->clearFlag(ElementFlag::kDirty);
}

// --- Edits ---

Status ComputeManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    Node* created = nullptr;
    const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &created);
    if (status != Status::kSuccess)
        return status;
    if (hasComputeSets(*created))
        registerNode(*created);
    if (outNode != nullptr)
        *outNode = created;
    return status;
}

Status ComputeManager::db_destroyLeafNode(Node* node)
{
    const Status status = ForwardingLayer::db_destroyLeafNode(node);
    if (status == Status::kSuccess && hasComputeSets(*node))
    {
        graph_->removeNode(*node);
        requestRebuild();
    }
    return status;
}

Status ComputeManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    const Status status = ForwardingLayer::db_resizeAttributeArray(array, size);
    if (status == Status::kSuccess)
        markWritten(*array);
    return status;
}

Status ComputeManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    if (referencer == nullptr)
        return Status::kNullReferencer;
    if (referenced == nullptr)
        return Status::kNullComputeReferenced;
    if (referencer->isComputed())
        return Status::kReferencerIsComputed;
    if (referencer->hasMetaDataFlag(getRaiseFlag()) || referenced->hasMetaDataFlag(getRaiseFlag()))
        return Status::kNotConnectable;
    const Status status = ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
    if (status != Status::kSuccess)
        return status;
    markDirty(*referencer);
    if (ComputeGraph::mayFeedAny(*referencer))
        requestRebuild();
    return status;
}

Status ComputeManager::db_destroyReference(Attribute* referencer)
{
    if (referencer == nullptr)
        return Status::kFailure;
    const bool feedsAny = ComputeGraph::mayFeedAny(*referencer);
    const Status status = ForwardingLayer::db_destroyReference(referencer);
    if (status != Status::kSuccess)
        return status;
    markDirty(*referencer);
    if (feedsAny)
        requestRebuild();
    return status;
}

Status ComputeManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    const Status status = ForwardingLayer::db_lockAttribute(attribute, outValue);
    if (status == Status::kSuccess)
        markWritten(*attribute);
    return status;
}

Status ComputeManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    const Status status = ForwardingLayer::db_lockAttributeArray(array, outValues);
    if (status == Status::kSuccess)
        for (unsigned int i = 0; i < array->getSize(); ++i)
            markWritten(*array->getAttribute(i));
    return status;
}

// --- Units of work ---

Status ComputeManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    computeGraph();
    return ForwardingLayer::db_commit(description, file, line);
}

Status ComputeManager::db_commitTransient()
{
    computeGraph();
    return ForwardingLayer::db_commitTransient();
}

Status ComputeManager::db_clear()
{
    takeOffDirtyList();
    dirtyElements_.clear();
    previousElements_.clear();
    graph_->clear();
    isDirty_ = false;
    needsRebuild_ = false;
    isCacheValid_ = false;
    return ForwardingLayer::db_clear();
}

// --- Running ---

void ComputeManager::computeGraph()
{
    if (!isDirty_)
        return;
    if (needsRebuild_ && !succeeds([this] { graph_->rebuild(); }))
    {
        logError(L"Out of memory while building the compute graph; outputs are not up to date.");
        return;
    }
    isCacheValid_ = isCacheValid_ && dirtyElements_.size() == previousElements_.size();
    const bool usesCache = isCacheValid_ && !needsRebuild_;
    const bool usesQueue = !usesCache && !needsRebuild_;

    if (usesQueue)
        graph_->queueFedBy(dirtyElements_);
    // Settled before the functions run, in case one throws. The destroyed ones are taken off, too.
    takeOffDirtyList();
    previousElements_.swap(dirtyElements_);
    dirtyElements_.clear();
    isDirty_ = false;
    needsRebuild_ = false;
    isCacheValid_ = false;

    const SlotLoan loan(interfaceSlot_, db_getNextInterface());
    DataInterface& data = *db_getNextInterface();
    Statistics& statistics = usesQueue ? priorityQueueUse_ : usesCache ? cacheUse_ : flush_;
    ++statistics.count;
    kqx::Timer timer;
    timer.start();
    if (usesQueue)
        graph_->runQueued(data);
    else if (usesCache)
        graph_->runAgain(data);
    else
        graph_->runAll(data);
    timer.stop();
    statistics.lastTime = static_cast<float>(timer.seconds());
    statistics.totalTime += statistics.lastTime;
    isCacheValid_ = usesQueue; // a run from the queue leaves an order worth keeping, any other does not
}

void ComputeManager::debug_getWatches(const Node* node, kqx::SizeTArray& watches) const
{
    watches.clear();
    if (node != nullptr)
        graph_->getPriorities(*node, watches);
}

} // namespace db2
