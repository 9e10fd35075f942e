#include <db2/AttributeMetaDataDef.h>

#include <db2/AttributeMetaData.h>

#include "MetaDataBlock.h"

namespace db2 {

// --- Construction ---

IntAttributeMetaDataDef::IntAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kInt) {}
BoolAttributeMetaDataDef::BoolAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kBool) {}
ColourAttributeMetaDataDef::ColourAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kColour) {}
FloatAttributeMetaDataDef::FloatAttributeMetaDataDef() : UnitAttributeMetaDataDef(AttributeType::kFloat) {}
DoubleAttributeMetaDataDef::DoubleAttributeMetaDataDef() : UnitAttributeMetaDataDef(AttributeType::kDouble) {}
StringAttributeMetaDataDef::StringAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kString) {}
Vector3AttributeMetaDataDef::Vector3AttributeMetaDataDef() : UnitAttributeMetaDataDef(AttributeType::kVector3) {}
MatrixAttributeMetaDataDef::MatrixAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kMatrix) {}
QuatAttributeMetaDataDef::QuatAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kQuat) {}
NullAttributeMetaDataDef::NullAttributeMetaDataDef() : ElementMetaDataDef(AttributeType::kNull) {}
VertexBufferAttributeMetaDataDef::VertexBufferAttributeMetaDataDef() : ElementMetaDataDef(AttributeType::kVertexBuffer)
{
}
IntArrayAttributeMetaDataDef::IntArrayAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kIntArray) {}
BoolArrayAttributeMetaDataDef::BoolArrayAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kBoolArray)
{
}
ColourArrayAttributeMetaDataDef::ColourArrayAttributeMetaDataDef()
    : SetterAttributeMetaDataDef(AttributeType::kColourArray)
{
}
FloatArrayAttributeMetaDataDef::FloatArrayAttributeMetaDataDef() : UnitAttributeMetaDataDef(AttributeType::kFloatArray)
{
}
DoubleArrayAttributeMetaDataDef::DoubleArrayAttributeMetaDataDef()
    : UnitAttributeMetaDataDef(AttributeType::kDoubleArray)
{
}
StringArrayAttributeMetaDataDef::StringArrayAttributeMetaDataDef()
    : SetterAttributeMetaDataDef(AttributeType::kStringArray)
{
}
Vector3ArrayAttributeMetaDataDef::Vector3ArrayAttributeMetaDataDef()
    : UnitAttributeMetaDataDef(AttributeType::kVector3Array)
{
}
MatrixArrayAttributeMetaDataDef::MatrixArrayAttributeMetaDataDef()
    : SetterAttributeMetaDataDef(AttributeType::kMatrixArray)
{
}
QuatArrayAttributeMetaDataDef::QuatArrayAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kQuatArray)
{
}

// --- The records that they make ---

const ElementMetaData* IntAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<IntAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* BoolAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<BoolAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* ColourAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<ColourAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* FloatAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<FloatAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* DoubleAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<DoubleAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* StringAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<StringAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* Vector3AttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<Vector3AttributeMetaData>(*this, name, resource);
}

const ElementMetaData* MatrixAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<MatrixAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* QuatAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<QuatAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* NullAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<NullAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* VertexBufferAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                      MemoryResource& resource) const
{
    return make<VertexBufferAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* IntArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<IntArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* BoolArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<BoolArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* ColourArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                     MemoryResource& resource) const
{
    return make<ColourArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* FloatArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<FloatArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* DoubleArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                     MemoryResource& resource) const
{
    return make<DoubleArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* StringArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                     MemoryResource& resource) const
{
    return make<StringArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* Vector3ArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                      MemoryResource& resource) const
{
    return make<Vector3ArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* MatrixArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                     MemoryResource& resource) const
{
    return make<MatrixArrayAttributeMetaData>(*this, name, resource);
}

const ElementMetaData* QuatArrayAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    return make<QuatArrayAttributeMetaData>(*this, name, resource);
}

// --- Numbers ---

void IntAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<IntAttributeMetaData>(format);
}

void IntAttributeMetaDataDef::doClear()
{
    SetterAttributeMetaDataDef::doClear();
    clearLimits();
}

void FloatAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<FloatAttributeMetaData>(format);
}

void FloatAttributeMetaDataDef::doClear()
{
    UnitAttributeMetaDataDef::doClear();
    clearLimits();
}

void DoubleAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<DoubleAttributeMetaData>(format);
}

void DoubleAttributeMetaDataDef::doClear()
{
    UnitAttributeMetaDataDef::doClear();
    clearLimits();
}

} // namespace db2
