#include "HostFixture.h"

#include "support/HeapThatRunsOut.h"

#include <optional>

namespace db2host {
namespace {

/// A library that lacks the module of the documents until it is added. The root is of another module.
class SessionUnknownNodesTest : public ::testing::Test
{
protected:
    /// Nothing but a root.
    class RootModule : public ModuleDefinition
    {
    public:
        [[nodiscard]] const wchar_t* id() const override { return L"Roots"; }

        bool registerIn(db2::NodeRegistry& registry) override
        {
            auto* const module = new db2::Module;
            module->setId(id());
            module->setDataVersion(1);
            return db2::registerModule(module) == Status::kSuccess &&
                   registry.registerNodeTemplate(new db2::NodeTemplate(L"Root", kTypeId, *module)) == Status::kSuccess;
        }

        static constexpr unsigned int kTypeId = 1;
    };

    SessionUnknownNodesTest()
    {
        writeArm();
        library.emplace(nullptr, L"Test 1.0", std::vector<ModuleDefinition*>{&roots});
        setup.rootTypeId = RootModule::kTypeId;
        session.emplace(*library, setup);
    }

    void writeArm()
    {
        scene::SceneModule known;
        Library complete(nullptr, L"Test 1.0", {&known});
        Session::Setup sceneSetup;
        sceneSetup.rootTypeId = scene::kScene;
        Session author(complete, sceneSetup);
        db2::Node* const arm = scene::createTransform(author.data(), L"arm", nullptr);
        scene::createTransform(author.data(), L"hand", arm);
        db2::Node* light = nullptr;
        author.data().db_createNode(scene::kLight, L"light", arm, nullptr, &light);
        db2::ValueHandle kind;
        author.data().db_lockAttribute(attributeOf(light, scene::light::kKind), &kind);
        kind.getInt() = 2;
        author.data().db_unlockAttribute(attributeOf(light, scene::light::kKind));
        author.data().db_commit(L"Make an arm", L"test", 1);
        ASSERT_TRUE(author.saveAs(folder.file("arm.json")));
    }

    /// As if a later version had written it.
    void writeWithVersion(const std::string& entry)
    {
        std::string text = folder.read("arm.json");
        const std::string current = R"(["Scene", 2, []])";
        text.replace(text.find(current), current.size(), entry);
        folder.write("arm.json", text);
    }

    db2test::TemporaryFolder folder;
    RootModule roots;
    scene::SceneModule scene;
    Session::Setup setup;
    std::optional<Library> library;
    std::optional<Session> session;
};

TEST_F(SessionUnknownNodesTest, NodesOfAMissingModuleSurviveOpenAndSave)
{
    ASSERT_EQ(session->open(folder.file("arm.json")).status, Status::kSuccess);
    EXPECT_EQ(session->core().getStatistics().unknownNodes, 3u);
    ASSERT_TRUE(session->saveAs(folder.file("saved.json")));
    EXPECT_EQ(folder.read("saved.json"), folder.read("arm.json"));
}

TEST_F(SessionUnknownNodesTest, TheyAreConvertedOnceTheModuleIsThere)
{
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    const std::wstring unknown = db2test::dumpTree(session->core());
    ASSERT_TRUE(library->add(scene));
    const LoadReport report = session->convertUnknownNodes(scene::kModuleId);
    EXPECT_EQ(report.status, Status::kSuccess);
    EXPECT_EQ(report.errors, L"");
    EXPECT_EQ(session->core().getStatistics().unknownNodes, 0u);
    const db2::Node* const arm = session->root().getFirstChild();
    EXPECT_EQ(arm->getTypeId(), static_cast<unsigned int>(scene::kTransform));
    EXPECT_EQ(attributeOf(arm->getLastChild(), scene::light::kKind)->getValue().getInt(), 2);
    ASSERT_TRUE(session->saveAs(folder.file("saved.json")));
    EXPECT_EQ(folder.read("saved.json"), folder.read("arm.json"));

    EXPECT_EQ(session->undo().getUndoStackSize(), 1u);
    expectUndoneAndRedone(*session, unknown);
}

TEST_F(SessionUnknownNodesTest, ConvertedTransformsAreComputed)
{
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(library->add(scene));
    ASSERT_TRUE(session->convertUnknownNodes(scene::kModuleId).isLoaded());
    db2::Node* const arm = session->root().getFirstChild();
    db2::ValueHandle value;
    session->data().db_lockAttribute(attributeOf(arm, scene::transform::kTranslation), &value);
    value.getVector3() = {0, 5, 0};
    session->data().db_unlockAttribute(attributeOf(arm, scene::transform::kTranslation));
    ASSERT_EQ(session->data().db_commit(L"Lift", L"test", 1), Status::kSuccess);
    const db2::Node* const hand = arm->getFirstChild();
    EXPECT_EQ(attributeOf(hand, scene::transform::kWorld)->getValue().getMatrix().m[3][1], 5.0f);
}

TEST_F(SessionUnknownNodesTest, WithoutTheModuleTheConversionIsRefused)
{
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    const SessionState before(*session);
    const LoadReport report = session->convertUnknownNodes(scene::kModuleId);
    EXPECT_EQ(report.status, Status::kFailure);
    EXPECT_NE(report.errors.find(L"The module is not registered."), std::wstring::npos);
    EXPECT_EQ(session->convertUnknownNodes(nullptr).status, Status::kFailure);
    EXPECT_EQ(SessionState(*session), before);
}

TEST_F(SessionUnknownNodesTest, DataOfAnotherVersionIsNotConvertedButSavedAndOpened)
{
    writeWithVersion(R"(["Scene", 1, []])");
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(library->add(scene));
    EXPECT_EQ(session->convertUnknownNodes(scene::kModuleId).status, Status::kFailure);
    EXPECT_EQ(session->core().getStatistics().unknownNodes, 3u);
    ASSERT_TRUE(session->save());
    EXPECT_EQ(session->open(session->file()).status, Status::kLoadedWithMigration);
    EXPECT_EQ(session->core().getStatistics().unknownNodes, 0u);
}

TEST_F(SessionUnknownNodesTest, DataThatAMigratorHasYetToSeeIsNotConverted)
{
    writeWithVersion(R"(["Scene", 2, [7]])"); // whoever wrote it had no migrator for 2
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(library->add(scene));
    EXPECT_EQ(session->convertUnknownNodes(scene::kModuleId).status, Status::kFailure);
}

TEST_F(SessionUnknownNodesTest, WithoutUnknownNodesThereIsNothingToDo)
{
    ASSERT_TRUE(library->add(scene));
    EXPECT_EQ(session->convertUnknownNodes(scene::kModuleId).status, Status::kSuccess);
    EXPECT_FALSE(session->hasUnsavedChanges());
}

TEST_F(SessionUnknownNodesTest, AConversionThatFindsNoMemoryChangesNothing)
{
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(library->add(scene));
    const SessionState before(*session);
    LoadReport report;
    for (std::size_t granted = 0; !report.isLoaded() && granted < 10000; ++granted)
    {
        {
            const db2test::HeapThatRunsOut heap(granted);
            report = session->convertUnknownNodes(scene::kModuleId);
        }
        ASSERT_TRUE(report.isLoaded() || SessionState(*session) == before) << granted << " allocations granted";
    }
    ASSERT_TRUE(session->saveAs(folder.file("saved.json")));
    EXPECT_EQ(folder.read("saved.json"), folder.read("arm.json"));
}

/// The placeholder may go only when no document has nodes of it any more.
TEST_F(SessionUnknownNodesTest, UnknownNodesOutliveThePlaceholdersRegistration)
{
    ASSERT_TRUE(session->open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(library->add(scene));
    ASSERT_TRUE(session->saveAs(folder.file("saved.json")));
    EXPECT_EQ(folder.read("saved.json"), folder.read("arm.json"));
    session.reset();
    library.reset();
}

} // namespace
} // namespace db2host
