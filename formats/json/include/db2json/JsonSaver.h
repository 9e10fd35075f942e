#pragma once

#include <db2/SaveStrategy.h>
#include <db2/Status.h>
#include <db2json/Export.h>

#include <memory>

namespace db2 {
namespace json {
class DocumentWriter;
}

/// Saves subtrees as JSON text (docs/format.md) that version control can compare: one attribute a line, in the order of
/// the tree, each number in the fewest digits that read back to the same bits. The same tree gives the same bytes on
/// every platform.
/// The bytes are UTF-8 whatever the stream's encoding, and reach the stream in pieces of some ten KiB; memory beyond
/// that is what the longest single text needs. Cost: in proportion to the tree; a reference takes one step for each
/// level above its ends.
///
/// With kTolerateOutsideReferences an attribute whose reference leads out of what is saved is saved with the value that
/// it shows, and save() returns kReferenceNotSaved, which is a success with a remark.
class DB2JSON_API JsonSaver : public SaveStrategy
{
public:
    static constexpr unsigned int kFormatVersion = 1; ///< the "loaderVersion" of what this class writes

    /// The parameters are SaveStrategy's. The file's application string is the product version.
    JsonSaver(OutputStream& stream, const wchar_t* typeString, unsigned int options = 0);
    ~JsonSaver() override;

    // --- The format: called by save(). kFailure, logged, when the stream takes no more, and when memory is out ---

    Status saveHeader(const kqtl::pod_vector<Module*>& modules) override;
    Status saveSubtree(Node& root) override;
    Status onPostSave() override;

private:
    template <class Step>
    Status write(Step step);

    std::unique_ptr<json::DocumentWriter> document_; ///< from saveHeader() on
};

} // namespace db2
