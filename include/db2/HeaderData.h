#pragma once

#include <kqx/Array.h>
#include <kqx/String.h>

#include <cstdint>

namespace db2 {

class Module;

/// The header of a saved file as a loader holds it. A loader fills it from the file, then calls
/// LoadStrategy::validateHeaderData().
struct HeaderData
{
    /// A module whose nodes the file holds.
    struct ModuleEntry
    {
        kqx::String moduleId;
        std::uint32_t dataVersion = 0;   ///< the module's when the file was written
        kqx::UIntArray migratorVersions; ///< see Module::getMigratorVersionsToSave(); empty for a complete chain
        Module* module = nullptr;        ///< not in the file: what the validation found or made; not owned
    };

    std::uint32_t loaderVersion = 0; ///< of the format that wrote the file, counting from 1
    std::uint32_t legacyFormat = 0;  ///< not 0 in a file of the previous generation
    kqx::String applicationString;   ///< the host's; the library does not read it
    kqx::String typeString;          ///< handed to every migrator that runs
    kqx::String identifier;          ///< "KQDatabase2", or "KQDatabase1" for a file of the previous generation
    kqx::Array<ModuleEntry> modules;
};

} // namespace db2
