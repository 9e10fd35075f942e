#pragma once

#include <db2host/Session.h>

#include <string>
#include <vector>

/// The edits that the demonstration makes: one unit of work each, on whatever the document holds.
namespace kqdb {

struct DemoEdit
{
    const char* description; ///< for the history
    /// Edits through the session's outermost layer. @return false when the document has nothing that it could edit, and
    /// nothing has changed then. Throws Failure when an edit is refused.
    bool (*run)(db2host::Session& session);
};

[[nodiscard]] const std::vector<DemoEdit>& demoEdits();

} // namespace kqdb
