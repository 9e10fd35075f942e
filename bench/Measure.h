#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <initializer_list>
#include <string>

/// How a benchmark is named, run and timed.
///
/// A benchmark is one pass over N nodes (or whatever it counts): set-up, the timed work, a check of the result, and the
/// end, of which only the work is timed, by the CPU clock of the process. One iteration is one pass; repetitions give
/// minimum and median, and Google Benchmark shuffles the repetitions of all benchmarks, so that what disturbs the
/// machine for a while disturbs the library and the floor alike.
namespace db2bench {

/// One pass. It calls measure() once, and state.SkipWithError() when its result is wrong.
using Pass = void (*)(benchmark::State& state, std::size_t count);

/// The counter that measure() sets: CPU nanoseconds of one operation.
inline constexpr const char* kCostCounter = "ns_per_op";

/// Registers the passes "<workload>/<variant>/<side>/<count>", for example "create/tree/db2/10000".
/// @param side  "db2" or "floor"; the table sets the two side by side.
void addBenchmark(const std::string& workload, const std::string& variant, const std::string& side, Pass pass,
                  std::initializer_list<std::size_t> counts);

/// Makes the heap's behaviour the same in each pass. Once, before the first.
void prepareHeap();

/// Gives free heap memory back to the system, so that each pass pays for its page faults as in a fresh process, whatever
/// ran before it.
void returnFreeMemory();

/// Bytes of the heap that are allocated, the heap's own overhead included; 0 where the platform does not tell.
[[nodiscard]] std::size_t heapBytesInUse();

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

/// Ends the pass as failed unless @p right.
inline void require(benchmark::State& state, bool right, const char* error)
{
    if (!right)
        state.SkipWithError(error);
}

} // namespace db2bench
