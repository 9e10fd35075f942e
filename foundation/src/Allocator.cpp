#include <kqtl/Allocator.h>

#include <kqtl/Alloc.h>

#include <new>

namespace kqtl {

Allocator::~Allocator() = default;

void* Allocator::allocate(std::size_t bytes, std::size_t alignment)
{
    return KQTLAlloc(bytes, alignment);
}

void Allocator::free(void* block)
{
    KQTLFree(block);
}

} // namespace kqtl

kqtl::Allocator* KQTLGetDefaultAllocator()
{
    // Made in storage that has no destructor: containers of static lifetime free through it after main has ended.
    alignas(kqtl::Allocator) static unsigned char storage[sizeof(kqtl::Allocator)];
    static kqtl::Allocator* const allocator = ::new (static_cast<void*>(storage)) kqtl::Allocator;
    return allocator;
}
