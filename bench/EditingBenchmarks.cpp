// Edits through the whole chain of layers, beside the floor. The peers' programs carry out the same work; see peers/.

#include "Benchmarks.h"
#include "DatabaseEditor.h"
#include "EditingWorkloads.h"
#include "FloorEditor.h"

namespace db2bench {

void addEditingBenchmarks()
{
    addEditingBenchmarks<FloorEditor>();
    addEditingBenchmarks<DatabaseEditor>();
}

} // namespace db2bench
