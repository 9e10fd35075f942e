#include <kqx/Timer.h>

namespace kqx {

void Timer::start() noexcept
{
    start_ = Clock::now();
    isRunning_ = true;
}

void Timer::stop() noexcept
{
    if (!isRunning_)
        return;
    stop_ = Clock::now();
    isRunning_ = false;
}

double Timer::seconds() const noexcept
{
    const Clock::time_point end = isRunning_ ? Clock::now() : stop_;
    return std::chrono::duration<double>(end - start_).count();
}

} // namespace kqx
