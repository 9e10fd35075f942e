#pragma once

#include <cfloat>
#include <charconv>
#include <cstddef>
#include <cstdint>

/// The texts of numbers: the fewest digits that read back to the same bits, as the standard library writes them, which
/// takes several times as long as those that files are full of need.
namespace db2::json {

inline constexpr std::size_t kLongestNumber = 32; ///< in characters; the longest double takes 24

/// @param out  has room for kLongestNumber. @return the end.
template <class Integer>
char* writeInteger(Integer value, char* out)
{
    if (0 <= value && value < 10)
    {
        *out = static_cast<char>('0' + value);
        return out + 1;
    }
    return std::to_chars(out, out + kLongestNumber, value).ptr;
}

/// Whether arithmetic is done in the precision of its operands, as writeShortDecimal() and its reader count on.
inline constexpr bool kArithmeticIsExact = FLT_EVAL_METHOD == 0;

/// Writes a number with at most three digits behind the point. Two such decimals are at least 0.001 apart, and below the
/// limit neighbouring floats are closer than that, so no other decimal as short as this one reads back to the same float.
/// @param value  not negative.
/// @return the end; null for any other number.
template <class Number>
char* writeShortDecimal(Number value, char* out)
{
    constexpr Number kIntegerLimit = 100000; // which is shorter with an exponent
    constexpr Number kLimit = 16384;
    constexpr std::uint32_t kThousand = 1000;
    if (!(value < kIntegerLimit))
        return nullptr;
    const auto whole = static_cast<std::uint32_t>(value);
    if (static_cast<Number>(whole) == value)
        return writeInteger(whole, out);
    if (!kArithmeticIsExact || !(value < kLimit))
        return nullptr;
    const auto thousandths = static_cast<std::uint32_t>(value * Number{kThousand} + Number{0.5});
    // Both sides of the division are exact, so its result is what a reader makes of the digits.
    if (static_cast<Number>(thousandths) / Number{kThousand} != value)
        return nullptr;
    out = writeInteger(thousandths / kThousand, out);
    *out++ = '.';
    std::uint32_t fraction = thousandths % kThousand;
    for (std::uint32_t unit = kThousand / 10; fraction != 0; unit /= 10)
    {
        *out++ = static_cast<char>('0' + fraction / unit);
        fraction %= unit;
    }
    return out;
}

/// @param value  finite. @return the end.
template <class Number>
char* writeFinite(Number value, bool isNegative, char* out)
{
    char* magnitude = out;
    if (isNegative)
        *magnitude++ = '-';
    if (char* const end = writeShortDecimal(isNegative ? -value : value, magnitude))
        return end;
    return std::to_chars(out, out + kLongestNumber, value).ptr;
}

} // namespace db2::json
