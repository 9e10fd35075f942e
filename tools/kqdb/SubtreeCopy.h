#pragma once

#include <db2/MemoryBlock.h>
#include <db2/Node.h>

#include <string>
#include <vector>

/// Subtrees on their way from one document to another.
namespace kqdb {

class Document;

/// References of the subtrees that lead out of them: each attribute's path. Such an attribute is copied with the value that
/// it shows.
[[nodiscard]] std::vector<std::wstring> outsideReferences(const std::vector<db2::Node*>& roots);

/// The subtrees as the bytes of a document.
/// Throws Failure, about @p source.
void packSubtrees(Document& source, const std::vector<db2::Node*>& roots, db2::MemoryBlock& bytes);

/// Makes the nodes of packed subtrees below @p parent, behind its children; Transforms are connected to those above them.
/// @return the new nodes directly below the parent. Throws Failure, about @p target, which is of no more use then.
std::vector<db2::Node*> unpackSubtrees(const db2::MemoryBlock& bytes, Document& target, db2::Node& parent);

/// The nodes of the paths, without those that stand below another of them. Throws Failure for the root.
[[nodiscard]] std::vector<db2::Node*> resolveSubtrees(Document& document, const std::vector<std::string>& paths);

} // namespace kqdb
