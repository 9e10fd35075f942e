// How files fail on Windows: each step's message, with the number and the text that the system gives.

#include <db2/InputStream.h>
#include <db2/OutputStream.h>

#include "support/LogRecorder.h"
#include "support/SystemError.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using namespace db2;
using db2test::LogRecorder;
using db2test::TemporaryFolder;

/// Keeps a file open as another program would, sharing what @p sharing says.
class OpenedElsewhere
{
public:
    OpenedElsewhere(const std::wstring& path, DWORD access, DWORD sharing)
        : file_(CreateFileW(path.c_str(), access, sharing, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
        EXPECT_NE(file_, INVALID_HANDLE_VALUE);
    }
    OpenedElsewhere(const OpenedElsewhere&) = delete;
    OpenedElsewhere& operator=(const OpenedElsewhere&) = delete;
    ~OpenedElsewhere() { CloseHandle(file_); }

private:
    HANDLE file_;
};

class WindowsFileErrorsTest : public ::testing::Test
{
protected:
    WindowsFileErrorsTest() { folder.write("a", "old"); }

    [[nodiscard]] std::wstring path(const std::wstring& name) const { return folder.widePath(name); }

    /// Expects that reading fails, with one error of this step and number.
    void expectReadingFails(const std::wstring& file, const std::wstring& step, DWORD error)
    {
        FileInputStream stream(file.c_str(), FileOpenMode::kBinary);
        EXPECT_FALSE(stream.isOK());
        EXPECT_TRUE(log.tookError(L"Reading file '" + file + L"', " + step + L"() in FileInputStream" + ending(error)));
    }
    /// Expects that opening for writing fails, with one error of this number.
    void expectOpeningFails(const wchar_t* file, DWORD error)
    {
        FileOutputStream stream(file, FileOpenMode::kBinary, OutputStreamEncoding::kUtf8);
        EXPECT_FALSE(stream.isOK());
        EXPECT_TRUE(log.tookError(L"Writing file '" + std::wstring(file) + L"', opening it in FileOutputStream" +
                                  ending(error)));
    }
    /// Expects that replacing fails before anything is written, with one error of this step and number.
    void expectReplacingIsRefused(const std::wstring& file, const std::wstring& step, DWORD error)
    {
        AtomicFileOutputStream stream(file.c_str(), FileOpenMode::kBinary, OutputStreamEncoding::kUtf8);
        EXPECT_FALSE(stream.isOK());
        expectReplacingFailed(file, step, error);
    }
    /// Expects that one error was logged about replacing the file.
    void expectReplacingFailed(const std::wstring& file, const std::wstring& step, DWORD error)
    {
        EXPECT_TRUE(
            log.tookError(L"Writing file '" + file + L"', " + step + L" in AtomicFileOutputStream" + ending(error)));
    }

    LogRecorder log;
    TemporaryFolder folder;

private:
    /// What the library adds to its message: the number, and a text that must not be empty.
    static std::wstring ending(DWORD error)
    {
        const std::wstring text = db2test::systemErrorText(static_cast<int>(error));
        EXPECT_GT(text.size(), 4u);
        return L" failed with error " + std::to_wstring(error) + L": " + text;
    }
};

// --- Reading ---

TEST_F(WindowsFileErrorsTest, MissingFile)
{
    expectReadingFails(path(L"none"), L"CreateFile", ERROR_FILE_NOT_FOUND);
}

TEST_F(WindowsFileErrorsTest, MissingFolder)
{
    expectReadingFails(path(L"none/a"), L"CreateFile", ERROR_PATH_NOT_FOUND);
}

TEST_F(WindowsFileErrorsTest, Folder)
{
    std::filesystem::create_directory(folder.file("sub"));
    expectReadingFails(path(L"sub"), L"CreateFile", ERROR_ACCESS_DENIED);
}

TEST_F(WindowsFileErrorsTest, EmptyFile)
{
    folder.write("empty", "");
    expectReadingFails(path(L"empty"), L"CreateFileMapping", ERROR_FILE_INVALID);
}

TEST_F(WindowsFileErrorsTest, FileOfFourGibibytes)
{
    std::filesystem::resize_file(folder.file("a"), std::uintmax_t{1} << 32); // takes no space on the disk
    expectReadingFails(path(L"a"), L"GetFileSize", ERROR_NOT_SUPPORTED);
}

TEST_F(WindowsFileErrorsTest, FileThatAnotherProgramDoesNotShare)
{
    const OpenedElsewhere other(path(L"a"), GENERIC_READ, 0);
    expectReadingFails(path(L"a"), L"CreateFile", ERROR_SHARING_VIOLATION);
}

TEST_F(WindowsFileErrorsTest, FileThatAnotherProgramWrites)
{
    const OpenedElsewhere other(path(L"a"), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    expectReadingFails(path(L"a"), L"CreateFile", ERROR_SHARING_VIOLATION);
}

TEST_F(WindowsFileErrorsTest, FileThatIsReadCannotBeWritten)
{
    FileInputStream reader(path(L"a").c_str(), FileOpenMode::kBinary);
    ASSERT_TRUE(reader.isOK());
    FileOutputStream writer(path(L"a").c_str(), FileOpenMode::kBinary, OutputStreamEncoding::kUtf8);
    EXPECT_FALSE(writer.isOK());
    log.take();
    expectOpeningFails(path(L"a").c_str(), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(folder.read("a"), "old");
}

// --- Writing ---

TEST_F(WindowsFileErrorsTest, WritingInAMissingFolder)
{
    expectOpeningFails(path(L"none/a").c_str(), ERROR_PATH_NOT_FOUND);
}

TEST_F(WindowsFileErrorsTest, WritingAFolder)
{
    std::filesystem::create_directory(folder.file("sub"));
    expectOpeningFails(path(L"sub").c_str(), ERROR_ACCESS_DENIED);
}

// --- Replacing ---

TEST_F(WindowsFileErrorsTest, ReplacingInAMissingFolder)
{
    AtomicFileOutputStream stream(path(L"none/a").c_str(), FileOpenMode::kBinary, OutputStreamEncoding::kUtf8);
    EXPECT_FALSE(stream.isOK());
    expectReplacingFailed(path(L"none/a"), L"creating a temporary file", ERROR_PATH_NOT_FOUND);
}

/// FileOutputStream leaves this to the system, which in Wine lets root write whatever the attribute says.
TEST_F(WindowsFileErrorsTest, ReplacingAReadOnlyFile)
{
    ASSERT_TRUE(SetFileAttributesW(path(L"a").c_str(), FILE_ATTRIBUTE_READONLY));
    expectReplacingIsRefused(path(L"a"), L"opening it", ERROR_ACCESS_DENIED);
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_TRUE(SetFileAttributesW(path(L"a").c_str(), FILE_ATTRIBUTE_NORMAL));
}

TEST_F(WindowsFileErrorsTest, ReplacingAFolder)
{
    std::filesystem::create_directory(folder.file("sub"));
    expectReplacingIsRefused(path(L"sub"), L"replacing what is no file", ERROR_ACCESS_DENIED);
    EXPECT_EQ(folder.count(), 2u);
}

TEST_F(WindowsFileErrorsTest, ReplacingAFileThatIsRead)
{
    FileInputStream reader(path(L"a").c_str(), FileOpenMode::kBinary);
    {
        AtomicFileOutputStream stream(path(L"a").c_str(), FileOpenMode::kBinary, OutputStreamEncoding::kUtf8);
        EXPECT_TRUE(stream.write("new"));
        EXPECT_FALSE(stream.commit());
        expectReplacingFailed(path(L"a"), L"renaming", ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_EQ(folder.count(), 1u);
}

// --- Text mode ---

TEST_F(WindowsFileErrorsTest, TextModeWritesLineFeedsAsCarriageReturnAndLineFeed)
{
    {
        FileOutputStream stream(path(L"a").c_str(), FileOpenMode::kText, OutputStreamEncoding::kUtf8);
        EXPECT_TRUE(stream.write(L"one\ntwo\n"));
    }
    EXPECT_EQ(folder.read("a"), "one\r\ntwo\r\n");
}

} // namespace
