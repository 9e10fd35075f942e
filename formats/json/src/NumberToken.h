#pragma once

#include "NumberText.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Numbers in the text of a document: where they end, and those that need no conversion by the standard library.
namespace db2::json {

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// By byte: whether it occurs in numbers.
inline constexpr std::array<bool, 256> kIsPartOfNumber = [] {
    std::array<bool, 256> isPart{};
    for (const char c : std::string_view("0123456789-+.eE"))
        isPart[static_cast<unsigned char>(c)] = true;
    return isPart;
}();

inline bool isPartOfNumber(char c)
{
    return kIsPartOfNumber[static_cast<unsigned char>(c)];
}

inline const char* skipDigits(const char* at, const char* end)
{
    while (at != end && isDigit(*at))
        ++at;
    return at;
}

/// The end of the number that begins at @p at as JSON has it, which is stricter than what the standard library reads.
/// @return null when there is none.
[[nodiscard]] inline const char* findNumberEnd(const char* at, const char* end)
{
    if (at != end && *at == '-')
        ++at;
    const char* digits = at;
    at = skipDigits(at, end);
    if (at == digits || (*digits == '0' && at - digits > 1))
        return nullptr;
    if (at != end && *at == '.')
    {
        digits = ++at;
        at = skipDigits(at, end);
        if (at == digits)
            return nullptr;
    }
    if (at != end && (*at == 'e' || *at == 'E'))
    {
        ++at;
        if (at != end && (*at == '+' || *at == '-'))
            ++at;
        digits = at;
        at = skipDigits(at, end);
        if (at == digits)
            return nullptr;
    }
    return at == end || !isPartOfNumber(*at) ? at : nullptr;
}

/// Reads a number of at most seven digits and no exponent, as files are full of. What any other number would say better
/// is left to the standard library.
/// @param at  of a text with a null character behind it.
/// @return the end; null for any other number, and for what is none.
template <class Number>
[[nodiscard]] inline const char* readShortDecimal(const char* at, Number& out)
{
    // Both are exact in a float, so their quotient is the number that is closest to what the digits say.
    constexpr std::ptrdiff_t kMaxDigits = 7;
    constexpr Number kPowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000};

    const bool isNegative = *at == '-';
    const char* const whole = at + (isNegative ? 1 : 0);
    std::uint32_t value = 0; // may overflow: what does has too many digits
    for (at = whole; isDigit(*at); ++at)
        value = value * 10 + static_cast<std::uint32_t>(*at - '0');
    std::ptrdiff_t digits = at - whole;
    if (digits == 0 || (*whole == '0' && digits > 1))
        return nullptr;
    std::ptrdiff_t decimals = 0;
    if (*at == '.')
    {
        const char* const fraction = ++at;
        for (; isDigit(*at); ++at)
            value = value * 10 + static_cast<std::uint32_t>(*at - '0');
        decimals = at - fraction;
        digits += decimals;
        if (decimals == 0 || !kArithmeticIsExact)
            return nullptr;
    }
    if (digits > kMaxDigits || isPartOfNumber(*at))
        return nullptr;
    const Number magnitude =
        decimals != 0 ? static_cast<Number>(value) / kPowersOfTen[decimals] : static_cast<Number>(value);
    out = isNegative ? -magnitude : magnitude;
    return at;
}

} // namespace db2::json
