#include "Replacement.h"

#include <utility>

namespace db2host {

Session::Replacement::Replacement(Session& session, const std::filesystem::path& file)
    : session_(session), chain_(std::make_unique<Chain>(session.library_.registry(), session.setup_, this)),
      loaded_(*chain_), file_(file)
{
    loaded_.isCallLoggingOn = session.isCallLoggingOn();
    loaded_.undo.setMaxUndoItems(session.chain_->undo.getMaxUndoItems());
}

LoadReport Session::Replacement::load(const LoadTolerance& tolerance)
{
    loaded_.calls.db_setNextInterface(&loaded_.computed);
    db2::DataInterface& pastUndo =
        loaded_.isCallLoggingOn ? loaded_.calls : static_cast<db2::DataInterface&>(loaded_.computed);
    LoadReport report =
        loadFile(session_.library_, file_, pastUndo, loaded_.core, *loaded_.core.getRoot(), tolerance, &typeString_);
    loaded_.calls.db_setNextInterface(&loaded_.undo);
    return report;
}

bool Session::Replacement::commit()
{
    if (loaded_.core.isLockOutstanding())
        return false; // left by a migrator; the report would be made and the commit then refused
    const db2::Status status = loaded_.computed.db_commit(L"Open", L"Replacement.cpp", __LINE__);
    loaded_.changes.removeObserver(this);
    return status == db2::Status::kSuccess && isInPlace_;
}

/// The first to hear of the report, which the layers make when all that may fail is done.
void Session::Replacement::onReportChanges(db2::ChangeManager*, const db2::ChangeSet&, bool)
{
    session_.chain_->data().db_clear(); // accepted, since the session made sure of that
    session_.chain_.swap(chain_);
    session_.file_.swap(file_);
    session_.typeString_.swap(typeString_);
    isInPlace_ = true;
}

} // namespace db2host
