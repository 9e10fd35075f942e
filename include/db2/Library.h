#pragma once

#include <db2/Export.h>

#include <KQutils/BasicLogger.h>
#include <kqx/String.h>

/// The library's process-wide frame: start and end, the host's logger, the product version, and flag bits for hosts.
/// All of it is plain process-wide state without locks: call from one thread at a time.
namespace db2 {

// --- Start and end ---

/// Starts the library; the host calls it once, before anything else.
/// Stores the logger and the version and makes an empty module table; without memory for the table the module functions
/// fail as before the start. After termLibrary() it starts the library again
/// with an empty module table, while the counters go on; called twice without, it loses the first table.
/// @param logger          receives all messages; not owned; null discards them.
/// @param productVersion  the host's version text, written into saved files; null or empty is logged as an error and
///                        stored as an empty text.
DB2_API void initLibrary(KQutils::BasicLogger* logger, const wchar_t* productVersion);

/// Ends the library: destroys every module that is still registered. The logger and the product version stay.
/// A host that called registerKQDatabase1Module() calls unregisterKQDatabase1Module() first.
DB2_API void termLibrary();

// --- Logging ---

/// Replaces the logger (not owned; null switches logging off) and returns the previous one.
DB2_API KQutils::BasicLogger* setLogger(KQutils::BasicLogger* logger);
[[nodiscard]] DB2_API KQutils::BasicLogger* getLogger();

/// Formats by printf's rules for wide text, without any locale, and hands "KQDatabase2 : " followed by the message to
/// the logger. `%s` is wide text on every platform, a null text prints as "(null)", an unknown conversion is copied as
/// it stands. A message is cut after 2033 characters. Without a logger nothing is formatted.
/// @return true, always.
DB2_API bool logDebug(const wchar_t* format, ...);
DB2_API bool logInfo(const wchar_t* format, ...);
DB2_API bool logWarning(const wchar_t* format, ...);
DB2_API bool logError(const wchar_t* format, ...);

/// Logs the caller's message, the operating system's last error (`errno` where there is no GetLastError) and the
/// system's text for it as one error. Logs nothing when there is no logger or no last error.
/// @return false, logging nothing, when the system has no text for the error or the line cannot be made.
DB2_API bool logLastWindowsError(const wchar_t* format, ...);

// --- Product version ---

/// Replaces the product version. A null or empty text is logged as an error and stored as an empty one, and so is one
/// that memory is out for.
DB2_API void setProductVersion(const wchar_t* productVersion);
[[nodiscard]] DB2_API const kqx::String& getProductVersion();

// --- Flag bits for hosts ---

/// Each call returns the next free single bit of the flag word that it names, for the life of the process; 0 once the
/// word's bits are used up. Call at start-up, before the first such flag is set.
DB2_API unsigned int registerElementFlagType();
DB2_API unsigned int registerElementMetaDataFlagType();
DB2_API unsigned int registerNodeFlagType();
DB2_API unsigned int registerNodeTemplateFlagType();

} // namespace db2
