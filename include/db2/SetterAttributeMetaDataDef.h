#pragma once

#include <db2/ElementMetaDataDef.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>

#include <kqx/UnitType.h>

namespace db2 {

/// Base of the definitions of types that have a setter: a pointer of the host's that the library stores and never uses.
class DB2_API SetterAttributeMetaDataDef : public ElementMetaDataDef
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override;

    void setSetter(void* setter) { setter_ = setter; }
    [[nodiscard]] void* getSetter() const { return setter_; }

protected:
    using ElementMetaDataDef::ElementMetaDataDef;
    void doClear() override;

private:
    void* setter_ = nullptr;
};

/// Base of the definitions of types that also have a unit.
class DB2_API UnitAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override;

    void setUnitType(kqx::UnitType unitType) { unitType_ = unitType; }
    [[nodiscard]] kqx::UnitType getUnitType() const { return unitType_; }

protected:
    using SetterAttributeMetaDataDef::SetterAttributeMetaDataDef;
    void doClear() override;

private:
    kqx::UnitType unitType_ = kqx::kUnitNone;
};

} // namespace db2
