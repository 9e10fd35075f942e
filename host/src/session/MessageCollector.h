#pragma once

#include <db2/Library.h>

#include <KQutils/BasicLogger.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace db2host {

/// While it lives, the library's logger: passes every message on to the one before and keeps the warnings and errors.
class MessageCollector : public KQutils::BasicLogger
{
public:
    MessageCollector() : passOnTo_(db2::setLogger(this)) {}
    MessageCollector(const MessageCollector&) = delete;
    MessageCollector& operator=(const MessageCollector&) = delete;
    ~MessageCollector() override { db2::setLogger(passOnTo_); }

    void log(int level, const wchar_t* text) override
    {
        if (level == kWarning || level == kError)
            keep(text);
        if (passOnTo_ != nullptr)
            passOnTo_->log(level, text);
    }

    /// A line each, without the library's prefix.
    [[nodiscard]] std::wstring take() { return std::exchange(messages_, {}); }

private:
    enum Level
    {
        kWarning = 1,
        kError = 2
    };

    /// Without memory the message is not kept; the logger that it is passed on to has it all the same.
    void keep(std::wstring_view message)
    try
    {
        constexpr std::wstring_view kPrefix = L"KQDatabase2 : ";
        if (message.starts_with(kPrefix))
            message.remove_prefix(kPrefix.size());
        messages_.append(message).push_back(L'\n');
    }
    catch (const std::bad_alloc&)
    {
    }

    KQutils::BasicLogger* passOnTo_;
    std::wstring messages_;
};

} // namespace db2host
