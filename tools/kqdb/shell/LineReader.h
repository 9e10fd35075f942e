#pragma once

#include <memory>
#include <string>

namespace kqdb {

class Shell;

/// Asks a person for lines.
class LineReader
{
public:
    enum class Answer
    {
        kLine,
        kInterrupted, ///< the person wants to begin anew
        kEnd
    };

    virtual ~LineReader() = default;

    /// @param line  receives the line without its end, UTF-8.
    virtual Answer read(const std::string& prompt, std::string& line) = 0;

    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

protected:
    LineReader() = default;
};

/// With a line editor where the program has one: keys to edit the line, a history that outlives the program, and
/// completion. @param shell  outlives the reader.
[[nodiscard]] std::unique_ptr<LineReader> makeLineReader(Shell& shell);

} // namespace kqdb
