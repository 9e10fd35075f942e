#include <db2/InputStream.h>

#include "platform/Files.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace db2 {
namespace {

constexpr unsigned int kUnitBytes = 2;

/// Copies the bytes of a content from a position on, and moves the position behind them.
unsigned int copyNext(const char* content, std::uint32_t size, std::uint32_t& position, char* buffer,
                      unsigned int bytes)
{
    if (content == nullptr || buffer == nullptr || position >= size)
        return 0;
    const unsigned int count = std::min(bytes, size - position);
    std::memcpy(buffer, content + position, count);
    position += count;
    return count;
}

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
    return copyNext(block_->getData(), block_->getUsedSize(), position_, buffer, bytes);
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
    return content_ != nullptr ? copyNext(content_->data(), content_->size(), position_, buffer, bytes) : 0;
}

const char* FileInputStream::getData(unsigned int& size)
{
    if (content_ == nullptr)
        return nullptr;
    size = content_->size();
    return content_->data();
}

bool FileInputStream::isOK()
{
    return content_ != nullptr;
}

} // namespace db2
