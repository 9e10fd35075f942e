#include "JsonWriter.h"

#include "NonFinite.h"

#include <db2/OutputStream.h>

#include <kqx/UTF8.h>
#include <kqx/Utf16.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace db2::json {
namespace {

constexpr unsigned int kIndentation = 1; // blanks a level: files are mostly lines four levels deep

/// Longer texts give the memory of their conversion back.
constexpr std::size_t kKeptTextBytes = 1024 * 1024;

bool isAscii(std::wstring_view text)
{
    for (const wchar_t c : text)
        if (static_cast<std::uint32_t>(c) > 0x7F)
            return false;
    return true;
}

/// Writes the integers that files are full of, 0 and 1 before all, as std::to_chars would, which is slower.
/// @return the end; null when the number is none of them.
template <class Number>
char* writeSmallInteger(Number value, bool isNegative, char* begin, char* end)
{
    constexpr Number kLimit = 100000; // which is shorter with an exponent
    if (isNegative || !(value < kLimit))
        return nullptr;
    const auto integer = static_cast<std::int32_t>(value);
    return static_cast<Number>(integer) == value ? std::to_chars(begin, end, integer).ptr : nullptr;
}

/// False for unpaired surrogates, and, where a character is wide enough for all of Unicode, for any surrogate and for
/// what lies beyond.
bool fitsUtf8(std::wstring_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const auto c = static_cast<std::uint32_t>(text[i]);
        if (c > 0x10FFFF)
            return false;
        if (c < 0xD800 || c > 0xDFFF)
            continue;
        const bool isPair = sizeof(wchar_t) == 2 && kqx::isHighSurrogate(c) && i + 1 < text.size() &&
                            kqx::isLowSurrogate(static_cast<std::uint32_t>(text[i + 1]));
        if (!isPair)
            return false;
        ++i;
    }
    return true;
}

} // namespace

// --- OutputBuffer ---

bool OutputBuffer::flush()
{
    if (isGood_ && used_ > 0)
        isGood_ = stream_.write(bytes_.data(), static_cast<unsigned int>(used_));
    used_ = 0;
    return isGood_;
}

// --- JsonWriter ---

JsonWriter::JsonWriter(OutputStream& stream) : buffer_(stream), writer_(buffer_)
{
    writer_.SetIndent(' ', kIndentation);
}

void JsonWriter::beginLine()
{
    beginArray();
    inLine_ = true;
    putOnOneLine(true);
}

void JsonWriter::endLine()
{
    endArray();
    inLine_ = false;
    putOnOneLine(false);
}

void JsonWriter::putOnOneLine(bool onOneLine)
{
    writer_.SetFormatOptions(onOneLine ? rapidjson::kFormatSingleLineArray : rapidjson::kFormatDefault);
}

bool JsonWriter::finish()
{
    buffer_.Put('\n');
    return buffer_.flush();
}

// --- Values ---

template <class Number>
void JsonWriter::floatingPoint(const Number& value)
{
    using Traits = FloatingPoint<Number>;
    typename Traits::Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    const typename Traits::Bits magnitude = bits & ~Traits::kSign;
    char digits[32]; // the longest double takes 24
    if (magnitude < Traits::kExponent)
    {
        const char* end = writeSmallInteger(value, bits != magnitude, std::begin(digits), std::end(digits));
        if (end == nullptr)
            end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
        writer_.RawValue(digits, static_cast<std::size_t>(end - digits), rapidjson::kNumberType);
    }
    else if (magnitude == Traits::kExponent)
        ascii(bits == magnitude ? kInfinity : kMinusInfinity);
    else if (bits == kPlainNaN<Number>)
        ascii(kNaN);
    else
    {
        constexpr int kDigits = kHexDigits<typename Traits::Bits>;
        char* out = std::copy(kNaNWithBits.begin(), kNaNWithBits.end(), digits);
        for (int shift = (kDigits - 1) * 4; shift >= 0; shift -= 4)
            *out++ = "0123456789abcdef"[(bits >> shift) & 0xF];
        ascii({digits, static_cast<std::size_t>(out - digits)});
    }
}

void JsonWriter::number(const float& value)
{
    floatingPoint(value);
}

void JsonWriter::number(const double& value)
{
    floatingPoint(value);
}

void JsonWriter::text(std::wstring_view text)
{
    if (isAscii(text))
        utf8_.assign(text.begin(), text.end());
    else if (fitsUtf8(text))
    {
        utf8_.resize(kqx::UTF8Length(text.data(), text.size()));
        kqx::UTF8FromUCS2(text.data(), text.size(), utf8_.data());
    }
    else
    {
        beginArray();
        putOnOneLine(true);
        for (const wchar_t c : text)
            number(static_cast<std::uint32_t>(c));
        endArray();
        putOnOneLine(inLine_);
        return;
    }
    if (utf8_.size() > std::numeric_limits<rapidjson::SizeType>::max())
        throw std::length_error("JSON string");
    ascii(utf8_);
    if (utf8_.capacity() > kKeptTextBytes)
        std::string().swap(utf8_);
}

} // namespace db2::json
