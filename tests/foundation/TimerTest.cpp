#include <kqx/Timer.h>

#include <gtest/gtest.h>

namespace {

using kqx::Timer;

/// Waits until the clock shows that time has gone by.
void letTimePass(const Timer& timer)
{
    const double before = timer.seconds();
    while (timer.seconds() <= before)
    {
    }
}

TEST(TimerTest, ReadsZeroBeforeItIsStarted)
{
    Timer timer;
    EXPECT_EQ(timer.seconds(), 0.0);
    timer.stop();
    EXPECT_EQ(timer.seconds(), 0.0);
}

TEST(TimerTest, RunsForwardWhileStarted)
{
    Timer timer;
    timer.start();
    const double first = timer.seconds();
    EXPECT_GE(first, 0.0);
    letTimePass(timer);
    EXPECT_GT(timer.seconds(), first);
}

TEST(TimerTest, StandsStillOnceStopped)
{
    Timer timer;
    timer.start();
    letTimePass(timer);
    timer.stop();
    const double span = timer.seconds();
    EXPECT_GT(span, 0.0);
    Timer other;
    other.start();
    letTimePass(other);
    EXPECT_DOUBLE_EQ(timer.seconds(), span); // some processors keep more digits of the one that is not stored
    timer.stop();
    EXPECT_DOUBLE_EQ(timer.seconds(), span); // some processors keep more digits of the one that is not stored
}

TEST(TimerTest, StartsAnewFromZero)
{
    Timer whole;
    whole.start();
    Timer timer;
    timer.start();
    letTimePass(timer);
    timer.stop();
    const double first = timer.seconds();
    timer.start();
    timer.stop();
    whole.stop();
    EXPECT_LE(first + timer.seconds(), whole.seconds() + 1e-9); // the sum is rounded
}

} // namespace
