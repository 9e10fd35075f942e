#pragma once

#include "UndoItem.h"

#include <db2/Attribute.h>
#include <db2/AttributeArray.h>
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

/// db_lockAttribute: the value before the first lock of the unit of work. The most frequent operation by far, so it is
/// small: the value stands in the record or right behind it.
class WriteOperation final : public OperationOn<Attribute>
{
public:
    /// Makes the operation in the item's heap and marks the attribute as recorded. @param value  the attribute's.
    /// @return null, marking nothing, when memory is out.
    [[nodiscard]] static WriteOperation* make(UndoItem& item, Attribute& attribute, const ConstValueHandle& value);
    ~WriteOperation() override;

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttribute"; }
    bool undo(DataInterface& target, CoreManager& core) override;
    void clearFlags() override;

private:
    WriteOperation(Attribute& attribute, Duty duties);

    [[nodiscard]] AttributeTypeId typeId() const { return static_cast<AttributeTypeId>(typeId_); }
    [[nodiscard]] void* oldValue();

    std::uint8_t typeId_;
    alignas(4) std::byte smallValue_[4]; ///< a larger one stands behind the record
};

/// db_lockAttributeArray: the bytes of all values.
class WriteArrayOperation final : public OperationOn<AttributeArray>
{
public:
    explicit WriteArrayOperation(AttributeArray& array) : OperationOn(&array), size_(array.getSize()) {}

    /// @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item);

    [[nodiscard]] const wchar_t* name() const override { return L"db_lockAttributeArray"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    [[nodiscard]] std::size_t bytes() const;

    void* oldValues_ = nullptr; ///< in the item's heap
    unsigned int size_;
};

/// db_resizeAttributeArray: the old size and, for a shrink, the values that it drops.
class ResizeOperation final : public OperationOn<AttributeArray>
{
public:
    explicit ResizeOperation(AttributeArray& array)
        : OperationOn(&array, kOwns), oldSize_(array.getSize()), dropped_(array.getTypeId())
    {
    }

    /// Notes the values from the new size on. @return false when memory is out.
    [[nodiscard]] bool save(UndoItem& item, unsigned int newSize);

    [[nodiscard]] const wchar_t* name() const override { return L"db_resizeAttributeArray"; }
    bool undo(DataInterface& target, CoreManager& core) override;

private:
    [[nodiscard]] bool saveLoadStates(UndoItem& item, unsigned int newSize);

    unsigned int oldSize_;
    SavedValues dropped_; ///< the last ones of the old size
    /// Their ElementFlag::kLoaded and kValueLoaded, which tell whether an item of an unknown array has a value at all; null
    /// for other arrays. In the item's heap.
    std::uint16_t* loadStates_ = nullptr;
};

} // namespace db2
