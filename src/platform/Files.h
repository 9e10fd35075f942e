#pragma once

#include <kqx/String.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

/// What the library asks of the operating system about files, one source for each system. Paths are wide; where the
/// system takes bytes they are passed as UTF-8, whatever the locale.
namespace db2 {

/// A file that is open for reading, and its size when it was opened.
class FileContent
{
public:
    /// Logs the first step that fails, with the path and the system's text. @return null when one failed.
    [[nodiscard]] static std::shared_ptr<FileContent> open(const wchar_t* path);

    FileContent(const FileContent&) = delete;
    FileContent& operator=(const FileContent&) = delete;
    ~FileContent();

    [[nodiscard]] std::uint32_t size() const { return size_; }

    /// Copies bytes from a position on. @return how many there were; fewer when the file ends, or a read fails.
    [[nodiscard]] std::uint32_t read(std::uint32_t position, char* buffer, std::uint32_t bytes);

    /// All bytes at once, for as long as this lives. @return null when they cannot be had.
    [[nodiscard]] const char* data();

    /// True once a read has failed, which is logged.
    [[nodiscard]] bool hasFailed() const { return failed_; }

private:
    FileContent() = default;

    const char* data_ = nullptr;
    std::uint32_t size_ = 0;
    bool failed_ = false;
#if defined(_WIN32)
    void* file_ = nullptr; ///< handles
    void* mapping_ = nullptr;
#else
    void fail();

    int descriptor_ = -1;
    kqx::String path_; ///< for messages
#endif
};

enum class Creation
{
    kTruncate, ///< empties a file that is there
    kNew       ///< fails when one is there
};

/// Opens a file for writing. @return null, with the system's last error set, on failure; close it by std::fclose.
[[nodiscard]] std::FILE* openForWriting(const wchar_t* path, bool asText, Creation creation);

/// True when the last failure of openForWriting() was that a file is there already.
[[nodiscard]] bool lastErrorIsFileExists();

/// Looks for what forbids to put a file in the place of what is at @p path: no name, a folder, a device, a pipe or the like,
/// a file that we may not write to. Nothing there yet is fine, whether or not its folder is there.
/// @return null if nothing does, else the step that fails, for messages, with the last error set.
[[nodiscard]] const wchar_t* checkReplaceable(const wchar_t* path);

// Steps that checkReplaceable() names
inline constexpr const wchar_t* kOpeningFile = L"opening it";
inline constexpr const wchar_t* kReplacingNoFile = L"replacing what is no file";

/// Where the last name of a path begins, behind the folders.
[[nodiscard]] std::size_t findFileName(const kqx::String& path);

/// Makes the system write the file's content to the disk. @return false, with the last error set, on failure.
[[nodiscard]] bool flushToDisk(std::FILE* file);

/// Gives an open file the permissions of the one at @p path, as far as the system has such and lets us.
void copyPermissions(const wchar_t* path, std::FILE* to);

/// Gives a file the name of another, which it replaces in one step, and makes the system note it on the disk.
/// @return false, with the last error set, on failure: both are as they were.
[[nodiscard]] bool replaceFile(const wchar_t* replacement, const wchar_t* replaced);

/// Removes a file; a failure leaves it.
void removeFile(const wchar_t* path);

/// Where a path that may be a symbolic link leads, also when no file is there yet; the path itself when it is none.
/// Throws std::bad_alloc.
[[nodiscard]] kqx::String followLinks(const wchar_t* path);

} // namespace db2
