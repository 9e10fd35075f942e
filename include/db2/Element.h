#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/ElementMetaData.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/ValueHandle.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

class AttributeArray;
class Node;
struct ReferenceLinks;

/// What a node is made of: an Attribute (one typed value) or an AttributeArray (a resizable list of attributes of one
/// type, its items). Hosts read elements; every change goes through a DataInterface.
/// A record knows its owner by distance, not by pointer, so a node's template elements are the same bytes in every node
/// of the type and come into being by copying one image.
/// Lifetime: the node's, for dynamic elements until the commit after their destruction. Cost: constant time a query
/// unless it says otherwise.
class DB2_API Element
{
public:
    // --- Type ---

    [[nodiscard]] inline const ElementMetaData* getMetaData() const;
    [[nodiscard]] const wchar_t* getName() const { return getMetaData()->getName(); }
    [[nodiscard]] AttributeTypeId getTypeId() const { return getMetaData()->getTypeId(); }
    /// Null when there is none.
    [[nodiscard]] const wchar_t* getDocString() const { return getMetaData()->getDocString(); }
    [[nodiscard]] ConstValueHandle getDefaultValue() const { return getMetaData()->getDefaultValue(); }

    /// True when every bit of @p mask is set in the metadata's flags (ElementMetaDataFlag).
    [[nodiscard]] bool hasMetaDataFlag(std::uint32_t mask) const { return getMetaData()->hasFlag(mask); }

    // --- Flags (ElementFlag, and the host's own from registerElementFlagType) ---

    [[nodiscard]] std::uint32_t getFlags() const { return flags_; }
    [[nodiscard]] bool hasFlag(std::uint32_t mask) const { return (flags_ & mask) == mask; }
    [[nodiscard]] bool hasAnyFlag(std::uint32_t mask) const { return (flags_ & mask) != 0; }
    void setFlag(std::uint32_t mask) { flags_ |= mask; }
    void clearFlag(std::uint32_t mask) { flags_ &= ~mask; }

    [[nodiscard]] bool isAttributeArray() const { return hasFlag(ElementFlag::kArray); }
    [[nodiscard]] bool isAttributeArrayElement() const { return hasFlag(ElementFlag::kArrayItem); }
    [[nodiscard]] bool isDynamic() const { return hasFlag(ElementFlag::kDynamic); }
    [[nodiscard]] bool isUnknown() const { return hasFlag(ElementFlag::kUnknown); }
    [[nodiscard]] bool isLegacy() const { return hasFlag(ElementFlag::kLegacy); }
    [[nodiscard]] bool isComputed() const { return hasMetaDataFlag(ElementMetaDataFlag::kComputed); }

    /// False for an element that is not legacy, whatever was set.
    [[nodiscard]] bool isLegacyElementHandled() const;
    /// Does nothing on an element that is not legacy.
    void setLegacyElementHandled();

    // --- Place ---

    /// The node that the element, or the array whose item it is, belongs to.
    [[nodiscard]] inline Node* getNode() const;

    /// The array whose item this is, else null.
    [[nodiscard]] inline AttributeArray* getParentArray() const;

    /// True for a destroyed dynamic element, an item of one, and any element of a destroyed node.
    [[nodiscard]] inline bool isDestroyed() const;

    /// The position among the array's items, the node's elements or its legacy elements; 0 when it is not among them.
    /// Cost: constant for an item, logarithmic for a template element, else a scan.
    [[nodiscard]] unsigned int getIndex() const;

protected:
    /// @param ownerDistance  in bytes: of a template element to the start of its node, of any other to the pointer to
    ///                       its owner (the Node or, for an item, the AttributeArray).
    Element(std::uint32_t flags, std::uint32_t ownerDistance, const ElementMetaData* metaData)
        : flags_(flags), ownerDistance_(ownerDistance), metaData_(metaData)
    {
    }
    // Trivial, for records that come into being as copies of a template's image; nobody else copies elements.
    Element(const Element&) = default;
    Element& operator=(const Element&) = default;
    ~Element() = default;

private:
    friend class Attribute;
    friend class CoreManager;
    friend class NodeMemory;
    friend class NodeTemplate;

    /// Elements that do not stand in their node's block, and so have a pointer to their owner.
    static constexpr std::uint32_t kOwnBlock =
        ElementFlag::kArrayItem | ElementFlag::kDynamic | ElementFlag::kLegacy | ElementFlag::kUnknown;

    [[nodiscard]] inline void* getOwner() const;
    [[nodiscard]] inline const Element* getOutermost() const; ///< the array of an item, else itself

    std::uint32_t flags_;
    std::uint32_t ownerDistance_;
    union
    {
        const ElementMetaData* metaData_; ///< without ElementFlag::kHasLinks
        ReferenceLinks* links_;           ///< with it: the side record, which holds the metadata, too
    };
};

/// The side record of an attribute that takes part in references. Attributes get it with their first reference and lose
/// it with their last, so that the many that never take part in one do not carry it.
struct ReferenceLinks
{
    const ElementMetaData* metaData;
    class Attribute* referenced;         ///< the attribute that this one takes its value from, or null
    class Attribute* nextReferencer;     ///< the next in the list of those that reference `referenced`
    class Attribute* previousReferencer; ///< the one before; null for the head
    class Attribute* firstReferencer;    ///< head of the list of those that reference this one, newest first
    std::int64_t rank; ///< greater than that of `referenced`, always: tells most cycles without a walk
};

inline const ElementMetaData* Element::getMetaData() const
{
    return (flags_ & ElementFlag::kHasLinks) != 0 ? links_->metaData : metaData_;
}

inline void* Element::getOwner() const
{
    std::byte* const at = reinterpret_cast<std::byte*>(const_cast<Element*>(this)) - ownerDistance_;
    return (flags_ & kOwnBlock) != 0 ? *reinterpret_cast<void**>(at) : at;
}

} // namespace db2
