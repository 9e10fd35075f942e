#pragma once

#include <cstddef>
#include <cstdint>

namespace kqx {

/// @file
/// The UTF-16 form of the platform's wide text: what is hashed and what 16-bit streams hold, so that a name hashes
/// alike and a file reads alike whatever the size of wchar_t.

/// True for the first half of a surrogate pair; false for what is no 16-bit unit.
[[nodiscard]] constexpr bool isHighSurrogate(std::uint32_t unit) noexcept
{
    return (unit & 0xFFFFFC00u) == 0xD800u;
}

/// True for the second half of a surrogate pair; false for what is no 16-bit unit.
[[nodiscard]] constexpr bool isLowSurrogate(std::uint32_t unit) noexcept
{
    return (unit & 0xFFFFFC00u) == 0xDC00u;
}

/// Hands each 16-bit unit of @p text to @p sink, in order. Where wchar_t has 32 bits, a character above U+FFFF gives
/// its surrogate pair and a value beyond U+10FFFF gives U+FFFD; everything else passes as it stands, unpaired
/// surrogates too.
/// @param text  may hold null characters; may be null when @p characters is 0.
/// @param sink  called with a std::uint16_t.
template <class Sink>
void forEachUtf16Unit(const wchar_t* text, std::size_t characters, Sink sink)
{
    for (std::size_t i = 0; i < characters; ++i)
    {
        const std::uint32_t character = static_cast<std::uint32_t>(text[i]);
        if constexpr (sizeof(wchar_t) > 2)
        {
            if (character > 0xFFFF)
            {
                if (character > 0x10FFFF)
                {
                    sink(std::uint16_t{0xFFFD});
                    continue;
                }
                sink(static_cast<std::uint16_t>(0xD800 + ((character - 0x10000) >> 10)));
                sink(static_cast<std::uint16_t>(0xDC00 + (character & 0x3FF)));
                continue;
            }
        }
        sink(static_cast<std::uint16_t>(character));
    }
}

/// The number of 16-bit units that forEachUtf16Unit() hands out for the same text.
[[nodiscard]] inline std::size_t utf16Length(const wchar_t* text, std::size_t characters)
{
    std::size_t length = 0;
    forEachUtf16Unit(text, characters, [&length](std::uint16_t) { ++length; });
    return length;
}

} // namespace kqx
