#include "JsonReader.h"

#include "NonFinite.h"
#include "NumberToken.h"

#include <kqx/UTF8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

namespace db2::json {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Longer texts give the memory of their conversion back.
constexpr std::size_t kKeptCharacters = 256 * 1024;

bool isBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

/// By byte: whether it is a character of a string that stands for itself.
constexpr std::array<bool, 256> kIsPlain = [] {
    std::array<bool, 256> isPlain{};
    for (std::size_t byte = 0x20; byte < 0x7F; ++byte)
        isPlain[byte] = byte != '"' && byte != '\\';
    return isPlain;
}();

std::wstring widened(std::string_view ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::wstring fromUtf8(std::string_view text)
{
    std::wstring out(kqx::UCS2LengthFromUTF8(text.data(), text.size()), L'\0');
    kqx::UCS2FromUTF8(text.data(), text.size(), out.data());
    return out;
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

JsonReader::JsonReader(const char* bytes, std::size_t size)
    : begin_(bytes), end_(bytes + size), at_(bytes), token_(bytes)
{
    if (std::string_view(bytes, size).starts_with(kByteOrderMark))
        at_ = token_ = begin_ += kByteOrderMark.size();
}

// --- Structure ---

/// Goes to the next byte that is not blank. @return it, or 0 at the end.
char JsonReader::next()
{
    while (at_ != end_ && isBlank(*at_))
        ++at_;
    token_ = at_;
    return at_ != end_ ? *at_ : '\0';
}

void JsonReader::expect(char bracket, const wchar_t* what)
{
    if (next() != bracket)
        fail(at_ != end_ ? L"expected %s" : L"expected %s, but the file ends here", what);
    ++at_;
}

void JsonReader::beginObject()
{
    expect('{', L"an object");
    levels_.push_back({});
}

/// Goes over the comma in front of the next entry of the object or array that is open; next() has gone to it.
void JsonReader::separate()
{
    Level& level = levels_.back();
    if (level.count > 0)
    {
        if (at_ == end_ || *at_ != ',')
            expect(',', level.isArray ? L"a comma or the end of the array" : L"a comma or the end of the object");
        ++at_;
        if (next() == (level.isArray ? ']' : '}'))
            fail(L"expected another entry behind the comma");
    }
    ++level.count;
}

void JsonReader::readKey()
{
    separate();
    levels_.back().key = std::string_view();
    key_.assign(string(L"a key"));
    const char* const keyBegin = token_;
    expect(':', L"a colon");
    token_ = keyBegin;
    keyIsRead_ = true;
}

bool JsonReader::tryMember(std::string_view key)
{
    if (!keyIsRead_ && next() == '}')
        return false;
    if (!keyIsRead_)
        readKey();
    if (key_ != key)
        return false;
    keyIsRead_ = false;
    levels_.back().key = key;
    return true;
}

void JsonReader::member(std::string_view key)
{
    if (!tryMember(key))
        fail(L"expected the key \"%s\"", widened(key).c_str());
}

void JsonReader::endObject()
{
    levels_.back().key = std::string_view();
    if (!keyIsRead_ && next() == '}')
    {
        ++at_;
        levels_.pop_back();
        return;
    }
    if (!keyIsRead_)
        readKey();
    fail(L"the key \"%s\" is not known, repeated or out of order", fromUtf8(key_).c_str());
}

void JsonReader::beginArray()
{
    expect('[', L"an array");
    levels_.push_back({std::string_view(), 0, true});
}

bool JsonReader::tryItem()
{
    if (next() == ']')
    {
        ++at_;
        levels_.pop_back();
        return false;
    }
    separate();
    return true;
}

void JsonReader::item(const wchar_t* meaning)
{
    if (next() == ']')
        fail(L"expected %s, but the array ends here", meaning);
    separate();
}

void JsonReader::endArray()
{
    if (!tryItem())
        return;
    next();
    fail(L"the array has too many entries");
}

std::size_t JsonReader::countItems()
{
    if (next() != '[')
        return 0;
    std::size_t commas = 0;
    std::size_t depth = 0;
    bool isEmpty = true;
    for (const char* at = at_; at != end_; ++at)
    {
        switch (*at)
        {
        case ',': commas += depth == 1 ? 1 : 0; break;
        case '[':
        case '{':
            isEmpty = isEmpty && depth == 0;
            ++depth;
            break;
        case ']':
        case '}':
            if (--depth == 0)
                return isEmpty ? 0 : commas + 1;
            break;
        case '"':
            isEmpty = false;
            for (++at; at != end_ && *at != '"'; ++at)
                if (*at == '\\' && ++at == end_)
                    break;
            if (at == end_)
                return commas + 1;
            break;
        default: isEmpty = isEmpty && isBlank(*at);
        }
    }
    return commas + 1;
}

void JsonReader::endDocument()
{
    next();
    if (at_ != end_)
        fail(L"something follows the end of the document");
}

// --- Values ---

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
    const char* const text = at_ + 1;
    const char* stop = text;
    while (stop != end_ && kIsPlain[static_cast<unsigned char>(*stop)])
        ++stop;
    if (stop != end_ && *stop == '"')
    {
        at_ = stop + 1;
        return {text, static_cast<std::size_t>(stop - text)};
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
    const std::string_view token = numberToken(L"a number");
    if (readSmallInteger(token, out))
        return;
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

/// Reads a text that is written as its characters' numbers.
void JsonReader::characters(std::wstring& out)
{
    out.clear();
    out.reserve(countItems());
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
    const bool isPlain = utf8.data() != string_.data(); // it stands in the bytes as it is
    if (isPlain)
    {
        out.assign(utf8.begin(), utf8.end());
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

// --- Messages ---

/// "Line 12, column 9, nodes[3].attributes[0][2]", counting lines and their characters from 1.
std::wstring JsonReader::describePlace() const
{
    const auto line = 1 + std::count(begin_, token_, '\n');
    const char* const lineBegin =
        std::find(std::make_reverse_iterator(token_), std::make_reverse_iterator(begin_), '\n').base();
    const auto column =
        1 + std::count_if(lineBegin, token_, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
    std::wstring place = L"Line " + std::to_wstring(line) + L", column " + std::to_wstring(column);
    std::wstring path;
    for (const Level& level : levels_)
    {
        if (level.isArray && level.count > 0)
            path += L"[" + std::to_wstring(level.count - 1) + L"]";
        else if (!level.key.empty())
            path += (path.empty() ? L"" : L".") + widened(level.key);
    }
    return path.empty() ? place : place + L", " + path;
}

} // namespace db2::json
