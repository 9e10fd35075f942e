#include "Platform.h"

#include <kqx/UTF8.h>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX // which the standard library defines, too
#define NOMINMAX
#endif
#define PSAPI_VERSION 2 // in kernel32, so that no further library is linked
#include <windows.h>

#include <psapi.h>
#include <shellapi.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>

namespace kqdb::platform {

void prepareStreams()
{
    _setmode(_fileno(stdout), _O_BINARY); // the same bytes as on every other platform
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

/// From the wide command line: what main() is given has gone through the process's code page.
std::vector<std::string> arguments(int, char**)
{
    int count = 0;
    wchar_t** const values = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> out;
    for (int i = 1; values != nullptr && i < count; ++i)
    {
        const std::size_t characters = std::wcslen(values[i]);
        std::string& utf8 = out.emplace_back(kqx::UTF8Length(values[i], characters), '\0');
        kqx::UTF8FromUCS2(values[i], characters, utf8.data());
    }
    LocalFree(values);
    return out;
}

bool isTerminal(std::FILE* stream)
{
    DWORD mode = 0;
    return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &mode) != 0;
}

bool lastErrorIsClosedPipe()
{
    return errno == EPIPE || errno == EINVAL; // what the run-time makes of a pipe whose reader is gone
}

std::string lastErrorText()
{
    return std::strerror(errno);
}

std::uint64_t peakMemory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != 0 ? counters.PeakWorkingSetSize : 0;
}

int runWithInput(const char* command, const std::string& input)
{
    std::FILE* const pipe = _popen(command, "wb");
    if (pipe == nullptr)
        return -1;
    const bool isWritten = std::fwrite(input.data(), 1, input.size(), pipe) == input.size();
    const int code = _pclose(pipe);
    return code == 0 && !isWritten ? -1 : code;
}

} // namespace kqdb::platform
