#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kqdb {

/// What a document's file says about itself before its nodes (docs/format.md).
struct FileHeader
{
    struct Module
    {
        std::string id; ///< UTF-8
        std::uint32_t dataVersion = 0;
        std::vector<std::uint32_t> migratorVersions; ///< empty when the writer had them all
    };

    std::string identifier;
    std::uint32_t formatVersion = 0;
    std::string application;
    std::string contentType;
    std::vector<Module> modules;
};

/// Reads the header alone, however large the file. What does not follow the format is left out: whoever wants to know
/// what is wrong loads the document.
[[nodiscard]] FileHeader readFileHeader(const std::filesystem::path& file);

} // namespace kqdb
