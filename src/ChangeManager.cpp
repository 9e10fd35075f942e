#include <db2/ChangeManager.h>

#include <db2/Library.h>
#include <db2/Node.h>

#include "OutOfMemory.h"
#include "Prefetch.h"
#include "ReferencerWalk.h"

#include <typeinfo>
#include <utility>

namespace db2 {
namespace {

/// Calls @p visit for every entry of a list of @p changes. The count is taken once, before.
template <class T, class Visit>
void forEach(const ChangeSet& changes, unsigned int (ChangeSet::*count)() const,
             T* (ChangeSet::*entry)(unsigned int) const, Visit visit)
{
    for (unsigned int i = 0, entries = (changes.*count)(); i < entries; ++i)
        visit(*(changes.*entry)(i));
}

template <class T>
void clearBits(const ChangeSet& changes, unsigned int (ChangeSet::*count)() const,
               T* (ChangeSet::*entry)(unsigned int) const, std::uint32_t bit)
{
    forEach(changes, count, entry, [bit](T& object) { object.clearFlag(bit); });
}

/// Takes the objects that are gone out of one list, with their bits.
template <class T, class IsGone>
void dropGone(ChangeSet& changes, unsigned int (ChangeSet::*count)() const, T* (ChangeSet::*entry)(unsigned int) const,
              void (ChangeSet::*remove)(T*), std::uint32_t bit, IsGone isGone)
{
    kqtl::pod_vector<T*> gone; // found first: taking out while reading would go through the list each time
    forEach(changes, count, entry, [&](T& object) {
        if (isGone(object))
            gone.push_back(&object);
    });
    for (T* const object : gone)
    {
        (changes.*remove)(object);
        object->clearFlag(bit);
    }
}

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

/// A set of a class derived from the library's may do otherwise, so it is none of these.
ConcreteChangeSet* asConcrete(ChangeSet& changes)
{
    return typeid(changes) == typeid(ConcreteChangeSet) ? static_cast<ConcreteChangeSet*>(&changes) : nullptr;
}

} // namespace

ChangeManager::ChangeManager(DataInterface* nextLayer, ChangeSet& changes, ChangeSet& preReportChanges,
                             void* wrapperDatabase)
    : ForwardingLayer(nextLayer), snapshot_(&preReportChanges), changes_(&changes), ownLists_(asConcrete(changes)),
      wrapperDatabase_(wrapperDatabase)
{
    changes_->reserve();
}

// --- Recording ---

/// Every edit of this layer goes the same way: refused while observers run, forwarded, recorded if it succeeded.
template <class Edit, class Record>
Status ChangeManager::perform(Edit edit, Record record)
{
    if (inObservers_)
    {
        logError(L"DataInterface operations cannot be called whilst calling data observers.");
        return Status::kFailure;
    }
    const Status status = edit();
    if (status == Status::kSuccess && !succeeds(record))
        logError(L"Out of memory while recording a change; the report will lack it.");
    return status;
}

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

// --- Reports ---

/// False only when the lists that are sorted and those that may hold what is gone are all empty.
bool ChangeManager::mayHaveCreatedOrDestroyed() const
{
    return ownLists_ == nullptr || !ownLists_->createdNodes_.empty() || !ownLists_->destroyedNodes_.empty() ||
           !ownLists_->createdDynamicAttributes_.empty() || !ownLists_->createdDynamicAttributeArrays_.empty() ||
           !ownLists_->createdReferences_.empty();
}

/// Edits of inner layers, an undo for example, pass this one by: what it knows as created may be gone.
void ChangeManager::dropDestroyedBelow()
{
    using Set = ChangeSet;
    const auto isDestroyed = [](const auto& object) { return object.isDestroyed(); };
    dropGone(*changes_, &Set::CreatedNodeCount, &Set::CreatedNode, &Set::removeCreatedNode, NodeFlag::kCreated,
             isDestroyed);
    dropGone(*changes_, &Set::CreatedDynamicAttributeCount, &Set::CreatedDynamicAttribute,
             &Set::removeCreatedDynamicAttribute, ElementFlag::kCreated, isDestroyed);
    dropGone(*changes_, &Set::CreatedDynamicAttributeArrayCount, &Set::CreatedDynamicAttributeArray,
             &Set::removeCreatedDynamicAttributeArray, ElementFlag::kCreated, isDestroyed);
    dropGone(*changes_, &Set::CreatedReferenceCount, &Set::CreatedReference, &Set::removeCreatedReference,
             ElementFlag::kReferenceMade,
             [](const Attribute& referencer) { return referencer.getReference() == nullptr; });
}

Status ChangeManager::preReportChanges(bool transient)
{
    try
    {
        dropDestroyedBelow();
        isSnapshotFilled_ = true;
        snapshot_->assign(*changes_);
        BreadthFirstSortFunctor byDepth;
        snapshot_->stableSortCreatedNodes(byDepth);
        snapshot_->stableSortDestroyedNodes(byDepth);
        preObservers_.notify(&DataPreObserver::onPreReportChanges, this, *snapshot_, transient);
    }
    catch (...)
    {
        logWarning(L"ChangeManager::preReportChanges(). Unknown exception caught whilst reporting changes.");
    }
    return Status::kSuccess;
}

void ChangeManager::reportChanges(bool transient)
{
    try
    {
        if (mayHaveCreatedOrDestroyed())
        {
            dropDestroyedBelow();
            BreadthFirstSortFunctor byDepth;
            changes_->stableSortCreatedNodes(byDepth);
            changes_->stableSortDestroyedNodes(byDepth);
        }
        inObservers_ = true;
        observers_.notify(&DataObserver::onReportChanges, this, *changes_, transient);
    }
    catch (...)
    {
        logWarning(L"ChangeManager::reportChanges(). Unknown exception caught whilst reporting changes.");
    }
    inObservers_ = false;
    clear();
}

void ChangeManager::clear()
{
    if (ownLists_ != nullptr)
        ownLists_->forEachList([](auto& list, std::uint32_t bit) {
            if (list.empty()) // as most lists are at most reports
                return;
            forEachFetched(list, [bit](auto& object) { object.clearFlag(bit); });
            list.clear();
        });
    else
        clearHostSet();
    if (std::exchange(isSnapshotFilled_, false))
        snapshot_->clear(); // it may list what the commit behind this is about to free
}

void ChangeManager::clearHostSet()
{
    using Set = ChangeSet;
    const Set& changes = *changes_;
    clearBits(changes, &Set::CreatedNodeCount, &Set::CreatedNode, NodeFlag::kCreated);
    clearBits(changes, &Set::DestroyedNodeCount, &Set::DestroyedNode, NodeFlag::kDestroyedNow);
    clearBits(changes, &Set::ReparentedNodeCount, &Set::ReparentedNode, NodeFlag::kReparented);
    clearBits(changes, &Set::ReorderedNodeCount, &Set::ReorderedNode, NodeFlag::kReordered);
    clearBits(changes, &Set::RenamedNodeCount, &Set::RenamedNode, NodeFlag::kRenamed);
    clearBits(changes, &Set::ChangedNodeCount, &Set::ChangedNode, NodeFlag::kChanged);
    clearBits(changes, &Set::CreatedDynamicAttributeCount, &Set::CreatedDynamicAttribute, ElementFlag::kCreated);
    clearBits(changes, &Set::DestroyedDynamicAttributeCount, &Set::DestroyedDynamicAttribute,
              ElementFlag::kDestroyedNow);
    clearBits(changes, &Set::RenamedDynamicAttributeCount, &Set::RenamedDynamicAttribute, ElementFlag::kRenamed);
    clearBits(changes, &Set::CreatedDynamicAttributeArrayCount, &Set::CreatedDynamicAttributeArray,
              ElementFlag::kCreated);
    clearBits(changes, &Set::DestroyedDynamicAttributeArrayCount, &Set::DestroyedDynamicAttributeArray,
              ElementFlag::kDestroyedNow);
    clearBits(changes, &Set::RenamedDynamicAttributeArrayCount, &Set::RenamedDynamicAttributeArray,
              ElementFlag::kRenamed);
    clearBits(changes, &Set::ResizedAttributeArrayCount, &Set::ResizedAttributeArray, ElementFlag::kResized);
    clearBits(changes, &Set::CreatedReferenceCount, &Set::CreatedReference, ElementFlag::kReferenceMade);
    clearBits(changes, &Set::DestroyedReferenceCount, &Set::DestroyedReference, ElementFlag::kReferenceBroken);
    clearBits(changes, &Set::ChangedAttributeCount, &Set::ChangedAttribute, ElementFlag::kChanged);
    changes_->clear();
}

// --- Units of work ---

template <class Edit>
Status ChangeManager::performCommit(bool transient, Edit edit)
{
    return perform(
        [&] {
            reportChanges(transient);
            return edit();
        },
        [] {});
}

Status ChangeManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return performCommit(false, [&] { return ForwardingLayer::db_commit(description, file, line); });
}

Status ChangeManager::db_commitTransient()
{
    return performCommit(true, [&] { return ForwardingLayer::db_commitTransient(); });
}

Status ChangeManager::db_clear()
{
    return perform(
        [&] {
            clear();
            inObservers_ = true;
            observers_.notify(&DataObserver::onClear, this);
            inObservers_ = false;
            return ForwardingLayer::db_clear();
        },
        [] {});
}

} // namespace db2
