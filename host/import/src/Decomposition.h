#pragma once

#include <assimp/matrix4x4.h>

#include <kqx/Quat.h>
#include <kqx/Vector3.h>

namespace db2import {

/// What a Transform stores of a matrix: scale, then rotation, then translation.
struct Decomposition
{
    kqx::Vector3 translation;
    kqx::Quat rotation;
    kqx::Vector3 scale;
    bool isWhole; ///< whether the three make the matrix again; not for a sheared one, a projection, or one with a NaN
};

/// @param matrix  acts on columns.
[[nodiscard]] Decomposition decompose(const aiMatrix4x4& matrix);

} // namespace db2import
