#include <db2/UIntHashMap.h>

#include "NameIndex.h"
#include "support/HeapThatRunsOut.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace {

using db2::NameIndex;
using db2::UIntHashMap;
using db2test::HeapThatRunsOut;
using db2test::Random;

constexpr unsigned int kPrimes[] = {11,    17,    53,    97,    193,    389,    769,    1543,    3079,    6151,
                                    12289, 24593, 49157, 98317, 196613, 393241, 786433, 1572869, 3145739, 6291469};
constexpr unsigned int kLastPrime = 6291469;

unsigned int primeAfter(unsigned int number)
{
    return *std::upper_bound(std::begin(kPrimes), std::end(kPrimes), number);
}

bool isPrime(unsigned int number)
{
    for (std::uint64_t divisor = 2; divisor * divisor <= number; ++divisor)
        if (number % divisor == 0)
            return false;
    return number > 1;
}

/// A value that tells which key it was stored under.
void* valueOf(std::uintptr_t number)
{
    return reinterpret_cast<void*>(number);
}

/// Counts what it holds, and can be told to run out.
class CountingAllocator : public kqtl::Allocator
{
public:
    void* allocate(std::size_t bytes, std::size_t) override
    {
        if (granted == 0)
            return nullptr;
        --granted;
        void* const block = std::malloc(bytes);
        blocks[block] = bytes;
        return block;
    }

    void free(void* block) override
    {
        if (block == nullptr)
            return;
        EXPECT_EQ(blocks.erase(block), 1u) << "not a block of this allocator";
        std::free(block);
    }

    [[nodiscard]] std::size_t bytes() const
    {
        std::size_t sum = 0;
        for (const auto& [block, size] : blocks)
            sum += size;
        return sum;
    }

    std::map<void*, std::size_t> blocks; ///< those in use
    std::size_t granted = std::numeric_limits<std::size_t>::max();
};

struct Slot
{
    unsigned int index;
    std::uint32_t key;
    void* value;

    bool operator==(const Slot&) const = default;
};

/// All that can be seen of a table.
struct MapState
{
    unsigned int capacity;
    unsigned int freeBudget;
    unsigned int size;
    std::vector<Slot> slots; ///< in the order of iteration

    bool operator==(const MapState&) const = default;
};

MapState stateOf(const UIntHashMap& map)
{
    MapState state{map.capacity(), map.freeBudget(), map.size(), {}};
    for (unsigned int slot = map.firstSlot(); slot != UIntHashMap::kNoSlot; slot = map.nextSlot(slot))
        state.slots.push_back({slot, map.keyAt(slot), map.valueAt(slot)});
    return state;
}

/// The table once more, written as its rules are stated: every slot with its key, value and longest probe.
class ModelTable
{
public:
    explicit ModelTable(unsigned int requestedCapacity) { reset(primeAfter(requestedCapacity)); }

    static std::uint32_t mix(std::uint32_t key)
    {
        std::uint32_t hash = (key ^ 0xE995FFFFu) >> 16 ^ key;
        hash *= 9;
        hash ^= hash >> 4;
        hash *= 0x27D4EB2Du;
        return hash ^ hash >> 15;
    }

    [[nodiscard]] unsigned int homeOf(std::uint32_t key) const { return mix(key) % capacity(); }

    bool insert(std::uint32_t key, void* value)
    {
        if (slotOf(key))
            return false;
        reserveInsert();
        place(key, value);
        return true;
    }

    void reserveInsert()
    {
        if (budget_ == 0)
            enterAnew(primeAfter(capacity()));
    }

    void rehash() { enterAnew(capacity()); }

    bool remove(std::uint32_t key)
    {
        const std::optional<unsigned int> slot = slotOf(key);
        if (slot)
            slots_[*slot].occupied = false;
        return slot.has_value();
    }

    void clear() { reset(capacity()); }

    [[nodiscard]] MapState state() const
    {
        MapState state{capacity(), budget_, 0, {}};
        for (unsigned int i = 0; i < capacity(); ++i)
            if (slots_[i].occupied)
                state.slots.push_back({i, slots_[i].key, slots_[i].value});
        state.size = static_cast<unsigned int>(state.slots.size());
        return state;
    }

private:
    struct ModelSlot
    {
        bool occupied = false;
        std::uint32_t key = 0;
        void* value = nullptr;
        unsigned int longestProbe = 0;
    };

    [[nodiscard]] unsigned int capacity() const { return static_cast<unsigned int>(slots_.size()); }

    void reset(unsigned int capacity)
    {
        slots_.assign(capacity, {});
        budget_ = capacity * 4 / 5;
    }

    void enterAnew(unsigned int capacity)
    {
        const std::vector<ModelSlot> old = std::exchange(slots_, {});
        reset(capacity);
        for (const ModelSlot& slot : old)
            if (slot.occupied)
                place(slot.key, slot.value);
    }

    void place(std::uint32_t key, void* value)
    {
        const unsigned int home = homeOf(key);
        unsigned int steps = 0;
        while (slots_[(home + steps) % capacity()].occupied)
            ++steps;
        ModelSlot& slot = slots_[(home + steps) % capacity()];
        slot.occupied = true;
        slot.key = key;
        slot.value = value;
        slots_[home].longestProbe = std::max(slots_[home].longestProbe, steps);
        --budget_;
    }

    [[nodiscard]] std::optional<unsigned int> slotOf(std::uint32_t key) const
    {
        const unsigned int home = homeOf(key);
        for (unsigned int steps = 0; steps <= slots_[home].longestProbe; ++steps)
        {
            const unsigned int at = (home + steps) % capacity();
            if (slots_[at].occupied && slots_[at].key == key)
                return at;
        }
        return std::nullopt;
    }

    std::vector<ModelSlot> slots_;
    unsigned int budget_ = 0;
};

/// Inserts the keys from @p first on; each must be new.
void insertKeys(UIntHashMap& map, std::uint32_t first, std::uint32_t count)
{
    for (std::uint32_t key = first; key < first + count; ++key)
        ASSERT_TRUE(map.insert(key, valueOf(key)));
}

/// Uses up the whole budget and leaves @p live keys, from 0 on.
void useUpBudget(UIntHashMap& map, std::uint32_t live)
{
    const unsigned int budget = map.freeBudget();
    insertKeys(map, 0, budget);
    for (std::uint32_t key = live; key < budget; ++key)
        ASSERT_TRUE(map.remove(key));
    ASSERT_EQ(map.freeBudget(), 0u);
}

/// Keys, in ascending order, whose home in a table of that many slots is @p home.
std::vector<std::uint32_t> keysAtHome(unsigned int home, unsigned int capacity, std::size_t count)
{
    std::vector<std::uint32_t> keys;
    for (std::uint32_t key = 0; keys.size() < count; ++key)
        if (ModelTable::mix(key) % capacity == home)
            keys.push_back(key);
    return keys;
}

// --- Capacity and budget ---

TEST(UIntHashMapTest, ARequestedCapacityIsRoundedToTheFirstGreaterPrimeOfTheList)
{
    unsigned int previous = 0;
    for (const unsigned int prime : kPrimes)
    {
        SCOPED_TRACE(prime);
        EXPECT_EQ(UIntHashMap(previous).capacity(), prime); // a prime itself gives the next one
        EXPECT_EQ(UIntHashMap(prime - 1).capacity(), prime);
        previous = prime;
    }
    EXPECT_EQ(UIntHashMap(6).capacity(), 11u);
    EXPECT_EQ(UIntHashMap(32).capacity(), 53u);
    EXPECT_EQ(UIntHashMap(128).capacity(), 193u);
}

TEST(UIntHashMapTest, ARequestBeyondTheListNeverGivesCapacityZero)
{
    for (const unsigned int request : {kLastPrime, kLastPrime + 1, 0x7FFFFFFFu, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(request);
        CountingAllocator allocator;
        allocator.granted = 0;
        UIntHashMap map(request, &allocator);
        EXPECT_GE(map.capacity(), kLastPrime);
        EXPECT_TRUE(isPrime(map.capacity()));
        EXPECT_FALSE(map.insert(1, nullptr)); // no memory, and no crash
        EXPECT_FALSE(map.contains(1));
    }
}

TEST(UIntHashMapTest, ANewTableIsEmptyWithABudgetOfFourFifthsOfItsCapacity)
{
    for (const unsigned int prime : kPrimes)
    {
        SCOPED_TRACE(prime);
        const UIntHashMap map(prime - 1);
        const auto expected = static_cast<unsigned int>(std::uint64_t{prime} * 8 / 10);
        EXPECT_EQ(map.fullBudget(), expected);
        EXPECT_EQ(map.freeBudget(), expected);
        EXPECT_EQ(map.size(), 0u);
        EXPECT_TRUE(map.empty());
        EXPECT_EQ(map.firstSlot(), UIntHashMap::kNoSlot);
        EXPECT_FALSE(map.contains(0));
        EXPECT_EQ(map.find(0), nullptr);
    }
    EXPECT_EQ(UIntHashMap(32).freeBudget(), 42u);
}

TEST(UIntHashMapTest, EachInsertTakesOneFromTheBudgetAndARemovalGivesNoneBack)
{
    UIntHashMap map(32);
    insertKeys(map, 0, 5);
    EXPECT_EQ(map.freeBudget(), 37u);
    EXPECT_TRUE(map.remove(3));
    EXPECT_EQ(map.freeBudget(), 37u);
    EXPECT_TRUE(map.insert(3, nullptr));
    EXPECT_EQ(map.freeBudget(), 36u);
    EXPECT_FALSE(map.insert(3, nullptr));
    EXPECT_EQ(map.freeBudget(), 36u);
    EXPECT_FALSE(map.remove(99));
    EXPECT_EQ(map.freeBudget(), 36u);
}

// --- Growth ---

TEST(UIntHashMapTest, TheInsertBeyondTheBudgetGrowsFirst)
{
    UIntHashMap map(32);
    insertKeys(map, 0, 42);
    EXPECT_EQ(map.capacity(), 53u);
    EXPECT_EQ(map.freeBudget(), 0u);
    EXPECT_TRUE(map.insert(42, nullptr));
    EXPECT_EQ(map.capacity(), 97u);
    EXPECT_EQ(map.freeBudget(), 77u - 43u);
    EXPECT_EQ(map.size(), 43u);
}

TEST(UIntHashMapTest, GrowsThroughTheWholeListOfPrimesKeepingEveryKey)
{
    UIntHashMap map(0);
    std::vector<unsigned int> capacities{map.capacity()};
    for (std::uint32_t key = 0; map.capacity() < 786433; ++key)
    {
        ASSERT_TRUE(map.insert(key * 2654435761u, valueOf(key)));
        if (map.capacity() != capacities.back())
            capacities.push_back(map.capacity());
    }
    EXPECT_EQ(capacities, std::vector<unsigned int>(std::begin(kPrimes), std::begin(kPrimes) + capacities.size()));
    EXPECT_EQ(capacities.size(), 17u);
    for (std::uint32_t key = 0; key < map.size(); ++key)
        ASSERT_EQ(map.find(key * 2654435761u), valueOf(key));
}

TEST(UIntHashMapTest, RemovalsUseUpTheBudgetSoThatAFewKeysGrowToo)
{
    UIntHashMap map(32);
    useUpBudget(map, 10);
    EXPECT_TRUE(map.insert(1000, nullptr));
    EXPECT_EQ(map.capacity(), 97u);
    EXPECT_EQ(map.freeBudget(), 77u - 11u);
    EXPECT_EQ(map.size(), 11u);
    for (std::uint32_t key = 0; key < 10; ++key)
        EXPECT_EQ(map.find(key), valueOf(key));
}

TEST(UIntHashMapTest, ARefusedInsertDoesNotGrowEvenWithoutBudget)
{
    UIntHashMap map(32);
    insertKeys(map, 0, 42);
    const MapState before = stateOf(map);
    EXPECT_FALSE(map.insert(7, valueOf(1000)));
    EXPECT_EQ(stateOf(map), before);
}

TEST(UIntHashMapTest, GrowthEntersTheKeysInTheirOldSlotOrder)
{
    UIntHashMap map(0);
    ModelTable model(0);
    // Keys of one home form one run, whose order shows the order in which they were entered.
    const std::vector<std::uint32_t> keys = keysAtHome(5, 11 * 17, 9); // of one home in both capacities
    for (std::size_t i = keys.size(); i-- > 0;)
    {
        ASSERT_TRUE(map.insert(keys[i], valueOf(keys[i])));
        ASSERT_TRUE(model.insert(keys[i], valueOf(keys[i])));
        ASSERT_EQ(stateOf(map), model.state());
    }
    EXPECT_EQ(map.capacity(), 17u);
}

TEST(UIntHashMapTest, AtTheLastPrimeRemovalsMakeItRehashInPlace)
{
    UIntHashMap map(kLastPrime - 1);
    insertKeys(map, 0, 100);
    for (unsigned int left = map.freeBudget(); left > 0; --left)
    {
        ASSERT_TRUE(map.insert(1000, nullptr));
        ASSERT_TRUE(map.remove(1000));
    }
    ASSERT_EQ(map.freeBudget(), 0u);
    EXPECT_TRUE(map.insert(1000, nullptr));
    EXPECT_EQ(map.capacity(), kLastPrime);
    EXPECT_EQ(map.freeBudget(), map.fullBudget() - 101);
    for (std::uint32_t key = 0; key < 100; ++key)
        EXPECT_EQ(map.find(key), valueOf(key));
}

TEST(UIntHashMapTest, AtTheLastPrimeAFullTableGoesOnWithALargerPrime)
{
    UIntHashMap map(kLastPrime - 1);
    const std::uint32_t count = map.fullBudget();
    insertKeys(map, 0, count);
    ASSERT_EQ(map.capacity(), kLastPrime);
    ASSERT_TRUE(map.insert(count, valueOf(count)));
    EXPECT_GT(map.capacity(), kLastPrime);
    EXPECT_TRUE(isPrime(map.capacity()));
    EXPECT_EQ(map.freeBudget(), map.fullBudget() - (count + 1));
    for (std::uint32_t key = 0; key <= count; ++key)
        ASSERT_EQ(map.find(key), valueOf(key));
}

// --- Inserting, finding, removing ---

TEST(UIntHashMapTest, FindsWhatWasInserted)
{
    UIntHashMap map(0);
    int object = 0;
    EXPECT_TRUE(map.insert(0, &object));
    EXPECT_TRUE(map.insert(0xFFFFFFFFu, nullptr));
    EXPECT_EQ(map.find(0), &object);
    EXPECT_TRUE(map.contains(0xFFFFFFFFu)); // a null pointer is a value like others
    EXPECT_EQ(map.find(0xFFFFFFFFu), nullptr);
    EXPECT_FALSE(map.contains(1));
    EXPECT_EQ(map.size(), 2u);
}

TEST(UIntHashMapTest, APresentKeyIsRefusedAndKeepsItsValue)
{
    UIntHashMap map(0);
    ASSERT_TRUE(map.insert(5, valueOf(1)));
    const MapState before = stateOf(map);
    EXPECT_FALSE(map.insert(5, valueOf(2)));
    EXPECT_EQ(stateOf(map), before);
}

TEST(UIntHashMapTest, TheHomeSlotIsTheMixedKeyModuloTheCapacity)
{
    for (const std::uint32_t key : {0u, 1u, 2u, 0x8000u, 0xFFFFu, 0x10000u, 0x12345678u, 0xE995FFFFu, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(key);
        UIntHashMap map(128);
        ASSERT_TRUE(map.insert(key, nullptr));
        EXPECT_EQ(map.firstSlot(), ModelTable::mix(key) % 193);
    }
}

TEST(UIntHashMapTest, KeysOfOneHomeStandInTheNextFreeSlotsAndWrapAround)
{
    UIntHashMap map(0);
    const std::vector<std::uint32_t> keys = keysAtHome(9, 11, 4);
    for (const std::uint32_t key : keys)
        ASSERT_TRUE(map.insert(key, nullptr));
    EXPECT_EQ(stateOf(map).slots,
              (std::vector<Slot>{
                  {0, keys[2], nullptr}, {1, keys[3], nullptr}, {9, keys[0], nullptr}, {10, keys[1], nullptr}}));
    for (const std::uint32_t key : keys)
        EXPECT_TRUE(map.contains(key));
}

TEST(UIntHashMapTest, ARemovedKeyLeavesAGapThatTheNextKeyOfItsHomeFills)
{
    UIntHashMap map(0);
    const std::vector<std::uint32_t> keys = keysAtHome(9, 11, 4);
    for (std::size_t i = 0; i < 3; ++i)
        ASSERT_TRUE(map.insert(keys[i], valueOf(i)));
    EXPECT_TRUE(map.remove(keys[1]));
    EXPECT_FALSE(map.contains(keys[1]));
    EXPECT_FALSE(map.remove(keys[1]));
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.find(keys[2]), valueOf(2)); // found behind the gap

    EXPECT_FALSE(map.insert(keys[2], valueOf(9))); // and refused, although the gap comes first
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.find(keys[2]), valueOf(2));

    ASSERT_TRUE(map.insert(keys[3], valueOf(3)));
    EXPECT_EQ(map.valueAt(10), valueOf(3));
}

TEST(UIntHashMapTest, ClearRemovesEveryKeyAndGivesTheBudgetBackAtTheSameCapacity)
{
    UIntHashMap map(0);
    insertKeys(map, 0, 20);
    ASSERT_EQ(map.capacity(), 53u);
    map.clear();
    EXPECT_EQ(stateOf(map), (MapState{53, 42, 0, {}}));
    EXPECT_FALSE(map.contains(3));

    insertKeys(map, 0, 42);
    EXPECT_EQ(map.capacity(), 53u);
}

TEST(UIntHashMapTest, ClearOfATableWithoutStorageDoesNothing)
{
    UIntHashMap map(0);
    map.clear();
    EXPECT_EQ(stateOf(map), (MapState{11, 8, 0, {}}));
}

TEST(UIntHashMapTest, IterationVisitsTheOccupiedSlotsInSlotOrder)
{
    // Far apart, so that whole words of the occupancy bits are empty between them.
    for (const unsigned int slot : {0u, 31u, 32u, 63u, 64u, 95u, 128u, 191u, 192u})
    {
        SCOPED_TRACE(slot);
        UIntHashMap map(128);
        const std::uint32_t key = keysAtHome(slot, 193, 1).front();
        ASSERT_TRUE(map.insert(key, valueOf(7)));
        EXPECT_EQ(stateOf(map).slots, (std::vector<Slot>{{slot, key, valueOf(7)}}));
    }
    UIntHashMap map(128);
    std::vector<Slot> expected;
    for (const unsigned int slot : {0u, 1u, 31u, 32u, 160u, 192u})
        expected.push_back({slot, keysAtHome(slot, 193, 1).front(), nullptr});
    for (auto slot = expected.rbegin(); slot != expected.rend(); ++slot)
        ASSERT_TRUE(map.insert(slot->key, nullptr));
    EXPECT_EQ(stateOf(map).slots, expected);
}

// --- Rehashing and reserving ---

TEST(UIntHashMapTest, RehashGivesBackTheBudgetOfRemovalsAtTheSameCapacity)
{
    UIntHashMap map(32);
    useUpBudget(map, 10);
    EXPECT_TRUE(map.rehash());
    EXPECT_EQ(map.capacity(), 53u);
    EXPECT_EQ(map.freeBudget(), 32u);
    EXPECT_EQ(map.size(), 10u);
    for (std::uint32_t key = 0; key < 10; ++key)
        EXPECT_EQ(map.find(key), valueOf(key));
}

TEST(UIntHashMapTest, AfterReservingTheNextInsertNeedsNoMemory)
{
    for (const std::uint32_t keys : {0u, 1u, 7u, 8u, 13u, 42u})
    {
        SCOPED_TRACE(keys);
        CountingAllocator allocator;
        UIntHashMap map(0, &allocator);
        insertKeys(map, 0, keys);
        ASSERT_TRUE(map.reserveInsert());
        EXPECT_GT(map.freeBudget(), 0u);
        EXPECT_EQ(map.size(), keys);
        allocator.granted = 0;
        EXPECT_TRUE(map.insert(1000, nullptr));
    }
}

// --- Memory ---

TEST(UIntHashMapTest, TakesNoMemoryBeforeTheFirstInsertAndReturnsAllOfIt)
{
    CountingAllocator allocator;
    {
        UIntHashMap map(128, &allocator);
        const UIntHashMap copy(map);
        EXPECT_FALSE(map.contains(1));
        EXPECT_FALSE(map.remove(1));
        map.clear();
        EXPECT_TRUE(allocator.blocks.empty());
        insertKeys(map, 0, 1000);
        EXPECT_FALSE(allocator.blocks.empty());
        EXPECT_TRUE(copy.empty());
    }
    EXPECT_TRUE(allocator.blocks.empty());
}

TEST(UIntHashMapTest, HoldsAnEntryOfThreeWordsAndABitASlot)
{
    CountingAllocator allocator;
    UIntHashMap map(32, &allocator);
    insertKeys(map, 0, 1);
    const std::size_t entries = 53 * (2 * sizeof(std::uint32_t) + sizeof(void*));
    const std::size_t bits = 2 * sizeof(std::uint32_t);
    EXPECT_EQ(allocator.bytes(), entries + bits);
}

TEST(UIntHashMapTest, TakesItsMemoryFromItsAllocatorAlone)
{
    CountingAllocator allocator;
    UIntHashMap map(0, &allocator);
    const HeapThatRunsOut heap(0);
    insertKeys(map, 0, 100);
    EXPECT_TRUE(map.rehash());
    const UIntHashMap copy(map);
    EXPECT_EQ(copy.size(), 100u);
    EXPECT_FALSE(heap.hasRunOut());
}

TEST(UIntHashMapTest, UsesTheDefaultAllocatorUnlessToldOtherwise)
{
    UIntHashMap map(0);
    const HeapThatRunsOut heap(0);
    EXPECT_FALSE(map.insert(1, nullptr));
    EXPECT_TRUE(heap.hasRunOut());
}

/// An edit that takes memory, at a table that has no budget left.
struct MemoryEdit
{
    const char* name;
    bool (*run)(UIntHashMap& map);
};

constexpr MemoryEdit kMemoryEdits[] = {{"insert", [](UIntHashMap& map) { return map.insert(1000, nullptr); }},
                                       {"reserveInsert", [](UIntHashMap& map) { return map.reserveInsert(); }},
                                       {"rehash", [](UIntHashMap& map) { return map.rehash(); }}};

TEST(UIntHashMapTest, WithoutMemoryAnEditIsRefusedAndNothingChanges)
{
    for (const MemoryEdit& edit : kMemoryEdits)
    {
        SCOPED_TRACE(edit.name);
        CountingAllocator allocator;
        UIntHashMap map(32, &allocator);
        useUpBudget(map, 20);
        const MapState before = stateOf(map);
        const std::size_t blocks = allocator.blocks.size();
        std::size_t failures = 0;
        for (bool done = false; !done; ++failures)
        {
            allocator.granted = failures;
            done = edit.run(map);
            if (!done)
            {
                ASSERT_EQ(stateOf(map), before);
                ASSERT_EQ(allocator.blocks.size(), blocks);
                ASSERT_LT(failures, 10u);
            }
        }
        EXPECT_GT(failures, 1u);
        for (std::uint32_t key = 0; key < 20; ++key)
            EXPECT_EQ(map.find(key), valueOf(key));
    }
}

TEST(UIntHashMapTest, WithoutMemoryTheFirstInsertIsRefused)
{
    CountingAllocator allocator;
    UIntHashMap map(0, &allocator);
    for (std::size_t granted = 0;; ++granted)
    {
        allocator.granted = granted;
        if (map.insert(5, nullptr))
            break;
        ASSERT_EQ(stateOf(map), (MapState{11, 8, 0, {}}));
        ASSERT_FALSE(map.contains(5));
        ASSERT_TRUE(allocator.blocks.empty());
        ASSERT_LT(granted, 10u);
    }
    EXPECT_TRUE(map.contains(5));
}

// --- Copies ---

/// A table with a history: grown, with gaps, so that its slots are not those of a fresh one.
UIntHashMap mapWithHistory(kqtl::Allocator* allocator = KQTLGetDefaultAllocator())
{
    UIntHashMap map(0, allocator);
    insertKeys(map, 0, 40);
    for (std::uint32_t key = 0; key < 40; key += 3)
        EXPECT_TRUE(map.remove(key));
    return map;
}

TEST(UIntHashMapTest, ACopyHasTheSameSlotsAndBudget)
{
    const UIntHashMap map = mapWithHistory();
    const UIntHashMap copy(map);
    EXPECT_EQ(stateOf(copy), stateOf(map));
    for (std::uint32_t key = 0; key < 40; ++key)
        EXPECT_EQ(copy.contains(key), key % 3 != 0);
}

TEST(UIntHashMapTest, EditsOfACopyDoNotReachItsSource)
{
    const UIntHashMap map = mapWithHistory();
    const MapState before = stateOf(map);
    UIntHashMap copy(map);
    insertKeys(copy, 1000, 100);
    EXPECT_TRUE(copy.remove(1));
    EXPECT_EQ(stateOf(map), before);
    copy.clear();
    EXPECT_EQ(stateOf(map), before);
}

TEST(UIntHashMapTest, ACopyTakesItsMemoryFromTheSourcesAllocator)
{
    CountingAllocator allocator;
    {
        const UIntHashMap map = mapWithHistory(&allocator);
        const std::size_t bytes = allocator.bytes();
        const UIntHashMap copy(map);
        EXPECT_EQ(allocator.bytes(), 2 * bytes);
    }
    EXPECT_TRUE(allocator.blocks.empty());
}

TEST(UIntHashMapTest, AssignmentReplacesTheContents)
{
    const UIntHashMap map = mapWithHistory();
    UIntHashMap other(128);
    insertKeys(other, 500, 10);
    other = map;
    EXPECT_EQ(stateOf(other), stateOf(map));
    EXPECT_FALSE(other.contains(500));

    other = *&other;
    EXPECT_EQ(stateOf(other), stateOf(map));
}

TEST(UIntHashMapTest, ACopyWithoutMemoryThrowsAndLeavesBothAlone)
{
    CountingAllocator allocator;
    const UIntHashMap map = mapWithHistory(&allocator);
    UIntHashMap other(0, &allocator);
    insertKeys(other, 500, 5);
    const MapState before = stateOf(map);
    const MapState otherBefore = stateOf(other);
    for (std::size_t granted = 0; granted < 2; ++granted)
    {
        SCOPED_TRACE(granted);
        allocator.granted = granted;
        EXPECT_THROW((void)UIntHashMap(map), std::bad_alloc);
        allocator.granted = granted;
        EXPECT_THROW(other = map, std::bad_alloc);
        EXPECT_EQ(stateOf(map), before);
        EXPECT_EQ(stateOf(other), otherBefore);
        EXPECT_TRUE(other.contains(500));
    }
}

TEST(UIntHashMapTest, AMovedFromTableIsEmptyAndUsable)
{
    UIntHashMap map = mapWithHistory();
    const MapState before = stateOf(map);
    UIntHashMap taker(std::move(map));
    EXPECT_EQ(stateOf(taker), before);
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.firstSlot(), UIntHashMap::kNoSlot);
    EXPECT_FALSE(map.contains(1));
    insertKeys(map, 0, 100);
    EXPECT_EQ(map.size(), 100u);

    map = std::move(taker);
    EXPECT_EQ(stateOf(map), before);
    EXPECT_TRUE(taker.empty());
    EXPECT_TRUE(taker.insert(1, nullptr));
}

TEST(UIntHashMapTest, SwapExchangesContentsAndAllocators)
{
    CountingAllocator allocator;
    UIntHashMap map = mapWithHistory(&allocator);
    UIntHashMap other(128);
    insertKeys(other, 500, 10);
    const MapState mapBefore = stateOf(map);
    const MapState otherBefore = stateOf(other);
    map.swap(other);
    EXPECT_EQ(stateOf(map), otherBefore);
    EXPECT_EQ(stateOf(other), mapBefore);

    allocator.granted = 0;
    EXPECT_TRUE(map.rehash());
    EXPECT_FALSE(other.rehash());
}

// --- Properties ---

TEST(UIntHashMapTest, RandomEditsLeaveWhatAnOrdinaryMapHolds)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 10; ++round)
    {
        UIntHashMap map(static_cast<unsigned int>(random.below(60)));
        std::map<std::uint32_t, void*> expected;
        std::vector<std::uint32_t> keys(300);
        for (std::uint32_t& key : keys)
            key = static_cast<std::uint32_t>(random.chance(1, 2) ? random.bits() : random.below(400));
        for (int i = 0; i < 5000; ++i)
        {
            const std::uint32_t key = keys[random.below(keys.size())];
            if (random.chance(1, 2))
            {
                void* const value = valueOf(random.below(1000));
                ASSERT_EQ(map.insert(key, value), expected.emplace(key, value).second);
            }
            else
            {
                ASSERT_EQ(map.remove(key), expected.erase(key) == 1);
            }
            ASSERT_EQ(map.size(), expected.size());
            ASSERT_EQ(map.empty(), expected.empty());
        }
        for (const std::uint32_t key : keys)
        {
            const auto entry = expected.find(key);
            ASSERT_EQ(map.contains(key), entry != expected.end());
            ASSERT_EQ(map.find(key), entry != expected.end() ? entry->second : nullptr);
        }
        std::map<std::uint32_t, void*> visited;
        for (const Slot& slot : stateOf(map).slots)
            ASSERT_TRUE(visited.emplace(slot.key, slot.value).second) << "visited twice";
        ASSERT_EQ(visited, expected);
    }
}

TEST(UIntHashMapTest, RandomEditsLeaveEverySlotWhereTheRulesPutIt)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 10; ++round)
    {
        const auto requested = static_cast<unsigned int>(random.below(60));
        UIntHashMap map(requested);
        ModelTable model(requested);
        // Half of the keys share few homes, for long runs with gaps.
        std::vector<std::uint32_t> keys = keysAtHome(10, 11, 60);
        while (keys.size() < 120)
            keys.push_back(static_cast<std::uint32_t>(random.bits()));
        for (int i = 0; i < 3000; ++i)
        {
            const std::uint32_t key = keys[random.below(keys.size())];
            const std::size_t edit = random.below(1000);
            if (edit < 2)
            {
                map.clear();
                model.clear();
            }
            else if (edit < 10)
            {
                ASSERT_TRUE(map.rehash());
                model.rehash();
            }
            else if (edit < 30)
            {
                ASSERT_TRUE(map.reserveInsert());
                model.reserveInsert();
            }
            else if (edit < 530)
            {
                ASSERT_EQ(map.insert(key, valueOf(key)), model.insert(key, valueOf(key)));
            }
            else
            {
                ASSERT_EQ(map.remove(key), model.remove(key));
            }
            ASSERT_EQ(stateOf(map), model.state()) << "edit " << i << " of round " << round;
        }
    }
}

// --- The index of names that is made of it ---

/// An index whose budget is used up, with @p live hashes left, from 0 on.
NameIndex usedUpIndex(std::uint32_t live)
{
    constexpr std::uint32_t kBudgetOfElevenSlots = 8;
    NameIndex index;
    for (std::uint32_t hash = 0; hash < kBudgetOfElevenSlots; ++hash)
    {
        EXPECT_TRUE(index.reserveInsert());
        index.insert(hash, valueOf(hash));
    }
    for (std::uint32_t hash = live; hash < kBudgetOfElevenSlots; ++hash)
        index.remove(hash);
    EXPECT_EQ(index.capacity(), 11u);
    EXPECT_EQ(index.size(), live);
    return index;
}

TEST(NameIndexTest, StartsEmptyWithElevenSlots)
{
    const NameIndex index;
    EXPECT_EQ(index.capacity(), 11u);
    EXPECT_EQ(index.size(), 0u);
    EXPECT_FALSE(index.contains(0));
    EXPECT_EQ(index.find(0), nullptr);
}

TEST(NameIndexTest, KnowsTheBearerOfAHashUntilItIsRemoved)
{
    NameIndex index;
    int bearer = 0;
    ASSERT_TRUE(index.reserveInsert());
    index.insert(77, &bearer);
    EXPECT_TRUE(index.contains(77));
    EXPECT_EQ(index.find(77), &bearer);
    EXPECT_EQ(index.size(), 1u);
    index.remove(77);
    EXPECT_FALSE(index.contains(77));
    EXPECT_EQ(index.size(), 0u);
}

TEST(NameIndexTest, WithoutBudgetItRehashesInPlaceUpToHalfTheBudgetAndGrowsBeyond)
{
    for (const std::uint32_t live : {0u, 1u, 4u, 5u, 8u})
    {
        SCOPED_TRACE(live);
        NameIndex index = usedUpIndex(live);
        EXPECT_TRUE(index.reserveInsert());
        EXPECT_EQ(index.capacity(), live <= 4 ? 11u : 17u);
        EXPECT_EQ(index.size(), live);
        index.insert(1000, nullptr);
        for (std::uint32_t hash = 0; hash < live; ++hash)
            EXPECT_EQ(index.find(hash), valueOf(hash));
    }
}

TEST(NameIndexTest, AMillionRenamesDoNotMakeItGrow)
{
    for (const std::uint32_t live : {1u, 4u, 6u, 7u})
    {
        SCOPED_TRACE(live);
        NameIndex index;
        for (std::uint32_t hash = 0; hash < live; ++hash)
        {
            ASSERT_TRUE(index.reserveInsert());
            index.insert(hash, nullptr);
        }
        for (std::uint32_t hash = live; hash < 1000000; ++hash)
        {
            index.remove(hash - live);
            ASSERT_TRUE(index.reserveInsert());
            index.insert(hash, nullptr);
        }
        EXPECT_EQ(index.size(), live);
        EXPECT_LE(index.capacity(), 53u);
        EXPECT_TRUE(index.contains(999999));
        EXPECT_FALSE(index.contains(0));
    }
}

TEST(NameIndexTest, WithoutMemoryReservingIsRefusedAndNothingChanges)
{
    for (const std::uint32_t live : {4u, 8u}) // would rehash, would grow
    {
        SCOPED_TRACE(live);
        NameIndex index = usedUpIndex(live);
        {
            const HeapThatRunsOut heap(0);
            EXPECT_FALSE(index.reserveInsert());
            EXPECT_TRUE(heap.hasRunOut());
        }
        EXPECT_EQ(index.capacity(), 11u);
        EXPECT_EQ(index.size(), live);
        for (std::uint32_t hash = 0; hash < live; ++hash)
            EXPECT_EQ(index.find(hash), valueOf(hash));
        EXPECT_TRUE(index.reserveInsert());
    }
}

} // namespace
