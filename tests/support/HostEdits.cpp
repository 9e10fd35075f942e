#include "HostEdits.h"

#include "ModelValue.h"

#include <gtest/gtest.h>

#include <memory>

namespace db2test {
namespace {

void addElement(NodeTemplate& nodeTemplate, const wchar_t* name, AttributeTypeId type, bool isArray = false)
{
    const ElementSpec spec = plainElement(name, type, isArray);
    EXPECT_EQ(nodeTemplate.addAttribute(*makeDefinition(spec), name), Status::kSuccess);
}

void addMixedType(Scene& scene)
{
    auto* const mixed = new NodeTemplate(L"Mixed", HostEdits::kMixed, scene.module());
    addElement(*mixed, L"size", AttributeType::kFloat);
    addElement(*mixed, L"count", AttributeType::kInt);
    addElement(*mixed, L"label", AttributeType::kString);
    addElement(*mixed, L"place", AttributeType::kMatrix);
    addElement(*mixed, L"sizes", AttributeType::kFloat, true);
    addElement(*mixed, L"labels", AttributeType::kString, true);
    EXPECT_EQ(scene.registry().registerNodeTemplate(mixed), Status::kSuccess);
}

// --- Computing: whole numbers, whose sums are the same on every platform, wrapping around ---

unsigned int numberOf(const Element* element)
{
    return static_cast<unsigned int>(static_cast<const Attribute*>(element)->getValue().getInt());
}

void write(DataInterface& data, Element* output, unsigned int number)
{
    ValueHandle value;
    auto* const attribute = static_cast<Attribute*>(output);
    if (data.db_lockAttribute(attribute, &value) == Status::kSuccess)
    {
        value.getInt() = static_cast<int>(number);
        EXPECT_EQ(data.db_unlockAttribute(attribute), Status::kSuccess);
    }
}

void computeSum(DataInterface& data, Node&, Element** elements, void*)
{
    write(data, elements[2], numberOf(elements[0]) + numberOf(elements[1]));
}

void computeSums(DataInterface& data, Node&, Element** elements, void*)
{
    const auto* const terms = static_cast<const AttributeArray*>(elements[3]);
    unsigned int sum = numberOf(elements[2]);
    for (unsigned int i = 0; i < terms->getSize(); ++i)
        sum += numberOf(terms->getAttribute(i));
    write(data, elements[4], sum);
}

void addSumType(Scene& scene)
{
    constexpr unsigned int kEnd = NodeTemplate::kEndOfList;
    auto* const sum = new NodeTemplate(L"Sum", HostEdits::kSum, scene.module());
    addElement(*sum, L"a", AttributeType::kInt);
    addElement(*sum, L"b", AttributeType::kInt);
    addElement(*sum, L"sum", AttributeType::kInt);
    addElement(*sum, L"terms", AttributeType::kInt, true);
    addElement(*sum, L"sums", AttributeType::kInt);
    const unsigned int summands[] = {0, 1, kEnd};
    const unsigned int sumOnly[] = {2, kEnd};
    const unsigned int sumAndTerms[] = {2, 3, kEnd};
    const unsigned int sums[] = {4, kEnd};
    EXPECT_EQ(sum->addComputeSet(summands, sumOnly, computeSum, nullptr), Status::kSuccess);
    EXPECT_EQ(sum->addComputeSet(sumAndTerms, sums, computeSums, nullptr), Status::kSuccess);
    EXPECT_EQ(scene.registry().registerNodeTemplate(sum), Status::kSuccess);
}

} // namespace

HostEdits::HostEdits(Scene& scene, DataInterface& data, const Random& random, std::size_t maxNodes)
    : scene_(scene), data_(data), random_(random), maxNodes_(maxNodes)
{
}

void HostEdits::addTypes(Scene& scene)
{
    addMixedType(scene);
    addSumType(scene);
}

void HostEdits::edit()
{
    // Listed as often as they are likely.
    static constexpr Draw kEdits[] = {
        &HostEdits::createNode,           &HostEdits::createNode,
        &HostEdits::createNode,           &HostEdits::createUnknownNode,
        &HostEdits::destroyLeafNode,      &HostEdits::destroyLeafNode,
        &HostEdits::destroySubtree,       &HostEdits::renameNode,
        &HostEdits::reparentNode,         &HostEdits::reparentNode,
        &HostEdits::reorderNode,          &HostEdits::createDynamicElement,
        &HostEdits::createDynamicElement, &HostEdits::destroyDynamicElement,
        &HostEdits::renameDynamicElement, &HostEdits::resizeAttributeArray,
        &HostEdits::resizeAttributeArray, &HostEdits::createReference,
        &HostEdits::createReference,      &HostEdits::destroyReference,
        &HostEdits::writeAttribute,       &HostEdits::writeAttribute,
        &HostEdits::writeAttribute,       &HostEdits::writeAttribute,
        &HostEdits::writeAttributeArray,  &HostEdits::writeAttributeArray,
    };
    (this->*random_.pick(kEdits))();
}

// --- Arguments ---

std::vector<Node*> HostEdits::nodes()
{
    std::vector<Node*> nodes;
    NodeIterator walk(scene_.root());
    walk.includeRoot(true);
    while (walk.next())
        nodes.push_back(walk.node());
    return nodes;
}

Node* HostEdits::anyNode()
{
    const std::vector<Node*> all = nodes();
    return all.size() > 1 && !random_.chance(1, 30) ? all[1 + random_.below(all.size() - 1)] : all.front();
}

Node* HostEdits::childOrNull(Node* parent)
{
    Node* child = parent->getFirstChild();
    for (std::size_t steps = random_.below(4); child != nullptr && steps > 0; --steps)
        child = child->getNextSibling();
    return child;
}

Element* HostEdits::anyElement()
{
    const Node* const node = anyNode();
    return node->getElementCount() > 0
               ? node->getElement(static_cast<unsigned int>(random_.below(node->getElementCount())))
               : nullptr;
}

Element* HostEdits::anyDynamicElement(Node* node)
{
    const unsigned int count = node->getDynamicElementCount();
    return count > 0 ? node->getDynamicElement(static_cast<unsigned int>(random_.below(count))) : nullptr;
}

Attribute* HostEdits::anyAttribute()
{
    Element* const element = anyElement();
    if (element == nullptr || element->isComputed())
        return nullptr;
    if (!element->isAttributeArray())
        return static_cast<Attribute*>(element);
    const auto* const array = static_cast<AttributeArray*>(element);
    return array->getSize() > 0 ? array->getAttribute(static_cast<unsigned int>(random_.below(array->getSize())))
                                : nullptr;
}

AttributeArray* HostEdits::anyArray()
{
    for (int i = 0; i < 8; ++i)
    {
        Element* const element = anyElement();
        if (element != nullptr && element->isAttributeArray())
            return static_cast<AttributeArray*>(element);
    }
    return nullptr;
}

std::wstring HostEdits::anyName()
{
    return random_.chance(1, 20) ? L"" : L"name" + std::to_wstring(random_.below(40));
}

// --- Nodes ---

void HostEdits::createNode()
{
    if (nodes().size() >= maxNodes_)
        return destroySubtree();
    constexpr unsigned int kTypes[] = {Scene::kPlain, kMixed, kMixed, kMixed, kSum, kSum};
    Node* const parent = anyNode();
    count(data_.db_createNode(random_.pick(kTypes), anyName().c_str(), parent, childOrNull(parent), nullptr));
}

void HostEdits::createUnknownNode()
{
    if (nodes().size() >= maxNodes_)
        return destroyLeafNode();
    Node* const parent = anyNode();
    count(data_.db_createUnknownNode(L"Gone", scene_.module(), anyName().c_str(), parent, childOrNull(parent),
                                     random_.chance(1, 3), nullptr));
}

void HostEdits::destroyLeafNode()
{
    Node* node = anyNode();
    while (node->getFirstChild() != nullptr)
        node = node->getLastChild();
    count(data_.db_destroyLeafNode(node));
}

void HostEdits::destroySubtree()
{
    Node* const top = anyNode();
    if (top == scene_.root())
        return;
    std::vector<Node*> subtree; // children before their parents
    for (NodeIteratorPostOrder walk(top); walk.next();)
        subtree.push_back(walk.node());
    if (subtree.empty() || subtree.back() != top)
        subtree.push_back(top);
    if (subtree.size() <= maxNodes_ / 4)
    {
        for (Node* const node : subtree)
            destroyAllOf(*node);
    }
}

/// With what stands in its way.
void HostEdits::destroyAllOf(Node& node)
{
    for (AttributeIterator walk(&node); walk.next();)
    {
        while (walk.attr()->getReferents() != nullptr)
        {
            if (data_.db_destroyReference(walk.attr()->getReferents()) != Status::kSuccess)
                return;
        }
        if (walk.attr()->getReference() != nullptr)
            count(data_.db_destroyReference(walk.attr()));
    }
    while (node.getDynamicElementCount() > 0)
    {
        if (data_.db_destroyDynamicElement(anyDynamicElement(&node)) != Status::kSuccess)
            return;
    }
    count(data_.db_destroyLeafNode(&node));
}

void HostEdits::renameNode()
{
    count(data_.db_renameNode(anyNode(), anyName().c_str()));
}

void HostEdits::reparentNode()
{
    Node* const parent = anyNode();
    const std::wstring name = anyName();
    count(data_.db_reparentNode(anyNode(), parent, childOrNull(parent), random_.chance(1, 2) ? name.c_str() : nullptr));
}

void HostEdits::reorderNode()
{
    Node* const node = anyNode();
    count(data_.db_reorderNode(node, node->getParent() != nullptr ? childOrNull(node->getParent()) : nullptr));
}

// --- Elements ---

void HostEdits::createDynamicElement()
{
    Node* const node = anyNode();
    ElementSpec spec;
    spec.name = L"extra" + std::to_wstring(random_.below(6));
    spec.type = static_cast<AttributeTypeId>(random_.below(kAttributeTypeCount));
    spec.isArray = random_.chance(1, 3);
    spec.flags = random_.chance(1, 10) ? ElementMetaDataFlag::kNotConnectable : 0;
    spec.docString = random_.chance(1, 3) ? L"what it is for" : L"";
    spec.defaultValue = random_.chance(1, 2) ? randomModelValue(spec.type, random_) : defaultModelValue(spec.type);
    count(data_.db_createDynamicElement(*makeDefinition(spec), spec.name.c_str(), node, anyDynamicElement(node),
                                        nullptr));
}

void HostEdits::destroyDynamicElement()
{
    count(data_.db_destroyDynamicElement(anyDynamicElement(anyNode())));
}

void HostEdits::renameDynamicElement()
{
    const std::wstring name = L"extra" + std::to_wstring(random_.below(6));
    count(data_.db_renameDynamicElement(anyDynamicElement(anyNode()), name.c_str()));
}

void HostEdits::resizeAttributeArray()
{
    count(data_.db_resizeAttributeArray(anyArray(), static_cast<unsigned int>(random_.below(7))));
}

void HostEdits::createReference()
{
    Attribute* const referencer = anyAttribute();
    Attribute* referenced = anyAttribute();
    for (int i = 0; i < 8 && referencer != nullptr && referenced != nullptr; ++i)
    {
        if (referenced->getTypeId() == referencer->getTypeId()) // else what is read has another type
            break;
        referenced = anyAttribute();
    }
    if (referencer != nullptr && referenced != nullptr && referenced->getTypeId() == referencer->getTypeId())
        count(data_.db_createReference(referenced, referencer, random_.chance(1, 4)));
}

void HostEdits::destroyReference()
{
    Attribute* referencer = nullptr;
    for (int i = 0; i < 16 && (referencer == nullptr || referencer->getReference() == nullptr); ++i)
        referencer = anyAttribute();
    count(data_.db_destroyReference(referencer));
}

// --- Values ---

void HostEdits::writeAttribute()
{
    Attribute* const attribute = anyAttribute();
    ValueHandle value;
    if (attribute == nullptr || data_.db_lockAttribute(attribute, &value) != Status::kSuccess)
        return;
    if (attribute->getTypeId() != AttributeType::kNull)
        writeValue(value, randomModelValue(attribute->getTypeId(), random_));
    count(data_.db_unlockAttribute(attribute));
}

void HostEdits::writeAttributeArray()
{
    AttributeArray* const array = anyArray();
    void* values = nullptr;
    if (array == nullptr || data_.db_lockAttributeArray(array, &values) != Status::kSuccess)
        return;
    const AttributeTypeId type = array->getTypeId();
    const std::size_t stride = ValueInfo::getStride(type);
    for (unsigned int i = 0; i < array->getSize() && type != AttributeType::kNull; ++i)
    {
        if (random_.chance(2, 3))
            writePlainValue(static_cast<char*>(values) + i * stride, randomModelValue(type, random_));
    }
    count(data_.db_unlockAttributeArray(array));
}

} // namespace db2test
