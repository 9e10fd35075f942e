#pragma once

#include <kqtl/Alloc.h>

#include <cstddef>
#include <new>

namespace db2 {

/// Base of objects that a host makes with `new` and the library deletes, or the other way round: both sides of the
/// library's border then use the library's heap. Adds nothing to the object.
struct LibraryAllocated
{
    static void* operator new(std::size_t bytes)
    {
        if (void* const block = KQTLAlloc(bytes, alignof(std::max_align_t)))
            return block;
        throw std::bad_alloc();
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { KQTLFree(block); }
    static void operator delete(void*, void*) noexcept {}

protected:
    LibraryAllocated() = default;
    LibraryAllocated(const LibraryAllocated&) = default;
    LibraryAllocated& operator=(const LibraryAllocated&) = default;
    ~LibraryAllocated() = default;
};

} // namespace db2
