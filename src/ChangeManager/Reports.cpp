// What ChangeManager tells its observers of what was recorded, and how it forgets it.

#include <db2/ChangeManager.h>

#include <db2/Library.h>
#include <db2/Node.h>

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

} // namespace

// --- Reports ---

/// False only when the lists that are sorted and those that may hold what is gone are all empty.
bool ChangeManager::mayHaveCreatedOrDestroyed() const
{
    return ownLists_ == nullptr || ownLists_->holdsOthers_;
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
