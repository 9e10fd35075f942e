#pragma once

/// What every benchmark program does in main().
namespace db2bench {

/// Takes Google Benchmark's options, registers the benchmarks by @p add, runs those that the options select and prints a
/// line for each. A short name like "write/tree" and the side tell them apart; see addBenchmark().
/// @return what main() returns: 1 when an option is unknown, nothing was selected or a benchmark failed.
int runBenchmarks(int argc, char** argv, void (*add)());

} // namespace db2bench
