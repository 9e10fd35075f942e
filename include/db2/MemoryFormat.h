#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// Placing several objects in one block: a first pass adds up what they need in a MemoryFormat, a second takes their
/// places from a MemoryResource over the block. Both passes visit the same objects in the same order.
namespace db2 {

/// The smallest multiple of @p alignment, a power of two, that is not below @p size.
template <class Size>
[[nodiscard]] constexpr Size roundUp(Size size, std::size_t alignment)
{
    const auto mask = static_cast<Size>(alignment - 1);
    return static_cast<Size>((size + mask) & static_cast<Size>(~mask));
}

/// What a block must offer: a running total of bytes and the largest alignment seen.
struct MemoryFormat
{
    std::uint32_t size = 0;      ///< in bytes; kTooLarge once the total does not fit, and then for good
    std::uint32_t alignment = 0; ///< in bytes; 0 while nothing was added

    static constexpr std::uint32_t kTooLarge = std::numeric_limits<std::uint32_t>::max();

    /// Adds an object behind those already counted. @param objectAlignment  a power of two.
    constexpr void add(std::size_t bytes, std::size_t objectAlignment)
    {
        if (objectAlignment > alignment)
            alignment = static_cast<std::uint32_t>(objectAlignment);
        const std::uint64_t start = roundUp(std::uint64_t{size}, objectAlignment);
        size = bytes < kTooLarge && start + bytes < kTooLarge ? static_cast<std::uint32_t>(start + bytes) : kTooLarge;
    }

    /// True when the total outgrew the count of bytes: no block can serve, and nobody may be given one.
    [[nodiscard]] constexpr bool isTooLarge() const { return size == kTooLarge; }
};

/// What is left of a block: a small copyable cursor that owns nothing.
struct MemoryResource
{
    unsigned char* cursor = nullptr; ///< where the next object may start
    std::size_t remaining = 0;       ///< bytes from there to the end of the block

    MemoryResource() = default;
    MemoryResource(void* block, std::size_t bytes) : cursor(static_cast<unsigned char*>(block)), remaining(bytes) {}

    /// Takes the place of an object: the first address from the cursor on that is a multiple of @p alignment (a power
    /// of two). The cursor moves behind it and the count goes down by the object and what was skipped before it.
    /// @return null, taking nothing, when there is no block or too little of it is left.
    [[nodiscard]] void* take(std::size_t bytes, std::size_t alignment)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(cursor);
        const std::size_t padding = roundUp(address, alignment) - address;
        if (cursor == nullptr || padding > remaining || bytes > remaining - padding)
            return nullptr;
        unsigned char* const place = cursor + padding;
        cursor = place + bytes;
        remaining -= padding + bytes;
        return place;
    }
};

} // namespace db2
