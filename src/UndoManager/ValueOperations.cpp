#include "ValueOperations.h"

#include "../ValueTypes.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

namespace db2 {
namespace {

// --- One saved value, in raw storage ---

/// Most values are of four bytes, which need no call.
void copyPlain(void* to, const void* from, std::size_t bytes)
{
    if (bytes == sizeof(std::uint32_t))
        std::memcpy(to, from, sizeof(std::uint32_t));
    else
        std::memcpy(to, from, bytes);
}

bool isPlainOfType(const ConstValueHandle& value, AttributeTypeId typeId)
{
    return value.getTypeId() == typeId && factsOf(typeId).isPlainData && !value.isNull();
}

void endValue(void* place, AttributeTypeId typeId)
{
    if (!factsOf(typeId).isPlainData)
        visitType(typeId, [place](auto type) {
            using T = TypeOf<decltype(type)>;
            if constexpr (!std::is_void_v<T>)
                std::destroy_at(static_cast<T*>(place));
        });
}

/// Makes what @p value reads as in the type. @return false, making nothing, when memory is out.
bool saveValue(void* place, AttributeTypeId typeId, const ConstValueHandle& value)
{
    if (isPlainOfType(value, typeId))
    {
        copyPlain(place, value.getData(), factsOf(typeId).size);
        return true;
    }
    // What an attribute shows may be of another type: that of the attribute which it references.
    const bool isOfType = value.getTypeId() == typeId;
    ValueHandle saved = isOfType ? ValueHandle::constructAt(place, value) : ValueHandle::constructAt(place, typeId);
    if (saved.isNull())
        return false;
    if (isOfType || saved.assign(value))
        return true;
    saved.destroy();
    return false;
}

/// Writes a value back through an interface. @param saved  null when the type has no values.
/// @return false when a step is refused or memory is out.
bool restoreValue(const void* saved, AttributeTypeId typeId, Attribute* attribute, DataInterface& target)
{
    ValueHandle handle;
    if (target.db_lockAttribute(attribute, &handle) != Status::kSuccess)
        return false;
    bool isRestored = true;
    if (saved != nullptr && isPlainOfType(handle, typeId))
        copyPlain(handle.getData(), saved, factsOf(typeId).size);
    else if (saved != nullptr)
        isRestored = handle.assign(ConstValueHandle(saved, typeId));
    return target.db_unlockAttribute(attribute) == Status::kSuccess && isRestored;
}

} // namespace

// --- SavedValues ---

SavedValues::~SavedValues()
{
    if (values_ == nullptr || factsOf(typeId_).isPlainData)
        return;
    for (unsigned int i = 0; i < count_; ++i)
        endValue(at(i), typeId_);
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
    if (values_ != nullptr && !saveValue(at(count_), typeId_, value))
        return false;
    ++count_;
    return true;
}

bool SavedValues::restore(unsigned int index, Attribute* attribute, DataInterface& target) const
{
    return restoreValue(values_ != nullptr ? at(index) : nullptr, typeId_, attribute, target);
}

void* SavedValues::at(unsigned int index) const
{
    return values_ + std::size_t{index} * factsOf(typeId_).stride;
}

// --- WriteOperation ---

static_assert(kAttributeTypeCount < 0xFF, "a type's number fits into a byte");

WriteOperation::WriteOperation(Attribute& attribute, Duty duties)
    : OperationOn(&attribute, duties), typeId_(static_cast<std::uint8_t>(attribute.getTypeId()))
{
}

WriteOperation* WriteOperation::make(UndoItem& item, Attribute& attribute, const ConstValueHandle& value)
{
    const TypeFacts& facts = factsOf(attribute.getTypeId());
    std::size_t bytes = sizeof(WriteOperation);
    std::size_t alignment = alignof(WriteOperation);
    if (facts.size > sizeof smallValue_)
    {
        alignment = std::max<std::size_t>(alignment, facts.storageAlignment);
        bytes = roundUp(bytes, facts.storageAlignment) + facts.size;
    }
    void* const place = item.allocate(bytes, alignment);
    if (place == nullptr)
        return nullptr;
    const Duty duties = facts.isPlainData || facts.size == 0 ? kMarks : kMarksAndOwns;
    auto* const operation = ::new (place) WriteOperation(attribute, duties);
    if (facts.size != 0 && !saveValue(operation->oldValue(), operation->typeId(), value))
        return nullptr; // it has nothing yet to give back
    attribute.setFlag(ElementFlag::kRecordedInItem);
    return operation;
}

WriteOperation::~WriteOperation()
{
    if (has(kOwns))
        endValue(oldValue(), typeId());
}

/// Null for a type without values.
void* WriteOperation::oldValue()
{
    const TypeFacts& facts = factsOf(typeId());
    if (facts.size <= sizeof smallValue_)
        return facts.size != 0 ? smallValue_ : nullptr;
    return reinterpret_cast<std::byte*>(this) + roundUp(sizeof(WriteOperation), facts.storageAlignment);
}

bool WriteOperation::undo(DataInterface& target, CoreManager&)
{
    return restoreValue(oldValue(), typeId(), subject(), target);
}

void WriteOperation::clearFlags()
{
    subject()->clearFlag(ElementFlag::kRecordedInItem);
}

// --- WriteArrayOperation ---

bool WriteArrayOperation::save(UndoItem& item)
{
    if (bytes() == 0)
        return true;
    oldValues_ = item.allocate(bytes(), factsOf(subject()->getTypeId()).storageAlignment);
    if (oldValues_ == nullptr)
        return false;
    // No item of an array that could be locked takes its value from elsewhere, so the first one's value is the block.
    std::memcpy(oldValues_, subject()->getAttribute(0)->getValue().getData(), bytes());
    return true;
}

bool WriteArrayOperation::undo(DataInterface& target, CoreManager&)
{
    // Of another size only when the inverse of a resize failed before.
    void* values = nullptr;
    if (subject()->getSize() != size_ || target.db_lockAttributeArray(subject(), &values) != Status::kSuccess)
        return false;
    if (oldValues_ != nullptr)
        std::memcpy(values, oldValues_, bytes());
    return target.db_unlockAttributeArray(subject()) == Status::kSuccess;
}

std::size_t WriteArrayOperation::bytes() const
{
    return std::size_t{size_} * factsOf(subject()->getTypeId()).stride;
}

// --- ResizeOperation ---

constexpr std::uint32_t kLoadState = ElementFlag::kLoaded | ElementFlag::kValueLoaded;
static_assert(kLoadState <= 0xFFFF);

bool ResizeOperation::save(UndoItem& item, unsigned int newSize)
{
    if (newSize >= oldSize_)
        return true;
    if (!dropped_.reserve(item, oldSize_ - newSize))
        return false;
    for (unsigned int i = newSize; i < oldSize_; ++i)
    {
        if (!dropped_.add(subject()->getAttribute(i)->getValue()))
            return false;
    }
    return !subject()->isUnknown() || saveLoadStates(item, newSize);
}

/// @return false when memory is out.
bool ResizeOperation::saveLoadStates(UndoItem& item, unsigned int newSize)
{
    const std::size_t bytes = std::size_t{oldSize_ - newSize} * sizeof(std::uint16_t);
    loadStates_ = static_cast<std::uint16_t*>(item.allocate(bytes, alignof(std::uint16_t)));
    for (unsigned int i = newSize; loadStates_ != nullptr && i < oldSize_; ++i)
        loadStates_[i - newSize] = static_cast<std::uint16_t>(subject()->getAttribute(i)->getFlags() & kLoadState);
    return loadStates_ != nullptr;
}

bool ResizeOperation::undo(DataInterface& target, CoreManager&)
{
    if (target.db_resizeAttributeArray(subject(), oldSize_) != Status::kSuccess)
        return false;
    const unsigned int firstDropped = oldSize_ - dropped_.count();
    bool complete = true;
    for (unsigned int i = 0; i < dropped_.count(); ++i)
    {
        Attribute* const item = subject()->getAttribute(firstDropped + i);
        complete = dropped_.restore(i, item, target) && complete;
        if (loadStates_ != nullptr)
            item->setFlag(loadStates_[i]);
    }
    return complete;
}

} // namespace db2
