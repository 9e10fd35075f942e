#include "Progress.h"

#include "Platform.h"

#include <cstdio>
#include <utility>

namespace kqdb {
namespace {

constexpr std::chrono::milliseconds kInstant{300};

} // namespace

Progress::Progress(std::string what, bool isLong)
    : what_(std::move(what)), begin_(std::chrono::steady_clock::now()), isTerminal_(platform::isTerminal(stderr))
{
    if (isLong)
        show(what_ + "...");
}

Progress::~Progress()
{
    if (isShown_)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::update(double fraction)
{
    const int percent = static_cast<int>(fraction * 100);
    if (!isTerminal_ || percent == percent_ || std::chrono::steady_clock::now() - begin_ < kInstant)
        return;
    percent_ = percent;
    show(what_ + ": " + std::to_string(percent) + " %");
}

void Progress::show(const std::string& line)
{
    if (!isTerminal_)
        return;
    isShown_ = true;
    std::fprintf(stderr, "\r\x1b[K%s", line.c_str());
    std::fflush(stderr);
}

} // namespace kqdb
