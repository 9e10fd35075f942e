#include <db2/ElementMetaDataDef.h>

#include "MetaDataBlock.h"

namespace db2 {

// --- ElementMetaDataDef ---

ElementMetaDataDef::ElementMetaDataDef(AttributeTypeId typeId)
    : defaultValue_(ValueHandle::constructAt(storage_, typeId))
{
}

ElementMetaDataDef::~ElementMetaDataDef()
{
    defaultValue_.destroy();
}

void ElementMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<ElementMetaData>(format);
}

ConstValueHandle ElementMetaDataDef::getDefaultValue() const
{
    return defaultValue_;
}

void ElementMetaDataDef::clear()
{
    displayName_ = nullptr;
    docString_ = nullptr;
    flags_ = 0;
    isArray_ = false;
    connectionSetter_ = nullptr;
    doClear();
}

void ElementMetaDataDef::doClear()
{
    defaultValue_.clearToDefault();
}

bool ElementMetaDataDef::assignDefaultValue(const void* value)
{
    return defaultValue_.assign(ConstValueHandle(value, defaultValue_.getTypeId()));
}

// --- ElementMetaDataCopier ---

ElementMetaDataCopier::ElementMetaDataCopier(const ElementMetaData& source)
    : ElementMetaDataDef(AttributeType::kNoType), source_(source)
{
    setArray(source.isAttributeArray());
}

void ElementMetaDataCopier::getMemoryRequirements(MemoryFormat& format) const
{
    source_.getMemoryRequirements(format);
}

const ElementMetaData* ElementMetaDataCopier::makeMetaData(const wchar_t*, MemoryResource& resource) const
{
    return source_.clone(resource);
}

ConstValueHandle ElementMetaDataCopier::getDefaultValue() const
{
    return source_.getDefaultValue();
}

} // namespace db2
