// What CoreManager keeps for undo. Every archived object has a place on the garbage list reserved for it, so that its
// final destruction cannot fail.

#include <db2/CoreManager.h>

#include "../OutOfMemory.h"

#include <algorithm>
#include <cassert>

namespace db2 {
namespace {

/// Room for one entry more and for those that undo may hand over. Grows like push_back does.
template <class T>
bool reserveGarbage(kqtl::pod_vector<T*>& list, std::size_t archived)
{
    const std::size_t needed = list.size() + archived + 1;
    return needed <= list.capacity() || succeeds([&] { list.reserve(std::max(needed, list.capacity() * 2)); });
}

} // namespace

bool CoreManager::reserveNodeGarbage()
{
    return reserveGarbage(nodeGarbage_, archivedNodes_);
}

bool CoreManager::reserveElementGarbage()
{
    return reserveGarbage(elementGarbage_, archivedElements_);
}

// --- Nodes ---

bool CoreManager::undo_archiveNode(Node& node)
{
    if (node.hasFlag(NodeFlag::kInUndo))
        return true;
    if (!reserveNodeGarbage())
        return false;
    ++archivedNodes_;
    node.setFlag(NodeFlag::kInUndo);
    return true;
}

void CoreManager::undo_cancelArchiveNode(Node& node)
{
    assert(node.hasFlag(NodeFlag::kInUndo));
    node.clearFlag(NodeFlag::kInUndo);
    --archivedNodes_;
}

void CoreManager::finalDestroyNode(Node& node)
{
    undo_cancelArchiveNode(node);
    nodeGarbage_.push_back(&node);
}

// --- Dynamic elements ---

bool CoreManager::undo_archiveDynamicElement(Element& element)
{
    if (element.hasFlag(ElementFlag::kInUndo))
        return true;
    if (!reserveElementGarbage())
        return false;
    ++archivedElements_;
    element.setFlag(ElementFlag::kInUndo);
    return true;
}

void CoreManager::undo_cancelArchiveElement(Element& element)
{
    assert(element.hasFlag(ElementFlag::kInUndo));
    element.clearFlag(ElementFlag::kInUndo);
    --archivedElements_;
}

void CoreManager::finalDestroyDynamicElement(Element& element)
{
    undo_cancelArchiveElement(element);
    elementGarbage_.push_back(&element);
}

} // namespace db2
