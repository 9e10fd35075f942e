#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace db2bench {

/// The floor's index of names: one open-addressing table of pointers for all families, keyed by owner and name. No
/// more than finding and keeping names unique needs. Owns nothing.
/// @tparam Item  has `owner` (a pointer), `hash` and `name`.
template <class Item>
class NameTable
{
public:
    /// FNV-1a.
    [[nodiscard]] static std::uint32_t hashOf(std::string_view name)
    {
        std::uint32_t hash = 2166136261u;
        for (const char character : name)
            hash = (hash ^ static_cast<unsigned char>(character)) * 16777619u;
        return hash;
    }

    /// Null when @p owner has none of that name.
    [[nodiscard]] Item* find(const void* owner, std::string_view name, std::uint32_t hash) const
    {
        for (std::size_t i = homeOf(owner, hash); slots_[i] != nullptr; i = after(i))
        {
            Item* const item = slots_[i];
            if (item->hash == hash && item->owner == owner && item->name == name)
                return item;
        }
        return nullptr;
    }

    void enter(Item* item)
    {
        if (++used_ * 4 > slots_.size() * 3)
            grow();
        place(item);
    }

    void remove(const Item* item)
    {
        std::size_t i = homeOf(item->owner, item->hash);
        while (slots_[i] != item)
            i = after(i);
        slots_[i] = &removed_;
    }

    void clear()
    {
        slots_ = std::vector<Item*>(kFirstSize);
        used_ = 0;
    }

private:
    static constexpr std::size_t kFirstSize = 16; // a power of two, as all that follow

    [[nodiscard]] std::size_t homeOf(const void* owner, std::uint32_t hash) const
    {
        const std::uint64_t mixed =
            (std::uint64_t{reinterpret_cast<std::uintptr_t>(owner)} >> 4) * 0x9E3779B97F4A7C15u ^
            hash * 0xD6E8FEB86659FD93u;
        return static_cast<std::size_t>(mixed ^ mixed >> 32) & (slots_.size() - 1);
    }

    [[nodiscard]] std::size_t after(std::size_t slot) const { return (slot + 1) & (slots_.size() - 1); }

    void place(Item* item)
    {
        std::size_t i = homeOf(item->owner, item->hash);
        while (slots_[i] != nullptr)
            i = after(i);
        slots_[i] = item;
    }

    void grow()
    {
        std::vector<Item*> old(slots_.size() * 2);
        old.swap(slots_);
        used_ = 1; // the item that is about to enter
        for (Item* const item : old)
        {
            if (item == nullptr || item == &removed_)
                continue;
            place(item);
            ++used_;
        }
    }

    std::vector<Item*> slots_ = std::vector<Item*>(kFirstSize); ///< null where free
    std::size_t used_ = 0;                                      ///< removed ones included
    Item removed_{};                                            ///< stands where an item was, and is equal to none
};

} // namespace db2bench
