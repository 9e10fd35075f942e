#pragma once

#include <db2/ValueHandle.h>

namespace db2 {

/// True when two values of one type are the same to the last bit: 0 is not -0, and a NaN is the same as itself. False
/// for values of different types.
[[nodiscard]] bool hasSameBits(const ConstValueHandle& a, const ConstValueHandle& b);

} // namespace db2
