#pragma once

#include <db2/AttributeMetaDataDef.h>
#include <db2/AttributeTypeId.h>
#include <db2/ValueHandle.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

/// The types of values as the format sees them: their names, and from a type id to C++ types.
namespace db2::json {

// --- Names, which are those of ValueInfo ---

inline constexpr std::array<std::string_view, kAttributeTypeCount> kTypeNames = {
    "Int",         "Bool",       "Colour",      "Float",       "Double",       "String",      "Enum",
    "Vector3",     "Matrix",     "Quat",        "Null",        "VertexBuffer", "IntArray",    "BoolArray",
    "ColourArray", "FloatArray", "DoubleArray", "StringArray", "Vector3Array", "MatrixArray", "QuatArray"};

// What stands behind a type's name, and says how the value is written.
inline constexpr std::string_view kReferenceMark = " ->";       ///< as the path of the referenced attribute
inline constexpr std::string_view kSingleReferenceMark = " =>"; ///< the same; the reference is single output
inline constexpr std::string_view kArrayMark = "[]";            ///< an attribute array, item by item
inline constexpr std::string_view kSparseArrayMark = "[?]";     ///< an attribute array: its size, then the items that
                                                                ///< are not at their default

// What begins the entry of an item that references; an item with a value begins with its index.
inline constexpr std::string_view kReferenceItem = "->";
inline constexpr std::string_view kSingleReferenceItem = "=>";

[[nodiscard]] constexpr std::string_view typeName(AttributeTypeId typeId)
{
    return kTypeNames[typeId];
}

/// A number below 32 that differs from type to type, since every entry of a file names one.
/// @param name  not empty.
[[nodiscard]] constexpr std::size_t typeSlot(std::string_view name)
{
    const auto first = static_cast<unsigned char>(name.front());
    const auto last = static_cast<unsigned char>(name.back());
    return (first + 11 * std::size_t{last} + 5 * name.size()) % 32;
}

inline constexpr auto kTypesBySlot = [] {
    std::array<AttributeTypeId, 32> types{};
    for (AttributeTypeId& type : types)
        type = AttributeType::kNoType;
    for (std::size_t i = 0; i < kTypeNames.size(); ++i)
        types[typeSlot(kTypeNames[i])] = static_cast<AttributeTypeId>(i);
    return types;
}();

[[nodiscard]] constexpr std::optional<AttributeTypeId> findType(std::string_view name)
{
    const AttributeTypeId typeId = name.empty() ? AttributeType::kNoType : kTypesBySlot[typeSlot(name)];
    if (typeId == AttributeType::kNoType || kTypeNames[typeId] != name)
        return std::nullopt;
    return typeId;
}

static_assert(
    [] {
        for (const std::string_view name : kTypeNames)
            if (!findType(name))
                return false;
        return true;
    }(),
    "two types have one slot");

// --- Math types: a fixed number of floats that lie side by side ---

template <class T>
inline constexpr std::size_t kComponents = 0; ///< floats in a value; 0 for what is no math type
template <>
inline constexpr std::size_t kComponents<kqx::Colour> = 4;
template <>
inline constexpr std::size_t kComponents<kqx::Vector3> = 3; ///< w follows only when somebody set it
template <>
inline constexpr std::size_t kComponents<kqx::Quat> = 4;
template <>
inline constexpr std::size_t kComponents<kqx::Matrix> = 16;

template <class T>
concept MathValue = kComponents<T>
!= 0;

template <class T>
struct ArrayElement
{
    static constexpr bool kIsArray = false;
};
template <class T>
struct ArrayElement<kqx::Array<T>>
{
    static constexpr bool kIsArray = true;
    using Type = T;
};

template <class T>
concept ArrayValue = ArrayElement<T>::kIsArray;

// --- From type id to C++ type ---

/// Calls @p visit with a pointer (null) to the C++ type of the values, and returns what it returns. For an Enum that is
/// int; for Null and for what is no type, which have no values, std::nullptr_t.
template <class Visit>
decltype(auto) visitValueType(AttributeTypeId typeId, Visit visit)
{
    switch (typeId)
    {
    case AttributeType::kInt:
    case AttributeType::kEnum: return visit(static_cast<int*>(nullptr));
    case AttributeType::kBool: return visit(static_cast<bool*>(nullptr));
    case AttributeType::kColour: return visit(static_cast<kqx::Colour*>(nullptr));
    case AttributeType::kFloat: return visit(static_cast<float*>(nullptr));
    case AttributeType::kDouble: return visit(static_cast<double*>(nullptr));
    case AttributeType::kString: return visit(static_cast<kqx::String*>(nullptr));
    case AttributeType::kVector3: return visit(static_cast<kqx::Vector3*>(nullptr));
    case AttributeType::kMatrix: return visit(static_cast<kqx::Matrix*>(nullptr));
    case AttributeType::kQuat: return visit(static_cast<kqx::Quat*>(nullptr));
    case AttributeType::kVertexBuffer: return visit(static_cast<kqx::VertexBuffer*>(nullptr));
    case AttributeType::kIntArray: return visit(static_cast<kqx::IntArray*>(nullptr));
    case AttributeType::kBoolArray: return visit(static_cast<kqx::BoolArray*>(nullptr));
    case AttributeType::kColourArray: return visit(static_cast<kqx::ColourArray*>(nullptr));
    case AttributeType::kFloatArray: return visit(static_cast<kqx::FloatArray*>(nullptr));
    case AttributeType::kDoubleArray: return visit(static_cast<kqx::DoubleArray*>(nullptr));
    case AttributeType::kStringArray: return visit(static_cast<kqx::StringArray*>(nullptr));
    case AttributeType::kVector3Array: return visit(static_cast<kqx::Vector3Array*>(nullptr));
    case AttributeType::kMatrixArray: return visit(static_cast<kqx::MatrixArray*>(nullptr));
    case AttributeType::kQuatArray: return visit(static_cast<kqx::QuatArray*>(nullptr));
    case AttributeType::kNull:
    case AttributeType::kNoType: break;
    }
    return visit(static_cast<std::nullptr_t*>(nullptr));
}

} // namespace db2::json
