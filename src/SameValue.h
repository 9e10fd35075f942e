#pragma once

#include <db2/Attribute.h>
#include <db2/ValueHandle.h>

namespace db2 {

/// True when two values of one type are the same to the last bit: 0 is not -0, and a NaN is the same as itself. False
/// for values of different types.
[[nodiscard]] bool hasSameBits(const ConstValueHandle& a, const ConstValueHandle& b);

/// Whether the value that an attribute shows is another than its default, if only in a bit.
[[nodiscard]] bool differsFromDefault(const Attribute& attribute);

/// The attribute whose own value this one shows, at the end of its references. Cost: a step for each of them.
[[nodiscard]] inline const Attribute& shownBy(const Attribute& attribute)
{
    const Attribute* shown = &attribute;
    while (const Attribute* const referenced = shown->getReference())
        shown = referenced;
    return *shown;
}

/// Whether what an attribute shows is the value of an unknown one that a loader made without ever getting a value for it.
[[nodiscard]] inline bool wasLoadedWithoutValue(const Attribute& attribute)
{
    const Attribute& shown = shownBy(attribute);
    return shown.isUnknown() && shown.hasFlag(ElementFlag::kLoaded) && !shown.hasFlag(ElementFlag::kValueLoaded);
}

/// The same, and nobody has written one since: the value says nothing, since only the type knows the default.
[[nodiscard]] inline bool lacksValue(const Attribute& attribute)
{
    return wasLoadedWithoutValue(attribute) && !differsFromDefault(attribute);
}

} // namespace db2
