#pragma once

#include <db2/db2.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Brings 3D models of any format that Assimp reads into a document, as nodes of the module "Scene".
namespace db2import {

/// How far an import is, 0 to 1; false ends it. Called on the thread that called importModel().
using ImportProgress = std::function<bool(float fraction)>;

struct ImportOptions
{
    static constexpr double kDefaultSeconds = 60;
    static constexpr std::uint64_t kDefaultMemory = std::uint64_t{2} << 30;

    /// Reads and converts the model in a process of its own, a fork of this one, so that a broken file that crashes or
    /// hangs the reader is an error like any other. The calling process should have no other threads then. Without effect
    /// where there is no fork.
    bool inOwnProcess = true;

    // --- Limits of that process; 0 is none ---

    double secondsLimit = kDefaultSeconds;      ///< of time as a clock shows it
    std::uint64_t memoryLimit = kDefaultMemory; ///< bytes beyond what this process has; not under an address sanitizer
};

/// Something that a person might want to know about how the model was brought in.
struct ImportRemark
{
    enum class Kind : std::uint32_t
    {
        kNotKept,  ///< is not in the document
        kChanged,  ///< is there in another form
        kDoubtful, ///< is there as it was, though it cannot be right: an index that leads nowhere
        kReader    ///< a warning of the reader, in its words
    };

    Kind kind = Kind::kNotKept;
    std::wstring place; ///< the path of a node below the model's; empty for the model as a whole
    std::wstring text;
};

/// How much of what is there now; of mesh data the numbers of each mesh once, however often it is shown.
struct ImportCounts
{
    std::uint64_t nodes = 0; ///< all of the document's that the import made, those that are counted below included
    std::uint64_t transforms = 0;
    std::uint64_t meshes = 0;
    std::uint64_t vertices = 0;
    std::uint64_t faces = 0;
    std::uint64_t materials = 0;
    std::uint64_t textures = 0;
    std::uint64_t images = 0;
    std::uint64_t cameras = 0;
    std::uint64_t lights = 0;
    std::uint64_t bones = 0;
    std::uint64_t morphTargets = 0;
    std::uint64_t animationClips = 0;
    std::uint64_t channels = 0;          ///< of nodes and of morph targets
    std::uint64_t dynamicAttributes = 0; ///< what the node types have no place for

    bool operator==(const ImportCounts&) const = default;
};

struct ImportReport
{
    db2::Node* model = nullptr; ///< a Folder with the file's name that holds everything; null when the import failed
    std::wstring error;         ///< why; empty when it did not
    std::wstring format;        ///< what the reader took the file for; empty when it did not find out
    ImportCounts counts;
    std::vector<ImportRemark> remarks;

    [[nodiscard]] bool isImported() const { return model != nullptr; }
};

/// Reads a model and adds it behind the children of @p parent, through @p data, as one unit of work that the caller
/// commits. docs/import.md says what becomes what.
/// When it fails, edits may be left: the caller rolls back to where the import began.
/// @param data    the outermost layer. @param core  the innermost one behind it; its registry has the module "Scene".
/// @param parent  of that document.
/// @return with an error for a file that is missing, in no known format or broken (in the reader's words), when the
///         reader crashed or went beyond a limit, when an edit is refused, when memory is out, and when @p progress
///         ended it.
/// Cost: in proportion to the model.
ImportReport importModel(const std::filesystem::path& file, db2::DataInterface& data, db2::CoreManager& core,
                         db2::Node& parent, const ImportOptions& options = {}, const ImportProgress& progress = {});

/// The extensions of the files that can be imported, without the dot, in lower case and in order: "3ds", "ac", ...
[[nodiscard]] std::vector<std::string> importableExtensions();

} // namespace db2import
