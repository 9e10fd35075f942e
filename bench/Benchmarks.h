#pragma once

/// What main() registers; each function stands in the source of its name.
namespace db2bench {

void addTreeBenchmarks();
void addReferenceBenchmarks();
void addElementBenchmarks();
void addNameBenchmarks();
void addEditingBenchmarks();
void addCopyBenchmarks();
void addFileBenchmarks(); ///< only with the JSON format

} // namespace db2bench
