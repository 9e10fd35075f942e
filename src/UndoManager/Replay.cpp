// Undo, redo and rollback: how UndoManager takes back what it recorded.

#include <db2/UndoManager.h>

#include <db2/CoreManager.h>
#include <db2/Library.h>

#include "../OutOfMemory.h"
#include "Setting.h"
#include "UndoItem.h"

#include <utility>

namespace db2 {
namespace {

// Where the commits of replays say that they come from.
constexpr const wchar_t* kSourceFile = L"UndoManager.cpp";
constexpr unsigned int kUndoLine = 785;
constexpr unsigned int kRedoLine = 819;
constexpr unsigned int kRollbackLine = 886;

} // namespace

// --- Undo and redo ---

Status UndoManager::undo()
{
    return replayTop(undoStack_, redoStack_, -1);
}

Status UndoManager::redo()
{
    return replayTop(redoStack_, undoStack_, 1);
}

bool UndoManager::canReplay() const
{
    return !busy_ && !core_.isLockOutstanding();
}

/// Takes back the top item of one stack; the edits that do so are recorded, and their item goes to the other stack.
Status UndoManager::replayTop(ItemStack& from, ItemStack& to, int revisionStep)
{
    if (from.empty() || !current_->isEmpty() || !canReplay())
        return Status::kFailure;
    std::unique_ptr<UndoItem> next = UndoItem::make();
    const wchar_t* const description = current_->copyText(from.back()->description);
    const bool prepared =
        next != nullptr && description != nullptr && succeeds([&] { to.emplace_back(); }); // the recorded item's place
    if (!prepared)
        return Status::kFailure;

    const Setting busy(busy_);
    std::unique_ptr<UndoItem> replayed = std::move(from.back());
    from.pop_back();
    bool lends = false;
    replayOperations(*replayed, 0, *this, [&](UndoableOperation& operation, bool isRefused) {
        operation.setRefused(isRefused);
        current_->operations.add(operation);
        lends = true;
    });
    current_->clearFlags();
    current_->description = description;
    if (lends)
        current_->keepAlive(std::move(replayed));
    to.back() = std::exchange(current_, std::move(next));
    for (RollbackPoint& point : rollbackPoints_) // they live on, over another item
        point.hasMark = false;
    revision_ += revisionStep;

    const bool isUndo = &from == &undoStack_;
    notify(isUndo ? &UndoObserver::onUndoStackPopped : &UndoObserver::onRedoStackPopped);
    notify(isUndo ? &UndoObserver::onRedoStackPushed : &UndoObserver::onUndoStackPushed);
    forwardCommit(isUndo ? L"undo" : L"redo", kSourceFile, isUndo ? kUndoLine : kRedoLine);
    applyLimit();
    return Status::kSuccess;
}

/// Takes back the operations from the newest on, until only @p downTo are left. One that fails is logged, and the others
/// are taken back all the same.
/// @param keep  called with an operation that holds an object still, and whether that is because its inverse was refused
///              now: not when it was refused by the replay whose item is taken back here.
template <class Keep>
void UndoManager::replayOperations(UndoItem& item, unsigned int downTo, DataInterface& target, Keep keep)
{
    const Setting replaying(isReplaying_);
    lastReplayWasComplete_ = true;
    OperationList::SubjectsAhead ahead(item.operations);
    while (item.operations.count() > downTo)
    {
        ahead.step();
        UndoableOperation& operation = *item.operations.takeNewest();
        const bool mayHold = operation.has(UndoableOperation::kHolds);
        if (mayHold && operation.isRefused())
        {
            keep(operation, false);
            continue;
        }
        if (!operation.undo(target, core_))
        {
            lastReplayWasComplete_ = false;
            logError(L"Failed to take back %s", operation.name());
        }
        if (operation.has(UndoableOperation::kMarks))
            operation.clearFlags();
        if (mayHold && operation.isHolding())
            keep(operation, true);
        else
            operation.release();
    }
}

// --- Rollback ---

unsigned int UndoManager::createRollbackPoint()
{
    const auto point = static_cast<unsigned int>(rollbackPoints_.size());
    if (!reserveOneMore(rollbackPoints_))
        return kNoRollbackPoint;
    rollbackPoints_.push_back(RollbackPoint{current_->operations.count(), true, current_->mark()});
    return point;
}

/// Gives back the heap of what was taken back behind the point, unless some of it was kept. Later points stay, but what
/// they marked is gone or no longer all that stands before them.
void UndoManager::rewindTo(unsigned int point, bool keptAny)
{
    for (std::size_t later = point + std::size_t{1}; later < rollbackPoints_.size(); ++later)
        rollbackPoints_[later].hasMark = false;
    if (rollbackPoints_[point].hasMark && !keptAny)
        current_->rewind(rollbackPoints_[point].mark);
}

Status UndoManager::rollback(unsigned int point)
{
    if (current_->isEmpty() || !canReplay())
        return Status::kFailure;
    if (point != 0 && point >= rollbackPoints_.size())
    {
        logError(L"Failed to rollback. Invalid rollback point.");
        return Status::kFailure;
    }
    const unsigned int target = point < rollbackPoints_.size() ? rollbackPoints_[point].operations : 0;
    if (target > current_->operations.count())
    {
        logError(L"Internal error in UndoManager::rollback()");
        return Status::kFailure;
    }
    const Setting busy(busy_);
    OperationList kept;
    replayOperations(*current_, target, *db_getNextInterface(), [&](UndoableOperation& operation, bool) {
        kept.add(operation); // what could not come back stays destroyed in the open item
    });
    const bool keptAny = kept.count() != 0;
    while (UndoableOperation* const operation = kept.takeNewest())
        current_->operations.add(*operation);
    if (target == 0)
    {
        if (current_->isEmpty())
            renewCurrent();
        rollbackPoints_.clear();
    }
    else
    {
        rewindTo(point, keptAny);
    }
    forwardCommit(L"rollback", kSourceFile, kRollbackLine);
    return Status::kSuccess;
}

} // namespace db2
