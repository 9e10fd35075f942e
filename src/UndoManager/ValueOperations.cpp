#include "ValueOperations.h"

#include "../ValueTypes.h"

#include <db2/AttributeArray.h>

#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace db2 {

// --- SavedValues ---

SavedValues::~SavedValues()
{
    if (values_ == nullptr || factsOf(typeId_).isPlainData)
        return;
    visitType(typeId_, [this](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (!std::is_void_v<T>)
        {
            for (unsigned int i = 0; i < count_; ++i)
                std::destroy_at(static_cast<T*>(at(i)));
        }
    });
}

bool SavedValues::reserve(UndoItem& item, std::size_t count)
{
    const TypeFacts& facts = factsOf(typeId_);
    if (facts.stride == 0 || count == 0)
        return true;
    if (count > std::numeric_limits<std::size_t>::max() / facts.stride)
        return false;
    values_ = static_cast<std::byte*>(item.allocate(count * facts.stride, facts.storageAlignment));
    return values_ != nullptr;
}

bool SavedValues::add(const ConstValueHandle& value)
{
    if (values_ == nullptr)
    {
        ++count_;
        return true;
    }
    if (value.getTypeId() == typeId_ && factsOf(typeId_).isPlainData && !value.isNull())
    {
        std::memcpy(at(count_), value.getData(), factsOf(typeId_).size);
        ++count_;
        return true;
    }
    // What an attribute shows may be of another type: that of the attribute which it references.
    const bool isOfType = value.getTypeId() == typeId_;
    const ValueHandle saved =
        isOfType ? ValueHandle::constructAt(at(count_), value) : ValueHandle::constructAt(at(count_), typeId_);
    if (saved.isNull())
        return false;
    ++count_;
    return isOfType || saved.assign(value);
}

bool SavedValues::restore(unsigned int index, Attribute* attribute, DataInterface& target) const
{
    ValueHandle handle;
    if (target.db_lockAttribute(attribute, &handle) != Status::kSuccess)
        return false;
    const bool assigned = values_ == nullptr || handle.assign(ConstValueHandle(at(index), typeId_));
    return target.db_unlockAttribute(attribute) == Status::kSuccess && assigned;
}

void* SavedValues::at(unsigned int index) const
{
    return values_ + std::size_t{index} * factsOf(typeId_).stride;
}

// --- WriteOperation ---

bool WriteOperation::save(UndoItem& item)
{
    return oldValue_.reserve(item, 1) && oldValue_.add(attribute_->getValue());
}

bool WriteOperation::undo(DataInterface& target, CoreManager&)
{
    return oldValue_.restore(0, attribute_, target);
}

void WriteOperation::clearFlags()
{
    attribute_->clearFlag(ElementFlag::kRecordedInItem);
}

// --- WriteArrayOperation ---

bool WriteArrayOperation::save(UndoItem& item)
{
    if (bytes() == 0)
        return true;
    oldValues_ = item.allocate(bytes(), factsOf(array_->getTypeId()).storageAlignment);
    if (oldValues_ == nullptr)
        return false;
    // No item of an array that could be locked takes its value from elsewhere, so the first one's value is the block.
    std::memcpy(oldValues_, array_->getAttribute(0)->getValue().getData(), bytes());
    return true;
}

bool WriteArrayOperation::undo(DataInterface& target, CoreManager&)
{
    // Of another size only when the inverse of a resize failed before.
    void* values = nullptr;
    if (array_->getSize() != size_ || target.db_lockAttributeArray(array_, &values) != Status::kSuccess)
        return false;
    if (oldValues_ != nullptr)
        std::memcpy(values, oldValues_, bytes());
    return target.db_unlockAttributeArray(array_) == Status::kSuccess;
}

std::size_t WriteArrayOperation::bytes() const
{
    return std::size_t{size_} * factsOf(array_->getTypeId()).stride;
}

// --- ResizeOperation ---

bool ResizeOperation::save(UndoItem& item, unsigned int newSize)
{
    if (newSize >= oldSize_)
        return true;
    if (!dropped_.reserve(item, oldSize_ - newSize))
        return false;
    for (unsigned int i = newSize; i < oldSize_; ++i)
    {
        if (!dropped_.add(array_->getAttribute(i)->getValue()))
            return false;
    }
    return true;
}

bool ResizeOperation::undo(DataInterface& target, CoreManager&)
{
    if (target.db_resizeAttributeArray(array_, oldSize_) != Status::kSuccess)
        return false;
    const unsigned int firstDropped = oldSize_ - dropped_.count();
    bool complete = true;
    for (unsigned int i = 0; i < dropped_.count(); ++i)
        complete = dropped_.restore(i, array_->getAttribute(firstDropped + i), target) && complete;
    return complete;
}

} // namespace db2
