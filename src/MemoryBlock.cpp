#include <db2/MemoryBlock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace db2 {
namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

} // namespace

MemoryBlock::MemoryBlock()
{
    reallocate(kInitialSpace);
}

MemoryBlock::MemoryBlock(const void* data, std::uint32_t size)
{
    if (data == nullptr)
        size = 0;
    if (!reallocate(size) || size == 0)
        return;
    std::memcpy(data_, data, size);
    usedSize_ = size;
}

MemoryBlock::MemoryBlock(const MemoryBlock& other)
{
    if (!reallocate(other.allocatedSize_) || other.usedSize_ == 0)
        return;
    std::memcpy(data_, other.data_, other.usedSize_);
    usedSize_ = other.usedSize_;
}

MemoryBlock& MemoryBlock::operator=(const MemoryBlock& other)
{
    MemoryBlock copy(other);
    std::swap(data_, copy.data_);
    std::swap(usedSize_, copy.usedSize_);
    std::swap(allocatedSize_, copy.allocatedSize_);
    return *this;
}

MemoryBlock::~MemoryBlock()
{
    std::free(data_);
}

bool MemoryBlock::operator==(const MemoryBlock& other) const
{
    return usedSize_ == other.usedSize_ && (usedSize_ == 0 || std::memcmp(data_, other.data_, usedSize_) == 0);
}

bool MemoryBlock::ensureSpace(std::uint32_t bytes)
{
    const std::uint64_t needed = std::uint64_t{usedSize_} + bytes;
    if (needed <= allocatedSize_)
        return true;
    return needed <= kMostBytes && reallocate(static_cast<std::uint32_t>(std::min(2 * needed, kMostBytes)));
}

void MemoryBlock::minimiseAllocatedSpace()
{
    reallocate(usedSize_);
}

void MemoryBlock::reset()
{
    std::free(data_);
    data_ = nullptr;
    usedSize_ = 0;
    allocatedSize_ = 0;
    reallocate(kInitialSpace);
}

/// A block of no bytes keeps one from the heap, because a null pointer says that memory is out.
bool MemoryBlock::reallocate(std::uint32_t size)
{
    void* const data = std::realloc(data_, std::max<std::size_t>(size, 1));
    if (data == nullptr)
        return false;
    data_ = static_cast<char*>(data);
    allocatedSize_ = size;
    return true;
}

} // namespace db2
