#include "PropertyValues.h"

#include <cstdint>
#include <cstring>

namespace db2import {
namespace {

template <class T>
std::vector<T> numbersOf(const aiMaterialProperty& property)
{
    const std::string_view bytes = bytesOf(property);
    std::vector<T> numbers(bytes.size() / sizeof(T));
    if (numbers.empty() || bytes.size() % sizeof(T) != 0)
        return {};
    std::memcpy(numbers.data(), bytes.data(), bytes.size());
    return numbers;
}

} // namespace

std::string_view bytesOf(const aiMaterialProperty& property)
{
    return property.mData != nullptr ? std::string_view(property.mData, property.mDataLength) : std::string_view();
}

std::vector<int> intsOf(const aiMaterialProperty& property)
{
    if (property.mType == aiPTI_Integer)
        return numbersOf<int>(property);
    if (property.mType != aiPTI_Buffer)
        return {};
    // A single bool, or a single enumerator.
    if (bytesOf(property).size() == 1)
        return {static_cast<unsigned char>(property.mData[0])};
    return bytesOf(property).size() == sizeof(int) ? numbersOf<int>(property) : std::vector<int>();
}

std::vector<float> floatsOf(const aiMaterialProperty& property)
{
    return property.mType == aiPTI_Float ? numbersOf<float>(property) : std::vector<float>();
}

std::vector<double> doublesOf(const aiMaterialProperty& property)
{
    return property.mType == aiPTI_Double ? numbersOf<double>(property) : std::vector<double>();
}

std::optional<std::string_view> textOf(const aiMaterialProperty& property)
{
    const std::string_view bytes = bytesOf(property);
    std::uint32_t length = 0;
    if (property.mType != aiPTI_String || bytes.size() < sizeof length)
        return std::nullopt;
    std::memcpy(&length, bytes.data(), sizeof length);
    if (length > bytes.size() - sizeof length)
        return std::nullopt;
    return bytes.substr(sizeof length, length);
}

std::optional<int> intOf(const aiMaterialProperty& property)
{
    const std::vector<int> ints = intsOf(property);
    return ints.size() == 1 ? std::optional(ints[0]) : std::nullopt;
}

std::optional<float> floatOf(const aiMaterialProperty& property)
{
    const std::vector<float> floats = floatsOf(property);
    return floats.size() == 1 ? std::optional(floats[0]) : std::nullopt;
}

} // namespace db2import
