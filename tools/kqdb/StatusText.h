#pragma once

#include <db2/Status.h>

#include <string>
#include <string_view>

namespace kqdb {

/// What a status means, for people: "the node still has children". Every status has a text of its own; a number that is
/// none gives "an unknown status".
[[nodiscard]] std::string_view statusText(db2::Status status);

/// The same with the number, which hosts know it by: "the node still has children (status 9)".
[[nodiscard]] std::string describe(db2::Status status);

} // namespace kqdb
