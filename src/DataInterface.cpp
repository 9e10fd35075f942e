#include <db2/DataInterface.h>

namespace db2 {

DataInterface::~DataInterface() = default;

} // namespace db2
