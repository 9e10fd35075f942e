#pragma once

#include <db2/ElementMetaData.h>
#include <db2/EnumAttributeMetaData.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/NumberLimits.h>
#include <db2/SetterAttributeMetaData.h>

/// The metadata of each type, in the order of the type ids (Enum has a header of its own). What a class adds to its bases
/// is its type and its options.
namespace db2 {

class DoubleAttributeMetaDataDef;
class FloatAttributeMetaDataDef;
class IntAttributeMetaDataDef;

class DB2_API IntAttributeMetaData : public SetterAttributeMetaData, public NumberLimits<int>
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

protected:
    friend class ElementMetaData;

    IntAttributeMetaData(const IntAttributeMetaDataDef& definition, const wchar_t* name, MemoryResource& resource);
    IntAttributeMetaData(const IntAttributeMetaData& source, MemoryResource& resource);
};

class DB2_API BoolAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API ColourAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API FloatAttributeMetaData : public UnitAttributeMetaData, public NumberLimits<float>
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

protected:
    friend class ElementMetaData;

    FloatAttributeMetaData(const FloatAttributeMetaDataDef& definition, const wchar_t* name, MemoryResource& resource);
    FloatAttributeMetaData(const FloatAttributeMetaData& source, MemoryResource& resource);
};

class DB2_API DoubleAttributeMetaData : public UnitAttributeMetaData, public NumberLimits<double>
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

protected:
    friend class ElementMetaData;

    DoubleAttributeMetaData(const DoubleAttributeMetaDataDef& definition, const wchar_t* name,
                            MemoryResource& resource);
    DoubleAttributeMetaData(const DoubleAttributeMetaData& source, MemoryResource& resource);
};

class DB2_API StringAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API Vector3AttributeMetaData : public UnitAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using UnitAttributeMetaData::UnitAttributeMetaData;
};

class DB2_API MatrixAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API QuatAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API NullAttributeMetaData : public ElementMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

protected:
    using ElementMetaData::ElementMetaData;
};

class DB2_API VertexBufferAttributeMetaData : public ElementMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

protected:
    using ElementMetaData::ElementMetaData;
};

class DB2_API IntArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API BoolArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API ColourArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API FloatArrayAttributeMetaData : public UnitAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using UnitAttributeMetaData::UnitAttributeMetaData;
};

class DB2_API DoubleArrayAttributeMetaData : public UnitAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using UnitAttributeMetaData::UnitAttributeMetaData;
};

class DB2_API StringArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API Vector3ArrayAttributeMetaData : public UnitAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using UnitAttributeMetaData::UnitAttributeMetaData;
};

class DB2_API MatrixArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

class DB2_API QuatArrayAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;

protected:
    using SetterAttributeMetaData::SetterAttributeMetaData;
};

} // namespace db2
