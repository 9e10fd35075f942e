#pragma once

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstddef>

namespace db2test {

/// While it lives, counts what is asked of the library's heap, freed again or not. One at a time.
class MeasuredHeap
{
public:
    MeasuredHeap()
    {
        reset();
        previous_ = KQTLSetAllocHook([](std::size_t bytes) {
            Asked& all = asked();
            ++all.allocations;
            all.bytes += bytes;
            all.largest = std::max(all.largest, bytes);
            return true;
        });
    }
    MeasuredHeap(const MeasuredHeap&) = delete;
    MeasuredHeap& operator=(const MeasuredHeap&) = delete;
    ~MeasuredHeap() { KQTLSetAllocHook(previous_); }

    // --- Since it was made, or reset ---

    [[nodiscard]] std::size_t allocations() const { return asked().allocations; }
    [[nodiscard]] std::size_t bytes() const { return asked().bytes; }
    [[nodiscard]] std::size_t largestBytes() const { return asked().largest; } ///< of one allocation
    void reset() { asked() = {}; }

private:
    struct Asked
    {
        std::size_t allocations = 0;
        std::size_t bytes = 0;
        std::size_t largest = 0;
    };
    static Asked& asked()
    {
        static Asked all;
        return all;
    }

    KQTLAllocHook previous_;
};

} // namespace db2test
