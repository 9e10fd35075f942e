#pragma once

#include <kqtl/Export.h>

#include <cstddef>

namespace kqx {

/// @file
/// Between the platform's wide text and UTF-8. Both directions take every input: what is malformed becomes U+FFFD.
/// The wide side takes surrogate pairs where wchar_t has 32 bits, too, so text from either kind of platform gives the
/// same bytes. Each conversion comes with the function that measures its result, and neither writes a null character.
/// Cost: one pass. Threads: any.

/// The number of bytes that UTF8FromUCS2() writes for the same text.
/// @param text  may hold null characters; may be null when @p characters is 0.
[[nodiscard]] KQ_API std::size_t UTF8Length(const wchar_t* text, std::size_t characters) noexcept;

/// Writes the UTF-8 form of wide text. A surrogate pair becomes one sequence of four bytes; an unpaired surrogate and a
/// 32-bit value above U+10FFFF become U+FFFD.
/// @param out  room for UTF8Length() bytes; no null character is written behind them.
/// @return the number of bytes written.
KQ_API std::size_t UTF8FromUCS2(const wchar_t* text, std::size_t characters, char* out) noexcept;

/// The number of wide characters that UCS2FromUTF8() writes for the same bytes.
/// @param text  may hold null characters; may be null when @p bytes is 0.
[[nodiscard]] KQ_API std::size_t UCS2LengthFromUTF8(const char* text, std::size_t bytes) noexcept;

/// Writes the platform's wide form of UTF-8: a character above U+FFFF becomes a surrogate pair where wchar_t has 16
/// bits and one unit where it has 32. Malformed input (overlong forms, surrogates, values above U+10FFFF, cut
/// sequences, stray bytes) becomes one U+FFFD for each maximal ill-formed subsequence, as the Unicode Standard
/// recommends in chapter 3.9.
/// @param out  room for UCS2LengthFromUTF8() characters; no null character is written behind them.
/// @return the number of wide characters written.
KQ_API std::size_t UCS2FromUTF8(const char* text, std::size_t bytes, wchar_t* out) noexcept;

/// Reads one character of UTF-8, for whoever goes through a text step by step.
/// @param at   moved behind the character, or behind the maximal ill-formed subsequence that stands there.
/// @param end  behind @p at.
/// @return the character; U+FFFD for what is malformed.
KQ_API char32_t nextUTF8Character(const char*& at, const char* end) noexcept;

} // namespace kqx
