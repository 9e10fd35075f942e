#include "CallLog.h"

#include "Text.h"

#include <db2/Library.h>

#include <new>
#include <string_view>
#include <utility>

namespace kqdb {
namespace {

constexpr int kInfo = 0;

} // namespace

CallLog::CallLog() : previous_(db2::setLogger(this)) {}

CallLog::~CallLog()
{
    db2::setLogger(previous_);
}

void CallLog::log(int level, const wchar_t* text)
{
    constexpr std::wstring_view kCall = L"KQDatabase2 : db_";
    const std::wstring_view line = text;
    if (level == kInfo && line.starts_with(kCall))
        try
        {
            lines_.push_back(visible(line.substr(kCall.size() - 3)));
        }
        catch (const std::bad_alloc&) // the line is lost, and nothing else
        {
        }
    if (previous_ != nullptr)
        previous_->log(level, text);
}

std::vector<std::string> CallLog::take()
{
    return std::exchange(lines_, {});
}

} // namespace kqdb
