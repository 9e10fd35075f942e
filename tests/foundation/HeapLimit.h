#pragma once

#include <kqtl/Alloc.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace foundationtest {

/// A heap that runs out: while one lives, KQTLAlloc() grants a number of allocations and refuses the rest. Counts what
/// was asked for. One at a time.
class HeapLimit
{
public:
    explicit HeapLimit(std::size_t grants = SIZE_MAX)
    {
        grantsLeft() = grants;
        requestCount() = 0;
        requestedBytes() = 0;
        previous_ = KQTLSetAllocHook(&HeapLimit::grant);
    }
    HeapLimit(const HeapLimit&) = delete;
    HeapLimit& operator=(const HeapLimit&) = delete;
    ~HeapLimit() { KQTLSetAllocHook(previous_); }

    /// Allocations asked for so far, refused ones too.
    [[nodiscard]] std::size_t requests() const { return requestCount(); }

    /// Bytes asked for so far, refused ones too.
    [[nodiscard]] std::size_t bytes() const { return requestedBytes(); }

private:
    static std::size_t& grantsLeft()
    {
        static std::size_t grants = 0;
        return grants;
    }

    static std::size_t& requestCount()
    {
        static std::size_t count = 0;
        return count;
    }

    static std::size_t& requestedBytes()
    {
        static std::size_t bytes = 0;
        return bytes;
    }

    static bool grant(std::size_t bytes)
    {
        ++requestCount();
        requestedBytes() += bytes;
        if (grantsLeft() == 0)
            return false;
        --grantsLeft();
        return true;
    }

    KQTLAllocHook previous_;
};

/// Makes an edit with a heap that grants a number of allocations.
/// @return false when it threw std::bad_alloc.
template <class Edit>
[[nodiscard]] bool tryEdit(std::size_t grants, Edit edit)
{
    const HeapLimit heap(grants);
    try
    {
        edit();
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

} // namespace foundationtest
