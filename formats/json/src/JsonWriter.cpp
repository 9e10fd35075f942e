#include "JsonWriter.h"

#include "NonFinite.h"
#include "PlainText.h"

#include <kqx/UTF8.h>
#include <kqx/Utf16.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace db2::json {
namespace {

/// Longer texts give the memory of their conversion back.
constexpr std::size_t kKeptTextBytes = 1024 * 1024;

/// What may stand before a value: a comma, a line break, and a blank for each level, which the format has few of.
constexpr std::size_t kSeparatorBytes = 64;

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

// --- Structure ---

/// One blank a level: files are mostly lines four levels deep.
char* JsonWriter::breakLine(char* out) const
{
    assert(depth_ + 2 <= kSeparatorBytes);
    *out++ = '\n';
    std::memset(out, ' ', depth_);
    return out + depth_;
}

/// Writes what stands between a value and what is before it.
void JsonWriter::separate()
{
    if (isBehindKey_ || depth_ == 0)
    {
        isBehindKey_ = false;
        isFirst_ = false;
        return;
    }
    char* out = buffer_.room(kSeparatorBytes);
    if (!isFirst_)
        *out++ = ',';
    if (!inLine_)
        out = breakLine(out);
    else if (!isFirst_)
        *out++ = ' ';
    buffer_.endAt(out);
    isFirst_ = false;
}

void JsonWriter::key(std::string_view name)
{
    char* out = buffer_.room(kSeparatorBytes + name.size() + 4);
    if (!isFirst_)
        *out++ = ',';
    out = breakLine(out);
    *out++ = '"';
    std::memcpy(out, name.data(), name.size());
    out += name.size();
    std::memcpy(out, "\": ", 3);
    buffer_.endAt(out + 3);
    isBehindKey_ = true;
}

void JsonWriter::begin(char bracket)
{
    separate();
    buffer_.Put(bracket);
    ++depth_;
    isFirst_ = true;
}

void JsonWriter::end(char bracket, bool onOneLine)
{
    --depth_;
    char* out = buffer_.room(kSeparatorBytes);
    if (!isFirst_ && !onOneLine)
        out = breakLine(out);
    *out++ = bracket;
    buffer_.endAt(out);
    isFirst_ = false;
}

void JsonWriter::blanks(std::uint64_t count)
{
    for (; count > 0; --count)
        buffer_.Put(' ');
}

void JsonWriter::beginLine()
{
    beginArray();
    inLine_ = true;
}

void JsonWriter::endLine()
{
    endArray();
    inLine_ = false;
}

bool JsonWriter::finish()
{
    buffer_.Put('\n');
    return buffer_.flush();
}

// --- Numbers ---

template <class Integer>
void JsonWriter::integer(Integer value)
{
    separate();
    buffer_.endAt(writeInteger(value, buffer_.room(kLongestNumber)));
}

template void JsonWriter::integer(std::int32_t value);
template void JsonWriter::integer(std::uint32_t value);

template <class Number>
void JsonWriter::floatingPoint(const Number& value)
{
    using Traits = FloatingPoint<Number>;
    typename Traits::Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    const typename Traits::Bits magnitude = bits & ~Traits::kSign;
    if (magnitude < Traits::kExponent)
    {
        separate();
        buffer_.endAt(writeFinite(value, bits != magnitude, buffer_.room(kLongestNumber)));
    }
    else if (magnitude == Traits::kExponent)
        plain(bits == magnitude ? kInfinity : kMinusInfinity);
    else if (bits == kPlainNaN<Number>)
        plain(kNaN);
    else
    {
        char text[kNaNWithBits.size() + kHexDigits<typename Traits::Bits>];
        char* out = std::copy(kNaNWithBits.begin(), kNaNWithBits.end(), text);
        for (int shift = (kHexDigits<typename Traits::Bits> - 1) * 4; shift >= 0; shift -= 4)
            *out++ = "0123456789abcdef"[(bits >> shift) & 0xF];
        plain({text, sizeof text});
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

// --- Texts ---

void JsonWriter::plain(std::string_view text)
{
    separate();
    buffer_.Put('"');
    buffer_.put(text);
    buffer_.Put('"');
}

void JsonWriter::text(std::wstring_view text)
{
    separate();
    if (isPlain(text))
        putPlain(text);
    else if (fitsUtf8(text))
        putUtf8(text);
    else
        putCharacters(text);
}

void JsonWriter::putPlain(std::wstring_view text)
{
    buffer_.Put('"');
    while (!text.empty())
    {
        const std::wstring_view piece = text.substr(0, OutputBuffer::kMostRoom);
        char* const out = buffer_.room(piece.size());
        std::transform(piece.begin(), piece.end(), out, [](wchar_t c) { return static_cast<char>(c); });
        buffer_.endAt(out + piece.size());
        text.remove_prefix(piece.size());
    }
    buffer_.Put('"');
}

void JsonWriter::putUtf8(std::wstring_view text)
{
    utf8_.resize(kqx::UTF8Length(text.data(), text.size()));
    kqx::UTF8FromUCS2(text.data(), text.size(), utf8_.data());
    if (utf8_.size() > std::numeric_limits<rapidjson::SizeType>::max())
        throw std::length_error("JSON string");
    strings_.Reset(buffer_); // for it, each string is a document
    strings_.String(utf8_.data(), static_cast<rapidjson::SizeType>(utf8_.size()));
    if (utf8_.capacity() > kKeptTextBytes)
        std::string().swap(utf8_);
}

void JsonWriter::putCharacters(std::wstring_view text)
{
    buffer_.Put('[');
    bool isFirst = true;
    for (const wchar_t c : text)
    {
        if (!isFirst)
            buffer_.put(", ");
        isFirst = false;
        buffer_.endAt(writeInteger(static_cast<std::uint32_t>(c), buffer_.room(kLongestNumber)));
    }
    buffer_.Put(']');
}

} // namespace db2::json
