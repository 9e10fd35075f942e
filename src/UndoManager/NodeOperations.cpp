#include "NodeOperations.h"

#include "../UndoAccess.h"

#include <db2/Node.h>

namespace db2 {

// --- Create ---

void CreateNodeOperation::setNode(Node* node)
{
    setSubject(node);
    node->setFlag(NodeFlag::kCreatedInItem);
}

const wchar_t* CreateNodeOperation::name() const
{
    return subject()->isUnknown() ? L"db_createUnknownNode" : L"db_createNode";
}

bool CreateNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyLeafNode(subject()) == Status::kSuccess;
}

void CreateNodeOperation::clearFlags()
{
    subject()->clearFlag(NodeFlag::kCreatedInItem);
}

// --- Destroy ---

DestroyNodeOperation::DestroyNodeOperation(Node& node)
    : OperationOn(&node, kHolds), parent_(node.getParent()), next_(node.getNextSibling())
{
}

bool DestroyNodeOperation::undo(DataInterface& target, CoreManager& core)
{
    UndoAccess::resurrectNode(core, *subject());
    const Status status = recreate(target);
    UndoAccess::takeBackNode(core); // when it was refused the node stays archived
    if (status == Status::kSuccess)
        setSubject(nullptr);
    return status == Status::kSuccess;
}

Status DestroyNodeOperation::recreate(DataInterface& target) const
{
    const wchar_t* const name = subject()->getName().c_str();
    if (!subject()->isUnknown())
        return target.db_createNode(subject()->getTypeId(), name, parent_, next_, nullptr);
    return target.db_createUnknownNode(subject()->getTypeName().c_str(), *subject()->getModule(), name, parent_, next_,
                                       subject()->isLegacy(), nullptr);
}

void DestroyNodeOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyNode(core, *subject());
}

// --- Rename ---

bool RenameNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_renameNode(subject(), oldName_) == Status::kSuccess;
}

// --- Reparent ---

ReparentNodeOperation::ReparentNodeOperation(Node& node, const wchar_t* oldName)
    : OperationOn(&node), oldParent_(node.getParent()), oldNext_(node.getNextSibling()), oldName_(oldName)
{
}

bool ReparentNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_reparentNode(subject(), oldParent_, oldNext_, oldName_) == Status::kSuccess;
}

// --- Reorder ---

ReorderNodeOperation::ReorderNodeOperation(Node& node) : OperationOn(&node), oldNext_(node.getNextSibling()) {}

bool ReorderNodeOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_reorderNode(subject(), oldNext_) == Status::kSuccess;
}

} // namespace db2
