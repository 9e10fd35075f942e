#include <KQutils/FastHeap.h>

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace KQutils {

/// The header of a chunk; its contents follow.
struct FastHeap::Chunk
{
    static constexpr std::size_t kHeaderBytes = kChunkAlignment;

    Chunk* next;
};

FastHeap::~FastHeap()
{
    static_assert(sizeof(Chunk) <= Chunk::kHeaderBytes);
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

/// What does not simply follow the request before.
void* FastHeap::allocBeyond(std::size_t bytes, std::size_t alignment)
{
    if (!isPowerOfTwo(alignment))
        return nullptr;
    if (bytes == 0)
        return alloc(1, alignment);
    if (bytes > kLargestSharedBytes || alignment > kChunkAlignment)
        return allocOwnChunk(bytes, alignment);
    return startChunkFor(bytes) ? alloc(bytes, alignment) : nullptr; // where it fits, since a chunk starts aligned
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
    const std::size_t offset = std::max(Chunk::kHeaderBytes, alignment);
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
    const std::size_t chunkBytes = std::max<std::size_t>(nextChunkBytes_, Chunk::kHeaderBytes + bytes);
    Chunk* const chunk = addChunk(chunkBytes, kChunkAlignment);
    if (chunk == nullptr)
        return false;
    cursor_ = reinterpret_cast<char*>(chunk) + Chunk::kHeaderBytes;
    remaining_ = static_cast<std::uint32_t>(chunkBytes - Chunk::kHeaderBytes);
    nextChunkBytes_ = std::min(nextChunkBytes_ * 2, kLargestChunkBytes);
    return true;
}

} // namespace KQutils
