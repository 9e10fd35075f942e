#pragma once

#include "UndoItem.h"

#include <kqx/String.h>

namespace db2 {

/// db_createNode and db_createUnknownNode.
class CreateNodeOperation final : public OperationOn<Node>
{
public:
    CreateNodeOperation() : OperationOn(nullptr, kMarks) {}

    /// Notes the node once it is there, and marks it as made in this item.
    void setNode(Node* node);

    [[nodiscard]] const wchar_t* name() const override;
    bool undo(DataInterface& target, CoreManager& core) override;
    void clearFlags() override;
};

/// db_destroyLeafNode. Holds the node in the core's archive until it comes back or the operation is dropped for good.
class DestroyNodeOperation final : public OperationOn<Node>
{
public:
    /// @param node  still in its place in the tree; archived by the caller.
    explicit DestroyNodeOperation(Node& node);

    [[nodiscard]] const wchar_t* name() const override { return L"db_destroyLeafNode"; }
    bool undo(DataInterface& target, CoreManager& core) override;
    void discard(CoreManager& core) override;
    [[nodiscard]] bool isHolding() const override { return subject() != nullptr; } // null once it is back
    [[nodiscard]] bool isRefused() const override { return isRefused_; }
    void setRefused(bool isRefused) override { isRefused_ = isRefused; }

private:
    [[nodiscard]] Status recreate(DataInterface& target) const;

    Node* parent_;
    Node* next_;
    bool isRefused_ = false;
};

/// db_renameNode.
class RenameNodeOperation final : public OperationOn<Node>
{
public:
    RenameNodeOperation(Node& node, const wchar_t* oldName) : OperationOn(&node), oldName_(oldName) {}

    [[nodiscard]] const wchar_t* name() const override { return L"db_renameNode"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    const wchar_t* oldName_; ///< in the item's heap
};

/// db_reparentNode.
class ReparentNodeOperation final : public OperationOn<Node>
{
public:
    ReparentNodeOperation(Node& node, const wchar_t* oldName);

    [[nodiscard]] const wchar_t* name() const override { return L"db_reparentNode"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Node* oldParent_;
    Node* oldNext_;
    const wchar_t* oldName_; ///< in the item's heap
};

/// db_reorderNode.
class ReorderNodeOperation final : public OperationOn<Node>
{
public:
    explicit ReorderNodeOperation(Node& node);

    [[nodiscard]] const wchar_t* name() const override { return L"db_reorderNode"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Node* oldNext_;
};

} // namespace db2
