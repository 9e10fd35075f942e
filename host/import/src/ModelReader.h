#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct aiScene;

namespace db2import {

/// Reads models with Assimp, as they stand in the file: no step behind the reader changes them.
class ModelReader
{
public:
    /// @param onProgress  called with what was read, 0 to 1; false ends the reading, soon.
    explicit ModelReader(std::function<bool(float)> onProgress);
    ModelReader(const ModelReader&) = delete;
    ModelReader& operator=(const ModelReader&) = delete;
    ~ModelReader();

    /// Throws ImportFailure with the reader's words.
    /// @return the scene, the reader's.
    const aiScene& read(const std::filesystem::path& file);

    [[nodiscard]] std::wstring format() const; ///< of the last file; empty when it is in none
    [[nodiscard]] bool isGltf2() const;

    /// What the reader warned of, each once, in order.
    [[nodiscard]] const std::vector<std::wstring>& warnings() const;

private:
    class Progress;
    class Warnings;
    struct Parts;

    std::unique_ptr<Parts> parts_;
};

} // namespace db2import
