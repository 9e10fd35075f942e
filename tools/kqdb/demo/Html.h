#pragma once

#include <string>
#include <string_view>

namespace kqdb {

/// A text as it stands between tags and in quoted attributes of HTML and XML: what is special is escaped, and what neither
/// may contain is replaced by U+FFFD.
[[nodiscard]] std::string html(std::string_view utf8);
[[nodiscard]] std::string html(std::wstring_view text);

/// A number for drawings: with one digit behind the point, whatever the locale.
[[nodiscard]] std::string coordinate(double value);

} // namespace kqdb
