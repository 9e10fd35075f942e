#pragma once

#include <cfloat>

namespace kqx {

/// True when two components differ by @p tolerance or less: what compare() of the math types asks of each component.
/// False when either is a NaN, and for infinities, whose difference is one.
[[nodiscard]] inline bool isWithin(float a, float b, float tolerance) noexcept
{
    float difference = a - b;
    if constexpr (FLT_EVAL_METHOD != 0)
    {
        // Some processors compute with more digits than a float has; only a trip through memory drops them, and the
        // answer must not depend on the processor.
        const volatile float rounded = difference;
        difference = rounded;
    }
    return -tolerance <= difference && difference <= tolerance;
}

} // namespace kqx
