#pragma once

#include <db2/Export.h>

#include <kqtl/pod_vector.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace db2 {

/// Pointers in the order in which they were added, from which any can be taken out in amortised constant time while the
/// others keep their order. Taking out leaves a hole; the next reading, and the removal that makes them more than the
/// entries, closes all holes at once.
/// A pointer that is in the list several times costs a scan to take out.
class DB2_API ChangeListBase
{
public:
    [[nodiscard]] std::size_t count() const { return entries_.size() - holes_; }
    [[nodiscard]] bool empty() const { return entries_.empty(); } // the last entry is no hole
    void clear()
    {
        if (!entries_.empty()) // most lists are empty at most reports
            clearAll();
    }
    void reserve(std::size_t entries) { entries_.reserve(entries); }
    void reverse();

protected:
    ChangeListBase();
    ChangeListBase(const ChangeListBase& other);
    ChangeListBase& operator=(const ChangeListBase& other);
    ~ChangeListBase();

    void addPointer(void* pointer) { entries_.push_back(pointer); }
    /// Takes out the first entry equal to @p pointer; the last entry when there is none.
    void removePointer(void* pointer);
    [[nodiscard]] void* pointerAt(std::size_t index) const { return closed()[index]; }
    void replacePointer(std::size_t index, void* pointer);
    template <class IsOver>
    void removePointersIf(IsOver isOver)
    {
        if (entries_.empty()) // as most lists are
            return;
        dropHoles(); // and the index, whose positions are others then
        entries_.erase(std::remove_if(entries_.begin(), entries_.end(), isOver), entries_.end());
    }

private:
    struct Index;

    /// The entries without holes.
    const kqtl::pod_vector<void*>& closed() const
    {
        closeHoles();
        return entries_;
    }
    void clearAll();
    void closeHoles() const
    {
        if (holes_ != 0)
            dropHoles();
    }
    void dropHoles() const;
    [[nodiscard]] std::size_t takePosition(void* pointer);
    [[nodiscard]] std::size_t takeFromIndex(void* pointer);
    [[nodiscard]] std::size_t findFrom(std::size_t position, const void* pointer) const;

    mutable kqtl::pod_vector<void*> entries_; ///< some are holes; the last one never is
    mutable std::size_t holes_ = 0;
    mutable std::size_t scanned_ = 0;      ///< entries looked at since the holes were closed last; 0 in an empty list
    mutable std::unique_ptr<Index> index_; ///< made when scans cost more; null when the list has none, or no entry
};

/// The typed list.
template <class T>
class ChangeList : public ChangeListBase
{
public:
    void add(T* object) { addPointer(object); }
    void remove(T* object) { removePointer(object); }
    /// @param index  below the count.
    [[nodiscard]] T* at(std::size_t index) const { return static_cast<T*>(pointerAt(index)); }
    [[nodiscard]] T* operator[](std::size_t index) const { return at(index); }
    [[nodiscard]] std::size_t size() const { return count(); }
    void replace(std::size_t index, T* object) { replacePointer(index, object); }

    /// Takes out all entries of which @p isOver is true, at the cost of one pass and without memory.
    template <class IsOver>
    void removeIf(IsOver isOver)
    {
        removePointersIf([&isOver](void* pointer) { return isOver(*static_cast<T*>(pointer)); });
    }
};

} // namespace db2
