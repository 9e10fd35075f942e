#include <db2/SetterAttributeMetaDataDef.h>

#include <db2/SetterAttributeMetaData.h>

#include "MetaDataBlock.h"

namespace db2 {

// --- SetterAttributeMetaDataDef ---

void SetterAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<SetterAttributeMetaData>(format);
}

void SetterAttributeMetaDataDef::doClear()
{
    ElementMetaDataDef::doClear();
    setter_ = nullptr;
}

// --- UnitAttributeMetaDataDef ---

void UnitAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<UnitAttributeMetaData>(format);
}

void UnitAttributeMetaDataDef::doClear()
{
    SetterAttributeMetaDataDef::doClear();
    unitType_ = kqx::kUnitNone;
}

} // namespace db2
