#include <db2/WatchManager.h>

#include <db2/Node.h>

#include "OutOfMemory.h"
#include "WatchEvents.h"

#include <iterator>
#include <utility>

namespace db2 {
namespace {

/// Whether edits mark the node's watch.
bool isArmed(const Node& node)
{
    return (node.getFlags() & NodeFlag::kWatchFlags) == NodeFlag::kWatched;
}

/// Lays the marks of a node's watch aside while the next layers destroy it, so that the core does not take the node for
/// one that was destroyed without this layer. They come back unless the node is gone.
class MarksAside
{
public:
    explicit MarksAside(Node& node) : node_(node), marks_(node.getFlags() & NodeFlag::kWatchFlags)
    {
        node_.clearFlag(marks_);
    }
    MarksAside(const MarksAside&) = delete;
    MarksAside& operator=(const MarksAside&) = delete;
    ~MarksAside() { node_.setFlag(marks_); }

    void drop() { marks_ = 0; }

private:
    Node& node_;
    std::uint32_t marks_;
};

} // namespace

// --- Construction ---

WatchManager::WatchManager(DataInterface* nextLayer)
    : ForwardingLayer(nextLayer), nodesTakenOut_(WatchEvents::nodesTakenOut),
      endedElsewhere_(WatchEvents::endedElsewhere)
{
}

// --- Watches ---

Status WatchManager::addWatch(Node* node)
{
    if (node == nullptr)
        return Status::kFailure;
    if (isNodeWatched(node))
        return Status::kAlreadyWatched;
    // An entry that is there is of a watch that another layer ended, here or on a node that once had this address.
    if (!succeeds([&] { watched_[node].handle = node; }))
        return Status::kFailure;
    node->setFlag(NodeFlag::kWatched);
    countArmed(*node);
    return Status::kSuccess;
}

Status WatchManager::removeWatch(Node* node)
{
    if (!isNodeWatched(node))
        return Status::kRemoveUnwatched;
    endWatch(*node);
    return Status::kSuccess;
}

void WatchManager::endWatch(Node& node)
{
    node.clearFlag(NodeFlag::kWatchFlags);
    const auto watch = watched_.find(&node);
    if (watch != watched_.end())
        drop(watch);
    else
        ++WatchEvents::endedElsewhere;
}

Status WatchManager::enableWatch(Node* node, bool enable)
{
    if (!isNodeWatched(node))
        return Status::kEnableUnwatched;
    if (enable)
        node->clearFlag(NodeFlag::kWatchDisabled);
    else
        node->setFlag(NodeFlag::kWatchDisabled);
    countArmed(*node);
    return Status::kSuccess;
}

Status WatchManager::resetWatch(Node* node)
{
    if (node == nullptr)
        return Status::kFailure;
    if (!isNodeWatched(node))
        return Status::kResetUnwatched;
    node->clearFlag(NodeFlag::kWatchChanged);
    countArmed(*node);
    return Status::kSuccess;
}

bool WatchManager::isNodeWatched(const Node* node) const
{
    return node != nullptr && node->hasFlag(NodeFlag::kWatched);
}

bool WatchManager::hasWatchedNodeChanged(const Node* node) const
{
    return node != nullptr && node->hasFlag(NodeFlag::kWatched | NodeFlag::kWatchChanged);
}

// --- Marking ---

/// To be called when the marks of a watch changed. A watch that another layer lists counts for ever once it was armed
/// here, since nobody tells when it ends.
void WatchManager::countArmed(const Node& node)
{
    const auto watch = watched_.find(const_cast<Node*>(&node));
    const bool counted = watch != watched_.end() && std::exchange(watch->second.countsAsArmed, isArmed(node));
    if (isArmed(node) && !counted)
        ++armed_;
    else if (counted && !isArmed(node))
        --armed_;
}

/// @return the watch behind it.
WatchManager::Watches::iterator WatchManager::drop(Watches::iterator watch)
{
    if (watch->second.countsAsArmed)
        --armed_;
    return watched_.erase(watch);
}

/// Goes up from what was touched and reads the watches off the nodes, so that watches elsewhere cost nothing. Ends where
/// none is left that could be marked.
/// @param touched  null marks nothing.
void WatchManager::updateWatchedNodes(Node* touched)
{
    for (Node* node = touched; node != nullptr && armed_ != 0; node = node->getParent())
        if (isArmed(*node))
        {
            node->setFlag(NodeFlag::kWatchChanged);
            countArmed(*node);
        }
}

void WatchManager::updateWatchedNodes(const Element& touched)
{
    if (armed_ != 0 && !touched.hasMetaDataFlag(ElementMetaDataFlag::kNotWatched))
        updateWatchedNodes(touched.getNode());
}

Status WatchManager::markIfDone(Status status, Node* node)
{
    if (status == Status::kSuccess)
        updateWatchedNodes(node);
    return status;
}

Status WatchManager::markIfDone(Status status, const Element* element)
{
    if (status == Status::kSuccess && element != nullptr)
        updateWatchedNodes(*element);
    return status;
}

// --- Nodes ---

Status WatchManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    Node* created = nullptr;
    const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &created);
    if (outNode != nullptr)
        *outNode = created;
    return markIfDone(status, created);
}

Status WatchManager::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                          Node* parent, Node* next, bool legacy, Node** outNode)
{
    Node* created = nullptr;
    const Status status = ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, &created);
    if (outNode != nullptr)
        *outNode = created;
    return markIfDone(status, created);
}

Status WatchManager::db_destroyLeafNode(Node* node)
{
    if (!isNodeWatched(node))
        return markIfDone(ForwardingLayer::db_destroyLeafNode(node), node);
    MarksAside marks(*node);
    const Status status = ForwardingLayer::db_destroyLeafNode(node);
    if (status != Status::kSuccess)
        return status;
    marks.drop();
    endWatch(*node);
    updateWatchedNodes(node);
    return status;
}

Status WatchManager::db_renameNode(Node* node, const wchar_t* name)
{
    return markIfDone(ForwardingLayer::db_renameNode(node, name), node);
}

Status WatchManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    if (node == nullptr)
        return Status::kNullNodeToReparent;
    Node* const oldParent = node->getParent(); // the edit replaces it, so it is read first
    const Status status = ForwardingLayer::db_reparentNode(node, newParent, next, name);
    if (status != Status::kSuccess)
        return status;
    updateWatchedNodes(oldParent);
    updateWatchedNodes(newParent);
    return status;
}

Status WatchManager::db_reorderNode(Node* node, Node* next)
{
    return markIfDone(ForwardingLayer::db_reorderNode(node, next), node);
}

// --- Elements ---

Status WatchManager::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                             Element* next, Element** outElement)
{
    Element* created = nullptr;
    const Status status = ForwardingLayer::db_createDynamicElement(definition, name, node, next, &created);
    if (outElement != nullptr)
        *outElement = created;
    return markIfDone(status, created);
}

Status WatchManager::db_destroyDynamicElement(Element* element)
{
    return markIfDone(ForwardingLayer::db_destroyDynamicElement(element), element);
}

Status WatchManager::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return markIfDone(ForwardingLayer::db_renameDynamicElement(element, name), element);
}

Status WatchManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return markIfDone(ForwardingLayer::db_resizeAttributeArray(array, size), array);
}

Status WatchManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return markIfDone(ForwardingLayer::db_createReference(referenced, referencer, singleOutput), referencer);
}

Status WatchManager::db_destroyReference(Attribute* referencer)
{
    return markIfDone(ForwardingLayer::db_destroyReference(referencer), referencer);
}

Status WatchManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return markIfDone(ForwardingLayer::db_lockAttribute(attribute, outValue), attribute);
}

Status WatchManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return markIfDone(ForwardingLayer::db_lockAttributeArray(array, outValues), array);
}

// --- Units of work ---

Status WatchManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    if (nodesTakenOut_ != WatchEvents::nodesTakenOut || endedElsewhere_ != WatchEvents::endedElsewhere)
        endLostWatches();
    return ForwardingLayer::db_commit(description, file, line);
}

/// Ends the watches on nodes that an inner layer, undoing for example, has destroyed by itself: the core keeps such a
/// node only for as long as it bears the mark. One that was brought back since is watched on.
void WatchManager::endLostWatches()
{
    const std::size_t taken = WatchEvents::nodesTakenOut;
    const std::size_t ended = WatchEvents::endedElsewhere;
    for (auto at = watched_.begin(); at != watched_.end();)
    {
        Node* const node = findNode(*at);
        const bool goesOn = node != nullptr && !node->isDestroyed() && isNodeWatched(node);
        if (goesOn)
            at->second.handle = node;
        else if (node != nullptr)
            node->clearFlag(NodeFlag::kWatchFlags);
        at = goesOn ? std::next(at) : drop(at);
    }
    nodesTakenOut_ = taken;
    endedElsewhere_ = ended;
}

/// The node of a watch; null when it may have been freed. The core frees none that bears the mark, so one whose handle
/// became null is still there, unless another layer took the mark off.
Node* WatchManager::findNode(const Watches::value_type& watch) const
{
    if (watch.second.handle)
        return watch.second.handle.get();
    return endedElsewhere_ == WatchEvents::endedElsewhere ? watch.first : nullptr;
}

Status WatchManager::db_clear()
{
    for (const auto& watch : watched_)
        if (Node* const node = findNode(watch))
            node->clearFlag(NodeFlag::kWatchFlags);
    watched_.clear();
    armed_ = 0;
    return ForwardingLayer::db_clear();
}

} // namespace db2
