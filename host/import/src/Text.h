#pragma once

#include <kqx/String.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace db2import {

/// Wide text of a reader's bytes.
struct Text
{
    std::wstring wide;
    bool isExact = true; ///< false when bytes that are not UTF-8 became U+FFFD
};

/// @param bytes  should be UTF-8; what is not becomes U+FFFD.
[[nodiscard]] Text textOf(std::string_view bytes);

/// Wide text of what a system or a reader says.
[[nodiscard]] inline std::wstring wideOf(std::string_view bytes)
{
    return textOf(bytes).wide;
}

/// A path as the reader takes it: UTF-8, or on systems whose names are bytes, those.
[[nodiscard]] inline std::string bytesOf(const std::filesystem::path& path)
{
    const std::u8string bytes = path.u8string();
    return {bytes.begin(), bytes.end()};
}

[[nodiscard]] inline kqx::String stringOf(std::wstring_view text)
{
    return kqx::String(text.data(), text.size());
}

} // namespace db2import
