#pragma once

#include <kqtl/Export.h>
#include <kqx/String.h>

#include <cstddef>

namespace kqx {

/// @file
/// Numbers as text, alike on every platform and in every locale. Threads: any.

/// Reads a decimal integer: blanks (space, tab, line ends), a sign, digits; stops at the first character that does not
/// fit, so "12abc" is 12. Linear in the text; never fails.
/// @param text  may be null when @p characters is 0.
/// @return the number, or the nearest end of int's range; 0 when there are no digits.
[[nodiscard]] KQ_API int parseInt(const wchar_t* text, std::size_t characters) noexcept;

/// Reads a decimal number as parseInt() does, with a fraction and an exponent: "-.5e2x" is -50. An exponent without
/// digits is not read ("1e+" is 1), and neither are hexadecimal digits or the words inf and nan. Linear in the text;
/// never fails.
/// @param text  may be null when @p characters is 0.
/// @return the double nearest to the text, whatever its length; an infinity beyond the range, a zero below it, each
///         with the text's sign; 0 when there are no digits.
[[nodiscard]] KQ_API double parseDouble(const wchar_t* text, std::size_t characters) noexcept;

/// Appends a number: an int as printf's "%d", a floating-point one as "%g", which is the default of C++ streams: six
/// significant digits, an exponent of two digits or more when it is below -4 or above 5, "inf" and "-inf", "nan"
/// without a sign. Fails as String::append() does.
KQ_API void appendNumber(String& text, int number);
KQ_API void appendNumber(String& text, float number);
KQ_API void appendNumber(String& text, double number);

} // namespace kqx
