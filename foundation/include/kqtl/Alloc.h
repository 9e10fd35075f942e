#pragma once

#include <kqtl/Export.h>

#include <cstddef>

/// @file
/// The heap under every container of the foundation and every block of the database.
///
/// One pair of functions, so that a block that one side of a library boundary allocates is freed by the same runtime,
/// and one hook, so that a host can hold the library to a memory budget. Nothing here throws; the containers turn a
/// null block into std::bad_alloc where their interface cannot report it otherwise.
/// Threads: as safe as the platform's heap, except for KQTLSetAllocHook().

/// Allocates @p bytes at an address that is a multiple of @p alignment. The block is not initialised.
/// A request for zero bytes gives a block too, at an address that no other living block has.
/// @param alignment  a power of two, or 0 for alignof(std::max_align_t).
/// @return the block, to be freed by KQTLFree(); null when memory is out, when the hook refuses, when @p bytes is above
///         PTRDIFF_MAX and when @p alignment is not a power of two.
[[nodiscard]] KQ_API void* KQTLAlloc(std::size_t bytes, std::size_t alignment);

/// Frees a block of KQTLAlloc(), whatever its alignment. A null block is ignored.
KQ_API void KQTLFree(void* block);

/// Decides whether an allocation may go ahead; false makes KQTLAlloc() return null as if memory were out.
/// It gets the number of bytes that the caller asked for. It must not throw and must not call KQTLAlloc() itself.
using KQTLAllocHook = bool (*)(std::size_t bytes);

/// Sets the hook that is asked before every allocation: a host's memory budget, a test's heap that runs out.
/// Costs a load and a predicted branch per allocation while there is none.
/// Threads: not guarded; set it while no other thread allocates.
/// @param hook  null, the default, for none.
/// @return the hook that was set before, null for none.
KQ_API KQTLAllocHook KQTLSetAllocHook(KQTLAllocHook hook);
