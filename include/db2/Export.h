#pragma once

#include <kqtl/Export.h>

/// Marks what the library exports. One mark serves the database and the foundation, because the foundation's objects
/// are part of the library.
#define DB2_API KQ_API
