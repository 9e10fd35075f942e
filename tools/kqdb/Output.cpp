#include "Output.h"

#include "Failure.h"
#include "Platform.h"
#include "Text.h"

#include <cstdlib>

namespace kqdb {
namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;

bool wantsColour(ColourMode mode, bool isTerminal)
{
    if (mode != ColourMode::kAuto)
        return mode == ColourMode::kAlways;
    const char* const refusal = std::getenv("NO_COLOR");
    return isTerminal && (refusal == nullptr || *refusal == '\0');
}

std::string_view escapeOf(Style style)
{
    switch (style)
    {
    case Style::kPlain: break;
    case Style::kName: return "\x1b[1m";
    case Style::kFaint: return "\x1b[2m";
    case Style::kValue: return "\x1b[36m";
    case Style::kAdded: return "\x1b[32m";
    case Style::kRemoved: return "\x1b[31m";
    case Style::kWarning: return "\x1b[33m";
    case Style::kError: return "\x1b[1;31m";
    }
    return {};
}

} // namespace

Output::Output(std::FILE* stream, ColourMode mode)
    : stream_(stream), isTerminal_(platform::isTerminal(stream)), isColoured_(wantsColour(mode, isTerminal_))
{
}

Output& Output::operator<<(std::string_view utf8)
{
    buffer_.append(utf8);
    if (buffer_.size() >= kPieceBytes)
        flush();
    return *this;
}

Output& Output::operator<<(std::wstring_view text)
{
    appendVisibly(buffer_, text);
    return *this << std::string_view();
}

Output& Output::styled(Style style, std::string_view utf8)
{
    const std::string_view escape = isColoured_ ? escapeOf(style) : std::string_view();
    *this << escape << utf8;
    return escape.empty() ? *this : *this << std::string_view("\x1b[0m");
}

Output& Output::styled(Style style, std::wstring_view text)
{
    return styled(style, visible(text));
}

Output& Output::indent(unsigned int columns)
{
    buffer_.append(columns, ' ');
    return *this;
}

void Output::flush()
{
    const bool isWritten =
        std::fwrite(buffer_.data(), 1, buffer_.size(), stream_) == buffer_.size() && std::fflush(stream_) == 0;
    buffer_.clear();
    if (isWritten)
        return;
    if (platform::lastErrorIsClosedPipe())
        throw OutputClosed();
    throw Failure("standard output: " + platform::lastErrorText());
}

} // namespace kqdb
