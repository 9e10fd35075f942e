#include <db2/InputStream.h>

#include "support/LogRecorder.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace db2;
using db2test::LogRecorder;
using db2test::TemporaryFolder;

MemoryBlock blockOf(std::string_view bytes)
{
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}

std::string readBytes(InputStream& stream, unsigned int bytes)
{
    std::string buffer(bytes, '\0');
    buffer.resize(stream.read(buffer.data(), bytes));
    return buffer;
}

std::wstring readText(InputStream& stream, unsigned int characters)
{
    std::wstring buffer(characters, L'\0');
    buffer.resize(stream.read(buffer.data(), characters));
    return buffer;
}

/// The whole content; nothing when there is none. An untouched size shows as kUntouched.
constexpr unsigned int kUntouched = 12345;
std::optional<std::string> dataOf(InputStream& stream, unsigned int& size)
{
    size = kUntouched;
    const char* const data = stream.getData(size);
    return data != nullptr ? std::optional<std::string>(std::string(data, size)) : std::nullopt;
}

/// Expects one error about opening a file at a step, with a text of the system behind it.
void expectOneError(LogRecorder& log, const std::wstring& path, const std::wstring& step)
{
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, LogRecorder::kError);
    const std::wstring start =
        L"KQDatabase2 : Reading file '" + path + L"', " + step + L"() in FileInputStream failed with error ";
    EXPECT_EQ(lines[0].text.substr(0, start.size()), start);
    EXPECT_GT(lines[0].text.size(), start.size() + 4) << "number and the system's text";
}

void expectNotOK(FileInputStream& stream)
{
    EXPECT_FALSE(stream.isOK());
    unsigned int size = 0;
    EXPECT_EQ(dataOf(stream, size), std::nullopt);
    EXPECT_EQ(size, kUntouched);
    EXPECT_EQ(readBytes(stream, 10), "");
}

// --- NullInputStream ---

TEST(NullInputStreamTest, HasNoContentAndIsOK)
{
    NullInputStream stream;
    EXPECT_TRUE(stream.isOK());
    EXPECT_EQ(readBytes(stream, 10), "");
    unsigned int size = 0;
    EXPECT_EQ(dataOf(stream, size), std::nullopt);
    EXPECT_EQ(size, kUntouched);
}

// --- MemoryInputStream ---

TEST(MemoryInputStreamTest, ReadsOnFromWhereItIs)
{
    const MemoryBlock block = blockOf("abcdef");
    MemoryInputStream stream(block);
    EXPECT_TRUE(stream.isOK());
    EXPECT_EQ(readBytes(stream, 4), "abcd");
    EXPECT_EQ(readBytes(stream, 4), "ef");
    EXPECT_EQ(readBytes(stream, 4), "");
}

TEST(MemoryInputStreamTest, NullBufferReadsNothing)
{
    const MemoryBlock block = blockOf("abc");
    MemoryInputStream stream(block);
    EXPECT_EQ(stream.read(static_cast<char*>(nullptr), 2), 0u);
    EXPECT_EQ(stream.read(static_cast<wchar_t*>(nullptr), 1), 0u);
    EXPECT_EQ(readBytes(stream, 3), "abc");
}

TEST(MemoryInputStreamTest, DataIsTheWholeContentWhereverReadingIs)
{
    const MemoryBlock block = blockOf("abc");
    MemoryInputStream stream(block);
    readBytes(stream, 2);
    unsigned int size = 0;
    EXPECT_EQ(dataOf(stream, size), "abc");
    EXPECT_EQ(readBytes(stream, 2), "c");
}

TEST(MemoryInputStreamTest, CopyReadsTheSameBlockFromAPositionOfItsOwn)
{
    const MemoryBlock block = blockOf("abcd");
    MemoryInputStream stream(block);
    readBytes(stream, 1);
    MemoryInputStream copy(stream);
    EXPECT_EQ(readBytes(copy, 2), "bc");
    EXPECT_EQ(readBytes(stream, 2), "bc");
}

TEST(MemoryInputStreamTest, SeesWhatIsWrittenLater)
{
    MemoryBlock block = blockOf("ab");
    MemoryInputStream stream(block);
    readBytes(stream, 2);
    ASSERT_TRUE(block.ensureSpace(1));
    *block.getInsertionPoint() = 'c';
    block.incrementUsedSize(1);
    EXPECT_EQ(readBytes(stream, 5), "c");
    block.reset(); // shorter than the position
    EXPECT_EQ(readBytes(stream, 5), "");
}

// --- Text ---

TEST(InputStreamTest, TheSizeIsThatOfTheWholeContent)
{
    const MemoryBlock block("abc", 3);
    MemoryInputStream stream(block);
    unsigned int size = 0;
    EXPECT_TRUE(stream.getSize(size));
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(readBytes(stream, 1), "a") << "asking moves nothing";
    NullInputStream nothing;
    EXPECT_FALSE(nothing.getSize(size));
    EXPECT_EQ(size, 3u) << "left alone";
}

TEST(InputStreamTest, WideTextIsLittleEndianUnits)
{
    const MemoryBlock block = blockOf(std::string_view("A\0\xE9\0\x3C\x20", 6));
    MemoryInputStream stream(block);
    EXPECT_EQ(readText(stream, 3), L"A\u00E9\u203C");
}

TEST(InputStreamTest, SurrogatesComeOneByOne)
{
    const MemoryBlock block = blockOf(std::string_view("\x3D\xD8\x00\xDE", 4));
    MemoryInputStream stream(block);
    const std::wstring text = readText(stream, 10);
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(static_cast<unsigned int>(text[0]), 0xD83Du);
    EXPECT_EQ(static_cast<unsigned int>(text[1]), 0xDE00u);
}

TEST(InputStreamTest, OddByteAtTheEndIsReadAndNotCounted)
{
    const MemoryBlock block = blockOf(std::string_view("a\0b\0c", 5));
    MemoryInputStream stream(block);
    EXPECT_EQ(readText(stream, 3), L"ab");
    EXPECT_EQ(readBytes(stream, 1), "");
}

// --- FileInputStream ---

TEST(FileInputStreamTest, ReadsAFileInEitherMode)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "one\r\ntwo\n");
    for (const FileOpenMode mode : {FileOpenMode::kText, FileOpenMode::kBinary})
    {
        FileInputStream stream(folder.widePath(L"a.txt").c_str(), mode);
        EXPECT_TRUE(stream.isOK());
        EXPECT_EQ(readBytes(stream, 5), "one\r\n");
        unsigned int size = 0;
        EXPECT_EQ(dataOf(stream, size), "one\r\ntwo\n");
        EXPECT_EQ(readBytes(stream, 50), "two\n");
        EXPECT_EQ(readBytes(stream, 50), "");
    }
}

TEST(FileInputStreamTest, KnowsItsSizeWhereverReadingIs)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "one two");
    FileInputStream stream(folder.widePath(L"a.txt").c_str(), FileOpenMode::kBinary);
    for (int i = 0; i < 3; ++i)
    {
        unsigned int size = 0;
        EXPECT_TRUE(stream.getSize(size));
        EXPECT_EQ(size, 7u);
        readBytes(stream, 4);
    }
}

TEST(FileInputStreamTest, AFileThatIsCutShortWhileItIsReadEndsThere)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "one two three");
    FileInputStream stream(folder.widePath(L"a.txt").c_str(), FileOpenMode::kBinary);
    EXPECT_EQ(readBytes(stream, 4), "one ");
    std::error_code whereOthersMayNotWrite;
    std::filesystem::resize_file(folder.file("a.txt"), 6, whereOthersMayNotWrite);
    EXPECT_EQ(readBytes(stream, 50), whereOthersMayNotWrite ? "two three" : "tw");
    EXPECT_TRUE(stream.isOK());
}

TEST(FileInputStreamTest, WhatIsAddedToAFileThatIsOpenIsNotRead)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "one");
    FileInputStream stream(folder.widePath(L"a.txt").c_str(), FileOpenMode::kBinary);
    folder.write("a.txt", "one two");
    EXPECT_EQ(readBytes(stream, 50), "one");
}

TEST(FileInputStreamTest, NamesOutsideAsciiAreFound)
{
    const TemporaryFolder folder;
    folder.write("\xC3\xA9\xE2\x82\xAC.txt", "x");
    FileInputStream stream(folder.widePath(L"\u00E9\u20AC.txt").c_str(), FileOpenMode::kBinary);
    EXPECT_TRUE(stream.isOK());
}

TEST(FileInputStreamTest, CopiesKeepTheFileOpenAndReadOnTheirOwn)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "abc");
    std::optional<FileInputStream> stream(std::in_place, folder.widePath(L"a.txt").c_str(), FileOpenMode::kBinary);
    readBytes(*stream, 1);
    FileInputStream copy(*stream);
    stream.reset();
    EXPECT_TRUE(copy.isOK());
    EXPECT_EQ(readBytes(copy, 5), "bc");
}

TEST(FileInputStreamTest, MissingFileFailsAtCreateFile)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::wstring path = folder.widePath(L"none.txt");
    FileInputStream stream(path.c_str(), FileOpenMode::kBinary);
    expectOneError(log, path, L"CreateFile");
    expectNotOK(stream);
}

TEST(FileInputStreamTest, DirectoryFailsAtCreateFile)
{
    LogRecorder log;
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    const std::wstring path = folder.widePath(L"sub");
    FileInputStream stream(path.c_str(), FileOpenMode::kBinary);
    expectOneError(log, path, L"CreateFile");
    expectNotOK(stream);
}

TEST(FileInputStreamTest, EmptyFileFailsAtCreateFileMapping)
{
    LogRecorder log;
    const TemporaryFolder folder;
    folder.write("empty", "");
    const std::wstring path = folder.widePath(L"empty");
    FileInputStream stream(path.c_str(), FileOpenMode::kBinary);
    expectOneError(log, path, L"CreateFileMapping");
    expectNotOK(stream);
}

TEST(FileInputStreamTest, FileOfFourGibibytesFailsAtGetFileSize)
{
    LogRecorder log;
    const TemporaryFolder folder;
    folder.write("large", "");
    std::filesystem::resize_file(folder.file("large"), std::uintmax_t{1} << 32); // takes no space on the disk
    const std::wstring path = folder.widePath(L"large");
    FileInputStream stream(path.c_str(), FileOpenMode::kBinary);
    expectOneError(log, path, L"GetFileSize");
    expectNotOK(stream);
}

TEST(FileInputStreamTest, NullPathFailsAtCreateFile)
{
    LogRecorder log;
    FileInputStream stream(nullptr, FileOpenMode::kBinary);
    expectOneError(log, L"(null)", L"CreateFile");
    expectNotOK(stream);
}

} // namespace
