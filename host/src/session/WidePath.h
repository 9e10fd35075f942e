#pragma once

#include <kqx/UTF8.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace db2host {

/// A path as the library's streams take it. Not by path::wstring(), which asks the locale where paths are bytes: a program
/// that never chose one could open no file with a name beyond ASCII.
/// Throws std::filesystem::filesystem_error when the bytes are no UTF-8.
inline std::wstring widePath(const std::filesystem::path& file)
{
    const std::u8string utf8 = file.u8string(); // the bytes themselves, where paths are bytes
    const char* const bytes = reinterpret_cast<const char*>(utf8.data());
    std::wstring wide(kqx::UCS2LengthFromUTF8(bytes, utf8.size()), L'\0');
    kqx::UCS2FromUTF8(bytes, utf8.size(), wide.data());
    std::string back(kqx::UTF8Length(wide.data(), wide.size()), '\0');
    kqx::UTF8FromUCS2(wide.data(), wide.size(), back.data());
    if (back != std::string(bytes, utf8.size()))
        throw std::filesystem::filesystem_error("path", file, std::make_error_code(std::errc::illegal_byte_sequence));
    return wide;
}

} // namespace db2host
