#include <db2/Library.h>
#include <db2/Module.h>

#include "support/HeapThatRunsOut.h"
#include "support/LogRecorder.h"
#include "support/SystemError.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace db2;
using db2test::HeapThatRunsOut;
using db2test::LogRecorder;
using Lines = std::vector<LogRecorder::Line>;

const std::wstring kPrefix = L"KQDatabase2 : ";
constexpr std::size_t kLongestMessage = 2033;
constexpr wchar_t kLongVersion[] = L"Studio 8, with more text than the version before has memory for";
constexpr wchar_t kVersionMissing[] = L"Product version must be supplied to initLibrary()";

/// A running library that logs into a recorder.
class LibraryTest : public ::testing::Test
{
protected:
    LibraryTest() { initLibrary(&log, L"Studio 7.1"); }
    ~LibraryTest() override { termLibrary(); }

    LogRecorder log;
};

/// Remembers where the text stood and nothing more.
class AddressLogger : public KQutils::BasicLogger
{
public:
    void log(int, const wchar_t* text) override { addresses.push_back(text); }

    std::vector<const wchar_t*> addresses;
};

// --- Start and end ---

TEST_F(LibraryTest, StartStoresLoggerAndVersionAndLogsNothing)
{
    EXPECT_EQ(getLogger(), &log);
    EXPECT_TRUE(getProductVersion() == L"Studio 7.1");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LibraryTest, EndKeepsLoggerAndVersion)
{
    termLibrary();
    EXPECT_EQ(getLogger(), &log);
    EXPECT_TRUE(getProductVersion() == L"Studio 7.1");
    EXPECT_TRUE(logInfo(L"still here"));
    EXPECT_EQ(log.take(), (Lines{{LogRecorder::kInfo, kPrefix + L"still here"}}));
    initLibrary(&log, L"Studio 7.1");
}

TEST_F(LibraryTest, EndingTwiceDoesNothingMore)
{
    termLibrary();
    termLibrary();
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
    initLibrary(&log, L"Studio 7.1");
}

TEST_F(LibraryTest, StartsAgainWithAnEmptyModuleTable)
{
    auto* const first = new Module;
    first->setId(L"Shapes");
    ASSERT_EQ(registerModule(first), Status::kSuccess);
    termLibrary();
    initLibrary(&log, L"Studio 8");
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
    EXPECT_TRUE(getProductVersion() == L"Studio 8");

    auto* const second = new Module;
    second->setId(L"Shapes");
    EXPECT_EQ(registerModule(second), Status::kSuccess);
}

TEST_F(LibraryTest, StartWithoutAVersionIsLoggedToTheNewLoggerAndWorks)
{
    for (const wchar_t* const missing : {static_cast<const wchar_t*>(nullptr), L""})
    {
        SCOPED_TRACE(missing == nullptr ? "null" : "empty");
        termLibrary();
        setLogger(nullptr);
        initLibrary(&log, missing);
        EXPECT_TRUE(log.tookError(kVersionMissing));
        EXPECT_TRUE(getProductVersion().empty());

        auto* const module = new Module;
        module->setId(L"Shapes");
        EXPECT_EQ(registerModule(module), Status::kSuccess);
        setProductVersion(L"Studio 7.1");
    }
}

TEST_F(LibraryTest, StartsSilentlyWithoutALogger)
{
    termLibrary();
    initLibrary(nullptr, nullptr);
    EXPECT_EQ(getLogger(), nullptr);
    EXPECT_TRUE(getProductVersion().empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LibraryTest, StartingWithoutMemoryThrowsNothing)
{
    termLibrary();
    for (std::size_t granted = 0; granted < 8; ++granted)
    {
        SCOPED_TRACE(granted);
        {
            const HeapThatRunsOut heap(granted);
            ASSERT_NO_THROW(initLibrary(&log, kLongVersion));
        }
        EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
        termLibrary();
    }
    initLibrary(&log, L"Studio 7.1");
}

// --- Product version ---

TEST_F(LibraryTest, SetProductVersionReplacesIt)
{
    setProductVersion(L"Studio 8");
    EXPECT_TRUE(getProductVersion() == L"Studio 8");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LibraryTest, AMissingProductVersionIsLoggedAndStoredAsEmpty)
{
    for (const wchar_t* const missing : {static_cast<const wchar_t*>(nullptr), L""})
    {
        SCOPED_TRACE(missing == nullptr ? "null" : "empty");
        setProductVersion(L"Studio 8");
        setProductVersion(missing);
        EXPECT_TRUE(log.tookError(kVersionMissing));
        EXPECT_TRUE(getProductVersion().empty());
    }
}

TEST_F(LibraryTest, SettingTheProductVersionWithoutMemoryThrowsNothing)
{
    const HeapThatRunsOut heap(0);
    EXPECT_NO_THROW(setProductVersion(kLongVersion));
}

TEST_F(LibraryTest, TheProductVersionMayBeSetToItself)
{
    setProductVersion(getProductVersion().c_str());
    EXPECT_TRUE(getProductVersion() == L"Studio 7.1");
}

// --- Logger and levels ---

TEST_F(LibraryTest, SetLoggerReturnsThePreviousLogger)
{
    AddressLogger other;
    EXPECT_EQ(setLogger(&other), &log);
    EXPECT_EQ(setLogger(nullptr), &other);
    EXPECT_EQ(getLogger(), nullptr);
    EXPECT_EQ(setLogger(&log), nullptr);
}

TEST_F(LibraryTest, MessagesGoToTheLoggerThatIsSet)
{
    AddressLogger other;
    setLogger(&other);
    logInfo(L"for the other");
    setLogger(&log);
    EXPECT_EQ(other.addresses.size(), 1u);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LibraryTest, EachFunctionLogsAtItsLevelAndReturnsTrue)
{
    struct Row
    {
        const char* name;
        bool (*log)(const wchar_t* format, ...);
        int level;
    };
    constexpr Row kRows[] = {
        {"logInfo", logInfo, 0}, {"logWarning", logWarning, 1}, {"logError", logError, 2}, {"logDebug", logDebug, 3}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(row.log(L"%d of %s", 3, L"four"));
        EXPECT_EQ(log.take(), (Lines{{row.level, L"KQDatabase2 : 3 of four"}}));
    }
}

TEST_F(LibraryTest, WithoutALoggerNothingIsFormatted)
{
    setLogger(nullptr);
    // Formatting would read the text at this address, where none is.
    const auto* const unreadable = reinterpret_cast<const wchar_t*>(std::uintptr_t{sizeof(wchar_t)});
    EXPECT_TRUE(logInfo(L"%s", unreadable));
    EXPECT_TRUE(logWarning(L"%s", unreadable));
    EXPECT_TRUE(logError(L"%s", unreadable));
    EXPECT_TRUE(logDebug(L"%s", unreadable));
    db2test::setLastSystemError(db2test::kFileNotFound);
    EXPECT_TRUE(logLastWindowsError(L"%s", unreadable));
}

// --- Formatting ---

TEST_F(LibraryTest, AnEmptyMessageIsThePrefixAlone)
{
    logInfo(L"");
    EXPECT_EQ(log.take(), (Lines{{LogRecorder::kInfo, kPrefix}}));
}

TEST_F(LibraryTest, ArgumentsAreFormattedAsWideText)
{
    logInfo(L"%s|%d|%u|%x|%c|%.2f|%%|%5d|%-5s|", L"\u00E9\u20AC", -7, 7u, 255u, L'z', 1.5, 42, L"ab");
    EXPECT_EQ(log.take(), (Lines{{LogRecorder::kInfo, kPrefix + L"\u00E9\u20AC|-7|7|ff|z|1.50|%|   42|ab   |"}}));
}

TEST_F(LibraryTest, ANullTextPrintsAsNullInParentheses)
{
    logInfo(L"'%s'", static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(log.take(), (Lines{{LogRecorder::kInfo, kPrefix + L"'(null)'"}}));
}

TEST_F(LibraryTest, AnUnknownConversionIsCopiedAsItStands)
{
    logInfo(L"module '%'", L"unused");
    logInfo(L"100%");
    EXPECT_EQ(log.take(),
              (Lines{{LogRecorder::kInfo, kPrefix + L"module '%'"}, {LogRecorder::kInfo, kPrefix + L"100%"}}));
}

TEST_F(LibraryTest, AMessageIsCutAfter2033Characters)
{
    for (const std::size_t length : {kLongestMessage - 1, kLongestMessage, kLongestMessage + 1, std::size_t{100000}})
    {
        SCOPED_TRACE(length);
        std::wstring text(length, L'x');
        text[0] = L'a';
        const std::wstring expected = kPrefix + text.substr(0, kLongestMessage);

        logError(text.c_str());
        logError(L"%s", text.c_str());
        EXPECT_EQ(log.take(), (Lines{{LogRecorder::kError, expected}, {LogRecorder::kError, expected}}));
    }
}

TEST_F(LibraryTest, AShortMessageAfterALongOneIsItselfAlone)
{
    logError(std::wstring(5000, L'x').c_str());
    (void)log.take();
    logError(L"short");
    EXPECT_TRUE(log.tookError(L"short"));
}

TEST_F(LibraryTest, EveryMessageStandsInOneBufferAndTakesNoMemory)
{
    AddressLogger addresses;
    setLogger(&addresses);
    {
        const HeapThatRunsOut heap(0);
        logInfo(L"one");
        logError(L"%s", std::wstring(5000, L'x').c_str());
        EXPECT_FALSE(heap.hasRunOut());
    }
    setLogger(&log);
    ASSERT_EQ(addresses.addresses.size(), 2u);
    EXPECT_EQ(addresses.addresses[0], addresses.addresses[1]);
}

// --- The system's last error ---

TEST_F(LibraryTest, NoLastErrorIsNotLogged)
{
    db2test::setLastSystemError(0);
    EXPECT_TRUE(logLastWindowsError(L"Reading '%s'", L"scene.kq"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LibraryTest, TheLastErrorIsLoggedBehindTheMessageWithItsNumberAndText)
{
    db2test::setLastSystemError(db2test::kFileNotFound);
    EXPECT_TRUE(logLastWindowsError(L"Reading '%s'", L"scene.kq"));
    EXPECT_TRUE(
        log.tookError(L"Reading 'scene.kq' failed with error 2: " + db2test::systemErrorText(db2test::kFileNotFound)));
}

TEST_F(LibraryTest, ALongMessageIsCutBeforeTheLastErrorIsAppendedWhole)
{
    db2test::setLastSystemError(db2test::kFileNotFound);
    EXPECT_TRUE(logLastWindowsError(std::wstring(5000, L'x').c_str()));
    EXPECT_TRUE(log.tookError(std::wstring(kLongestMessage, L'x') + L" failed with error 2: " +
                              db2test::systemErrorText(db2test::kFileNotFound)));
}

TEST_F(LibraryTest, AnErrorNumberWithoutATextIsEitherLoggedOrRefused)
{
    db2test::setLastSystemError(123456789);
    const bool logged = logLastWindowsError(L"Reading");
    EXPECT_EQ(log.take().size(), logged ? 1u : 0u);
}

TEST_F(LibraryTest, TheLastErrorIsRefusedAndNotLoggedWhenMemoryIsOut)
{
    bool logged = false;
    for (std::size_t granted = 0; granted < 16 && !logged; ++granted)
    {
        SCOPED_TRACE(granted);
        const HeapThatRunsOut heap(granted);
        db2test::setLastSystemError(db2test::kFileNotFound);
        ASSERT_NO_THROW(logged = logLastWindowsError(L"Reading"));
        EXPECT_EQ(log.take().size(), logged ? 1u : 0u);
    }
    EXPECT_TRUE(logged);
}

} // namespace
