#pragma once

#include <db2/LoadStrategy.h>
#include <db2/Status.h>
#include <db2json/Export.h>
#include <db2json/JsonSaver.h>

namespace db2 {

/// Loads what JsonSaver wrote, from any stream. Takes damaged and hostile files: what does not follow the format
/// (docs/format.md) ends the load with an error that names the file, if it has a name, line, column and the place in the
/// document, such as "scene.json: Line 12, column 9, nodes[3].attributes[0][2]: expected a number". The host then rolls
/// back.
///
/// A choice that a known Enum does not have is no such failure: it is logged as an error with its place, the attribute
/// keeps its default, and the load goes on.
/// The stream is read from where it is, in pieces, and asked for its size (InputStream::getSize()).
/// Memory: what the tree takes, 64 KiB, and the longest single text or number. Cost: in proportion to the file.
class DB2JSON_API JsonLoader : public LoadStrategy
{
public:
    static constexpr unsigned int kLatestVersion = JsonSaver::kFormatVersion; ///< the newest that this class reads

    /// The parameters are LoadStrategy's.
    JsonLoader(InputStream& stream, DataInterface& data, CoreManager& core, unsigned int options = 0,
               kqtl::pod_vector<Migrator*>* migratorsRun = nullptr);
    ~JsonLoader() override;

    Status doLoad() override;
};

} // namespace db2
