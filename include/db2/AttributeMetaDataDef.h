#pragma once

#include <db2/ElementMetaDataDef.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/NumberLimits.h>
#include <db2/SetterAttributeMetaDataDef.h>

/// The definition of each type, in the order of the type ids (Enum has a header of its own).
/// A fresh definition has the type's default value, no limits, no unit, no setter. Where setDefaultValue() returns a
/// bool, false means that memory was out and the default value is what it was.
namespace db2 {

class DB2_API IntAttributeMetaDataDef : public SetterAttributeMetaDataDef, public NumberLimitsDef<int>
{
public:
    IntAttributeMetaDataDef();
    void getMemoryRequirements(MemoryFormat& format) const override;
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(int value) { assignDefaultValue(&value); }

protected:
    void doClear() override;
};

class DB2_API BoolAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    BoolAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(bool value) { assignDefaultValue(&value); }
};

class DB2_API ColourAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    ColourAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(const kqx::Colour& value) { assignDefaultValue(&value); }
};

class DB2_API FloatAttributeMetaDataDef : public UnitAttributeMetaDataDef, public NumberLimitsDef<float>
{
public:
    FloatAttributeMetaDataDef();
    void getMemoryRequirements(MemoryFormat& format) const override;
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(float value) { assignDefaultValue(&value); }

protected:
    void doClear() override;
};

class DB2_API DoubleAttributeMetaDataDef : public UnitAttributeMetaDataDef, public NumberLimitsDef<double>
{
public:
    DoubleAttributeMetaDataDef();
    void getMemoryRequirements(MemoryFormat& format) const override;
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(double value) { assignDefaultValue(&value); }

protected:
    void doClear() override;
};

class DB2_API StringAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    StringAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::String& value) { return assignDefaultValue(&value); }
};

class DB2_API Vector3AttributeMetaDataDef : public UnitAttributeMetaDataDef
{
public:
    Vector3AttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(const kqx::Vector3& value) { assignDefaultValue(&value); }
};

class DB2_API MatrixAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    MatrixAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(const kqx::Matrix& value) { assignDefaultValue(&value); }
};

class DB2_API QuatAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    QuatAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    void setDefaultValue(const kqx::Quat& value) { assignDefaultValue(&value); }
};

class DB2_API NullAttributeMetaDataDef : public ElementMetaDataDef
{
public:
    NullAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
};

class DB2_API VertexBufferAttributeMetaDataDef : public ElementMetaDataDef
{
public:
    VertexBufferAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::VertexBuffer& value) { return assignDefaultValue(&value); }
};

class DB2_API IntArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    IntArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::IntArray& value) { return assignDefaultValue(&value); }
};

class DB2_API BoolArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    BoolArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::BoolArray& value) { return assignDefaultValue(&value); }
};

class DB2_API ColourArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    ColourArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::ColourArray& value) { return assignDefaultValue(&value); }
};

class DB2_API FloatArrayAttributeMetaDataDef : public UnitAttributeMetaDataDef
{
public:
    FloatArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::FloatArray& value) { return assignDefaultValue(&value); }
};

class DB2_API DoubleArrayAttributeMetaDataDef : public UnitAttributeMetaDataDef
{
public:
    DoubleArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::DoubleArray& value) { return assignDefaultValue(&value); }
};

class DB2_API StringArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    StringArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::StringArray& value) { return assignDefaultValue(&value); }
};

class DB2_API Vector3ArrayAttributeMetaDataDef : public UnitAttributeMetaDataDef
{
public:
    Vector3ArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::Vector3Array& value) { return assignDefaultValue(&value); }
};

class DB2_API MatrixArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    MatrixArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::MatrixArray& value) { return assignDefaultValue(&value); }
};

class DB2_API QuatArrayAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    QuatArrayAttributeMetaDataDef();
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    bool setDefaultValue(const kqx::QuatArray& value) { return assignDefaultValue(&value); }
};

} // namespace db2
