#pragma once

#include <db2/MemoryFormat.h>
#include <db2/Node.h>

#include "NameIndex.h"
#include "ValueTypes.h"

#include <kqtl/pod_vector.h>

#include <cstddef>
#include <cstdint>
#include <optional>

/// The records behind nodes and elements that no host sees, and where values stand in relation to them.
namespace db2 {

/// What stands before an element that has a block of its own (dynamic, unknown and legacy ones). The element's owner
/// distance leads to `owner`.
struct OwnElementHeader
{
    Node* owner;
};

/// A block of item records of an attribute array: this header, then itemCount Attributes. A record is made with its
/// block and keeps its index for the life of the array; one beyond the array's size carries ElementFlag::kDestroyed.
struct AttributeBlock
{
    AttributeArray* array; ///< first, because the items' owner distance leads to it
    AttributeBlock* previous;
    std::uint32_t firstIndex;
    std::uint32_t itemCount;

    [[nodiscard]] Attribute* items();
};

inline constexpr std::size_t kBlockHeaderBytes = roundUp(sizeof(AttributeBlock), alignof(Attribute));
inline constexpr std::size_t kOwnElementHeaderBytes = roundUp(sizeof(OwnElementHeader), alignof(AttributeArray));

inline Attribute* AttributeBlock::items()
{
    return reinterpret_cast<Attribute*>(reinterpret_cast<std::byte*>(this) + kBlockHeaderBytes);
}

/// The value of an attribute that is no array item: behind its record, at the value's alignment.
[[nodiscard]] inline void* valueBehind(void* attributeRecord, AttributeTypeId typeId)
{
    const auto behind = reinterpret_cast<std::uintptr_t>(attributeRecord) + sizeof(Attribute);
    return reinterpret_cast<void*>(roundUp(behind, factsOf(typeId).storageAlignment));
}

/// What few nodes have, made when they first need it.
struct NodeExtras
{
    kqtl::pod_vector<Element*> unknownElements; ///< an unknown node's template elements
    kqtl::pod_vector<Element*> dynamicElements; ///< counted behind the template elements, known or unknown
    kqtl::pod_vector<Element*> legacyElements;
    std::optional<NameIndex> dynamicNames; ///< name hash to dynamic element; from the third dynamic element on
    std::optional<NameIndex> legacyNames;  ///< the same for legacy elements

    // Reserve first: what enters then needs no memory. @return false when memory is out.
    [[nodiscard]] bool reserveUnknownElement();
    [[nodiscard]] bool reserveLegacyElement();  ///< with its name
    [[nodiscard]] bool reserveDynamicElement(); ///< with its name
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(Node) == 60 && sizeof(Attribute) == 12 && sizeof(AttributeArray) == 36 &&
              sizeof(ReferenceLinks) == roundUp(20, alignof(ReferenceLinks)) + 8);
#else
static_assert(sizeof(Node) == 104 && sizeof(Attribute) == 16 && sizeof(AttributeArray) == 56 &&
              sizeof(ReferenceLinks) == 48);
#endif

} // namespace db2
