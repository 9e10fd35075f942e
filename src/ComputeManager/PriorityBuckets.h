#pragma once

#include <kqtl/pod_vector.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

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
        heads_.clear();
        next_.clear();
        heap_.clear();
        heads_.resize(std::size_t{greatestPriority} + 1, kNone);
        next_.resize(items, kNone);
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

    kqtl::pod_vector<std::uint32_t> heads_; ///< by priority: the newest item
    kqtl::pod_vector<std::uint32_t> next_;  ///< by item: the next older one of its bucket
    kqtl::pod_vector<std::uint32_t> heap_;  ///< the priorities whose buckets are not empty
};

} // namespace db2
