#include "Platform.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace kqdb::platform {

void prepareStreams()
{
    std::signal(SIGPIPE, SIG_IGN);
}

std::vector<std::string> arguments(int count, char** values)
{
    return {values + (count > 0 ? 1 : 0), values + count};
}

bool isTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

bool lastErrorIsClosedPipe()
{
    return errno == EPIPE;
}

std::string lastErrorText()
{
    return std::strerror(errno);
}

std::uint64_t peakMemory()
{
    rusage usage{};
    if (::getrusage(RUSAGE_SELF, &usage) != 0)
        return 0;
#if defined(__APPLE__)
    return static_cast<std::uint64_t>(usage.ru_maxrss);
#else
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
#endif
}

int runWithInput(const char* command, const std::string& input)
{
    std::FILE* const pipe = ::popen(command, "w");
    if (pipe == nullptr)
        return -1;
    const bool isWritten = std::fwrite(input.data(), 1, input.size(), pipe) == input.size();
    const int status = ::pclose(pipe);
    if (status == -1 || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status) == 0 && !isWritten ? -1 : WEXITSTATUS(status);
}

} // namespace kqdb::platform
