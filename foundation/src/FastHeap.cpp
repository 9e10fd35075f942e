#include <KQutils/FastHeap.h>

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace KQutils {

namespace {

constexpr std::uint32_t kLargestChunkBytes = 64 * 1024;
constexpr std::size_t kLargestSharedBytes = kLargestChunkBytes / 4; ///< above, a request gets a chunk of its own

/// Of chunks and their headers, and that of the library's largest values. A chunk's contents start at a multiple of it
/// on every platform, so padding depends on the requests alone and never on the addresses that the heap hands out.
constexpr std::size_t kChunkAlignment = 16;
constexpr std::size_t kHeaderBytes = kChunkAlignment;

/// std::has_single_bit counts the bits, which is a call where the processor's instruction may not be used.
constexpr bool isPowerOfTwo(std::size_t number)
{
    return number != 0 && (number & (number - 1)) == 0;
}

/// The bytes from @p address to the next multiple of @p alignment.
std::size_t paddingAt(const char* address, std::size_t alignment)
{
    return static_cast<std::size_t>(-reinterpret_cast<std::uintptr_t>(address)) & (alignment - 1);
}

} // namespace

/// The header of a chunk; its contents follow.
struct FastHeap::Chunk
{
    Chunk* next;
};

FastHeap::~FastHeap()
{
    static_assert(sizeof(Chunk) <= kHeaderBytes);
    freeChunksUntil(nullptr);
}

void FastHeap::freeChunksUntil(const Chunk* kept) noexcept
{
    while (chunks_ != kept)
    {
        Chunk* const next = chunks_->next;
        KQTLFree(chunks_);
        chunks_ = next;
    }
}

void FastHeap::rewind(const Mark& mark) noexcept
{
    freeChunksUntil(mark.chunks);
    cursor_ = mark.cursor;
    remaining_ = mark.remaining;
    nextChunkBytes_ = mark.nextChunkBytes;
    bytesInUse_ = mark.bytesInUse;
}

void* FastHeap::alloc(std::size_t bytes, std::size_t alignment)
{
    if (!isPowerOfTwo(alignment))
        return nullptr;
    bytes = std::max<std::size_t>(bytes, 1);
    if (bytes > kLargestSharedBytes || alignment > kChunkAlignment)
        return allocOwnChunk(bytes, alignment);

    std::size_t padding = paddingAt(cursor_, alignment);
    if (bytes + padding > remaining_)
    {
        if (!startChunkFor(bytes))
            return nullptr;
        padding = 0; // a chunk's contents start aligned
    }
    char* const block = cursor_ + padding;
    cursor_ = block + bytes;
    remaining_ -= static_cast<std::uint32_t>(padding + bytes);
    bytesInUse_ += padding + bytes;
    return block;
}

/// @return null, with nothing changed, when memory is out.
FastHeap::Chunk* FastHeap::addChunk(std::size_t bytes, std::size_t alignment)
{
    void* const block = KQTLAlloc(bytes, std::max(alignment, kChunkAlignment));
    if (block == nullptr)
        return nullptr;
    chunks_ = ::new (block) Chunk{chunks_};
    return chunks_;
}

/// The chunk in use stays in use, so that a large request does not waste its rest.
void* FastHeap::allocOwnChunk(std::size_t bytes, std::size_t alignment)
{
    const std::size_t offset = std::max(kHeaderBytes, alignment);
    if (bytes > PTRDIFF_MAX || offset > PTRDIFF_MAX - bytes)
        return nullptr;
    Chunk* const chunk = addChunk(offset + bytes, alignment);
    if (chunk == nullptr)
        return nullptr;
    bytesInUse_ += bytes;
    return reinterpret_cast<char*>(chunk) + offset;
}

/// @return false, with nothing changed, when memory is out.
bool FastHeap::startChunkFor(std::size_t bytes)
{
    const std::size_t chunkBytes = std::max<std::size_t>(nextChunkBytes_, kHeaderBytes + bytes);
    Chunk* const chunk = addChunk(chunkBytes, kChunkAlignment);
    if (chunk == nullptr)
        return false;
    cursor_ = reinterpret_cast<char*>(chunk) + kHeaderBytes;
    remaining_ = static_cast<std::uint32_t>(chunkBytes - kHeaderBytes);
    nextChunkBytes_ = std::min(nextChunkBytes_ * 2, kLargestChunkBytes);
    return true;
}

} // namespace KQutils
