#pragma once

namespace db2 {
class ElementMetaData;
}

namespace db2::json {

class JsonWriter;

/// Writes what a dynamic element has besides name and type, as an object on the line that is open; nothing when it has
/// nothing. The pointers that hosts keep in metadata are not written.
void writeMetaData(JsonWriter& json, const ElementMetaData& metaData);

} // namespace db2::json
