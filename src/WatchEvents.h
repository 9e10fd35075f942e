#pragma once

#include <atomic>
#include <cstddef>

/// What happens to watches without the layer that lists them. Counted for all trees of the program together, since
/// neither a node nor the core knows the layer, nor the layer the core: a layer that finds a count as it left it has
/// nothing to look after, and one that does not goes through its list.
namespace db2::WatchEvents {

/// Nodes that a core took out of its tree with a watch on them.
inline std::atomic<std::size_t> nodesTakenOut = 0;

/// Watches that were ended by a layer that does not list them.
inline std::atomic<std::size_t> endedElsewhere = 0;

} // namespace db2::WatchEvents
