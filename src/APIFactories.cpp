#include <db2/APIFactories.h>

namespace db2 {

APIBaseFactory::~APIBaseFactory() = default;
UnknownAPINodeFactory::~UnknownAPINodeFactory() = default;

} // namespace db2
