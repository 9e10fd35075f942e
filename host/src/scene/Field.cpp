#include "Field.h"

namespace db2host::scene {
namespace {

using db2::AttributeType::AttributeTypeId;

/// The ways in which definitions differ, each for those that have it.
template <class Definition, class Number>
void limit(Definition& definition, const Field& field, Number)
{
    if (field.hasMinimum)
        definition.setMin(static_cast<Number>(field.minimum));
    if (field.hasMaximum)
        definition.setMax(static_cast<Number>(field.maximum));
}

float component(const Field& field, int index)
{
    return static_cast<float>(field.defaultValue[index]);
}

template <class Value>
Value valueOf(const Field& field)
{
    return {component(field, 0), component(field, 1), component(field, 2), component(field, 3)};
}

template <>
kqx::Vector3 valueOf(const Field& field)
{
    return {component(field, 0), component(field, 1), component(field, 2)};
}

void fill(db2::IntAttributeMetaDataDef& definition, const Field& field)
{
    limit(definition, field, int());
    definition.setDefaultValue(static_cast<int>(field.defaultValue[0]));
}

void fill(db2::BoolAttributeMetaDataDef& definition, const Field& field)
{
    definition.setDefaultValue(field.defaultValue[0] != 0);
}

void fill(db2::FloatAttributeMetaDataDef& definition, const Field& field)
{
    limit(definition, field, float());
    definition.setDefaultValue(component(field, 0));
    definition.setUnitType(field.unitType);
}

void fill(db2::DoubleAttributeMetaDataDef& definition, const Field& field)
{
    limit(definition, field, double());
    definition.setDefaultValue(field.defaultValue[0]);
    definition.setUnitType(field.unitType);
}

void fill(db2::EnumAttributeMetaDataDef& definition, const Field& field)
{
    for (const wchar_t* const choice : field.choices)
        definition.addChoice(choice);
    definition.setDefaultValue(static_cast<int>(field.defaultValue[0]));
}

void fill(db2::ColourAttributeMetaDataDef& definition, const Field& field)
{
    definition.setDefaultValue(valueOf<kqx::Colour>(field));
}

void fill(db2::Vector3AttributeMetaDataDef& definition, const Field& field)
{
    definition.setDefaultValue(valueOf<kqx::Vector3>(field));
    definition.setUnitType(field.unitType);
}

void fill(db2::QuatAttributeMetaDataDef& definition, const Field& field)
{
    if (field.hasDefault)
        definition.setDefaultValue(valueOf<kqx::Quat>(field));
}

/// Of the other types the rows say nothing but perhaps a unit.
void fill(db2::UnitAttributeMetaDataDef& definition, const Field& field)
{
    definition.setUnitType(field.unitType);
}

void fill(db2::ElementMetaDataDef&, const Field&) {}

template <class Definition>
bool add(db2::NodeTemplate& type, const Field& field)
{
    Definition definition;
    definition.setDisplayName(field.displayName);
    definition.setDocString(field.docString);
    definition.setFlags(field.flags);
    fill(definition, field);
    return type.addAttribute(definition, field.name) == db2::Status::kSuccess;
}

} // namespace

bool addField(db2::NodeTemplate& type, const Field& field)
{
    switch (field.type)
    {
    case AttributeTypeId::kInt: return add<db2::IntAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kBool: return add<db2::BoolAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kColour: return add<db2::ColourAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kFloat: return add<db2::FloatAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kDouble: return add<db2::DoubleAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kString: return add<db2::StringAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kEnum: return add<db2::EnumAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kVector3: return add<db2::Vector3AttributeMetaDataDef>(type, field);
    case AttributeTypeId::kMatrix: return add<db2::MatrixAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kQuat: return add<db2::QuatAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kNull: return add<db2::NullAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kVertexBuffer: return add<db2::VertexBufferAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kIntArray: return add<db2::IntArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kBoolArray: return add<db2::BoolArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kColourArray: return add<db2::ColourArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kFloatArray: return add<db2::FloatArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kDoubleArray: return add<db2::DoubleArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kStringArray: return add<db2::StringArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kVector3Array: return add<db2::Vector3ArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kMatrixArray: return add<db2::MatrixArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kQuatArray: return add<db2::QuatArrayAttributeMetaDataDef>(type, field);
    case AttributeTypeId::kNoType: break;
    }
    return false;
}

} // namespace db2host::scene
