#pragma once

#include <db2/Status.h>

namespace db2 {

/// What is wrong with the syntax of a path, for those who do not want it logged at once.
struct PathFault
{
    Status status = Status::kSuccess;
    const wchar_t* message = nullptr; ///< for logError() with the path; null when nothing is said about it
};

/// Checks what dbu_validatePath() checks.
[[nodiscard]] PathFault findPathFault(const wchar_t* path);

} // namespace db2
