#pragma once

#include <string>

namespace db2test {

/// Two names that differ and have the same hash, which makes them one name wherever uniqueness is checked.
struct NameCollision
{
    std::wstring first;
    std::wstring second;
};

/// The same pair for the whole run: found among four-letter words, of which there are enough for several such pairs.
/// Neither has a digit, so the unique-name rule appends to it.
[[nodiscard]] const NameCollision& nameCollision();

} // namespace db2test
