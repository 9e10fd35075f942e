#pragma once

#include <db2/UIntHashMap.h>

#include <cstdint>

namespace db2 {

/// Which hashes of names are taken, and by whom: the index of a node's children and of its dynamic elements.
/// A hash table that renames do not make grow: when many removals have used up its budget, it enters the live names anew
/// instead. Holds hashes and pointers, no texts; owns nothing that it points to.
class NameIndex
{
public:
    [[nodiscard]] bool contains(std::uint32_t hash) const { return map_.contains(hash); }
    [[nodiscard]] void* find(std::uint32_t hash) const { return map_.find(hash); }
    [[nodiscard]] unsigned int size() const { return map_.size(); }
    [[nodiscard]] unsigned int capacity() const { return map_.capacity(); }

    /// Makes sure that the next insert needs no memory. @return false, changing nothing, when memory is out.
    [[nodiscard]] bool reserveInsert()
    {
        const bool mostlyRemovals = map_.freeBudget() == 0 && map_.size() <= map_.fullBudget() / 2;
        return mostlyRemovals ? map_.rehash() : map_.reserveInsert();
    }

    /// Needs a reserveInsert() before it, and a hash that is free.
    void insert(std::uint32_t hash, void* bearer) { map_.insertReserved(hash, bearer); }
    void remove(std::uint32_t hash) { map_.remove(hash); }

private:
    static constexpr unsigned int kRequestedCapacity = 6; // gives eleven slots: most families are small

    UIntHashMap map_{kRequestedCapacity};
};

} // namespace db2
