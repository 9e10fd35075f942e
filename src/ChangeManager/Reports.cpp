// What ChangeManager tells its observers of what was recorded, and how it forgets it.

#include <db2/ChangeManager.h>

#include <db2/Library.h>
#include <db2/Node.h>

#include "../OutOfMemory.h"
#include "../Prefetch.h"

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

/// Takes the objects out of one list of a host's own set that the list does not hold for any more, with their bits.
template <class T, class IsOver>
void dropFrom(ChangeSet& changes, unsigned int (ChangeSet::*count)() const, T* (ChangeSet::*entry)(unsigned int) const,
              void (ChangeSet::*remove)(T*), std::uint32_t bit, IsOver isOver)
{
    kqtl::pod_vector<T*> over; // found first: taking out while reading would go through the list each time
    forEach(changes, count, entry, [&](T& object) {
        if (isOver(object))
            over.push_back(&object);
    });
    for (T* const object : over)
    {
        (changes.*remove)(object);
        object->clearFlag(bit);
    }
}

/// The same in a list of the library's set, which takes no memory.
template <class T, class IsOver>
void dropFrom(ChangeList<T>& list, std::uint32_t bit, IsOver isOver)
{
    list.removeIf([&](T& object) {
        if (!isOver(object))
            return false;
        object.clearFlag(bit);
        return true;
    });
}

// --- What edits of inner layers, an undo for example, have made of what was recorded: they pass this layer by ---

/// Of what was created.
bool isGone(const Node& node)
{
    return node.isDestroyed();
}
bool isGone(const Element& element)
{
    return element.isDestroyed();
}
bool isDisconnected(const Attribute& referencer)
{
    return referencer.getReference() == nullptr;
}

/// Of what was destroyed. What came back through this layer is in both lists.
bool isBack(const Node& node)
{
    return !node.isDestroyed() && !node.hasFlag(NodeFlag::kCreated);
}
bool isBack(const Element& element)
{
    return !element.isDestroyed() && !element.hasFlag(ElementFlag::kCreated);
}
bool isConnectedAgain(const Attribute& referencer)
{
    return referencer.getReference() != nullptr && !referencer.hasFlag(ElementFlag::kReferenceMade);
}

void dropUndoneFromHostSet(ChangeSet& changes)
{
    using Set = ChangeSet;
    const auto gone = [](const auto& object) { return isGone(object); };
    const auto back = [](const auto& object) { return isBack(object); };
    dropFrom(changes, &Set::CreatedNodeCount, &Set::CreatedNode, &Set::removeCreatedNode, NodeFlag::kCreated, gone);
    dropFrom(changes, &Set::DestroyedNodeCount, &Set::DestroyedNode, &Set::removeDestroyedNode, NodeFlag::kDestroyedNow,
             back);
    dropFrom(changes, &Set::CreatedDynamicAttributeCount, &Set::CreatedDynamicAttribute,
             &Set::removeCreatedDynamicAttribute, ElementFlag::kCreated, gone);
    dropFrom(changes, &Set::DestroyedDynamicAttributeCount, &Set::DestroyedDynamicAttribute,
             &Set::removeDestroyedDynamicAttribute, ElementFlag::kDestroyedNow, back);
    dropFrom(changes, &Set::CreatedDynamicAttributeArrayCount, &Set::CreatedDynamicAttributeArray,
             &Set::removeCreatedDynamicAttributeArray, ElementFlag::kCreated, gone);
    dropFrom(changes, &Set::DestroyedDynamicAttributeArrayCount, &Set::DestroyedDynamicAttributeArray,
             &Set::removeDestroyedDynamicAttributeArray, ElementFlag::kDestroyedNow, back);
    dropFrom(changes, &Set::CreatedReferenceCount, &Set::CreatedReference, &Set::removeCreatedReference,
             ElementFlag::kReferenceMade, isDisconnected);
    dropFrom(changes, &Set::DestroyedReferenceCount, &Set::DestroyedReference, &Set::removeDestroyedReference,
             ElementFlag::kReferenceBroken, isConnectedAgain);
}

} // namespace

// --- Reports ---

/// False only when the lists that are sorted and those that edits of inner layers affect are all empty.
bool ChangeManager::mayHaveCreatedOrDestroyed() const
{
    return ownLists_ == nullptr || ownLists_->holdsOthers_;
}

void ChangeManager::dropUndoneBelow()
{
    const auto gone = [](const auto& object) { return isGone(object); };
    const auto back = [](const auto& object) { return isBack(object); };
    if (ownLists_ == nullptr)
        return dropUndoneFromHostSet(*changes_);
    ConcreteChangeSet& own = *ownLists_;
    dropFrom(own.createdNodes_, NodeFlag::kCreated, gone);
    dropFrom(own.destroyedNodes_, NodeFlag::kDestroyedNow, back);
    dropFrom(own.createdDynamicAttributes_, ElementFlag::kCreated, gone);
    dropFrom(own.destroyedDynamicAttributes_, ElementFlag::kDestroyedNow, back);
    dropFrom(own.createdDynamicAttributeArrays_, ElementFlag::kCreated, gone);
    dropFrom(own.destroyedDynamicAttributeArrays_, ElementFlag::kDestroyedNow, back);
    dropFrom(own.createdReferences_, ElementFlag::kReferenceMade, isDisconnected);
    dropFrom(own.destroyedReferences_, ElementFlag::kReferenceBroken, isConnectedAgain);
}

/// Parents before children among the created nodes, children first among the destroyed ones.
void ChangeManager::sortByDepth(ChangeSet& changes)
{
    BreadthFirstSortFunctor byDepth;
    changes.stableSortCreatedNodes(byDepth);
    changes.stableSortDestroyedNodes(byDepth);
}

Status ChangeManager::preReportChanges(bool transient)
{
    try
    {
        dropUndoneBelow();
        isSnapshotFilled_ = true;
        snapshot_->assign(*changes_);
        sortByDepth(*snapshot_);
        preObservers_.notify(&DataPreObserver::onPreReportChanges, this, *snapshot_, transient);
    }
    catch (...)
    {
        logWarning(L"ChangeManager::preReportChanges(). Unknown exception caught whilst reporting changes.");
    }
    return Status::kSuccess;
}

/// Without memory the report is told as it is: who mirrors the document could not make up for one that was left out.
void ChangeManager::prepareReport()
{
    const bool isPrepared = succeeds([this] {
        dropUndoneBelow();
        sortByDepth(*changes_);
    });
    if (!isPrepared)
        logError(L"Out of memory while preparing a report of changes; it is told in the order of recording.");
}

void ChangeManager::reportChanges(bool transient)
{
    try
    {
        if (mayHaveCreatedOrDestroyed())
            prepareReport();
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
    {
        ownLists_->forEachUsedList([](auto& list, std::uint32_t bit) {
            if (!list.empty())
                forEachFetched(list, [bit](auto& object) { object.clearFlag(bit); });
        });
        ownLists_->ConcreteChangeSet::clear(); // by its name, because its class is known
    }
    else
    {
        clearHostSet();
    }
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

} // namespace db2
