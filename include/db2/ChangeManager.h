#pragma once

#include <db2/ChangeSet.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataObservers.h>
#include <db2/Export.h>
#include <db2/ForwardingLayer.h>
#include <db2/ObserverList.h>

#include <kqx/String.h>

namespace db2 {

/// Turns the edits of a unit of work into a change set and tells the host's observers at the commit.
/// Forwards each edit first and records it when it succeeded; what a unit both makes and destroys is reported as neither.
/// While observers run every edit is refused, with an error in the log. A creation that the next layer refuses writes
/// null to its out-argument.
/// Sees only edits that pass through it. What an inner layer undoes by itself is not reported, and what it takes back of
/// this unit's creations, destructions and references is left out of the report. Without memory to sort it, which is
/// logged as an error, a report comes in the order of recording.
/// Cost: constant an edit, amortised; sorting at the report. A lock also visits the referencers of what it locks.
/// Threads: the editing thread only.
class DB2_API ChangeManager : public ForwardingLayer
{
public:
    /// @param changes           receives what is recorded; the host's, and alive for as long as the layer.
    /// @param preReportChanges  receives the snapshots of preReportChanges(); likewise, and another set.
    /// @param wrapperDatabase   a pointer of the host's that observers can ask for.
    ChangeManager(DataInterface* nextLayer, ChangeSet& changes, ChangeSet& preReportChanges,
                  void* wrapperDatabase = nullptr);

    [[nodiscard]] void* getWrapperDatabase() const { return wrapperDatabase_; }

    // --- Observers: not owned; one that comes or goes during a notification does so after it ---

    void addObserver(DataObserver* observer) { observers_.add(observer); }
    void removeObserver(DataObserver* observer) { observers_.remove(observer); }
    void addPreObserver(DataPreObserver* observer) { preObservers_.add(observer); }
    void removePreObserver(DataPreObserver* observer) { preObservers_.remove(observer); }

    /// Shows the pre-observers a sorted snapshot of what is recorded so far. They may edit; a commit that one of them
    /// makes empties the snapshot. What they throw is logged as a warning.
    /// @return kSuccess.
    Status preReportChanges(bool transient);

    // --- Statistics that nothing feeds; always zero ---

    [[nodiscard]] unsigned int debug_getReportChangesCount() const { return reports_.count; }
    [[nodiscard]] float debug_getReportChangesTotalTime() const { return reports_.totalTime; }
    [[nodiscard]] float debug_getReportChangesLastTime() const { return reports_.lastTime; }
    [[nodiscard]] unsigned int debug_getPreReportChangesCount() const { return preReports_.count; }
    [[nodiscard]] float debug_getPreReportChangesTotalTime() const { return preReports_.totalTime; }
    [[nodiscard]] float debug_getPreReportChangesLastTime() const { return preReports_.lastTime; }

    // --- DataInterface: each is refused with kFailure while observers run ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override;
    /// Reported on the parent, whose children have another order.
    Status db_reorderNode(Node* node, Node* next) override;
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override;
    Status db_destroyDynamicElement(Element* element) override;
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override;
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    Status db_destroyReference(Attribute* referencer) override;
    /// A written value is reported from its lock on, with all attributes that show it.
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_unlockAttribute(Attribute* attribute) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    Status db_unlockAttributeArray(AttributeArray* array) override;
    /// Tells the observers, forgets what was recorded, then forwards.
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    Status db_commitTransient() override;
    /// Forgets what was recorded, tells the observers, then forwards. An exception of an observer passes through.
    Status db_clear() override;

protected:
    void reportChanges(bool transient);
    /// Forgets what was recorded, with the bits on the objects.
    void clear();
    void addChangedAttribute(Attribute* attribute);
    void handleCreatedNode(Node* node);

private:
    struct Statistics
    {
        unsigned int count = 0;
        float totalTime = 0;
        float lastTime = 0;
    };

    template <class Edit>
    Status perform(Edit edit);
    template <class Edit, class T, class Record>
    Status perform(Edit edit, T* const& subject, Record record);
    template <class Edit>
    Status performCommit(bool transient, Edit edit);
    void recordDestroyed(Node& node);
    void recordReordered(Node& node);
    void recordDestroyed(Element& element);
    void addChangedReferents(const Attribute& attribute);
    void markChanged(Attribute& attribute);
    [[nodiscard]] bool mayHaveCreatedOrDestroyed() const;
    void dropUndoneBelow();
    static void sortByDepth(ChangeSet& changes);
    void prepareReport();
    void clearHostSet();

    ObserverList<DataPreObserver> preObservers_;
    ObserverList<DataObserver> observers_;
    ChangeSet* snapshot_;         ///< the host's
    ChangeSet* changes_;          ///< the host's; holds an object exactly when the object has the list's bit
    ConcreteChangeSet* ownLists_; ///< changes_, when it is of just that class; else null
    bool inObservers_ = false;
    bool isSnapshotFilled_ = false; ///< since the last report
    void* wrapperDatabase_;
    kqx::String oldName_; ///< of the node that is being renamed
    Statistics reports_;
    Statistics preReports_;
};

} // namespace db2
