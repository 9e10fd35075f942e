// The values of JsonReader: literals, numbers, strings and texts.

#include "JsonReader.h"

#include "NonFinite.h"
#include "NumberToken.h"
#include "PlainText.h"

#include <kqx/UTF8.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace db2::json {
namespace {

/// Longer texts give the memory of their conversion back.
constexpr std::size_t kKeptCharacters = 256 * 1024;

bool isPlain(char c)
{
    return kIsPlain[static_cast<unsigned char>(c)];
}

/// Appends a character that was written as a number.
void appendCharacter(std::wstring& out, std::uint32_t character)
{
    if constexpr (sizeof(wchar_t) > 2)
    {
        out += static_cast<wchar_t>(character);
    }
    else if (character <= 0xFFFF)
    {
        out += static_cast<wchar_t>(character);
    }
    else if (character <= 0x10FFFF)
    {
        out += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
        out += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    }
    else
    {
        out += static_cast<wchar_t>(0xFFFD); // no such text on this platform
    }
}

/// What RapidJSON hands the one string to that it is asked for.
struct StringTaker : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, StringTaker>
{
    explicit StringTaker(std::string& target) : out(target) {}

    bool String(const char* text, rapidjson::SizeType size, bool)
    {
        out.assign(text, size);
        return true;
    }
    bool Default() { return false; }

    std::string& out;
};

} // namespace

bool JsonReader::atNumber()
{
    const char c = next();
    return c == '-' || isDigit(c);
}

std::string_view JsonReader::string(const wchar_t* meaning)
{
    if (next() != '"')
        fail(at_ != end_ ? L"expected %s, which is a string" : L"expected %s, but the file ends here", meaning);
    // Most strings are plain ASCII and need no copy.
    const char* stop = at_ + 1;
    for (;;)
    {
        while (isPlain(*stop))
            ++stop;
        const std::ptrdiff_t seen = stop - at_;
        const bool isMore = stop == end_ && readOn();
        stop = at_ + seen;
        if (!isMore)
            break;
    }
    if (*stop != '"')
        return escapedString();
    const char* const text = std::exchange(at_, stop + 1) + 1;
    return {text, static_cast<std::size_t>(stop - text)};
}

bool JsonReader::tryTwoStrings(std::string_view& first, std::string_view& second)
{
    // What is looked at stands before the null character at the window's end, or is that: each test ends at it.
    if (next() != '[' || at_[1] != '"')
        return false;
    const char* const firstText = at_ + 2;
    const char* at = firstText;
    while (isPlain(*at))
        ++at;
    const char* const firstEnd = at;
    if (at[0] != '"' || at[1] != ',' || at[2] != ' ' || at[3] != '"')
        return false;
    const char* const secondText = at + 4;
    at = secondText;
    while (isPlain(*at))
        ++at;
    if (*at != '"')
        return false;
    first = {firstText, static_cast<std::size_t>(firstEnd - firstText)};
    second = {secondText, static_cast<std::size_t>(at - secondText)};
    open(true);
    levels_[depth_ - 1].count = 2;
    token_ = secondText - 1;
    at_ = at + 1;
    return true;
}

/// The string that stands next, by RapidJSON, which is given all of it at once.
std::string_view JsonReader::escapedString()
{
    for (std::ptrdiff_t offset = 1;; ++offset)
    {
        if (at_ + offset >= end_ && !readOn())
            break;
        const char c = at_[offset];
        if (c == '"' || static_cast<unsigned char>(c) < 0x20) // which RapidJSON does not pass either
            break;
        offset += c == '\\' ? 1 : 0;
    }
    constexpr unsigned kFlags = rapidjson::kParseStopWhenDoneFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::MemoryStream stream(at_, static_cast<std::size_t>(end_ - at_));
    StringTaker taker(string_);
    const rapidjson::ParseResult result = strings_.Parse<kFlags>(stream, taker);
    if (result.IsError())
    {
        token_ = at_ + std::min(result.Offset(), static_cast<std::size_t>(end_ - at_));
        if (token_ != end_ && static_cast<unsigned char>(*token_) < 0x20)
            fail(L"a control character in a string, which must be written as an escape");
        fail(L"%s", widened(rapidjson::GetParseError_En(result.Code())).c_str());
    }
    at_ += stream.Tell();
    return string_;
}

void JsonReader::literal(std::string_view word, const wchar_t* what)
{
    next();
    while (static_cast<std::size_t>(end_ - at_) < word.size())
        if (!readOn())
            break;
    if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(word))
        fail(L"expected %s", what);
    at_ += word.size();
}

void JsonReader::null()
{
    literal("null", L"null");
}

bool JsonReader::boolean()
{
    const bool value = next() == 't';
    literal(value ? "true" : "false", L"true or false");
    return value;
}

std::string_view JsonReader::numberToken(const wchar_t* what)
{
    next();
    std::ptrdiff_t bytes = 0;
    while (isPartOfNumber(at_[bytes]) || (at_ + bytes == end_ && readOn()))
        bytes += isPartOfNumber(at_[bytes]) ? 1 : 0;
    const char* const tokenEnd = findNumberEnd(at_, end_);
    if (tokenEnd == nullptr)
        fail(L"expected %s", what);
    const std::string_view token(at_, static_cast<std::size_t>(tokenEnd - at_));
    at_ = tokenEnd;
    return token;
}

template <class Integer>
Integer JsonReader::integer()
{
    const std::string_view token = numberToken(L"an integer");
    Integer value = 0;
    const auto [stop, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (error == std::errc::result_out_of_range)
        fail(L"the number %s does not fit here", widened(token).c_str());
    if (error != std::errc() || stop != token.data() + token.size())
        fail(L"expected an integer, not %s", widened(token).c_str());
    return value;
}

std::int32_t JsonReader::int32()
{
    return integer<std::int32_t>();
}

std::uint32_t JsonReader::uint32()
{
    return integer<std::uint32_t>();
}

/// Reads the texts of JsonWriter::number(). @return false for any other.
template <class Number>
bool JsonReader::readNonFinite(std::string_view text, Number& out)
{
    using Traits = FloatingPoint<Number>;
    typename Traits::Bits bits = Traits::kExponent;
    if (text == kNaN)
        bits = kPlainNaN<Number>;
    else if (text == kMinusInfinity)
        bits |= Traits::kSign;
    else if (text.starts_with(kNaNWithBits))
    {
        const char* const digits = text.data() + kNaNWithBits.size();
        const char* const textEnd = text.data() + text.size();
        const bool isWhole = textEnd - digits == kHexDigits<typename Traits::Bits>;
        if (!isWhole || std::from_chars(digits, textEnd, bits, 16).ptr != textEnd ||
            (bits & ~Traits::kSign) <= Traits::kExponent)
            return false;
    }
    else if (text != kInfinity)
        return false;
    std::memcpy(&out, &bits, sizeof bits);
    return true;
}

template <class Number>
void JsonReader::floatingPoint(Number& out)
{
    if (atString())
    {
        if (!readNonFinite(string(L"a number"), out))
            fail(L"expected a number, \"NaN\", \"Infinity\" or \"-Infinity\"");
        return;
    }
    if (const char* const end = readShortDecimal(at_, out); end != nullptr && end != end_)
    {
        at_ = end;
        return;
    }
    const std::string_view token = numberToken(L"a number");
    if (std::from_chars(token.data(), token.data() + token.size(), out).ec != std::errc())
        fail(L"the number %s does not fit here", widened(token).c_str());
}

void JsonReader::number(float& out)
{
    floatingPoint(out);
}

void JsonReader::number(double& out)
{
    floatingPoint(out);
}

bool JsonReader::tryNumbers(float* out, std::size_t count)
{
    if (next() != '[')
        return false;
    const char* at = at_ + 1;
    for (std::size_t i = 0; i < count; ++i)
    {
        if (i > 0)
        {
            if (at[0] != ',' || at[1] != ' ')
                return false;
            at += 2;
        }
        at = readShortDecimal(at, out[i]);
        if (at == nullptr)
            return false;
    }
    if (*at != ']')
        return false;
    token_ = at;
    at_ = at + 1;
    return true;
}

/// Reads a text that is written as its characters' numbers.
void JsonReader::characters(std::wstring& out)
{
    out.clear();
    out.reserve(countItems().items);
    beginArray();
    while (tryItem())
        appendCharacter(out, uint32());
}

/// @return true when the text is plain ASCII without control characters, as most are.
bool JsonReader::wide(std::wstring& out, const wchar_t* meaning)
{
    if (atArray())
    {
        characters(out);
        return false;
    }
    const std::string_view utf8 = string(meaning);
    const bool isPlainText = utf8.data() != string_.data(); // it stands in the content as it is
    if (isPlainText)
    {
        widen(utf8, out);
        return true;
    }
    out.resize(utf8.size()); // never fewer than the characters
    out.resize(kqx::UCS2FromUTF8(utf8.data(), utf8.size(), out.data()));
    return false;
}

void JsonReader::text(kqx::String& out, const wchar_t* meaning)
{
    static_cast<void>(wide(wide_, meaning));
    out.assign(wide_.data(), wide_.size());
    if (wide_.capacity() > kKeptCharacters)
        std::wstring().swap(wide_);
}

void JsonReader::name(std::wstring& out, const wchar_t* meaning)
{
    if (!wide(out, meaning) && out.find(L'\0') != std::wstring::npos)
        fail(L"%s cannot hold a null character", meaning);
}

} // namespace db2::json
