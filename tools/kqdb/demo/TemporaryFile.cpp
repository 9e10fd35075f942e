#include "TemporaryFile.h"

#include "Failure.h"

#include <random>
#include <system_error>

namespace kqdb {
namespace {

constexpr int kAttempts = 100;

} // namespace

TemporaryFile::TemporaryFile(std::string_view name) : name_(name)
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::random_device random;
    for (int i = 0; i < kAttempts && !error; ++i)
    {
        folder_ = parent / ("kqdb-" + std::to_string(random()));
        if (std::filesystem::create_directory(folder_, error) && !error)
            return;
    }
    throw Failure("no temporary folder can be made" + (error ? ": " + error.message() : std::string()));
}

TemporaryFile::~TemporaryFile()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

} // namespace kqdb
