#pragma once

namespace db2 {

/// Makes an empty module table; initLibrary()'s part of the work. A table that is there already is lost with its
/// entries, as the contract of initLibrary() says.
void createModuleTable();

/// Destroys every registered module, in slot order, and the table; termLibrary()'s part of the work.
void destroyModuleTable();

} // namespace db2
