#pragma once

#include "EditRecorder.h"
#include "Scene.h"

#include <db2/InputStream.h>
#include <db2/LoadStrategy.h>
#include <db2/Migrator.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace db2test {

/// An empty stream that is OK or not.
class TestInputStream : public NullInputStream
{
public:
    [[nodiscard]] bool isOK() override { return ok; }

    bool ok = true;
};

/// A loader whose file is a function: it calls the services of the base as a format does.
class TestLoader : public LoadStrategy
{
public:
    using Script = std::function<Status(TestLoader& loader)>;
    using LoadStrategy::LoadStrategy;

    Status doLoad() override
    {
        ++runs;
        return script ? script(*this) : Status::kSuccess;
    }

    Script script; ///< empty does nothing
    int runs = 0;
};

/// A migrator that writes down what it is asked, as "2:hook(arguments)", in a list that several share; and that answers as
/// it is told, or else like the base.
class TestMigrator : public Migrator
{
public:
    using Lines = std::vector<std::wstring>;

    explicit TestMigrator(Lines& calls) : calls_(calls) {}

    const wchar_t* migrateNodeTypeName(const wchar_t* typeName) override
    {
        note(L"typeName(" + text(typeName) + L")");
        return renamed(typeName);
    }
    const wchar_t* migrateNodeModuleId(const wchar_t* moduleId, const wchar_t* typeName) override
    {
        note(L"moduleId(" + text(moduleId) + L", " + text(typeName) + L")");
        return renamed(moduleId);
    }
    const wchar_t* migrateAttributeName(const wchar_t* name, Node* node) override
    {
        note(L"attributeName(" + text(name) + L", " + node->getName().c_str() + L")");
        return renamed(name);
    }
    const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, Node* node) override
    {
        note(L"choice(" + text(choice) + L", " + text(attributeName) + L", " + node->getName().c_str() + L")");
        return renamed(choice);
    }
    bool migrateLegacyConnection(Attribute* found, Attribute* holder) override
    {
        note(std::wstring(L"connection(") + found->getName() + L", " + holder->getName() + L")");
        return handlesConnections;
    }
    bool onLoadBegin(Node& loadParent, const wchar_t* fileName, const wchar_t* typeString) override
    {
        note(std::wstring(L"begin(") + loadParent.getName().c_str() + L", " + text(fileName) + L", " +
             text(typeString) + L")");
        return accepts(L"begin");
    }
    bool onNodeLoaded(Node& node) override
    {
        note(std::wstring(L"loaded(") + node.getName().c_str() + L")");
        return accepts(L"loaded");
    }
    bool onLegacyNodeLoaded(const Node& node) override
    {
        note(std::wstring(L"legacyLoaded(") + node.getName().c_str() + L")");
        return accepts(L"legacyLoaded");
    }
    bool onLoadSuccess(Node& loadParent) override
    {
        note(std::wstring(L"success(") + loadParent.getName().c_str() + L")");
        if (atSuccess)
            atSuccess(loadParent);
        return accepts(L"success");
    }

    /// From now on @p from becomes @p to. @param to  null refuses.
    void rename(const std::wstring& from, const wchar_t* to) { names_[from] = to; }
    void refuse(const std::wstring& hook) { refused_.insert(hook); }

    bool handlesConnections = false;
    std::function<void(Node& loadParent)> atSuccess; ///< what migrates legacy data

private:
    static std::wstring text(const wchar_t* given) { return given != nullptr ? given : L"null"; }
    void note(const std::wstring& call) { calls_.push_back(std::to_wstring(getVersion()) + L":" + call); }
    [[nodiscard]] bool accepts(const std::wstring& hook) const { return refused_.count(hook) == 0; }
    [[nodiscard]] const wchar_t* renamed(const wchar_t* name) const
    {
        const auto at = names_.find(name);
        return at != names_.end() ? at->second : name;
    }

    Lines& calls_;
    std::map<std::wstring, const wchar_t*> names_;
    std::set<std::wstring> refused_;
};

/// What tests of loading share: a tree with a load parent in it, the module "Test" at data version 5 with a migrator each
/// for the versions that a test asks for, and a loader whose latest version is 3.
class LoadTest : public ::testing::Test
{
protected:
    using Lines = std::vector<std::wstring>;

    LoadTest() { scene.module().setDataVersion(5); }

    ~LoadTest() override
    {
        for (const auto& [version, migrator] : migrators)
            scene.module().unregisterMigrator(migrator.get());
    }

    TestMigrator& addMigrator(unsigned int version)
    {
        auto& migrator = migrators[version];
        migrator = std::make_unique<TestMigrator>(calls);
        EXPECT_EQ(scene.module().registerMigrator(migrator.get(), version), Status::kSuccess);
        return *migrator;
    }

    /// A valid header that lists the module "Test" as it was at a data version.
    static void fillHeader(LoadStrategy& loader, unsigned int dataVersion = 5)
    {
        HeaderData& header = loader.getHeaderData();
        header.identifier = L"KQDatabase2";
        header.loaderVersion = 3;
        header.typeString = L"scene";
        addModule(loader, L"Test", dataVersion);
    }
    static void addModule(LoadStrategy& loader, const wchar_t* id, unsigned int dataVersion,
                          const kqx::UIntArray& migratorVersions = {})
    {
        HeaderData::ModuleEntry entry;
        entry.moduleId = id;
        entry.dataVersion = dataVersion;
        entry.migratorVersions = migratorVersions;
        loader.getHeaderData().modules.push_back(entry);
    }

    /// Loads a file with that header and what the script makes.
    Status load(const TestLoader::Script& script, unsigned int dataVersion = 5)
    {
        loader.script = [&](TestLoader& self) {
            fillHeader(self, dataVersion);
            const Status status = self.validateHeaderData();
            return status == Status::kSuccess && script ? script(self) : status;
        };
        return loader.load(*parent, L"file.txt");
    }

    Node* makeNode(const wchar_t* typeName, const wchar_t* name, Node* under = nullptr,
                   const wchar_t* moduleId = L"Test")
    {
        Node* node = nullptr;
        EXPECT_EQ(loader.makeNode(typeName, moduleId, name, under != nullptr ? under : parent, nullptr, &node),
                  Status::kSuccess);
        return node;
    }
    Attribute* populate(Node* node, const wchar_t* name, AttributeTypeId type = AttributeType::kInt,
                        bool isDynamic = false)
    {
        Attribute* attribute = nullptr;
        EXPECT_EQ(loader.getAttributeToPopulate(node, name, type, isDynamic, &attribute), Status::kSuccess);
        return attribute;
    }
    AttributeArray* populateArray(Node* node, const wchar_t* name, AttributeTypeId type = AttributeType::kInt,
                                  bool isDynamic = false)
    {
        AttributeArray* array = nullptr;
        EXPECT_EQ(loader.getAttributeArrayToPopulate(node, name, type, isDynamic, &array), Status::kSuccess);
        return array;
    }
    void write(Attribute* attribute, int value)
    {
        ValueHandle handle;
        ASSERT_EQ(loader.lockAttribute(attribute, &handle), Status::kSuccess);
        handle.getInt() = value;
        ASSERT_EQ(loader.unlockAttribute(attribute), Status::kSuccess);
    }

    /// The lines logged since the last call, without the library's prefix, behind "I ", "W " or "E " for their levels.
    Lines logged()
    {
        const std::wstring prefix = L"KQDatabase2 : ";
        Lines lines;
        for (const LogRecorder::Line& line : scene.log().take())
        {
            EXPECT_EQ(line.text.substr(0, prefix.size()), prefix);
            lines.push_back(std::wstring(1, L"IWED"[line.level]) + L" " + line.text.substr(prefix.size()));
        }
        return lines;
    }

    Scene scene;
    Lines calls; ///< of all migrators
    std::map<unsigned int, std::unique_ptr<TestMigrator>> migrators;
    EditRecorder data{&scene.core()};
    Node* parent = scene.nodeOf(Scene::kPlain, L"parent");
    TestInputStream stream;
    kqtl::pod_vector<Migrator*> migratorsRun;
    TestLoader loader{stream, data, scene.core(), 3, 0, &migratorsRun};
};

} // namespace db2test
