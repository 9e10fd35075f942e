#pragma once

#include <db2/db2.h>

#include <span>

/// What an element of a node type is, as a row of a table: see Types.cpp.
namespace db2host::scene {

struct Field
{
    const wchar_t* name;
    const wchar_t* displayName;
    const wchar_t* docString;
    db2::AttributeTypeId type;
    double defaultValue[4] = {0, 0, 0,
                              0}; ///< the components of the types that are made of floats; else the first counts
    bool hasDefault = false;      ///< else the type's
    bool hasMinimum = false;
    bool hasMaximum = false;
    double minimum = 0;
    double maximum = 0;
    kqx::UnitType unitType = kqx::kUnitNone;
    std::span<const wchar_t* const> choices = {}; ///< of an Enum
    unsigned int flags = 0;                       ///< of db2::ElementMetaDataFlag

    // What few rows have, each a copy with it
    [[nodiscard]] constexpr Field startsAt(double x, double y = 0, double z = 0, double w = 0) const;
    [[nodiscard]] constexpr Field from(double value) const;
    [[nodiscard]] constexpr Field to(double value) const;
    [[nodiscard]] constexpr Field in(kqx::UnitType unit) const;
    [[nodiscard]] constexpr Field notSaved() const;
};

constexpr Field Field::startsAt(double x, double y, double z, double w) const
{
    Field field = *this;
    field.defaultValue[0] = x;
    field.defaultValue[1] = y;
    field.defaultValue[2] = z;
    field.defaultValue[3] = w;
    field.hasDefault = true;
    return field;
}

constexpr Field Field::from(double value) const
{
    Field field = *this;
    field.minimum = value;
    field.hasMinimum = true;
    return field;
}

constexpr Field Field::to(double value) const
{
    Field field = *this;
    field.maximum = value;
    field.hasMaximum = true;
    return field;
}

constexpr Field Field::in(kqx::UnitType unit) const
{
    Field field = *this;
    field.unitType = unit;
    return field;
}

constexpr Field Field::notSaved() const
{
    Field field = *this;
    field.flags |= db2::ElementMetaDataFlag::kDontSave;
    return field;
}

/// Adds the element that the row describes. @return false when it was refused.
bool addField(db2::NodeTemplate& type, const Field& field);

} // namespace db2host::scene
