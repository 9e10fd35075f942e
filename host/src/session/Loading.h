#pragma once

#include <db2host/Session.h>

#include <filesystem>
#include <string>

/// The parts of a load that Session's functions share.
namespace db2host {

/// What becomes of data that has no place in the tree.
struct LoadTolerance
{
    bool keepsLegacyData = false;
    db2::LoadStrategy::LostReferenceHandler onLostReference; ///< empty: a lost reference makes the load fail
};

/// Loads a file through @p data under @p parent, and tells the modules' migrators to edit through @p data.
/// @param outTypeString  receives what kind of content the file says it has; may be null.
/// Without the messages. Throws std::bad_alloc and std::filesystem::filesystem_error.
LoadReport loadFile(const Library& library, const std::filesystem::path& file, db2::DataInterface& data,
                    db2::CoreManager& core, db2::Node& parent, const LoadTolerance& tolerance,
                    std::wstring* outTypeString);

/// Why unknown nodes of the module below @p root cannot be converted; empty when they can.
std::wstring reasonAgainstConversion(const wchar_t* moduleId, const db2::Node& root);

} // namespace db2host
