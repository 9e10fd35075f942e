#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#if defined(_WIN32)
#include <malloc.h>
#endif

namespace {

KQTLAllocHook allocHook = nullptr; // a plain pointer: an atomic one would still not order a change against a call

/// std::has_single_bit counts the bits, which is a call where the processor's instruction may not be used.
constexpr bool isPowerOfTwo(std::size_t number)
{
    return number != 0 && (number & (number - 1)) == 0;
}

#if defined(_WIN32)

// The runtime frees aligned and plain blocks by different functions, so every block is an aligned one.
void* allocateBlock(std::size_t bytes, std::size_t alignment)
{
    return _aligned_malloc(bytes, alignment);
}

void freeBlock(void* block)
{
    _aligned_free(block);
}

#else

void* allocateBlock(std::size_t bytes, std::size_t alignment)
{
    if (alignment <= alignof(std::max_align_t))
        return std::malloc(bytes);
    void* block = nullptr;
    return posix_memalign(&block, alignment, bytes) == 0 ? block : nullptr;
}

void freeBlock(void* block)
{
    std::free(block);
}

#endif

} // namespace

void* KQTLAlloc(std::size_t bytes, std::size_t alignment)
{
    if (alignment == 0)
        alignment = alignof(std::max_align_t);
    if (!isPowerOfTwo(alignment) || bytes > PTRDIFF_MAX)
        return nullptr;
    if (allocHook != nullptr && !allocHook(bytes)) [[unlikely]]
        return nullptr;
    return allocateBlock(std::max<std::size_t>(bytes, 1), alignment); // the heaps may answer 0 bytes with null
}

void KQTLFree(void* block)
{
    if (block != nullptr)
        freeBlock(block);
}

KQTLAllocHook KQTLSetAllocHook(KQTLAllocHook hook)
{
    return std::exchange(allocHook, hook);
}
