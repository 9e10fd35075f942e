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
        [&] { handleCreatedNode(created); });
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
        [&] { handleCreatedNode(created); });
}

Status ChangeManager::db_destroyLeafNode(Node* node)
{
    return perform([&] { return ForwardingLayer::db_destroyLeafNode(node); }, [&] { recordDestroyed(*node); });
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
    return perform([&] { return ForwardingLayer::db_renameNode(node, name); },
                   [&] {
                       if (wasRecorded)
                           return;
                       changes_->addRenamedNode(node, oldName_.c_str());
                       node->setFlag(NodeFlag::kRenamed);
                   });
}

Status ChangeManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return perform([&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); },
                   [&] {
                       if (node->hasAnyFlag(NodeFlag::kCreated | NodeFlag::kReparented))
                           return;
                       changes_->addReparentedNode(node);
                       node->setFlag(NodeFlag::kReparented);
                   });
}

Status ChangeManager::db_reorderNode(Node* node, Node* next)
{
    return perform([&] { return ForwardingLayer::db_reorderNode(node, next); }, [&] { recordReordered(*node); });
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
        [&] {
            changes_->addCreatedDynamicElement(created);
            created->setFlag(ElementFlag::kCreated);
        });
}

Status ChangeManager::db_destroyDynamicElement(Element* element)
{
    return perform([&] { return ForwardingLayer::db_destroyDynamicElement(element); },
                   [&] { recordDestroyed(*element); });
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
    return perform([&] { return ForwardingLayer::db_renameDynamicElement(element, name); },
                   [&] {
                       if (element->hasAnyFlag(ElementFlag::kCreated | ElementFlag::kRenamed))
                           return;
                       changes_->addRenamedDynamicElement(element);
                       element->setFlag(ElementFlag::kRenamed);
                   });
}

// --- Arrays and references ---

Status ChangeManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return perform([&] { return ForwardingLayer::db_resizeAttributeArray(array, size); },
                   [&] {
                       if (array->hasAnyFlag(ElementFlag::kCreated | ElementFlag::kResized))
                           return;
                       changes_->addResizedAttributeArray(array);
                       array->setFlag(ElementFlag::kResized);
                   });
}

Status ChangeManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return perform([&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); },
                   [&] {
                       if (referencer->hasFlag(ElementFlag::kReferenceMade))
                           return;
                       changes_->addCreatedReference(referencer);
                       referencer->setFlag(ElementFlag::kReferenceMade);
                       addChangedAttribute(referencer);
                   });
}

Status ChangeManager::db_destroyReference(Attribute* referencer)
{
    return perform([&] { return ForwardingLayer::db_destroyReference(referencer); },
                   [&] {
                       if (referencer->hasFlag(ElementFlag::kReferenceMade))
                       {
                           changes_->removeCreatedReference(referencer);
                           referencer->clearFlag(ElementFlag::kReferenceMade);
                       }
                       else if (!referencer->hasFlag(ElementFlag::kReferenceBroken))
                       {
                           changes_->addDestroyedReference(referencer);
                           referencer->setFlag(ElementFlag::kReferenceBroken);
                           addChangedAttribute(referencer);
                       }
                   });
}

// --- Values ---

Status ChangeManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return perform([&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); },
                   [&] {
                       addChangedAttribute(attribute);
                       addChangedReferents(*attribute);
                   });
}

Status ChangeManager::db_unlockAttribute(Attribute* attribute)
{
    return perform([&] { return ForwardingLayer::db_unlockAttribute(attribute); }, [] {});
}

Status ChangeManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return perform([&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); },
                   [&] {
                       if (array->getReferenceCount() == 0) // items are not reported, only what references them
                           return;
                       for (unsigned int i = 0; i < array->getSize(); ++i)
                           addChangedReferents(*array->getAttribute(i));
                   });
}

Status ChangeManager::db_unlockAttributeArray(AttributeArray* array)
{
    return perform([&] { return ForwardingLayer::db_unlockAttributeArray(array); }, [] {});
}

} // namespace db2
