// Built with MinGW alone, which exports an inline variable only where the library itself needs its address. A host that
// binds a reference to a constant of an exported class would otherwise not link.

#include <db2/db2.h>

namespace db2 {
namespace {

[[gnu::used]] const void* const addresses[] = {&DataInterfaceLogger::kAllOperations,
                                               &ElementMetaData::kNoComputeSet,
                                               &ElementMetaData::kMaxNameCharacters,
                                               &MemoryBlock::kInitialSpace,
                                               &NodeTemplate::kEndOfList,
                                               &UIntHashMap::kNoSlot,
                                               &UndoManager::kNoLimit,
                                               &UndoManager::kNoRollbackPoint};

} // namespace
} // namespace db2
