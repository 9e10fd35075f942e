// How values come and go: on the heap, in a block, and in storage of the caller's.

#include <db2/ValueHandle.h>

#include "../OutOfMemory.h"
#include "../ValueTypes.h"

#include <kqtl/Alloc.h>

#include <memory>
#include <new>
#include <type_traits>

namespace db2 {
namespace {

/// Makes a value in raw storage: a copy of @p from, or the type's default when it is null.
/// @return the storage; null when there is none or the type has no values, and when memory is out for what a value owns.
void* constructValue(AttributeTypeId typeId, void* storage, const void* from)
{
    if (storage == nullptr)
        return nullptr;
    return visitType(typeId, [=](auto type) -> void* {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return nullptr;
        else if (from == nullptr)
            return ::new (storage) T();
        else
            return succeeds([=] { ::new (storage) T(*static_cast<const T*>(from)); }) ? storage : nullptr;
    });
}

void* createOnHeap(AttributeTypeId typeId, const void* from)
{
    const std::size_t bytes = ValueInfo::getMemoryRequirements(typeId).size;
    if (bytes == 0)
        return nullptr;
    void* const storage = KQTLAlloc(bytes, ValueInfo::getStorageAlignment(typeId));
    void* const value = constructValue(typeId, storage, from);
    if (value == nullptr)
        KQTLFree(storage);
    return value;
}

void* createInBlock(AttributeTypeId typeId, MemoryResource& resource, const void* from)
{
    const std::size_t bytes = ValueInfo::getMemoryRequirements(typeId).size;
    if (bytes == 0)
        return nullptr;
    MemoryResource rest = resource;
    void* const value = constructValue(typeId, rest.take(bytes, ValueInfo::getStorageAlignment(typeId)), from);
    if (value != nullptr)
        resource = rest;
    return value;
}

} // namespace

// --- ValueHandle: values on the heap ---

void ValueHandle::create(AttributeTypeId typeId, ValueHandle& out)
{
    out = ValueHandle(createOnHeap(typeId, nullptr), typeId);
}

void ValueHandle::create(const ConstValueHandle& from, ValueHandle& out)
{
    out = create(from);
}

ValueHandle ValueHandle::create(const ConstValueHandle& from)
{
    return {from.isNull() ? nullptr : createOnHeap(from.getTypeId(), from.getData()), from.getTypeId()};
}

void ValueHandle::destroyAndFree()
{
    destroy();
    KQTLFree(value_);
    value_ = nullptr;
}

// --- ValueHandle: values in a block ---

void ValueHandle::create(AttributeTypeId typeId, MemoryResource& resource, ValueHandle* out)
{
    void* const value = createInBlock(typeId, resource, nullptr);
    if (out != nullptr)
        *out = ValueHandle(value, typeId);
}

void ValueHandle::create(const ConstValueHandle& from, MemoryResource& resource, ValueHandle* out)
{
    void* const value = from.isNull() ? nullptr : createInBlock(from.getTypeId(), resource, from.getData());
    if (out != nullptr)
        *out = ValueHandle(value, from.getTypeId());
}

ValueHandle ValueHandle::constructAt(void* storage, AttributeTypeId typeId)
{
    return {constructValue(typeId, storage, nullptr), typeId};
}

ValueHandle ValueHandle::constructAt(void* storage, const ConstValueHandle& from)
{
    return {from.isNull() ? nullptr : constructValue(from.getTypeId(), storage, from.getData()), from.getTypeId()};
}

void ValueHandle::init(AttributeTypeId typeId, ValueHandle& handle)
{
    if (ValueInfo::isPODType(typeId))
        constructValue(typeId, handle.value_, nullptr);
}

void ValueHandle::destroy()
{
    if (isNull())
        return;
    visitType(getTypeId(), [this](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (!std::is_void_v<T>)
            std::destroy_at(static_cast<T*>(value_));
    });
}

// --- DefaultValue ---

DefaultValue::DefaultValue(AttributeTypeId typeId)
{
    create(typeId, *this);
}

DefaultValue::DefaultValue(AttributeTypeId typeId, const ConstValueHandle& from) : DefaultValue(typeId)
{
    assign(from);
}

DefaultValue::DefaultValue(const DefaultValue& other) : DefaultValue(other.getTypeId(), other) {}

DefaultValue::~DefaultValue()
{
    destroyAndFree();
}

} // namespace db2
