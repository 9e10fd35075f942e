#include <db2/Attribute.h>

#include <db2/AttributeArray.h>
#include <db2/ElementMetaData.h>
#include <db2/Node.h>

#include "ElementRecords.h"

namespace db2 {
namespace {

/// Where an item's value stands among the values of its array.
KQ_NOINLINE void* itemValue(const Attribute& item, void* values)
{
    return static_cast<std::byte*>(values) + std::size_t{item.getIndex()} * ValueInfo::getStride(item.getTypeId());
}

} // namespace

ConstValueHandle Attribute::getValue() const
{
    const Attribute* source = this;
    while (const Attribute* const referenced = source->getReference())
        source = referenced;

    const bool isReleasedItem = source->hasFlag(ElementFlag::kArrayItem | ElementFlag::kDestroyed);
    if (isReleasedItem) // it has no value of its own any more
        return source->getDefaultValue();
    return source->private_getValue();
}

bool Attribute::referentIsSingle() const
{
    const Attribute* const newest = getReferents();
    return newest != nullptr && newest->referenceIsSingle();
}

ValueHandle Attribute::private_getValue() const
{
    const AttributeTypeId typeId = getTypeId();
    if (typeId == AttributeType::kNull)
        return ValueHandle(nullptr, typeId);
    if (const AttributeArray* const array = getParentArray())
        return ValueHandle(itemValue(*this, array->values_), typeId);
    return ValueHandle(valueBehind(const_cast<Attribute*>(this), typeId), typeId);
}

} // namespace db2
