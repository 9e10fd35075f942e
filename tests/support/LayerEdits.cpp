#include "LayerEdits.h"

#include "ModelValue.h"

#include <gtest/gtest.h>

#include <iterator>

namespace db2test {
namespace {

constexpr std::size_t kMaxNodes = 40;
constexpr std::size_t kMaxDynamicElements = 3; // of one node
constexpr unsigned int kMaxItems = 5;

void computeSum(DataInterface& data, Node&, Element** elements, void*)
{
    auto* const sum = static_cast<Attribute*>(elements[2]);
    const float a = static_cast<Attribute*>(elements[0])->getValue().asFloat();
    const float b = static_cast<Attribute*>(elements[1])->getValue().asFloat();
    ValueHandle value;
    if (data.db_lockAttribute(sum, &value) != Status::kSuccess)
        return;
    value.getFloat() = a + b;
    data.db_unlockAttribute(sum);
}

void registerRig(Scene& scene)
{
    if (scene.registry().lookupNodeTemplate(LayerEdits::kRig) != nullptr)
        return;
    auto* const rig = new NodeTemplate(L"Rig", LayerEdits::kRig, scene.module());
    for (const wchar_t* const name : {L"a", L"b", L"sum"})
        EXPECT_EQ(rig->addAttribute(FloatAttributeMetaDataDef(), name), Status::kSuccess);
    EXPECT_EQ(rig->addAttribute(StringAttributeMetaDataDef(), L"label"), Status::kSuccess);
    IntAttributeMetaDataDef points;
    points.setArray(true);
    EXPECT_EQ(rig->addAttribute(points, L"points"), Status::kSuccess);
    const unsigned int inputs[] = {0, 1, NodeTemplate::kEndOfList};
    const unsigned int outputs[] = {2, NodeTemplate::kEndOfList};
    EXPECT_EQ(rig->addComputeSet(inputs, outputs, computeSum, nullptr), Status::kSuccess);
    EXPECT_EQ(scene.registry().registerNodeTemplate(rig), Status::kSuccess);
}

} // namespace

LayerEdits::LayerEdits(DataInterface& data, Scene& scene, Random& random) : data_(data), scene_(scene), random_(random)
{
    registerRig(scene);
}

void LayerEdits::edit()
{
    static constexpr std::size_t kWeights[] = {12, 2, 5, 1, 4, 6, 6, 4, 2, 2, 5, 20, 3, 14, 4, 2};
    static_assert(std::size(kWeights) == static_cast<std::size_t>(Kind::kCount));
    std::size_t total = 0;
    for (const std::size_t weight : kWeights)
        total += weight;
    std::size_t roll = random_.below(total);
    std::size_t kind = 0;
    for (; roll >= kWeights[kind]; ++kind)
        roll -= kWeights[kind];
    if (make(static_cast<Kind>(kind)))
        ++successes_[kind];
}

bool LayerEdits::make(Kind kind)
{
    using Member = bool (LayerEdits::*)();
    static constexpr Member kEdits[] = {
        &LayerEdits::createNode,           &LayerEdits::createUnknownNode,    &LayerEdits::destroyLeafNode,
        &LayerEdits::destroySubtree,       &LayerEdits::renameNode,           &LayerEdits::reparentNode,
        &LayerEdits::reorderNode,          &LayerEdits::createDynamicElement, &LayerEdits::destroyDynamicElement,
        &LayerEdits::renameDynamicElement, &LayerEdits::resizeAttributeArray, &LayerEdits::createReference,
        &LayerEdits::destroyReference,     &LayerEdits::writeAttribute,       &LayerEdits::writeArray,
        &LayerEdits::makeMistake};
    static_assert(std::size(kEdits) == static_cast<std::size_t>(Kind::kCount));
    return (this->*kEdits[static_cast<std::size_t>(kind)])();
}

bool LayerEdits::note(Status answer)
{
    answers_.push_back(answer);
    return answer == Status::kSuccess;
}

// --- Nodes ---

bool LayerEdits::createNode()
{
    if (nodes().size() > kMaxNodes)
        return destroySubtree();
    Node* const parent = anyNode();
    const unsigned int typeId = random_.chance(1, 6) ? static_cast<unsigned int>(Scene::kPlain) : kRig;
    return note(data_.db_createNode(typeId, anyName().c_str(), parent, childOrNull(parent), nullptr));
}

bool LayerEdits::createUnknownNode()
{
    Node* const parent = anyNode();
    return note(data_.db_createUnknownNode(L"Gone", scene_.module(), anyName().c_str(), parent, childOrNull(parent),
                                           random_.chance(1, 2), nullptr));
}

bool LayerEdits::destroyLeafNode()
{
    Node* node = nodeBelowRoot();
    while (node != nullptr && node->getFirstChild() != nullptr)
        node = node->getFirstChild();
    return node != nullptr && destroyWithoutChildren(node);
}

bool LayerEdits::destroySubtree()
{
    Node* const top = nodeBelowRoot();
    if (top == nullptr)
        return false;
    std::vector<Node*> below;
    for (NodeIteratorPostOrder walk(top); walk.next();)
        if (walk.node() != top)
            below.push_back(walk.node());
    bool isDone = true;
    for (Node* const node : below)
        isDone = destroyWithoutChildren(node) && isDone;
    return destroyWithoutChildren(top) && isDone;
}

bool LayerEdits::destroyWithoutChildren(Node* node)
{
    freeFromReferences(node);
    while (node->getDynamicElementCount() != 0)
        if (!note(data_.db_destroyDynamicElement(node->getDynamicElement(0))))
            return false;
    return note(data_.db_destroyLeafNode(node));
}

void LayerEdits::freeFromReferences(Node* node)
{
    for (AttributeIterator attributes(node); attributes.next();)
    {
        while (Attribute* const referencer = attributes.attr()->getReferents())
            if (!note(data_.db_destroyReference(referencer)))
                return;
        if (attributes.attr()->getReference() != nullptr)
            note(data_.db_destroyReference(attributes.attr()));
    }
}

bool LayerEdits::renameNode()
{
    Node* const node = nodeBelowRoot();
    return node != nullptr && note(data_.db_renameNode(node, anyName().c_str()));
}

bool LayerEdits::reparentNode()
{
    Node* const node = nodeBelowRoot();
    Node* const parent = anyNode();
    const std::wstring name = anyName();
    return node != nullptr && note(data_.db_reparentNode(node, parent, childOrNull(parent),
                                                         random_.chance(1, 3) ? name.c_str() : nullptr));
}

bool LayerEdits::reorderNode()
{
    Node* const node = nodeBelowRoot();
    return node != nullptr && note(data_.db_reorderNode(node, childOrNull(node->getParent())));
}

// --- Elements ---

bool LayerEdits::createDynamicElement()
{
    Node* const node = nodeBelowRoot();
    if (node == nullptr || node->getDynamicElementCount() >= kMaxDynamicElements)
        return false;
    const bool isArray = random_.chance(1, 3);
    const AttributeTypeId types[] = {AttributeType::kInt, AttributeType::kString, AttributeType::kVector3};
    ElementSpec spec = plainElement(L"unused", random_.pick(types), isArray);
    if (random_.chance(1, 6))
        spec.flags = ElementMetaDataFlag::kNotWatched;
    Element* const next = random_.chance(1, 3) ? node->getDynamicElement(0) : nullptr;
    return note(data_.db_createDynamicElement(*makeDefinition(spec), anyName().c_str(), node, next, nullptr));
}

bool LayerEdits::destroyDynamicElement()
{
    Element* const element = anyDynamicElement();
    if (element == nullptr)
        return false;
    if (random_.chance(1, 2))
        freeFromReferences(element->getNode());
    return note(data_.db_destroyDynamicElement(element));
}

bool LayerEdits::renameDynamicElement()
{
    Element* const element = anyDynamicElement();
    return element != nullptr && note(data_.db_renameDynamicElement(element, anyName().c_str()));
}

bool LayerEdits::resizeAttributeArray()
{
    AttributeArray* const array = anyArray();
    const auto size = static_cast<unsigned int>(random_.below(kMaxItems + 1));
    return array != nullptr && note(data_.db_resizeAttributeArray(array, size));
}

bool LayerEdits::createReference()
{
    Attribute* const referenced = anyAttribute();
    Attribute* const referencer = anyAttribute();
    return referenced != nullptr && referencer != nullptr && !referencer->isComputed() &&
           note(data_.db_createReference(referenced, referencer, random_.chance(1, 6)));
}

bool LayerEdits::destroyReference()
{
    std::vector<Attribute*> referencers;
    for (Node* const node : nodes())
        for (AttributeIterator attributes(node); attributes.next();)
            if (attributes.attr()->getReference() != nullptr)
                referencers.push_back(attributes.attr());
    return !referencers.empty() && note(data_.db_destroyReference(random_.pick(referencers)));
}

// --- Values ---

bool LayerEdits::writeAttribute()
{
    Attribute* const attribute = anyAttribute();
    ValueHandle value;
    if (attribute == nullptr || attribute->isComputed() || !note(data_.db_lockAttribute(attribute, &value)))
        return false;
    if (attribute->getTypeId() == AttributeType::kFloat) // sums of what a random bit pattern holds are not always equal
        value.getFloat() = static_cast<float>(random_.below(1000));
    else
        writeValue(value, randomModelValue(attribute->getTypeId(), random_));
    return note(data_.db_unlockAttribute(attribute));
}

bool LayerEdits::writeArray()
{
    AttributeArray* const array = anyArray();
    void* values = nullptr;
    if (array == nullptr || !note(data_.db_lockAttributeArray(array, &values)))
        return false;
    if (array->getTypeId() == AttributeType::kInt)
        for (unsigned int i = 0; i < array->getSize(); ++i)
            static_cast<int*>(values)[i] = static_cast<int>(random_.below(1000));
    return note(data_.db_unlockAttributeArray(array));
}

// --- What is refused ---

bool LayerEdits::makeMistake()
{
    switch (random_.below(8))
    {
    case 0: note(data_.db_createNode(999, L"x", nullptr, nullptr, nullptr)); break;
    case 1: note(data_.db_destroyLeafNode(scene_.root())); break;
    case 2: note(data_.db_renameNode(nullptr, L"x")); break;
    case 3: note(data_.db_reparentNode(scene_.root(), anyNode(), nullptr, nullptr)); break;
    case 4: note(data_.db_reorderNode(nullptr, nullptr)); break;
    case 5: note(data_.db_createReference(nullptr, nullptr, false)); break;
    case 6: note(data_.db_lockAttribute(nullptr, nullptr)); break;
    default: note(data_.db_unlockAttributeArray(anyArray())); break;
    }
    return false;
}

// --- Draws ---

std::vector<Node*> LayerEdits::nodes()
{
    std::vector<Node*> found{scene_.root()};
    for (NodeIterator walk(scene_.root()); walk.next();)
        found.push_back(walk.node());
    return found;
}

Node* LayerEdits::anyNode()
{
    std::vector<Node*> found = nodes();
    return random_.pick(found);
}

Node* LayerEdits::nodeBelowRoot()
{
    std::vector<Node*> found = nodes();
    return found.size() > 1 ? found[1 + random_.below(found.size() - 1)] : nullptr;
}

Node* LayerEdits::childOrNull(const Node* parent)
{
    std::vector<Node*> found{nullptr};
    for (Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
        found.push_back(child);
    return random_.pick(found);
}

Element* LayerEdits::anyDynamicElement()
{
    std::vector<Element*> found;
    for (Node* const node : nodes())
        for (unsigned int i = 0; i < node->getDynamicElementCount(); ++i)
            found.push_back(node->getDynamicElement(i));
    return found.empty() ? nullptr : random_.pick(found);
}

Attribute* LayerEdits::anyAttribute()
{
    std::vector<Attribute*> found;
    Node* const node = nodeBelowRoot();
    if (node != nullptr)
        for (AttributeIterator attributes(node); attributes.next();)
            found.push_back(attributes.attr());
    return found.empty() ? nullptr : random_.pick(found);
}

AttributeArray* LayerEdits::anyArray()
{
    std::vector<AttributeArray*> found;
    Node* const node = nodeBelowRoot();
    if (node != nullptr)
        for (unsigned int i = 0; i < node->getElementCount(); ++i)
            if (node->getElement(i)->isAttributeArray())
                found.push_back(static_cast<AttributeArray*>(node->getElement(i)));
    return found.empty() ? nullptr : random_.pick(found);
}

std::wstring LayerEdits::anyName()
{
    return L"n" + std::to_wstring(random_.below(30)) + L"x"; // few, so that some are taken
}

} // namespace db2test
