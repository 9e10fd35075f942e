#pragma once

#include "../Prefetch.h"

#include <db2/CoreManager.h>
#include <db2/DataInterface.h>

#include <cstdint>

namespace db2 {

/// One recorded edit: how to take it back. Lives in the heap of its item, so it is ended in place and never freed by
/// itself.
class UndoableOperation
{
public:
    /// What an operation may have to do beyond its inverse, as bits. Most have nothing of it to do, and are passed over
    /// without a call.
    enum Duty : std::uint8_t
    {
        kNone = 0,
        kMarks = 1, ///< it marks its subject for the time of its unit of work: clearFlags()
        kHolds = 2, ///< it may hold its subject in the core: isHolding(), discard(), isRefused(), setRefused()
        kOwns = 4,  ///< it owns what its end gives back: release()
        kMarksAndOwns = kMarks | kOwns
    };

    UndoableOperation(const UndoableOperation&) = delete;
    UndoableOperation& operator=(const UndoableOperation&) = delete;

    [[nodiscard]] bool has(Duty duty) const { return (duties_ & duty) != 0; }

    /// False for an operation on nothing, which there is no need to take back.
    [[nodiscard]] bool hasSubject() const { return subject_ != nullptr; }

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
    void release()
    {
        if (has(kOwns))
            this->~UndoableOperation();
    }

protected:
    UndoableOperation(void* subject, Duty duties) : subject_(subject), duties_(duties) {}
    virtual ~UndoableOperation() = default;

    void* subject_; ///< what the edit was made on

private:
    friend class OperationList;

    UndoableOperation* previous_ = nullptr; ///< the operation recorded before this one in the item
    Duty duties_;                           ///< last, so that small members of derived classes find room behind it
};

/// An operation on a node, an element, an attribute or an array.
template <class T>
class OperationOn : public UndoableOperation
{
protected:
    explicit OperationOn(T* subject, Duty duties = kNone) : UndoableOperation(subject, duties) {}

    [[nodiscard]] T* subject() const { return static_cast<T*>(subject_); }
    void setSubject(T* subject) { subject_ = subject; }
};

/// Operations in the order of their recording, linked through themselves. Owns none of them.
class OperationList
{
public:
    [[nodiscard]] unsigned int count() const { return count_; }

    /// False only when no operation of the list has the duty.
    [[nodiscard]] bool mayHave(UndoableOperation::Duty duty) const { return (duties_ & duty) != 0; }

    void add(UndoableOperation& operation)
    {
        operation.previous_ = newest_;
        newest_ = &operation;
        ++count_;
        duties_ |= operation.duties_;
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
        duties_ |= older.duties_;
        older = OperationList();
    }

    template <class Visit>
    void forEachNewestFirst(Visit visit)
    {
        SubjectsAhead ahead(*this);
        for (UndoableOperation* at = newest_; at != nullptr; at = at->previous_)
        {
            ahead.step();
            visit(*at);
        }
    }

    /// Has the subjects of the operations some steps ahead fetched, in a pass from the newest to the oldest.
    class SubjectsAhead
    {
    public:
        explicit SubjectsAhead(const OperationList& list) : at_(list.newest_)
        {
            for (std::size_t i = 1; i < kPrefetchDistance; ++i)
                step();
        }
        void step()
        {
            if (at_ == nullptr)
                return;
            prefetch(at_->subject_);
            at_ = at_->previous_;
        }

    private:
        const UndoableOperation* at_;
    };

private:
    UndoableOperation* newest_ = nullptr;
    unsigned int count_ = 0;
    unsigned int duties_ = UndoableOperation::kNone; ///< of all that were ever added
};

} // namespace db2
