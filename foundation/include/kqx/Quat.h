#pragma once

#include <kqx/Tolerance.h>

#include <type_traits>

namespace kqx {

/// A rotation as a quaternion, the scalar part last. Nothing here normalises.
struct alignas(16) Quat
{
    float x;
    float y;
    float z;
    float w; ///< the scalar part

    /// identity().
    constexpr Quat() noexcept : Quat(0.0f, 0.0f, 0.0f, 1.0f) {}
    constexpr Quat(float xValue, float yValue, float zValue, float wValue) noexcept
        : x(xValue), y(yValue), z(zValue), w(wValue)
    {
    }

    /// No rotation: (0, 0, 0, 1).
    [[nodiscard]] static constexpr Quat identity() noexcept { return Quat(); }

    /// Component by component and exact: a NaN is unequal to itself, and q is unequal to -q, the same rotation.
    friend constexpr bool operator==(const Quat& a, const Quat& b) noexcept
    {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }

    /// True when each component differs by @p tolerance or less; false with a NaN in either.
    [[nodiscard]] bool compare(const Quat& other, float tolerance) const noexcept
    {
        return isWithin(x, other.x, tolerance) && isWithin(y, other.y, tolerance) && isWithin(z, other.z, tolerance) &&
               isWithin(w, other.w, tolerance);
    }
};

static_assert(sizeof(Quat) == 16 && alignof(Quat) == 16 && std::is_trivially_copyable_v<Quat>);

} // namespace kqx
