#pragma once

#include "UndoItem.h"

#include <db2/ValueHandle.h>
#include <db2/ValueInfo.h>

namespace db2 {

/// A copy of a value in an item's heap, where it belongs to an operation.
class SavedValue
{
public:
    SavedValue() = default;
    SavedValue(const SavedValue&) = delete;
    SavedValue& operator=(const SavedValue&) = delete;
    ~SavedValue() { value_.destroy(); }

    /// @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item, const ConstValueHandle& value);

    /// Writes the value back through an interface. @return false when a step is refused or memory is out.
    [[nodiscard]] bool restore(Attribute* attribute, DataInterface& target) const;

private:
    ValueHandle value_;
};

/// db_lockAttribute: the value before the first lock of the unit of work.
class WriteOperation final : public UndoableOperation
{
public:
    explicit WriteOperation(Attribute& attribute) : attribute_(&attribute) {}

    /// Notes the value and marks the attribute as recorded. @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item);

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttribute"; }
    bool undo(const ReplayContext& context) override;
    void clearFlags() override;

private:
    Attribute* attribute_;
    SavedValue oldValue_;
};

/// db_lockAttributeArray: the bytes of all values.
class WriteArrayOperation final : public UndoableOperation
{
public:
    explicit WriteArrayOperation(AttributeArray& array) : array_(&array) {}

    /// @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item);

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttributeArray"; }
    bool undo(const ReplayContext& context) override;

private:
    AttributeArray* array_;
    void* oldValues_ = nullptr; ///< in the item's heap
    std::size_t bytes_ = 0;
};

/// db_resizeAttributeArray: the old size and, for a shrink, the values that it drops.
class ResizeOperation final : public UndoableOperation
{
public:
    explicit ResizeOperation(AttributeArray& array) : array_(&array), oldSize_(array.getSize()) {}
    ~ResizeOperation() override;

    /// Notes the values from the new size on. @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item, unsigned int newSize);

    [[nodiscard]] const wchar_t* name() const override { return L"db_resizeAttributeArray"; }
    bool undo(const ReplayContext& context) override;

private:
    AttributeArray* array_;
    unsigned int oldSize_;
    unsigned int firstSaved_ = 0;
    unsigned int savedCount_ = 0;
    SavedValue* saved_ = nullptr; ///< savedCount_ of them, in the item's heap
};

} // namespace db2
