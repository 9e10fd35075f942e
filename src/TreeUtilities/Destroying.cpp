// The tree utilities that destroy nodes, and those that move them among their siblings.

#include <db2/TreeUtilities.h>

#include <db2/AttributeIterators.h>
#include <db2/DataInterface.h>
#include <db2/Node.h>

#include "ReferenceEnds.h"

#include <utility>

namespace db2 {
namespace {

Node* leftmostLeaf(Node* node)
{
    while (node->getFirstChild() != nullptr)
        node = node->getFirstChild();
    return node;
}

/// Destroys every leaf below @p top until none is left, and @p top too when it is to go.
void destroySubtree(Node* top, bool withTop, DataInterface* data)
{
    if (top == nullptr || data == nullptr)
        return;
    Node* node = leftmostLeaf(top);
    while (node != top)
    {
        Node* const parent = node->getParent();
        dbu_destroyLeafNode(node, data);
        if (!node->isDestroyed()) // a layer refused; its ancestors cannot go either
            return;
        node = leftmostLeaf(parent);
    }
    if (withTop)
        dbu_destroyLeafNode(top, data);
}

} // namespace

// --- Destroying ---

void dbu_destroyLeafNode(Node* node, DataInterface* data)
{
    if (node == nullptr || data == nullptr || node->isDestroyed())
        return;
    if (node->getEdgeCount() != 0)
    {
        for (AttributeIterator attributes(node); attributes.next();)
            destroyReferencesOf(*attributes.attr(), *data);
    }
    for (unsigned int i = node->getDynamicElementCount(); i-- > 0;)
        data->db_destroyDynamicElement(node->getDynamicElement(i));
    data->db_destroyLeafNode(node);
}

void dbu_destroyNodeRecursively(Node* node, DataInterface* data)
{
    destroySubtree(node, true, data);
}

void dbu_destroyChildrenRecursively(Node* node, DataInterface* data)
{
    destroySubtree(node, false, data);
}

void dbu_destroyNodeButNotChildren(Node* node, DataInterface* data)
{
    if (node == nullptr || data == nullptr)
        return;
    Node* const parent = node->getParent();
    Node* const next = node->getNextSibling(); // read once: each child comes before it, behind those that came already
    while (Node* const child = node->getFirstChild())
    {
        if (parent == nullptr || data->db_reparentNode(child, parent, next, nullptr) != Status::kSuccess)
            return;
        if (node->getFirstChild() == child) // a layer claimed to have moved it
            return;
    }
    dbu_destroyLeafNode(node, data);
}

Status dbu_destroyIf(NodeIterator& nodes, DataInterface* data, bool (*predicate)(Node* node, void* userData),
                     void* userData)
{
    if (data == nullptr || predicate == nullptr)
        return Status::kFailure;
    Node* match = nullptr;
    Node* matchingRoot = nullptr; // kept to the end: its children would take the walk along, out of the subtree
    while (nodes.next())
    {
        dbu_destroyNodeButNotChildren(std::exchange(match, nullptr), data);
        if (predicate(nodes.node(), userData))
            (nodes.node() == nodes.root() ? matchingRoot : match) = nodes.node();
    }
    dbu_destroyNodeButNotChildren(match, data);
    dbu_destroyNodeButNotChildren(matchingRoot, data);
    return Status::kSuccess;
}

// --- Moving among siblings ---

void dbu_moveUp(Node* node, DataInterface* data)
{
    if (node != nullptr && data != nullptr && node->getPreviousSibling() != nullptr)
        data->db_reorderNode(node, node->getPreviousSibling());
}

void dbu_moveDown(Node* node, DataInterface* data)
{
    if (node != nullptr && data != nullptr && node->getNextSibling() != nullptr)
        data->db_reorderNode(node, node->getNextSibling()->getNextSibling());
}

} // namespace db2
