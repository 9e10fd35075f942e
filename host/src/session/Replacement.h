#pragma once

#include "Chain.h"
#include "Loading.h"

#include <filesystem>
#include <string>

namespace db2host {

/// A document on its way to become the session's: loaded behind layers of its own, it takes the place of the session's when
/// nothing can fail any more. Whatever fails before leaves the session's document alone.
class Session::Replacement final : public db2::DataObserver
{
public:
    /// Throws std::bad_alloc.
    Replacement(Session& session, const std::filesystem::path& file);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// Past undo, because what is open from the start has no history. Throws what loadFile() throws.
    LoadReport load(const LoadTolerance& tolerance);

    /// Ends the load. Observers of the session's setup hear that the old document is cleared, then of the new one's nodes,
    /// and the session is the new document's by then.
    /// @return false, leaving the session's document as it is, when memory is out. What a compute function throws passes
    ///         through, likewise.
    bool commit();

private:
    void onReportChanges(db2::ChangeManager*, const db2::ChangeSet&, bool) override;
    void onClear(db2::ChangeManager*) override {}

    Session& session_;
    std::unique_ptr<Chain> chain_; ///< the old document's once this one is in place
    Chain& loaded_;
    std::filesystem::path file_;
    std::wstring typeString_;
    bool isInPlace_ = false;
};

} // namespace db2host
