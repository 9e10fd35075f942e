#include <db2/InputStream.h>

#include "platform/Files.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace db2 {
namespace {

constexpr unsigned int kUnitBytes = 2;

} // namespace

// --- InputStream ---

InputStream::~InputStream() = default;

unsigned int InputStream::read(wchar_t* buffer, unsigned int characters)
{
    characters = std::min(characters, std::numeric_limits<unsigned int>::max() / kUnitBytes);
    if (buffer == nullptr || characters == 0)
        return 0;
    // Into the end of the buffer, from where the units spread over it without overtaking those still to come.
    char* const raw = reinterpret_cast<char*>(buffer + characters) - std::size_t{characters} * kUnitBytes;
    const unsigned int count = read(raw, characters * kUnitBytes) / kUnitBytes;
    for (unsigned int i = 0; i < count; ++i)
    {
        const auto low = static_cast<unsigned char>(raw[std::size_t{i} * kUnitBytes]);
        const auto high = static_cast<unsigned char>(raw[std::size_t{i} * kUnitBytes + 1]);
        buffer[i] = static_cast<wchar_t>(low | high << 8);
    }
    return count;
}

bool InputStream::getSize(unsigned int& size)
{
    return getData(size) != nullptr;
}

// --- NullInputStream ---

unsigned int NullInputStream::read(char*, unsigned int)
{
    return 0;
}

const char* NullInputStream::getData(unsigned int&)
{
    return nullptr;
}

bool NullInputStream::isOK()
{
    return true;
}

// --- MemoryInputStream ---

MemoryInputStream::MemoryInputStream(const MemoryBlock& block) : block_(&block) {}

unsigned int MemoryInputStream::read(char* buffer, unsigned int bytes)
{
    const std::uint32_t size = block_->getUsedSize();
    if (block_->getData() == nullptr || buffer == nullptr || position_ >= size)
        return 0;
    const unsigned int count = std::min(bytes, size - position_);
    std::memcpy(buffer, block_->getData() + position_, count);
    position_ += count;
    return count;
}

const char* MemoryInputStream::getData(unsigned int& size)
{
    size = block_->getUsedSize();
    return block_->getData();
}

bool MemoryInputStream::isOK()
{
    return block_->getData() != nullptr;
}

// --- FileInputStream ---

FileInputStream::FileInputStream(const wchar_t* path, FileOpenMode) : content_(FileContent::open(path)) {}

unsigned int FileInputStream::read(char* buffer, unsigned int bytes)
{
    if (content_ == nullptr || buffer == nullptr)
        return 0;
    const unsigned int count = content_->read(position_, buffer, bytes);
    position_ += count;
    return count;
}

const char* FileInputStream::getData(unsigned int& size)
{
    const char* const data = content_ != nullptr ? content_->data() : nullptr;
    if (data != nullptr)
        size = content_->size();
    return data;
}

bool FileInputStream::isOK()
{
    return content_ != nullptr && !content_->hasFailed();
}

bool FileInputStream::getSize(unsigned int& size)
{
    if (content_ == nullptr)
        return false;
    size = content_->size();
    return true;
}

} // namespace db2
