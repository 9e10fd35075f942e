#include "Files.h"

#include "../OutOfMemory.h"

#include <db2/Library.h>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace db2 {
namespace {

const wchar_t* orEmpty(const wchar_t* path)
{
    return path != nullptr ? path : L"";
}

/// The C runtime's functions set errno; what is logged is the system's last error.
void takeOverErrno()
{
    if (GetLastError() != 0)
        return;
    SetLastError(errno == EEXIST ? ERROR_FILE_EXISTS : ERROR_WRITE_FAULT);
}

} // namespace

// --- Reading ---

std::shared_ptr<FileContent> FileContent::open(const wchar_t* path)
{
    std::shared_ptr<FileContent> content;
    if (!succeeds([&] { content.reset(new FileContent); }))
        return nullptr;
    const HANDLE file = CreateFileW(orEmpty(path), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        logLastWindowsError(L"Reading file '%s', CreateFile() in FileInputStream", path);
        return nullptr;
    }
    content->file_ = file;

    DWORD high = 0;
    SetLastError(NO_ERROR);
    const DWORD size = GetFileSize(file, &high);
    const bool isTooLarge = high != 0 || (size == INVALID_FILE_SIZE && GetLastError() == NO_ERROR);
    if (isTooLarge)
        SetLastError(ERROR_NOT_SUPPORTED); // ERROR_FILE_TOO_LARGE says more, but not every system has a text for it
    if (size == INVALID_FILE_SIZE || isTooLarge)
    {
        logLastWindowsError(L"Reading file '%s', GetFileSize() in FileInputStream", path);
        return nullptr;
    }
    content->mapping_ = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr); // fails for an empty file
    if (content->mapping_ == nullptr)
    {
        logLastWindowsError(L"Reading file '%s', CreateFileMapping() in FileInputStream", path);
        return nullptr;
    }
    // While it is open nobody else may write to the file, so the view stays whole.
    content->data_ = static_cast<const char*>(MapViewOfFile(content->mapping_, FILE_MAP_READ, 0, 0, 0));
    if (content->data_ == nullptr)
    {
        logLastWindowsError(L"Reading file '%s', MapViewOfFile() in FileInputStream", path);
        return nullptr;
    }
    content->size_ = size;
    return content;
}

std::uint32_t FileContent::read(std::uint32_t position, char* buffer, std::uint32_t bytes)
{
    const std::uint32_t count = position < size_ ? std::min(bytes, size_ - position) : 0;
    if (count != 0)
        std::memcpy(buffer, data_ + position, count);
    return count;
}

const char* FileContent::data()
{
    return data_;
}

FileContent::~FileContent()
{
    if (data_ != nullptr)
        UnmapViewOfFile(data_);
    if (mapping_ != nullptr)
        CloseHandle(mapping_);
    if (file_ != nullptr)
        CloseHandle(file_);
}

// --- Writing ---

std::FILE* openForWriting(const wchar_t* path, bool asText, Creation creation)
{
    SetLastError(NO_ERROR);
    std::FILE* file = nullptr;
    if (creation == Creation::kTruncate)
        file = _wfopen(orEmpty(path), asText ? L"wt" : L"wb");
    else
    {
        const int flags = _O_WRONLY | _O_CREAT | _O_EXCL | (asText ? _O_TEXT : _O_BINARY);
        const int descriptor = _wsopen(orEmpty(path), flags, _SH_DENYWR, _S_IREAD | _S_IWRITE);
        if (descriptor >= 0)
            file = _wfdopen(descriptor, asText ? L"wt" : L"wb");
        if (descriptor >= 0 && file == nullptr)
        {
            _close(descriptor);
            DeleteFileW(path);
        }
    }
    if (file == nullptr)
        takeOverErrno();
    return file;
}

bool lastErrorIsFileExists()
{
    return GetLastError() == ERROR_FILE_EXISTS;
}

const wchar_t* checkReplaceable(const wchar_t* path)
{
    const DWORD attributes = GetFileAttributesW(orEmpty(path));
    if (attributes == INVALID_FILE_ATTRIBUTES)
    {
        const bool hasName = *orEmpty(path) != L'\0';
        const DWORD error = GetLastError();
        return hasName && (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) ? nullptr : kOpeningFile;
    }
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder || (attributes & FILE_ATTRIBUTE_READONLY) != 0)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return isFolder ? kReplacingNoFile : kOpeningFile;
    }
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path, 0, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr; // the next step says better what is wrong
    const bool isOnDisk = GetFileType(file) == FILE_TYPE_DISK;
    CloseHandle(file);
    if (isOnDisk)
        return nullptr;
    SetLastError(ERROR_INVALID_PARAMETER);
    return kReplacingNoFile;
}

std::size_t findFileName(const kqx::String& path)
{
    const std::size_t separator = std::wstring_view(path).find_last_of(L"/\\:");
    return separator == std::wstring_view::npos ? 0 : separator + 1;
}

bool flushToDisk(std::FILE* file)
{
    SetLastError(NO_ERROR);
    const bool flushed = std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
    if (!flushed)
        takeOverErrno();
    return flushed;
}

void copyPermissions(const wchar_t*, std::FILE*) {} // a file takes its folder's, as the replaced one usually did

bool replaceFile(const wchar_t* replacement, const wchar_t* replaced)
{
    return MoveFileExW(replacement, replaced, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

void removeFile(const wchar_t* path)
{
    DeleteFileW(path);
}

kqx::String followLinks(const wchar_t* path)
{
    return path; // renaming over a link replaces the link
}

} // namespace db2
