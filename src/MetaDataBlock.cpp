#include "MetaDataBlock.h"

#include <db2/ValueInfo.h>

#include <cstring>
#include <cwchar>

namespace db2 {
namespace {

std::size_t bytesOf(const wchar_t* text)
{
    return (std::wcslen(text) + 1) * sizeof(wchar_t);
}

} // namespace

void addText(MemoryFormat& format, const wchar_t* text)
{
    if (text != nullptr)
        format.add(bytesOf(text), kBlockAlignment);
}

const wchar_t* takeText(MemoryResource& resource, const wchar_t* text)
{
    if (text == nullptr)
        return nullptr;
    const std::size_t bytes = bytesOf(text);
    void* const place = resource.take(bytes, kBlockAlignment);
    assert(place != nullptr);
    return static_cast<const wchar_t*>(std::memcpy(place, text, bytes));
}

void addValue(MemoryFormat& format, AttributeTypeId typeId)
{
    format.add(ValueInfo::getMemoryRequirements(typeId).size, ValueInfo::getStorageAlignment(typeId));
}

} // namespace db2
