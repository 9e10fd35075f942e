// db2_bench: every benchmark of the library, each beside the floor. "./run bench" builds it, runs it and prints the
// tables; the options are Google Benchmark's.

#include "Benchmarks.h"
#include "Program.h"

#include <db2/Library.h>

namespace {

void addAll()
{
    db2bench::addTreeBenchmarks();
    db2bench::addReferenceBenchmarks();
    db2bench::addElementBenchmarks();
    db2bench::addNameBenchmarks();
    db2bench::addEditingBenchmarks();
    db2bench::addCopyBenchmarks();
#if defined(KQDB_BENCH_FILES)
    db2bench::addFileBenchmarks();
#endif
}

} // namespace

int main(int argc, char** argv)
{
    db2::initLibrary(nullptr, L"bench");
    const int result = db2bench::runBenchmarks(argc, argv, addAll);
    db2::termLibrary();
    return result;
}
