#pragma once

#include <db2/OutputStream.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace db2::json {

/// The bytes on their way to the stream: a buffer that goes there whenever it is full. Once the stream has refused a
/// piece, nothing more is written.
class OutputBuffer
{
public:
    using Ch = char; // RapidJSON's writer puts its bytes here, too

    explicit OutputBuffer(OutputStream& stream) : stream_(stream) {}

    static constexpr std::size_t kMostRoom = 1024;

    /// Where the next bytes go, at most kMostRoom of them; endAt() says where they end.
    [[nodiscard]] char* room(std::size_t bytes)
    {
        assert(bytes <= kMostRoom);
        if (bytes_.size() - used_ < bytes)
            flush();
        return bytes_.data() + used_;
    }
    void endAt(const char* end) { used_ = static_cast<std::size_t>(end - bytes_.data()); }

    void put(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            const std::size_t count = std::min(bytes.size(), kMostRoom);
            char* const out = room(count);
            std::memcpy(out, bytes.data(), count);
            endAt(out + count);
            bytes.remove_prefix(count);
        }
    }

    void Put(char byte)
    {
        if (used_ == bytes_.size())
            flush();
        bytes_[used_++] = byte;
    }
    void Flush() {} ///< RapidJSON asks for it behind every string, which is not yet the end of the file

    /// Hands over what is in the buffer. @return false when the stream has refused this or an earlier piece.
    bool flush()
    {
        if (isGood_ && used_ > 0)
            isGood_ = stream_.write(bytes_.data(), static_cast<unsigned int>(used_));
        flushed_ += used_;
        used_ = 0;
        return isGood_;
    }
    [[nodiscard]] bool isGood() const { return isGood_; }

    /// All that was put here so far.
    [[nodiscard]] std::uint64_t bytes() const { return flushed_ + used_; }

private:
    static constexpr std::size_t kBytes = 64 * 1024; // large enough that a write call costs nothing beside its bytes

    OutputStream& stream_;
    std::array<char, kBytes> bytes_;
    std::size_t used_ = 0;
    std::uint64_t flushed_ = 0; ///< bytes
    bool isGood_ = true;
};

} // namespace db2::json
