#pragma once

#include <db2/ElementMetaData.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>

#include <kqx/UnitType.h>

namespace db2 {

class SetterAttributeMetaDataDef;
class UnitAttributeMetaDataDef;

/// Base of the types that have a setter: a pointer of the host's that the library stores, copies and compares, and never
/// uses.
class DB2_API SetterAttributeMetaData : public ElementMetaData
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

    [[nodiscard]] void* getSetter() const { return setter_; }
    void setSetter(void* setter) { setter_ = setter; }

protected:
    friend class ElementMetaData;

    SetterAttributeMetaData(const SetterAttributeMetaDataDef& definition, const wchar_t* name,
                            MemoryResource& resource);
    SetterAttributeMetaData(const SetterAttributeMetaData& source, MemoryResource& resource);

private:
    void* setter_;
};

/// Base of the types that also have a unit.
class DB2_API UnitAttributeMetaData : public SetterAttributeMetaData
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

    [[nodiscard]] kqx::UnitType getUnitType() const { return unitType_; }

protected:
    friend class ElementMetaData;

    UnitAttributeMetaData(const UnitAttributeMetaDataDef& definition, const wchar_t* name, MemoryResource& resource);
    UnitAttributeMetaData(const UnitAttributeMetaData& source, MemoryResource& resource);

private:
    kqx::UnitType unitType_;
};

} // namespace db2
