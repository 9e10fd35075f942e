#pragma once

#include <kqtl/Export.h>

#include <cstddef>
#include <cstdint>

namespace KQutils {

/// An arena: many small allocations that live and die together, as the records of one undo item do. An allocation is a
/// few instructions, none is freed by itself, and the destructor frees all of them at once. It runs no destructors.
/// Memory comes from KQTLAlloc() in chunks that double from 1 KiB to 64 KiB, none before the first allocation; a request
/// that is large for a chunk, or aligned more strictly than any value of the library, gets a chunk of its own, so that
/// leaving the end of a full-sized chunk unused never wastes more than a quarter of it.
/// Threads: one heap belongs to one thread.
class KQ_API FastHeap
{
public:
    FastHeap() = default;
    /// For a heap that mostly holds little: it begins with a block of its owner's and goes on with a chunk of twice its
    /// size.
    /// @param block  aligned to 16, of at most 1 GiB; not owned, and alive for as long as the heap.
    FastHeap(void* block, std::uint32_t bytes)
        : cursor_(static_cast<char*>(block)), remaining_(bytes), nextChunkBytes_(2 * bytes)
    {
    }
    FastHeap(const FastHeap&) = delete;
    FastHeap& operator=(const FastHeap&) = delete;
    ~FastHeap();

    /// Allocates @p bytes, not initialised, at a multiple of @p alignment. A request for zero bytes takes one, so that
    /// its address is its own.
    /// @param alignment  a power of two.
    /// @return the block, valid until this heap is destroyed; null, with nothing changed, when memory is out and when
    ///         @p alignment is not a power of two.
    [[nodiscard]] void* alloc(std::size_t bytes, std::size_t alignment);

    /// The bytes of all allocations and of the padding that aligned them: 0 at first, alike on every platform for the
    /// same requests. The chunks' headers and their unused ends are not counted.
    [[nodiscard]] std::size_t bytesInUse() const noexcept { return bytesInUse_; }

    /// A state of the heap to come back to.
    class Mark;
    [[nodiscard]] Mark mark() const noexcept;

    /// Takes back every allocation since the mark was taken, and their chunks.
    /// @param mark  of this heap, and not older than one that it was rewound to.
    void rewind(const Mark& mark) noexcept;

private:
    struct Chunk;

    /// Of chunks and their headers, and that of the library's largest values. A chunk's contents start at a multiple of
    /// it on every platform, so padding depends on the requests alone and never on the addresses that the heap hands out.
    static constexpr std::size_t kChunkAlignment = 16;
    static constexpr std::uint32_t kLargestChunkBytes = 64 * 1024;
    static constexpr std::size_t kLargestSharedBytes = kLargestChunkBytes / 4; ///< above, a request has its own chunk

    /// std::has_single_bit counts the bits, which is a call where the processor's instruction may not be used.
    [[nodiscard]] static constexpr bool isPowerOfTwo(std::size_t number)
    {
        return number != 0 && (number & (number - 1)) == 0;
    }
    [[nodiscard]] void* allocBeyond(std::size_t bytes, std::size_t alignment);
    [[nodiscard]] Chunk* addChunk(std::size_t bytes, std::size_t alignment);
    [[nodiscard]] void* allocOwnChunk(std::size_t bytes, std::size_t alignment);
    [[nodiscard]] bool startChunkFor(std::size_t bytes);
    void freeChunksUntil(const Chunk* kept) noexcept;

    Chunk* chunks_ = nullptr;             ///< every chunk, newest first; owned
    char* cursor_ = nullptr;              ///< the free rest of the chunk in use; null before the first one
    std::uint32_t remaining_ = 0;         ///< bytes behind cursor_
    std::uint32_t nextChunkBytes_ = 1024; ///< of the next chunk, with its header
    std::size_t bytesInUse_ = 0;
};

class FastHeap::Mark
{
    friend class FastHeap;
    Chunk* chunks;
    char* cursor;
    std::uint32_t remaining;
    std::uint32_t nextChunkBytes;
    std::size_t bytesInUse;
};

/// Most requests fit behind the one before.
inline void* FastHeap::alloc(std::size_t bytes, std::size_t alignment)
{
    const std::size_t padding = -reinterpret_cast<std::uintptr_t>(cursor_) & (alignment - 1);
    const bool isPlain =
        bytes != 0 && bytes <= kLargestSharedBytes && isPowerOfTwo(alignment) && alignment <= kChunkAlignment;
    if (!isPlain || padding + bytes > remaining_)
        return allocBeyond(bytes, alignment);
    char* const block = cursor_ + padding;
    cursor_ = block + bytes;
    remaining_ -= static_cast<std::uint32_t>(padding + bytes);
    bytesInUse_ += padding + bytes;
    return block;
}

inline FastHeap::Mark FastHeap::mark() const noexcept
{
    Mark mark;
    mark.chunks = chunks_;
    mark.cursor = cursor_;
    mark.remaining = remaining_;
    mark.nextChunkBytes = nextChunkBytes_;
    mark.bytesInUse = bytesInUse_;
    return mark;
}

} // namespace KQutils
