#pragma once

#include "NodeMemory.h"

#include <cstddef>

/// Passes over many objects that are touched once each wait for memory at every one of them, as soon as the objects no
/// longer fit into the caches. These helpers have the objects some steps ahead fetched meanwhile.
namespace db2 {

// How many steps ahead: enough for what a step takes against what memory takes. The exact numbers matter little.
inline constexpr std::size_t kPrefetchDistance = 12;     ///< when a step is some dozens of nanoseconds
inline constexpr std::size_t kFastPrefetchDistance = 32; ///< when it is a few

/// A hint that what stands at an address, which may be any, is about to be read and written.
inline void prefetch([[maybe_unused]] const void* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address, 1);
    asm volatile(""); // else g++ takes callers for functions without effect, and leaves out the calls
#endif
}

inline void prefetchFlags(const Node& node)
{
    prefetch(NodeMemory::flagsOf(node));
}

inline void prefetchFlags(const Element& element)
{
    prefetch(&element); // its first word
}

/// Calls @p visit for each of the objects that the pointers lead to.
/// @param pointers  can be indexed; none of them null.
template <class Pointers, class Visit>
void forEachFetched(const Pointers& pointers, Visit visit)
{
    const std::size_t count = pointers.size();
    for (std::size_t i = 0; i < count; ++i)
    {
        if (i + kFastPrefetchDistance < count)
            prefetchFlags(*pointers[i + kFastPrefetchDistance]);
        visit(*pointers[i]);
    }
}

} // namespace db2
