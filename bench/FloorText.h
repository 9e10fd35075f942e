#pragma once

#include "FloorEditor.h"

#include <string>

/// The floor's files: a line for each node with its depth, name and values, nothing but what these nodes need.
namespace db2bench {

/// @return false when the file cannot be written.
bool saveText(FloorEditor& floor, const std::string& path);

/// Into an empty floor; trusts the file, which the library does not.
/// @return false when the file cannot be read.
bool loadText(FloorEditor& floor, const std::string& path);

} // namespace db2bench
