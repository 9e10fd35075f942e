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

bool CreateNodeOperation::undo(const ReplayContext& context)
{
    return context.target.db_destroyLeafNode(node_) == Status::kSuccess;
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

DestroyNodeOperation::DestroyNodeOperation(const DestroyNodeOperation& other, bool wasRefused)
    : node_(other.node_), parent_(other.parent_), next_(other.next_), wasRefused_(wasRefused)
{
}

bool DestroyNodeOperation::undo(const ReplayContext& context)
{
    if (wasRefused_)
    {
        handOver(context, false);
        return true;
    }
    UndoAccess::resurrectNode(context.core, *node_);
    const Status status = recreate(context.target);
    UndoAccess::takeBackNode(context.core);
    if (status != Status::kSuccess)
        handOver(context, true);
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

/// The node stays archived. The item that records the replay holds it from now on; without one it is given up.
void DestroyNodeOperation::handOver(const ReplayContext& context, bool wasRefused)
{
    UndoItem* const recorder = context.recorder;
    auto* const holder = recorder != nullptr ? recorder->make<DestroyNodeOperation>(0, *this, wasRefused) : nullptr;
    if (holder != nullptr)
        recorder->add(holder);
    else
        discard(context.core);
}

void DestroyNodeOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyNode(core, *node_);
}

// --- Rename ---

bool RenameNodeOperation::undo(const ReplayContext& context)
{
    return context.target.db_renameNode(node_, oldName_) == Status::kSuccess;
}

// --- Reparent ---

ReparentNodeOperation::ReparentNodeOperation(Node& node, const wchar_t* oldName)
    : node_(&node), oldParent_(node.getParent()), oldNext_(node.getNextSibling()), oldName_(oldName)
{
}

bool ReparentNodeOperation::undo(const ReplayContext& context)
{
    return context.target.db_reparentNode(node_, oldParent_, oldNext_, oldName_) == Status::kSuccess;
}

// --- Reorder ---

ReorderNodeOperation::ReorderNodeOperation(Node& node) : node_(&node), oldNext_(node.getNextSibling()) {}

bool ReorderNodeOperation::undo(const ReplayContext& context)
{
    return context.target.db_reorderNode(node_, oldNext_) == Status::kSuccess;
}

} // namespace db2
