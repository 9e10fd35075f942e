#pragma once

#include <db2/Attribute.h>
#include <db2/ValueHandle.h>

namespace db2 {

/// True when two values of one type are the same to the last bit: 0 is not -0, and a NaN is the same as itself. False
/// for values of different types.
[[nodiscard]] bool hasSameBits(const ConstValueHandle& a, const ConstValueHandle& b);

/// Whether the value that an attribute shows is another than its default, if only in a bit.
[[nodiscard]] bool differsFromDefault(const Attribute& attribute);

/// An element that a loader made or found, without ever getting a value for it.
[[nodiscard]] inline bool wasLoadedWithoutValue(const Attribute& attribute)
{
    return attribute.hasFlag(ElementFlag::kLoaded) && !attribute.hasFlag(ElementFlag::kValueLoaded);
}

/// The same, and nobody has written one since: its value says nothing.
[[nodiscard]] inline bool lacksValue(const Attribute& attribute)
{
    return wasLoadedWithoutValue(attribute) && !differsFromDefault(attribute);
}

} // namespace db2
