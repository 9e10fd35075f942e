#include "ChildProcess.h"

#if defined(_WIN32)

namespace db2import {

bool MessageSender::send(std::uint32_t, std::string_view)
{
    return false;
}

bool canRunInChild()
{
    return false;
}

bool canLimitMemory()
{
    return false;
}

std::wstring runInChild(const std::function<void(MessageSender&)>&,
                        const std::function<bool(std::uint32_t, std::string_view)>&, const ProcessLimits&)
{
    return L"there are no child processes here";
}

} // namespace db2import

#else

#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define KQDB_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KQDB_ADDRESS_SANITIZER 1
#endif
#endif

namespace db2import {
namespace {

/// Stands before each message.
struct Header
{
    std::uint32_t kind;
    std::uint32_t size; ///< of the bytes that follow
};

constexpr std::size_t kReadBytes = 64 * 1024; ///< what a pipe holds
constexpr int kPollMilliseconds = 100;        ///< how soon a limit of time is noticed

std::wstring systemError(const wchar_t* step)
{
    return std::wstring(step) + L": " + wideOf(std::strerror(errno));
}

// --- In the child ---

#if defined(KQDB_ADDRESS_SANITIZER)
constexpr bool kLimitsMemory = false; // it reserves more address space than any limit leaves
#else
constexpr bool kLimitsMemory = true;
#endif

/// The address space that the process has now; 0 when the system does not say.
std::uint64_t addressSpaceInUse()
{
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr)
        return 0;
    unsigned long long pages = 0;
    const bool isRead = std::fscanf(file, "%llu", &pages) == 1;
    std::fclose(file);
    return isRead ? pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

void limitMemory(std::uint64_t bytes)
{
    if (bytes == 0 || !canLimitMemory())
        return;
    const std::uint64_t inUse = addressSpaceInUse();
    rlimit limit = {};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = static_cast<rlim_t>(std::min<std::uint64_t>(inUse + bytes, limit.rlim_max));
    setrlimit(RLIMIT_AS, &limit);
}

void prepareChild(const ProcessLimits& limits)
{
#if defined(__linux__)
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a reader that hangs must not outlive who waits for it
#endif
    const rlimit noCoreFile = {};
    setrlimit(RLIMIT_CORE, &noCoreFile);
    limitMemory(limits.memory);
    const int nowhere = open("/dev/null", O_RDWR); // readers print what they find wrong
    for (int descriptor = 0; nowhere >= 0 && descriptor <= 2; ++descriptor)
        dup2(nowhere, descriptor);
    for (const int crash : {SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGILL}) // the host's handlers are not for this
        std::signal(crash, SIG_DFL);
}

[[noreturn]] void runChild(const std::function<void(MessageSender&)>& work, int descriptor, const ProcessLimits& limits)
{
    prepareChild(limits);
    int code = 1;
    try
    {
        MessageSender sender(descriptor);
        work(sender);
        code = 0;
    }
    catch (...)
    {
    }
    _exit(code);
}

// --- In the parent ---

/// Cuts what comes out of the pipe into messages.
class Messages
{
public:
    /// Adds bytes and hands on the messages that are complete then. @return false when @p receive did.
    bool add(std::string_view bytes, const std::function<bool(std::uint32_t, std::string_view)>& receive)
    {
        buffer_.append(bytes);
        std::size_t at = 0;
        Header header;
        while (buffer_.size() - at >= sizeof header)
        {
            std::memcpy(&header, buffer_.data() + at, sizeof header);
            if (buffer_.size() - at - sizeof header < header.size)
                break;
            if (!receive(header.kind, std::string_view(buffer_).substr(at + sizeof header, header.size)))
                return false;
            at += sizeof header + header.size;
        }
        buffer_.erase(0, at);
        return true;
    }

    [[nodiscard]] bool isAtEnd() const { return buffer_.empty(); }

private:
    std::string buffer_; ///< the message that is not complete yet
};

/// The running child; it is gone, and its pipe closed, when this object is.
class Child
{
public:
    Child(pid_t id, int descriptor) : id_(id), descriptor_(descriptor) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        if (id_ > 0)
        {
            kill(id_, SIGKILL);
            wait();
        }
        close(descriptor_);
    }

    /// @return why it did not end well, or nothing.
    std::wstring wait()
    {
        int status = 0;
        pid_t ended = 0;
        while ((ended = waitpid(id_, &status, 0)) < 0 && errno == EINTR)
        {
        }
        id_ = 0;
        if (ended < 0)
            return systemError(L"the reader's process cannot be waited for");
        if (WIFSIGNALED(status))
            return L"the reader crashed: signal " + std::to_wstring(WTERMSIG(status));
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            return L"the reader failed: code " + std::to_wstring(WEXITSTATUS(status));
        return {};
    }

    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    pid_t id_; ///< 0 once it is gone
    int descriptor_;
};

/// What reading from the pipe came to.
enum class Reading
{
    kBytes,
    kEnd,
    kNothingYet,
    kFailed
};

Reading readSome(int descriptor, std::array<char, kReadBytes>& buffer, std::size_t& count)
{
    pollfd pipe = {descriptor, POLLIN, 0};
    const int ready = poll(&pipe, 1, kPollMilliseconds);
    if (ready == 0 || (ready < 0 && errno == EINTR))
        return Reading::kNothingYet;
    const ssize_t got = ready > 0 ? read(descriptor, buffer.data(), buffer.size()) : -1;
    if (got < 0)
        return errno == EINTR ? Reading::kNothingYet : Reading::kFailed;
    count = static_cast<std::size_t>(got);
    return count > 0 ? Reading::kBytes : Reading::kEnd;
}

std::wstring supervise(Child& child, const std::function<bool(std::uint32_t, std::string_view)>& receive,
                       double seconds)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const std::chrono::duration<double> limit(seconds);
    std::array<char, kReadBytes> buffer;
    Messages messages;
    for (;;)
    {
        std::size_t count = 0;
        switch (readSome(child.descriptor(), buffer, count))
        {
        case Reading::kBytes:
            if (!messages.add({buffer.data(), count}, receive))
                return L"ended before it was complete";
            break;
        case Reading::kEnd:
        {
            const std::wstring failure = child.wait();
            return failure.empty() && !messages.isAtEnd() ? L"the reader's process broke off" : failure;
        }
        case Reading::kFailed: return systemError(L"the reader's process cannot be read from");
        case Reading::kNothingYet: break;
        }
        if (seconds > 0 && Clock::now() - start > limit)
            return L"the reader took longer than " + std::to_wstring(static_cast<long long>(seconds)) + L" seconds";
    }
}

} // namespace

bool MessageSender::send(std::uint32_t kind, std::string_view bytes)
{
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return false;
    const Header header = {kind, static_cast<std::uint32_t>(bytes.size())};
    return write(&header, sizeof header) && write(bytes.data(), bytes.size());
}

bool MessageSender::write(const void* bytes, std::size_t count)
{
    const char* at = static_cast<const char*>(bytes);
    while (count > 0)
    {
        const ssize_t written = ::write(descriptor_, at, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        at += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool canRunInChild()
{
    return true;
}

bool canLimitMemory()
{
    return kLimitsMemory && addressSpaceInUse() > 0;
}

std::wstring runInChild(const std::function<void(MessageSender&)>& work,
                        const std::function<bool(std::uint32_t kind, std::string_view bytes)>& receive,
                        const ProcessLimits& limits)
{
    int ends[2];
    if (pipe(ends) != 0)
        return systemError(L"no pipe to the reader's process");
    const pid_t id = fork();
    if (id == 0)
    {
        close(ends[0]);
        runChild(work, ends[1], limits);
    }
    const int forkError = errno;
    close(ends[1]);
    if (id < 0)
    {
        close(ends[0]);
        errno = forkError;
        return systemError(L"no process for the reader");
    }
    Child child(id, ends[0]);
    return supervise(child, receive, limits.seconds);
}

} // namespace db2import

#endif
