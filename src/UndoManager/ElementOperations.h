#pragma once

#include "UndoItem.h"

namespace db2 {

/// db_createDynamicElement.
class CreateElementOperation final : public OperationOn<Element>
{
public:
    CreateElementOperation() : OperationOn(nullptr) {}

    void setElement(Element* element) { setSubject(element); } ///< once it is there

    [[nodiscard]] const wchar_t* name() const override { return L"db_createDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;
};

/// db_destroyDynamicElement. Holds the element in the core's archive, as DestroyNodeOperation holds its node.
class DestroyElementOperation final : public OperationOn<Element>
{
public:
    /// @param element  still in its place on its node; archived by the caller.
    explicit DestroyElementOperation(Element& element);

    [[nodiscard]] const wchar_t* name() const override { return L"db_destroyDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;
    void discard(CoreManager& core) override;
    [[nodiscard]] bool isHolding() const override { return subject() != nullptr; } // null once it is back
    [[nodiscard]] bool isRefused() const override { return isRefused_; }
    void setRefused(bool isRefused) override { isRefused_ = isRefused; }

private:
    Element* next_;
    bool isRefused_ = false;
};

/// db_renameDynamicElement.
class RenameElementOperation final : public OperationOn<Element>
{
public:
    RenameElementOperation(Element& element, const wchar_t* oldName) : OperationOn(&element), oldName_(oldName) {}

    [[nodiscard]] const wchar_t* name() const override { return L"db_renameDynamicElement"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    const wchar_t* oldName_; ///< in the item's heap
};

/// db_createReference.
class CreateReferenceOperation final : public OperationOn<Attribute>
{
public:
    explicit CreateReferenceOperation(Attribute& referencer) : OperationOn(&referencer) {}

    [[nodiscard]] const wchar_t* name() const override { return L"db_createReference"; }
    bool undo(DataInterface& target, CoreManager& core) override;
};

/// db_destroyReference.
class DestroyReferenceOperation final : public OperationOn<Attribute>
{
public:
    /// @param referencer  still holds its reference.
    explicit DestroyReferenceOperation(Attribute& referencer);

    [[nodiscard]] const wchar_t* name() const override { return L"db_destroyReference"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    Attribute* referenced_;
    bool isSingle_;
};

} // namespace db2
