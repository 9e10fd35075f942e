#include "Files.h"

#include "../OutOfMemory.h"

#include <db2/Library.h>

#include <kqx/UTF8.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace db2 {
namespace {

/// A path as the system takes it. Throws std::bad_alloc.
std::string systemPath(const wchar_t* path)
{
    if (path == nullptr)
        return {};
    const std::size_t characters = std::wcslen(path);
    std::string bytes(kqx::UTF8Length(path, characters), '\0');
    kqx::UTF8FromUCS2(path, characters, bytes.data());
    return bytes;
}

/// The same for functions that report through the last error. @return false, with it set, when memory is out.
bool makeSystemPath(const wchar_t* path, std::string& out)
{
    if (succeeds([&] { out = systemPath(path); }))
        return true;
    errno = ENOMEM;
    return false;
}

/// Closes a descriptor at the end of its scope, keeping the error that is to be reported.
class Descriptor
{
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        const int error = errno;
        if (isOpen())
            ::close(descriptor_);
        errno = error;
    }
    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }

private:
    int descriptor_;
};

/// Without waiting for a writer when the path names a pipe. @return a closed one, with the last error set, on failure.
int openForReading(const wchar_t* path)
{
    std::string bytes;
    if (!makeSystemPath(path, bytes))
        return -1;
    int descriptor = -1;
    do
        descriptor = ::open(bytes.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// Reads up to @p size bytes from a position on. @return how many there were; -1, with the last error set, on failure.
std::int64_t readAt(int descriptor, std::uint32_t position, char* buffer, std::uint32_t size)
{
    std::uint32_t count = 0;
    while (count < size)
    {
        const ssize_t got =
            ::pread(descriptor, buffer + count, size - count, static_cast<off_t>(position) + static_cast<off_t>(count));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0) // cut short since it was measured
            break;
        count += static_cast<std::uint32_t>(got);
    }
    return count;
}

/// Makes a file's new name last: a rename is noted in its folder.
void flushFolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_CLOEXEC | O_DIRECTORY));
    if (opened.isOpen())
        ::fsync(opened.get()); // not every file system can; the rename stands all the same
}

/// Follows symbolic links to a name where no file is yet, as opening the path for writing would. Throws std::bad_alloc.
std::string endOfLinks(std::string path)
{
    constexpr int kMostLinks = 40; // as many as Linux follows; in a circle it ends at a link
    std::array<char, 4096> link;
    for (int i = 0; i < kMostLinks; ++i)
    {
        const ssize_t bytes = ::readlink(path.c_str(), link.data(), link.size());
        if (bytes <= 0 || static_cast<std::size_t>(bytes) == link.size())
            break;
        if (link[0] == '/')
            path.clear();
        else
            path.resize(path.rfind('/') + 1); // 0 without one
        path.append(link.data(), static_cast<std::size_t>(bytes));
    }
    return path;
}

// The steps of reading a file, by the names that they have in messages on every system.
constexpr const wchar_t* kOpening = L"CreateFile()";
constexpr const wchar_t* kMeasuring = L"GetFileSize()";
constexpr const wchar_t* kMapping = L"CreateFileMapping()";
constexpr const wchar_t* kFetching = L"MapViewOfFile()";

/// With the last error set.
void logFailure(const wchar_t* step, const wchar_t* path)
{
    logLastWindowsError(L"Reading file '%s', %s in FileInputStream", path, step);
}

const wchar_t* failWith(int error, const wchar_t* step)
{
    errno = error;
    return step;
}

/// Looks whether an open file can be read, and how large it is. @return null if so, else the step that fails, with the
/// last error set.
const wchar_t* measure(int descriptor, std::uint32_t& outSize)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return kMeasuring;
    if (S_ISDIR(status.st_mode))
        return failWith(EISDIR, kOpening);
    if (status.st_size >= std::numeric_limits<std::uint32_t>::max())
        return failWith(EFBIG, kMeasuring);
    if (status.st_size == 0)
        return failWith(EINVAL, kMapping);
    outSize = static_cast<std::uint32_t>(status.st_size);
    return nullptr;
}

} // namespace

// --- Reading ---

std::shared_ptr<FileContent> FileContent::open(const wchar_t* path)
{
    Descriptor file(openForReading(path));
    std::uint32_t size = 0;
    const wchar_t* failed = file.isOpen() ? measure(file.get(), size) : kOpening;
    std::shared_ptr<FileContent> content;
    const auto make = [&] {
        content.reset(new FileContent);
        content->path_ = path;
    };
    if (failed == nullptr && !succeeds(make))
        failed = failWith(ENOMEM, kFetching);
    if (failed != nullptr)
    {
        logFailure(failed, path);
        return nullptr;
    }
    content->descriptor_ = file.release();
    content->size_ = size;
    return content;
}

/// With the last error set. Once is enough: what could not be read makes itself felt again.
void FileContent::fail()
{
    if (!failed_)
        logFailure(kFetching, path_.c_str());
    failed_ = true;
}

std::uint32_t FileContent::read(std::uint32_t position, char* buffer, std::uint32_t bytes)
{
    const std::uint32_t wanted = position < size_ ? std::min(bytes, size_ - position) : 0;
    const std::int64_t count = readAt(descriptor_, position, buffer, wanted);
    if (count < 0)
        fail();
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

/// Read, not mapped: whoever cuts a mapped file short ends the reading process.
const char* FileContent::data()
{
    if (data_ != nullptr || failed_)
        return data_;
    char* const bytes = static_cast<char*>(std::malloc(size_));
    if (bytes == nullptr)
        errno = ENOMEM;
    const std::int64_t count = bytes != nullptr ? readAt(descriptor_, 0, bytes, size_) : -1;
    if (count == 0)
        errno = EINVAL;
    if (count <= 0)
    {
        fail();
        std::free(bytes);
        return nullptr;
    }
    size_ = static_cast<std::uint32_t>(count);
    data_ = bytes;
    return data_;
}

FileContent::~FileContent()
{
    std::free(const_cast<char*>(data_));
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

// --- Writing ---

std::FILE* openForWriting(const wchar_t* path, bool, Creation creation)
{
    std::string bytes;
    if (!makeSystemPath(path, bytes))
        return nullptr;
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (creation == Creation::kNew ? O_EXCL : O_TRUNC);
    const int descriptor = ::open(bytes.c_str(), flags, 0666);
    if (descriptor < 0)
        return nullptr;
    std::FILE* const file = ::fdopen(descriptor, "wb");
    if (file == nullptr)
    {
        const Descriptor closed(descriptor);
        if (creation == Creation::kNew)
            ::unlink(bytes.c_str());
    }
    return file;
}

bool lastErrorIsFileExists()
{
    return errno == EEXIST;
}

const wchar_t* checkReplaceable(const wchar_t* path)
{
    std::string bytes;
    if (!makeSystemPath(path, bytes))
        return kOpeningFile;
    struct stat status = {};
    if (::stat(bytes.c_str(), &status) != 0)
        return errno == ENOENT && !bytes.empty() ? nullptr : kOpeningFile;
    if (S_ISDIR(status.st_mode))
        return failWith(EISDIR, kReplacingNoFile);
    if (!S_ISREG(status.st_mode))
        return failWith(EINVAL, kReplacingNoFile);
    // Renaming over it asks for the folder's permissions alone.
    return ::faccessat(AT_FDCWD, bytes.c_str(), W_OK, AT_EACCESS) == 0 ? nullptr : kOpeningFile;
}

std::size_t findFileName(const kqx::String& path)
{
    const std::size_t slash = std::wstring_view(path).rfind(L'/');
    return slash == std::wstring_view::npos ? 0 : slash + 1;
}

bool flushToDisk(std::FILE* file)
{
    return std::fflush(file) == 0 && ::fsync(::fileno(file)) == 0;
}

void copyPermissions(const wchar_t* path, std::FILE* to)
{
    std::string bytes;
    struct stat status = {};
    if (makeSystemPath(path, bytes) && ::stat(bytes.c_str(), &status) == 0)
        static_cast<void>(::fchmod(::fileno(to), status.st_mode & 07777));
}

bool replaceFile(const wchar_t* replacement, const wchar_t* replaced)
{
    std::string from;
    std::string to;
    if (!makeSystemPath(replacement, from) || !makeSystemPath(replaced, to) ||
        std::rename(from.c_str(), to.c_str()) != 0)
        return false;
    flushFolderOf(to);
    return true;
}

void removeFile(const wchar_t* path)
{
    std::string bytes;
    if (makeSystemPath(path, bytes))
        ::unlink(bytes.c_str());
}

kqx::String followLinks(const wchar_t* path)
{
    struct Free
    {
        void operator()(char* block) const { std::free(block); }
    };
    const std::string bytes = systemPath(path);
    const std::unique_ptr<char, Free> resolved(::realpath(bytes.c_str(), nullptr));
    const std::string target = resolved != nullptr ? std::string(resolved.get()) : endOfLinks(bytes);
    if (target == bytes)
        return path;
    std::wstring wide(kqx::UCS2LengthFromUTF8(target.c_str(), target.size()), L'\0');
    kqx::UCS2FromUTF8(target.c_str(), target.size(), wide.data());
    const bool isUtf8 = systemPath(wide.c_str()) == target; // else wide text cannot say where it leads
    return isUtf8 ? kqx::String(wide.data(), wide.size()) : kqx::String(path);
}

} // namespace db2
