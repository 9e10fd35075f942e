#pragma once

#include <vector>

namespace db2 {
class NodeRegistry;
class NodeTemplate;
} // namespace db2

namespace kqdb {

/// The types of the module Scene that are registered, in the order of their numbers.
[[nodiscard]] std::vector<const db2::NodeTemplate*> nodeTypes(const db2::NodeRegistry& registry);

} // namespace kqdb
