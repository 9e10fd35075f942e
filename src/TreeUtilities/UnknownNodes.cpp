// The tree utilities that turn known nodes into unknown ones.

#include <db2/TreeUtilities.h>

#include <db2/AttributeArray.h>
#include <db2/CoreManager.h>
#include <db2/DataInterface.h>
#include <db2/Module.h>

#include "../OutOfMemory.h"
#include "ElementCopies.h"

namespace db2 {
// --- Shared with the conversion back ---

void transferElementReferences(Element& to, Element& from, DataInterface& data)
{
    if (!from.isAttributeArray())
    {
        dbu_transferReferences(static_cast<Attribute*>(&to), static_cast<Attribute*>(&from), &data);
        return;
    }
    const auto& items = static_cast<const AttributeArray&>(from);
    const auto& newItems = static_cast<const AttributeArray&>(to);
    for (unsigned int i = 0; items.getReferenceCount() != 0 && i < items.getSize(); ++i)
        dbu_transferReferences(newItems.getAttribute(i), items.getAttribute(i), &data);
}

bool moveChildren(Node& from, Node& to, DataInterface& data)
{
    while (Node* const child = from.getFirstChild())
    {
        data.db_reparentNode(child, &to, nullptr, nullptr);
        if (from.getFirstChild() == child)
            return false;
    }
    return true;
}

namespace {

/// Gives the replacement each element with its value and references. @return false when one could not be made.
bool moveElements(Node& node, Node& replacement, DataInterface& data, CoreManager& core)
{
    bool allMade = true;
    for (unsigned int i = 0; i < node.getElementCount(); ++i)
    {
        Element& from = *node.getElement(i);
        Element* const to = createElementLike(from, replacement, data, core);
        if (to == nullptr)
        {
            allMade = false;
            continue;
        }
        copyElementValue(*to, from, data);
        transferElementReferences(*to, from, data);
    }
    return allMade;
}

} // namespace

Node* dbu_replaceKnownNodeWithUnknownNode(Node* node, DataInterface* data, CoreManager* core)
{
    if (node == nullptr || data == nullptr || core == nullptr || node->isUnknown() || node->getParent() == nullptr)
        return nullptr;
    kqx::String name;
    if (!succeeds([&] { name = node->getName(); }))
        return nullptr;
    Node* replacement = nullptr;
    data->db_createUnknownNode(node->getTypeName().c_str(), *node->getModule(), name.c_str(), node->getParent(),
                               node->getNextSibling(), false, &replacement);
    if (replacement == nullptr)
        return nullptr;
    // What has not moved over is not destroyed with the node.
    if (!moveElements(*node, *replacement, *data, *core) || !moveChildren(*node, *replacement, *data))
        return replacement;
    dbu_destroyLeafNode(node, data);
    data->db_renameNode(replacement, name.c_str());
    return replacement;
}

Status dbu_convertKnownNodesInModuleToUnknownNodes(const Module* module, Node* root, DataInterface* data,
                                                   CoreManager* core)
{
    if (module == nullptr || root == nullptr || data == nullptr || core == nullptr)
        return Status::kFailure;
    NodeIterator nodes(root);
    while (nodes.next())
    {
        Node* const node = nodes.node();
        if (node->getModule() != module || node->isUnknown())
            continue;
        if (Node* const replacement = dbu_replaceKnownNodeWithUnknownNode(node, data, core))
            nodes.setNode(replacement); // the walk goes on into the children, which moved there
    }
    return Status::kSuccess;
}

} // namespace db2
