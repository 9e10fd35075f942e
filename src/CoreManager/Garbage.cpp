// What frees nodes and elements: commits, db_clear and the end of the manager.

#include <db2/CoreManager.h>
#include <db2/NodeIterators.h>

#include "../ElementRecords.h"
#include "../NodeMemory.h"
#include "../OutOfMemory.h"
#include "../Prefetch.h"

#include <algorithm>

namespace db2 {
namespace {

bool isListed(const Element& element)
{
    return NodeMemory::anyFlag(element, ElementFlag::kListedByLayer);
}

bool isListed(const Node& node)
{
    return node.hasAnyFlag(NodeFlag::kListedByLayer) || NodeMemory::anyElementFlag(node, ElementFlag::kListedByLayer);
}

/// Calls @p free for every entry but those that are to be kept, which move to the front of the list in their order.
template <class T, class Keep, class Free>
void sweep(kqtl::pod_vector<T*>& list, Keep keep, Free free)
{
    std::size_t kept = 0;
    forEachFetched(list, [&](T& entry) {
        if (keep(entry))
            list[kept++] = &entry;
        else
            free(&entry);
    });
    list.resize(kept);
}

} // namespace

// --- Collection ---

/// A node that stays keeps what it leads to: its destroyed ancestors, because reports ask for its depth. Those that undo
/// holds stay anyway and get no mark, but may lead to some that do not.
void CoreManager::keepWithAncestors(Node& node)
{
    for (Node* kept = &node; kept != nullptr && kept->isDestroyed() && !kept->keptByGarbageCollection_;
         kept = kept->parent_)
        kept->keptByGarbageCollection_ = !kept->hasFlag(NodeFlag::kInUndo);
}

void CoreManager::collectGarbage()
{
    if (elementAnchor_.hasHandles())
        elementAnchor_.clearHandles();
    if (nodeGarbage_.empty() && elementGarbage_.empty())
        return;
    forEachFetched(nodeGarbage_, [](Node& node) {
        if (isListed(node))
            keepWithAncestors(node);
    });
    sweep(
        elementGarbage_,
        [](Element& element) {
            if (!isListed(element))
                return false;
            keepWithAncestors(*element.getNode());
            return true;
        },
        [](Element* element) { NodeMemory::freeElement(element); });
    sweep(
        nodeGarbage_,
        [](Node& node) {
            const bool kept = node.keptByGarbageCollection_;
            node.keptByGarbageCollection_ = false;
            return kept;
        },
        [](Node* node) { NodeMemory::free(node); });
}

// --- db_clear ---

Status CoreManager::db_clear()
{
    const Status status = canCommit();
    if (status != Status::kSuccess)
        return status;
    const bool reserved = succeeds([this] {
        nodeGarbage_.reserve(nodeGarbage_.size() + archivedNodes_ + statistics_.nodes);
        elementGarbage_.reserve(elementGarbage_.size() + archivedElements_ + statistics_.dynamicElements);
    });
    if (!reserved)
        return Status::kFailure;

    nextUniqueNumber_ = 0;
    Node* node = root_ != nullptr ? leftmostLeaf(root_) : nullptr;
    while (node != root_)
    {
        Node* const next = node->nextSibling_ != nullptr ? leftmostLeaf(node->nextSibling_) : node->parent_;
        node->parent_->dropChildIndex(); // all its children go, so none needs to be taken out of it
        breakAllReferences(*node);
        while (node->getDynamicElementCount() != 0)
            takeOut(*node->extras_->dynamicElements.back());
        takeOut(*node);
        node = next;
    }
    collectGarbage();
    return Status::kSuccess;
}

Node* CoreManager::leftmostLeaf(Node* node)
{
    while (node->firstChild_ != nullptr)
        node = node->firstChild_;
    return node;
}

// --- The end ---

/// Frees everything, whoever lists it: the layers are gone. Goes without recursion, for trees of any depth.
void CoreManager::freeTree()
{
    for (Element* const element : elementGarbage_)
        NodeMemory::freeElement(element);
    for (Node* const node : nodeGarbage_)
        NodeMemory::free(node);
    Node* node = root_;
    while (node != nullptr)
    {
        node = leftmostLeaf(node);
        Node* const parent = node->parent_;
        if (parent != nullptr)
            parent->firstChild_ = node->nextSibling_;
        NodeMemory::free(node);
        node = parent;
    }
    root_ = nullptr;
}

} // namespace db2
