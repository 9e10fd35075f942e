#pragma once

#include <db2/ValueHandle.h>

namespace db2::json {

class JsonWriter;

/// Writes one value, on the line that is open. An Enum's is written as its number; whoever knows the choices writes
/// their text instead. Null has none, and is written as null.
void writeValue(JsonWriter& json, const ConstValueHandle& value);

} // namespace db2::json
