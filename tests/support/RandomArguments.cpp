#include "RandomArguments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace db2test {
namespace {

/// How often a draw that may find nothing is tried again.
constexpr int kTries = 16;

/// Names that end in every kind of number, share a hash, are no ASCII, or are a type's.
const std::wstring kNodeNames[] = {L"Box", L"Box0",  L"Box12", L"Box007", L"Box00", L"Box10",      L"9",      L"000",
                                   L"007", L"Plain", L"a",     L"b",      L"c",     L"\U0001f600", L"\u4e2d1"};

const std::wstring kElementNames[] = {L"size", L"label", L"Int", L"Float", L"x", L"y", L"z", L"w", L"u", L"\u4e2d"};

ModelElement* itemOf(const ModelElement& array, Random& random)
{
    return array.size > 0 ? array.items[random.below(array.size)].get() : nullptr;
}

} // namespace

std::string NameArgument::describe() const
{
    return isNull ? "null" : ::testing::PrintToString(text);
}

const std::pair<std::wstring, std::wstring>& namesOfOneHash()
{
    // By the birthday paradox some ten thousands of names hold a pair.
    static const std::pair<std::wstring, std::wstring> kPair = [] {
        std::unordered_map<std::uint32_t, std::wstring> byHash;
        for (unsigned int number = 0;; ++number)
        {
            std::wstring name = L"q" + std::to_wstring(number) + L"x"; // no trailing digits for the unique-name rule
            const auto [at, isNew] = byHash.emplace(modelHash(name), name);
            if (!isNew)
                return std::pair(at->second, std::move(name));
        }
    }();
    return kPair;
}

// --- Nodes ---

ModelNode* RandomArguments::liveNode()
{
    const auto& nodes = model_.nodes();
    for (int i = 0; i < kTries && nodes.size() > 1; ++i)
    {
        ModelNode* const node = nodes[1 + random_.below(nodes.size() - 1)].get();
        if (node->isLive())
            return node;
    }
    return nullptr;
}

ModelNode* RandomArguments::destroyedNode()
{
    for (int i = 0; i < kTries; ++i)
    {
        ModelNode* const node = random_.pick(model_.nodes()).get();
        if (node->destroyed)
            return node;
    }
    return nullptr;
}

ModelNode* RandomArguments::node()
{
    const std::size_t roll = random_.below(100);
    if (roll < 3)
        return nullptr;
    if (roll < 6)
        return &model_.root();
    return roll < 12 ? destroyedNode() : liveNode();
}

ModelNode* RandomArguments::smallSubtree()
{
    constexpr std::size_t kFew = 12;
    for (int i = 0; i < kTries; ++i)
    {
        ModelNode* const top = liveNode();
        std::vector<const ModelNode*> seen;
        if (top != nullptr)
            seen.push_back(top);
        for (std::size_t at = 0; at < seen.size() && seen.size() <= kFew; ++at)
            seen.insert(seen.end(), seen[at]->children.begin(), seen[at]->children.end());
        if (!seen.empty() && seen.size() <= kFew)
            return top;
    }
    return nullptr;
}

ModelNode* RandomArguments::leaf()
{
    if (random_.chance(1, 4))
        return node();
    ModelNode* drawn = nullptr;
    for (int i = 0; i < kTries; ++i)
    {
        drawn = liveNode();
        if (drawn != nullptr && model_.canDestroyLeafNode(drawn).succeeds())
            break;
    }
    return drawn;
}

ModelNode* RandomArguments::parent()
{
    const auto& topLevel = model_.root().children;
    if (fewParents_ > 0 && !topLevel.empty() && random_.chance(7, 8))
        return topLevel[random_.below(std::min(fewParents_, topLevel.size()))];
    if (random_.chance(1, 4) && model_.nodes().back()->isLive())
        return model_.nodes().back().get(); // the newest: makes deep trees
    return random_.chance(1, 8) ? nullptr : node();
}

ModelNode* RandomArguments::nextChild(const ModelNode* parent)
{
    if (random_.chance(1, 2))
        return nullptr;
    const auto& children = (parent != nullptr ? *parent : model_.root()).children;
    return children.empty() || random_.chance(1, 6) ? node() : random_.pick(children);
}

NameArgument RandomArguments::nodeName()
{
    const std::size_t roll = random_.below(100);
    if (roll < 4)
        return {true, L""};
    if (roll < 8)
        return {false, L""};
    if (roll < 20)
        return {false, random_.chance(1, 2) ? namesOfOneHash().first : namesOfOneHash().second};
    if (roll < 70 || fewParents_ > 0)
        return {false, random_.pick(kNodeNames)};
    return {false, L"node" + std::to_wstring(random_.below(1000))};
}

std::vector<std::wstring> RandomArguments::someNames()
{
    return {random_.pick(kNodeNames), random_.pick(kElementNames),
            random_.chance(1, 2) ? namesOfOneHash().first : namesOfOneHash().second};
}

// --- Elements ---

template <class Draw>
ModelElement* RandomArguments::firstOf(Draw draw)
{
    for (int i = 0; i < kTries; ++i)
    {
        if (ModelElement* const drawn = draw(); drawn != nullptr)
            return drawn;
    }
    return nullptr;
}

/// An element of the node, or an item when no array is wanted; null when it was the wrong kind.
ModelElement* RandomArguments::elementOf(const ModelNode* node, bool isArray)
{
    if (node == nullptr || node->elements.empty())
        return nullptr;
    ModelElement* const element = random_.pick(node->elements).get();
    if (element->isArray() == isArray)
        return element;
    return isArray ? nullptr : itemOf(*element, random_);
}

ModelElement* RandomArguments::destroyedElement(bool isArray)
{
    if (model_.destroyedElements().empty())
        return nullptr;
    ModelElement* const element = random_.pick(model_.destroyedElements()).get();
    if (element->isArray() == isArray)
        return element;
    return isArray ? nullptr : itemOf(*element, random_);
}

ModelElement* RandomArguments::liveAttribute()
{
    return firstOf([this] { return elementOf(liveNode(), false); });
}

ModelElement* RandomArguments::releasedItem()
{
    return firstOf([this]() -> ModelElement* {
        const ModelElement* const array = elementOf(liveNode(), true);
        if (array == nullptr || array->size == array->items.size())
            return nullptr;
        return array->items[array->size + random_.below(array->items.size() - array->size)].get();
    });
}

ModelElement* RandomArguments::attribute()
{
    if (!model_.locked().empty() && random_.chance(1, 3) && !model_.locked().back()->isArray())
        return model_.locked().back();
    const std::size_t roll = random_.below(100);
    if (roll < 3)
        return nullptr;
    if (roll < 6)
        return elementOf(&model_.root(), false);
    if (roll < 10)
        return firstOf([this] { return destroyedElement(false); });
    if (roll < 13)
        return elementOf(destroyedNode(), false);
    if (roll < 16)
        return releasedItem();
    if (roll < 19)
    {
        ModelElement* const legacy = legacyElement();
        return legacy != nullptr && legacy->isArray() ? itemOf(*legacy, random_) : legacy;
    }
    return liveAttribute();
}

ModelElement* RandomArguments::array()
{
    if (!model_.locked().empty() && random_.chance(1, 3) && model_.locked().back()->isArray())
        return model_.locked().back();
    if (!model_.referencers().empty() && random_.chance(1, 4)) // one that takes part in references, if it is one
    {
        const ModelElement* const referencer = random_.pick(model_.referencers());
        if (ModelElement* const array = random_.chance(1, 2) ? referencer->array : referencer->referenced->array)
            return array;
    }
    const std::size_t roll = random_.below(100);
    if (roll < 3)
        return nullptr;
    if (roll < 6)
        return elementOf(&model_.root(), true);
    if (roll < 9)
        return firstOf([this] { return destroyedElement(true); });
    if (roll < 12)
        return firstOf([this] { return elementOf(destroyedNode(), true); });
    if (roll < 20)
    {
        ModelElement* const legacy = legacyElement();
        return legacy != nullptr && legacy->isArray() ? legacy : nullptr;
    }
    return firstOf([this] { return elementOf(liveNode(), true); });
}

ModelElement* RandomArguments::dynamicElement()
{
    if (random_.chance(1, 5))
        return anyElement();
    return firstOf([this]() -> ModelElement* {
        const ModelNode* const node = liveNode();
        if (node == nullptr || node->elements.empty())
            return nullptr;
        ModelElement* const element = random_.pick(node->elements).get();
        return element->dynamic ? element : nullptr;
    });
}

ModelElement* RandomArguments::legacyElement()
{
    return firstOf([this]() -> ModelElement* {
        const ModelNode* const node = liveNode();
        return node != nullptr && !node->legacyElements.empty() ? random_.pick(node->legacyElements).get() : nullptr;
    });
}

ModelElement* RandomArguments::anyElement()
{
    switch (random_.below(4))
    {
    case 0: return attribute();
    case 1: return array();
    case 2: return legacyElement();
    default: return model_.destroyedElements().empty() ? nullptr : random_.pick(model_.destroyedElements()).get();
    }
}

ModelElement* RandomArguments::nextElement(const ModelNode* node)
{
    if (node == nullptr || random_.chance(1, 2))
        return nullptr;
    if (random_.chance(1, 8))
        return random_.chance(1, 2) ? dynamicElement() : anyElement();
    if (random_.chance(1, 8)) // a destroyed one of the same node is not found there
    {
        ModelElement* const destroyed = firstOf([this] { return destroyedElement(false); });
        if (destroyed != nullptr && destroyed->node == node)
            return destroyed;
    }
    const std::size_t first = node->templateElementCount();
    const std::size_t count = node->elements.size() - first;
    return count > 0 ? node->elements[first + random_.below(count)].get() : nullptr;
}

NameArgument RandomArguments::elementName(const ModelNode* node)
{
    if (node != nullptr && random_.chance(1, 12)) // a name that the node has
    {
        const auto& list = random_.chance(1, 2) ? node->elements : node->legacyElements;
        if (!list.empty())
            return {false, random_.pick(list)->spec.name};
    }
    const std::size_t roll = random_.below(100);
    if (roll < 3)
        return {true, L""};
    if (roll < 6)
        return {false, L""};
    if (roll < 9)
        return {false, std::wstring(40 + random_.below(2), L'e')}; // the longest, and one too long
    if (roll < 12)
    {
        std::wstring pairs;
        while (pairs.size() < 20 * std::wstring_view(L"\U0001f600").size()) // 40 units of UTF-16
            pairs += L"\U0001f600";
        return {false, random_.chance(1, 2) ? pairs : pairs + L'e'};
    }
    if (roll < 20)
        return {false, random_.chance(1, 2) ? namesOfOneHash().first : namesOfOneHash().second};
    if (roll < 60)
        return {false, random_.pick(kElementNames)};
    return {false, L"e" + std::to_wstring(random_.below(30))};
}

ElementSpec RandomArguments::elementSpec(const NameArgument& name)
{
    ElementSpec spec;
    spec.name = name.text;
    spec.type = static_cast<AttributeTypeId>(random_.chance(1, 3) ? 0 : random_.below(kAttributeTypeCount));
    spec.isArray = random_.chance(1, 3);
    spec.flags = random_.chance(1, 12) ? ElementMetaDataFlag::kNotConnectable : 0;
    if (random_.chance(1, 6))
        spec.docString = L"what " + name.text + L" is for";
    spec.defaultValue = random_.chance(1, 2) ? randomModelValue(spec.type, random_) : defaultModelValue(spec.type);
    return spec;
}

unsigned int RandomArguments::arraySize(const ModelElement* array)
{
    if (array != nullptr && random_.chance(1, 10))
        return array->size;
    if (random_.chance(1, 60))
        return 0xF0000000u + static_cast<unsigned int>(random_.below(0x10000000)); // more than 32 bits of bytes
    return static_cast<unsigned int>(random_.chance(1, 30) ? random_.below(200) : random_.below(12));
}

// --- References ---

RandomArguments::Ends RandomArguments::referenceEnds()
{
    const auto& referencers = model_.referencers();
    if (referencers.empty() || random_.chance(1, 3))
        return {attribute(), attribute()};
    ModelElement* const known = random_.pick(referencers);
    switch (random_.below(4))
    {
    case 0: // one more at a hub
    {
        ModelElement* hub = known->referenced;
        for (int i = 0; i < kTries; ++i)
        {
            ModelElement* const other = random_.pick(referencers)->referenced;
            if (other->referencers.size() > hub->referencers.size())
                hub = other;
        }
        return {hub, attribute()};
    }
    case 1: // a chain grows at its reading end
        return {known, attribute()};
    case 2: // at its value end
    {
        ModelElement* end = known;
        while (end->referenced != nullptr)
            end = end->referenced;
        return {attribute(), end};
    }
    default: // it would close
    {
        ModelElement* end = known;
        while (end->referenced != nullptr)
            end = end->referenced;
        return {known, random_.chance(1, 4) ? known : end};
    }
    }
}

ModelElement* RandomArguments::referencer()
{
    const auto& referencers = model_.referencers();
    return referencers.empty() || random_.chance(1, 4) ? attribute() : random_.pick(referencers);
}

} // namespace db2test
