#include "Text.h"

#include "Failure.h"

#include <kqx/UTF8.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace kqdb {
namespace {

bool isControl(wchar_t c)
{
    const auto code = static_cast<std::uint32_t>(c);
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

} // namespace

std::string toUtf8(std::wstring_view text)
{
    std::string out(kqx::UTF8Length(text.data(), text.size()), '\0');
    kqx::UTF8FromUCS2(text.data(), text.size(), out.data());
    return out;
}

std::wstring toWide(std::string_view utf8)
{
    std::wstring out(kqx::UCS2LengthFromUTF8(utf8.data(), utf8.size()), L'\0');
    kqx::UCS2FromUTF8(utf8.data(), utf8.size(), out.data());
    return out;
}

bool isUtf8(std::string_view bytes)
{
    return toUtf8(toWide(bytes)) == bytes;
}

void appendVisibly(std::string& out, std::wstring_view text)
{
    std::size_t plain = 0; // where what is not appended yet begins
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (!isControl(text[i]))
            continue;
        out += toUtf8(text.substr(plain, i - plain));
        std::array<char, 8> escape;
        std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned int>(text[i]));
        out += escape.data();
        plain = i + 1;
    }
    out += toUtf8(text.substr(plain));
}

std::string visible(std::wstring_view text)
{
    std::string out;
    appendVisibly(out, text);
    return out;
}

std::string shortened(std::string_view utf8, std::size_t characters)
{
    std::size_t count = 0;
    std::size_t cut = utf8.size();
    for (std::size_t i = 0; i < utf8.size(); ++i)
    {
        if ((static_cast<unsigned char>(utf8[i]) & 0xC0) == 0x80)
            continue;
        if (++count + 3 == characters + 1)
            cut = i;
        if (count > characters)
            return std::string(utf8.substr(0, cut)) + "...";
    }
    return std::string(utf8);
}

std::string grouped(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, 1, ' ');
    return digits;
}

std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural)
{
    std::string out = grouped(count) + ' ';
    if (count == 1)
        return out.append(noun);
    return plural.empty() ? out.append(noun) + 's' : out.append(plural);
}

std::string byteSize(std::uint64_t bytes)
{
    constexpr std::array<const char*, 4> kUnits = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024)
        return std::to_string(bytes) + " B";
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; size >= 1024 && unit + 1 < kUnits.size(); ++unit)
        size /= 1024;
    // Tenths by hand, because printf asks the locale for the decimal point.
    const auto tenths = static_cast<std::uint64_t>(size * 10 + 0.5);
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + ' ' + kUnits[unit];
}

std::filesystem::path filePath(const std::string& utf8)
{
    if (!isUtf8(utf8))
        throw Failure(toUtf8(toWide(utf8)) + ": the file's name is not UTF-8");
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string fileName(const std::filesystem::path& file)
{
    const std::u8string text = file.u8string();
    return {text.begin(), text.end()};
}

} // namespace kqdb
