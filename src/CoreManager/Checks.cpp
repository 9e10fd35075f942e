// The checks of CoreManager: what each edit would return. The order of the tests is part of the interface.

#include <db2/CoreManager.h>

#include <db2/ElementMetaData.h>
#include <db2/ElementMetaDataDef.h>
#include <db2/Library.h>
#include <db2/NodeRegistry.h>
#include <db2/ValueInfo.h>

#include "../OwnedMetaData.h"

#include <cwchar>

namespace db2 {
namespace {

Status refuse(Status status, const wchar_t* message)
{
    logError(message);
    return status;
}

bool isEmpty(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

bool isNameOf(const Element* element, const wchar_t* name)
{
    return element != nullptr && name != nullptr && std::wcscmp(element->getName(), name) == 0;
}

/// By its own flag, its array's or its node's.
bool isInUndo(const Element& element)
{
    const AttributeArray* const array = element.getParentArray();
    return element.hasFlag(ElementFlag::kInUndo) || (array != nullptr && array->hasFlag(ElementFlag::kInUndo)) ||
           element.getNode()->hasFlag(NodeFlag::kInUndo);
}

/// True when the element can be edited: neither it, its array or its node is destroyed, nor was it released by its array.
bool isLive(const Element& element)
{
    const AttributeArray* const array = element.getParentArray();
    const bool wasTakenOut =
        element.hasFlag(ElementFlag::kDestroyed) || (array != nullptr && array->hasFlag(ElementFlag::kDestroyed));
    return !wasTakenOut && !element.getNode()->isDestroyed();
}

Status successIfLive(const Node& node)
{
    return node.isDestroyed() ? Status::kFailure : Status::kSuccess;
}

Status successIfLive(const Element& element)
{
    return isLive(element) ? Status::kSuccess : Status::kFailure;
}

bool takesPartInReferences(const Element& element)
{
    if (element.isAttributeArray())
        return static_cast<const AttributeArray&>(element).getReferenceCount() != 0;
    const auto& attribute = static_cast<const Attribute&>(element);
    return attribute.getReference() != nullptr || attribute.getReferents() != nullptr;
}

bool anyItemFrom(const AttributeArray& array, unsigned int first, bool (*test)(const Attribute&))
{
    if (array.getReferenceCount() == 0)
        return false;
    for (unsigned int i = first; i < array.getSize(); ++i)
        if (test(*array.getAttribute(i)))
            return true;
    return false;
}

} // namespace

// --- Common tests ---

Status CoreManager::checkUnlocked() const
{
    if (locks_ == 0)
        return Status::kSuccess;
    return refuse(Status::kLockOutstanding, L"Attribute locking/unlocking must be an atomic operation.");
}

Status CoreManager::checkNode(const Node& node) const
{
    if (node.hasFlag(NodeFlag::kInUndo))
        return refuse(Status::kInUndo, L"Attempt to access node that is in undo");
    if (&node == root_)
        return refuse(Status::kRootNode, L"Cannot perform operations on the root node.");
    return Status::kSuccess;
}

Status CoreManager::checkElement(const Element& element) const
{
    if (isInUndo(element))
        return refuse(Status::kInUndo, L"Attempt to access attribute that is in undo");
    if (element.getNode() == root_)
        return refuse(Status::kRootNode, L"Cannot perform operations on the root node.");
    return Status::kSuccess;
}

/// @param parent  null for the root, which has none while it is made itself.
Status CoreManager::checkPlace(const Node* parent, const Node* next) const
{
    if (parent == nullptr)
        parent = root_;
    if (next != nullptr && (next->getParent() != parent || next->isDestroyed()))
        return Status::kNextNotChildOfParent;
    return parent == nullptr || parent->isDestroyed() ? Status::kFailure : Status::kSuccess;
}

Status CoreManager::checkNewElementName(const wchar_t* name, const Node& node) const
{
    const bool unique = node.getNodeTemplate()->isElementNameUnique(name) && node.isDynamicElementNameUnique(name);
    return unique ? Status::kSuccess : Status::kDuplicateElementName;
}

// --- Nodes ---

Status CoreManager::canCreateNode(unsigned int typeId, const Node* parent, const Node* next) const
{
    return checkCreateNode(registry_->findTemplate(typeId), parent, next);
}

Status CoreManager::checkCreateNode(const NodeTemplate* nodeTemplate, const Node* parent, const Node* next) const
{
    const Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    return nodeTemplate != nullptr ? checkPlace(parent, next) : Status::kUnknownTypeId;
}

Status CoreManager::canCreateUnknownNode(const Node* parent, const Node* next) const
{
    const Status status = checkUnlocked();
    return status != Status::kSuccess ? status : checkPlace(parent, next);
}

Status CoreManager::canDestroyLeafNode(const Node* node) const
{
    const Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr)
        return Status::kNullNodeToDestroy;
    if (node->isDestroyed())
        return refuse(Status::kNodeAlreadyDestroyed, L"Attempt to destroy already destroyed node");
    if (node == root_)
        return refuse(Status::kRootNode, L"Cannot perform operations on the root node.");
    if (node->getFirstChild() != nullptr)
        return Status::kNodeHasChildren;
    if (node->getDynamicElementCount() != 0)
        return Status::kNodeHasDynamicElements;
    return node->getEdgeCount() != 0 ? Status::kNodeHasReferences : Status::kSuccess;
}

Status CoreManager::canRenameNode(const Node* node, const wchar_t* name) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr)
        return Status::kNullNodeToRename;
    status = checkNode(*node);
    if (status != Status::kSuccess)
        return status;
    if (isEmpty(name))
        return Status::kEmptyNodeName;
    status = node->getParent()->isChildNameValid(name, node);
    return status != Status::kSuccess ? status : successIfLive(*node);
}

Status CoreManager::canReparentNode(const Node* node, const Node* newParent, const Node* next) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr)
        return Status::kNullNodeToReparent;
    status = checkNode(*node);
    if (status != Status::kSuccess)
        return status;
    if (newParent == nullptr)
        return Status::kNullNewParent;
    if (newParent == node)
        return Status::kReparentToSelf;
    if (newParent == node->getParent())
        return Status::kFailure;
    status = checkPlace(newParent, next);
    if (status == Status::kNextNotChildOfParent)
        return status;
    // A leaf has no descendants but destroyed ones, which spares the walk to the root for what is moved most.
    const bool mayBeBelow = node->getFirstChild() != nullptr || newParent->isDestroyed();
    if (mayBeBelow && newParent->isDescendantOf(node))
        return Status::kReparentToDescendant;
    return status != Status::kSuccess ? status : successIfLive(*node);
}

Status CoreManager::canReorderNode(const Node* node, const Node* next) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr)
        return Status::kNullNodeToReorder;
    status = checkNode(*node);
    if (status != Status::kSuccess)
        return status;
    if (next == node)
        return Status::kReorderBeforeSelf;
    if (next != nullptr && (next->getParent() != node->getParent() || next->isDestroyed()))
        return Status::kNextHasOtherParent;
    return successIfLive(*node);
}

// --- Dynamic elements ---

Status CoreManager::canCreateDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, const Node* node,
                                            const Element* next) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr)
        return Status::kNullNodeForElement;
    status = checkNode(*node);
    if (status != Status::kSuccess)
        return status;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isElementNameTooLong(name))
        return Status::kNameTooLong;
    if (next != nullptr && !next->isDynamic())
        return Status::kNextElementNotDynamic;
    if (next != nullptr && next->getNode() != node)
        return Status::kNextElementOnOtherNode;
    status = checkNewElementName(name, *node);
    if (status != Status::kSuccess)
        return status;
    const bool hasType = definition.getTypeId() < kAttributeTypeCount;
    return hasType ? successIfLive(*node) : Status::kFailure;
}

Status CoreManager::canDestroyDynamicElement(const Element* element) const
{
    const Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (element == nullptr)
        return Status::kNullElementToDestroy;
    if (element->getNode() == root_)
        return refuse(Status::kRootNode, L"Cannot perform operations on the root node.");
    if (!element->isDynamic())
        return Status::kDestroyNotDynamic;
    if (takesPartInReferences(*element))
        return Status::kElementHasReferences;
    return successIfLive(*element);
}

/// A rename to the present name succeeds before anything is tested, even while a lock is outstanding; that is on purpose.
Status CoreManager::canRenameDynamicElement(const Element* element, const wchar_t* name) const
{
    if (isNameOf(element, name))
        return Status::kSuccess;
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (element == nullptr)
        return Status::kNullElementToRename;
    if (!element->isDynamic())
        return Status::kRenameNotDynamic;
    status = checkElement(*element);
    if (status != Status::kSuccess)
        return status;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isElementNameTooLong(name))
        return Status::kNameTooLong;
    status = checkNewElementName(name, *element->getNode());
    return status != Status::kSuccess ? status : successIfLive(*element);
}

// --- Arrays and references ---

Status CoreManager::canResizeAttributeArray(const AttributeArray* array, unsigned int size) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (array == nullptr)
        return Status::kNullArrayToResize;
    if (!array->isAttributeArray())
        return Status::kFailure;
    status = checkElement(*array);
    if (status != Status::kSuccess)
        return status;
    if (anyItemFrom(*array, size, [](const Attribute& item) { return takesPartInReferences(item); }))
        return Status::kResizeDropsReferences;
    return successIfLive(*array);
}

Status CoreManager::canCreateReference(const Attribute* referenced, const Attribute* referencer,
                                       bool singleOutput) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (referenced == nullptr)
        return Status::kNullReferenced;
    if (referencer == nullptr)
        return Status::kNullReferencer;
    if (referenced->isAttributeArray() || referencer->isAttributeArray())
        return Status::kFailure;
    if (referenced->referentIsSingle())
        return Status::kReferencedIsSingleOutput;
    if (singleOutput && referenced->getReferents() != nullptr)
        return Status::kSingleOutputNotPossible;
    if (isInUndo(*referenced) || isInUndo(*referencer))
        return refuse(Status::kInUndo, L"Attempt to access attribute that is in undo");
    if (referenced->getNode() == root_ || referencer->getNode() == root_)
        return Status::kReferenceToRoot;
    if (!isLive(*referenced) || !isLive(*referencer))
        return Status::kReferenceToDestroyed;
    if (referenced->hasMetaDataFlag(ElementMetaDataFlag::kNotConnectable) ||
        referencer->hasMetaDataFlag(ElementMetaDataFlag::kNotConnectable))
        return Status::kNotConnectable;
    if (referenced->isLegacy() || referencer->isLegacy())
        return Status::kReferenceToLegacy;
    if (referenced == referencer)
        return Status::kSelfReference;
    if (referencer->getReference() != nullptr)
        return Status::kAlreadyReferencing;
    return wouldCloseCycle(*referenced, *referencer) ? Status::kReferenceCycle : Status::kSuccess;
}

Status CoreManager::canDestroyReference(const Attribute* referencer) const
{
    Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (referencer == nullptr)
        return Status::kNullReferenceToDestroy;
    status = checkElement(*referencer);
    if (status != Status::kSuccess)
        return status;
    return referencer->getReference() == nullptr ? Status::kNoReference : successIfLive(*referencer);
}

// --- Locks ---

Status CoreManager::canLockAttribute(const Attribute* attribute) const
{
    if (attribute == nullptr)
        return Status::kNullAttributeToLock;
    if (attribute->isAttributeArray())
        return Status::kFailure;
    const Status status = checkElement(*attribute);
    if (status != Status::kSuccess)
        return status;
    if (attribute->isLocked())
        return Status::kAttributeAlreadyLocked;
    return attribute->getReference() != nullptr ? Status::kLockReferencer : successIfLive(*attribute);
}

Status CoreManager::canUnlockAttribute(const Attribute* attribute) const
{
    if (attribute == nullptr)
        return Status::kNullAttributeToUnlock;
    return attribute->isLocked() ? Status::kSuccess : Status::kAttributeNotLocked;
}

Status CoreManager::canLockAttributeArray(const AttributeArray* array) const
{
    if (array == nullptr)
        return Status::kNullArrayToLock;
    if (!array->isAttributeArray())
        return Status::kFailure;
    const Status status = checkElement(*array);
    if (status != Status::kSuccess)
        return status;
    if (array->isLocked())
        return Status::kArrayAlreadyLocked;
    if (!ValueInfo::isPODType(array->getTypeId()))
        return Status::kLockArrayNotPlainData;
    if (anyItemFrom(*array, 0, [](const Attribute& item) { return item.getReference() != nullptr; }))
        return Status::kLockArrayWithReferencer;
    return successIfLive(*array);
}

Status CoreManager::canUnlockAttributeArray(const AttributeArray* array) const
{
    if (array == nullptr)
        return Status::kNullArrayToUnlock;
    return array->isLocked() ? Status::kSuccess : Status::kArrayNotLocked;
}

Status CoreManager::canCommit() const
{
    return checkUnlocked();
}

// --- Unknown and legacy elements ---

/// What loaders' elements are asked first. Unlike an edit's, a name that is missing differs from one that is empty.
Status CoreManager::checkLoadedElementName(const wchar_t* name) const
{
    const Status status = checkUnlocked();
    if (status != Status::kSuccess)
        return status;
    if (name == nullptr)
        return Status::kFailure;
    if (*name == L'\0')
        return Status::kEmptyElementName;
    if (isElementNameTooLong(name))
        return Status::kNameTooLong;
    return Status::kSuccess;
}

Status CoreManager::checkUnknownElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                        const Node* node) const
{
    const Status status = checkLoadedElementName(name);
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr || !node->isUnknown() || node->isLegacy())
        return Status::kFailure;
    const Status nameStatus = checkNewElementName(name, *node);
    if (nameStatus != Status::kSuccess)
        return nameStatus;
    return definition.getTypeId() < kAttributeTypeCount ? successIfLive(*node) : Status::kFailure;
}

Status CoreManager::checkLegacyElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                       const Node* node) const
{
    const Status status = checkLoadedElementName(name);
    if (status != Status::kSuccess)
        return status;
    if (node == nullptr || (node->isUnknown() && !node->isLegacy()))
        return Status::kFailure;
    if (!node->isLegacyElementNameUnique(name))
    {
        logError(L"Duplicate legacy element '%s' found in node '%s'. Duplicate legacy element names should not be "
                 L"possible.",
                 name, node->getName().c_str());
        return Status::kDuplicateLegacyElement;
    }
    return definition.getTypeId() < kAttributeTypeCount ? successIfLive(*node) : Status::kFailure;
}

} // namespace db2
