#pragma once

#include <kqtl/Export.h>

#include <cstdarg>
#include <cstddef>

namespace kqx {

/// @file
/// printf for wide text, alike on every platform and in every locale. The platforms' own functions disagree on %s, ask
/// the locale for the decimal point and may refuse or misread a conversion that they do not know, which fixed message
/// texts hold ("duplicate module '%'").
///
/// Conversions: d i u x X o c s p f F e E g G a A and %%; flags "-+ #0"; width and precision, also as *; lengths hh h l
/// ll z t j for integers. They mean what they mean to printf, and
/// - %s and %ls take a const wchar_t*, %hs a const char* to UTF-8 (its precision counts bytes); null prints "(null)";
/// - %c takes one wide character; %p prints 0x and lower-case digits, of null too; a NaN never has a minus;
/// - what is not listed (%n among it) and what the end of the format cuts off is copied as it stands and takes no
///   argument;
/// - width, and the precision of a number, count up to 4095, the least that the C standard asks of printf.
/// As with printf, the arguments must fit the conversions in number and size.
/// Cost: in proportion to the capacity and the texts, whatever the widths; nothing is allocated. Threads: any.

/// Formats into @p out: at most @p capacity - 1 characters and a null character behind them; nothing when @p capacity
/// is 0, where @p out may be null.
/// @param format     null counts as empty.
/// @param arguments  read through a copy: the caller may go over them again, and calls va_end.
/// @return the characters of the whole text, so a result >= @p capacity means that it was cut.
KQ_API std::size_t formatText(wchar_t* out, std::size_t capacity, const wchar_t* format, std::va_list arguments);

/// formatText() with the arguments in place. A name of its own: where std::va_list is a char*, an overload would take a
/// text for the arguments.
KQ_API std::size_t formatTextOf(wchar_t* out, std::size_t capacity, const wchar_t* format, ...);

} // namespace kqx
