#pragma once

#include <kqx/Tolerance.h>

#include <type_traits>

namespace kqx {

/// A transformation, row by row: m[row][column].
struct alignas(16) Matrix
{
    float m[4][4];

    /// identity().
    constexpr Matrix() noexcept
        : m{{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 1.0f}}
    {
    }

    [[nodiscard]] static constexpr Matrix identity() noexcept { return Matrix(); }

    /// Component by component and exact, so a NaN is unequal to itself and 0 equal to -0.
    friend constexpr bool operator==(const Matrix& a, const Matrix& b) noexcept
    {
        return a.allOf(b, [](float x, float y) { return x == y; });
    }

    /// True when each component differs by @p tolerance or less; false with a NaN in either.
    [[nodiscard]] bool compare(const Matrix& other, float tolerance) const noexcept
    {
        return allOf(other, [tolerance](float x, float y) { return isWithin(x, y, tolerance); });
    }

private:
    template <class Predicate>
    [[nodiscard]] constexpr bool allOf(const Matrix& other, Predicate predicate) const noexcept
    {
        for (int row = 0; row < 4; ++row)
        {
            for (int column = 0; column < 4; ++column)
            {
                if (!predicate(m[row][column], other.m[row][column]))
                    return false;
            }
        }
        return true;
    }
};

static_assert(sizeof(Matrix) == 64 && alignof(Matrix) == 16 && std::is_trivially_copyable_v<Matrix>);

} // namespace kqx
