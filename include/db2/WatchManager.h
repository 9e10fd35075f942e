#pragma once

#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/ForwardingLayer.h>

#include <kqx/Anchor.h>

#include <cstddef>
#include <unordered_map>

namespace db2 {

/// Tells the host whether anything changed in the subtrees that it watches.
/// Calls nobody: the host asks hasWatchedNodeChanged() when it likes and arms the watch again with resetWatch(). Sees
/// only edits that pass through it; what an inner layer edits by itself leaves no mark. A watch survives commits; it ends
/// by removeWatch(), with the node's destruction (at the next commit when an inner layer destroyed it) or by db_clear.
/// A creation that the next layer refuses writes null to its out-argument.
/// A copy has the same watches, whose marks stand on the nodes: use one of the two.
/// Of two layers for one tree, ask the one that started a watch to enable and reset it.
/// Cost: while a watch is armed, one step an ancestor of what an edit touches, however many watches there are. A commit
/// costs nothing but behind a destruction further in of a node with a watch: then one pass over the watches.
/// Threads: the editing thread only.
class DB2_API WatchManager : public ForwardingLayer
{
public:
    explicit WatchManager(DataInterface* nextLayer);

    /// The metadata flag whose elements mark no watch when they are edited.
    [[nodiscard]] static constexpr unsigned int getExcludeFromWatchElementMetaDataFlag()
    {
        return ElementMetaDataFlag::kNotWatched;
    }

    // --- Watches ---

    /// Starts an armed watch on a node.
    /// @return kAlreadyWatched, changing nothing; kFailure for null or when memory is out.
    Status addWatch(Node* node);

    /// @return kRemoveUnwatched for null and for a node without a watch.
    Status removeWatch(Node* node);

    /// Lets edits mark the watch, or not. What was marked stays marked, and what was missed stays missed.
    /// @return kEnableUnwatched for null and for a node without a watch.
    Status enableWatch(Node* node, bool enable);

    /// Arms a watch again. @return kFailure for null, kResetUnwatched for a node without a watch.
    Status resetWatch(Node* node);

    /// False for null.
    [[nodiscard]] bool isNodeWatched(const Node* node) const;

    /// True when the subtree changed since the watch was armed; false for null and for a node without a watch.
    [[nodiscard]] bool hasWatchedNodeChanged(const Node* node) const;

    // --- Edits this layer acts on, in slot order; the others pass through ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    /// Ends the node's own watch first.
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
    /// Marks what the node leaves and what it comes to. @return kNullNodeToReparent for null, without forwarding.
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override;
    Status db_reorderNode(Node* node, Node* next) override;
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override;
    Status db_destroyDynamicElement(Element* element) override;
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override;
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    Status db_destroyReference(Attribute* referencer) override;
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    /// Ends all watches, then forwards.
    Status db_clear() override;

private:
    struct Watch
    {
        kqx::AnchorHandle<Node> handle; ///< null once the node was destroyed
        bool countsAsArmed = false;     ///< in armed_
    };
    using Watches = std::unordered_map<Node*, Watch>;

    Status markIfDone(Status status, Node* node);
    Status markIfDone(Status status, const Element* element);
    void updateWatchedNodes(Node* touched);
    void updateWatchedNodes(const Element& touched);
    void countArmed(const Node& node);
    Watches::iterator drop(Watches::iterator watch);
    void endWatch(Node& node);
    void endLostWatches();
    [[nodiscard]] Node* findNode(const Watches::value_type& watch) const;

    /// The nodes with NodeFlag::kWatched that this layer set, and maybe some whose watch another layer ended; its order
    /// is not used.
    Watches watched_;
    std::size_t armed_ = 0;      ///< watches that edits may have to mark; never fewer than there are
    std::size_t nodesTakenOut_;  ///< how far the program had counted when the list was last gone through
    std::size_t endedElsewhere_; ///< likewise
};

} // namespace db2
