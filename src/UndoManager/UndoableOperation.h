#pragma once

#include <db2/CoreManager.h>
#include <db2/DataInterface.h>

namespace db2 {

class UndoItem;

/// What an operation is replayed with.
struct ReplayContext
{
    DataInterface& target; ///< receives the inverse edits: the undo layer, which records them, or its next layer
    CoreManager& core;
    UndoItem* recorder; ///< the item that the inverse edits are recorded in; null when they are not recorded
};

/// One recorded edit: how to take it back. Lives in the heap of its item, so it is ended in place and never freed by
/// itself.
class UndoableOperation
{
public:
    UndoableOperation() = default;
    UndoableOperation(const UndoableOperation&) = delete;
    UndoableOperation& operator=(const UndoableOperation&) = delete;

    /// The recorded edit's name, for messages.
    [[nodiscard]] virtual const wchar_t* name() const = 0;

    /// Performs the inverse edit. @return true when it succeeded.
    virtual bool undo(const ReplayContext& context) = 0;

    /// Gives up what the operation holds in the core; called when its item is dropped for good.
    virtual void discard(CoreManager&) {}

    /// Takes off the marks that the operation set for the time of its unit of work.
    virtual void clearFlags() {}

    /// Ends the operation; its memory goes with the item's.
    void release() { this->~UndoableOperation(); }

protected:
    virtual ~UndoableOperation() = default;

private:
    friend class UndoItem;

    UndoableOperation* previous_ = nullptr; ///< the operation recorded before this one in the item
};

} // namespace db2
