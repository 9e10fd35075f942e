#include "ValueReader.h"

#include "JsonReader.h"
#include "ValueTypes.h"

#include <cstring>
#include <string>
#include <utility>

namespace db2::json {
namespace {

/// Reads the components of a value whose array is open. @param first  how many of them have items of their own already.
template <MathValue T>
void readComponents(JsonReader& json, T& out, bool firstItemIsBegun)
{
    float components[sizeof(T) / sizeof(float)] = {};
    for (std::size_t i = 0; i < kComponents<T>; ++i)
    {
        if (i > 0 || !firstItemIsBegun)
            json.item(L"another component");
        json.number(components[i]);
    }
    std::memcpy(&out, components, sizeof out);
}

template <MathValue T>
void readMathValue(JsonReader& json, T& out)
{
    float components[sizeof(T) / sizeof(float)] = {};
    if (json.tryNumbers(components, kComponents<T>))
    {
        std::memcpy(&out, components, sizeof out);
        return;
    }
    json.beginArray();
    readComponents(json, out, false);
    if constexpr (sizeof(T) > kComponents<T> * sizeof(float))
    {
        if (!json.tryItem())
            return;
        json.number(out.w);
    }
    json.endArray();
}

/// Gives back what an array took that grew because its end was not in sight.
template <class T>
void fit(kqx::Array<T>& array)
{
    if (array.capacity() == array.size())
        return;
    kqx::Array<T> exact;
    exact.reserve(array.size());
    for (T& value : array)
        exact.push_back(std::move(value));
    array.swap(exact);
}

template <class T>
void readArray(JsonReader& json, kqx::Array<T>& out)
{
    out.reserve(json.countItems().items);
    json.beginArray();
    while (json.tryItem())
    {
        T value{};
        readValue(json, value);
        out.push_back(std::move(value));
    }
    fit(out);
}

/// Components side by side, or an array for each element.
template <MathValue T>
void readMathArray(JsonReader& json, kqx::Array<T>& out)
{
    const std::size_t items = json.countItems().items;
    json.beginArray();
    bool isNested = false;
    while (json.tryItem())
    {
        if (out.empty())
        {
            isNested = json.atArray();
            out.reserve(isNested ? items : items / kComponents<T>);
        }
        T value;
        if (isNested)
            readMathValue(json, value);
        else
            readComponents(json, value, true);
        out.push_back(value);
    }
    fit(out);
}

} // namespace

void readValue(JsonReader& json, int& out)
{
    out = json.int32();
}

void readValue(JsonReader& json, bool& out)
{
    out = json.boolean();
}

void readValue(JsonReader& json, float& out)
{
    json.number(out);
}

void readValue(JsonReader& json, double& out)
{
    json.number(out);
}

void readValue(JsonReader& json, kqx::String& out)
{
    json.text(out, L"a text");
}

void readValue(JsonReader& json, kqx::Colour& out)
{
    readMathValue(json, out);
}

void readValue(JsonReader& json, kqx::Vector3& out)
{
    readMathValue(json, out);
}

void readValue(JsonReader& json, kqx::Quat& out)
{
    readMathValue(json, out);
}

void readValue(JsonReader& json, kqx::Matrix& out)
{
    readMathValue(json, out);
}

void readValue(JsonReader& json, kqx::VertexBuffer& out)
{
    std::wstring name;
    json.beginArray();
    while (json.tryItem())
    {
        json.beginArray();
        json.item(L"the name of a stream");
        json.name(name, L"the name of a stream");
        json.item(L"the number of components");
        const unsigned int stream = out.addStream(name.c_str(), json.uint32());
        json.item(L"the stream's data");
        readArray(json, out.getStream(stream));
        json.endArray();
    }
}

void readValue(JsonReader& json, kqx::IntArray& out)
{
    readArray(json, out);
}

void readValue(JsonReader& json, kqx::BoolArray& out)
{
    readArray(json, out);
}

void readValue(JsonReader& json, kqx::FloatArray& out)
{
    readArray(json, out);
}

void readValue(JsonReader& json, kqx::DoubleArray& out)
{
    readArray(json, out);
}

void readValue(JsonReader& json, kqx::StringArray& out)
{
    readArray(json, out);
}

void readValue(JsonReader& json, kqx::ColourArray& out)
{
    readMathArray(json, out);
}

void readValue(JsonReader& json, kqx::Vector3Array& out)
{
    readMathArray(json, out);
}

void readValue(JsonReader& json, kqx::QuatArray& out)
{
    readMathArray(json, out);
}

void readValue(JsonReader& json, kqx::MatrixArray& out)
{
    readMathArray(json, out);
}

} // namespace db2::json
