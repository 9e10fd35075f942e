#include "ValueWriter.h"

#include "JsonWriter.h"
#include "ValueTypes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace db2::json {
namespace {

void write(JsonWriter& json, int value)
{
    json.number(std::int32_t{value});
}

void write(JsonWriter& json, bool value)
{
    json.boolean(value);
}

void write(JsonWriter& json, const float& value)
{
    json.number(value);
}

void write(JsonWriter& json, const double& value)
{
    json.number(value);
}

void write(JsonWriter& json, const kqx::String& value)
{
    json.text(value);
}

/// Whether the component that pads the value holds anything.
template <MathValue T>
bool hasPadding(const T&)
{
    return false;
}

bool hasPadding(const kqx::Vector3& value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value.w, sizeof bits);
    return bits != 0;
}

template <MathValue T>
void writeComponents(JsonWriter& json, const T& value, std::size_t count)
{
    std::array<float, sizeof(T) / sizeof(float)> components;
    std::memcpy(components.data(), &value, sizeof value);
    for (std::size_t i = 0; i < count; ++i)
        json.number(components[i]);
}

template <MathValue T>
void write(JsonWriter& json, const T& value)
{
    json.beginArray();
    writeComponents(json, value, kComponents<T> + (hasPadding(value) ? 1 : 0));
    json.endArray();
}

template <class T>
void write(JsonWriter& json, const kqx::Array<T>& values)
{
    json.beginArray();
    for (const T& value : values)
        write(json, value);
    json.endArray();
}

/// All components side by side; element by element when there is one with padding.
template <MathValue T>
void write(JsonWriter& json, const kqx::Array<T>& values)
{
    const bool isFlat = std::none_of(values.begin(), values.end(), [](const T& value) { return hasPadding(value); });
    json.beginArray();
    for (const T& value : values)
    {
        if (!isFlat)
            json.beginArray();
        writeComponents(json, value, kComponents<T> + (isFlat ? 0 : 1));
        if (!isFlat)
            json.endArray();
    }
    json.endArray();
}

void write(JsonWriter& json, const kqx::VertexBuffer& buffer)
{
    json.beginArray();
    for (unsigned int i = 0; i < buffer.getStreamCount(); ++i)
    {
        json.beginArray();
        json.text(buffer.getStreamName(i));
        json.number(std::uint32_t{buffer.getStreamComponents(i)});
        write(json, buffer.getStream(i));
        json.endArray();
    }
    json.endArray();
}

} // namespace

void writeValue(JsonWriter& json, const ConstValueHandle& value)
{
    visitValueType(value.getTypeId(), [&]<class T>(T*) {
        if constexpr (std::is_same_v<T, std::nullptr_t>)
            json.null();
        else if (value.isNull())
            write(json, T{}); // no memory was left for the value, which then reads as its type's default
        else
            write(json, *static_cast<const T*>(value.getData()));
    });
}

} // namespace db2::json
