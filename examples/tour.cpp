// The library in one sitting: creates, edits, undoes, saves, loads what it saved and a file of an older version, which a
// migrator brings up to date.
// Usage: tour [the file of the older version [the file to save to]]

#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <cstdio>
#include <filesystem>

namespace {

using std::filesystem::path;

constexpr unsigned int kArmType = 1;

db2::Attribute* lengthOf(db2::Node* arm)
{
    return arm->findAttributeByName(L"length");
}

/// Version 1 called a length "len".
class MigratorTo2 : public db2::Migrator
{
    const wchar_t* migrateAttributeName(const wchar_t* name, db2::Node*) override
    {
        return kqx::String(name) == L"len" ? L"length" : name;
    }
};

/// What an application declares at its start: a module at version 2 of its data, with one type of nodes.
void declare(db2::NodeRegistry& registry, db2::Migrator& migrator)
{
    auto* const rig = new db2::Module; // the library owns it from its registration on
    rig->setId(L"Rig");
    rig->setDataVersion(2);
    rig->registerMigrator(&migrator, 2);
    db2::registerModule(rig);

    db2::FloatAttributeMetaDataDef length;
    length.setDefaultValue(1.0f);
    auto* const arm = new db2::NodeTemplate(L"Arm", kArmType, *rig);
    arm->addAttribute(length, L"length");
    registry.registerNodeTemplate(arm); // which owns it from now on
}

bool save(db2::CoreManager& core, const path& file)
{
    db2::AtomicFileOutputStream stream(file.wstring().c_str(), db2::FileOpenMode::kBinary,
                                       db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(stream, L"rig");
    saver.addChildNodes(core.getRoot());
    return saver.save() == db2::Status::kSuccess && stream.commit(); // the old file stays until here
}

db2::Status load(db2::DataInterface& data, db2::CoreManager& core, const path& file)
{
    db2::FileInputStream stream(file.wstring().c_str(), db2::FileOpenMode::kBinary);
    db2::JsonLoader loader(stream, data, core);
    return loader.load(*core.getRoot(), file.wstring().c_str());
}

bool expect(bool holds, const char* what)
{
    std::printf("%s: %s\n", what, holds ? "yes" : "NO");
    return holds;
}

bool tour(const db2::NodeRegistry& registry, const path& oldFile, const path& file)
{
    db2::CoreManager core(registry, kArmType);         // owns the tree
    db2::UndoManager data(&core, core);                // layers stand around it; edits go through the outermost
    const auto commit = [&data](const wchar_t* what) { // ends a unit of work
        data.db_commit(what, L"tour.cpp", __LINE__);
    };

    db2::Node* arm = nullptr; // create
    db2::Node* hand = nullptr;
    data.db_createNode(kArmType, L"arm", nullptr, nullptr, &arm);
    data.db_createNode(kArmType, L"hand", arm, nullptr, &hand);
    commit(L"Add an arm");

    db2::ValueHandle length; // edit
    data.db_lockAttribute(lengthOf(hand), &length);
    length.getFloat() = 0.25f;
    data.db_unlockAttribute(lengthOf(hand));
    data.db_renameNode(hand, L"left hand");
    commit(L"Shape the hand");

    data.undo(); // one step back
    bool isRight = expect(hand->getName() == L"hand" && lengthOf(hand)->getValue().asFloat() == 1.0f, "undone");
    data.redo();
    isRight &= expect(hand->getName() == L"left hand" && lengthOf(hand)->getValue().asFloat() == 0.25f, "redone");

    isRight &= expect(save(core, file), "saved");
    data.db_clear();
    isRight &= expect(load(data, core, file) == db2::Status::kSuccess, "loaded");
    isRight &= expect(load(data, core, oldFile) == db2::Status::kLoadedWithMigration, "migrated");
    commit(L"Load");
    return isRight;
}

} // namespace

int main(int argc, char** argv)
{
    const path oldFile = argc > 1 ? argv[1] : "examples/data/rig_v1.json";
    const path file = argc > 2 ? argv[2] : "build/tour.json";
    MigratorTo2 migrator;
    db2::initLibrary(nullptr, L"Tour 2.0");
    bool isRight = false;
    {
        db2::NodeRegistry registry;
        declare(registry, migrator);
        isRight = tour(registry, oldFile, file);
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}
