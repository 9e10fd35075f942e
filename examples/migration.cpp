// Old files in a new application: what versions 1 and 3 of a small lighting program saved is loaded by its version 4,
// through the layers that every edit goes through.
//
//   version 2   the attribute "val" of a Dimmer is called "level"
//   version 3   a Light is a PointLight or a SpotLight
//   version 4   the choice "manual" of a Shutter's motion is called "by hand", and there are no Markers any more
//
// The migrators stand in stage_migrators.h.
// Usage: migration [the folder of the documents]

#include "stage_migrators.h"

#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace stage;

class ConsoleLogger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t* text) override
    {
        std::printf("[%d] %ls\n", level, text);
        lines.append(text).append(L"\n");
    }

    std::wstring lines;
};

void addType(db2::NodeRegistry& registry, const db2::Module& module, TypeId id, const wchar_t* name,
             std::initializer_list<std::pair<const wchar_t*, const db2::ElementMetaDataDef&>> attributes)
{
    auto* const type = new db2::NodeTemplate(name, id, module); // the registry's from its registration on
    for (const auto& [attributeName, definition] : attributes)
        type->addAttribute(definition, attributeName);
    registry.registerNodeTemplate(type);
}

void addTypes(db2::NodeRegistry& registry, const db2::Module& module)
{
    const db2::FloatAttributeMetaDataDef number;
    db2::FloatAttributeMetaDataDef brightness, cone;
    brightness.setDefaultValue(1.0f);
    cone.setDefaultValue(45.0f);
    db2::EnumAttributeMetaDataDef motion;
    motion.addChoice(L"motor");
    motion.addChoice(L"by hand");
    addType(registry, module, kStage, L"Stage", {});
    addType(registry, module, kDimmer, L"Dimmer", {{L"level", number}});
    addType(registry, module, kPointLight, L"PointLight", {{L"brightness", brightness}});
    addType(registry, module, kSpotLight, L"SpotLight", {{L"brightness", brightness}, {L"cone", cone}});
    addType(registry, module, kShutter, L"Shutter", {{L"motion", motion}});
}

/// The bytes of a file; empty when it cannot be read.
std::string contentOf(const std::filesystem::path& path)
{
    db2::FileInputStream file(path.wstring().c_str(), db2::FileOpenMode::kBinary);
    unsigned int size = 0;
    const char* const bytes = file.getData(size);
    return bytes != nullptr ? std::string(bytes, size) : std::string();
}

/// An open document: its tree, behind the layers that every edit goes through. Here that is undo; a host has more.
class Document
{
public:
    explicit Document(const db2::NodeRegistry& registry) : core(registry, kStage), undo(&core, core) {}

    /// Loads a file whole or not at all.
    Status load(db2::InputStream& file, const wchar_t* name)
    {
        const unsigned int before = undo.createRollbackPoint();
        kqtl::pod_vector<db2::Migrator*> migratorsRun;
        db2::JsonLoader loader(file, undo, core, 0, &migratorsRun);
        const Status status = loader.load(*core.getRoot(), name);
        versionsRun.clear();
        for (const db2::Migrator* const migrator : migratorsRun)
            versionsRun.push_back(migrator->getVersion());
        lost = {loader.getNumUnhandledLegacyNodes(), loader.getNumUnhandledLegacyElements(),
                loader.getNumUnhandledLegacyConnections()};
        if (status == Status::kSuccess || status == Status::kLoadedWithMigration)
            undo.db_commit(L"Load", L"migration.cpp", __LINE__);
        else
            undo.rollback(before); // a loss counts as a failure: nobody was asked
        return status;
    }

    Status load(const std::filesystem::path& path)
    {
        db2::FileInputStream file(path.wstring().c_str(), db2::FileOpenMode::kBinary);
        return load(file, path.wstring().c_str());
    }

    /// What a save writes now. Empty when it fails.
    [[nodiscard]] std::string savedText() const
    {
        db2::MemoryBlock block;
        db2::MemoryOutputStream stream(block, db2::OutputStreamEncoding::kUtf8);
        db2::JsonSaver saver(stream, L"stage");
        saver.addChildNodes(core.getRoot());
        return saver.save() == Status::kSuccess ? std::string(block.getData(), block.getUsedSize()) : std::string();
    }

    db2::CoreManager core;
    db2::UndoManager undo;
    // Of the last load
    std::vector<unsigned int> versionsRun; ///< of the migrators that ran, in order
    std::array<unsigned int, 3> lost{};    ///< nodes, elements and connections that no migrator dealt with
};

bool check(bool holds, const char* what)
{
    std::printf("%s: %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool demonstrate(Document& document, const ConsoleLogger& logger, const std::filesystem::path& folder)
{
    using Versions = std::vector<unsigned int>;
    const std::string empty = document.savedText();

    Status status = document.load(folder / "stage_v1.json");
    bool isRight = check(status == Status::kLoadedWithMigration && document.versionsRun == Versions{2, 3, 4},
                         "version 1 is migrated");
    const std::string migrated = document.savedText();
    isRight &= check(migrated == contentOf(folder / "stage_v4.json"), "to what version 4 would have saved");
    document.undo.undo();
    isRight &= check(document.savedText() == empty, "undo takes the load back");
    document.undo.redo();
    isRight &= check(document.savedText() == migrated, "redo brings the migrated nodes back");
    document.undo.undo();

    // Version 3 was built without the migrator for 2, found a "val" in an older file, and kept it as it was.
    status = document.load(folder / "stage_v3_gap.json");
    isRight &= check(status == Status::kLoadedWithMigration && document.versionsRun == Versions{2, 4},
                     "the gap is filled first");
    const std::string before = document.savedText();
    const bool isMigrated = before.find(R"(["level", "Float", 0.75])") != std::string::npos &&
                            before.find(R"(["motion", "Enum", "by hand"])") != std::string::npos;
    isRight &= check(isMigrated, "what was kept is migrated, and what came since");

    // Nobody wrote a migrator for fading Dimmers and Fog.
    status = document.load(folder / "stage_v1_fog.json");
    isRight &= check(status == Status::kLoadedWithUnhandledLegacyData, "data that no migrator deals with is reported");
    const bool isLogged = logger.lines.find(L"Legacy node of type 'Fog' not migrated.") != std::wstring::npos &&
                          logger.lines.find(L"Legacy element 'fade' of type 'Float'") != std::wstring::npos;
    isRight &= check(isLogged, "in the log");
    isRight &= check(document.lost == std::array{1u, 2u, 1u}, "and counted: a node, two attributes, a reference");
    isRight &= check(document.savedText() == before, "the load is rolled back");

    const std::string text = contentOf(folder / "stage_v1.json");
    const db2::MemoryBlock half(text.data(), static_cast<std::uint32_t>(text.size() / 2));
    db2::MemoryInputStream cut(half);
    isRight &= check(document.load(cut, L"half a file") == Status::kFailure, "a damaged file is refused");
    isRight &= check(document.savedText() == before, "the nodes that it had made are gone");
    return isRight;
}

} // namespace

int main(int argc, char** argv)
{
    ConsoleLogger logger;
    MigratorTo2 to2;
    MigratorTo3 to3;
    MigratorTo4 to4;
    db2::initLibrary(&logger, L"Stage 4.0");
    auto* const module = new db2::Module; // the library owns it from its registration on
    module->setId(L"Stage");
    module->setDataVersion(4);
    module->registerMigrator(&to2, 2);
    module->registerMigrator(&to3, 3);
    module->registerMigrator(&to4, 4);
    db2::registerModule(module);
    bool isRight = false;
    {
        db2::NodeRegistry registry;
        addTypes(registry, *module);
        Document document(registry);
        to3.setAPI(static_cast<db2::DataInterface*>(&document.undo)); // migrators edit through the layers, too
        isRight = demonstrate(document, logger, argc > 1 ? argv[1] : "examples/data");
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}
