#pragma once

#include <kqx/Tolerance.h>

#include <type_traits>

namespace kqx {

/// A point or direction. The fourth component pads the value to 16 bytes, 0 unless somebody sets it; it is stored,
/// copied, compared and printed like the others.
struct alignas(16) Vector3
{
    float x;
    float y;
    float z;
    float w; ///< padding

    /// zero().
    constexpr Vector3() noexcept : Vector3(0.0f, 0.0f, 0.0f) {}
    constexpr Vector3(float xValue, float yValue, float zValue) noexcept : x(xValue), y(yValue), z(zValue), w(0.0f) {}

    /// All four components 0.
    [[nodiscard]] static constexpr Vector3 zero() noexcept { return Vector3(); }

    /// All four components exactly, so a NaN is unequal to itself and 0 equal to -0.
    friend constexpr bool operator==(const Vector3& a, const Vector3& b) noexcept
    {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }

    /// True when each of the four components differs by @p tolerance or less; false with a NaN in either.
    [[nodiscard]] bool compare(const Vector3& other, float tolerance) const noexcept
    {
        return isWithin(x, other.x, tolerance) && isWithin(y, other.y, tolerance) && isWithin(z, other.z, tolerance) &&
               isWithin(w, other.w, tolerance);
    }
};

static_assert(sizeof(Vector3) == 16 && alignof(Vector3) == 16 && std::is_trivially_copyable_v<Vector3>);

} // namespace kqx
