#pragma once

#include <cstdint>

namespace db2 {

/// The types that a value, and so an element of a node, can have. The numbers are fixed: hosts and log lines use them.
/// What is true of a type (name, size, default value) is asked of ValueInfo.
namespace AttributeType {
enum AttributeTypeId : std::uint32_t
{
    kInt = 0,
    kBool = 1,
    kColour = 2,
    kFloat = 3,
    kDouble = 4,
    kString = 5,
    kEnum = 6, ///< an int that counts through the choices of its metadata
    kVector3 = 7,
    kMatrix = 8,
    kQuat = 9,
    kNull = 10, ///< an element without a value, there for its references
    kVertexBuffer = 11,
    kIntArray = 12,
    kBoolArray = 13,
    kColourArray = 14,
    kFloatArray = 15,
    kDoubleArray = 16,
    kStringArray = 17,
    kVector3Array = 18,
    kMatrixArray = 19,
    kQuatArray = 20,
    kNoType = 22 ///< of a handle that has no type yet
};
} // namespace AttributeType

using AttributeType::AttributeTypeId;

/// How many types there are; they are numbered densely from 0.
inline constexpr unsigned int kAttributeTypeCount = AttributeType::kQuatArray + 1;

} // namespace db2
