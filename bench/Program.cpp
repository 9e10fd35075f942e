#include "Program.h"

#include "Measure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace db2bench {
namespace {

/// Prints a line for each benchmark when its last pass is done: minimum and median of an operation's CPU time. The tables
/// are made from the JSON files. Remembers failures.
class ProgressReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::string name;
        std::vector<double> costs;
        for (const Run& run : runs)
        {
            name = run.run_name.function_name;
            if (run.error_occurred)
                fail(name, run.error_message);
            else if (run.run_type == Run::RT_Iteration)
                costs.push_back(run.counters.at(kCostCounter));
        }
        if (costs.empty())
            return;
        std::sort(costs.begin(), costs.end());
        std::printf("%-45s %10.1f / %10.1f ns\n", name.c_str(), costs.front(), costs[costs.size() / 2]);
        std::fflush(stdout);
    }

    [[nodiscard]] bool anyFailed() const { return anyFailed_; }

private:
    void fail(const std::string& name, const std::string& error)
    {
        anyFailed_ = true;
        std::printf("%-45s FAILED: %s\n", name.c_str(), error.c_str());
    }

    bool anyFailed_ = false;
};

/// The value of the first line of a system file that begins with @p key; empty when there is none.
std::string systemFact(const char* file, const std::string& key)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t value = line.find_first_not_of(" \t:", key.size());
        if (line.compare(0, key.size(), key) == 0 && value != std::string::npos)
            return line.substr(value);
    }
    return {};
}

void describeMachine()
{
    benchmark::AddCustomContext("cpu_model", systemFact("/proc/cpuinfo", "model name"));
    benchmark::AddCustomContext("memory", systemFact("/proc/meminfo", "MemTotal"));
#if defined(__clang__)
    benchmark::AddCustomContext("compiler", "clang " __clang_version__);
#elif defined(__GNUC__)
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
#endif
#if defined(NDEBUG)
    benchmark::AddCustomContext("assertions", "off");
#else
    benchmark::AddCustomContext("assertions", "on");
#endif
}

} // namespace

int runBenchmarks(int argc, char** argv, void (*add)())
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;

    describeMachine();
    prepareHeap();
    add();
    ProgressReporter reporter;
    const std::size_t run = benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return run == 0 || reporter.anyFailed() ? 1 : 0;
}

} // namespace db2bench
