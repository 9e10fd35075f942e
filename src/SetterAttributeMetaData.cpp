#include <db2/SetterAttributeMetaData.h>

#include <db2/SetterAttributeMetaDataDef.h>

namespace db2 {

// --- SetterAttributeMetaData ---

SetterAttributeMetaData::SetterAttributeMetaData(const SetterAttributeMetaDataDef& definition, const wchar_t* name,
                                                 MemoryResource& resource)
    : ElementMetaData(definition, name, resource), setter_(definition.getSetter())
{
}

SetterAttributeMetaData::SetterAttributeMetaData(const SetterAttributeMetaData& source, MemoryResource& resource)
    : ElementMetaData(source, resource), setter_(source.setter_)
{
}

void SetterAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(SetterAttributeMetaData), alignof(SetterAttributeMetaData));
}

bool SetterAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other) && setter_ == static_cast<const SetterAttributeMetaData&>(other).setter_;
}

// --- UnitAttributeMetaData ---

UnitAttributeMetaData::UnitAttributeMetaData(const UnitAttributeMetaDataDef& definition, const wchar_t* name,
                                             MemoryResource& resource)
    : SetterAttributeMetaData(definition, name, resource), unitType_(definition.getUnitType())
{
}

UnitAttributeMetaData::UnitAttributeMetaData(const UnitAttributeMetaData& source, MemoryResource& resource)
    : SetterAttributeMetaData(source, resource), unitType_(source.unitType_)
{
}

void UnitAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(UnitAttributeMetaData), alignof(UnitAttributeMetaData));
}

bool UnitAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    return hasSameType(other) && unitType_ == static_cast<const UnitAttributeMetaData&>(other).unitType_ &&
           SetterAttributeMetaData::doCompare(other);
}

} // namespace db2
