#pragma once

#include <kqtl/Export.h>

namespace KQutils {

/// Where log lines go: the host derives from it and hands the object to the library, which calls it and never owns it.
class KQ_API BasicLogger
{
public:
    virtual ~BasicLogger();

    /// Takes one complete line without a line end.
    /// @param level  0 info, 1 warning, 2 error, 3 debug.
    /// @param text   never null; valid during the call only.
    virtual void log(int level, const wchar_t* text) = 0;

protected:
    BasicLogger() = default;
    BasicLogger(const BasicLogger&) = default;
    BasicLogger& operator=(const BasicLogger&) = default;
};

} // namespace KQutils
