#include <db2/Library.h>

#include <db2/Flags.h>

#include "ModuleTable.h"
#include "OutOfMemory.h"
#include "platform/SystemError.h"

#include <kqtl/Alloc.h>
#include <kqx/Format.h>

#include <cstdarg>
#include <cwchar>

namespace db2 {
namespace {

/// Levels as the host's logger receives them.
enum LogLevel : int
{
    kInfo = 0,
    kWarning = 1,
    kError = 2,
    kDebug = 3
};

KQutils::BasicLogger* g_logger = nullptr;

unsigned int g_elementFlagCounter = ElementFlag::kFirstHostFlag;
unsigned int g_elementMetaDataFlagCounter = ElementMetaDataFlag::kFirstHostFlag;
unsigned int g_nodeFlagCounter = NodeFlag::kFirstHostFlag;
unsigned int g_nodeTemplateFlagCounter = NodeTemplateFlag::kFirstHostFlag;

/// The prefix and the message share one buffer, so that a line reaches the logger without allocation or copying.
constexpr std::size_t kPrefixCharacters = 14;
constexpr std::size_t kMessageRoom = 2034; // the last one is the terminator
wchar_t g_logText[kPrefixCharacters + kMessageRoom] = L"KQDatabase2 : ";

kqx::String& productVersion()
{
    // Made on first use: a host's own static objects may ask for it before this source's statics exist.
    static kqx::String version;
    return version;
}

void formatMessage(const wchar_t* format, std::va_list arguments)
{
    kqx::formatText(g_logText + kPrefixCharacters, kMessageRoom, format, arguments);
}

void logMessage(LogLevel level, const wchar_t* format, std::va_list arguments)
{
    if (g_logger == nullptr)
        return;
    formatMessage(format, arguments);
    g_logger->log(level, g_logText);
}

/// Logs the message that stands in g_logText together with the system's text for the error.
bool logWithSystemError(const SystemError& error)
{
    // Room for the two texts and forty characters: the fixed words, the number and the terminator.
    const std::size_t capacity = error.text.size() + std::wcslen(g_logText) + 40;
    auto* const line = static_cast<wchar_t*>(KQTLAlloc(capacity * sizeof(wchar_t), alignof(wchar_t)));
    if (line == nullptr)
        return false;
    const std::size_t needed =
        kqx::formatTextOf(line, capacity, L"%s failed with error %d: %s", g_logText, error.code, error.text.c_str());
    const bool fits = needed < capacity;
    if (fits)
        g_logger->log(kError, line);
    KQTLFree(line);
    return fits;
}

unsigned int takeFlag(unsigned int& counter)
{
    const unsigned int flag = counter;
    counter <<= 1; // behind the last bit it stays 0, on purpose: there is nothing left to hand out
    return flag;
}

} // namespace

// --- Start and end ---

void initLibrary(KQutils::BasicLogger* logger, const wchar_t* version)
{
    setLogger(logger);
    setProductVersion(version);
    createModuleTable();
}

void termLibrary()
{
    destroyModuleTable();
}

// --- Logging ---

KQutils::BasicLogger* setLogger(KQutils::BasicLogger* logger)
{
    KQutils::BasicLogger* const previous = g_logger;
    g_logger = logger;
    return previous;
}

KQutils::BasicLogger* getLogger()
{
    return g_logger;
}

bool logDebug(const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    logMessage(kDebug, format, arguments);
    va_end(arguments);
    return true;
}

bool logInfo(const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    logMessage(kInfo, format, arguments);
    va_end(arguments);
    return true;
}

bool logWarning(const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    logMessage(kWarning, format, arguments);
    va_end(arguments);
    return true;
}

bool logError(const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    logMessage(kError, format, arguments);
    va_end(arguments);
    return true;
}

bool logLastWindowsError(const wchar_t* format, ...)
{
    if (g_logger == nullptr)
        return true;
    SystemError error;
    error.code = lastSystemErrorCode(); // read first: what follows may replace it
    if (error.code == 0)
        return true;
    bool hasText = false;
    if (!succeeds([&] { hasText = systemErrorText(error.code, error.text); }) || !hasText)
        return false;
    std::va_list arguments;
    va_start(arguments, format);
    formatMessage(format, arguments);
    va_end(arguments);
    return logWithSystemError(error);
}

// --- Product version ---

void setProductVersion(const wchar_t* version)
{
    if (version == nullptr || *version == L'\0')
        logError(L"Product version must be supplied to initLibrary()");
    if (succeeds([version] { productVersion() = version; }))
        return;
    productVersion().clear();
    logError(L"Out of memory while storing the product version");
}

const kqx::String& getProductVersion()
{
    return productVersion();
}

// --- Flag bits for hosts ---

unsigned int registerElementFlagType()
{
    return takeFlag(g_elementFlagCounter);
}

unsigned int registerElementMetaDataFlagType()
{
    return takeFlag(g_elementMetaDataFlagCounter);
}

unsigned int registerNodeFlagType()
{
    return takeFlag(g_nodeFlagCounter);
}

unsigned int registerNodeTemplateFlagType()
{
    return takeFlag(g_nodeTemplateFlagCounter);
}

} // namespace db2
