#pragma once

#include <kqtl/pod_vector.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

class Node;

/// Numbers of nodes by their addresses: a hash table with open addressing, filled once and then only looked up.
/// Never walked, so nothing depends on the order of addresses. Cost: constant.
class NodeIndex
{
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

    void clear() { entries_.clear(); }

    /// Empties the table and makes room for so many nodes. Throws std::bad_alloc, leaving the table empty.
    void reset(std::size_t nodes)
    {
        entries_.clear();
        bits_ = 4;
        while (nodes > (std::size_t{1} << bits_) / 2) // at least every second place stays free
            ++bits_;
        entries_.resize(std::size_t{1} << bits_);
    }

    /// @param node  not in the table yet; no more of them than reset() made room for.
    void insert(const Node* node, std::uint32_t number) { entries_[placeOf(node)] = {node, number}; }

    /// The node's number, or kNone.
    [[nodiscard]] std::uint32_t find(const Node* node) const
    {
        if (entries_.empty())
            return kNone;
        const Entry& entry = entries_[placeOf(node)];
        return entry.node != nullptr ? entry.number : kNone;
    }

private:
    struct Entry
    {
        const Node* node = nullptr;
        std::uint32_t number = 0;
    };

    /// Where the node stands, or would stand.
    [[nodiscard]] std::size_t placeOf(const Node* node) const
    {
        // Fibonacci hashing: neighbouring blocks come to stand far apart.
        const std::uint64_t hash = reinterpret_cast<std::uintptr_t>(node) * std::uint64_t{0x9E3779B97F4A7C15};
        auto place = static_cast<std::size_t>(hash >> (64 - bits_));
        while (entries_[place].node != nullptr && entries_[place].node != node)
            place = (place + 1) & (entries_.size() - 1);
        return place;
    }

    kqtl::pod_vector<Entry> entries_; ///< a power of two of them, or none
    unsigned int bits_ = 0;           ///< the exponent
};

} // namespace db2
