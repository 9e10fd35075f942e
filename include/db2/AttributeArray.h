#pragma once

#include <db2/Attribute.h>

namespace db2 {

struct AttributeBlock;

/// A resizable list of attributes of one type. Every index keeps its item for the life of the array: whoever holds item
/// 4 before a shrink and a growth holds item 4 after them. The items' values stand in one buffer at the type's stride.
class DB2_API AttributeArray : public Element
{
public:
    [[nodiscard]] unsigned int getSize() const { return size_; }

    /// How many items fit before the next growth allocates.
    [[nodiscard]] unsigned int getCapacity() const { return capacity_; }

    /// The item, or null when @p index is not below the size. Owned by the array.
    [[nodiscard]] Attribute* getAttribute(unsigned int index) const { return index < size_ ? items_[index] : nullptr; }

    [[nodiscard]] bool isLocked() const { return hasFlag(ElementFlag::kLocked); }

    /// The number of reference ends at items of this array.
    [[nodiscard]] unsigned int getReferenceCount() const { return referenceCount_; }

private:
    friend class Attribute;
    friend class CoreManager;
    friend class NodeMemory;
    friend class Element;
    friend class NodeTemplate;

    AttributeArray(std::uint32_t flags, std::uint32_t ownerDistance, const ElementMetaData* metaData)
        : Element(flags | ElementFlag::kArray, ownerDistance, metaData)
    {
    }

    AttributeBlock* lastBlock_ = nullptr; ///< the item records, newest block first; together capacity_ of them
    Attribute** items_ = nullptr;         ///< capacity_ pointers, each to its index's record
    void* values_ = nullptr;              ///< capacity_ x stride bytes; constructed values up to size_
    std::uint32_t referenceCount_ = 0;
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;
};

inline AttributeArray* Element::getParentArray() const
{
    return isAttributeArrayElement() ? static_cast<AttributeArray*>(getOwner()) : nullptr;
}

} // namespace db2
