// Text files: the library's JSON beside the floor's lines. The peers' programs carry out the same work; see peers/.

#include "Benchmarks.h"
#include "DatabaseEditor.h"
#include "FileWorkloads.h"
#include "FloorText.h"

#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <random>

namespace db2bench {
namespace {

bool saveJson(db2::CoreManager& core, const std::string& path)
{
    db2::FileOutputStream file(std::filesystem::path(path).wstring().c_str(), db2::FileOpenMode::kBinary,
                               db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(file, L"bench");
    saver.addChildNodes(core.getRoot());
    return saver.save() == db2::Status::kSuccess && file.close();
}

bool loadJson(db2::DataInterface& data, db2::CoreManager& core, const std::string& path)
{
    const std::wstring name = std::filesystem::path(path).wstring();
    db2::FileInputStream file(name.c_str(), db2::FileOpenMode::kBinary);
    db2::JsonLoader loader(file, data, core);
    return loader.load(*core.getRoot(), name.c_str()) == db2::Status::kSuccess;
}

class FloorFile : public FloorEditor
{
public:
    static constexpr const char* kFileExtension = ".txt";
    bool save(const std::string& path) { return saveText(*this, path); }
    bool load(const std::string& path) { return loadText(*this, path); }
};

/// A core without layers.
class CoreFile
{
public:
    static constexpr const char* kSide = DatabaseTree::kSide;
    static constexpr const char* kFileExtension = ".json";
    using Character = DatabaseTree::Character;
    using NodeRef = DatabaseTree::NodeRef;

    NodeRef root() { return tree_.root(); }
    static bool isNode(NodeRef node) { return node != nullptr; }
    NodeRef create(NodeRef parent, const NumberedText<wchar_t>& name, const Values<wchar_t>& values)
    {
        NodeRef const node = tree_.create(parent, name);
        return node != nullptr && tree_.write(node, values) ? node : nullptr;
    }
    [[nodiscard]] NodeRef child(NodeRef parent, std::wstring_view name) const { return tree_.find(parent, name); }
    template <class See>
    static void forEachChild(NodeRef node, See see)
    {
        DatabaseEditor::forEachChild(node, see);
    }
    [[nodiscard]] static float f0(NodeRef node) { return DatabaseEditor::f0(node); }
    [[nodiscard]] static bool holds(NodeRef node, const Values<wchar_t>& values)
    {
        return DatabaseTree::holds(node, values);
    }
    void settle() {}

    bool save(const std::string& path) { return saveJson(tree_.core(), path); }
    bool load(const std::string& path) { return loadJson(tree_.data(), tree_.core(), path); }

    [[nodiscard]] DatabaseTree& tree() { return tree_; }

private:
    DatabaseTree tree_;
};

/// The whole chain.
class LayeredFile : public DatabaseEditor
{
public:
    static constexpr const char* kFileExtension = CoreFile::kFileExtension;
    bool save(const std::string& path) { return saveJson(tree().core(), path); }
    bool load(const std::string& path) { return loadJson(outermostLayer(), tree().core(), path); }
};

// --- References that a load makes; the floor has none ---

db2::Attribute* referencerOf(db2::Node* node)
{
    return DatabaseTree::attribute(node, 1);
}

/// The node whose first value each node's second value references.
std::vector<std::uint32_t> referencedNodes(std::size_t count)
{
    std::vector<std::uint32_t> referenced(count);
    std::iota(referenced.begin(), referenced.end(), 0u);
    std::shuffle(referenced.begin(), referenced.end(), std::mt19937(42));
    return referenced;
}

bool saveReferences(std::size_t count, const std::string& path)
{
    Document<CoreFile> document = makeDocument<CoreFile>(Shape::kTree, count);
    const std::vector<std::uint32_t> referenced = referencedNodes(count);
    bool done = true;
    for (std::size_t i = 0; i < count; ++i)
        done = document.side->tree().data().db_createReference(
                   DatabaseTree::attribute(document.nodes[referenced[i]], 0), referencerOf(document.nodes[i]), false) ==
                   db2::Status::kSuccess &&
               done;
    return done && document.side->save(path);
}

/// A node with its values and a reference from it to a node somewhere. What the reference costs is the difference to the
/// same load without references.
void loadReferencesPass(benchmark::State& state, std::size_t count)
{
    const TemporaryFile file(CoreFile::kFileExtension);
    inProcessOfItsOwn([&] { return saveReferences(count, file.path()); });
    Document<CoreFile> document;
    bool right = false;
    measureWithPeak(state, count, [&] { right = document.side->load(file.path()); });
    state.counters["file_bytes_per_node"] = bytesPerNode(file, count);
    findNodes(document, count);
    const std::vector<std::uint32_t> referenced = referencedNodes(count);
    for (std::size_t i = 0; i < count; ++i)
        right = right && referencerOf(document.nodes[i])->getReference() ==
                             DatabaseTree::attribute(document.nodes[referenced[i]], 0);
    require(state, right, "a reference is missing");
}

} // namespace

void addFileBenchmarks()
{
    addFileBenchmarks<FloorFile>();
    addFileBenchmarks<CoreFile>();
    addBenchmark("text_file", "load_recorded", FloorFile::kSide, loadPass<FloorFile, true>, kFileCounts);
    addBenchmark("text_file", "load_recorded", LayeredFile::kSide, loadPass<LayeredFile, true>, kFileCounts);
    addBenchmark("text_file", "load_references", CoreFile::kSide, loadReferencesPass, {10'000, 100'000});
}

} // namespace db2bench
