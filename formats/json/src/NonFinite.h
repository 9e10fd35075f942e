#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <string_view>

/// The floating-point values that JSON has no number for, and the texts that stand for them.
namespace db2::json {

/// The bits of a float or double.
template <class Number>
struct FloatingPoint;

template <>
struct FloatingPoint<float>
{
    using Bits = std::uint32_t;
    static constexpr Bits kExponent = 0x7F800000u;
    static constexpr Bits kSign = 0x80000000u;
};

template <>
struct FloatingPoint<double>
{
    using Bits = std::uint64_t;
    static constexpr Bits kExponent = 0x7FF0000000000000u;
    static constexpr Bits kSign = 0x8000000000000000u;
};

/// The NaN that is written as "NaN" alone: quiet, positive and without payload, as most programs make it.
template <class Number>
inline constexpr auto
    kPlainNaN = std::bit_cast<typename FloatingPoint<Number>::Bits>(std::numeric_limits<Number>::quiet_NaN());

inline constexpr std::string_view kNaN = "NaN";
inline constexpr std::string_view kNaNWithBits = "NaN:"; ///< followed by all hexadecimal digits of the bits
inline constexpr std::string_view kInfinity = "Infinity";
inline constexpr std::string_view kMinusInfinity = "-Infinity";

template <class Bits>
inline constexpr int kHexDigits = static_cast<int>(sizeof(Bits)) * 2;

} // namespace db2::json
