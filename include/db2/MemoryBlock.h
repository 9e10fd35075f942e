#pragma once

#include <db2/Export.h>

#include <cstdint>

namespace db2 {

/// A growable buffer of bytes, which memory streams write and read: a subtree saved to memory and loaded back, or two
/// saved states compared. Doubles as it grows, so that many small writes cost constant time each on average.
/// Owns its bytes, which come from the C heap. Without memory the data pointer is null and both sizes are 0.
class DB2_API MemoryBlock
{
public:
    /// Has room for kInitialSpace bytes.
    MemoryBlock();

    /// Holds a copy of @p size bytes and no more room. @param data  null counts as no bytes.
    MemoryBlock(const void* data, std::uint32_t size);

    /// Copies the bytes and takes over how much room there is.
    MemoryBlock(const MemoryBlock& other);
    MemoryBlock& operator=(const MemoryBlock& other);
    ~MemoryBlock();

    static constexpr std::uint32_t kInitialSpace = 1024;

    // --- Content ---

    [[nodiscard]] char* getData() { return data_; }
    [[nodiscard]] const char* getData() const { return data_; }
    [[nodiscard]] std::uint32_t getUsedSize() const { return usedSize_; }
    [[nodiscard]] std::uint32_t getAllocatedSize() const { return allocatedSize_; }

    /// Compares the used bytes; how much room there is does not matter.
    [[nodiscard]] bool operator==(const MemoryBlock& other) const;

    // --- Writing: make room, write at the insertion point, count what was written ---

    /// Makes room for @p bytes more; a block that has too little gets twice what it then needs, up to 4 GiB.
    /// @return false, changing nothing, when memory is out or 32 bits cannot count the bytes.
    bool ensureSpace(std::uint32_t bytes);

    [[nodiscard]] char* getInsertionPoint() { return data_ + usedSize_; }

    /// Counts bytes as written. Not checked: call ensureSpace() first.
    void incrementUsedSize(std::uint32_t bytes) { usedSize_ += bytes; }

    // --- Room ---

    /// Gives back the room behind the used bytes. Without memory for that it stays as it is.
    void minimiseAllocatedSpace();

    /// Drops the content and begins anew with kInitialSpace bytes of room.
    void reset();

private:
    bool reallocate(std::uint32_t size);

    char* data_ = nullptr; ///< owned
    std::uint32_t usedSize_ = 0;
    std::uint32_t allocatedSize_ = 0;
};

} // namespace db2
