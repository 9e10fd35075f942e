#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Between the wide text of the database and the UTF-8 of the command line and the terminal.
namespace kqdb {

[[nodiscard]] std::string toUtf8(std::wstring_view text);
[[nodiscard]] std::wstring toWide(std::string_view utf8); ///< what is malformed becomes U+FFFD
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// Appends a text for people: control characters, which might be commands to a terminal, as \u001b.
void appendVisibly(std::string& out, std::wstring_view text);
[[nodiscard]] std::string visible(std::wstring_view text);

/// The first @p characters characters of a text in UTF-8, with "..." in place of what is cut off.
[[nodiscard]] std::string shortened(std::string_view utf8, std::size_t characters);

/// "1 node", "2 nodes", "12 345 nodes".
[[nodiscard]] std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural = {});
[[nodiscard]] std::string grouped(std::uint64_t number); ///< "12 345"
[[nodiscard]] std::string byteSize(std::uint64_t bytes); ///< "12.3 KiB"

/// A file from the command line. Throws Failure when the name is no UTF-8.
[[nodiscard]] std::filesystem::path filePath(const std::string& utf8);
[[nodiscard]] std::string fileName(const std::filesystem::path& file);

} // namespace kqdb
