#pragma once

#include <kqtl/Export.h>

#include <cstddef>

namespace kqtl {

/// Where a container takes its memory from. The base class forwards to KQTLAlloc() and KQTLFree(); a host that keeps
/// books or pools of its own derives from it and hands the object to the containers.
/// Not owned by any container, so it lives longer than all of them.
/// Threads: as safe as the heap for this class; a derived one says so itself.
class KQ_API Allocator
{
public:
    Allocator() = default;
    Allocator(const Allocator&) = delete;
    Allocator& operator=(const Allocator&) = delete;
    virtual ~Allocator();

    /// @param alignment  a power of two.
    /// @return an uninitialised block that this same object frees; null when memory is out. Never throws.
    [[nodiscard]] virtual void* allocate(std::size_t bytes, std::size_t alignment);

    /// Frees a block that this object allocated; null is ignored.
    virtual void free(void* block);
};

} // namespace kqtl

/// The allocator of every container that was given none: one object for the process, made at the first call and never
/// destroyed, so that containers of static lifetime may use it to the end.
/// @return never null; not owned by the caller.
[[nodiscard]] KQ_API kqtl::Allocator* KQTLGetDefaultAllocator();
