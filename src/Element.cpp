#include <db2/Element.h>

#include <db2/Node.h>

#include "ElementPosition.h"
#include "ElementRecords.h"

namespace db2 {
namespace {

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
        return indexOrZero(positionOf(this, node->extras_->legacyElements), node->extras_->legacyElements);
    if (!isDynamic())
        return indexOrZero(positionOf(this, node->extras_->unknownElements), node->extras_->unknownElements);
    const std::size_t position = positionOf(this, node->extras_->dynamicElements);
    const bool isThere = position < node->extras_->dynamicElements.size();
    return isThere ? node->getNodeTemplate()->getElementCount() + static_cast<unsigned int>(position) : 0;
}

} // namespace db2
