// What a format calls while it builds the nodes: creation, elements, values, references to come.

#include <db2/LoadStrategy.h>

#include <db2/AttributeMetaDataDef.h>
#include <db2/CoreManager.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Library.h>
#include <db2/Migrator.h>
#include <db2/Module.h>
#include <db2/NodeRegistry.h>

#include "../OutOfMemory.h"

#include <cwchar>

namespace db2 {
namespace {

using MakeDefinition = std::unique_ptr<ElementMetaDataDef> (*)();

template <class Definition>
std::unique_ptr<ElementMetaDataDef> make()
{
    return std::make_unique<Definition>();
}

/// By type id.
constexpr MakeDefinition kMakeDefinition[] = {
    make<IntAttributeMetaDataDef>,          make<BoolAttributeMetaDataDef>,
    make<ColourAttributeMetaDataDef>,       make<FloatAttributeMetaDataDef>,
    make<DoubleAttributeMetaDataDef>,       make<StringAttributeMetaDataDef>,
    make<EnumAttributeMetaDataDef>,         make<Vector3AttributeMetaDataDef>,
    make<MatrixAttributeMetaDataDef>,       make<QuatAttributeMetaDataDef>,
    make<NullAttributeMetaDataDef>,         make<VertexBufferAttributeMetaDataDef>,
    make<IntArrayAttributeMetaDataDef>,     make<BoolArrayAttributeMetaDataDef>,
    make<ColourArrayAttributeMetaDataDef>,  make<FloatArrayAttributeMetaDataDef>,
    make<DoubleArrayAttributeMetaDataDef>,  make<StringArrayAttributeMetaDataDef>,
    make<Vector3ArrayAttributeMetaDataDef>, make<MatrixArrayAttributeMetaDataDef>,
    make<QuatArrayAttributeMetaDataDef>,
};
static_assert(std::size(kMakeDefinition) == kAttributeTypeCount);

Status refuse(Status status, const wchar_t* message, const wchar_t* name = nullptr)
{
    logError(message, name);
    return status;
}

/// What a creation answers that gave no object.
Status failureOf(Status answer)
{
    return answer != Status::kSuccess ? answer : Status::kFailure;
}

} // namespace

// --- Nodes ---

Status LoadStrategy::makeNode(const wchar_t* typeName, const wchar_t* moduleId, const wchar_t* name, Node* parent,
                              Node* next, Node** outNode)
{
    const wchar_t* const currentName = migrateNodeTypeName(typeName);
    if (currentName == nullptr)
        return refuse(Status::kFailure, L"Failed to migrate node type name '%s'", typeName);
    const wchar_t* const currentId = migrateNodeModuleId(moduleId, currentName);
    if (currentId == nullptr)
        return refuse(Status::kFailure, L"Failed to migrate node moduleId '%s'", moduleId);
    if (!findType(currentName, currentId))
        return Status::kFailure;

    Node* node = nullptr;
    Module* const module = lastType_.module;
    const NodeTemplate* const nodeTemplate = lastType_.nodeTemplate;
    const bool isKnown = !module->isUnknown() && nodeTemplate != nullptr;
    const bool isLegacy = !module->isUnknown() && nodeTemplate == nullptr;
    const Status status = isKnown
                              ? data_.db_createNode(nodeTemplate->getTypeId(), name, parent, next, &node)
                              : data_.db_createUnknownNode(currentName, *module, name, parent, next, isLegacy, &node);
    if (status != Status::kSuccess || node == nullptr) // a layer may keep the result to itself
        return refuse(failureOf(status), isLegacy ? L"Failed to create legacy node" : L"Failed to create node");
    if (isLegacy && !succeeds([&] { legacyNodes_.push_back(node); }))
        return Status::kFailure;
    if (node->getParent() == loadParent_)
        noteTopNode(name, *node);
    if (outNode != nullptr)
        *outNode = node;
    return Status::kSuccess;
}

/// Finds the module and the type; both stay registered while nodes of theirs are being loaded.
/// @return false when there is no such module, or memory is out.
bool LoadStrategy::findType(const wchar_t* typeName, const wchar_t* moduleId)
{
    if (lastType_.module != nullptr && lastType_.typeName == typeName && lastType_.moduleId == moduleId)
        return true;
    lastType_.module = nullptr; // until all of it is there
    Module* const module = lookupModule(moduleId);
    if (module == nullptr || !succeeds([&] {
            lastType_.typeName = typeName;
            lastType_.moduleId = moduleId;
        }))
        return false;
    lastType_.nodeTemplate = core_.getRegistry().lookupNodeTemplate(typeName);
    lastType_.module = module;
    return true;
}

/// Remembers a node that did not get the name that the file's references know it by. The first of a name counts.
void LoadStrategy::noteTopNode(const wchar_t* name, Node& node)
{
    if (name == nullptr || *name == L'\0')
        return;
    static_cast<void>(succeeds([&] {
        if (node.getName() == name)
            topNodes_.push_back(&node);
        else if (!isTopNodeOfFile(loadParent_->findChildByName(name)))
            renamedTopNodes_.try_emplace(name, &node);
    }));
}

/// Whether the file has brought the node, under the name that it has. Throws std::bad_alloc.
bool LoadStrategy::isTopNodeOfFile(const Node* node)
{
    for (; topNodesInSet_ < topNodes_.size(); ++topNodesInSet_)
        topNodeSet_.insert(topNodes_[topNodesInSet_]);
    return topNodeSet_.count(node) != 0;
}

Status LoadStrategy::onNodeLoaded(Node& node)
{
    for (Migrator* const migrator : migrators_)
    {
        const bool accepted = node.isLegacy() ? migrator->onLegacyNodeLoaded(node) : migrator->onNodeLoaded(node);
        if (!accepted)
            return Status::kFailure;
    }
    return Status::kSuccess;
}

// --- Elements ---

ElementMetaDataDef* LoadStrategy::getMetaDataDef(AttributeTypeId typeId)
{
    ElementMetaDataDef* const definition = getOrMakeDefinition(typeId);
    if (definition != nullptr)
        definitionsGivenOut_[typeId] = true;
    return definition;
}

/// @return null for what is no type, and when memory is out.
ElementMetaDataDef* LoadStrategy::getOrMakeDefinition(AttributeTypeId typeId)
{
    if (typeId >= kAttributeTypeCount)
        return nullptr;
    std::unique_ptr<ElementMetaDataDef>& definition = definitions_[typeId];
    if (definition == nullptr)
        static_cast<void>(succeeds([&] { definition = kMakeDefinition[typeId](); }));
    return definition.get();
}

Status LoadStrategy::getAttributeToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId, bool isDynamic,
                                            Attribute** outAttribute)
{
    Element* element = nullptr;
    const Status status = getElementToPopulate(node, name, typeId, false, isDynamic, &element);
    if (status == Status::kSuccess && outAttribute != nullptr)
        *outAttribute = static_cast<Attribute*>(element);
    return status;
}

Status LoadStrategy::getAttributeArrayToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId,
                                                 bool isDynamic, AttributeArray** outArray)
{
    Element* element = nullptr;
    const Status status = getElementToPopulate(node, name, typeId, true, isDynamic, &element);
    if (status == Status::kSuccess && outArray != nullptr)
        *outArray = static_cast<AttributeArray*>(element);
    return status;
}

Status LoadStrategy::getElementToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId, bool isArray,
                                          bool isDynamic, Element** outElement)
{
    if (node == nullptr || name == nullptr)
        return Status::kFailure;
    ElementMetaDataDef* const definition = getOrMakeDefinition(typeId);
    if (definition == nullptr)
    {
        logError(L"Could not find meta data def for attribute type '%s'", ValueInfo::getTypeName(typeId));
        return Status::kFailure;
    }
    definition->setArray(isArray);
    Status status = Status::kFailure; // when memory runs out
    static_cast<void>(
        succeeds([&] { status = makeElementToPopulate(*definition, *node, name, typeId, isDynamic, outElement); }));
    if (isArray || definitionsGivenOut_[typeId]) // else it is as it was made
        definition->clear();
    if (status == Status::kSuccess)
        (*outElement)->setFlag(ElementFlag::kLoaded);
    return status;
}

Status LoadStrategy::makeElementToPopulate(ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                                           AttributeTypeId typeId, bool isDynamic, Element** outElement)
{
    if (isDynamic)
    {
        const Status status = data_.db_createDynamicElement(definition, name, &node, nullptr, outElement);
        if (status == Status::kSuccess && *outElement != nullptr)
            return status;
        return refuse(failureOf(status), L"Failed to create dynamic element '%s'", name);
    }
    if (node.isLegacy())
    {
        const Status status = makeLegacyElement(definition, node, name, typeId, outElement);
        if (status != Status::kSuccess)
            logError(L"Failed to create legacy element '%s' on legacy node '%s'", name, node.getName().c_str());
        return status;
    }
    if (node.isUnknown())
    {
        const Status status =
            core_.createUnknownElement(definitionWithChoices(definition, typeId), name, &node, outElement);
        if (status != Status::kSuccess)
            logError(L"Failed to create unknown element '%s' on unknown node '%s'", name, node.getName().c_str());
        return status;
    }
    return findElementToPopulate(definition, node, name, typeId, outElement);
}

Status LoadStrategy::findElementToPopulate(const ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                                           AttributeTypeId typeId, Element** outElement)
{
    const wchar_t* const currentName = migrateAttributeName(name, &node, migrators_);
    if (currentName == nullptr)
        return refuse(Status::kFailure, L"Failed to migrate element name '%s'", name);
    Element* const element = findElement(node, currentName);
    if (element != nullptr && element->isAttributeArray() == definition.isArray() && element->getTypeId() == typeId)
    {
        *outElement = element;
        return Status::kSuccess;
    }
    const Status status = makeLegacyElement(definition, node, currentName, typeId, outElement);
    return status == Status::kSuccess ? status : refuse(status, L"Failed to create legacy element '%s'", currentName);
}

/// As Node::findElementByName(), but tries the element behind the last one first, because files list them in order.
Element* LoadStrategy::findElement(const Node& node, const wchar_t* name)
{
    const NodeTemplate& nodeTemplate = *node.getNodeTemplate();
    unsigned int index = &node == lastNode_ ? nextElement_ : 0;
    const ElementMetaData* const guess = nodeTemplate.getElementMetaData(index);
    if (guess == nullptr || std::wcscmp(guess->getName(), name) != 0)
        index = nodeTemplate.findElementByName(name);
    if (index == NodeTemplate::kEndOfList)
        return node.findElementByName(name);
    lastNode_ = &node;
    nextElement_ = index + 1;
    return node.getElement(index);
}

Status LoadStrategy::makeLegacyElement(const ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                                       AttributeTypeId typeId, Element** outElement)
{
    const ElementMetaDataDef* madeFrom = nullptr;
    const bool reserved = succeeds([&] {
        madeFrom = &definitionWithChoices(definition, typeId);
        legacyElements_.push_back({&node, nullptr}); // last: what finds an entry looks at its element
    });
    if (!reserved)
        return Status::kFailure;
    const Status status = core_.createLegacyElement(*madeFrom, name, &node, outElement);
    if (status == Status::kSuccess)
        legacyElements_.back().element = *outElement;
    else
        legacyElements_.pop_back();
    return status;
}

/// For an enum whose choices nobody knows here, the definition that learns them.
const ElementMetaDataDef& LoadStrategy::definitionWithChoices(const ElementMetaDataDef& definition,
                                                              AttributeTypeId typeId)
{
    if (typeId != AttributeType::kEnum)
        return definition;
    if (unknownEnumDefinition_ == nullptr)
        unknownEnumDefinition_ = std::make_unique<UnknownEnumAttributeMetaDataDef>();
    unknownEnumDefinition_->clear();
    unknownEnumDefinition_->setArray(definition.isArray());
    return *unknownEnumDefinition_;
}

// --- Values ---

Status LoadStrategy::lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    const bool isLegacy = attribute != nullptr && attribute->isLegacy();
    const Status status =
        isLegacy ? core_.db_lockAttribute(attribute, outValue) : data_.db_lockAttribute(attribute, outValue);
    if (status != Status::kSuccess)
        return status;
    attribute->setFlag(ElementFlag::kValueLoaded);
    lockedAttribute_ = attribute;
    return status;
}

Status LoadStrategy::unlockAttribute(Attribute* attribute)
{
    lockedAttribute_ = nullptr;
    const bool isLegacy = attribute != nullptr && attribute->isLegacy();
    return isLegacy ? core_.db_unlockAttribute(attribute) : data_.db_unlockAttribute(attribute);
}

Status LoadStrategy::onNullAttributeLoaded(Attribute* attribute)
{
    if (attribute != nullptr)
        attribute->setFlag(ElementFlag::kValueLoaded);
    return Status::kSuccess;
}

Status LoadStrategy::resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    const bool isLegacy = array != nullptr && array->isLegacy();
    const unsigned int oldSize = array != nullptr ? array->getSize() : 0;
    const Status status =
        isLegacy ? core_.db_resizeAttributeArray(array, size) : data_.db_resizeAttributeArray(array, size);
    // Nobody knows the defaults of unknown items. The mark tells those that get no value from those that do, so that
    // they are saved, and one day converted, as items without one.
    for (unsigned int i = oldSize; status == Status::kSuccess && array->isUnknown() && i < array->getSize(); ++i)
        array->getAttribute(i)->setFlag(ElementFlag::kLoaded);
    return status;
}

Status LoadStrategy::addUnresolvedReference(Attribute* attribute, const wchar_t* path, bool singleOutput)
{
    if (attribute == nullptr)
        return Status::kFailure;
    const bool added = succeeds([&] { references_.push_back({attribute->getNode(), attribute, path, singleOutput}); });
    return added ? Status::kSuccess : Status::kFailure;
}

} // namespace db2
