#include "Decomposition.h"

#include <assimp/types.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace db2import {
namespace {

using Vector = aiVector3t<double>;

/// Columns of a matrix: the images of the axes.
using Axes = std::array<Vector, 3>;

/// Relative to the largest component; floats that were multiplied once or twice are closer.
constexpr double kTolerance = 1e-5;

double lengthOf(const Vector& v)
{
    return std::sqrt(v * v);
}

/// A direction of length 1 at right angles to another.
Vector anyNormalTo(const Vector& v)
{
    const Vector other = std::abs(v.x) < 0.9 ? Vector(1, 0, 0) : Vector(0, 1, 0);
    const Vector normal = v ^ other;
    return normal / lengthOf(normal);
}

/// Replaces axes without a length, which a scale of 0 makes, so that the three are a rotation.
void fillIn(Axes& axes, const std::array<bool, 3>& isMissing)
{
    const auto missing = std::count(isMissing.begin(), isMissing.end(), true);
    if (missing == 3)
    {
        axes = {Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)};
        return;
    }
    if (missing == 2)
    {
        const std::size_t present = !isMissing[0] ? 0 : !isMissing[1] ? 1 : 2;
        axes[(present + 1) % 3] = anyNormalTo(axes[present]);
        axes[(present + 2) % 3] = axes[present] ^ axes[(present + 1) % 3];
    }
    else if (missing == 1)
    {
        const std::size_t absent = isMissing[0] ? 0 : isMissing[1] ? 1 : 2;
        const Vector axis = axes[(absent + 1) % 3] ^ axes[(absent + 2) % 3];
        const double length = lengthOf(axis);
        axes[absent] = length > 0 ? axis / length : anyNormalTo(axes[(absent + 1) % 3]);
    }
}

/// Whether the stored floats make the upper three rows again.
bool makes(const Axes& columns, const Decomposition& parts)
{
    const kqx::Quat& q = parts.rotation;
    const aiMatrix3x3t<double> rotation = aiQuaterniont<double>(q.w, q.x, q.y, q.z).GetMatrix();
    const std::array<double, 3> scale = {parts.scale.x, parts.scale.y, parts.scale.z};
    double largest = 0;
    for (const Vector& column : columns)
        largest = std::max({largest, std::abs(column.x), std::abs(column.y), std::abs(column.z)});
    for (unsigned int column = 0; column < 3; ++column)
        for (unsigned int row = 0; row < 3; ++row)
            if (!(std::abs(rotation[row][column] * scale[column] - columns[column][row]) <= kTolerance * largest))
                return false;
    return true;
}

} // namespace

Decomposition decompose(const aiMatrix4x4& m)
{
    const Axes columns = {Vector(m.a1, m.b1, m.c1), Vector(m.a2, m.b2, m.c2), Vector(m.a3, m.b3, m.c3)};
    std::array<double, 3> scale = {lengthOf(columns[0]), lengthOf(columns[1]), lengthOf(columns[2])};

    Axes axes = columns;
    std::array<bool, 3> isMissing = {};
    for (std::size_t i = 0; i < 3; ++i)
    {
        isMissing[i] = scale[i] == 0;
        if (!isMissing[i])
            axes[i] /= scale[i];
    }
    fillIn(axes, isMissing);
    if (axes[0] * (axes[1] ^ axes[2]) < 0) // a mirror image, which no rotation makes
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            scale[i] = -scale[i];
            axes[i] = -axes[i];
        }
    }

    aiMatrix3x3t<double> rotation;
    for (unsigned int row = 0; row < 3; ++row)
        for (unsigned int column = 0; column < 3; ++column)
            rotation[row][column] = axes[column][row];
    aiQuaterniont<double> q(rotation);
    q.Normalize();

    Decomposition parts;
    parts.translation = {m.a4, m.b4, m.c4};
    parts.rotation = {static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z),
                      static_cast<float>(q.w)};
    parts.scale = {static_cast<float>(scale[0]), static_cast<float>(scale[1]), static_cast<float>(scale[2])};
    const bool isAffine = m.d1 == 0 && m.d2 == 0 && m.d3 == 0 && m.d4 == 1;
    const bool isPlaced = std::isfinite(m.a4) && std::isfinite(m.b4) && std::isfinite(m.c4);
    parts.isWhole = isAffine && isPlaced && makes(columns, parts);
    return parts;
}

} // namespace db2import
