#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/ValueInfo.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// From a type id, which is known at run time, to the C++ type of its values, which code is compiled for. The one place
/// that lists the types; everything that is done by type is written once, for a visitor.
namespace db2 {

/// Stands for the C++ type T in a visitor's argument. T is void for what has no value: Null and no type.
template <class T>
struct ValueType
{
    using Type = T;
};

/// The C++ type that a visitor's argument stands for.
template <class Tag>
using TypeOf = typename Tag::Type;

/// Calls @p visitor with the ValueType of @p typeId and returns what it returns.
template <class Visitor>
constexpr decltype(auto) visitType(AttributeTypeId typeId, Visitor&& visitor)
{
    switch (typeId)
    {
    case AttributeType::kInt:
    case AttributeType::kEnum: return visitor(ValueType<int>());
    case AttributeType::kBool: return visitor(ValueType<bool>());
    case AttributeType::kColour: return visitor(ValueType<kqx::Colour>());
    case AttributeType::kFloat: return visitor(ValueType<float>());
    case AttributeType::kDouble: return visitor(ValueType<double>());
    case AttributeType::kString: return visitor(ValueType<kqx::String>());
    case AttributeType::kVector3: return visitor(ValueType<kqx::Vector3>());
    case AttributeType::kMatrix: return visitor(ValueType<kqx::Matrix>());
    case AttributeType::kQuat: return visitor(ValueType<kqx::Quat>());
    case AttributeType::kVertexBuffer: return visitor(ValueType<kqx::VertexBuffer>());
    case AttributeType::kIntArray: return visitor(ValueType<kqx::IntArray>());
    case AttributeType::kBoolArray: return visitor(ValueType<kqx::BoolArray>());
    case AttributeType::kColourArray: return visitor(ValueType<kqx::ColourArray>());
    case AttributeType::kFloatArray: return visitor(ValueType<kqx::FloatArray>());
    case AttributeType::kDoubleArray: return visitor(ValueType<kqx::DoubleArray>());
    case AttributeType::kStringArray: return visitor(ValueType<kqx::StringArray>());
    case AttributeType::kVector3Array: return visitor(ValueType<kqx::Vector3Array>());
    case AttributeType::kMatrixArray: return visitor(ValueType<kqx::MatrixArray>());
    case AttributeType::kQuatArray: return visitor(ValueType<kqx::QuatArray>());
    case AttributeType::kNull:
    case AttributeType::kNoType: break;
    }
    return visitor(ValueType<void>()); // also for numbers that name no type
}

/// True for the C++ types of array types.
template <class T>
inline constexpr bool kIsArray = false;
template <class Element>
inline constexpr bool kIsArray<kqx::Array<Element>> = true;

/// True for a C++ type whose values may be copied as bytes and need no destruction.
template <class T>
inline constexpr bool kIsPlainData = std::is_trivially_copyable_v<T>&& std::is_trivially_destructible_v<T>;

// --- The facts behind ValueInfo, as a table: the edits ask for them too often to go by visitor ---

struct TypeFacts
{
    std::uint16_t size = 0;            ///< of a value, in bytes; 0 when the type has none
    std::uint8_t alignment = 4;        ///< what layouts count on, the same on every platform
    std::uint8_t storageAlignment = 4; ///< where a value is placed
    std::uint16_t stride = 0;          ///< bytes from one value to the next in an attribute array
    bool isPlainData = false;
    bool isArray = false;
};

namespace detail {

template <class T>
constexpr TypeFacts factsOfType()
{
    if constexpr (std::is_void_v<T>)
        return {};
    else
    {
        constexpr bool kIsMath = std::is_same_v<T, kqx::Colour> || std::is_same_v<T, kqx::Vector3> ||
                                 std::is_same_v<T, kqx::Matrix> || std::is_same_v<T, kqx::Quat>;
        constexpr std::size_t kAlignment = kIsMath ? 16 : 4;
        TypeFacts facts;
        facts.size = sizeof(T);
        facts.alignment = kAlignment;
        facts.storageAlignment = std::max(kAlignment, alignof(T));
        facts.stride = roundUp(sizeof(T), kAlignment);
        facts.isPlainData = kIsPlainData<T>;
        facts.isArray = kIsArray<T>;
        return facts;
    }
}

inline constexpr auto kTypeFacts = [] {
    std::array<TypeFacts, kAttributeTypeCount + 1> table;
    for (std::uint32_t id = 0; id < kAttributeTypeCount; ++id)
        table[id] = visitType(static_cast<AttributeTypeId>(id),
                              [](auto type) { return factsOfType<TypeOf<decltype(type)>>(); });
    return table; // the last entry is that of no type
}();

} // namespace detail

[[nodiscard]] constexpr const TypeFacts& factsOf(AttributeTypeId typeId)
{
    return detail::kTypeFacts[std::min<std::uint32_t>(typeId, kAttributeTypeCount)];
}

} // namespace db2
