#include "ValueOperations.h"

#include "../ValueTypes.h"

#include <db2/AttributeArray.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace db2 {
namespace {

/// How values of a type stand side by side in an item's heap. A table, because it is asked for with every write.
struct SavedLayout
{
    std::size_t stride = 0; ///< 0 for a type without values
    std::size_t alignment = 1;
    bool isPlain = true;
};

constexpr auto kLayouts = [] {
    std::array<SavedLayout, kAttributeTypeCount> layouts;
    for (std::uint32_t type = 0; type < kAttributeTypeCount; ++type)
    {
        visitType(static_cast<AttributeTypeId>(type), [&layout = layouts[type]](auto tag) {
            using T = TypeOf<decltype(tag)>;
            if constexpr (!std::is_void_v<T>)
                layout = {sizeof(T), alignof(T), kIsPlainData<T>};
        });
    }
    return layouts;
}();

} // namespace

// --- SavedValues ---

SavedValues::~SavedValues()
{
    if (values_ == nullptr || kLayouts[typeId_].isPlain)
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
    const SavedLayout& layout = kLayouts[typeId_];
    if (layout.stride == 0 || count == 0)
        return true;
    if (count > std::numeric_limits<std::size_t>::max() / layout.stride)
        return false;
    values_ = static_cast<std::byte*>(item.allocate(count * layout.stride, layout.alignment));
    return values_ != nullptr;
}

bool SavedValues::add(const ConstValueHandle& value)
{
    if (values_ != nullptr && ValueHandle::constructAt(at(count_), value).isNull())
        return false;
    ++count_;
    return true;
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
    return values_ + index * kLayouts[typeId_].stride;
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
    oldValues_ = item.allocate(bytes(), ValueInfo::getStorageAlignment(array_->getTypeId()));
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
    return std::size_t{size_} * ValueInfo::getStride(array_->getTypeId());
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
