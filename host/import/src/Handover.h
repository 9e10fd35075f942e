#pragma once

#include "ChildProcess.h"

#include <db2import/ModelImport.h>

#include <filesystem>

namespace db2import {

/// Reads and converts a model in a process of its own, into a document in memory that the caller then loads.
/// @param depth      names in the path of the node that the model will stand below.
/// @param report     receives everything but the node; an error when there is one.
/// @param progress   called with 0 to 1; false ends the process.
/// @return the document; empty when there is an error.
db2::MemoryBlock readInChild(const std::filesystem::path& file, const db2::NodeRegistry& registry, unsigned int depth,
                             const ProcessLimits& limits, const ImportProgress& progress, ImportReport& report);

/// The part of a model's conversion that is reading; the rest is what follows.
inline constexpr float kReadingPart = 0.4f;

/// Reads and converts a model below @p parent. Throws as Editor and ModelReader.
/// @param progress  called with 0 to 1; false ends the import.
db2::Node& readAndConvert(const std::filesystem::path& file, db2::DataInterface& data, db2::CoreManager& core,
                          db2::Node& parent, unsigned int depth, const ImportProgress& progress, ImportReport& report);

} // namespace db2import
