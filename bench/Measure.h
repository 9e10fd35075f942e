#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>

/// How a benchmark is named, run and timed.
///
/// A benchmark is one pass over N nodes (or whatever it counts): set-up, the timed work, a check of the result, and the
/// end, of which only the work is timed, by the CPU clock of the process. One iteration is one pass; repetitions, which
/// the caller asks for, give minimum and median. tools/bench_run runs the sides in turns, so that what disturbs the
/// machine for a while disturbs them alike.
namespace db2bench {

/// One pass. It calls measure() or measureLoop() once, and state.SkipWithError() when its result is wrong.
using Pass = void (*)(benchmark::State& state, std::size_t count);

/// The counter that measure() sets: CPU nanoseconds of one operation.
inline constexpr const char* kCostCounter = "ns_per_op";

/// The counter of a loop that stopped early: how many operations it carried out, which are those that the cost is of.
inline constexpr const char* kStoppedCounter = "stopped_after";

/// Registers the passes "<workload>/<variant>/<side>/<count>", for example "create/tree/db2/10000".
/// What a pass throws counts as a failure of it.
/// @param side  "db2", "floor" or the name of a peer; the table sets them side by side.
void addBenchmark(const std::string& workload, const std::string& variant, const std::string& side, Pass pass,
                  std::initializer_list<std::size_t> counts);

/// Makes the heap's behaviour the same in each pass. Once, before the first.
void prepareHeap();

/// Gives free heap memory back to the system, so that each pass pays for its page faults as in a fresh process, whatever
/// ran before it.
void returnFreeMemory();

/// Bytes of the heap that are allocated, the heap's own overhead included; 0 where the platform does not tell.
[[nodiscard]] std::size_t heapBytesInUse();

/// Bytes of memory that this process has at the moment, and the most that it had since restartPeak() or, where the system
/// cannot restart it, since its start; 0 where the platform does not tell.
[[nodiscard]] std::size_t residentBytes();
[[nodiscard]] std::size_t peakResidentBytes();
void restartPeak();

/// User and system time of this process so far.
[[nodiscard]] double cpuSeconds();

/// Times @p work, which carries out @p operations operations, and sets the cost counter.
/// @return the bytes by which the heap grew.
template <class Work>
double measure(benchmark::State& state, std::size_t operations, Work work)
{
    const std::size_t heapBefore = heapBytesInUse();
    const double before = cpuSeconds();
    work();
    const double seconds = cpuSeconds() - before;
    const std::size_t heapAfter = heapBytesInUse();
    state.SetIterationTime(seconds);
    state.counters[kCostCounter] = seconds * 1e9 / static_cast<double>(operations);
    return static_cast<double>(heapAfter) - static_cast<double>(heapBefore);
}

/// measure() for work whose peak of memory counts. Sets the counters peak_bytes, of the process, and extra_bytes: how far
/// the peak of the work stood above what was there before and what it leaves in the heap.
template <class Work>
double measureWithPeak(benchmark::State& state, std::size_t operations, Work work)
{
    returnFreeMemory(); // of the set-up, which the work could use unseen
    restartPeak();
    const auto before = static_cast<double>(residentBytes());
    const double heapGrowth = measure(state, operations, work);
    const auto peak = static_cast<double>(peakResidentBytes());
    state.counters["peak_bytes"] = peak;
    state.counters["extra_bytes"] = peak - before - heapGrowth;
    return heapGrowth;
}

/// CPU seconds after which a loop of single operations stops: enough to know what one of them costs, however slow.
inline constexpr double kLongestLoop = 8;

/// Calls work(0), work(1) and so on, @p total times or until the loop is too long.
/// @return the number of calls.
template <class Work>
std::size_t repeat(std::size_t total, Work work)
{
    const double start = cpuSeconds();
    std::size_t nextLook = 1; // at the clock: when about a tenth of a second more has passed
    for (std::size_t done = 0; done < total;)
    {
        work(done++);
        if (done < nextLook)
            continue;
        const double seconds = cpuSeconds() - start;
        if (seconds > kLongestLoop)
            return done;
        const double callsASecond = static_cast<double>(done) / std::max(seconds, 1e-4);
        nextLook = done + std::max<std::size_t>(1, static_cast<std::size_t>(0.1 * callsASecond));
    }
    return total;
}

struct LoopResult
{
    std::size_t calls = 0;
    double bytes = 0; ///< by which the heap grew
};

/// Times a loop as repeat() runs it.
/// @param operationsACall  what a call counts for in the cost.
template <class Work>
LoopResult measureLoop(benchmark::State& state, std::size_t total, std::size_t operationsACall, Work work)
{
    LoopResult result;
    const std::size_t heapBefore = heapBytesInUse();
    const double before = cpuSeconds();
    result.calls = repeat(total, work);
    const double seconds = cpuSeconds() - before;
    result.bytes = static_cast<double>(heapBytesInUse()) - static_cast<double>(heapBefore);
    state.SetIterationTime(seconds);
    state.counters[kCostCounter] = seconds * 1e9 / static_cast<double>(result.calls * operationsACall);
    if (result.calls < total)
        state.counters[kStoppedCounter] = static_cast<double>(result.calls);
    return result;
}

/// Ends the pass as failed unless @p right.
inline void require(benchmark::State& state, bool right, const char* error)
{
    if (!right)
        state.SkipWithError(error);
}

} // namespace db2bench
