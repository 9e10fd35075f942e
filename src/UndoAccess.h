#pragma once

#include <db2/CoreManager.h>

#include <utility>

namespace db2 {

/// The core's services for undo, which no host may call: destroyed objects are archived instead of freed, come back with
/// the next creation, or are destroyed for good.
///
/// Order of calls: archive, then the destroy; later either resurrect, then the creation (and takeBack when that was
/// refused), or finalDestroy, after which the next commit frees the object.
class UndoAccess
{
public:
    UndoAccess() = delete;

    // --- Nodes ---

    /// Marks the node as held by undo. @return false, changing nothing, when memory for the archive is out.
    [[nodiscard]] static bool archiveNode(CoreManager& core, Node& node) { return core.undo_archiveNode(node); }
    /// Takes the mark off again, when the destroy failed.
    static void cancelArchiveNode(CoreManager& core, Node& node) { core.undo_cancelArchiveNode(node); }
    /// The next creation of a node brings this one back, with its values, instead of making one.
    static void resurrectNode(CoreManager& core, Node& node) { core.pendingNode_ = &node; }
    /// Stays archived. @return the node that no creation has brought back; null when one did.
    static Node* takeBackNode(CoreManager& core) { return std::exchange(core.pendingNode_, nullptr); }
    /// Leaves the node to the next commit; touches neither parent nor siblings.
    static void finalDestroyNode(CoreManager& core, Node& node) { core.finalDestroyNode(node); }

    // --- Dynamic elements, alike ---

    [[nodiscard]] static bool archiveElement(CoreManager& core, Element& element)
    {
        return core.undo_archiveDynamicElement(element);
    }
    static void cancelArchiveElement(CoreManager& core, Element& element) { core.undo_cancelArchiveElement(element); }
    static void resurrectElement(CoreManager& core, Element& element) { core.pendingElement_ = &element; }
    static Element* takeBackElement(CoreManager& core) { return std::exchange(core.pendingElement_, nullptr); }
    static void finalDestroyElement(CoreManager& core, Element& element) { core.finalDestroyDynamicElement(element); }
};

} // namespace db2
