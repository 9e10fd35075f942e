#pragma once

namespace db2 {

class ChangeManager;
class ChangeSet;

/// Hears what a unit of work is about to report, and may still edit: its edits go into the report. A host derives one and
/// registers it with ChangeManager::addPreObserver().
class DataPreObserver
{
public:
    /// It must not undo, redo or roll back by a layer further in than the manager, which would free what the snapshot lists.
    /// @param changes    a sorted snapshot of what was recorded before the first pre-observer was called, valid during the
    ///                   call; a commit made meanwhile empties it.
    /// @param transient  as given to preReportChanges().
    virtual void onPreReportChanges(ChangeManager* manager, const ChangeSet& changes, bool transient) = 0;

protected:
    ~DataPreObserver() = default; // never destroyed through this class
};

/// Hears what each unit of work did. Every edit that it tries meanwhile is refused. A host derives one and registers it
/// with ChangeManager::addObserver().
class DataObserver
{
public:
    /// At a commit, before the inner layers commit. Destroyed objects can still be read.
    /// @param changes    created nodes with parents first, destroyed ones the deepest first; valid during the call.
    /// @param transient  true at db_commitTransient.
    virtual void onReportChanges(ChangeManager* manager, const ChangeSet& changes, bool transient) = 0;

    /// At db_clear: what was recorded is dropped, and everything below the root is about to go. Must not throw.
    virtual void onClear(ChangeManager* manager) = 0;

protected:
    ~DataObserver() = default; // never destroyed through this class
};

} // namespace db2
