#pragma once

#include <db2/db2.h>

#include <variant>

namespace db2import {

/// What the database knows a C++ type as.
template <class T>
struct ValueType;

template <db2::AttributeTypeId id, class MetaDataDef>
struct ValueTypeAs
{
    static constexpr db2::AttributeTypeId kId = id;
    using Definition = MetaDataDef;
};

// clang-format off: a table
template <>
struct ValueType<int> : ValueTypeAs<db2::AttributeType::kInt, db2::IntAttributeMetaDataDef>
{
};
template <>
struct ValueType<bool> : ValueTypeAs<db2::AttributeType::kBool, db2::BoolAttributeMetaDataDef>
{
};
template <>
struct ValueType<float> : ValueTypeAs<db2::AttributeType::kFloat, db2::FloatAttributeMetaDataDef>
{
};
template <>
struct ValueType<double> : ValueTypeAs<db2::AttributeType::kDouble, db2::DoubleAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::String> : ValueTypeAs<db2::AttributeType::kString, db2::StringAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::Colour> : ValueTypeAs<db2::AttributeType::kColour, db2::ColourAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::Vector3> : ValueTypeAs<db2::AttributeType::kVector3, db2::Vector3AttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::Quat> : ValueTypeAs<db2::AttributeType::kQuat, db2::QuatAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::Matrix> : ValueTypeAs<db2::AttributeType::kMatrix, db2::MatrixAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::VertexBuffer>
    : ValueTypeAs<db2::AttributeType::kVertexBuffer, db2::VertexBufferAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::IntArray> : ValueTypeAs<db2::AttributeType::kIntArray, db2::IntArrayAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::FloatArray> : ValueTypeAs<db2::AttributeType::kFloatArray, db2::FloatArrayAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::DoubleArray> : ValueTypeAs<db2::AttributeType::kDoubleArray, db2::DoubleArrayAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::Vector3Array>
    : ValueTypeAs<db2::AttributeType::kVector3Array, db2::Vector3ArrayAttributeMetaDataDef>
{
};
template <>
struct ValueType<kqx::QuatArray> : ValueTypeAs<db2::AttributeType::kQuatArray, db2::QuatArrayAttributeMetaDataDef>
{
};
// clang-format on

/// The value of an attribute that a model's own data ask for.
using DynamicValue = std::variant<int, bool, float, double, kqx::String, kqx::Colour, kqx::Vector3, kqx::Matrix,
                                  kqx::IntArray, kqx::FloatArray, kqx::DoubleArray>;

} // namespace db2import
