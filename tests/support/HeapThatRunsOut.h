#pragma once

#include <kqtl/Alloc.h>

#include <cstddef>

namespace db2test {

/// While it lives, the library's heap grants so many allocations and refuses every one after them.
class HeapThatRunsOut
{
public:
    explicit HeapThatRunsOut(std::size_t grantedAllocations)
    {
        left() = grantedAllocations;
        refused() = false;
        previous_ = KQTLSetAllocHook([](std::size_t) {
            if (left() > 0)
            {
                --left();
                return true;
            }
            refused() = true;
            return false;
        });
    }
    HeapThatRunsOut(const HeapThatRunsOut&) = delete;
    HeapThatRunsOut& operator=(const HeapThatRunsOut&) = delete;
    ~HeapThatRunsOut() { KQTLSetAllocHook(previous_); }

    /// True once an allocation was refused. Where it stays false, the code got by with what was granted.
    [[nodiscard]] bool hasRunOut() const { return refused(); }

private:
    static std::size_t& left()
    {
        static std::size_t count = 0;
        return count;
    }
    static bool& refused()
    {
        static bool happened = false;
        return happened;
    }

    KQTLAllocHook previous_;
};

} // namespace db2test
