#include "Measure.h"

#include <exception>
#include <fstream>
#include <limits>
#include <string>

#include <time.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace db2bench {
namespace {

void carryOut(Pass pass, benchmark::State& state, std::size_t count)
{
    try
    {
        pass(state, count);
    }
    catch (const std::exception& error)
    {
        state.SkipWithError(error.what());
    }
}

/// A figure of the system's about this process, such as "VmRSS".
std::size_t statusBytes(const std::string& key)
{
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, key.size() + 1, key + ':') == 0)
            return std::stoul(line.substr(key.size() + 1)) * 1024;
    return 0;
}

} // namespace

void addBenchmark(const std::string& workload, const std::string& variant, const std::string& side, Pass pass,
                  std::initializer_list<std::size_t> counts)
{
    for (const std::size_t count : counts)
    {
        const std::string name = workload + '/' + variant + '/' + side + '/' + std::to_string(count);
        const auto run = [pass, count](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state)
            {
                returnFreeMemory();
                carryOut(pass, state, count);
            }
        };
        benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
    }
}

std::size_t residentBytes()
{
    return statusBytes("VmRSS");
}

std::size_t peakResidentBytes()
{
    return statusBytes("VmHWM");
}

void restartPeak()
{
    std::ofstream("/proc/self/clear_refs") << '5'; // Linux's word for it
}

double cpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

#if defined(__GLIBC__)

/// The heap moves the two thresholds as it goes along, so a pass would depend on those before it: they are fixed, the
/// first to what a fresh process has. Memory goes back to the system between the passes only.
void prepareHeap()
{
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

void returnFreeMemory()
{
    malloc_trim(0);
}

std::size_t heapBytesInUse()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

#else

void prepareHeap() {}
void returnFreeMemory() {}

std::size_t heapBytesInUse()
{
    return 0;
}

#endif

} // namespace db2bench
