#pragma once

#include "UndoItem.h"

namespace db2 {

/// db_createDynamicElement.
class CreateElementOperation final : public UndoableOperation
{
public:
    void setElement(Element* element) { element_ = element; } ///< once it is there

    [[nodiscard]] const wchar_t* name() const override { return L"db_createDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Element* element_ = nullptr;
};

/// db_destroyDynamicElement. Holds the element in the core's archive, as DestroyNodeOperation holds its node.
class DestroyElementOperation final : public UndoableOperation
{
public:
    /// @param element  still in its place on its node; archived by the caller.
    explicit DestroyElementOperation(Element& element);

    [[nodiscard]] const wchar_t* name() const override { return L"db_destroyDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;
    void discard(CoreManager& core) override;
    [[nodiscard]] bool isHolding() const override { return element_ != nullptr; }
    [[nodiscard]] bool isRefused() const override { return isRefused_; }
    void setRefused(bool isRefused) override { isRefused_ = isRefused; }

private:
    Element* element_; ///< null once it is back
    Element* next_;
    bool isRefused_ = false;
};

/// db_renameDynamicElement.
class RenameElementOperation final : public UndoableOperation
{
public:
    RenameElementOperation(Element& element, const wchar_t* oldName) : element_(&element), oldName_(oldName) {}

    [[nodiscard]] const wchar_t* name() const override { return L"db_renameDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Element* element_;
    const wchar_t* oldName_; ///< in the item's heap
};

/// db_createReference.
class CreateReferenceOperation final : public UndoableOperation
{
public:
    explicit CreateReferenceOperation(Attribute& referencer) : referencer_(&referencer) {}

    [[nodiscard]] const wchar_t* name() const override { return L"db_createReference"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Attribute* referencer_;
};

/// db_destroyReference.
class DestroyReferenceOperation final : public UndoableOperation
{
public:
    /// @param referencer  still holds its reference.
    explicit DestroyReferenceOperation(Attribute& referencer);

    [[nodiscard]] const wchar_t* name() const override { return L"db_destroyReference"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Attribute* referenced_;
    Attribute* referencer_;
    bool isSingle_;
};

} // namespace db2
