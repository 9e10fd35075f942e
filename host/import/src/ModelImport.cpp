#include <db2import/ModelImport.h>

#include "Conversion.h"
#include "Handover.h"
#include "ModelReader.h"
#include "Text.h"

#include <db2json/JsonLoader.h>

#include <new>

namespace db2import {
namespace {

/// The part of an import in a process of its own after which the document is loaded.
constexpr float kChildPart = 0.7f;

constexpr std::uint64_t kNodesBetweenCalls = 256; ///< of the progress while loading

/// Counts the nodes that a load makes, for progress, and refuses the next one when the caller has had enough.
class LoadProgress : public db2::ForwardingLayer
{
public:
    LoadProgress(db2::DataInterface& data, std::uint64_t expectedNodes, const ImportProgress& progress)
        : ForwardingLayer(&data), expectedNodes_(expectedNodes), progress_(progress)
    {
    }

    db2::Status db_createNode(unsigned int typeId, const wchar_t* name, db2::Node* parent, db2::Node* next,
                              db2::Node** outNode) override
    {
        if (progress_ && ++nodes_ % kNodesBetweenCalls == 0)
        {
            const float part = static_cast<float>(nodes_) / static_cast<float>(expectedNodes_ + 1);
            isEnded_ = isEnded_ || !progress_(kChildPart + part * (1 - kChildPart));
        }
        return isEnded_ ? db2::Status::kFailure : ForwardingLayer::db_createNode(typeId, name, parent, next, outNode);
    }

    [[nodiscard]] bool isEnded() const { return isEnded_; }

private:
    std::uint64_t expectedNodes_;
    std::uint64_t nodes_ = 0;
    bool isEnded_ = false;
    const ImportProgress& progress_;
};

/// Names in a node's path; as many as matter.
unsigned int depthOf(const db2::Node& node)
{
    constexpr unsigned int kDeeperThanAnyPath = 1000;
    unsigned int depth = 0;
    for (const db2::Node* at = &node; at->getParent() != nullptr && depth < kDeeperThanAnyPath; at = at->getParent())
        ++depth;
    return depth;
}

/// Not the path's own conversion, which depends on the locale.
std::wstring nameOf(const std::filesystem::path& file)
{
    return wideOf(bytesOf(file.stem()));
}

db2::Node& load(const db2::MemoryBlock& document, db2::DataInterface& data, db2::CoreManager& core, db2::Node& parent,
                const ImportProgress& progress, const ImportReport& report)
{
    LoadProgress layer(data, report.counts.nodes, progress);
    db2::MemoryInputStream stream(document);
    db2::JsonLoader loader(stream, layer, core);
    const db2::Status status = loader.load(parent, nullptr);
    if (layer.isEnded())
        throw ImportFailure{L"ended before it was complete"};
    if (status != db2::Status::kSuccess || parent.getLastChild() == nullptr)
        throw ImportFailure{L"the document refused the model: status " +
                            std::to_wstring(static_cast<unsigned int>(status))};
    return *parent.getLastChild();
}

db2::Node* import(const std::filesystem::path& file, db2::DataInterface& data, db2::CoreManager& core,
                  db2::Node& parent, const ImportOptions& options, const ImportProgress& progress, ImportReport& report)
{
    db2::Node* model = nullptr;
    if (options.inOwnProcess && canRunInChild())
    {
        const ImportProgress childProgress = [&](float part) { return !progress || progress(part * kChildPart); };
        const db2::MemoryBlock document =
            readInChild(file, core.getRegistry(), depthOf(parent), {options.secondsLimit, options.memoryLimit},
                        childProgress, report);
        if (!report.error.empty())
            return nullptr;
        model = &load(document, data, core, parent, progress, report);
    }
    else
    {
        const ImportProgress everyPart = [&](float part) { return !progress || progress(part); };
        model = &readAndConvert(file, data, core, parent, 0, everyPart, report);
    }
    if (db2host::scene::connectTransforms(data, *model) != db2::Status::kSuccess)
        throw ImportFailure{L"the document refused to connect the model to the Transform above it"};
    return model;
}

} // namespace

db2::Node& readAndConvert(const std::filesystem::path& file, db2::DataInterface& data, db2::CoreManager& core,
                          db2::Node& parent, unsigned int depth, const ImportProgress& progress, ImportReport& report)
{
    ModelReader reader([&](float part) { return progress(part * kReadingPart); });
    const auto noteFormatAndWarnings = [&] {
        report.format = reader.format();
        for (const std::wstring& warning : reader.warnings())
            report.remarks.push_back({ImportRemark::Kind::kReader, {}, warning});
    };
    try
    {
        const aiScene& scene = reader.read(file);
        noteFormatAndWarnings();
        Editor edit(data, core, depth, report);
        return convert(scene, nameOf(file), reader.isGltf2(), parent, edit, [&](float part) {
            if (!progress(kReadingPart + part * (1 - kReadingPart)))
                throw ImportFailure{L"ended before it was complete"};
        });
    }
    catch (const ImportFailure&)
    {
        if (report.format.empty())
            noteFormatAndWarnings();
        throw;
    }
}

ImportReport importModel(const std::filesystem::path& file, db2::DataInterface& data, db2::CoreManager& core,
                         db2::Node& parent, const ImportOptions& options, const ImportProgress& progress)
{
    ImportReport report;
    try
    {
        report.model = import(file, data, core, parent, options, progress, report);
    }
    catch (const ImportFailure& failure)
    {
        report.error = failure.text;
    }
    catch (const std::bad_alloc&)
    {
        report.error = kNoMemory;
    }
    if (!report.isImported() && report.error.empty())
        report.error = L"the reader gave no reason";
    return report;
}

} // namespace db2import
