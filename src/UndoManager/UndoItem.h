#pragma once

#include "UndoableOperation.h"

#include <KQutils/FastHeap.h>

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace db2 {

/// The operations of one unit of work, with the heap that holds them and their copies of plain values.
class UndoItem
{
public:
    UndoItem() : heap_(firstBlock_, sizeof firstBlock_) {}
    UndoItem(const UndoItem&) = delete;
    UndoItem& operator=(const UndoItem&) = delete;
    ~UndoItem();

    /// @return null when memory is out.
    [[nodiscard]] static std::unique_ptr<UndoItem> make();

    [[nodiscard]] bool isEmpty() const { return operations.count() == 0; }

    /// Takes off the marks that the operations set for the time of their unit of work.
    void clearFlags();

    /// Ends the operations; the heap stays as it is.
    void releaseOperations();

    /// Bytes of the operations and plain values, lenders' included.
    [[nodiscard]] std::size_t memoryInUse() const;

    const wchar_t* description = L""; ///< in the heap
    OperationList operations;         ///< released with the item

    // --- The heap ---

    /// Makes an operation in the heap, in no list yet. @return null when memory is out.
    template <class Operation, class... Arguments>
    [[nodiscard]] Operation* make(Arguments&&... arguments)
    {
        void* const place = heap_.alloc(sizeof(Operation), alignof(Operation));
        return place != nullptr ? ::new (place) Operation(std::forward<Arguments>(arguments)...) : nullptr;
    }

    /// Plain memory that lives as long as the item. @return null when memory is out.
    [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) { return heap_.alloc(bytes, alignment); }

    /// Copies a text into the heap. @param text  null counts as empty, which takes no memory.
    /// @return null when memory is out.
    [[nodiscard]] const wchar_t* copyText(const wchar_t* text);

    [[nodiscard]] KQutils::FastHeap::Mark mark() const { return heap_.mark(); }

    /// Takes back what was allocated since the mark; none of it may be in use.
    void rewind(const KQutils::FastHeap::Mark& mark) { heap_.rewind(mark); }

    /// Keeps another item alive because operations that live in its heap are in this one's list now.
    void keepAlive(std::unique_ptr<UndoItem> lender);

    // --- Allocation: from the library's heap, at the alignment of the block within ---

    static void* operator new(std::size_t bytes);
    static void operator delete(void* item) noexcept;

private:
    std::unique_ptr<UndoItem> lender_; ///< one leads to the next; here, it fills up to the block's alignment
    /// Many units of work are a single edit: a write of a Float and a short description take no other memory.
    alignas(16) std::byte firstBlock_[64];
    KQutils::FastHeap heap_;
};

} // namespace db2
