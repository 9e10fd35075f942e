#pragma once

#include <db2/db2.h>

namespace db2host {

/// Undo that knows whether the document is as it was saved. The revision that the base counts says so as long as the saved
/// state is among those that undo and redo lead to; a commit after an undo beyond it, and a clear, end that.
class DocumentUndo : public db2::UndoManager
{
public:
    using UndoManager::UndoManager;

    /// The document is saved as it is now.
    void markSaved()
    {
        setCheckpoint();
        savedRevision_ = getRevision();
        isSavedStateLost_ = false;
    }

    [[nodiscard]] bool isSaved() const { return !isSavedStateLost_ && !hasChangedSinceCheckpoint(); }

    /// Undo and redo do not come this way.
    db2::Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        const int before = getRevision();
        const db2::Status status = UndoManager::db_commit(description, file, line);
        if (getRevision() != before && before < savedRevision_)
            isSavedStateLost_ = true; // it stood on the redo stack, which is gone
        return status;
    }

    db2::Status db_clear() override
    {
        const db2::Status status = UndoManager::db_clear();
        isSavedStateLost_ = isSavedStateLost_ || status == db2::Status::kSuccess;
        return status;
    }

private:
    int savedRevision_ = 0; ///< until the first save that of the new document
    bool isSavedStateLost_ = false;
};

} // namespace db2host
