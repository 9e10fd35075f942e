#include <db2/OutputStream.h>

#include "support/LogRecorder.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <string>

#if !defined(_WIN32)
#include <sys/stat.h> // mkfifo
#include <unistd.h>
#endif

namespace {

using namespace db2;
using db2test::LogRecorder;
using db2test::TemporaryFolder;

constexpr OutputStreamEncoding kUtf16 = OutputStreamEncoding::kUtf16;
constexpr OutputStreamEncoding kUtf8 = OutputStreamEncoding::kUtf8;

std::string content(const MemoryBlock& block)
{
    return {block.getData(), block.getUsedSize()};
}

/// What a wide text becomes.
std::string encoded(const std::wstring& text, OutputStreamEncoding encoding)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, encoding);
    EXPECT_TRUE(stream.write(text.data(), static_cast<unsigned int>(text.size())));
    return content(block);
}

/// Expects that one error has been logged since the last call: a step of writing, with an error of the system.
void expectOneFailure(LogRecorder& log, const wchar_t* path, const std::wstring& step)
{
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, LogRecorder::kError);
    const std::wstring start = L"KQDatabase2 : Writing file '" + std::wstring(path != nullptr ? path : L"(null)") +
                               L"', " + step + L" failed with error ";
    EXPECT_EQ(lines[0].text.substr(0, start.size()), start);
    EXPECT_GT(lines[0].text.size(), start.size() + 4); // the number and the text
}

/// Counts the calls that bring bytes.
class CountingStream : public OutputStream
{
public:
    explicit CountingStream(OutputStreamEncoding encoding) : OutputStream(encoding) {}
    bool isOK() override { return true; }
    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override
    {
        ++calls;
        written.append(bytes, count);
        return answer;
    }

    int calls = 0;
    std::string written;
    bool answer = true;
};

#if !defined(_WIN32)
/// While it lives, the superuser, whom no permission holds up, acts as one who has none.
class AsOrdinaryUser
{
public:
    AsOrdinaryUser() { EXPECT_EQ(seteuid(former_ == 0 ? kNobody : former_), 0); }
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
    ~AsOrdinaryUser() { EXPECT_EQ(seteuid(former_), 0); }

private:
    static constexpr uid_t kNobody = 65534;

    const uid_t former_ = geteuid();
};
#endif

// --- Text ---

TEST(OutputStreamTest, WideTextIsUnitsOrUtf8)
{
    EXPECT_EQ(encoded(L"\u00E9", kUtf8), "\xC3\xA9");
    EXPECT_EQ(encoded(L"\u00E9", kUtf16), std::string("\xE9\0", 2));
    EXPECT_EQ(encoded(L"a\u20AC", kUtf16), std::string("a\0\xAC\x20", 4));
}

TEST(OutputStreamTest, CharactersAboveTheFirstPlaneAreSurrogatePairs)
{
    EXPECT_EQ(encoded(L"\U0001F600", kUtf16), std::string("\x3D\xD8\x00\xDE", 4));
    EXPECT_EQ(encoded(L"\U0001F600", kUtf8), "\xF0\x9F\x98\x80");
}

TEST(OutputStreamTest, UnpairedSurrogatesStandInUnitsAndBecomeReplacementsInUtf8)
{
    const std::wstring lone(1, static_cast<wchar_t>(0xD83D));
    EXPECT_EQ(encoded(lone, kUtf16), "\x3D\xD8");
    EXPECT_EQ(encoded(lone, kUtf8), "\xEF\xBF\xBD");
}

TEST(OutputStreamTest, NoByteOrderMarkIsWritten)
{
    EXPECT_EQ(encoded(L"", kUtf16), "");
    EXPECT_EQ(encoded(L"", kUtf8), "");
}

TEST(OutputStreamTest, TerminatedTextsEndBeforeTheirTerminator)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    EXPECT_TRUE(stream.write(L"wide\u00E9"));
    EXPECT_TRUE(stream.write("narrow\xE9"));
    EXPECT_EQ(content(block), "wide\xC3\xA9narrow\xE9");
}

TEST(OutputStreamTest, NarrowTextIgnoresTheEncoding)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf16);
    EXPECT_TRUE(stream.write("ab"));
    EXPECT_EQ(content(block), "ab");
}

TEST(OutputStreamTest, NullTextsAreRefused)
{
    CountingStream stream(kUtf8);
    EXPECT_FALSE(stream.write(static_cast<const wchar_t*>(nullptr)));
    EXPECT_FALSE(stream.write(static_cast<const wchar_t*>(nullptr), 3u));
    EXPECT_FALSE(stream.write(static_cast<const char*>(nullptr)));
    EXPECT_EQ(stream.calls, 0);
}

TEST(OutputStreamTest, EachTextIsOneWriteOfBytesHoweverLong)
{
    const std::wstring text(100000, L'\u00E9');
    for (const OutputStreamEncoding encoding : {kUtf16, kUtf8})
    {
        CountingStream stream(encoding);
        EXPECT_TRUE(stream.write(text.c_str()));
        EXPECT_EQ(stream.calls, 1);
        EXPECT_EQ(stream.written.size(), 200000u);
    }
}

TEST(OutputStreamTest, TextReturnsWhatTheBytesReturned)
{
    CountingStream stream(kUtf8);
    stream.answer = false;
    EXPECT_FALSE(stream.write(L"a"));
    EXPECT_FALSE(stream.write("a"));
}

// --- MemoryOutputStream ---

TEST(MemoryOutputStreamTest, AppendsAndDoublesTheRoom)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    const std::string bytes(1025, 'x');
    EXPECT_TRUE(stream.write(bytes.data(), 1025));
    EXPECT_EQ(block.getAllocatedSize(), 2050u);
    EXPECT_TRUE(stream.write("yz"));
    EXPECT_EQ(content(block), bytes + "yz");
    EXPECT_TRUE(stream.isOK());
}

TEST(MemoryOutputStreamTest, NoBytesSucceedAndChangeNothing)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    EXPECT_TRUE(stream.write("abc", 0));
    EXPECT_EQ(block.getUsedSize(), 0u);
    EXPECT_EQ(block.getAllocatedSize(), 1024u);
}

TEST(MemoryOutputStreamTest, BytesOfTheBlockItselfAreAppendedAlsoWhenItGrows)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    std::string expected(1000, 'x');
    expected += "end";
    ASSERT_TRUE(stream.write(expected.c_str()));
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_TRUE(stream.write(block.getData(), block.getUsedSize()));
        expected += expected;
        EXPECT_TRUE(stream.write(block.getData() + 1000, 3));
        expected += expected.substr(1000, 3);
    }
    EXPECT_EQ(content(block), expected);
}

TEST(MemoryOutputStreamTest, NullBytesAreRefused)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    EXPECT_FALSE(stream.write(static_cast<const char*>(nullptr), 0u));
    EXPECT_EQ(block.getUsedSize(), 0u);
}

TEST(MemoryOutputStreamTest, MoreThanFitsIsRefusedAndTheBytesStay)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, kUtf8);
    ASSERT_TRUE(stream.write("abc"));
    EXPECT_FALSE(stream.write("x", std::numeric_limits<unsigned int>::max()));
    EXPECT_EQ(content(block), "abc");
    EXPECT_TRUE(stream.isOK());
}

// --- FileOutputStream ---

TEST(FileOutputStreamTest, ReplacesTheContentAndClosesAtTheEnd)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "much longer content");
    {
        FileOutputStream stream(folder.widePath(L"a.txt").c_str(), FileOpenMode::kBinary, kUtf8);
        EXPECT_TRUE(stream.isOK());
        EXPECT_TRUE(stream.write(L"\u00E9\n"));
    }
    EXPECT_EQ(folder.read("a.txt"), "\xC3\xA9\n");
}

TEST(FileOutputStreamTest, CloseTellsOnceThatEverythingArrived)
{
    const TemporaryFolder folder;
    FileOutputStream stream(folder.widePath(L"\u00E9.txt").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.write("abc"));
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(folder.read("\xC3\xA9.txt"), "abc");
    EXPECT_FALSE(stream.isOK());
    EXPECT_FALSE(stream.write("d"));
    EXPECT_FALSE(stream.close());
}

TEST(FileOutputStreamTest, CopiesShareTheFileAndTheLastOneClosesIt)
{
    const TemporaryFolder folder;
    std::optional<FileOutputStream> stream(std::in_place, folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    {
        FileOutputStream copy(*stream);
        EXPECT_TRUE(copy.write("a"));
    }
    EXPECT_TRUE(stream->write("b"));
    stream.reset();
    EXPECT_EQ(folder.read("a"), "ab");
}

TEST(FileOutputStreamTest, WhatCannotBeOpenedIsNotOKAndLogged)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::wstring missing = folder.widePath(L"none/a");
    const std::wstring itself = folder.widePath(L"");
    for (const wchar_t* const path : {missing.c_str(), itself.c_str(), L"", static_cast<const wchar_t*>(nullptr)})
    {
        SCOPED_TRACE(testing::Message() << (path != nullptr ? path : L"null"));
        FileOutputStream stream(path, FileOpenMode::kBinary, kUtf8);
        EXPECT_FALSE(stream.isOK());
        EXPECT_FALSE(stream.write("a"));
        EXPECT_FALSE(stream.close());
        expectOneFailure(log, path, L"opening it in FileOutputStream");
    }
}

TEST(FileOutputStreamTest, NullBytesAreRefusedAndLoseNothing)
{
    const TemporaryFolder folder;
    FileOutputStream stream(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.write(static_cast<const char*>(nullptr), 1u));
    EXPECT_TRUE(stream.isOK());
}

#if defined(__linux__)
TEST(FileOutputStreamTest, FullDiskMakesItNotOKAndCloseTells)
{
    FileOutputStream stream(L"/dev/full", FileOpenMode::kBinary, kUtf8);
    const std::string bytes(1 << 20, 'x'); // more than any buffer
    EXPECT_FALSE(stream.write(bytes.data(), static_cast<unsigned int>(bytes.size())));
    EXPECT_FALSE(stream.isOK());
    EXPECT_FALSE(stream.close());
}
#endif

// --- AtomicFileOutputStream ---

TEST(AtomicFileOutputStreamTest, OldContentStaysUntilTheCommit)
{
    const TemporaryFolder folder;
    folder.write("a", "old");
    AtomicFileOutputStream stream(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.isOK());
    EXPECT_TRUE(stream.write(L"n\u00E9w"));
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_TRUE(stream.commit());
    EXPECT_EQ(folder.read("a"), "n\xC3\xA9w");
    EXPECT_EQ(folder.count(), 1u);
}

TEST(AtomicFileOutputStreamTest, MakesAFileThatWasNotThere)
{
    const TemporaryFolder folder;
    AtomicFileOutputStream stream(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.write("new"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("a")));
    EXPECT_TRUE(stream.commit());
    EXPECT_EQ(folder.read("a"), "new");
}

TEST(AtomicFileOutputStreamTest, WithoutACommitNothingIsLeft)
{
    const TemporaryFolder folder;
    folder.write("a", "old");
    {
        AtomicFileOutputStream stream(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
        EXPECT_TRUE(stream.write("new"));
        EXPECT_EQ(folder.count(), 2u);
    }
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_EQ(folder.count(), 1u);
}

TEST(AtomicFileOutputStreamTest, IsUsedUpByTheCommit)
{
    const TemporaryFolder folder;
    AtomicFileOutputStream stream(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.write("new"));
    EXPECT_TRUE(stream.commit());
    EXPECT_FALSE(stream.isOK());
    EXPECT_FALSE(stream.write("more"));
    EXPECT_FALSE(stream.commit());
    EXPECT_EQ(folder.read("a"), "new");
}

TEST(AtomicFileOutputStreamTest, TwoAtATimeAndLeftoversDoNotMeet)
{
    const TemporaryFolder folder;
    folder.write("a.saving0", "left by a crash");
    AtomicFileOutputStream first(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    AtomicFileOutputStream second(folder.widePath(L"a").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(first.write("first"));
    EXPECT_TRUE(second.write("second"));
    EXPECT_TRUE(second.commit());
    EXPECT_EQ(folder.read("a"), "second");
    EXPECT_TRUE(first.commit());
    EXPECT_EQ(folder.read("a"), "first");
    EXPECT_EQ(folder.read("a.saving0"), "left by a crash");
}

TEST(AtomicFileOutputStreamTest, MissingFolderIsNotOKAndLogged)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::wstring path = folder.widePath(L"none/a");
    AtomicFileOutputStream stream(path.c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.isOK());
    expectOneFailure(log, path.c_str(), L"creating a temporary file in AtomicFileOutputStream");
    EXPECT_FALSE(stream.write("a"));
    EXPECT_FALSE(stream.commit());
}

TEST(AtomicFileOutputStreamTest, AFolderIsNotReplaced)
{
    LogRecorder log;
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("a"));
    folder.write("a/inside", "x");
    const std::wstring path = folder.widePath(L"a");
    AtomicFileOutputStream stream(path.c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.isOK());
    expectOneFailure(log, path.c_str(), L"replacing what is no file in AtomicFileOutputStream");
    EXPECT_FALSE(stream.write("new"));
    EXPECT_FALSE(stream.commit());
    EXPECT_EQ(folder.count(), 1u);
    EXPECT_EQ(folder.read("a/inside"), "x");
}

TEST(AtomicFileOutputStreamTest, NoNameIsNotOKAndMakesNoFile)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(folder.file("."));
    for (const wchar_t* const path : {L"", static_cast<const wchar_t*>(nullptr)})
    {
        AtomicFileOutputStream stream(path, FileOpenMode::kBinary, kUtf8);
        EXPECT_FALSE(stream.isOK());
        expectOneFailure(log, L"", L"opening it in AtomicFileOutputStream");
        EXPECT_EQ(folder.count(), 0u);
    }
    std::filesystem::current_path(former);
}

#if !defined(_WIN32)
TEST(AtomicFileOutputStreamTest, APipeIsNotReplaced)
{
    LogRecorder log;
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    AtomicFileOutputStream stream(folder.widePath(L"pipe").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.isOK());
    EXPECT_FALSE(stream.write("new"));
    EXPECT_FALSE(stream.commit());
    expectOneFailure(log, folder.widePath(L"pipe").c_str(), L"replacing what is no file in AtomicFileOutputStream");
    EXPECT_TRUE(std::filesystem::is_fifo(folder.file("pipe")));
    EXPECT_EQ(folder.count(), 1u);
}

TEST(AtomicFileOutputStreamTest, SymbolicLinksAndPermissionsStay)
{
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    folder.write("a", "old");
    fs::permissions(folder.file("a"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    fs::create_symlink("a", folder.file("link"));
    AtomicFileOutputStream stream(folder.widePath(L"link").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.write("new"));
    EXPECT_TRUE(stream.commit());
    EXPECT_TRUE(fs::is_symlink(folder.file("link")));
    EXPECT_EQ(folder.read("a"), "new");
    EXPECT_EQ(fs::status(folder.file("a")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST(AtomicFileOutputStreamTest, ALinkToNoFileYetKeepsLeadingToTheNewOne)
{
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    fs::create_directory(folder.file("sub"));
    fs::create_symlink("sub/second", folder.file("first"));
    fs::create_symlink("../new", folder.file("sub/second"));
    AtomicFileOutputStream stream(folder.widePath(L"first").c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_TRUE(stream.write("new"));
    EXPECT_TRUE(stream.commit());
    EXPECT_TRUE(fs::is_symlink(folder.file("first")));
    EXPECT_TRUE(fs::is_symlink(folder.file("sub/second")));
    EXPECT_FALSE(fs::is_symlink(folder.file("new")));
    EXPECT_EQ(folder.read("new"), "new");
}

TEST(AtomicFileOutputStreamTest, LinksThatLeadNowhereAreNotReplaced)
{
    namespace fs = std::filesystem;
    LogRecorder log;
    const TemporaryFolder folder;
    fs::create_symlink("circle", folder.file("circle"));
    fs::create_symlink("none/a", folder.file("astray"));
    for (const wchar_t* const name : {L"circle", L"astray"})
    {
        AtomicFileOutputStream stream(folder.widePath(name).c_str(), FileOpenMode::kBinary, kUtf8);
        EXPECT_FALSE(stream.isOK());
        EXPECT_EQ(log.take().size(), 1u);
    }
    EXPECT_TRUE(fs::is_symlink(folder.file("circle")));
    EXPECT_TRUE(fs::is_symlink(folder.file("astray")));
    EXPECT_EQ(folder.count(), 2u);
}

TEST(AtomicFileOutputStreamTest, ANameAsLongAsTheSystemTakesIsSaved)
{
    LogRecorder log;
    const TemporaryFolder folder;
    for (const std::size_t characters : {47u, 48u, 49u, 240u, 247u, 248u, 255u})
    {
        SCOPED_TRACE(characters);
        const std::string name(characters, 'n');
        AtomicFileOutputStream stream(folder.widePath(std::wstring(characters, L'n')).c_str(), FileOpenMode::kBinary,
                                      kUtf8);
        EXPECT_TRUE(stream.write("new"));
        EXPECT_TRUE(stream.commit());
        EXPECT_EQ(folder.read(name), "new");
        std::filesystem::remove(folder.file(name));
    }
    EXPECT_EQ(folder.count(), 0u);
    EXPECT_EQ(log.take().size(), 0u);
}

TEST(AtomicFileOutputStreamTest, ANameThatIsTooLongIsRefusedAtTheOpening)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::wstring path = folder.widePath(std::wstring(256, L'n'));
    AtomicFileOutputStream stream(path.c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.isOK());
    expectOneFailure(log, path.c_str(), L"opening it in AtomicFileOutputStream");
    EXPECT_EQ(folder.count(), 0u);
}

TEST(AtomicFileOutputStreamTest, AFileThatMayNotBeWrittenIsRefusedAsByFileOutputStream)
{
    namespace fs = std::filesystem;
    LogRecorder log;
    const TemporaryFolder folder;
    fs::permissions(folder.file("."), fs::perms::all);
    folder.write("a", "old");
    fs::permissions(folder.file("a"), fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const AsOrdinaryUser user;
    const std::wstring path = folder.widePath(L"a");
    FileOutputStream(path.c_str(), FileOpenMode::kBinary, kUtf8);
    expectOneFailure(log, path.c_str(), L"opening it in FileOutputStream");
    AtomicFileOutputStream stream(path.c_str(), FileOpenMode::kBinary, kUtf8);
    EXPECT_FALSE(stream.isOK());
    expectOneFailure(log, path.c_str(), L"opening it in AtomicFileOutputStream");
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_EQ(folder.count(), 1u);
}
#endif

} // namespace
