#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kqdb {

/// A file's name in a folder of its own below the system's folder for such things; both are removed at the end.
class TemporaryFile
{
public:
    /// @param name  the file's, ASCII. Throws Failure when the folder cannot be made.
    explicit TemporaryFile(std::string_view name);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    [[nodiscard]] std::filesystem::path path() const { return folder_ / name_; }

private:
    std::filesystem::path folder_;
    std::string name_;
};

} // namespace kqdb
