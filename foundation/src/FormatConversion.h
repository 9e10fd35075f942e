#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string_view>

/// @file
/// How formatText() reads a conversion of a format. Knows the grammar and no argument.

namespace kqx {

enum class Length
{
    kNone,
    kChar,     ///< hh
    kShort,    ///< h
    kLong,     ///< l
    kLongLong, ///< ll
    kSize,     ///< z
    kPointer,  ///< t
    kMax       ///< j
};

/// A width or precision as the format gives it.
struct FieldNumber
{
    bool isGiven = false;
    bool isArgument = false; ///< written as *
    int value = 0;
};

/// What stands between a % and the end of its conversion.
struct Conversion
{
    bool isLeft = false;      ///< flag -
    bool hasPlus = false;     ///< flag +
    bool hasBlank = false;    ///< flag blank
    bool isAlternate = false; ///< flag #
    bool hasZeros = false;    ///< flag 0
    FieldNumber width;
    FieldNumber precision;
    Length length = Length::kNone;
    wchar_t type = L'\0'; ///< the letter; null when the format ends before it
};

[[nodiscard]] inline bool isOneOf(wchar_t character, std::wstring_view set)
{
    return set.find(character) != std::wstring_view::npos;
}

/// True when the conversion is one that formatText() converts, in a length that it has.
[[nodiscard]] inline bool isKnown(const Conversion& conversion)
{
    const Length length = conversion.length;
    if (isOneOf(conversion.type, L"diuxXo"))
        return true;
    if (isOneOf(conversion.type, L"cfFeEgGaA"))
        return length == Length::kNone || length == Length::kLong;
    if (conversion.type == L's')
        return length == Length::kNone || length == Length::kLong || length == Length::kShort;
    return conversion.type == L'p' && length == Length::kNone;
}

[[nodiscard]] inline bool takeFlag(wchar_t character, Conversion& conversion)
{
    switch (character)
    {
    case L'-': return conversion.isLeft = true;
    case L'+': return conversion.hasPlus = true;
    case L' ': return conversion.hasBlank = true;
    case L'#': return conversion.isAlternate = true;
    case L'0': return conversion.hasZeros = true;
    default: return false;
    }
}

/// Reads digits or a *, if there are any, and saturates.
[[nodiscard]] inline FieldNumber takeFieldNumber(const wchar_t*& at)
{
    FieldNumber number;
    if (*at == L'*')
    {
        ++at;
        number.isGiven = true;
        number.isArgument = true;
        return number;
    }
    std::int64_t value = 0;
    for (; *at >= L'0' && *at <= L'9'; ++at)
    {
        value = std::min<std::int64_t>(value * 10 + (*at - L'0'), INT_MAX);
        number.isGiven = true;
    }
    number.value = static_cast<int>(value);
    return number;
}

[[nodiscard]] inline Length takeLength(const wchar_t*& at)
{
    const wchar_t letter = *at;
    if (!isOneOf(letter, L"hlztj"))
        return Length::kNone;
    ++at;
    const bool isDouble = isOneOf(letter, L"hl") && *at == letter;
    at += isDouble ? 1 : 0;
    switch (letter)
    {
    case L'h': return isDouble ? Length::kChar : Length::kShort;
    case L'l': return isDouble ? Length::kLongLong : Length::kLong;
    case L'z': return Length::kSize;
    case L't': return Length::kPointer;
    default: return Length::kMax;
    }
}

/// Reads what follows a %.
/// @param at  moved to the conversion's letter, which may be the end of the format.
[[nodiscard]] inline Conversion takeConversion(const wchar_t*& at)
{
    Conversion conversion;
    while (takeFlag(*at, conversion))
        ++at;
    conversion.width = takeFieldNumber(at);
    if (*at == L'.')
    {
        ++at;
        conversion.precision = takeFieldNumber(at);
        conversion.precision.isGiven = true; // a point alone is a precision of 0
    }
    conversion.length = takeLength(at);
    conversion.type = *at;
    return conversion;
}

} // namespace kqx
