#include <db2/ElementMetaData.h>

#include "MetaDataBlock.h"

#include <cwchar>

namespace db2 {
namespace {

/// Both absent, or both there and equal.
bool areSameTexts(const wchar_t* a, const wchar_t* b)
{
    return a == nullptr || b == nullptr ? a == b : std::wcscmp(a, b) == 0;
}

} // namespace

// --- Construction ---

ElementMetaData::ElementMetaData(const ElementMetaDataDef& definition, const wchar_t* name, MemoryResource& resource)
    : flags_(definition.getFlags() | (definition.isArray() ? ElementMetaDataFlag::kArray : 0)),
      connectionSetter_(definition.getConnectionSetter())
{
    setName(name);
    takeBlock(definition, resource);
}

ElementMetaData::ElementMetaData(const ElementMetaData& source, MemoryResource& resource)
    : flags_(source.flags_ & ~ElementMetaDataFlag::kComputed), connectionSetter_(source.connectionSetter_)
{
    setName(source.name_);
    takeBlock(source, resource);
}

template <class Source>
void ElementMetaData::takeBlock(const Source& source, MemoryResource& resource)
{
    const ConstValueHandle defaultValue = source.getDefaultValue();
    ValueHandle::create(defaultValue, resource, &defaultValue_);
    if (defaultValue_.isNull() && !defaultValue.isNull())
        throw std::bad_alloc();
    displayName_ = takeText(resource, source.getDisplayName());
    docString_ = takeText(resource, source.getDocString());
}

ElementMetaData::~ElementMetaData() = default;

void ElementMetaData::destroyInPlace(ElementMetaData* metaData)
{
    if (metaData == nullptr)
        return;
    metaData->defaultValue_.destroy();
    metaData->~ElementMetaData();
}

// --- Queries ---

void ElementMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(ElementMetaData), alignof(ElementMetaData));
}

void ElementMetaData::addBlock(MemoryFormat& format, std::size_t recordBytes, std::size_t recordAlignment) const
{
    format.add(recordBytes, std::max(recordAlignment, kBlockAlignment));
    addValue(format, getTypeId());
    addText(format, displayName_);
    addText(format, docString_);
}

bool ElementMetaData::compare(const ElementMetaData& other) const
{
    return std::wcscmp(name_, other.name_) == 0 && flags_ == other.flags_ &&
           areSameTexts(displayName_, other.displayName_) && areSameTexts(docString_, other.docString_) &&
           connectionSetter_ == other.connectionSetter_ && doCompare(other);
}

// --- What the database keeps here ---

void ElementMetaData::setName(const wchar_t* name)
{
    std::size_t characters = 0;
    if (name != nullptr)
    {
        for (; characters < kMaxNameCharacters && name[characters] != L'\0'; ++characters)
            name_[characters] = name[characters];
    }
    name_[characters] = L'\0';
}

void ElementMetaData::setComputeSet(unsigned int computeSet)
{
    computeSet_ = computeSet;
    flags_ |= ElementMetaDataFlag::kComputed;
}

void ElementMetaData::setOutputComputeSets(unsigned int first, unsigned int count)
{
    outputComputeSet_ = first;
    outputComputeSetSize_ = count;
}

} // namespace db2
