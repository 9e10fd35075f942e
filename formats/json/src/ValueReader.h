#pragma once

#include <kqx/Array.h>
#include <kqx/Colour.h>
#include <kqx/Matrix.h>
#include <kqx/Quat.h>
#include <kqx/String.h>
#include <kqx/Vector3.h>
#include <kqx/VertexBuffer.h>

namespace db2::json {

class JsonReader;

/// Reads one value as ValueWriter.h writes it. Arrays stream into @p out, which gets the memory that they need at once.
/// What does not fit the type ends the load.
/// @param out  fresh, holding its type's default.
void readValue(JsonReader& json, int& out);
void readValue(JsonReader& json, bool& out);
void readValue(JsonReader& json, float& out);
void readValue(JsonReader& json, double& out);
void readValue(JsonReader& json, kqx::String& out);
void readValue(JsonReader& json, kqx::Colour& out);
void readValue(JsonReader& json, kqx::Vector3& out);
void readValue(JsonReader& json, kqx::Quat& out);
void readValue(JsonReader& json, kqx::Matrix& out);
void readValue(JsonReader& json, kqx::VertexBuffer& out);
void readValue(JsonReader& json, kqx::IntArray& out);
void readValue(JsonReader& json, kqx::BoolArray& out);
void readValue(JsonReader& json, kqx::FloatArray& out);
void readValue(JsonReader& json, kqx::DoubleArray& out);
void readValue(JsonReader& json, kqx::StringArray& out);
void readValue(JsonReader& json, kqx::ColourArray& out);
void readValue(JsonReader& json, kqx::Vector3Array& out);
void readValue(JsonReader& json, kqx::QuatArray& out);
void readValue(JsonReader& json, kqx::MatrixArray& out);

} // namespace db2::json
