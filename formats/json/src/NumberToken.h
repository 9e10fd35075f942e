#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Numbers in the text of a document: where they end, and those that need no conversion by the standard library.
namespace db2::json {

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool isPartOfNumber(char c)
{
    return isDigit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
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

/// Reads the numbers that files are full of, 0 and 1 before all. @return false when it is not a short row of digits.
template <class Number>
[[nodiscard]] bool readSmallInteger(std::string_view token, Number& out)
{
    constexpr std::size_t kMaxDigits = 7; // which any float holds exactly
    if (token.size() > kMaxDigits)
        return false;
    std::int32_t value = 0;
    for (const char c : token)
    {
        if (!isDigit(c))
            return false;
        value = value * 10 + (c - '0');
    }
    out = static_cast<Number>(value);
    return true;
}

} // namespace db2::json
