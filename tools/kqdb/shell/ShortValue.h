#pragma once

#include <db2/Element.h>

#include <cstddef>
#include <string>

namespace kqdb {

/// What an element shows, for people: the text of its value when that is short, else its beginning, or of what holds very
/// many numbers how many they are. Never makes a text much longer than that.
[[nodiscard]] std::string shortValueText(const db2::Element& element, std::size_t characters);

} // namespace kqdb
