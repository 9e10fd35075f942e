#pragma once

#include <db2/ElementMetaData.h>
#include <db2/ElementMetaDataDef.h>
#include <db2/MemoryFormat.h>
#include <db2/ValueHandle.h>

#include "OutOfMemory.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

/// How the block of an element's metadata is laid out: the record, its default value, its display name and its
/// documentation, and what the record's class adds behind that. Every part is measured by one function here and taken by
/// its sister; a record's measuring and its constructor call them in the same order.
namespace db2 {

/// Records, texts and arrays of pointers stand at multiples of this, or more where the platform wants it.
inline constexpr std::size_t kBlockAlignment = 4;
inline constexpr std::size_t kPointerAlignment = std::max(alignof(const wchar_t*), kBlockAlignment);

/// @param text  null adds nothing.
void addText(MemoryFormat& format, const wchar_t* text);

/// @return the copy; null for a null text.
[[nodiscard]] const wchar_t* takeText(MemoryResource& resource, const wchar_t* text);

/// Several texts: an array of pointers to them, then the texts. None takes no room.
/// @param textAt  gives the text of an index; never null.
template <class TextAt>
void addTexts(MemoryFormat& format, unsigned int count, TextAt textAt)
{
    if (count == 0)
        return;
    format.add(count * sizeof(const wchar_t*), kPointerAlignment);
    for (unsigned int i = 0; i < count; ++i)
        addText(format, textAt(i));
}

/// @return the array; null when @p count is 0.
template <class TextAt>
[[nodiscard]] const wchar_t** takeTexts(MemoryResource& resource, unsigned int count, TextAt textAt)
{
    if (count == 0)
        return nullptr;
    void* const place = resource.take(count * sizeof(const wchar_t*), kPointerAlignment);
    assert(place != nullptr);
    auto* const texts = static_cast<const wchar_t**>(place);
    for (unsigned int i = 0; i < count; ++i)
        std::construct_at(texts + i, takeText(resource, textAt(i)));
    return texts;
}

void addValue(MemoryFormat& format, AttributeTypeId typeId);

/// True when @p source (a definition or a record) finds room at the cursor of @p resource for the record it describes.
template <class Source>
[[nodiscard]] bool hasRoom(const MemoryResource& resource, const Source& source)
{
    // Counting starts where the cursor stands between two multiples of more than the largest alignment, so that the
    // padding comes out as it will.
    constexpr std::uintptr_t kBoundary = 64;
    const auto start = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(resource.cursor) % kBoundary);
    MemoryFormat format{start, 0};
    source.Source::getMemoryRequirements(format); // what the constructor takes, not what an override measures
    return !format.isTooLarge() && format.size - start <= resource.remaining;
}

template <class MetaData, class Source, class... Arguments>
MetaData* ElementMetaData::makeInPlace(MemoryResource& resource, const Source& source, Arguments... arguments)
{
    if (!hasRoom(resource, source))
        return nullptr;
    MemoryResource rest = resource;
    void* const place = rest.take(sizeof(MetaData), std::max(alignof(MetaData), kBlockAlignment));
    MetaData* metaData = nullptr;
    if (place == nullptr || !succeeds([&] { metaData = ::new (place) MetaData(source, arguments..., rest); }))
        return nullptr;
    resource = rest;
    return metaData;
}

template <class MetaData>
void ElementMetaDataDef::addBlock(MemoryFormat& format) const
{
    format.add(sizeof(MetaData), std::max(alignof(MetaData), kBlockAlignment));
    addValue(format, getTypeId());
    addText(format, displayName_);
    addText(format, docString_);
}

template <class MetaData, class Definition>
const ElementMetaData* ElementMetaDataDef::make(const Definition& definition, const wchar_t* name,
                                                MemoryResource& resource)
{
    return ElementMetaData::makeInPlace<MetaData>(resource, definition, name);
}

} // namespace db2
