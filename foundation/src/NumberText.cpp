#include <kqx/NumberText.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <system_error>

namespace kqx {

namespace {

/// A position in wide text that reads a null character, which no number holds, at the end.
class Reader
{
public:
    Reader(const wchar_t* text, std::size_t characters) : at_(text), end_(text + characters) {}

    [[nodiscard]] wchar_t peek() const { return at_ != end_ ? *at_ : L'\0'; }
    void skip() { ++at_; }

    [[nodiscard]] bool isAtDigit() const { return peek() >= L'0' && peek() <= L'9'; }

    /// Needs isAtDigit().
    [[nodiscard]] int takeDigit() { return static_cast<int>(*at_++ - L'0'); }

    void skipBlanks()
    {
        while (peek() == L' ' || (peek() >= L'\t' && peek() <= L'\r'))
            skip();
    }

    /// Takes a sign if there is one.
    /// @return true for a minus.
    [[nodiscard]] bool takeSign()
    {
        const bool isNegative = peek() == L'-';
        if (isNegative || peek() == L'+')
            skip();
        return isNegative;
    }

private:
    const wchar_t* at_;
    const wchar_t* end_;
};

/// Enough to decide the rounding of every double: the point halfway between two has at most 767 significant digits.
constexpr std::size_t kMaxDigits = 780;

/// Where a written exponent stops growing: no text in memory is long enough to bring it back into range, and neither
/// the next digit nor the length of a text overflows it.
constexpr std::int64_t kMaxExponent = std::int64_t{1} << 58;

/// A decimal number as it is read: 0.DIGITS x 10^exponent, without leading zeros.
class Decimal
{
public:
    /// Takes the next digit of the number, before or behind its point.
    void addDigit(int digit, bool isFraction)
    {
        isEmpty_ = false;
        if (count_ == 0 && digit == 0)
        {
            exponent_ -= isFraction ? 1 : 0;
            return;
        }
        exponent_ += isFraction ? 0 : 1;
        if (count_ < kMaxDigits)
            digits_[count_++] = static_cast<char>('0' + digit);
        else
            isCut_ = isCut_ || digit != 0;
    }

    void addExponent(std::int64_t exponent) { exponent_ += exponent; }

    [[nodiscard]] bool isEmpty() const { return isEmpty_; }

    /// The nearest double; an infinity beyond the range.
    [[nodiscard]] double value();

private:
    static constexpr std::size_t kExponentRoom = 16; ///< "1e-2000" and the like behind the digits

    char digits_[kMaxDigits + kExponentRoom];
    std::size_t count_ = 0;
    std::int64_t exponent_ = 0;
    bool isEmpty_ = true; ///< no digit was read, not even a zero
    bool isCut_ = false;  ///< digits that are not all zero did not fit
};

double Decimal::value()
{
    // Beyond these limits there is nothing to round, and within them the exponent is short.
    constexpr std::int64_t kLargestExponent = std::numeric_limits<double>::max_exponent10 + 1;
    constexpr std::int64_t kSmallestExponent = -330;
    if (count_ == 0 || exponent_ < kSmallestExponent)
        return 0.0;
    if (exponent_ > kLargestExponent)
        return std::numeric_limits<double>::infinity();

    char* end = digits_ + count_;
    if (isCut_)
        *end++ = '1'; // stands for all that was cut: enough to tell a number above the halfway point from one on it
    // At least that many digits, so that std::from_chars goes its exact way: a shorter number it may multiply in
    // floating point, which rounds twice where the processor computes with more digits than a double has.
    constexpr std::size_t kExactDigits = 20;
    while (end < digits_ + kExactDigits)
        *end++ = '0';
    const std::int64_t exponent = exponent_ - (end - digits_);
    *end++ = 'e';
    end = std::to_chars(end, std::end(digits_), exponent).ptr;

    double number = 0.0;
    const std::from_chars_result result = std::from_chars(digits_, end, number);
    if (result.ec == std::errc::result_out_of_range)
        return exponent_ > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return number;
}

/// Reads the exponent that may follow a number; 0 when there is none, and nothing is read then that matters.
std::int64_t takeExponent(Reader& reader)
{
    if (reader.peek() != L'e' && reader.peek() != L'E')
        return 0;
    reader.skip();
    const bool isNegative = reader.takeSign();
    std::int64_t exponent = 0;
    while (reader.isAtDigit())
        exponent = std::min(exponent * 10 + reader.takeDigit(), kMaxExponent);
    return isNegative ? -exponent : exponent;
}

void appendAscii(String& text, const char* begin, const char* end)
{
    wchar_t wide[32]; // longer than any number that is written here
    wchar_t* const wideEnd = std::copy(begin, end, wide);
    text.append(wide, static_cast<std::size_t>(wideEnd - wide));
}

} // namespace

int parseInt(const wchar_t* text, std::size_t characters) noexcept
{
    Reader reader(text, characters);
    reader.skipBlanks();
    const bool isNegative = reader.takeSign();

    // Collected as the negative number, whose range is the larger one.
    constexpr std::int64_t kMin = std::numeric_limits<int>::min();
    std::int64_t negated = 0;
    while (reader.isAtDigit())
        negated = std::max(negated * 10 - reader.takeDigit(), kMin);
    return static_cast<int>(isNegative ? negated : std::min<std::int64_t>(-negated, std::numeric_limits<int>::max()));
}

double parseDouble(const wchar_t* text, std::size_t characters) noexcept
{
    Reader reader(text, characters);
    reader.skipBlanks();
    const bool isNegative = reader.takeSign();

    Decimal decimal;
    while (reader.isAtDigit())
        decimal.addDigit(reader.takeDigit(), false);
    if (reader.peek() == L'.')
    {
        reader.skip();
        while (reader.isAtDigit())
            decimal.addDigit(reader.takeDigit(), true);
    }
    if (decimal.isEmpty())
        return 0.0; // a sign alone is no number, and gives no negative zero
    decimal.addExponent(takeExponent(reader));
    return isNegative ? -decimal.value() : decimal.value();
}

void appendNumber(String& text, int number)
{
    char digits[16];
    appendAscii(text, digits, std::to_chars(digits, std::end(digits), number).ptr);
}

void appendNumber(String& text, float number)
{
    appendNumber(text, static_cast<double>(number));
}

void appendNumber(String& text, double number)
{
    if (std::isnan(number))
    {
        text.append(L"nan"); // the sign of a NaN differs between processors
        return;
    }
    constexpr int kSignificantDigits = 6;
    char digits[32];
    appendAscii(text, digits,
                std::to_chars(digits, std::end(digits), number, std::chars_format::general, kSignificantDigits).ptr);
}

} // namespace kqx
