#include "ValueOperations.h"

#include <db2/AttributeArray.h>

#include <cstring>
#include <limits>

namespace db2 {

// --- SavedValue ---

bool SavedValue::save(UndoItem& item, const ConstValueHandle& value)
{
    const AttributeTypeId typeId = value.getTypeId();
    if (typeId == AttributeType::kNull)
    {
        value_ = ValueHandle();
        return true;
    }
    const std::size_t bytes = ValueInfo::getMemoryRequirements(typeId).size;
    value_ = ValueHandle::constructAt(item.allocate(bytes, ValueInfo::getStorageAlignment(typeId)), value);
    return !value_.isNull();
}

bool SavedValue::restore(Attribute* attribute, DataInterface& target) const
{
    ValueHandle handle;
    if (target.db_lockAttribute(attribute, &handle) != Status::kSuccess)
        return false;
    const bool assigned = value_.isNull() || handle.assign(value_);
    return target.db_unlockAttribute(attribute) == Status::kSuccess && assigned;
}

// --- WriteOperation ---

bool WriteOperation::save(UndoItem& item)
{
    if (!oldValue_.save(item, attribute_->getValue()))
        return false;
    attribute_->setFlag(ElementFlag::kRecordedInItem);
    return true;
}

bool WriteOperation::undo(const ReplayContext& context)
{
    return oldValue_.restore(attribute_, context.target);
}

void WriteOperation::clearFlags()
{
    attribute_->clearFlag(ElementFlag::kRecordedInItem);
}

// --- WriteArrayOperation ---

bool WriteArrayOperation::save(UndoItem& item)
{
    if (array_->getSize() == 0)
        return true;
    bytes_ = std::size_t{array_->getSize()} * ValueInfo::getStride(array_->getTypeId());
    oldValues_ = item.allocate(bytes_, alignof(std::max_align_t));
    if (oldValues_ == nullptr)
        return false;
    // No item of an array that could be locked takes its value from elsewhere, so the first one's value is the block.
    std::memcpy(oldValues_, array_->getAttribute(0)->getValue().getData(), bytes_);
    return true;
}

bool WriteArrayOperation::undo(const ReplayContext& context)
{
    void* values = nullptr;
    if (context.target.db_lockAttributeArray(array_, &values) != Status::kSuccess)
        return false;
    if (values != nullptr && bytes_ != 0)
        std::memcpy(values, oldValues_, bytes_);
    return context.target.db_unlockAttributeArray(array_) == Status::kSuccess;
}

// --- ResizeOperation ---

ResizeOperation::~ResizeOperation()
{
    for (unsigned int i = 0; i < savedCount_; ++i)
        saved_[i].~SavedValue();
}

bool ResizeOperation::save(UndoItem& item, unsigned int newSize)
{
    if (newSize >= oldSize_)
        return true;
    firstSaved_ = newSize;
    const std::size_t dropped = oldSize_ - newSize;
    if (dropped > std::numeric_limits<std::size_t>::max() / sizeof(SavedValue))
        return false;
    saved_ = static_cast<SavedValue*>(item.allocate(dropped * sizeof(SavedValue), alignof(SavedValue)));
    if (saved_ == nullptr)
        return false;
    for (; savedCount_ < dropped; ++savedCount_)
    {
        auto* const saved = ::new (saved_ + savedCount_) SavedValue;
        if (!saved->save(item, array_->getAttribute(newSize + savedCount_)->getValue()))
            return false;
    }
    return true;
}

bool ResizeOperation::undo(const ReplayContext& context)
{
    if (context.target.db_resizeAttributeArray(array_, oldSize_) != Status::kSuccess)
        return false;
    bool complete = true;
    for (unsigned int i = 0; i < savedCount_; ++i)
        complete = saved_[i].restore(array_->getAttribute(firstSaved_ + i), context.target) && complete;
    return complete;
}

} // namespace db2
