#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kqdb {

/// Whether to colour what is printed.
enum class ColourMode
{
    kAuto, ///< on a terminal, unless the environment variable NO_COLOR says otherwise
    kAlways,
    kNever
};

enum class Style
{
    kPlain,
    kName,  ///< of nodes and attributes
    kFaint, ///< what is there for completeness
    kValue,
    kAdded,   ///< only in the second document
    kRemoved, ///< only in the first
    kWarning,
    kError
};

/// Standard output, UTF-8, in pieces: whatever its size, a command streams what it prints.
/// Throws OutputClosed when nobody reads any more, and Failure when the system takes no more for another reason.
class Output
{
public:
    Output(std::FILE* stream, ColourMode mode);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // --- Text ---

    Output& operator<<(std::string_view utf8);  ///< as it is
    Output& operator<<(std::wstring_view text); ///< with control characters made visible
    Output& operator<<(std::uint64_t number) { return *this << std::string_view(std::to_string(number)); }
    Output& operator<<(char character) { return *this << std::string_view(&character, 1); }
    Output& styled(Style style, std::string_view utf8);
    Output& styled(Style style, std::wstring_view text);
    Output& indent(unsigned int columns);

    /// Hands everything over to the system.
    void flush();

    [[nodiscard]] bool isColoured() const { return isColoured_; }
    [[nodiscard]] bool isTerminal() const { return isTerminal_; }

private:
    std::FILE* stream_;
    bool isTerminal_;
    bool isColoured_;
    std::string buffer_;
};

} // namespace kqdb
