#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace db2test {

/// An empty folder of the test's own, removed with all that is in it at the end.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::random_device device;
        do
            path_ = std::filesystem::temp_directory_path() / ("kqdatabase2-test-" + std::to_string(device()));
        while (!std::filesystem::create_directory(path_));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    /// @param utf8Name  the file need not exist.
    [[nodiscard]] std::filesystem::path file(const std::string& utf8Name) const
    {
        return path_ / std::filesystem::path(std::u8string(utf8Name.begin(), utf8Name.end()));
    }
    /// The same as the library takes it; the folder's own path is ASCII.
    [[nodiscard]] std::wstring widePath(const std::wstring& name) const
    {
        const std::string folder = path_.string();
        return std::wstring(folder.begin(), folder.end()) + L'/' + name;
    }

    void write(const std::string& utf8Name, const std::string& content) const
    {
        std::ofstream(file(utf8Name), std::ios::binary) << content;
    }
    [[nodiscard]] std::string read(const std::string& utf8Name) const
    {
        std::ifstream in(file(utf8Name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    /// The number of files in the folder.
    [[nodiscard]] std::size_t count() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
    }

private:
    std::filesystem::path path_;
};

} // namespace db2test
