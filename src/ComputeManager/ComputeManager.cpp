#include <db2/ComputeManager.h>

#include <db2/Library.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>

#include "../OutOfMemory.h"
#include "../Prefetch.h"
#include "ComputeGraph.h"

#include <kqx/Timer.h>

#include <new>
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

/// Lets the functions run: one run at a time.
class Running
{
public:
    explicit Running(bool& flag) : flag_(flag) { flag_ = true; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { flag_ = false; }

private:
    bool& flag_;
};

/// Between a lock and its unlock, by itself or with its array.
bool isBeingWritten(const Element& element)
{
    const AttributeArray* const array = element.getParentArray();
    return element.hasFlag(ElementFlag::kLocked) || (array != nullptr && array->isLocked());
}

void unmark(std::span<Element* const> elements)
{
    forEachFetched(elements, [](Element& element) { element.clearFlag(ElementFlag::kDirty); });
}

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
    written_.reserve(kReservedDirtyElements);
    for (NodeIterator nodes(const_cast<Node*>(&root)); nodes.next();) // the layers edit what the root owns
        if (hasComputeSets(*nodes.node()))
        {
            if (!graph_->reserveNode())
                throw std::bad_alloc();
            takeIn(*nodes.node());
        }
}

ComputeManager::~ComputeManager()
{
    unmark(dirtyElements());
}

// --- What was written ---

void ComputeManager::requestRebuild()
{
    isDirty_ = true;
    needsRebuild_ = true;
    isCacheValid_ = false;
}

void ComputeManager::takeIn(Node& node)
{
    graph_->addNode(node);
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
    const std::size_t position = dirtyCount_;
    const bool isNewPlace = position == written_.size();
    if (isNewPlace && !succeeds([this] { written_.push_back(nullptr); }))
        return requestRebuild(); // which computes everything, this included
    isCacheValid_ = isCacheValid_ && position < previousCount_ && written_[position] == &element;
    written_[position] = &element;
    ++dirtyCount_;
    element.setFlag(ElementFlag::kDirty);
    isDirty_ = true;
}

// --- Edits ---

Status ComputeManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    if (!graph_->reserveNode())
        return Status::kFailure;
    Node* created = nullptr;
    const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &created);
    if (status != Status::kSuccess)
        return status;
    if (created != nullptr && hasComputeSets(*created))
        takeIn(*created);
    if (outNode != nullptr)
        *outNode = created;
    return status;
}

Status ComputeManager::db_destroyLeafNode(Node* node)
{
    const Status status = ForwardingLayer::db_destroyLeafNode(node);
    if (status == Status::kSuccess && node != nullptr && hasComputeSets(*node))
        requestRebuild(); // which finds the node gone
    return status;
}

Status ComputeManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    const Status status = ForwardingLayer::db_resizeAttributeArray(array, size);
    if (status == Status::kSuccess && array != nullptr)
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
    if (status == Status::kSuccess && attribute != nullptr)
        markWritten(*attribute);
    return status;
}

Status ComputeManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    const Status status = ForwardingLayer::db_lockAttributeArray(array, outValues);
    if (status == Status::kSuccess && array != nullptr)
        for (unsigned int i = 0; i < array->getSize(); ++i)
            markWritten(*array->getAttribute(i));
    return status;
}

// --- Units of work ---

Status ComputeManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return bringUpToDate() ? ForwardingLayer::db_commit(description, file, line) : Status::kFailure;
}

Status ComputeManager::db_commitTransient()
{
    return bringUpToDate() ? ForwardingLayer::db_commitTransient() : Status::kFailure;
}

Status ComputeManager::db_clear()
{
    // Nothing may be listed when the next layers free it, so everything is put aside, and comes back when they refuse.
    unmark(dirtyElements());
    ComputeGraph graph = std::exchange(*graph_, ComputeGraph());
    DirtyList written = std::exchange(written_, DirtyList());
    const std::size_t dirtyCount = std::exchange(dirtyCount_, 0);
    const std::size_t previousCount = std::exchange(previousCount_, 0);
    const bool wasDirty = std::exchange(isDirty_, false);
    const bool neededRebuild = std::exchange(needsRebuild_, false);
    const bool wasCacheValid = std::exchange(isCacheValid_, false);
    const Status status = ForwardingLayer::db_clear();
    if (status == Status::kSuccess)
        return status;
    *graph_ = std::move(graph);
    written_ = std::move(written);
    dirtyCount_ = dirtyCount;
    previousCount_ = previousCount;
    for (Element* const element : dirtyElements())
        element->setFlag(ElementFlag::kDirty);
    isDirty_ = wasDirty;
    needsRebuild_ = neededRebuild;
    isCacheValid_ = wasCacheValid;
    return status;
}

// --- Running ---

void ComputeManager::computeGraph()
{
    (void)bringUpToDate();
}

/// @return false when memory is out for a rebuild, which stays due then.
bool ComputeManager::bringUpToDate()
{
    if (!isDirty_ || isRunning_)
        return true;
    if (needsRebuild_ && !succeeds([this] { graph_->rebuild(); }))
    {
        logError(L"Out of memory while building the compute graph; outputs are not up to date.");
        return false;
    }
    isCacheValid_ = isCacheValid_ && dirtyCount_ == previousCount_;
    const bool usesQueue = !needsRebuild_ && !isCacheValid_;
    Statistics& statistics = usesQueue ? priorityQueueUse_ : needsRebuild_ ? flush_ : cacheUse_;
    ++statistics.count;
    if (graph_->hasComputers())
    {
        kqx::Timer timer;
        timer.start();
        if (usesQueue)
            graph_->orderFedBy(dirtyElements());
        else if (needsRebuild_)
            graph_->orderAll();
        settleDirtyList(); // before the functions run, since they may write through this layer
        run();
        timer.stop();
        statistics.lastTime = static_cast<float>(timer.seconds());
        statistics.totalTime += statistics.lastTime;
    }
    else
    {
        settleDirtyList(); // that is all, and takes less time than asking for the time
        statistics.lastTime = 0;
    }
    isCacheValid_ = usesQueue && !isDirty_; // worth keeping, unless a new list has begun meanwhile
    return true;
}

/// Every attribute is taken off, destroyed ones too. What is locked may still be written, and so begins the next list.
void ComputeManager::settleDirtyList()
{
    previousCount_ = std::exchange(dirtyCount_, 0);
    isDirty_ = false;
    needsRebuild_ = false;
    isCacheValid_ = false;
    const std::span<Element* const> settled(written_.data(), previousCount_);
    forEachFetched(settled, [this](Element& element) { // a new list overwrites only what this has passed
        element.clearFlag(ElementFlag::kDirty);
        if (isBeingWritten(element))
            markDirty(element);
    });
}

void ComputeManager::run()
{
    const SlotLoan loan(interfaceSlot_, db_getNextInterface());
    const Running running(isRunning_);
    try
    {
        graph_->run(*db_getNextInterface());
    }
    catch (...)
    {
        requestRebuild(); // which runs what was left out, too
        throw;
    }
}

void ComputeManager::debug_getWatches(const Node* node, kqx::SizeTArray& watches) const
{
    watches.clear();
    if (node != nullptr)
        graph_->getPriorities(*node, watches);
}

} // namespace db2
