#include "OwnedMetaData.h"

#include <kqtl/Alloc.h>
#include <kqx/Utf16.h>

#include <cwchar>

namespace db2 {
namespace {

constexpr std::size_t kLongestElementName = 40;

/// The records are made here, in blocks of ours, so none of them is really constant; others get them as such.
ElementMetaData* writable(const ElementMetaData* metaData)
{
    return const_cast<ElementMetaData*>(metaData);
}

} // namespace

ElementMetaData* OwnedMetaData::make(const ElementMetaDataDef& definition, const wchar_t* name)
{
    MemoryFormat format;
    definition.getMemoryRequirements(format);
    void* const block = format.isTooLarge() ? nullptr : KQTLAlloc(format.size, format.alignment);
    if (block == nullptr)
        return nullptr;
    MemoryResource resource(block, format.size);
    ElementMetaData* const metaData = writable(definition.makeMetaData(name, resource));
    if (metaData == nullptr)
    {
        KQTLFree(block);
        return nullptr;
    }
    metaData->setName(name); // a definition that copies other metadata keeps that one's name
    return metaData;
}

void OwnedMetaData::free(const ElementMetaData* metaData)
{
    if (metaData == nullptr)
        return;
    ElementMetaData* const record = writable(metaData);
    ElementMetaData::destroyInPlace(record);
    KQTLFree(record); // it stands at the start of its block
}

void OwnedMetaData::rename(const ElementMetaData* metaData, const wchar_t* name)
{
    writable(metaData)->setName(name);
}

bool isElementNameTooLong(const wchar_t* name)
{
    return kqx::utf16Length(name, std::wcslen(name)) > kLongestElementName;
}

} // namespace db2
