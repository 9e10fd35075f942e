#pragma once

#include <type_traits>

namespace kqx {

/// A colour with its opacity. The range of the components is the host's business; nothing here clamps.
struct alignas(16) Colour
{
    float r;
    float g;
    float b;
    float a;

    /// zero().
    constexpr Colour() noexcept : Colour(0.0f, 0.0f, 0.0f, 0.0f) {}
    constexpr Colour(float red, float green, float blue, float alpha) noexcept : r(red), g(green), b(blue), a(alpha) {}

    /// All four components 0, the opacity too.
    [[nodiscard]] static constexpr Colour zero() noexcept { return Colour(); }

    /// Component by component and exact, so a NaN is unequal to itself and 0 equal to -0.
    friend constexpr bool operator==(const Colour& x, const Colour& y) noexcept
    {
        return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
    }
};

static_assert(sizeof(Colour) == 16 && alignof(Colour) == 16 && std::is_trivially_copyable_v<Colour>);

} // namespace kqx
