#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace db2import {

/// Sends messages from a child process to its parent: bytes, and a number that the two sides agree on.
class MessageSender
{
public:
    explicit MessageSender(int descriptor) : descriptor_(descriptor) {}

    /// @return false when nobody reads any more, or there are too many bytes for one message.
    bool send(std::uint32_t kind, std::string_view bytes);

private:
    bool write(const void* bytes, std::size_t count);

    int descriptor_;
};

struct ProcessLimits
{
    double seconds = 0;       ///< 0 is none
    std::uint64_t memory = 0; ///< bytes beyond what the parent has; 0 is none
};

/// Whether there are child processes here.
[[nodiscard]] bool canRunInChild();

/// Whether the limit of memory holds: not under an address sanitizer, and where the system does not tell what is in use.
[[nodiscard]] bool canLimitMemory();

/// Runs @p work in a fork of this process, which has everything as it is here and changes nothing of it, and hands each
/// message of it to @p receive. What the child prints goes nowhere. When @p work returns the child ends at once: it frees
/// and flushes nothing.
/// @param receive  false ends the child. What it throws ends it, too, and is passed on.
/// @return empty when the child ran to its end; else why not.
std::wstring runInChild(const std::function<void(MessageSender&)>& work,
                        const std::function<bool(std::uint32_t kind, std::string_view bytes)>& receive,
                        const ProcessLimits& limits);

} // namespace db2import
