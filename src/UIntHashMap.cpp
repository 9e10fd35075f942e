#include <db2/UIntHashMap.h>

#include <bit>
#include <cassert>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

namespace db2 {
namespace {

/// The capacities. The table keeps to the first twenty where it can and goes on behind them only when really full, so
/// that no request makes a table without slots.
constexpr unsigned int kPrimes[] = {11,       17,       53,        97,        193,       389,       769,
                                    1543,     3079,     6151,      12289,     24593,     49157,     98317,
                                    196613,   393241,   786433,    1572869,   3145739,   6291469,   12582917,
                                    25165843, 50331653, 100663319, 201326611, 402653189, 805306457, 1610612741};
constexpr unsigned int kLastOrdinaryPrime = 6291469;

unsigned int primeAbove(unsigned int number)
{
    for (const unsigned int prime : kPrimes)
        if (prime > number)
            return prime;
    return kPrimes[std::size(kPrimes) - 1];
}

/// 0.8 x capacity, truncated.
constexpr unsigned int budgetFor(unsigned int capacity)
{
    return static_cast<unsigned int>(std::uint64_t{capacity} * 4 / 5);
}

std::uint32_t mix(std::uint32_t key)
{
    std::uint32_t h = ((key ^ 0xE995FFFFu) >> 16) ^ key;
    h *= 9;
    h = (h >> 4) ^ h;
    h *= 0x27D4EB2Du;
    return (h >> 15) ^ h;
}

constexpr std::size_t occupancyWords(unsigned int capacity)
{
    return capacity / 32 + std::size_t{capacity % 32 != 0};
}

} // namespace

// --- Construction ---

UIntHashMap::UIntHashMap(unsigned int requestedCapacity, kqtl::Allocator* allocator)
    : capacity_(primeAbove(requestedCapacity)), freeBudget_(budgetFor(capacity_)), allocator_(allocator)
{
}

UIntHashMap::UIntHashMap(const UIntHashMap& other)
    : capacity_(other.capacity_), freeBudget_(other.freeBudget_), allocator_(other.allocator_)
{
    if (other.entries_ == nullptr)
        return;
    if (!allocate(capacity_))
        throw std::bad_alloc();
    std::memcpy(entries_, other.entries_, capacity_ * sizeof(Entry));
    std::memcpy(occupied_, other.occupied_, occupancyWords(capacity_) * sizeof(std::uint32_t));
    count_ = other.count_;
}

UIntHashMap& UIntHashMap::operator=(const UIntHashMap& other)
{
    UIntHashMap(other).swap(*this);
    return *this;
}

UIntHashMap::UIntHashMap(UIntHashMap&& other) noexcept : UIntHashMap(0, other.allocator_)
{
    swap(other);
}

UIntHashMap& UIntHashMap::operator=(UIntHashMap&& other) noexcept
{
    UIntHashMap(std::move(other)).swap(*this);
    return *this;
}

UIntHashMap::~UIntHashMap()
{
    release();
}

void UIntHashMap::swap(UIntHashMap& other) noexcept
{
    std::swap(entries_, other.entries_);
    std::swap(occupied_, other.occupied_);
    std::swap(capacity_, other.capacity_);
    std::swap(freeBudget_, other.freeBudget_);
    std::swap(count_, other.count_);
    std::swap(allocator_, other.allocator_);
}

// --- Queries ---

unsigned int UIntHashMap::fullBudget() const
{
    return budgetFor(capacity_);
}

void* UIntHashMap::find(std::uint32_t key) const
{
    const unsigned int slot = findSlot(key);
    return slot != kNoSlot ? entries_[slot].value : nullptr;
}

unsigned int UIntHashMap::findSlot(std::uint32_t key) const
{
    if (count_ == 0)
        return kNoSlot;
    const unsigned int home = mix(key) % capacity_;
    unsigned int slot = home;
    for (std::uint32_t probe = 0; probe <= entries_[home].longestProbe; ++probe)
    {
        if (entries_[slot].key == key && isOccupied(slot))
            return slot;
        if (++slot == capacity_)
            slot = 0;
    }
    return kNoSlot;
}

unsigned int UIntHashMap::occupiedFrom(unsigned int slot) const
{
    if (entries_ == nullptr || slot >= capacity_)
        return kNoSlot;
    std::size_t word = slot / 32;
    std::uint32_t bits = occupied_[word] & ~std::uint32_t{0} << slot % 32;
    while (bits == 0)
    {
        if (++word == occupancyWords(capacity_))
            return kNoSlot;
        bits = occupied_[word];
    }
    return static_cast<unsigned int>(word * 32) + static_cast<unsigned int>(std::countr_zero(bits));
}

// --- Edits ---

bool UIntHashMap::insert(std::uint32_t key, void* value)
{
    // Asked of find, not of the first free slot: a removed key may have left a gap before the one that is present.
    if (contains(key) || !reserveInsert())
        return false;
    place(key, value);
    return true;
}

bool UIntHashMap::reserveInsert()
{
    if (entries_ == nullptr)
        return allocate(capacity_);
    if (freeBudget_ > 0)
        return true;
    const bool roomByRehash = capacity_ >= kLastOrdinaryPrime && count_ < budgetFor(capacity_);
    return rehashTo(roomByRehash ? capacity_ : primeAbove(capacity_)) && freeBudget_ > 0;
}

bool UIntHashMap::rehash()
{
    return entries_ == nullptr || rehashTo(capacity_);
}

bool UIntHashMap::remove(std::uint32_t key)
{
    const unsigned int slot = findSlot(key);
    if (slot == kNoSlot)
        return false;
    occupied_[slot / 32] &= ~(1u << slot % 32);
    --count_;
    return true;
}

void UIntHashMap::clear()
{
    if (entries_ != nullptr)
    {
        std::memset(entries_, 0, capacity_ * sizeof(Entry));
        std::memset(occupied_, 0, occupancyWords(capacity_) * sizeof(std::uint32_t));
    }
    count_ = 0;
    freeBudget_ = budgetFor(capacity_);
}

// --- Private ---

bool UIntHashMap::allocate(unsigned int capacity)
{
    const std::uint64_t entryBytes = std::uint64_t{capacity} * sizeof(Entry);
    if (entryBytes > SIZE_MAX / 2)
        return false;
    void* const entries = allocator_->allocate(static_cast<std::size_t>(entryBytes), alignof(Entry));
    const std::size_t occupancyBytes = occupancyWords(capacity) * sizeof(std::uint32_t);
    void* const occupied = allocator_->allocate(occupancyBytes, alignof(std::uint32_t));
    if (entries == nullptr || occupied == nullptr)
    {
        allocator_->free(entries);
        allocator_->free(occupied);
        return false;
    }
    std::memset(entries, 0, static_cast<std::size_t>(entryBytes));
    std::memset(occupied, 0, occupancyBytes);
    entries_ = static_cast<Entry*>(entries);
    occupied_ = static_cast<std::uint32_t*>(occupied);
    return true;
}

bool UIntHashMap::rehashTo(unsigned int capacity)
{
    UIntHashMap moved(capacity - 1, allocator_);
    assert(moved.capacity_ == capacity);
    if (!moved.allocate(capacity))
        return false;
    for (unsigned int slot = firstSlot(); slot != kNoSlot; slot = nextSlot(slot))
        moved.place(entries_[slot].key, entries_[slot].value);
    swap(moved);
    return true;
}

/// Enters a key that is absent into a table that has a free slot.
void UIntHashMap::place(std::uint32_t key, void* value)
{
    const unsigned int home = mix(key) % capacity_;
    unsigned int slot = home;
    std::uint32_t probe = 0;
    while (isOccupied(slot))
    {
        ++probe;
        if (++slot == capacity_)
            slot = 0;
    }
    if (probe > entries_[home].longestProbe)
        entries_[home].longestProbe = probe;
    entries_[slot].key = key;
    entries_[slot].value = value;
    occupied_[slot / 32] |= 1u << slot % 32;
    ++count_;
    if (freeBudget_ > 0)
        --freeBudget_;
}

void UIntHashMap::release()
{
    allocator_->free(entries_);
    allocator_->free(occupied_);
}

} // namespace db2
