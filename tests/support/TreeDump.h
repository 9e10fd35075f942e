#pragma once

#include <db2/CoreManager.h>

#include <gtest/gtest.h>

#include <string>

namespace db2test {

using namespace db2;

/// How much of a tree a dump holds.
enum class DumpDetail
{
    kEverything,
    kContent ///< without what an edit and its inverse may leave changed: the capacities of arrays, and the order of those
             ///< that reference one attribute
};

/// The tree as text, everything of it that a host can observe: statistics, structure and order, names, types, the flags
/// that say what a node or element is, elements with their metadata, values to the bit, references by path in list
/// order, edge and reference counts. Equal trees give equal texts on every platform; no address is in it but those of a
/// host's setters. Queries that contradict each other (links, look-ups by name, indices) are marked with "!" where they
/// do. Metadata of registered types stands once, behind the tree. What the tree does not lead to (destroyed objects,
/// those that undo holds) is not in it.
/// Cost: in proportion to the tree; beyond that a reference takes one step for each level above its ends and, for its
/// value, each reference behind it. Nothing recurses.
[[nodiscard]] std::wstring dumpTree(const CoreManager& core, DumpDetail detail = DumpDetail::kEverything);

/// One value as dumpTree() writes it: readable, and different whenever a bit differs.
[[nodiscard]] std::wstring dumpValue(const ConstValueHandle& value);

/// "|arm|hand" for a node, "|arm.Float" for an attribute, "|arm:IntItems[2]" for an item; reserved characters in names
/// stand behind a backslash. "|" for the root, empty for null.
[[nodiscard]] std::wstring pathOf(const Node* node);
[[nodiscard]] std::wstring pathOf(const Attribute* attribute);

/// Success when both dumps are equal; else a failure that shows the first line in which they differ.
[[nodiscard]] ::testing::AssertionResult isSameDump(const std::wstring& expected, const std::wstring& actual);

} // namespace db2test
