#pragma once

namespace kqx {

/// True when two components differ by @p tolerance or less: what compare() of the math types asks of each component.
/// False when either is a NaN, and for infinities, whose difference is one.
[[nodiscard]] constexpr bool isWithin(float a, float b, float tolerance) noexcept
{
    const float difference = a - b;
    return -tolerance <= difference && difference <= tolerance;
}

} // namespace kqx
