#pragma once

#include <db2/CoreManager.h>
#include <db2/DataInterface.h>

namespace db2 {

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
    /// @param target  receives it: the undo layer, which records it, or its next layer.
    virtual bool undo(DataInterface& target, CoreManager& core) = 0;

    /// Takes off the marks that the operation set for the time of its unit of work.
    virtual void clearFlags() {}

    // --- Operations that hold an object in the core ---

    /// True from the edit on until the object is back, so also after an undo() that was refused.
    [[nodiscard]] virtual bool isHolding() const { return false; }

    /// Gives up the object that the operation holds; called when its item is dropped for good.
    virtual void discard(CoreManager&) {}

    /// True for an operation whose undo() was refused and that therefore stands among the inverse edits, in the item of
    /// the other stack. Taking that item back changes nothing but this.
    [[nodiscard]] virtual bool isRefused() const { return false; }
    virtual void setRefused(bool) {}

    /// Ends the operation; its memory goes with the item's.
    void release() { this->~UndoableOperation(); }

protected:
    virtual ~UndoableOperation() = default;

private:
    friend class OperationList;

    UndoableOperation* previous_ = nullptr; ///< the operation recorded before this one in the item
};

/// Operations in the order of their recording, linked through themselves. Owns none of them.
class OperationList
{
public:
    [[nodiscard]] unsigned int count() const { return count_; }

    void add(UndoableOperation& operation)
    {
        operation.previous_ = newest_;
        newest_ = &operation;
        ++count_;
    }

    /// @return the newest operation, which is no longer in the list; null when there is none.
    UndoableOperation* takeNewest()
    {
        UndoableOperation* const taken = newest_;
        if (taken != nullptr)
        {
            newest_ = taken->previous_;
            --count_;
        }
        return taken;
    }

    /// Puts the operations of another list, which is empty then, before the oldest of this one. Cost: this list's length.
    void prepend(OperationList& older)
    {
        UndoableOperation** oldestLink = &newest_;
        while (*oldestLink != nullptr)
            oldestLink = &(*oldestLink)->previous_;
        *oldestLink = older.newest_;
        count_ += older.count_;
        older = OperationList();
    }

    template <class Visit>
    void forEachNewestFirst(Visit visit)
    {
        for (UndoableOperation* at = newest_; at != nullptr; at = at->previous_)
            visit(*at);
    }

private:
    UndoableOperation* newest_ = nullptr;
    unsigned int count_ = 0;
};

} // namespace db2
