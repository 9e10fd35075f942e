// The edits of dynamic, unknown and legacy elements, and of arrays.

#include <db2/CoreManager.h>

#include <db2/ElementMetaDataDef.h>
#include <db2/NameHash.h>

#include "../ElementPosition.h"
#include "../ElementRecords.h"
#include "../NodeMemory.h"
#include "../OutOfMemory.h"
#include "../OwnedMetaData.h"

#include <algorithm>
#include <cwchar>
#include <utility>

namespace db2 {
namespace {

/// An element that owns its metadata. @return null when memory is out.
Element* makeElementWithMetaData(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                 std::uint32_t flags)
{
    ElementMetaData* const metaData = OwnedMetaData::make(definition, name);
    if (metaData == nullptr)
        return nullptr;
    Element* const element =
        NodeMemory::makeElement(node, metaData->getTypeId(), definition.isArray(), metaData->getDefaultValue(), flags);
    if (element == nullptr)
        OwnedMetaData::free(metaData);
    else
        NodeMemory::setMetaData(*element, metaData);
    return element;
}

void eraseFrom(kqtl::pod_vector<Element*>& list, const Element* element)
{
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(positionOf(element, list)));
}

} // namespace

// --- Dynamic elements ---

Status CoreManager::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                            Element* next, Element** outElement)
{
    const Status status = canCreateDynamicElement(definition, name, node, next);
    if (status != Status::kSuccess)
        return status;
    NodeExtras* const extras = node->getOrMakeExtras();
    if (extras == nullptr || !extras->reserveDynamicElement())
        return Status::kFailure;
    Element* const element = pendingElement_ != nullptr
                                 ? bringBack(name)
                                 : makeElementWithMetaData(definition, name, node, ElementFlag::kDynamic);
    if (element == nullptr)
        return Status::kFailure;
    const std::size_t position = positionOf(next, extras->dynamicElements);
    extras->dynamicElements.insert(extras->dynamicElements.begin() + position, element);
    if (extras->dynamicNames)
        extras->dynamicNames->insert(hashName(name), element);
    ++statistics_.dynamicElements;
    if (outElement != nullptr)
        *outElement = element;
    return Status::kSuccess;
}

/// The element that undo gave back; it has kept its metadata and values.
Element* CoreManager::bringBack(const wchar_t* name)
{
    Element* const element = std::exchange(pendingElement_, nullptr);
    undo_cancelArchiveElement(*element);
    element->clearFlag(ElementFlag::kDestroyed);
    OwnedMetaData::rename(element->getMetaData(), name);
    return element;
}

Status CoreManager::db_destroyDynamicElement(Element* element)
{
    const Status status = canDestroyDynamicElement(element);
    if (status != Status::kSuccess)
        return status;
    if (!element->hasFlag(ElementFlag::kInUndo) && !reserveElementGarbage())
        return Status::kFailure;
    takeOut(*element);
    return Status::kSuccess;
}

/// Takes a dynamic element off its node; what undo holds is undo's, everything else is garbage. Needs room on the list.
void CoreManager::takeOut(Element& element)
{
    NodeExtras& extras = *element.getNode()->extras_;
    if (extras.dynamicNames)
        extras.dynamicNames->remove(hashName(element.getName()));
    eraseFrom(extras.dynamicElements, &element);
    element.setFlag(ElementFlag::kDestroyed);
    if (!element.hasFlag(ElementFlag::kInUndo))
        elementGarbage_.push_back(&element);
    --statistics_.dynamicElements;
}

Status CoreManager::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    const Status status = canRenameDynamicElement(element, name);
    if (status != Status::kSuccess || std::wcscmp(element->getName(), name) == 0)
        return status;
    NodeExtras& extras = *element->getNode()->extras_;
    if (extras.dynamicNames && !extras.dynamicNames->reserveInsert())
        return Status::kFailure;
    if (extras.dynamicNames)
        extras.dynamicNames->remove(hashName(element->getName()));
    OwnedMetaData::rename(element->getMetaData(), name);
    if (extras.dynamicNames)
        extras.dynamicNames->insert(hashName(name), element);
    return Status::kSuccess;
}

// --- Unknown elements ---

Status CoreManager::createUnknownElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                         Element** outElement)
{
    const Status status = checkUnknownElement(definition, name, node);
    if (status != Status::kSuccess)
        return status;
    NodeExtras* const extras = node->getOrMakeExtras();
    if (extras == nullptr || !extras->reserveUnknownElement())
        return Status::kFailure;
    Element* const element = NodeMemory::makeElement(node, definition.getTypeId(), definition.isArray(),
                                                     definition.getDefaultValue(), ElementFlag::kUnknown);
    if (element == nullptr)
        return Status::kFailure;

    NodeTemplate& nodeTemplate = *node->template_;
    unsigned int index = 0;
    nodeTemplate.removeReference(); // a template in use takes no attributes, but this one is the node's own
    const Status added = nodeTemplate.addAttribute(definition, name, &index);
    nodeTemplate.addReference();
    if (added != Status::kSuccess)
    {
        NodeMemory::discardElement(element, definition.getTypeId());
        return added;
    }
    NodeMemory::setMetaData(*element, nodeTemplate.getElementMetaData(index));
    extras->unknownElements.push_back(element);
    ++statistics_.elements;
    if (outElement != nullptr)
        *outElement = element;
    return Status::kSuccess;
}

// --- Legacy elements ---

Status CoreManager::createLegacyElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                        Element** outElement)
{
    const Status status = checkLegacyElement(definition, name, node);
    if (status != Status::kSuccess)
        return status;
    NodeExtras* const extras = node->getOrMakeExtras();
    if (extras == nullptr || !extras->reserveLegacyElement())
        return Status::kFailure;
    Element* const element = makeElementWithMetaData(definition, name, node, ElementFlag::kLegacy);
    if (element == nullptr)
        return Status::kFailure;
    extras->legacyElements.push_back(element);
    if (extras->legacyNames)
        extras->legacyNames->insert(hashName(name), element);
    ++statistics_.legacyElements;
    if (outElement != nullptr)
        *outElement = element;
    return Status::kSuccess;
}

Status CoreManager::destroyLegacyElement(Element* element)
{
    const Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (element == nullptr)
        return Status::kNullElementToDestroy;
    const bool isLive = !element->hasFlag(ElementFlag::kDestroyed) && !element->isDestroyed();
    if (!element->isLegacy() || element->isAttributeArrayElement() || !isLive || !reserveElementGarbage())
        return Status::kFailure;
    NodeExtras& extras = *element->getNode()->extras_;
    if (extras.legacyNames)
        extras.legacyNames->remove(hashName(element->getName()));
    eraseFrom(extras.legacyElements, element);
    element->setFlag(ElementFlag::kDestroyed);
    elementGarbage_.push_back(element);
    --statistics_.legacyElements;
    return Status::kSuccess;
}

// --- Arrays ---

Status CoreManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    const Status status = canResizeAttributeArray(array, size);
    if (status != Status::kSuccess)
        return status;
    if (size > array->size_)
        return growArray(*array, size);
    shrinkArray(*array, size);
    return Status::kSuccess;
}

/// The new values are made where they will stand before the array gets anything, so a growth that fails changes nothing.
Status CoreManager::growArray(AttributeArray& array, unsigned int size)
{
    NodeMemory::ArrayGrowth growth;
    const bool needsRoom = size > array.capacity_;
    if (needsRoom && !NodeMemory::prepareGrowth(array, std::uint64_t{size} + size / 2, growth))
        return Status::kFailure;
    if (!makeValues(array, size, static_cast<std::byte*>(needsRoom ? growth.values : array.values_)))
    {
        NodeMemory::discardGrowth(growth);
        return Status::kFailure;
    }
    if (needsRoom)
        NodeMemory::commitGrowth(array, growth);
    wakeItems(array, size);
    return Status::kSuccess;
}

/// Constructs the values from the array's size up to @p size. @return false, making none, when memory is out.
bool CoreManager::makeValues(const AttributeArray& array, unsigned int size, std::byte* values)
{
    const AttributeTypeId typeId = array.getTypeId();
    if (typeId == AttributeType::kNull)
        return true;
    const std::size_t stride = ValueInfo::getStride(typeId);
    for (unsigned int i = array.size_; i < size; ++i)
    {
        if (!ValueHandle::constructAt(values + i * stride, array.getDefaultValue()).isNull())
            continue;
        while (i-- > array.size_)
            ValueHandle(values + i * stride, typeId).destroy();
        return false;
    }
    return true;
}

/// Brings the items up to the new size to life. Their records are there; they get fresh flags, but keep what layers have
/// noted on them, because the layers still have them on their lists.
void CoreManager::wakeItems(AttributeArray& array, unsigned int size)
{
    constexpr std::uint32_t kNotedByLayers = ElementFlag::kListedByLayer | ElementFlag::kRecordedInItem;
    const std::uint32_t flags =
        ElementFlag::kArrayItem | (array.getFlags() & (ElementFlag::kLegacy | ElementFlag::kUnknown));
    for (unsigned int i = array.size_; i < size; ++i)
    {
        Attribute& item = *array.items_[i];
        item.flags_ = flags | (item.flags_ & kNotedByLayers);
    }
    array.size_ = size;
}

/// The capacity and the records stay, so a later growth reuses them.
void CoreManager::shrinkArray(AttributeArray& array, unsigned int size)
{
    const bool ownsMemory = !ValueInfo::isPODType(array.getTypeId());
    for (unsigned int i = size; i < array.size_; ++i)
    {
        if (ownsMemory)
            array.items_[i]->private_getValue().destroy();
        array.items_[i]->setFlag(ElementFlag::kDestroyed);
    }
    array.size_ = size;
}

} // namespace db2
