#include <kqx/Format.h>

#include <kqx/UTF8.h>

#include "FormatConversion.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>

namespace kqx {

namespace {

/// Of a width and of a number's precision: neither the result nor the work grows by an unchecked number.
constexpr int kMaxFieldCharacters = 4095;

/// Digits behind the point that a double can have at most; whatever a precision asks beyond them are zeros.
constexpr int kMaxFractionDigits = 1074;

// --- Output ---

/// Writes what fits into the buffer and counts everything.
class TextWriter
{
public:
    TextWriter(wchar_t* out, std::size_t capacity) : out_(out), capacity_(capacity) {}

    void put(wchar_t character) { fill(character, 1); }

    void fill(wchar_t character, std::size_t count)
    {
        std::fill_n(out_ + written(), fitting(count), character);
        addLength(count);
    }

    /// @param text  wide characters, or the ASCII characters of a number.
    template <class Character>
    void write(std::basic_string_view<Character> text)
    {
        std::copy_n(text.data(), fitting(text.size()), out_ + written());
        addLength(text.size());
    }

    /// Ends the text.
    /// @return its whole length.
    std::size_t finish()
    {
        if (capacity_ > 0)
            out_[written()] = L'\0';
        return length_;
    }

private:
    [[nodiscard]] std::size_t room() const { return capacity_ > 0 ? capacity_ - 1 : 0; }
    [[nodiscard]] std::size_t written() const { return std::min(length_, room()); }
    [[nodiscard]] std::size_t fitting(std::size_t count) const { return std::min(count, room() - written()); }
    void addLength(std::size_t count) { length_ += std::min(count, SIZE_MAX - length_); }

    wchar_t* out_;
    std::size_t capacity_;   ///< of out_, with the null character
    std::size_t length_ = 0; ///< of the whole text, written or not
};

// --- Formatting ---

/// A number in the parts between which padding and zeros go.
struct NumberParts
{
    std::string_view prefix; ///< sign and 0x
    std::string_view head;
    std::size_t zeros = 0; ///< between head and tail
    std::string_view tail;
};

class Formatter
{
public:
    Formatter(wchar_t* out, std::size_t capacity, std::va_list arguments) : writer_(out, capacity)
    {
        va_copy(arguments_, arguments);
    }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;
    ~Formatter() { va_end(arguments_); }

    std::size_t format(const wchar_t* format);

private:
    void convert(Conversion conversion);
    void convertCharacter(const Conversion& conversion);
    void convertWideText(const Conversion& conversion);
    void convertUtf8Text(const Conversion& conversion);
    void convertSigned(const Conversion& conversion);
    void convertUnsigned(const Conversion& conversion);
    void convertPointer(const Conversion& conversion);
    void convertFloat(const Conversion& conversion);

    void readFieldArguments(Conversion& conversion);
    [[nodiscard]] std::intmax_t readSigned(Length length);
    [[nodiscard]] std::uintmax_t readUnsigned(Length length);

    void writeInteger(const Conversion& conversion, std::string_view prefix, std::uintmax_t magnitude);
    void writeFloat(const Conversion& conversion, std::string_view sign, double magnitude);
    void writeNumber(const Conversion& conversion, const NumberParts& parts, bool mayHaveZeros);

    /// Writes @p length characters by @p write, padded with blanks to the conversion's width.
    template <class Write>
    void writePadded(const Conversion& conversion, std::size_t length, Write write);

    TextWriter writer_;
    std::va_list arguments_;
};

std::size_t Formatter::format(const wchar_t* format)
{
    while (*format != L'\0')
    {
        const wchar_t* const start = format;
        if (*format != L'%')
        {
            while (*format != L'\0' && *format != L'%')
                ++format;
            writer_.write(std::wstring_view(start, static_cast<std::size_t>(format - start)));
            continue;
        }
        ++format;
        if (*format == L'%')
        {
            writer_.put(*format++);
            continue;
        }
        const Conversion conversion = takeConversion(format); // and no argument yet: an unknown one takes none
        if (isKnown(conversion))
        {
            convert(conversion);
            ++format;
            continue;
        }
        // Copied up to its letter, which comes round as ordinary text, or as the % of the next conversion.
        writer_.write(std::wstring_view(start, static_cast<std::size_t>(format - start)));
    }
    return writer_.finish();
}

void Formatter::convert(Conversion conversion)
{
    readFieldArguments(conversion);
    switch (conversion.type)
    {
    case L'c': return convertCharacter(conversion);
    case L's': return conversion.length == Length::kShort ? convertUtf8Text(conversion) : convertWideText(conversion);
    case L'd':
    case L'i': return convertSigned(conversion);
    case L'u':
    case L'x':
    case L'X':
    case L'o': return convertUnsigned(conversion);
    case L'p': return convertPointer(conversion);
    default: return convertFloat(conversion);
    }
}

// --- Arguments ---

/// Replaces each * by its argument: a negative width means the flag -, a negative precision means none.
void Formatter::readFieldArguments(Conversion& conversion)
{
    if (conversion.width.isArgument)
    {
        const int width = va_arg(arguments_, int);
        conversion.isLeft = conversion.isLeft || width < 0;
        conversion.width.value = width < 0 ? -std::max(width, -INT_MAX) : width;
    }
    if (conversion.precision.isArgument)
    {
        conversion.precision.value = va_arg(arguments_, int);
        conversion.precision.isGiven = conversion.precision.value >= 0;
    }
    conversion.width.value = std::min(conversion.width.value, kMaxFieldCharacters);
}

/// An int comes from the list as the platform passes one, so a pointer given for %d prints its low 32 bits: the message
/// texts that do so keep working.
std::intmax_t Formatter::readSigned(Length length)
{
    switch (length)
    {
    case Length::kChar: return static_cast<signed char>(va_arg(arguments_, int));
    case Length::kShort: return static_cast<short>(va_arg(arguments_, int));
    case Length::kLong: return va_arg(arguments_, long);
    case Length::kLongLong: return va_arg(arguments_, long long);
    case Length::kSize: return va_arg(arguments_, std::make_signed_t<std::size_t>);
    case Length::kPointer: return va_arg(arguments_, std::ptrdiff_t);
    case Length::kMax: return va_arg(arguments_, std::intmax_t);
    default: return va_arg(arguments_, int);
    }
}

std::uintmax_t Formatter::readUnsigned(Length length)
{
    switch (length)
    {
    case Length::kChar: return static_cast<unsigned char>(va_arg(arguments_, unsigned int));
    case Length::kShort: return static_cast<unsigned short>(va_arg(arguments_, unsigned int));
    case Length::kLong: return va_arg(arguments_, unsigned long);
    case Length::kLongLong: return va_arg(arguments_, unsigned long long);
    case Length::kSize: return va_arg(arguments_, std::size_t);
    case Length::kPointer: return va_arg(arguments_, std::make_unsigned_t<std::ptrdiff_t>);
    case Length::kMax: return va_arg(arguments_, std::uintmax_t);
    default: return va_arg(arguments_, unsigned int);
    }
}

// --- Texts ---

template <class Write>
void Formatter::writePadded(const Conversion& conversion, std::size_t length, Write write)
{
    const std::size_t width = static_cast<std::size_t>(conversion.width.value);
    const std::size_t padding = width > length ? width - length : 0;
    writer_.fill(L' ', conversion.isLeft ? 0 : padding);
    write();
    writer_.fill(L' ', conversion.isLeft ? padding : 0);
}

/// The length of a text that ends with a null character or, with a precision, after that many units: nothing behind is
/// read.
template <class Character>
std::size_t boundedLength(const Character* text, const FieldNumber& precision)
{
    if (!precision.isGiven)
        return std::char_traits<Character>::length(text);
    std::size_t length = 0;
    while (length < static_cast<std::size_t>(precision.value) && text[length] != Character())
        ++length;
    return length;
}

void Formatter::convertCharacter(const Conversion& conversion)
{
    // A wchar_t is passed as the int or unsigned int that it is promoted to.
    const wchar_t character = static_cast<wchar_t>(va_arg(arguments_, int));
    writePadded(conversion, 1, [&] { writer_.put(character); });
}

void Formatter::convertWideText(const Conversion& conversion)
{
    const wchar_t* const argument = va_arg(arguments_, const wchar_t*);
    const wchar_t* const text = argument != nullptr ? argument : L"(null)";
    const std::size_t length = boundedLength(text, conversion.precision);
    writePadded(conversion, length, [&] { writer_.write(std::wstring_view(text, length)); });
}

void Formatter::convertUtf8Text(const Conversion& conversion)
{
    const char* const argument = va_arg(arguments_, const char*);
    const char* const text = argument != nullptr ? argument : "(null)";
    const std::size_t bytes = boundedLength(text, conversion.precision);
    writePadded(conversion, UCS2LengthFromUTF8(text, bytes), [&] {
        // Character by character, so that a text of any length needs no buffer.
        const char* at = text;
        while (at != text + bytes)
        {
            const char* const start = at;
            nextUTF8Character(at, text + bytes);
            wchar_t units[2];
            const std::size_t count = UCS2FromUTF8(start, static_cast<std::size_t>(at - start), units);
            writer_.write(std::wstring_view(units, count));
        }
    });
}

// --- Numbers ---

std::string_view viewOf(const char* begin, const char* end)
{
    return {begin, static_cast<std::size_t>(end - begin)};
}

std::string_view signOf(const Conversion& conversion, bool isNegative)
{
    if (isNegative)
        return "-";
    if (conversion.hasPlus)
        return "+";
    return conversion.hasBlank ? " " : "";
}

void makeUpperCase(char* begin, char* end)
{
    std::transform(begin, end, begin, [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
    });
}

int clampedPrecision(const Conversion& conversion, int defaultPrecision)
{
    return conversion.precision.isGiven ? std::min(conversion.precision.value, kMaxFieldCharacters) : defaultPrecision;
}

void Formatter::writeNumber(const Conversion& conversion, const NumberParts& parts, bool mayHaveZeros)
{
    const std::size_t length = parts.prefix.size() + parts.head.size() + parts.zeros + parts.tail.size();
    const std::size_t width = static_cast<std::size_t>(conversion.width.value);
    const bool hasZeros = mayHaveZeros && conversion.hasZeros && !conversion.isLeft && width > length;
    writePadded(conversion, hasZeros ? width : length, [&] {
        writer_.write(parts.prefix);
        writer_.fill(L'0', hasZeros ? width - length : 0);
        writer_.write(parts.head);
        writer_.fill(L'0', parts.zeros);
        writer_.write(parts.tail);
    });
}

void Formatter::convertSigned(const Conversion& conversion)
{
    const std::intmax_t value = readSigned(conversion.length);
    const std::uintmax_t bits = static_cast<std::uintmax_t>(value);
    writeInteger(conversion, signOf(conversion, value < 0), value < 0 ? 0 - bits : bits);
}

void Formatter::convertUnsigned(const Conversion& conversion)
{
    const std::uintmax_t value = readUnsigned(conversion.length);
    const bool hasPrefix = conversion.isAlternate && value != 0;
    const std::string_view prefix = conversion.type == L'x' ? "0x" : conversion.type == L'X' ? "0X" : "";
    writeInteger(conversion, hasPrefix ? prefix : "", value);
}

void Formatter::convertPointer(const Conversion& conversion)
{
    const void* const pointer = va_arg(arguments_, const void*);
    writeInteger(conversion, "0x", reinterpret_cast<std::uintptr_t>(pointer));
}

void Formatter::writeInteger(const Conversion& conversion, std::string_view prefix, std::uintmax_t magnitude)
{
    const int base = conversion.type == L'o' ? 8 : isOneOf(conversion.type, L"xXp") ? 16 : 10;
    char buffer[32];
    char* end = std::to_chars(buffer, std::end(buffer), magnitude, base).ptr;
    if (conversion.type == L'X')
        makeUpperCase(buffer, end);
    if (magnitude == 0 && conversion.precision.isGiven && conversion.precision.value == 0)
        end = buffer; // zero with a precision of 0 has no digits

    NumberParts parts;
    parts.prefix = prefix;
    parts.tail = viewOf(buffer, end);
    const std::size_t digits = static_cast<std::size_t>(clampedPrecision(conversion, 0));
    parts.zeros = digits > parts.tail.size() ? digits - parts.tail.size() : 0;
    const bool startsWithZero = parts.zeros > 0 || (!parts.tail.empty() && parts.tail.front() == '0');
    if (conversion.type == L'o' && conversion.isAlternate && !startsWithZero)
        parts.zeros = 1;
    writeNumber(conversion, parts, !conversion.precision.isGiven);
}

void Formatter::convertFloat(const Conversion& conversion)
{
    const double value = va_arg(arguments_, double);
    const bool isUpper = isOneOf(conversion.type, L"FEGA");
    // The sign of a NaN differs between processors, so it has none.
    const std::string_view sign = signOf(conversion, std::signbit(value) && !std::isnan(value));
    if (std::isfinite(value))
        return writeFloat(conversion, sign, std::fabs(value));

    NumberParts parts;
    parts.prefix = sign;
    parts.head = std::isnan(value) ? (isUpper ? "NAN" : "nan") : (isUpper ? "INF" : "inf");
    writeNumber(conversion, parts, false);
}

/// The decimal exponent that @p magnitude has when it is written with @p digits significant ones.
int decimalExponent(double magnitude, int digits)
{
    char buffer[kMaxFractionDigits + 32];
    const char* const end = std::to_chars(buffer, std::end(buffer), magnitude, std::chars_format::scientific,
                                          std::min(digits - 1, kMaxFractionDigits))
                                .ptr;
    const char* exponent = std::find(static_cast<const char*>(buffer), end, 'e') + 1;
    if (*exponent == '+')
        ++exponent; // which from_chars does not take
    int value = 0;
    std::from_chars(exponent, end, value);
    return value;
}

/// What a floating-point conversion comes down to.
struct FloatStyle
{
    std::chars_format format;
    int precision;
    bool keepsZeros; ///< %g drops the zeros at the end of a fraction unless it is told to keep them
};

FloatStyle styleOf(const Conversion& conversion, double magnitude)
{
    constexpr int kDefaultPrecision = 6;
    const int precision = clampedPrecision(conversion, kDefaultPrecision);
    switch (conversion.type)
    {
    case L'f':
    case L'F': return {std::chars_format::fixed, precision, true};
    case L'e':
    case L'E': return {std::chars_format::scientific, precision, true};
    case L'a':
    case L'A': return {std::chars_format::hex, precision, true};
    default: break;
    }
    const int digits = std::max(precision, 1);
    if (!conversion.isAlternate)
        return {std::chars_format::general, digits, false};
    // With the zeros kept, %g is one of the two others, chosen by the exponent.
    const int exponent = decimalExponent(magnitude, digits);
    if (exponent >= -4 && exponent < digits)
        return {std::chars_format::fixed, digits - 1 - exponent, true};
    return {std::chars_format::scientific, digits - 1, true};
}

/// The characters of a finite number without its sign: mantissa and exponent, the latter empty for %f.
class FloatText
{
public:
    FloatText(double magnitude, const FloatStyle& style, bool isShortest)
    {
        char* const last = std::end(buffer_) - 1; // leaves room for a point
        const int precision = std::min(style.precision, kMaxFractionDigits);
        end_ = isShortest ? std::to_chars(buffer_, last, magnitude, style.format).ptr
                          : std::to_chars(buffer_, last, magnitude, style.format, precision).ptr;
        exponent_ = std::find(buffer_, end_, style.format == std::chars_format::hex ? 'p' : 'e');
        if (style.keepsZeros && !isShortest)
            zeros_ = static_cast<std::size_t>(style.precision - precision);
    }

    /// Ends the mantissa with a point if it has none.
    void addPoint()
    {
        if (std::find(buffer_, exponent_, '.') != exponent_)
            return;
        std::copy_backward(exponent_, end_, end_ + 1);
        *exponent_++ = '.';
        ++end_;
    }

    void toUpperCase() { makeUpperCase(buffer_, end_); }

    [[nodiscard]] std::string_view mantissa() const { return viewOf(buffer_, exponent_); }
    [[nodiscard]] std::string_view exponent() const { return viewOf(exponent_, end_); }

    /// Zeros that belong between the two.
    [[nodiscard]] std::size_t zeros() const { return zeros_; }

private:
    static constexpr int kMaxIntegerDigits = 309;
    static constexpr int kPointAndExponent = 8;

    char buffer_[kMaxIntegerDigits + kMaxFractionDigits + kPointAndExponent];
    char* exponent_;
    char* end_;
    std::size_t zeros_ = 0;
};

void Formatter::writeFloat(const Conversion& conversion, std::string_view sign, double magnitude)
{
    const FloatStyle style = styleOf(conversion, magnitude);
    const bool isHex = style.format == std::chars_format::hex;
    const bool isUpper = isOneOf(conversion.type, L"FEGA");

    FloatText text(magnitude, style, isHex && !conversion.precision.isGiven);
    if (conversion.isAlternate)
        text.addPoint();
    if (isUpper)
        text.toUpperCase();

    char prefix[3]; // sign and 0x
    char* prefixEnd = std::copy(sign.begin(), sign.end(), prefix);
    if (isHex)
        prefixEnd = std::copy_n(isUpper ? "0X" : "0x", 2, prefixEnd);
    writeNumber(conversion, {viewOf(prefix, prefixEnd), text.mantissa(), text.zeros(), text.exponent()}, true);
}

} // namespace

std::size_t formatText(wchar_t* out, std::size_t capacity, const wchar_t* format, std::va_list arguments)
{
    return Formatter(out, capacity, arguments).format(format != nullptr ? format : L"");
}

std::size_t formatTextOf(wchar_t* out, std::size_t capacity, const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = formatText(out, capacity, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace kqx
