#include "InputWindow.h"

#include <db2/InputStream.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

namespace db2::json {
namespace {

constexpr std::size_t kWindowBytes = 64 * 1024; // large enough that a read call costs nothing beside its bytes
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::size_t countCharacters(const char* begin, const char* end)
{
    return static_cast<std::size_t>(
        std::count_if(begin, end, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// As std::count(), eight bytes a step: every byte of a file comes by here.
std::size_t countLines(const char* begin, const char* end)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kLowBits = 0x7Fu * kOnes;
    std::size_t count = 0;
    for (; end - begin >= 8; begin += 8)
    {
        std::uint64_t bytes;
        std::memcpy(&bytes, begin, sizeof bytes);
        bytes ^= std::uint64_t{'\n'} * kOnes; // a line feed is now 0
        const std::uint64_t zeros = ~(((bytes & kLowBits) + kLowBits) | bytes | kLowBits) >> 7;
        count += static_cast<std::size_t>((zeros * kOnes) >> 56);
    }
    return count + static_cast<std::size_t>(std::count(begin, end, '\n'));
}

/// Where the last line of a text begins; null when it has only one.
const char* findLastLine(const char* begin, const char* end)
{
    while (end != begin)
        if (*--end == '\n')
            return end + 1;
    return nullptr;
}

} // namespace

InputWindow::InputWindow(InputStream& stream) : stream_(stream)
{
    static_cast<void>(advance(end_));
    if (std::string_view(begin_, static_cast<std::size_t>(end_ - begin_)).starts_with(kByteOrderMark))
        begin_ += kByteOrderMark.size();
}

bool InputWindow::advance(const char* keep)
{
    forget(keep);
    const auto kept = static_cast<std::size_t>(end_ - keep);
    moveToFront(kept);
    char* const begin = bytes_.get();
    std::size_t used = kept;
    while (used < capacity_)
    {
        const auto room = std::min<std::size_t>(capacity_ - used, std::numeric_limits<unsigned int>::max());
        const unsigned int count = stream_.read(begin + used, static_cast<unsigned int>(room));
        if (count == 0)
            break;
        used += count;
    }
    begin[used] = '\0';
    begin_ = begin;
    end_ = begin + used;
    return used > kept;
}

/// Counts what goes, for places to come.
void InputWindow::forget(const char* upTo)
{
    lines_ += countLines(begin_, upTo);
    const char* const lastLine = findLastLine(begin_, upTo);
    columns_ = lastLine != nullptr ? countCharacters(lastLine, upTo) : columns_ + countCharacters(begin_, upTo);
    begin_ = upTo;
}

/// Moves the last bytes of the window to the front of a block that has room for at least as many more: twice the usual
/// one for what is longer than half of it, and so on, and the usual one again afterwards.
void InputWindow::moveToFront(std::size_t kept)
{
    std::size_t capacity = kWindowBytes;
    while (capacity / 2 < kept)
        capacity *= 2;
    if (capacity == capacity_)
    {
        std::memmove(bytes_.get(), begin_, kept);
        return;
    }
    std::unique_ptr<char[]> bytes(new char[capacity + 1]);
    if (kept != 0)
        std::memcpy(bytes.get(), begin_, kept);
    bytes_ = std::move(bytes);
    capacity_ = capacity;
}

std::wstring InputWindow::describe(const char* place) const
{
    const auto line = 1 + lines_ + countLines(begin_, place);
    const char* const lastLine = findLastLine(begin_, place);
    const std::size_t before =
        lastLine != nullptr ? countCharacters(lastLine, place) : columns_ + countCharacters(begin_, place);
    return L"Line " + std::to_wstring(line) + L", column " + std::to_wstring(1 + before);
}

} // namespace db2::json
