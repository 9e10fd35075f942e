#include "TreeModel.h"

#include <algorithm>
#include <utility>

namespace db2test {
namespace {

/// A vector's element at its place, given by value: the naive way to take it out.
template <class T>
std::unique_ptr<T> takeOut(std::vector<std::unique_ptr<T>>& from, const T& taken)
{
    const auto at = std::ranges::find_if(from, [&](const auto& owned) { return owned.get() == &taken; });
    std::unique_ptr<T> result = std::move(*at);
    from.erase(at);
    return result;
}

void insertChild(ModelNode& parent, ModelNode& node, const ModelNode* next)
{
    node.parent = &parent;
    parent.children.insert(std::ranges::find(parent.children, next), &node);
}

std::unique_ptr<ModelElement> makeElement(const ElementSpec& spec, ModelNode& node)
{
    auto element = std::make_unique<ModelElement>();
    element->node = &node;
    element->spec = spec;
    if (!spec.isArray)
        element->value = spec.defaultValue;
    return element;
}

/// A layer lists the element or an item of it.
bool isListed(const ModelElement& element)
{
    return element.listed || std::ranges::any_of(element.items, [](const auto& item) { return item->listed; });
}

bool isListed(const ModelNode& node)
{
    const auto listed = [](const auto& element) { return isListed(*element); };
    return node.listed || std::ranges::any_of(node.elements, listed) ||
           std::ranges::any_of(node.legacyElements, listed);
}

/// The name without its trailing run of digits, but with the zeros that lead the run (all but the last of a run of zeros).
std::wstring withoutNumber(const std::wstring& name)
{
    const std::size_t lastOther = name.find_last_not_of(L"0123456789");
    const std::size_t run = lastOther == std::wstring::npos ? 0 : lastOther + 1;
    if (run == name.size())
        return name;
    const std::size_t firstDigit = name.find_first_not_of(L'0', run);
    return name.substr(0, firstDigit == std::wstring::npos ? name.size() - 1 : firstDigit);
}

} // namespace

std::uint32_t modelHash(std::wstring_view name)
{
    std::vector<std::uint8_t> bytes;
    const auto putUnit = [&bytes](std::uint32_t unit) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    };
    for (const wchar_t character : name)
    {
        const auto code = static_cast<std::uint32_t>(character);
        if (code > 0xFFFF)
        {
            putUnit(0xD800 + ((code - 0x10000) >> 10));
            putUnit(0xDC00 + ((code - 0x10000) & 0x3FF));
        }
        else
            putUnit(code);
    }

    // MurmurHash2
    constexpr std::uint32_t kMultiplier = 0x5BD1E995;
    auto hash = static_cast<std::uint32_t>(0x8F5F144A ^ bytes.size());
    std::size_t at = 0;
    for (; at + 4 <= bytes.size(); at += 4)
    {
        std::uint32_t word = 0;
        for (std::size_t i = 4; i > 0; --i)
            word = word << 8 | bytes[at + i - 1];
        word *= kMultiplier;
        word ^= word >> 24;
        word *= kMultiplier;
        hash = hash * kMultiplier ^ word;
    }
    if (at < bytes.size()) // what is left over is half a word, because a unit has two bytes
    {
        hash ^= static_cast<std::uint32_t>(bytes[at + 1] << 8 | bytes[at]);
        hash *= kMultiplier;
    }
    hash ^= hash >> 13;
    hash *= kMultiplier;
    return hash ^ hash >> 15;
}

// --- Elements and nodes ---

bool ModelElement::takesPartInReferences() const
{
    return referenceEnds() > 0;
}

unsigned int ModelElement::referenceEnds() const
{
    auto ends = static_cast<unsigned int>(referencers.size()) + (referenced != nullptr ? 1u : 0u);
    for (const auto& item : items)
        ends += item->referenceEnds();
    return ends;
}

const ModelValue& ModelElement::readValue() const
{
    const ModelElement* end = this;
    while (end->referenced != nullptr)
        end = end->referenced;
    return end->isReleased() ? end->kind().defaultValue : end->value;
}

bool ModelElement::isReleased() const
{
    return array != nullptr && index >= array->size;
}

unsigned int ModelNode::templateElementCount() const
{
    const auto fixed = [](const auto& element) { return !element->dynamic; };
    return static_cast<unsigned int>(std::ranges::count_if(elements, fixed));
}

unsigned int ModelNode::edgeCount() const
{
    unsigned int count = 0;
    for (const auto& element : elements)
        count += element->referenceEnds();
    return count;
}

bool ModelNode::isBelow(const ModelNode& ancestor) const
{
    const ModelNode* walked = parent;
    while (walked != nullptr && walked != &ancestor)
        walked = walked->parent;
    return walked != nullptr;
}

std::size_t ModelNode::indexOf(const ModelNode& child) const
{
    return static_cast<std::size_t>(std::ranges::find(children, &child) - children.begin());
}

// --- Construction and queries ---

TreeModel::TreeModel(std::vector<NodeType> types, unsigned int rootTypeId) : types_(std::move(types))
{
    createNode(rootTypeId, L"Root", nullptr, nullptr);
}

const NodeType* TreeModel::findType(unsigned int typeId) const
{
    const auto at = std::ranges::find(types_, typeId, &NodeType::typeId);
    return at != types_.end() ? &*at : nullptr;
}

CoreManager::Statistics TreeModel::countStatistics() const
{
    CoreManager::Statistics counted;
    for (const auto& node : nodes_)
    {
        if (!node->isLive())
            continue;
        counted.nodes += 1;
        counted.unknownNodes += node->unknown ? 1u : 0u;
        counted.legacyNodes += node->legacy ? 1u : 0u;
        counted.elements += node->templateElementCount();
        counted.dynamicElements += static_cast<unsigned int>(node->elements.size()) - node->templateElementCount();
        counted.legacyElements += static_cast<unsigned int>(node->legacyElements.size());
        for (const auto& element : node->elements)
        {
            counted.references += element->referenced != nullptr ? 1u : 0u;
            for (const auto& item : element->items)
                counted.references += item->referenced != nullptr ? 1u : 0u;
        }
    }
    return counted;
}

unsigned int TreeModel::countNodes(unsigned int typeId) const
{
    const auto ofType = [typeId](const auto& node) { return !node->unknown && node->typeId == typeId; };
    return static_cast<unsigned int>(std::ranges::count_if(nodes_, ofType));
}

// --- Names ---

bool TreeModel::isChildNameFree(const ModelNode& parent, const std::wstring& name, const ModelNode* exclude)
{
    return std::ranges::none_of(parent.children, [&](const ModelNode* child) {
        return child != exclude && modelHash(child->name) == modelHash(name);
    });
}

bool TreeModel::isDynamicElementNameFree(const ModelNode& node, const std::wstring& name)
{
    return std::ranges::none_of(node.elements, [&](const auto& element) {
        return element->dynamic && modelHash(element->spec.name) == modelHash(name);
    });
}

bool TreeModel::isLegacyElementNameFree(const ModelNode& node, const std::wstring& name)
{
    return std::ranges::none_of(node.legacyElements,
                                [&](const auto& element) { return modelHash(element->spec.name) == modelHash(name); });
}

std::wstring TreeModel::uniqueName(const wchar_t* wanted, const ModelNode& node, const ModelNode& parent)
{
    std::wstring name = wanted != nullptr && *wanted != L'\0' ? std::wstring(wanted) : node.typeName;
    while (!isChildNameFree(parent, name, &node))
        name = withoutNumber(name) + std::to_wstring(static_cast<int>(nextUniqueNumber_++));
    return name;
}

// --- Nodes ---

ModelNode& TreeModel::createNode(unsigned int typeId, const wchar_t* name, ModelNode* parent, ModelNode* next)
{
    const NodeType& type = *findType(typeId);
    auto node = std::make_unique<ModelNode>();
    node->typeId = typeId;
    node->typeName = type.typeName;
    for (const ElementSpec& spec : type.elements)
        node->elements.push_back(makeElement(spec, *node));
    return addNode(name, parent, next, std::move(node));
}

ModelNode& TreeModel::createUnknownNode(const std::wstring& typeName, unsigned int typeId, const wchar_t* name,
                                        ModelNode* parent, ModelNode* next, bool legacy)
{
    auto node = std::make_unique<ModelNode>();
    node->typeId = typeId;
    node->typeName = typeName;
    node->unknown = true;
    node->legacy = legacy;
    return addNode(name, parent, next, std::move(node));
}

ModelNode& TreeModel::addNode(const wchar_t* name, ModelNode* parent, ModelNode* next, std::unique_ptr<ModelNode> made)
{
    ModelNode& node = *made;
    node.id = nextId_++;
    nodes_.push_back(std::move(made));
    enter(node, name, parent, next);
    return node;
}

void TreeModel::enter(ModelNode& node, const wchar_t* name, ModelNode* parent, ModelNode* next)
{
    node.destroyed = false;
    node.inUndo = false;
    if (&node == &root())
        node.name = name;
    else
    {
        ModelNode& place = parent != nullptr ? *parent : root();
        node.name = uniqueName(name, node, place);
        insertChild(place, node, next);
    }
    count(node, 1);
}

void TreeModel::count(const ModelNode& node, std::uint32_t change)
{
    statistics_.nodes += change;
    statistics_.unknownNodes += node.unknown ? change : 0;
    statistics_.legacyNodes += node.legacy ? change : 0;
    statistics_.elements += change * node.templateElementCount();
    statistics_.legacyElements += change * static_cast<std::uint32_t>(node.legacyElements.size());
}

void TreeModel::destroyLeafNode(ModelNode& node)
{
    std::erase(node.parent->children, &node);
    node.destroyed = true;
    count(node, static_cast<std::uint32_t>(-1));
}

void TreeModel::reparentNode(ModelNode& node, ModelNode& newParent, ModelNode* next, const wchar_t* name)
{
    std::erase(node.parent->children, &node);
    node.name = uniqueName(name != nullptr ? name : node.name.c_str(), node, newParent);
    insertChild(newParent, node, next);
}

void TreeModel::reorderNode(ModelNode& node, ModelNode* next)
{
    ModelNode& parent = *node.parent;
    std::erase(parent.children, &node);
    insertChild(parent, node, next);
}

// --- Elements ---

ModelElement& TreeModel::createDynamicElement(const ElementSpec& spec, ModelNode& node, ModelElement* next)
{
    destroyedElements_.push_back(makeElement(spec, node)); // comes in from there like one that undo gives back
    ModelElement& element = *destroyedElements_.back();
    element.dynamic = true;
    bringBackElement(element, next);
    return element;
}

void TreeModel::destroyDynamicElement(ModelElement& element)
{
    element.destroyed = true;
    destroyedElements_.push_back(takeOut(element.node->elements, element));
    statistics_.dynamicElements -= 1;
}

void TreeModel::resizeAttributeArray(ModelElement& array, unsigned int size)
{
    if (array.capacity < size)
        array.capacity = size + size / 2;
    for (unsigned int i = array.size; i < size; ++i)
    {
        if (i == array.items.size())
        {
            array.items.push_back(std::make_unique<ModelElement>());
            array.items[i]->array = &array;
            array.items[i]->index = i;
            array.items[i]->node = array.node;
            array.items[i]->legacy = array.legacy;
            array.items[i]->unknown = array.unknown;
        }
        array.items[i]->value = array.spec.defaultValue;
    }
    array.size = size;
}

ModelElement& TreeModel::createUnknownElement(const ElementSpec& spec, ModelNode& node)
{
    auto made = makeElement(spec, node);
    made->unknown = true;
    ModelElement& element = *made;
    node.elements.insert(node.elements.begin() + static_cast<std::ptrdiff_t>(node.templateElementCount()),
                         std::move(made));
    statistics_.elements += 1;
    return element;
}

ModelElement& TreeModel::createLegacyElement(const ElementSpec& spec, ModelNode& node)
{
    node.legacyElements.push_back(makeElement(spec, node));
    ModelElement& element = *node.legacyElements.back();
    element.legacy = true;
    statistics_.legacyElements += 1;
    return element;
}

void TreeModel::destroyLegacyElement(ModelElement& element)
{
    element.destroyed = true;
    destroyedElements_.push_back(takeOut(element.node->legacyElements, element));
    statistics_.legacyElements -= 1;
}

// --- References and locks ---

void TreeModel::createReference(ModelElement& referenced, ModelElement& referencer, bool singleOutput)
{
    referencer.referenced = &referenced;
    referencer.singleOutput = singleOutput;
    referenced.referencers.insert(referenced.referencers.begin(), &referencer);
    referencers_.push_back(&referencer);
    statistics_.references += 1;
}

void TreeModel::destroyReference(ModelElement& referencer)
{
    std::erase(referencer.referenced->referencers, &referencer);
    referencer.referenced = nullptr;
    referencer.singleOutput = false;
    std::erase(referencers_, &referencer);
    statistics_.references -= 1;
}

void TreeModel::lock(ModelElement& element)
{
    element.locked = true;
    locked_.push_back(&element);
}

void TreeModel::unlock(ModelElement& element)
{
    element.locked = false;
    std::erase(locked_, &element);
}

// --- Units of work ---

/// Destroyed nodes that a layer or undo holds, that belong to an element so held, or that are above one that stays.
std::set<const ModelNode*> TreeModel::destroyedNodesThatStay() const
{
    std::vector<const ModelNode*> open;
    for (const auto& node : nodes_)
    {
        if (node->destroyed && (node->inUndo || isListed(*node)))
            open.push_back(node.get());
    }
    for (const auto& element : destroyedElements_)
        open.push_back(element->node);

    std::set<const ModelNode*> stay;
    while (!open.empty())
    {
        const ModelNode* const node = open.back();
        open.pop_back();
        if (node->destroyed && stay.insert(node).second)
            open.push_back(node->parent);
    }
    return stay;
}

void TreeModel::commit()
{
    std::erase_if(destroyedElements_, [](const auto& element) { return !element->inUndo && !isListed(*element); });
    const std::set<const ModelNode*> stay = destroyedNodesThatStay();
    std::erase_if(nodes_, [&](const auto& node) { return node->destroyed && !stay.contains(node.get()); });
}

void TreeModel::clear()
{
    while (!referencers_.empty())
        destroyReference(*referencers_.back());
    for (const auto& node : nodes_)
    {
        while (node->isLive() && node->elements.size() > node->templateElementCount())
            destroyDynamicElement(*node->elements.back());
        if (node->isLive() && node.get() != &root())
        {
            node->children.clear();
            node->destroyed = true;
            count(*node, static_cast<std::uint32_t>(-1));
        }
    }
    root().children.clear();
    nextUniqueNumber_ = 0;
    commit();
}

// --- What undo holds ---

void TreeModel::archiveNode(ModelNode& node)
{
    destroyLeafNode(node);
    node.inUndo = true;
}

void TreeModel::bringBackNode(ModelNode& node, const wchar_t* name, ModelNode* parent, ModelNode* next)
{
    enter(node, name, parent, next);
}

void TreeModel::archiveElement(ModelElement& element)
{
    destroyDynamicElement(element);
    element.inUndo = true;
}

void TreeModel::bringBackElement(ModelElement& element, ModelElement* next)
{
    auto& elements = element.node->elements;
    const auto at = std::ranges::find_if(elements, [next](const auto& owned) { return owned.get() == next; });
    elements.insert(at, takeOut(destroyedElements_, element));
    element.destroyed = false;
    element.inUndo = false;
    statistics_.dynamicElements += 1;
}

} // namespace db2test
