#pragma once

#include <set>
#include <string>

namespace db2 {
class Node;
} // namespace db2

namespace kqdb {

/// What a document has that the library knows nothing of, by its names.
struct UnknownNames
{
    std::set<std::wstring> types;
    std::set<std::wstring> modules;
};

/// The types of unknown and legacy nodes from @p root down, and the modules of the unknown ones. Cost: the whole tree.
[[nodiscard]] UnknownNames unknownNames(const db2::Node& root);

} // namespace kqdb
