#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace db2 {

/// A queue of numbered items that gives the one of the greatest priority first, of equal ones the last queued. Items of
/// one priority share a bucket, chained through the items; the buckets in use are a heap.
/// Cost: constant, and logarithmic in the number of buckets in use for the first and last item of a bucket.
class PriorityBuckets
{
public:
    /// Empties the queue and prepares for so many items and priorities from 0 to @p greatestPriority. Throws
    /// std::bad_alloc.
    void reset(std::size_t items, std::uint32_t greatestPriority)
    {
        heads_.assign(std::size_t{greatestPriority} + 1, kNone);
        next_.assign(items, kNone);
        heap_.clear();
        heap_.reserve(heads_.size());
    }

    [[nodiscard]] bool empty() const { return heap_.empty(); }

    /// @param item  not in the queue.
    void push(std::uint32_t item, std::uint32_t priority)
    {
        if (heads_[priority] == kNone)
        {
            heap_.push_back(priority);
            std::push_heap(heap_.begin(), heap_.end());
        }
        next_[item] = heads_[priority];
        heads_[priority] = item;
    }

    /// The queue must not be empty.
    std::uint32_t pop()
    {
        const std::uint32_t priority = heap_.front();
        const std::uint32_t item = heads_[priority];
        heads_[priority] = next_[item];
        if (heads_[priority] == kNone)
        {
            std::pop_heap(heap_.begin(), heap_.end());
            heap_.pop_back();
        }
        return item;
    }

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

    std::vector<std::uint32_t> heads_; ///< by priority: the newest item
    std::vector<std::uint32_t> next_;  ///< by item: the next older one of its bucket
    std::vector<std::uint32_t> heap_;  ///< the priorities whose buckets are not empty
};

} // namespace db2
