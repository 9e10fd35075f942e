#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Texts that stand in a JSON string as they are, which is most of them: ASCII without control characters, quotes and
/// backslashes. They are copied where all others go through RapidJSON.
namespace db2::json {

/// By character.
inline constexpr std::array<bool, 256> kIsPlain = [] {
    std::array<bool, 256> isPlain{};
    for (std::size_t c = 0x20; c < 0x7F; ++c)
        isPlain[c] = c != '"' && c != '\\';
    return isPlain;
}();

[[nodiscard]] inline bool isPlain(std::wstring_view text)
{
    for (const wchar_t c : text)
        if (static_cast<std::uint32_t>(c) >= kIsPlain.size() || !kIsPlain[static_cast<std::size_t>(c)])
            return false;
    return true;
}

/// @param out  keeps its memory.
inline void widen(std::string_view ascii, std::wstring& out)
{
    out.resize(ascii.size());
    for (std::size_t i = 0; i < ascii.size(); ++i)
        out[i] = static_cast<wchar_t>(ascii[i]);
}

[[nodiscard]] inline std::wstring widened(std::string_view ascii)
{
    return {ascii.begin(), ascii.end()};
}

} // namespace db2::json
