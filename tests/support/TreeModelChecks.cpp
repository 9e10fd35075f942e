#include "TreeModel.h"

#include <algorithm>

// The checks of TreeModel: for each edit the tests in their order, the first that fails is the answer.

namespace db2test {
namespace {

constexpr std::size_t kLongestElementName = 40; // in UTF-16 units

bool isEmpty(const wchar_t* name)
{
    return name == nullptr || *name == L'\0';
}

bool isTooLong(const wchar_t* name)
{
    const std::wstring_view text = name;
    std::size_t units = text.size();
    if constexpr (sizeof(wchar_t) > 2)
        units += static_cast<std::size_t>(
            std::ranges::count_if(text, [](wchar_t c) { return static_cast<char32_t>(c) >> 16 != 0; }));
    return units > kLongestElementName;
}

bool isInUndo(const ModelElement& element)
{
    return element.inUndo || element.outermost().inUndo || element.node->inUndo;
}

/// Gone from the tree in any way, or a released item.
bool isGone(const ModelElement& element)
{
    return element.destroyed || element.outermost().destroyed || element.node->destroyed || element.isReleased();
}

bool isConnectable(const ModelElement& element)
{
    return (element.kind().flags & ElementMetaDataFlag::kNotConnectable) == 0;
}

bool isPlainData(AttributeTypeId type)
{
    return type <= AttributeType::kQuat && type != AttributeType::kString;
}

Outcome inUndo(const wchar_t* what)
{
    return {Status::kInUndo, std::wstring(L"Attempt to access ") + what + L" that is in undo"};
}

Outcome onRoot()
{
    return {Status::kRootNode, L"Cannot perform operations on the root node."};
}

} // namespace

// --- Common tests ---

Outcome TreeModel::checkUnlocked() const
{
    if (!locked_.empty())
        return {Status::kLockOutstanding, L"Attribute locking/unlocking must be an atomic operation."};
    return Status::kSuccess;
}

Outcome TreeModel::checkNode(const ModelNode& node) const
{
    if (node.inUndo)
        return inUndo(L"node");
    return &node == &root() ? onRoot() : Status::kSuccess;
}

Outcome TreeModel::checkElement(const ModelElement& element) const
{
    if (isInUndo(element))
        return inUndo(L"attribute");
    return element.node == &root() ? onRoot() : Status::kSuccess;
}

Outcome TreeModel::checkPlace(const ModelNode* parent, const ModelNode* next) const
{
    const ModelNode& place = parent != nullptr ? *parent : root();
    if (next != nullptr && (next->parent != &place || next->destroyed))
        return Status::kNextNotChildOfParent;
    return place.destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::checkElementName(const wchar_t* name, const ModelNode& node) const
{
    for (const auto& element : node.elements)
    {
        if (modelHash(element->spec.name) == modelHash(name))
            return Status::kDuplicateElementName;
    }
    return Status::kSuccess;
}

// --- Nodes ---

Outcome TreeModel::canCreateNode(unsigned int typeId, const ModelNode* parent, const ModelNode* next) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (findType(typeId) == nullptr)
        return Status::kUnknownTypeId;
    return checkPlace(parent, next);
}

Outcome TreeModel::canCreateUnknownNode(const ModelNode* parent, const ModelNode* next) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    return checkPlace(parent, next);
}

Outcome TreeModel::canDestroyLeafNode(const ModelNode* node) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (node == nullptr)
        return Status::kNullNodeToDestroy;
    if (node->destroyed)
        return {Status::kNodeAlreadyDestroyed, L"Attempt to destroy already destroyed node"};
    if (node == &root())
        return onRoot();
    if (!node->children.empty())
        return Status::kNodeHasChildren;
    if (node->elements.size() > node->templateElementCount())
        return Status::kNodeHasDynamicElements;
    return node->edgeCount() > 0 ? Status::kNodeHasReferences : Status::kSuccess;
}

Outcome TreeModel::canRenameNode(const ModelNode* node, const wchar_t* name) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (node == nullptr)
        return Status::kNullNodeToRename;
    if (const Outcome editable = checkNode(*node); !editable.succeeds())
        return editable;
    if (isEmpty(name))
        return Status::kEmptyNodeName;
    if (!isChildNameFree(*node->parent, name, node))
        return Status::kDuplicateChildName;
    return node->destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canReparentNode(const ModelNode* node, const ModelNode* newParent, const ModelNode* next) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (node == nullptr)
        return Status::kNullNodeToReparent;
    if (const Outcome editable = checkNode(*node); !editable.succeeds())
        return editable;
    if (newParent == nullptr)
        return Status::kNullNewParent;
    if (newParent == node)
        return Status::kReparentToSelf;
    if (newParent == node->parent)
        return Status::kFailure;
    if (next != nullptr && (next->parent != newParent || next->destroyed))
        return Status::kNextNotChildOfParent;
    if (newParent->isBelow(*node))
        return Status::kReparentToDescendant;
    return node->destroyed || newParent->destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canReorderNode(const ModelNode* node, const ModelNode* next) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (node == nullptr)
        return Status::kNullNodeToReorder;
    if (const Outcome editable = checkNode(*node); !editable.succeeds())
        return editable;
    if (next == node)
        return Status::kReorderBeforeSelf;
    if (next != nullptr && (next->parent != node->parent || next->destroyed))
        return Status::kNextHasOtherParent;
    return node->destroyed ? Status::kFailure : Status::kSuccess;
}

// --- Dynamic elements ---

Outcome TreeModel::canCreateDynamicElement(const wchar_t* name, const ModelNode* node, const ModelElement* next) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (node == nullptr)
        return Status::kNullNodeForElement;
    if (const Outcome editable = checkNode(*node); !editable.succeeds())
        return editable;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isTooLong(name))
        return Status::kNameTooLong;
    if (next != nullptr && !next->dynamic)
        return Status::kNextElementNotDynamic;
    if (next != nullptr && next->node != node)
        return Status::kNextElementOnOtherNode;
    if (const Outcome free = checkElementName(name, *node); !free.succeeds())
        return free;
    return node->destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canDestroyDynamicElement(const ModelElement* element) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (element == nullptr)
        return Status::kNullElementToDestroy;
    if (element->node == &root())
        return onRoot();
    if (!element->dynamic)
        return Status::kDestroyNotDynamic;
    if (element->takesPartInReferences())
        return Status::kElementHasReferences;
    return isGone(*element) ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canRenameDynamicElement(const ModelElement* element, const wchar_t* name) const
{
    // Before every other test, on purpose: the present name is accepted whatever the state of things.
    if (element != nullptr && name != nullptr && element->kind().name == name)
        return Status::kSuccess;
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (element == nullptr)
        return Status::kNullElementToRename;
    if (!element->dynamic)
        return Status::kRenameNotDynamic;
    if (const Outcome editable = checkElement(*element); !editable.succeeds())
        return editable;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isTooLong(name))
        return Status::kNameTooLong;
    if (const Outcome free = checkElementName(name, *element->node); !free.succeeds())
        return free;
    return isGone(*element) ? Status::kFailure : Status::kSuccess;
}

// --- Arrays and references ---

Outcome TreeModel::canResizeAttributeArray(const ModelElement* array, unsigned int size) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (array == nullptr)
        return Status::kNullArrayToResize;
    if (!array->isArray())
        return Status::kFailure;
    if (const Outcome editable = checkElement(*array); !editable.succeeds())
        return editable;
    for (unsigned int i = size; i < array->size; ++i)
    {
        if (array->items[i]->takesPartInReferences())
            return Status::kResizeDropsReferences;
    }
    return isGone(*array) ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canCreateReference(const ModelElement* referenced, const ModelElement* referencer,
                                      bool singleOutput) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (referenced == nullptr)
        return Status::kNullReferenced;
    if (referencer == nullptr)
        return Status::kNullReferencer;
    if (!referenced->referencers.empty() && referenced->referencers.front()->singleOutput)
        return Status::kReferencedIsSingleOutput;
    if (singleOutput && !referenced->referencers.empty())
        return Status::kSingleOutputNotPossible;
    if (isInUndo(*referenced) || isInUndo(*referencer))
        return inUndo(L"attribute");
    if (referenced->node == &root() || referencer->node == &root())
        return Status::kReferenceToRoot;
    if (isGone(*referenced) || isGone(*referencer))
        return Status::kReferenceToDestroyed;
    if (!isConnectable(*referenced) || !isConnectable(*referencer))
        return Status::kNotConnectable;
    if (referenced->legacy || referencer->legacy)
        return Status::kReferenceToLegacy;
    if (referenced == referencer)
        return Status::kSelfReference;
    if (referencer->referenced != nullptr)
        return Status::kAlreadyReferencing;
    for (const ModelElement* walked = referenced; walked != nullptr; walked = walked->referenced)
    {
        if (walked == referencer)
            return Status::kReferenceCycle;
    }
    return Status::kSuccess;
}

Outcome TreeModel::canDestroyReference(const ModelElement* referencer) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (referencer == nullptr)
        return Status::kNullReferenceToDestroy;
    if (const Outcome editable = checkElement(*referencer); !editable.succeeds())
        return editable;
    return referencer->referenced == nullptr ? Status::kNoReference : Status::kSuccess;
}

// --- Locks ---

Outcome TreeModel::canLockAttribute(const ModelElement* attribute) const
{
    if (attribute == nullptr)
        return Status::kNullAttributeToLock;
    if (const Outcome editable = checkElement(*attribute); !editable.succeeds())
        return editable;
    if (attribute->locked)
        return Status::kAttributeAlreadyLocked;
    if (attribute->referenced != nullptr)
        return Status::kLockReferencer;
    return isGone(*attribute) ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canUnlockAttribute(const ModelElement* attribute) const
{
    if (attribute == nullptr)
        return Status::kNullAttributeToUnlock;
    return attribute->locked ? Status::kSuccess : Status::kAttributeNotLocked;
}

Outcome TreeModel::canLockAttributeArray(const ModelElement* array) const
{
    if (array == nullptr)
        return Status::kNullArrayToLock;
    if (const Outcome editable = checkElement(*array); !editable.succeeds())
        return editable;
    if (array->locked)
        return Status::kArrayAlreadyLocked;
    if (!isPlainData(array->spec.type))
        return Status::kLockArrayNotPlainData;
    if (std::ranges::any_of(array->items, [](const auto& item) { return item->referenced != nullptr; }))
        return Status::kLockArrayWithReferencer;
    return isGone(*array) ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canUnlockAttributeArray(const ModelElement* array) const
{
    if (array == nullptr)
        return Status::kNullArrayToUnlock;
    return array->locked ? Status::kSuccess : Status::kArrayNotLocked;
}

// --- Units of work ---

Outcome TreeModel::canCommit() const
{
    return checkUnlocked();
}

// --- Unknown and legacy elements ---

Outcome TreeModel::canCreateUnknownElement(const wchar_t* name, const ModelNode* node) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (name == nullptr)
        return Status::kFailure;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isTooLong(name))
        return Status::kNameTooLong;
    if (node == nullptr || !node->unknown || node->legacy)
        return Status::kFailure;
    if (const Outcome free = checkElementName(name, *node); !free.succeeds())
        return free;
    return node->destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canCreateLegacyElement(const wchar_t* name, const ModelNode* node) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (name == nullptr)
        return Status::kFailure;
    if (isEmpty(name))
        return Status::kEmptyElementName;
    if (isTooLong(name))
        return Status::kNameTooLong;
    if (node == nullptr || (node->unknown && !node->legacy))
        return Status::kFailure;
    if (!isLegacyElementNameFree(*node, name))
    {
        return {Status::kDuplicateLegacyElement, std::wstring(L"Duplicate legacy element '") + name +
                                                     L"' found in node '" + node->name +
                                                     L"'. Duplicate legacy element names should not be possible."};
    }
    return node->destroyed ? Status::kFailure : Status::kSuccess;
}

Outcome TreeModel::canDestroyLegacyElement(const ModelElement* element) const
{
    if (const Outcome unlocked = checkUnlocked(); !unlocked.succeeds())
        return unlocked;
    if (element == nullptr)
        return Status::kNullElementToDestroy;
    if (!element->legacy || element->array != nullptr) // an item leaves its array by a resize only
        return Status::kFailure;
    return isGone(*element) ? Status::kFailure : Status::kSuccess;
}

} // namespace db2test
