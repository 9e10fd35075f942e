// The undo and the redo stack: what they hold, and how items leave them for good.

#include <db2/UndoManager.h>

#include <db2/Library.h>

#include "../OutOfMemory.h"
#include "Setting.h"
#include "UndoItem.h"

#include <utility>

namespace db2 {
namespace {

using ItemStack = std::deque<std::unique_ptr<UndoItem>>;

const UndoItem* itemAt(const ItemStack& stack, unsigned int index)
{
    return index < stack.size() ? stack[index].get() : nullptr;
}

kqx::String descriptionAt(const ItemStack& stack, int index)
{
    const auto fromBottom = static_cast<unsigned int>(index == -1 ? static_cast<int>(stack.size()) - 1 : index);
    const UndoItem* const item = itemAt(stack, fromBottom);
    kqx::String description;
    if (item != nullptr)
        (void)succeeds([&] { description = item->description; });
    return description;
}

} // namespace

// --- Observers ---

/// As change reporting treats its own: those behind the one that throws are not told this time.
void UndoManager::notify(void (UndoObserver::*member)(UndoManager*))
{
    if (observers_.isEmpty())
        return;
    try
    {
        observers_.notify(member, this);
    }
    catch (...)
    {
        logWarning(L"UndoManager. Unknown exception caught whilst notifying observers.");
    }
}

// --- The stacks ---

kqx::String UndoManager::getUndoDescription(int index) const
{
    return descriptionAt(undoStack_, index);
}

kqx::String UndoManager::getRedoDescription(int index) const
{
    return descriptionAt(redoStack_, index);
}

unsigned int UndoManager::getNumUndoOperations(unsigned int index) const
{
    const UndoItem* const item = itemAt(undoStack_, index);
    return item != nullptr ? item->operations.count() : 0;
}

unsigned int UndoManager::getNumRedoOperations(unsigned int index) const
{
    const UndoItem* const item = itemAt(redoStack_, index);
    return item != nullptr ? item->operations.count() : 0;
}

std::size_t UndoManager::getUndoMemoryInUse(unsigned int index) const
{
    const UndoItem* const item = itemAt(undoStack_, index);
    return item != nullptr ? item->memoryInUse() : 0;
}

std::size_t UndoManager::getRedoMemoryInUse(unsigned int index) const
{
    const UndoItem* const item = itemAt(redoStack_, index);
    return item != nullptr ? item->memoryInUse() : 0;
}

void UndoManager::setMaxUndoItems(int limit)
{
    limit_ = limit;
    applyLimit();
}

void UndoManager::applyLimit()
{
    if (limit_ < 0 || isReplaying_) // the replay applies it at its end
        return;
    const Setting busy(busy_);
    while (undoStack_.size() > static_cast<std::size_t>(limit_))
    {
        std::unique_ptr<UndoItem> oldest = std::move(undoStack_.front());
        undoStack_.pop_front();
        dropOldest(std::move(oldest));
        notify(&UndoObserver::onUndoStackPoppedFront);
    }
}

/// Objects that a redo could not bring back, and to which what is still to be redone may lead, go to the next redo, which
/// tries again.
void UndoManager::dropOldest(std::unique_ptr<UndoItem> oldest)
{
    OperationList taken;
    if (redoStack_.empty() || redoStack_.back() == nullptr)
    {
        dropOperations(*oldest);
        return;
    }
    UndoItem& nextRedo = *redoStack_.back();
    if (!dropAllButRefused(*oldest, taken))
        return;
    taken.prepend(nextRedo.operations);
    nextRedo.operations = taken;
    nextRedo.keepAlive(std::move(oldest));
}

void UndoManager::clearUndoHistory()
{
    if (isReplaying_)
        return;
    dropStack(undoStack_, &UndoObserver::onUndoStackPopped);
    dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
}

void UndoManager::dropStack(ItemStack& stack, void (UndoObserver::*popped)(UndoManager*))
{
    const Setting busy(busy_);
    while (!stack.empty())
    {
        const std::unique_ptr<UndoItem> item = std::move(stack.back());
        stack.pop_back();
        if (item != nullptr)
            dropOperations(*item);
        notify(popped);
    }
}

/// Ends an item's operations, because nobody will replay them, but for those of objects that could not come back. They
/// are added to @p refused in reverse order, as operations that were not tried yet.
/// @return true when there are any, which live on in the item's heap.
bool UndoManager::dropAllButRefused(UndoItem& item, OperationList& refused)
{
    bool lends = false;
    if (!item.operations.mayHave(UndoableOperation::kHolds))
        return false; // all end with their item
    while (UndoableOperation* const operation = item.operations.takeNewest())
    {
        if (operation->has(UndoableOperation::kHolds) && operation->isRefused())
        {
            operation->setRefused(false);
            refused.add(*operation);
            lends = true;
            continue;
        }
        if (operation->has(UndoableOperation::kHolds) && operation->isHolding())
            operation->discard(core_);
        operation->release();
    }
    return lends;
}

/// Gives up what an item's operations hold, because nobody will replay them.
void UndoManager::dropOperations(UndoItem& item)
{
    if (item.operations.mayHave(UndoableOperation::kHolds))
        item.operations.forEachNewestFirst([this](UndoableOperation& operation) {
            if (operation.has(UndoableOperation::kHolds) && operation.isHolding())
                operation.discard(core_);
        });
}

/// Makes a new open item, which gives the heap of the former one back; without memory that one serves on, emptied.
void UndoManager::renewCurrent()
{
    if (std::unique_ptr<UndoItem> fresh = UndoItem::make())
        current_ = std::move(fresh);
    else
        current_->releaseOperations();
}

} // namespace db2
