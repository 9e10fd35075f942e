#include "ModelComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace db2test {
namespace {

/// Null reads as empty, which no model's text is when there is one.
std::wstring_view textOf(const wchar_t* text)
{
    return text != nullptr ? std::wstring_view(text) : std::wstring_view();
}

/// Every attribute of the node in the order of its elements, arrays replaced by their items.
std::vector<const ModelElement*> attributesOf(const ModelNode& node)
{
    std::vector<const ModelElement*> attributes;
    for (const auto& element : node.elements)
    {
        if (!element->isArray())
            attributes.push_back(element.get());
        for (unsigned int i = 0; i < element->size; ++i)
            attributes.push_back(element->items[i].get());
    }
    return attributes;
}

/// Puts the children of a node onto a stack so that the first one comes off first.
void pushChildren(std::vector<const ModelNode*>& stack, const ModelNode& node)
{
    stack.insert(stack.end(), node.children.rbegin(), node.children.rend());
}

std::vector<Node*> preOrderBelow(const ModelNode& root)
{
    std::vector<Node*> order;
    std::vector<const ModelNode*> stack;
    pushChildren(stack, root);
    while (!stack.empty())
    {
        const ModelNode* const node = stack.back();
        stack.pop_back();
        order.push_back(node->actual);
        pushChildren(stack, *node);
    }
    return order;
}

/// Children before their parent is, from behind, a parent before its children, the last one first.
std::vector<Node*> postOrderBelow(const ModelNode& root)
{
    std::vector<Node*> order;
    std::vector<const ModelNode*> stack(root.children.begin(), root.children.end());
    while (!stack.empty())
    {
        const ModelNode* const node = stack.back();
        stack.pop_back();
        order.push_back(node->actual);
        stack.insert(stack.end(), node->children.begin(), node->children.end());
    }
    std::ranges::reverse(order);
    if (root.children.empty())
        order.push_back(root.actual); // a childless root is visited alone
    return order;
}

std::vector<Attribute*> referentsOf(const ModelElement& start)
{
    std::vector<Attribute*> order;
    std::vector<const ModelElement*> stack(start.referencers.rbegin(), start.referencers.rend());
    while (!stack.empty())
    {
        const ModelElement* const attribute = stack.back();
        stack.pop_back();
        order.push_back(attributeOf(attribute));
        stack.insert(stack.end(), attribute->referencers.rbegin(), attribute->referencers.rend());
    }
    return order;
}

template <class Iterator, class Current>
auto walk(Iterator& iterator, Current current)
{
    std::vector<decltype(current(iterator))> visited;
    while (iterator.next())
        visited.push_back(current(iterator));
    EXPECT_FALSE(iterator.next()) << "an ended walk stays at its end";
    EXPECT_EQ(current(iterator), nullptr);
    return visited;
}

constexpr auto kNodeOf = [](const auto& iterator) { return iterator.node(); };
constexpr auto kAttributeOf = [](const auto& iterator) { return iterator.attr(); };

} // namespace

std::string describe(const ModelNode* node)
{
    if (node == nullptr)
        return "null";
    return "node #" + std::to_string(node->id) + " " + ::testing::PrintToString(node->name) +
           (node->inUndo      ? " (in undo)"
            : node->destroyed ? " (destroyed)"
                              : "");
}

std::string describe(const ModelElement* element)
{
    if (element == nullptr)
        return "null";
    std::string text = element->array != nullptr ? "item " + std::to_string(element->index) + " of array " : "element ";
    text += ::testing::PrintToString(element->kind().name);
    if (element->outermost().inUndo)
        text += " (in undo)";
    else if (element->outermost().destroyed)
        text += " (destroyed)";
    return text + " of " + describe(element->node);
}

// --- Nodes ---

void ModelComparison::compareNode(const ModelNode& node) const
{
    const Node& actual = *node.actual;
    EXPECT_EQ(actual.getParent(), actualOf(node.parent)) << describe(&node);
    EXPECT_EQ(std::wstring_view(actual.getName()), node.name) << describe(&node);
    EXPECT_EQ(actual.getTypeId(), node.typeId) << describe(&node);
    EXPECT_EQ(std::wstring_view(actual.getTypeName()), node.typeName) << describe(&node);
    EXPECT_EQ(actual.getAPI(), node.api) << describe(&node);
    EXPECT_EQ(node.handle.get(), node.destroyed ? nullptr : node.actual) << describe(&node);
    EXPECT_EQ(actual.isDestroyed(), node.destroyed) << describe(&node);
    EXPECT_EQ(actual.hasFlag(NodeFlag::kInUndo), node.inUndo) << describe(&node);
    EXPECT_EQ(actual.isUnknown(), node.unknown) << describe(&node);
    EXPECT_EQ(actual.isLegacy(), node.legacy) << describe(&node);
    EXPECT_EQ(actual.getEdgeCount(), node.edgeCount()) << describe(&node);
    compareChildren(node);
    compareElementLists(node);
}

void ModelComparison::compareChildren(const ModelNode& node) const
{
    const Node* previous = nullptr;
    const Node* child = node.actual->getFirstChild();
    for (const ModelNode* const expected : node.children)
    {
        ASSERT_EQ(child, expected->actual) << "children of " << describe(&node) << ", " << describe(expected);
        ASSERT_EQ(child->getPreviousSibling(), previous) << describe(expected);
        ASSERT_EQ(std::wstring_view(child->getName()), expected->name) << describe(expected);
        previous = child;
        child = child->getNextSibling();
    }
    EXPECT_EQ(child, nullptr) << "children of " << describe(&node);
    EXPECT_EQ(node.actual->getLastChild(), previous) << "children of " << describe(&node);
    if (node.destroyed)
    {
        EXPECT_EQ(node.actual->getPreviousSibling(), nullptr) << describe(&node);
        EXPECT_EQ(node.actual->getNextSibling(), nullptr) << describe(&node);
    }
}

void ModelComparison::compareElementLists(const ModelNode& node) const
{
    const Node& actual = *node.actual;
    const auto count = static_cast<unsigned int>(node.elements.size());
    const unsigned int templateCount = node.templateElementCount();
    EXPECT_EQ(actual.getElementCount(), count) << describe(&node);
    EXPECT_EQ(actual.getDynamicElementCount(), count - templateCount) << describe(&node);
    for (unsigned int i = 0; i < count; ++i)
        EXPECT_EQ(actual.getElement(i), node.elements[i]->actual) << describe(node.elements[i].get()) << " at " << i;
    EXPECT_EQ(actual.getElement(count), nullptr) << describe(&node);
    for (unsigned int i = templateCount; i < count; ++i)
    {
        EXPECT_EQ(actual.getDynamicElement(i - templateCount), node.elements[i]->actual) << describe(&node);
        EXPECT_EQ(actual.getNextDynamicElement(node.elements[i]->actual),
                  i + 1 < count ? node.elements[i + 1]->actual : nullptr)
            << describe(&node);
    }
    EXPECT_EQ(actual.getDynamicElement(count - templateCount), nullptr) << describe(&node);

    const auto legacyCount = static_cast<unsigned int>(node.legacyElements.size());
    EXPECT_EQ(actual.getLegacyElementCount(), legacyCount) << describe(&node);
    for (unsigned int i = 0; i < legacyCount; ++i)
        EXPECT_EQ(actual.getLegacyElement(i), node.legacyElements[i]->actual) << describe(&node);
    EXPECT_EQ(actual.getLegacyElement(legacyCount), nullptr) << describe(&node);
}

// --- Elements ---

void ModelComparison::compareElement(const ModelElement& element) const
{
    compareKind(element);
    compareFlags(element);
    comparePlace(element);
    if (element.isArray())
        compareArray(element);
    else
        compareAttribute(element);
}

void ModelComparison::compareKind(const ModelElement& element) const
{
    const Element& actual = *element.actual;
    const ElementSpec& kind = element.kind();
    const unsigned int flags = kind.flags | (kind.isArray ? ElementMetaDataFlag::kArray : 0u);
    EXPECT_EQ(textOf(actual.getName()), kind.name) << describe(&element);
    EXPECT_EQ(actual.getTypeId(), kind.type) << describe(&element);
    EXPECT_EQ(actual.getMetaData()->getFlags(), flags) << describe(&element);
    EXPECT_EQ(textOf(actual.getDocString()), kind.docString) << describe(&element);
    EXPECT_TRUE(readValue(actual.getDefaultValue()) == kind.defaultValue) << describe(&element);
}

void ModelComparison::compareFlags(const ModelElement& element) const
{
    std::uint32_t expected = 0;
    const auto expect = [&expected](bool set, std::uint32_t flag) { expected |= set ? flag : 0; };
    expect(element.isArray(), ElementFlag::kArray);
    expect(element.array != nullptr, ElementFlag::kArrayItem);
    expect(element.dynamic, ElementFlag::kDynamic);
    expect(element.legacy, ElementFlag::kLegacy);
    expect(element.unknown, ElementFlag::kUnknown);
    expect(element.inUndo, ElementFlag::kInUndo);
    expect(element.locked, ElementFlag::kLocked);
    expect(element.singleOutput, ElementFlag::kSingleOutput);
    std::uint32_t compared = ElementFlag::kArray | ElementFlag::kArrayItem | ElementFlag::kDynamic |
                             ElementFlag::kLegacy | ElementFlag::kUnknown | ElementFlag::kInUndo |
                             ElementFlag::kLocked | ElementFlag::kSingleOutput;
    if (!element.legacy && !element.outermost().destroyed) // where the flag has a meaning
    {
        compared |= ElementFlag::kDestroyed;
        expect(element.isReleased(), ElementFlag::kDestroyed);
    }
    EXPECT_EQ(element.actual->getFlags() & compared, expected) << describe(&element);
    if (element.dynamic)
    {
        EXPECT_EQ(element.actual->hasFlag(ElementFlag::kDestroyed), element.destroyed) << describe(&element);
    }
}

void ModelComparison::comparePlace(const ModelElement& element) const
{
    EXPECT_EQ(element.actual->getNode(), element.node->actual) << describe(&element);
    EXPECT_EQ(element.actual->getParentArray(), actualOf(element.array)) << describe(&element);
    if (!element.legacy || !element.outermost().destroyed)
    {
        EXPECT_EQ(element.actual->isDestroyed(), element.outermost().destroyed || element.node->destroyed)
            << describe(&element);
    }
    if (element.isReleased())
        return;
    if (element.array != nullptr)
    {
        EXPECT_EQ(element.actual->getIndex(), element.index) << describe(&element);
        return;
    }
    const auto& list = element.legacy ? element.node->legacyElements : element.node->elements;
    const auto at = std::ranges::find_if(list, [&](const auto& owned) { return owned.get() == &element; });
    const auto index = at != list.end() ? at - list.begin() : 0; // 0 too when it is not found
    EXPECT_EQ(element.actual->getIndex(), static_cast<unsigned int>(index)) << describe(&element);
}

void ModelComparison::compareAttribute(const ModelElement& attribute) const
{
    const Attribute& actual = *attributeOf(&attribute);
    EXPECT_TRUE(readValue(actual.getValue()) == attribute.readValue()) << "the value of " << describe(&attribute);
    EXPECT_EQ(actual.isLocked(), attribute.locked) << describe(&attribute);
    EXPECT_EQ(actual.getReference(), attributeOf(attribute.referenced)) << describe(&attribute);
    EXPECT_EQ(actual.referenceIsSingle(), attribute.singleOutput) << describe(&attribute);
    EXPECT_EQ(actual.referentIsSingle(), !attribute.referencers.empty() && attribute.referencers.front()->singleOutput)
        << describe(&attribute);

    const Attribute* referencer = actual.getReferents();
    for (const ModelElement* const expected : attribute.referencers)
    {
        ASSERT_EQ(referencer, attributeOf(expected)) << "referencers of " << describe(&attribute);
        referencer = referencer->getSiblingReferent();
    }
    EXPECT_EQ(referencer, nullptr) << "referencers of " << describe(&attribute);
    if (attribute.referenced == nullptr)
    {
        EXPECT_EQ(actual.getSiblingReferent(), nullptr) << describe(&attribute);
    }
}

void ModelComparison::compareArray(const ModelElement& array) const
{
    const auto& actual = *static_cast<const AttributeArray*>(array.actual);
    EXPECT_EQ(actual.getSize(), array.size) << describe(&array);
    EXPECT_EQ(actual.getCapacity(), array.capacity) << describe(&array);
    EXPECT_EQ(actual.getReferenceCount(), array.referenceEnds()) << describe(&array);
    EXPECT_EQ(actual.isLocked(), array.locked) << describe(&array);
    EXPECT_EQ(actual.getAttribute(array.size), nullptr) << describe(&array);
    for (const auto& item : array.items)
    {
        EXPECT_EQ(actual.getAttribute(item->index), item->isReleased() ? nullptr : item->actual)
            << describe(item.get());
        compareElement(*item);
    }
}

// --- The whole ---

void ModelComparison::compareStatistics() const
{
    const CoreManager::Statistics& actual = core_.getStatistics();
    const CoreManager::Statistics& expected = model_.statistics();
    if (actual == expected)
        return;
    EXPECT_EQ(actual.nodes, expected.nodes);
    EXPECT_EQ(actual.unknownNodes, expected.unknownNodes);
    EXPECT_EQ(actual.legacyNodes, expected.legacyNodes);
    EXPECT_EQ(actual.elements, expected.elements);
    EXPECT_EQ(actual.dynamicElements, expected.dynamicElements);
    EXPECT_EQ(actual.legacyElements, expected.legacyElements);
    EXPECT_EQ(actual.references, expected.references);
}

void ModelComparison::compareAll(const std::vector<std::wstring>& names) const
{
    EXPECT_EQ(core_.getRoot(), model_.root().actual);
    EXPECT_EQ(core_.isLockOutstanding(), !model_.locked().empty());
    EXPECT_TRUE(model_.statistics() == model_.countStatistics()) << "the model kept its own counts wrong";
    compareStatistics();
    compareTemplates();
    for (const auto& node : model_.nodes())
    {
        compareNode(*node);
        for (const auto& element : node->elements)
            compareElement(*element);
        for (const auto& element : node->legacyElements)
            compareElement(*element);
        compareLookups(*node);
        for (const std::wstring& name : names)
            compareNames(*node, name);
        compareAttributeIterators(*node);
        if (node->id % 8 == 0 || node->children.empty())
            compareNodeIterators(*node);
    }
    for (const auto& element : model_.destroyedElements())
        compareElement(*element);
}

void ModelComparison::compareTemplates() const
{
    for (const NodeType& type : model_.types())
    {
        const NodeTemplate* const nodeTemplate = core_.getRegistry().lookupNodeTemplate(type.typeId);
        ASSERT_NE(nodeTemplate, nullptr);
        EXPECT_EQ(nodeTemplate->getReferenceCount(), model_.countNodes(type.typeId))
            << "nodes in memory of type " << ::testing::PrintToString(type.typeName);
    }
    for (const auto& node : model_.nodes())
    {
        const NodeTemplate* const nodeTemplate = node->actual->getNodeTemplate();
        EXPECT_EQ(nodeTemplate->getElementCount(), node->templateElementCount()) << describe(node.get());
        if (node->unknown)
        {
            EXPECT_EQ(nodeTemplate->getReferenceCount(), 1u) << "the private template of " << describe(node.get());
        }
        else
        {
            EXPECT_EQ(nodeTemplate, core_.getRegistry().lookupNodeTemplate(node->typeId)) << describe(node.get());
        }
    }
}

void ModelComparison::compareLookups(const ModelNode& node) const
{
    const Node& actual = *node.actual;
    for (const ModelNode* const child : node.children)
        EXPECT_EQ(actual.findChildByName(child->name.c_str()), child->actual) << describe(child);
    for (const auto& element : node.elements)
    {
        const wchar_t* const name = element->spec.name.c_str();
        Element* const asAttribute = element->isArray() ? nullptr : element->actual;
        Element* const asArray = element->isArray() ? element->actual : nullptr;
        EXPECT_EQ(actual.findElementByName(name), element->actual) << describe(element.get());
        EXPECT_EQ(actual.findAttributeByName(name), asAttribute) << describe(element.get());
        EXPECT_EQ(actual.findAttributeArrayByName(name), asArray) << describe(element.get());
    }
    for (const auto& element : node.legacyElements)
    {
        const wchar_t* const name = element->spec.name.c_str();
        Element* const asAttribute = element->isArray() ? nullptr : element->actual;
        Element* const asArray = element->isArray() ? element->actual : nullptr;
        EXPECT_EQ(actual.findLegacyAttributeByName(name), asAttribute) << describe(element.get());
        EXPECT_EQ(actual.findLegacyAttributeArrayByName(name), asArray) << describe(element.get());
    }
    if (node.parent != nullptr)
    {
        EXPECT_TRUE(actual.isDescendantOf(model_.root().actual)) << describe(&node);
        EXPECT_FALSE(node.parent->actual->isDescendantOf(&actual)) << describe(&node);
    }
    EXPECT_FALSE(actual.isDescendantOf(&actual)) << describe(&node);
}

/// A name that the node may or may not know: found by its text, free by its hash.
void ModelComparison::compareNames(const ModelNode& node, const std::wstring& name) const
{
    const Node& actual = *node.actual;
    const auto child = std::ranges::find(node.children, name, &ModelNode::name);
    EXPECT_EQ(actual.findChildByName(name.c_str()), child != node.children.end() ? (*child)->actual : nullptr)
        << ::testing::PrintToString(name) << " in " << describe(&node);
    const auto hasName = [&](const auto& element) { return element->spec.name == name; };
    const auto element = std::ranges::find_if(node.elements, hasName);
    EXPECT_EQ(actual.findElementByName(name.c_str()), element != node.elements.end() ? (*element)->actual : nullptr)
        << ::testing::PrintToString(name) << " in " << describe(&node);

    const ModelNode* const exclude = node.children.empty() ? nullptr : node.children[node.children.size() / 2];
    for (const ModelNode* const excluded : {static_cast<const ModelNode*>(nullptr), exclude})
    {
        const bool isFree = TreeModel::isChildNameFree(node, name, excluded);
        EXPECT_EQ(actual.isChildNameValid(name.c_str(), actualOf(excluded)),
                  isFree ? Status::kSuccess : Status::kDuplicateChildName)
            << ::testing::PrintToString(name) << " in " << describe(&node) << " but " << describe(excluded);
    }
    EXPECT_EQ(actual.isDynamicElementNameUnique(name.c_str()), TreeModel::isDynamicElementNameFree(node, name))
        << ::testing::PrintToString(name) << " in " << describe(&node);
    EXPECT_EQ(actual.isLegacyElementNameUnique(name.c_str()), TreeModel::isLegacyElementNameFree(node, name))
        << ::testing::PrintToString(name) << " in " << describe(&node);
}

// --- Iterators ---

void ModelComparison::compareNodeIterators(const ModelNode& root) const
{
    std::vector<Node*> expected = preOrderBelow(root);
    NodeIterator preOrder(root.actual);
    EXPECT_TRUE(walk(preOrder, kNodeOf) == expected) << "pre-order below " << describe(&root);

    expected.insert(expected.begin(), root.actual);
    ConstNodeIterator withRoot(root.actual);
    withRoot.includeRoot(true);
    EXPECT_TRUE(std::ranges::equal(walk(withRoot, kNodeOf), expected)) << "pre-order from " << describe(&root);

    NodeIteratorPostOrder postOrder(root.actual);
    EXPECT_TRUE(walk(postOrder, kNodeOf) == postOrderBelow(root)) << "post-order below " << describe(&root);

    std::vector<Node*> children;
    NodeIterator childrenOnly(root.actual);
    while (childrenOnly.next())
    {
        children.push_back(childrenOnly.node());
        childrenOnly.skipChildren(true);
    }
    EXPECT_TRUE(std::ranges::equal(children, root.children, {}, {}, &ModelNode::actual))
        << "pre-order without grandchildren below " << describe(&root);
}

void ModelComparison::compareAttributeIterators(const ModelNode& node) const
{
    std::vector<Attribute*> expected;
    std::vector<Attribute*> outputs; // in the order of the reverse iterator
    for (const ModelElement* const attribute : attributesOf(node))
    {
        expected.push_back(attributeOf(attribute));
        outputs.insert(outputs.begin(), attribute->referencers.size(), nullptr);
        std::ranges::transform(attribute->referencers, outputs.begin(), attributeOf);
        if (!attribute->referencers.empty())
            compareReferentIterator(*attribute);
    }
    AttributeIterator forward(node.actual);
    EXPECT_TRUE(walk(forward, kAttributeOf) == expected) << "attributes of " << describe(&node);
    std::ranges::reverse(expected);
    ReverseAttributeIterator backward(node.actual);
    EXPECT_TRUE(walk(backward, kAttributeOf) == expected) << "attributes of " << describe(&node) << ", backward";
    ReverseOutputIterator output(node.actual);
    EXPECT_TRUE(walk(output, kAttributeOf) == outputs) << "referencers of the attributes of " << describe(&node);
}

void ModelComparison::compareReferentIterator(const ModelElement& attribute) const
{
    ReferentIterator referents;
    referents.begin(attributeOf(&attribute));
    EXPECT_TRUE(walk(referents, kAttributeOf) == referentsOf(attribute)) << "all that reads " << describe(&attribute);
}

} // namespace db2test
