#include "TemporaryFile.h"

#include <csignal>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace db2bench {
namespace {

constexpr rlim_t kSeconds = 60; // of CPU time, as tools/bench_run gives to a pass

[[noreturn]] void carryOut(const std::function<bool()>& work)
{
    const rlimit limit{kSeconds, kSeconds + 1};
    setrlimit(RLIMIT_CPU, &limit);
    bool done = false;
    try
    {
        done = work();
    }
    catch (const std::exception&)
    {
    }
    _exit(done ? 0 : 1); // without the ends of statics, which belong to the process that made them
}

} // namespace

TemporaryFile::TemporaryFile(const std::string& extension)
    : path_(std::filesystem::temp_directory_path() / ("db2_bench_" + std::to_string(getpid()) + extension))
{
}

TemporaryFile::~TemporaryFile()
{
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void inProcessOfItsOwn(const std::function<bool()>& work)
{
    const pid_t child = fork();
    if (child == 0)
        carryOut(work);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        throw std::runtime_error("no process for the set-up");
    if (WIFSIGNALED(status)) // in the words of tools/bench_results.py
        throw std::runtime_error(WTERMSIG(status) == SIGXCPU ? "over the limit" : "crash");
    if (WEXITSTATUS(status) != 0)
        throw std::runtime_error("the set-up failed");
}

} // namespace db2bench
