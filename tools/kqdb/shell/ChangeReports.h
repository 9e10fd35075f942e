#pragma once

#include <db2/DataObservers.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace db2 {
class Element;
class Node;
} // namespace db2

namespace kqdb {

class Output;

/// What a unit of work did, in words.
struct ChangeReport
{
    struct Entry
    {
        const char* what;   ///< "created", "moved", ...
        std::string path;   ///< UTF-8; of what is gone, where it was
        std::string detail; ///< a type, a value, where a reference leads; may be empty
    };

    bool isTransient = false;
    std::vector<Entry> entries; ///< of very many of one kind only the first
    std::size_t omitted = 0;    ///< entries beyond those
};

/// Keeps the reports of a document as texts, until they are taken. To be added to a document's ChangeManager, and to live
/// for as long as it is.
class ChangeReports : public db2::DataObserver
{
public:
    /// The reports since the last call, in order.
    [[nodiscard]] std::vector<ChangeReport> take();

    void onReportChanges(db2::ChangeManager* manager, const db2::ChangeSet& changes, bool transient) override;
    void onClear(db2::ChangeManager* manager) override;

private:
    std::vector<ChangeReport> reports_;
};

/// Prints a line for each entry.
void print(const ChangeReport& report, Output& out);

} // namespace kqdb
