#pragma once

#include <KQutils/BasicLogger.h>
#include <db2/Library.h>

#include <string>
#include <utility>
#include <vector>

namespace db2test {

/// Keeps every log line while it lives, as the library's logger; puts the former logger back at its end.
class LogRecorder : public KQutils::BasicLogger
{
public:
    enum Level
    {
        kInfo,
        kWarning,
        kError,
        kDebug
    };
    struct Line
    {
        int level;
        std::wstring text; ///< with the library's prefix

        bool operator==(const Line&) const = default;
    };

    LogRecorder() : previous_(db2::setLogger(this)) {}
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    ~LogRecorder() override { db2::setLogger(previous_); }

    void log(int level, const wchar_t* text) override { lines_.push_back({level, text}); }

    [[nodiscard]] const std::vector<Line>& lines() const { return lines_; }

    /// The lines since the last call.
    std::vector<Line> take() { return std::exchange(lines_, {}); }

    /// True when there is exactly one line since the last take: an error of this text, behind the prefix. Takes it.
    bool tookError(const std::wstring& text) { return take() == std::vector<Line>{{kError, L"KQDatabase2 : " + text}}; }

private:
    KQutils::BasicLogger* previous_;
    std::vector<Line> lines_;
};

} // namespace db2test
