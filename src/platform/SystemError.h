#pragma once

#include <kqx/String.h>

namespace db2 {

/// An error of the operating system: its number and the system's own text for it.
struct SystemError
{
    int code = 0;
    kqx::String text;
};

/// The calling thread's last system error: GetLastError where there is one, errno elsewhere. 0 when there is none.
[[nodiscard]] int lastSystemErrorCode();

/// Fetches the system's text for an error, in the system's words and in no program's locale where the system allows it.
/// @return false, leaving @p out alone, when the system has no text for the code. Throws std::bad_alloc.
[[nodiscard]] bool systemErrorText(int code, kqx::String& out);

} // namespace db2
