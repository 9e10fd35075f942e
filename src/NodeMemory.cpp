#include "NodeMemory.h"

#include "ElementRecords.h"
#include "OutOfMemory.h"
#include "OwnedMetaData.h"

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace db2 {
namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

OwnElementHeader* headerOf(Element* element)
{
    std::byte* const record = reinterpret_cast<std::byte*>(element);
    return reinterpret_cast<OwnElementHeader*>(record - kOwnElementHeaderBytes);
}

} // namespace

// --- Nodes ---

/// The node's record in a block of the template's size; the elements behind it are still raw memory.
Node* NodeMemory::makeBlock(NodeTemplate& nodeTemplate)
{
    const MemoryFormat& format = nodeTemplate.getNodeMemoryRequirements();
    void* const block = KQTLAlloc(format.size, format.alignment);
    return block != nullptr ? ::new (block) Node(&nodeTemplate) : nullptr;
}

Node* NodeMemory::make(NodeTemplate& nodeTemplate)
{
    Node* const node = makeBlock(nodeTemplate);
    if (node == nullptr)
        return nullptr;
    if (!nodeTemplate.constructElements(reinterpret_cast<std::byte*>(node)))
    {
        node->~Node();
        KQTLFree(node);
        return nullptr;
    }
    nodeTemplate.addReference();
    return node;
}

Node* NodeMemory::makeUnknown(const wchar_t* typeName, const Module& module)
{
    NodeTemplate* nodeTemplate = nullptr;
    if (!succeeds([&] { nodeTemplate = new NodeTemplate(typeName, 0, module); }))
        return nullptr;
    Node* const node = makeBlock(*nodeTemplate);
    if (node == nullptr)
    {
        delete nodeTemplate;
        return nullptr;
    }
    nodeTemplate->addReference();
    return node;
}

void NodeMemory::free(Node* node)
{
    for (unsigned int i = 0; node->getEdgeCount() != 0 && i < node->elementsInBlock(); ++i)
        freeLinks(*node->getElement(i));
    for (const unsigned int index : node->template_->owningElements_)
        freeElementContents(*node->getElement(index));
    if (node->extras_ != nullptr)
    {
        for (Element* const element : node->extras_->unknownElements)
            freeElement(element);
        for (Element* const element : node->extras_->dynamicElements)
            freeElement(element);
        for (Element* const element : node->extras_->legacyElements)
            freeElement(element);
        node->extras_->~NodeExtras();
        KQTLFree(node->extras_);
    }
    node->dropChildIndex();
    NodeTemplate* const nodeTemplate = node->template_;
    const bool isUnknown = node->isUnknown();
    node->~Node();
    KQTLFree(node);
    nodeTemplate->removeReference();
    if (isUnknown) // its template is its own
        delete nodeTemplate;
}

// --- Elements with blocks of their own ---

Element* NodeMemory::makeElement(Node* node, AttributeTypeId typeId, bool isArray, const ConstValueHandle& defaultValue,
                                 std::uint32_t flags)
{
    MemoryFormat format;
    format.add(kOwnElementHeaderBytes, alignof(OwnElementHeader));
    if (isArray)
        format.add(sizeof(AttributeArray), alignof(AttributeArray));
    else
    {
        format.add(sizeof(Attribute), alignof(Attribute));
        format.add(ValueInfo::getMemoryRequirements(typeId).size, factsOf(typeId).storageAlignment);
    }
    auto* const block = static_cast<std::byte*>(KQTLAlloc(format.size, format.alignment));
    if (block == nullptr)
        return nullptr;
    ::new (block) OwnElementHeader{node};
    std::byte* const record = block + kOwnElementHeaderBytes;
    if (isArray)
        return ::new (record) AttributeArray(flags, kOwnElementHeaderBytes, nullptr);

    auto* const attribute = ::new (record) Attribute(flags, kOwnElementHeaderBytes, nullptr);
    const bool hasValue = typeId != AttributeType::kNull;
    if (hasValue && ValueHandle::constructAt(valueBehind(record, typeId), defaultValue).isNull())
    {
        KQTLFree(block);
        return nullptr;
    }
    return attribute;
}

void NodeMemory::freeElement(Element* element)
{
    freeElementContents(*element);
    // An unknown element's metadata is its private template's.
    if (element->hasAnyFlag(ElementFlag::kDynamic | ElementFlag::kLegacy))
        OwnedMetaData::free(element->getMetaData());
    KQTLFree(headerOf(element));
}

void NodeMemory::discardElement(Element* element, AttributeTypeId typeId)
{
    if (!element->isAttributeArray())
        ValueHandle(valueBehind(element, typeId), typeId).destroy();
    KQTLFree(headerOf(element));
}

/// Frees what the element owns beyond its record.
void NodeMemory::freeElementContents(Element& element)
{
    if (element.isAttributeArray())
        freeArrayStorage(static_cast<AttributeArray&>(element));
    else
        freeAttributeContents(static_cast<Attribute&>(element));
}

void NodeMemory::freeAttributeContents(Attribute& attribute)
{
    if (!factsOf(attribute.getTypeId()).isPlainData)
        attribute.private_getValue().destroy();
    freeLinks(attribute);
}

/// The record keeps its way to the metadata. Only freeing a whole tree comes here with references left.
void NodeMemory::freeLinks(Element& element)
{
    if (!element.hasFlag(ElementFlag::kHasLinks))
        return;
    ReferenceLinks* const links = element.links_;
    setMetaData(element, links->metaData);
    element.clearFlag(ElementFlag::kHasLinks);
    KQTLFree(links);
}

// --- Arrays ---

void NodeMemory::freeArrayStorage(AttributeArray& array)
{
    for (unsigned int i = 0; i < array.size_; ++i)
        freeAttributeContents(*array.items_[i]);
    while (AttributeBlock* const block = array.lastBlock_)
    {
        array.lastBlock_ = block->previous;
        KQTLFree(block);
    }
    KQTLFree(array.items_);
    KQTLFree(array.values_);
}

bool NodeMemory::prepareGrowth(const AttributeArray& array, std::uint64_t capacity, ArrayGrowth& growth)
{
    const AttributeTypeId typeId = array.getTypeId();
    const std::uint64_t valueBytes = capacity * factsOf(typeId).stride;
    const std::uint64_t newItems = capacity - array.capacity_;
    const std::uint64_t blockBytes = kBlockHeaderBytes + newItems * sizeof(Attribute);
    const std::uint64_t tableBytes = capacity * sizeof(Attribute*);
    if (std::max({valueBytes, blockBytes, tableBytes}) > kMostBytes)
        return false;

    const auto allocate = [](std::uint64_t bytes, std::size_t alignment) {
        return KQTLAlloc(static_cast<std::size_t>(bytes), alignment);
    };
    growth.values = allocate(valueBytes, factsOf(typeId).storageAlignment);
    growth.items = static_cast<Attribute**>(allocate(tableBytes, alignof(Attribute*)));
    growth.block = static_cast<AttributeBlock*>(allocate(blockBytes, alignof(AttributeBlock)));
    growth.capacity = static_cast<std::uint32_t>(capacity);
    if (growth.values != nullptr && growth.items != nullptr && growth.block != nullptr)
        return true;
    discardGrowth(growth);
    return false;
}

void NodeMemory::discardGrowth(const ArrayGrowth& growth)
{
    KQTLFree(growth.values);
    KQTLFree(growth.items);
    KQTLFree(growth.block);
}

void NodeMemory::commitGrowth(AttributeArray& array, const ArrayGrowth& growth)
{
    if (array.capacity_ != 0)
    {
        std::memcpy(growth.items, array.items_, array.capacity_ * sizeof(Attribute*));
        // Relocated, not copied: the value types allow it.
        const std::size_t stride = factsOf(array.getTypeId()).stride;
        std::memcpy(growth.values, array.values_, array.size_ * stride);
    }
    auto* const block = ::new (growth.block)
        AttributeBlock{&array, array.lastBlock_, array.capacity_, growth.capacity - array.capacity_};
    for (std::uint32_t i = 0; i < block->itemCount; ++i)
    {
        const auto ownerDistance = static_cast<std::uint32_t>(kBlockHeaderBytes + i * sizeof(Attribute));
        const std::uint32_t flags = ElementFlag::kArrayItem | ElementFlag::kDestroyed;
        growth.items[array.capacity_ + i] =
            ::new (block->items() + i) Attribute(flags, ownerDistance, array.getMetaData());
    }
    KQTLFree(array.items_);
    KQTLFree(array.values_);
    array.items_ = growth.items;
    array.values_ = growth.values;
    array.lastBlock_ = block;
    array.capacity_ = growth.capacity;
}

// --- Flags ---

bool NodeMemory::anyFlag(const Element& element, std::uint32_t mask)
{
    if (element.hasAnyFlag(mask))
        return true;
    if (!element.isAttributeArray())
        return false;
    const auto& array = static_cast<const AttributeArray&>(element);
    return std::any_of(array.items_, array.items_ + array.capacity_,
                       [mask](const Attribute* item) { return item->hasAnyFlag(mask); });
}

bool NodeMemory::anyElementFlag(const Node& node, std::uint32_t mask)
{
    // Every node that a commit frees is asked, so the elements in its block are read without a call each.
    const auto* const block = reinterpret_cast<const std::byte*>(&node);
    const unsigned int inBlock = node.elementsInBlock();
    for (unsigned int i = 0; i < inBlock; ++i)
    {
        const auto& element = *reinterpret_cast<const Element*>(block + node.template_->getElementOffset(i));
        if (element.hasAnyFlag(mask | ElementFlag::kArray) && anyFlag(element, mask))
            return true;
    }
    for (unsigned int i = inBlock, count = node.getElementCount(); i < count; ++i)
        if (anyFlag(*node.getElement(i), mask))
            return true;
    for (unsigned int i = 0, count = node.getLegacyElementCount(); i < count; ++i)
        if (anyFlag(*node.getLegacyElement(i), mask))
            return true;
    return false;
}

} // namespace db2
