#include <db2/Element.h>

#include <db2/Node.h>

#include "ElementRecords.h"

namespace db2 {
namespace {

/// The position of @p element in @p list, or the list's size.
std::size_t positionFromBack(const kqtl::pod_vector<Element*>& list, const Element* element)
{
    for (std::size_t i = list.size(); i-- > 0;)
        if (list[i] == element)
            return i;
    return list.size();
}

std::size_t positionFromFront(const kqtl::pod_vector<Element*>& list, const Element* element)
{
    std::size_t i = 0;
    while (i < list.size() && list[i] != element)
        ++i;
    return i;
}

unsigned int indexOrZero(std::size_t position, const kqtl::pod_vector<Element*>& list)
{
    return position < list.size() ? static_cast<unsigned int>(position) : 0;
}

} // namespace

// --- Flags ---

bool Element::isLegacyElementHandled() const
{
    return hasFlag(ElementFlag::kLegacy | ElementFlag::kLegacyHandled);
}

void Element::setLegacyElementHandled()
{
    if (isLegacy())
        setFlag(ElementFlag::kLegacyHandled);
}

// --- Place ---

unsigned int Element::getIndex() const
{
    if (isAttributeArrayElement())
    {
        const std::byte* const record = reinterpret_cast<const std::byte*>(this);
        const auto* const block = reinterpret_cast<const AttributeBlock*>(record - ownerDistance_);
        const std::size_t position = (ownerDistance_ - kBlockHeaderBytes) / sizeof(Attribute);
        return block->firstIndex + static_cast<unsigned int>(position);
    }
    const Node* const node = getNode();
    if (!hasAnyFlag(kOwnBlock))
        return node->getNodeTemplate()->findElementAtOffset(ownerDistance_);
    if (node->extras_ == nullptr)
        return 0;
    if (isLegacy())
        return indexOrZero(positionFromFront(node->extras_->legacyElements, this), node->extras_->legacyElements);

    const kqtl::pod_vector<Element*>& elements = node->extras_->elements;
    const std::size_t position = isDynamic() ? positionFromBack(elements, this) : positionFromFront(elements, this);
    return position < elements.size() ? node->elementsInBlock() + static_cast<unsigned int>(position) : 0;
}

} // namespace db2
