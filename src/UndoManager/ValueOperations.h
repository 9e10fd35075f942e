#pragma once

#include "UndoItem.h"

#include <db2/ValueHandle.h>
#include <db2/ValueInfo.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

/// Copies of values of one type, side by side in an item's heap.
class SavedValues
{
public:
    explicit SavedValues(AttributeTypeId typeId) : typeId_(typeId) {}
    SavedValues(const SavedValues&) = delete;
    SavedValues& operator=(const SavedValues&) = delete;
    ~SavedValues();

    /// Takes room, once. @return false when memory is out.
    [[nodiscard]] bool reserve(UndoItem& item, std::size_t count);

    /// Copies one value more, for which there is room. @return false when memory is out.
    [[nodiscard]] bool add(const ConstValueHandle& value);

    [[nodiscard]] unsigned int count() const { return count_; }

    /// Writes a value back through an interface. @return false when a step is refused or memory is out.
    [[nodiscard]] bool restore(unsigned int index, Attribute* attribute, DataInterface& target) const;

private:
    [[nodiscard]] void* at(unsigned int index) const;

    std::byte* values_ = nullptr; ///< null for a type without values
    AttributeTypeId typeId_;
    std::uint32_t count_ = 0;
};

/// db_lockAttribute: the value before the first lock of the unit of work.
class WriteOperation final : public UndoableOperation
{
public:
    explicit WriteOperation(Attribute& attribute) : attribute_(&attribute), oldValue_(attribute.getTypeId()) {}

    /// Notes the value. @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item);

    /// Marks the attribute as recorded.
    void setFlags() { attribute_->setFlag(ElementFlag::kRecordedInItem); }

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttribute"; }
    bool undo(DataInterface& target, CoreManager& core) override;
    void clearFlags() override;

private:
    Attribute* attribute_;
    SavedValues oldValue_;
};

/// db_lockAttributeArray: the bytes of all values.
class WriteArrayOperation final : public UndoableOperation
{
public:
    explicit WriteArrayOperation(AttributeArray& array) : array_(&array), size_(array.getSize()) {}

    /// @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item);

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttributeArray"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    [[nodiscard]] std::size_t bytes() const;

    AttributeArray* array_;
    void* oldValues_ = nullptr; ///< in the item's heap
    unsigned int size_;
};

/// db_resizeAttributeArray: the old size and, for a shrink, the values that it drops.
class ResizeOperation final : public UndoableOperation
{
public:
    explicit ResizeOperation(AttributeArray& array)
        : array_(&array), oldSize_(array.getSize()), dropped_(array.getTypeId())
    {
    }

    /// Notes the values from the new size on. @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item, unsigned int newSize);

    [[nodiscard]] const wchar_t* name() const override { return L"db_resizeAttributeArray"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    AttributeArray* array_;
    unsigned int oldSize_;
    SavedValues dropped_; ///< the last ones of the old size
};

} // namespace db2
