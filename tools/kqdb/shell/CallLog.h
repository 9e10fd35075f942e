#pragma once

#include <KQutils/BasicLogger.h>

#include <string>
#include <vector>

namespace kqdb {

/// While it lives, the library's logger: keeps the lines of call logging, and hands everything on to the one before.
class CallLog : public KQutils::BasicLogger
{
public:
    CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;
    ~CallLog() override;

    void log(int level, const wchar_t* text) override;

    /// The lines since the last call, UTF-8.
    [[nodiscard]] std::vector<std::string> take();

private:
    KQutils::BasicLogger* previous_;
    std::vector<std::string> lines_;
};

} // namespace kqdb
