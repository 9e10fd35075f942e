#pragma once

#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/ForwardingLayer.h>
#include <db2/ObserverList.h>
#include <db2/UndoObserver.h>

#include <KQutils/FastHeap.h>
#include <kqtl/pod_vector.h>
#include <kqx/String.h>

#include <cstddef>
#include <deque>
#include <memory>

namespace db2 {

class CoreManager;
class OperationList;
class UndoItem;

/// Records how to take back each edit that succeeds, closes the records of a unit of work at its commit, and replays
/// them: undo, redo, and rollback of what is not committed yet.
/// Reads what an inverse needs before it forwards an edit; without memory for the record the edit is refused with
/// kFailure. Within a unit only an attribute's first value is kept, and values of nodes made in the unit are not: taking
/// back the creation removes them. Nothing of legacy elements is recorded: loaders destroy them past all layers. Destroyed
/// nodes and dynamic elements are held in the core until they come back or their record is dropped.
/// Undo and redo go through this layer and on inward: layers outside it do not see what is replayed.
/// Cost: constant an edit and, when replayed, again; memory as getUndoMemoryInUse() tells, and texts. Threads: the
/// editing thread only.
class DB2_API UndoManager : public ForwardingLayer
{
public:
    static constexpr int kNoLimit = -1;

    /// @param core  the innermost layer of the chain behind @p nextLayer; not owned, and alive until after this layer.
    UndoManager(DataInterface* nextLayer, CoreManager& core);
    UndoManager(const UndoManager&) = delete;
    UndoManager& operator=(const UndoManager&) = delete;
    /// Drops the history, and what is not committed cannot be rolled back any more.
    ~UndoManager() override;

    // --- Undo and redo ---

    [[nodiscard]] bool canUndo() const { return !undoStack_.empty(); }
    [[nodiscard]] bool canRedo() const { return !redoStack_.empty(); }

    /// Takes back the newest item of the undo stack, puts its redo on the redo stack, and forwards a commit.
    /// @return kFailure, changing nothing, when there is none, when something is not committed, while an attribute is
    ///         locked, when memory is out, and when called from within a commit, transient or not, an undo, redo or
    ///         rollback of this layer.
    Status undo();

    /// The same for the redo stack, whose other items stay.
    Status redo();

    /// False when an inverse failed in the last undo, redo or rollback; which one stands in the log as an error. The
    /// others were replayed all the same. A node or element that could not come back stays held: a redo and a further
    /// undo bring it back, or the undo of the unit that drops the redo; after a rollback it stands in the open item.
    [[nodiscard]] bool lastReplayWasComplete() const { return lastReplayWasComplete_; }

    // --- Rollback of what is not committed ---

    /// Remembers how far the open item is. Points end with the next commit or db_clear.
    /// @return the point's number; kNoRollbackPoint when memory is out.
    unsigned int createRollbackPoint();
    static constexpr unsigned int kNoRollbackPoint = 0xFFFFFFFFu;

    /// Takes back what was done since the point, without leaving a redo, and forwards a commit. Point 0 without any point
    /// takes back the whole open item. A value that was first written before the point stays as it is, since only its
    /// first value is known; so does every value of a node that was made in the unit before the point, also when it was
    /// written behind the point.
    /// @return kFailure, changing nothing, when nothing is open; likewise, logged, for a point that does not exist; and
    ///         as undo().
    Status rollback(unsigned int point);

    // --- The stacks: index 0 is the oldest item, -1 the top ---

    [[nodiscard]] unsigned int getUndoStackSize() const { return static_cast<unsigned int>(undoStack_.size()); }
    [[nodiscard]] unsigned int getRedoStackSize() const { return static_cast<unsigned int>(redoStack_.size()); }

    /// The text of the commit that closed the item; empty when there is no such item.
    [[nodiscard]] kqx::String getUndoDescription(int index) const;
    [[nodiscard]] kqx::String getRedoDescription(int index) const;

    /// 0 when there is no such item.
    [[nodiscard]] unsigned int getNumUndoOperations(unsigned int index) const;
    [[nodiscard]] unsigned int getNumRedoOperations(unsigned int index) const;

    /// Bytes of the item's records and plain values; 0 when there is no such item.
    [[nodiscard]] std::size_t getUndoMemoryInUse(unsigned int index) const;
    [[nodiscard]] std::size_t getRedoMemoryInUse(unsigned int index) const;

    /// The number of items kept, 0 for none; a negative number is no limit. Drops the oldest ones beyond it at once.
    void setMaxUndoItems(int limit);
    [[nodiscard]] int getMaxUndoItems() const { return limit_; }

    /// Drops both stacks for good; what they held is freed by the next commit. Does nothing while an item is replayed,
    /// which only a layer further in could ask for.
    void clearUndoHistory();

    // --- Has the document changed? ---

    /// Goes up with each commit that carried edits and each redo, and down with each undo.
    [[nodiscard]] int getRevision() const { return revision_; }
    void setCheckpoint() { checkpoint_ = revision_; } ///< the document is saved as it is now
    [[nodiscard]] bool hasChangedSinceCheckpoint() const { return checkpoint_ != revision_; }

    // --- Observers: not owned; one that comes or goes during a notification does so after it. What one throws is logged
    //     as a warning and ends that notification only ---

    void addObserver(UndoObserver* observer) { observers_.add(observer); }
    void removeObserver(UndoObserver* observer) { observers_.remove(observer); }

    /// The metadata flag whose elements' values are not recorded.
    [[nodiscard]] static constexpr unsigned int getNonUndoableElementMetaDataFlag()
    {
        return ElementMetaDataFlag::kNotUndoable;
    }

    // --- Edits this layer acts on, in slot order; the others pass through ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
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
    /// Closes the open item under the description and drops the redo stack, when the item holds anything. The item stays
    /// open when memory is out and while an attribute is locked, which the next layers refuse. From within a commit,
    /// undo, redo or rollback that is with the next layers, it closes the item only when they accept it.
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    /// The item stays open.
    Status db_commitTransient() override;
    /// Drops the history, the open item and the rollback points, then forwards. What observers of the stacks edit
    /// meanwhile is dropped too, and a commit of theirs is refused with kFailure.
    /// @return kFailure, dropping nothing, from within a commit, undo, redo or rollback.
    Status db_clear() override;

private:
    using ItemStack = std::deque<std::unique_ptr<UndoItem>>; // the limit takes items off its front

    struct RollbackPoint
    {
        unsigned int operations; ///< in the open item
        bool hasMark;            ///< false when the item's heap cannot be rewound to it any more
        KQutils::FastHeap::Mark mark;
    };

    template <class Make, class Edit>
    Status record(Make make, Edit edit);
    template <class Make>
    [[nodiscard]] bool recordForwarded(Make make);
    template <class Create>
    Status createNode(Create create, Node** outNode);
    [[nodiscard]] static bool isExempt(const Element& element);
    [[nodiscard]] static bool isValueExempt(const Element& element);
    Status commitWithin(const wchar_t* description, const wchar_t* file, unsigned int line);
    Status forwardCommit(const wchar_t* description, const wchar_t* file, unsigned int line);
    [[nodiscard]] bool closeUnit(const wchar_t* description);
    [[nodiscard]] bool closeItem(const wchar_t* description);
    void takeOverRefused(UndoItem& item);
    [[nodiscard]] bool canReplay() const;
    Status replayTop(ItemStack& from, ItemStack& to, int revisionStep);
    template <class Keep>
    void replayOperations(UndoItem& item, unsigned int downTo, DataInterface& target, Keep keep);
    void dropStack(ItemStack& stack, void (UndoObserver::*popped)(UndoManager*));
    void dropOperations(UndoItem& item);
    void dropOldest(std::unique_ptr<UndoItem> oldest);
    [[nodiscard]] bool dropAllButRefused(UndoItem& item, OperationList& refused);
    void notify(void (UndoObserver::*member)(UndoManager*));
    void rewindTo(unsigned int point, bool keptAny);
    void applyLimit();
    void renewCurrent();

    ObserverList<UndoObserver> observers_;
    CoreManager& core_;
    std::unique_ptr<UndoItem> current_; ///< the open item; always there
    ItemStack undoStack_;               ///< the top is the last; null where an item is about to stand
    ItemStack redoStack_;               ///< likewise
    kqtl::pod_vector<RollbackPoint> rollbackPoints_;
    int limit_ = kNoLimit;
    int revision_ = 0;
    int checkpoint_ = 0;
    bool busy_ = false;         ///< inside a commit, transient or not, an undo, redo or rollback
    bool isForwarding_ = false; ///< while the next layers are at that commit, or at the one that ends a replay
    bool isReplaying_ = false;  ///< while operations are taken back, within that
    bool isClearing_ = false;   ///< while db_clear or the destructor drops the history
    bool lastReplayWasComplete_ = true;
};

} // namespace db2
