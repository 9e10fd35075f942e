// Saving a subtree to a file, so that the old file survives whatever happens, and loading it in a later version of the
// application, where an attribute has another name.

#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <memory>

namespace {

constexpr unsigned int kArmTypeId = 1;

class ConsoleLogger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t* text) override { std::printf("[%d] %ls\n", level, text); }
};

/// Brings data of version 1 to version 2, which calls "len" "length".
class LengthMigrator : public db2::Migrator
{
public:
    const wchar_t* migrateAttributeName(const wchar_t* name, db2::Node*) override
    {
        return std::wcscmp(name, L"len") == 0 ? L"length" : name;
    }
};

/// The application at one version of its data: a module, a node type, a tree.
class Application
{
public:
    Application(unsigned int dataVersion, const wchar_t* lengthName)
    {
        db2::initLibrary(&logger_, dataVersion == 1 ? L"Arms 1.0" : L"Arms 2.0");
        auto* const rig = new db2::Module;
        rig->setId(L"Rig");
        rig->setDataVersion(dataVersion);
        if (dataVersion > 1)
            rig->registerMigrator(&migrator_, 2);
        db2::registerModule(rig);
        auto* const armType = new db2::NodeTemplate(L"Arm", kArmTypeId, *rig);
        armType->addAttribute(db2::FloatAttributeMetaDataDef(), lengthName);
        registry_.registerNodeTemplate(armType);
        core = std::make_unique<db2::CoreManager>(registry_, kArmTypeId);
    }

    ~Application()
    {
        core.reset();
        db2::termLibrary();
    }

private:
    ConsoleLogger logger_;
    LengthMigrator migrator_;
    db2::NodeRegistry registry_;

public:
    std::unique_ptr<db2::CoreManager> core; ///< ends before the registry
};

bool save(db2::CoreManager& core, const wchar_t* path)
{
    db2::AtomicFileOutputStream file(path, db2::FileOpenMode::kBinary, db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(file, L"arms");
    saver.addChildNodes(core.getRoot());
    return saver.save() == db2::Status::kSuccess && file.commit(); // without the commit the old file stays
}

bool load(db2::CoreManager& core, const wchar_t* path)
{
    db2::UndoManager undo(&core, core); // hosts have their chain of layers already
    const unsigned int before = undo.createRollbackPoint();
    db2::FileInputStream file(path, db2::FileOpenMode::kBinary);
    db2::JsonLoader loader(file, undo, core);
    const db2::Status status = loader.load(*core.getRoot(), path);
    const bool isLoaded = status == db2::Status::kSuccess || status == db2::Status::kLoadedWithMigration ||
                          status == db2::Status::kLoadedWithUnhandledLegacyData;
    if (!isLoaded)
        undo.rollback(before);
    return isLoaded && undo.db_commit(L"Load arms", L"save_load.cpp", 88) == db2::Status::kSuccess;
}

} // namespace

int main()
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::filesystem::path path = folder / "kqdatabase2_save_load_example.json";
    {
        Application version1(1, L"len");
        db2::Node* arm = nullptr;
        version1.core->db_createNode(kArmTypeId, L"arm", nullptr, nullptr, &arm);
        db2::ValueHandle value;
        version1.core->db_lockAttribute(arm->findAttributeByName(L"len"), &value);
        value.getFloat() = 0.25f;
        version1.core->db_unlockAttribute(arm->findAttributeByName(L"len"));
        if (!save(*version1.core, path.wstring().c_str()))
            return 1;
    }
    {
        Application version2(2, L"length");
        if (!load(*version2.core, path.wstring().c_str()))
            return 1;
        const db2::Node* const arm = version2.core->getRoot()->findChildByName(L"arm");
        const float length = arm->findAttributeByName(L"length")->getValue().asFloat();
        std::printf("%ls: length %g\n", arm->getName().c_str(), static_cast<double>(length));
        std::filesystem::remove(path);
        return length == 0.25f ? 0 : 1;
    }
}
