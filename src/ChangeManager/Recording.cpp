// What ChangeManager records of each edit that passes through it.

#include <db2/ChangeManager.h>

#include <db2/Node.h>

#include "../Prefetch.h"
#include "../ReferencerWalk.h"
#include "Perform.h"

namespace db2 {
namespace {

/// What references one attribute was often made one after the other, and so stands at equal distances: a guess at where
/// the walk will be some steps further on, which it would otherwise wait for at every step.
void prefetchAhead(const Attribute& from, const Attribute& to)
{
    const auto distance = reinterpret_cast<std::uintptr_t>(&to) - reinterpret_cast<std::uintptr_t>(&from);
    const auto later = [distance](const void* address) {
        return reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(address) + kPrefetchDistance * distance);
    };
    prefetch(later(&to));
    prefetch(later(NodeMemory::flagsOf(*from.getNode())));
    prefetch(later(NodeMemory::linksOf(from)));
    prefetch(&to);
}

} // namespace

// --- Recording ---

void ChangeManager::handleCreatedNode(Node* node)
{
    if (node->hasFlag(NodeFlag::kCreated))
        return;
    changes_->addCreatedNode(node);
    node->setFlag(NodeFlag::kCreated);
}

void ChangeManager::addChangedAttribute(Attribute* attribute)
{
    if (!attribute->isAttributeArrayElement())
        markChanged(*attribute);
}

/// A node that this unit created is reported whole, without its values.
void ChangeManager::markChanged(Attribute& attribute)
{
    Node& node = *attribute.getNode();
    if (node.hasFlag(NodeFlag::kCreated))
        return;
    if (!attribute.hasFlag(ElementFlag::kChanged))
    {
        if (ownLists_ != nullptr)
            ownLists_->changedAttributes_.add(&attribute);
        else
            changes_->addChangedAttribute(&attribute);
        attribute.setFlag(ElementFlag::kChanged);
    }
    if (!node.hasFlag(NodeFlag::kChanged))
    {
        if (ownLists_ != nullptr)
            ownLists_->changedNodes_.add(&node);
        else
            changes_->addChangedNode(&node);
        node.setFlag(NodeFlag::kChanged);
    }
}

/// All attributes that show the value of @p attribute, directly or through others.
void ChangeManager::addChangedReferents(const Attribute& attribute)
{
    ReferencerWalk walk(attribute);
    for (const Attribute* referent = walk.step(); referent != nullptr;)
    {
        // The next one is found first, so that it is on its way while this one is entered.
        const Attribute* const next = walk.step();
        if (next != nullptr)
            prefetchAhead(*referent, *next);
        addChangedAttribute(const_cast<Attribute*>(referent)); // the layers edit what the tree owns
        referent = next;
    }
}

// --- Nodes ---

Status ChangeManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    Node* created = nullptr;
    return perform(
        [&] {
            const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &created);
            if (outNode != nullptr)
                *outNode = created;
            return status;
        },
        created, [&](Node& made) { handleCreatedNode(&made); });
}

Status ChangeManager::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                           Node* parent, Node* next, bool legacy, Node** outNode)
{
    Node* created = nullptr;
    return perform(
        [&] {
            const Status status =
                ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, &created);
            if (outNode != nullptr)
                *outNode = created;
            return status;
        },
        created, [&](Node& made) { handleCreatedNode(&made); });
}

Status ChangeManager::db_destroyLeafNode(Node* node)
{
    return perform([&] { return ForwardingLayer::db_destroyLeafNode(node); }, node,
                   [&](Node& destroyed) { recordDestroyed(destroyed); });
}

void ChangeManager::recordDestroyed(Node& node)
{
    const auto takeOut = [&](std::uint32_t bit, void (ChangeSet::*remove)(Node*)) {
        if (!node.hasFlag(bit))
            return false;
        (changes_->*remove)(&node);
        node.clearFlag(bit);
        return true;
    };
    const bool wasCreatedNow = takeOut(NodeFlag::kCreated, &ChangeSet::removeCreatedNode);
    if (!wasCreatedNow && !node.hasFlag(NodeFlag::kDestroyedNow)) // else an inner layer brought it back in between
    {
        changes_->addDestroyedNode(&node);
        node.setFlag(NodeFlag::kDestroyedNow);
    }
    takeOut(NodeFlag::kChanged, &ChangeSet::removeChangedNode);
    takeOut(NodeFlag::kReparented, &ChangeSet::removeReparentedNode);
    takeOut(NodeFlag::kReordered, &ChangeSet::removeReorderedNode);
    takeOut(NodeFlag::kRenamed, &ChangeSet::removeRenamedNode);
}

Status ChangeManager::db_renameNode(Node* node, const wchar_t* name)
{
    const bool wasRecorded = node == nullptr || node->hasAnyFlag(NodeFlag::kCreated | NodeFlag::kRenamed);
    if (!wasRecorded && !succeeds([&] { oldName_ = node->getName(); })) // the edit replaces it
        oldName_.clear();
    return perform([&] { return ForwardingLayer::db_renameNode(node, name); }, node,
                   [&](Node& renamed) {
                       if (wasRecorded)
                           return;
                       changes_->addRenamedNode(&renamed, oldName_.c_str());
                       renamed.setFlag(NodeFlag::kRenamed);
                   });
}

Status ChangeManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return perform([&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); }, node,
                   [&](Node& moved) {
                       if (moved.hasAnyFlag(NodeFlag::kCreated | NodeFlag::kReparented))
                           return;
                       changes_->addReparentedNode(&moved);
                       moved.setFlag(NodeFlag::kReparented);
                   });
}

Status ChangeManager::db_reorderNode(Node* node, Node* next)
{
    return perform([&] { return ForwardingLayer::db_reorderNode(node, next); }, node,
                   [&](Node& moved) { recordReordered(moved); });
}

void ChangeManager::recordReordered(Node& node)
{
    Node* const parent = node.getParent();
    if (node.hasFlag(NodeFlag::kCreated) || parent == nullptr ||
        parent->hasAnyFlag(NodeFlag::kCreated | NodeFlag::kReordered))
        return;
    changes_->addReorderedNode(parent);
    parent->setFlag(NodeFlag::kReordered);
}

// --- Dynamic elements ---

Status ChangeManager::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                              Element* next, Element** outElement)
{
    Element* created = nullptr;
    return perform(
        [&] {
            const Status status = ForwardingLayer::db_createDynamicElement(definition, name, node, next, &created);
            if (outElement != nullptr)
                *outElement = created;
            return status;
        },
        created,
        [&](Element& made) {
            changes_->addCreatedDynamicElement(&made);
            made.setFlag(ElementFlag::kCreated);
        });
}

Status ChangeManager::db_destroyDynamicElement(Element* element)
{
    return perform([&] { return ForwardingLayer::db_destroyDynamicElement(element); }, element,
                   [&](Element& destroyed) { recordDestroyed(destroyed); });
}

void ChangeManager::recordDestroyed(Element& element)
{
    if (element.hasFlag(ElementFlag::kCreated))
    {
        changes_->removeCreatedDynamicElement(&element);
        element.clearFlag(ElementFlag::kCreated);
        return;
    }
    if (!element.hasFlag(ElementFlag::kDestroyedNow)) // else an inner layer brought it back in between
    {
        changes_->addDestroyedDynamicElement(&element);
        element.setFlag(ElementFlag::kDestroyedNow);
    }
    if (element.hasFlag(ElementFlag::kRenamed))
        changes_->removeRenamedDynamicElement(&element);
    if (element.isAttributeArray() && element.hasFlag(ElementFlag::kResized))
        changes_->removeResizedAttributeArray(static_cast<AttributeArray*>(&element));
    if (!element.isAttributeArray() && element.hasFlag(ElementFlag::kChanged))
        changes_->removeChangedAttribute(static_cast<Attribute*>(&element));
    element.clearFlag(ElementFlag::kRenamed |
                      (element.isAttributeArray() ? ElementFlag::kResized : ElementFlag::kChanged));
}

Status ChangeManager::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return perform([&] { return ForwardingLayer::db_renameDynamicElement(element, name); }, element,
                   [&](Element& renamed) {
                       if (renamed.hasAnyFlag(ElementFlag::kCreated | ElementFlag::kRenamed))
                           return;
                       changes_->addRenamedDynamicElement(&renamed);
                       renamed.setFlag(ElementFlag::kRenamed);
                   });
}

// --- Arrays and references ---

Status ChangeManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return perform([&] { return ForwardingLayer::db_resizeAttributeArray(array, size); }, array,
                   [&](AttributeArray& resized) {
                       if (resized.hasAnyFlag(ElementFlag::kCreated | ElementFlag::kResized))
                           return;
                       changes_->addResizedAttributeArray(&resized);
                       resized.setFlag(ElementFlag::kResized);
                   });
}

Status ChangeManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return perform([&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); },
                   referencer,
                   [&](Attribute& connected) {
                       if (connected.hasFlag(ElementFlag::kReferenceMade))
                           return;
                       changes_->addCreatedReference(&connected);
                       connected.setFlag(ElementFlag::kReferenceMade);
                       addChangedAttribute(&connected);
                   });
}

Status ChangeManager::db_destroyReference(Attribute* referencer)
{
    return perform([&] { return ForwardingLayer::db_destroyReference(referencer); }, referencer,
                   [&](Attribute& disconnected) {
                       if (disconnected.hasFlag(ElementFlag::kReferenceMade))
                       {
                           changes_->removeCreatedReference(&disconnected);
                           disconnected.clearFlag(ElementFlag::kReferenceMade);
                       }
                       else if (!disconnected.hasFlag(ElementFlag::kReferenceBroken))
                       {
                           changes_->addDestroyedReference(&disconnected);
                           disconnected.setFlag(ElementFlag::kReferenceBroken);
                           addChangedAttribute(&disconnected);
                       }
                   });
}

// --- Values ---

Status ChangeManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return perform([&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); }, attribute,
                   [&](Attribute& written) {
                       addChangedAttribute(&written);
                       addChangedReferents(written);
                   });
}

Status ChangeManager::db_unlockAttribute(Attribute* attribute)
{
    return perform([&] { return ForwardingLayer::db_unlockAttribute(attribute); });
}

Status ChangeManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return perform([&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); }, array,
                   [&](AttributeArray& written) {
                       if (written.getReferenceCount() == 0) // items are not reported, only what references them
                           return;
                       for (unsigned int i = 0; i < written.getSize(); ++i)
                           addChangedReferents(*written.getAttribute(i));
                   });
}

Status ChangeManager::db_unlockAttributeArray(AttributeArray* array)
{
    return perform([&] { return ForwardingLayer::db_unlockAttributeArray(array); });
}

} // namespace db2
