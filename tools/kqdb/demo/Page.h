#pragma once

#include <string>

namespace db2 {
class Node;
}

namespace kqdb {

struct DemoResult;

/// The demonstration as one HTML page, which is well-formed XML, too: it needs no network and no other file, and shows well
/// in a light and in a dark room. The same result gives the same bytes.
[[nodiscard]] std::string demoPage(const DemoResult& result, const db2::Node& root);

// --- Its parts: each an element or several; of very large documents they show the beginning and say so ---

/// The tree, each node to be opened, with its attributes.
[[nodiscard]] std::string treeSection(const db2::Node& root);

/// Which nodes take values from which, as a drawing: the source on the left.
[[nodiscard]] std::string graphSection(const db2::Node& root);

/// The meshes as they stand in the room, as lines; empty when there are none.
[[nodiscard]] std::string sceneSection(const db2::Node& root);

} // namespace kqdb
