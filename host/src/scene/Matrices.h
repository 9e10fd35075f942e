#pragma once

#include <db2/db2.h>

namespace db2host::scene {

/// First @p a, then @p b: matrices act on row vectors.
[[nodiscard]] kqx::Matrix product(const kqx::Matrix& a, const kqx::Matrix& b);

/// Scale, then rotation, then translation. The quaternion's length does not count; one of length 0 does not rotate.
[[nodiscard]] kqx::Matrix placement(const kqx::Vector3& translation, const kqx::Quat& rotation,
                                    const kqx::Vector3& scale);

} // namespace db2host::scene
