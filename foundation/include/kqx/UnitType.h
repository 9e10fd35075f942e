#pragma once

#include <cstdint>

namespace kqx {

/// What the numbers of an attribute measure, for hosts that show and convert them; no number here is ever converted.
/// Hosts may store the values, so they never change; new ones are appended.
enum UnitType : std::uint32_t
{
    kUnitNone = 0,     ///< not known
    kUnitDistance = 1, ///< length
    kUnitAngle = 2,
    kUnitTime = 3,
    kUnitMass = 4,
    kUnitScalar = 5 ///< a plain number, on purpose without a unit
};

} // namespace kqx
