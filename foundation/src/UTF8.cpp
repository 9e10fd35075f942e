#include <kqx/UTF8.h>

#include <kqx/Utf16.h>

#include <cstdint>

namespace kqx {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// Reads one character of wide text and moves @p at behind it; U+FFFD for what is none.
char32_t nextWideCharacter(const wchar_t*& at, const wchar_t* end)
{
    const char32_t unit = static_cast<char32_t>(*at++);
    if (isHighSurrogate(unit))
    {
        if (at == end || !isLowSurrogate(static_cast<char32_t>(*at)))
            return kReplacement;
        const char32_t low = static_cast<char32_t>(*at++);
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    return isLowSurrogate(unit) || unit > 0x10FFFF ? kReplacement : unit;
}

/// Hands the UTF-8 form of @p character to @p sink, byte by byte.
template <class Sink>
void encode(char32_t character, Sink& sink)
{
    const auto continuation = [&](int shift) { sink(static_cast<char>(0x80 | ((character >> shift) & 0x3F))); };
    if (character < 0x80)
    {
        sink(static_cast<char>(character));
    }
    else if (character < 0x800)
    {
        sink(static_cast<char>(0xC0 | (character >> 6)));
        continuation(0);
    }
    else if (character < 0x10000)
    {
        sink(static_cast<char>(0xE0 | (character >> 12)));
        continuation(6);
        continuation(0);
    }
    else
    {
        sink(static_cast<char>(0xF0 | (character >> 18)));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

/// What may follow a first byte. The second byte's range is where overlong forms, surrogates and values above U+10FFFF
/// are told apart; the bytes after it are 80 to BF (the Unicode Standard, table 3-7).
struct Lead
{
    int continuations; ///< 0 for a byte that starts no longer sequence
    std::uint8_t secondMin;
    std::uint8_t secondMax;
};

Lead leadOf(std::uint8_t byte)
{
    if (byte < 0xC2 || byte > 0xF4)
        return {0, 0, 0};
    if (byte < 0xE0)
        return {1, 0x80, 0xBF};
    if (byte < 0xF0)
        return {2, static_cast<std::uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(byte == 0xED ? 0x9F : 0xBF)};
    return {3, static_cast<std::uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<std::uint8_t>(byte == 0xF4 ? 0x8F : 0xBF)};
}

template <class Sink>
void encodeText(const wchar_t* text, std::size_t characters, Sink sink)
{
    const wchar_t* const end = text + characters;
    while (text != end)
        encode(nextWideCharacter(text, end), sink);
}

template <class Sink>
void decodeText(const char* text, std::size_t bytes, Sink sink)
{
    const char* const end = text + bytes;
    while (text != end)
    {
        const char32_t character = nextUTF8Character(text, end);
        if (sizeof(wchar_t) == 2 && character > 0xFFFF)
        {
            sink(static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10)));
            sink(static_cast<wchar_t>(0xDC00 + (character & 0x3FF)));
        }
        else
        {
            sink(static_cast<wchar_t>(character));
        }
    }
}

} // namespace

std::size_t UTF8Length(const wchar_t* text, std::size_t characters) noexcept
{
    std::size_t length = 0;
    encodeText(text, characters, [&length](char) { ++length; });
    return length;
}

std::size_t UTF8FromUCS2(const wchar_t* text, std::size_t characters, char* out) noexcept
{
    char* end = out;
    encodeText(text, characters, [&end](char byte) { *end++ = byte; });
    return static_cast<std::size_t>(end - out);
}

std::size_t UCS2LengthFromUTF8(const char* text, std::size_t bytes) noexcept
{
    std::size_t length = 0;
    decodeText(text, bytes, [&length](wchar_t) { ++length; });
    return length;
}

std::size_t UCS2FromUTF8(const char* text, std::size_t bytes, wchar_t* out) noexcept
{
    wchar_t* end = out;
    decodeText(text, bytes, [&end](wchar_t unit) { *end++ = unit; });
    return static_cast<std::size_t>(end - out);
}

char32_t nextUTF8Character(const char*& at, const char* end) noexcept
{
    const std::uint8_t first = static_cast<std::uint8_t>(*at++);
    if (first < 0x80)
        return first;
    const Lead lead = leadOf(first);
    if (lead.continuations == 0)
        return kReplacement;

    char32_t character = first & (0x3Fu >> lead.continuations);
    std::uint8_t min = lead.secondMin;
    std::uint8_t max = lead.secondMax;
    for (int i = 0; i < lead.continuations; ++i)
    {
        if (at == end)
            return kReplacement;
        const std::uint8_t byte = static_cast<std::uint8_t>(*at);
        if (byte < min || byte > max)
            return kReplacement; // the byte is left for the next call: it may start a character
        character = (character << 6) | (byte & 0x3Fu);
        ++at;
        min = 0x80;
        max = 0xBF;
    }
    return character;
}

} // namespace kqx
