#include <db2/AttributeMetaData.h>

#include <db2/AttributeMetaDataDef.h>

#include "MetaDataBlock.h"

namespace db2 {

// --- Copies ---

ElementMetaData* IntAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<IntAttributeMetaData>(resource, *this);
}

ElementMetaData* BoolAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<BoolAttributeMetaData>(resource, *this);
}

ElementMetaData* ColourAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<ColourAttributeMetaData>(resource, *this);
}

ElementMetaData* FloatAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<FloatAttributeMetaData>(resource, *this);
}

ElementMetaData* DoubleAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<DoubleAttributeMetaData>(resource, *this);
}

ElementMetaData* StringAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<StringAttributeMetaData>(resource, *this);
}

ElementMetaData* Vector3AttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<Vector3AttributeMetaData>(resource, *this);
}

ElementMetaData* MatrixAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<MatrixAttributeMetaData>(resource, *this);
}

ElementMetaData* QuatAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<QuatAttributeMetaData>(resource, *this);
}

ElementMetaData* NullAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<NullAttributeMetaData>(resource, *this);
}

ElementMetaData* VertexBufferAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<VertexBufferAttributeMetaData>(resource, *this);
}

ElementMetaData* IntArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<IntArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* BoolArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<BoolArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* ColourArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<ColourArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* FloatArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<FloatArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* DoubleArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<DoubleArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* StringArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<StringArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* Vector3ArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<Vector3ArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* MatrixArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<MatrixArrayAttributeMetaData>(resource, *this);
}

ElementMetaData* QuatArrayAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<QuatArrayAttributeMetaData>(resource, *this);
}

// --- Types without options ---

bool NullAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other);
}

bool VertexBufferAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other);
}

// --- Numbers ---

IntAttributeMetaData::IntAttributeMetaData(const IntAttributeMetaDataDef& definition, const wchar_t* name,
                                           MemoryResource& resource)
    : SetterAttributeMetaData(definition, name, resource), NumberLimits<int>(definition)
{
}

IntAttributeMetaData::IntAttributeMetaData(const IntAttributeMetaData& source, MemoryResource& resource)
    : SetterAttributeMetaData(source, resource), NumberLimits<int>(source)
{
}

void IntAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(IntAttributeMetaData), alignof(IntAttributeMetaData));
}

bool IntAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other) && hasSameLimits(static_cast<const IntAttributeMetaData&>(other)) &&
           SetterAttributeMetaData::doCompare(other);
}

FloatAttributeMetaData::FloatAttributeMetaData(const FloatAttributeMetaDataDef& definition, const wchar_t* name,
                                               MemoryResource& resource)
    : UnitAttributeMetaData(definition, name, resource), NumberLimits<float>(definition)
{
}

FloatAttributeMetaData::FloatAttributeMetaData(const FloatAttributeMetaData& source, MemoryResource& resource)
    : UnitAttributeMetaData(source, resource), NumberLimits<float>(source)
{
}

void FloatAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(FloatAttributeMetaData), alignof(FloatAttributeMetaData));
}

bool FloatAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other) && hasSameLimits(static_cast<const FloatAttributeMetaData&>(other)) &&
           UnitAttributeMetaData::doCompare(other);
}

DoubleAttributeMetaData::DoubleAttributeMetaData(const DoubleAttributeMetaDataDef& definition, const wchar_t* name,
                                                 MemoryResource& resource)
    : UnitAttributeMetaData(definition, name, resource), NumberLimits<double>(definition)
{
}

DoubleAttributeMetaData::DoubleAttributeMetaData(const DoubleAttributeMetaData& source, MemoryResource& resource)
    : UnitAttributeMetaData(source, resource), NumberLimits<double>(source)
{
}

void DoubleAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(DoubleAttributeMetaData), alignof(DoubleAttributeMetaData));
}

bool DoubleAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other) && hasSameLimits(static_cast<const DoubleAttributeMetaData&>(other)) &&
           UnitAttributeMetaData::doCompare(other);
}

} // namespace db2
