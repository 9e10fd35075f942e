#pragma once

#include <string_view>

namespace kqdb {

/// True when the whole text matches the pattern: * stands for any characters, ? for one, anything else for itself. Takes
/// no more than the product of both lengths, and no stack.
[[nodiscard]] bool matches(std::wstring_view pattern, std::wstring_view text);

} // namespace kqdb
