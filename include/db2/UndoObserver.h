#pragma once

#include <db2/Export.h>

namespace db2 {

class UndoManager;

/// Hears of every item that comes to or goes from one of the two stacks of an UndoManager. An item that moves is told of
/// when it has left the one and stands on the other; a commit's item stands there before the redo stack goes, one item
/// after the other. A host derives one, overrides what it wants to know and registers it with
/// UndoManager::addObserver(). While it is called, undo, redo and rollback are refused. What it throws is logged as a
/// warning; the manager goes on, without telling the observers behind it this time.
class DB2_API UndoObserver
{
public:
    virtual void onUndoStackPushed(UndoManager* manager);
    virtual void onUndoStackPopped(UndoManager* manager);
    virtual void onUndoStackPoppedFront(UndoManager* manager); ///< the oldest item fell to the limit
    virtual void onRedoStackPushed(UndoManager* manager);
    virtual void onRedoStackPopped(UndoManager* manager);

protected:
    UndoObserver() = default;
    UndoObserver(const UndoObserver&) = default;
    UndoObserver& operator=(const UndoObserver&) = default;
    ~UndoObserver() = default; // never destroyed through this class
};

} // namespace db2
