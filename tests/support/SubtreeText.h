#pragma once

#include <db2/db2.h>

#include <string>
#include <vector>

namespace db2test {

using namespace db2;

/// What becomes of the references that attributes of a subtree hold to attributes outside.
enum class OutsideReferences
{
    kAll,
    kWithoutSingleOutputs, ///< those whose referenced attribute can have no other referencer are left out
    kNone
};

/// A subtree as text, a line a node, an element, an item: what a copy of it has, too. Depths, types, names (the top node's
/// is left out), kinds, metadata, the values that attributes show, and what they reference: inside as "#node.element" by
/// the node's place in the walk, outside by its path. No address is in it, and nothing of who references the subtree.
/// @param withTop  false leaves the top node out, which then counts as outside.
[[nodiscard]] std::vector<std::wstring> subtreeText(const Node& top, bool withTop = true,
                                                    OutsideReferences outside = OutsideReferences::kAll);

} // namespace db2test
