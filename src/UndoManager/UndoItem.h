#pragma once

#include "UndoableOperation.h"

#include <KQutils/FastHeap.h>
#include <kqx/String.h>

#include <cstddef>
#include <new>
#include <utility>

namespace db2 {

/// The operations of one unit of work, with the heap that holds them and their copies of plain values.
class UndoItem
{
public:
    UndoItem() = default;
    UndoItem(const UndoItem&) = delete;
    UndoItem& operator=(const UndoItem&) = delete;
    ~UndoItem() { truncate(0); }

    [[nodiscard]] bool isEmpty() const { return count_ == 0; }
    [[nodiscard]] unsigned int count() const { return count_; }
    [[nodiscard]] std::size_t memoryInUse() const { return heap_.bytesInUse(); }

    kqx::String description;

    // --- Operations ---

    /// Makes an operation in the heap, with @p extraBytes behind it. It is not recorded until add().
    /// @return null when memory is out.
    template <class Operation, class... Arguments>
    [[nodiscard]] Operation* make(std::size_t extraBytes, Arguments&&... arguments)
    {
        void* const place = heap_.alloc(sizeof(Operation) + extraBytes, alignof(Operation));
        return place != nullptr ? ::new (place) Operation(std::forward<Arguments>(arguments)...) : nullptr;
    }

    /// Plain memory that lives as long as the item. @return null when memory is out.
    [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) { return heap_.alloc(bytes, alignment); }

    /// Copies a text into the heap. @return null when memory is out. @param text  not null.
    [[nodiscard]] const wchar_t* copyText(const kqx::String& text);

    void add(UndoableOperation* operation)
    {
        operation->previous_ = newest_;
        newest_ = operation;
        ++count_;
    }

    /// Ends the newest operations until only so many are left.
    void truncate(unsigned int count)
    {
        while (count_ > count)
        {
            UndoableOperation* const ended = newest_;
            newest_ = ended->previous_;
            --count_;
            ended->release();
        }
    }

    /// Visits the operations from the newest on, down to but without the one at index @p downTo.
    template <class Visit>
    void forEachNewestFirst(unsigned int downTo, Visit visit)
    {
        UndoableOperation* at = newest_;
        for (unsigned int left = count_; left > downTo; --left)
        {
            UndoableOperation* const operation = at;
            at = operation->previous_;
            visit(*operation);
        }
    }

private:
    KQutils::FastHeap heap_;
    UndoableOperation* newest_ = nullptr;
    unsigned int count_ = 0;
};

} // namespace db2
