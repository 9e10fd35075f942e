#pragma once

#include <db2/Export.h>

#include <kqtl/Allocator.h>

#include <cstdint>

namespace db2 {

/// A hash table from a 32-bit number to a pointer: open addressing, linear probing, prime capacities.
/// Serves the module table, the node registry and the name indexes of nodes and templates. Owns its arrays, never what
/// the pointers lead to. Null pointers may be stored. Iteration goes in slot order, which depends on nothing but the
/// keys and the order of edits.
/// Cost: constant time an operation; 16 bytes a slot (12 on 32 bits) and one occupancy bit. No memory until the first
/// insert. Threads: none.
class DB2_API UIntHashMap
{
public:
    /// @param requestedCapacity  rounded to the first prime of the table's list that is greater (32 gives 53).
    /// @param allocator          for the two arrays; not owned.
    explicit UIntHashMap(unsigned int requestedCapacity, kqtl::Allocator* allocator = KQTLGetDefaultAllocator());
    /// The copy has the same slots; throws std::bad_alloc when memory is out.
    UIntHashMap(const UIntHashMap& other);
    UIntHashMap& operator=(const UIntHashMap& other);
    UIntHashMap(UIntHashMap&& other) noexcept;
    UIntHashMap& operator=(UIntHashMap&& other) noexcept;
    ~UIntHashMap();

    void swap(UIntHashMap& other) noexcept;

    // --- Queries ---

    [[nodiscard]] unsigned int size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] unsigned int capacity() const { return capacity_; }

    /// How many more inserts go in before the table grows; a removal does not give one back.
    [[nodiscard]] unsigned int freeBudget() const { return freeBudget_; }

    /// The budget of an empty table of this capacity: 0.8 times the capacity, truncated.
    [[nodiscard]] unsigned int fullBudget() const;

    [[nodiscard]] bool contains(std::uint32_t key) const { return findSlot(key) != kNoSlot; }

    /// The key's pointer; null when the key is absent, too.
    [[nodiscard]] void* find(std::uint32_t key) const;

    // --- Edits ---

    /// Stores @p value under @p key. Grows first when the budget is used up.
    /// @return false, changing nothing, when the key is present or memory is out.
    bool insert(std::uint32_t key, void* value);

    /// The same without a look-up: the key must be absent, and reserveInsert() must have succeeded before.
    void insertReserved(std::uint32_t key, void* value) { place(key, value); }

    /// Makes sure that the next insert of a new key needs no memory. @return false, changing nothing, when memory is out.
    [[nodiscard]] bool reserveInsert();

    /// Enters every key anew at the same capacity, which gives back the budget that removals used up.
    /// @return false, changing nothing, when memory is out.
    [[nodiscard]] bool rehash();

    /// @return false when the key is absent.
    bool remove(std::uint32_t key);

    /// Removes every key and gives the budget back; the capacity stays.
    void clear();

    // --- Iteration: for (unsigned s = map.firstSlot(); s != UIntHashMap::kNoSlot; s = map.nextSlot(s)) ---

    static constexpr unsigned int kNoSlot = 0xFFFFFFFFu;

    [[nodiscard]] unsigned int firstSlot() const { return occupiedFrom(0); }
    [[nodiscard]] unsigned int nextSlot(unsigned int slot) const { return occupiedFrom(slot + 1); }
    [[nodiscard]] std::uint32_t keyAt(unsigned int slot) const { return entries_[slot].key; }
    [[nodiscard]] void* valueAt(unsigned int slot) const { return entries_[slot].value; }

private:
    struct Entry
    {
        std::uint32_t key;
        std::uint32_t longestProbe; ///< of any key whose home is this slot; only ever raised
        void* value;
    };

    [[nodiscard]] unsigned int findSlot(std::uint32_t key) const;
    [[nodiscard]] unsigned int occupiedFrom(unsigned int slot) const;
    [[nodiscard]] bool isOccupied(unsigned int slot) const { return (occupied_[slot / 32] >> slot % 32 & 1u) != 0; }
    [[nodiscard]] bool allocate(unsigned int capacity);
    [[nodiscard]] bool rehashTo(unsigned int capacity);
    void place(std::uint32_t key, void* value);
    void release();

    Entry* entries_ = nullptr;          ///< null until the first insert, then capacity_ of them
    std::uint32_t* occupied_ = nullptr; ///< one bit a slot
    unsigned int capacity_;
    unsigned int freeBudget_;
    unsigned int count_ = 0;
    kqtl::Allocator* allocator_;
};

} // namespace db2
