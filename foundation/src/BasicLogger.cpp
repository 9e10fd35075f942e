#include <KQutils/BasicLogger.h>

namespace KQutils {

// Out of line, so that the library has the one table of virtual functions that every host's logger derives from.
BasicLogger::~BasicLogger() = default;

} // namespace KQutils
