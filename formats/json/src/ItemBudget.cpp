#include "ItemBudget.h"

#include "ValueTypes.h"

#include <db2/AttributeArray.h>

#include <string_view>
#include <type_traits>

namespace db2::json {
namespace {

/// Of an item of any type, beside the elements of its default; of a text and a stream within a default.
constexpr std::uint64_t kWeightOfAny = 64;
constexpr std::uint64_t kWeightOfAMatrix = 128; // which holds 64 bytes of numbers
constexpr std::uint64_t kWeightOfACharacter = 4;

static_assert(kWeightOfAny >= kWeightOfAByte, "an item of no weight could be had for nothing");

/// In UTF-16, so that a text weighs the same whatever the platform's characters are.
std::uint64_t weightOf(std::wstring_view text)
{
    std::uint64_t units = 0;
    for (const wchar_t character : text)
        units += static_cast<std::uint32_t>(character) >> 16 != 0 ? 2u : 1u;
    return units * kWeightOfACharacter;
}

std::uint64_t weightOf(const kqx::String& text)
{
    return weightOf(std::wstring_view(text.c_str(), text.length()));
}

std::uint64_t weightOf(const kqx::StringArray& texts)
{
    std::uint64_t weight = 0;
    for (const kqx::String& text : texts)
        weight += kWeightOfAny + weightOf(text);
    return weight;
}

std::uint64_t weightOf(const kqx::VertexBuffer& buffer)
{
    std::uint64_t weight = 0;
    for (unsigned int i = 0; i < buffer.getStreamCount(); ++i)
        weight += kWeightOfAny + weightOf(std::wstring_view(buffer.getStreamName(i))) +
                  buffer.getStream(i).size() * sizeof(float);
    return weight;
}

template <class T>
std::uint64_t weightOf(const kqx::Array<T>& values)
{
    return values.size() * sizeof(T);
}

/// A value that lies in the item itself.
template <class T>
std::uint64_t weightOf(const T&)
{
    return 0;
}

} // namespace

std::uint64_t weightOfItem(const AttributeArray& array)
{
    const std::uint64_t weight = array.getTypeId() == AttributeType::kMatrix ? kWeightOfAMatrix : kWeightOfAny;
    if (!array.isDynamic())
        return weight;
    const ConstValueHandle value = array.getDefaultValue();
    if (value.isNull())
        return weight;
    return visitValueType(array.getTypeId(), [&]<class T>(T*) {
        if constexpr (std::is_same_v<T, std::nullptr_t>)
            return weight;
        else
            return weight + weightOf(*static_cast<const T*>(value.getData()));
    });
}

} // namespace db2::json
