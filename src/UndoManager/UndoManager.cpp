// Construction and end of UndoManager, and its units of work. What it records, how it replays, and its stacks stand beside
// this file.

#include <db2/UndoManager.h>

#include <db2/CoreManager.h>

#include "../OutOfMemory.h"
#include "Setting.h"
#include "UndoItem.h"

#include <utility>

namespace db2 {
namespace {

constexpr std::size_t kReservedRollbackPoints = 64;

} // namespace

// --- Construction ---

UndoManager::UndoManager(DataInterface* nextLayer, CoreManager& core)
    : ForwardingLayer(nextLayer), core_(core), current_(new UndoItem)
{
    rollbackPoints_.reserve(kReservedRollbackPoints);
}

UndoManager::~UndoManager()
{
    const Setting clearing(isClearing_);
    clearUndoHistory();
    current_->clearFlags();
    dropOperations(*current_);
}

// --- Units of work ---

Status UndoManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    if (core_.isLockOutstanding()) // refused below, and the item stays open
        return ForwardingLayer::db_commit(description, file, line);
    if (isReplaying_ || isClearing_)
        return Status::kFailure;
    const Setting busy(busy_);
    if (isForwarding_)
        return commitWithin(description, file, line);
    if (!closeUnit(description))
        return Status::kFailure;
    const Status status = forwardCommit(description, file, line);
    applyLimit();
    return status;
}

/// A commit that arrives while another one is with the next layers, from an observer for example. They often refuse it,
/// as change reporting does, so the unit is closed behind them.
Status UndoManager::commitWithin(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    const Status status = ForwardingLayer::db_commit(description, file, line);
    if (status != Status::kSuccess)
        return status;
    if (!closeUnit(description))
        return Status::kFailure;
    applyLimit();
    return status;
}

Status UndoManager::forwardCommit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    const Setting forwarding(isForwarding_);
    return ForwardingLayer::db_commit(description, file, line);
}

Status UndoManager::db_commitTransient()
{
    const Setting busy(busy_);
    const Setting forwarding(isForwarding_);
    return ForwardingLayer::db_commitTransient();
}

/// Closes the open item, when it holds anything, and ends the rollback points. @return false, changing nothing, when
/// memory is out.
bool UndoManager::closeUnit(const wchar_t* description)
{
    if (!current_->isEmpty() && !closeItem(description))
        return false;
    rollbackPoints_.clear();
    return true;
}

/// Moves the open item to the undo stack. @return false, changing nothing, when memory is out.
bool UndoManager::closeItem(const wchar_t* description)
{
    std::unique_ptr<UndoItem> next = UndoItem::make();
    const wchar_t* const text = current_->copyText(description);
    const bool prepared = next != nullptr && text != nullptr &&
                          succeeds([&] { undoStack_.emplace_back(); }); // last: it is the place that the item takes
    if (!prepared)
        return false;
    current_->description = text;
    current_->clearFlags();
    if (!redoStack_.empty())
        takeOverRefused(*current_);
    undoStack_.back() = std::exchange(current_, std::move(next));
    ++revision_;
    if (!redoStack_.empty())
        dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
    notify(&UndoObserver::onUndoStackPushed);
    return true;
}

/// The redo stack is about to go. Objects that an undo could not bring back, and to which older items may lead, become
/// @p item's, as if it had destroyed them: taking it back brings them back.
void UndoManager::takeOverRefused(UndoItem& item)
{
    OperationList taken;
    for (auto redone = redoStack_.rbegin(); redone != redoStack_.rend(); ++redone)
    {
        if (dropAllButRefused(**redone, taken))
            item.keepAlive(std::move(*redone)); // its place stays until observers have heard of it
    }
    item.operations.prepend(taken);
}

Status UndoManager::db_clear()
{
    if (core_.isLockOutstanding()) // refused below, and the history stays
        return ForwardingLayer::db_clear();
    if (busy_)
        return Status::kFailure;
    {
        const Setting clearing(isClearing_);
        clearUndoHistory(); // first: its observers may edit
    }
    current_->clearFlags();
    dropOperations(*current_);
    renewCurrent();
    rollbackPoints_.clear();
    return ForwardingLayer::db_clear();
}

} // namespace db2
