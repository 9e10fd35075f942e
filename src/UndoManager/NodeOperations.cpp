#include "NodeOperations.h"

#include "../UndoAccess.h"

#include <db2/Node.h>

namespace db2 {

// --- Create ---

void CreateNodeOperation::setNode(Node* node)
{
    node_ = node;
    node_->setFlag(NodeFlag::kCreatedInItem);
}

const wchar_t* CreateNodeOperation::name() const
{
    return node_->isUnknown() ? L"db_createUnknownNode" : L"db_createNode";
}

bool CreateNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyLeafNode(node_) == Status::kSuccess;
}

void CreateNodeOperation::clearFlags()
{
    node_->clearFlag(NodeFlag::kCreatedInItem);
}

// --- Destroy ---

DestroyNodeOperation::DestroyNodeOperation(Node& node)
    : node_(&node), parent_(node.getParent()), next_(node.getNextSibling())
{
}

bool DestroyNodeOperation::undo(DataInterface& target, CoreManager& core)
{
    UndoAccess::resurrectNode(core, *node_);
    const Status status = recreate(target);
    UndoAccess::takeBackNode(core); // when it was refused the node stays archived
    if (status == Status::kSuccess)
        node_ = nullptr;
    return status == Status::kSuccess;
}

Status DestroyNodeOperation::recreate(DataInterface& target) const
{
    const wchar_t* const name = node_->getName().c_str();
    if (!node_->isUnknown())
        return target.db_createNode(node_->getTypeId(), name, parent_, next_, nullptr);
    return target.db_createUnknownNode(node_->getTypeName().c_str(), *node_->getModule(), name, parent_, next_,
                                       node_->isLegacy(), nullptr);
}

void DestroyNodeOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyNode(core, *node_);
}

// --- Rename ---

bool RenameNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_renameNode(node_, oldName_) == Status::kSuccess;
}

// --- Reparent ---

ReparentNodeOperation::ReparentNodeOperation(Node& node, const wchar_t* oldName)
    : node_(&node), oldParent_(node.getParent()), oldNext_(node.getNextSibling()), oldName_(oldName)
{
}

bool ReparentNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_reparentNode(node_, oldParent_, oldNext_, oldName_) == Status::kSuccess;
}

// --- Reorder ---

ReorderNodeOperation::ReorderNodeOperation(Node& node) : node_(&node), oldNext_(node.getNextSibling()) {}

bool ReorderNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_reorderNode(node_, oldNext_) == Status::kSuccess;
}

} // namespace db2
