#pragma once

#include <functional>
#include <string>

/// What benchmarks of files need of the system.
namespace db2bench {

/// The name of a file that is not there yet; whatever stands there is removed at the end.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& extension);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Carries out @p work in a process of its own and waits for it, so that it leaves nothing in the memory of this one.
/// Throws when the work answered false, threw, ran out of time or crashed.
void inProcessOfItsOwn(const std::function<bool()>& work);

} // namespace db2bench
