#pragma once

#include <kqtl/Export.h>

#include <chrono>

namespace kqx {

/// Measures a span of time on a steady clock, which no change of the date disturbs. Threads: like any value.
class KQ_API Timer
{
public:
    /// Starts, or starts anew from 0.
    void start() noexcept;

    /// Ends the span; does nothing when the timer is not running.
    void stop() noexcept;

    /// The span from start() to stop(), or to now while running; 0 before the first start().
    [[nodiscard]] double seconds() const noexcept;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point start_{};
    Clock::time_point stop_{};
    bool isRunning_ = false;
};

} // namespace kqx
