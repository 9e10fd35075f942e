#include "HostFixture.h"

#include "SceneVersion1.h"

#include <cmath>
#include <fstream>
#include <iterator>

namespace db2host::scene {
namespace {

const std::filesystem::path kVersion1File = std::filesystem::path(KQDB_EXAMPLE_DATA) / "scene_v1.json";

std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(SceneVersion1Test, TheExamplesDocumentIsWhatVersion1Wrote)
{
    db2test::TemporaryFolder folder;
    SceneVersion1 version1;
    Library library(nullptr, L"Scene 1.0", {&version1});
    Session::Setup setup;
    setup.rootTypeId = SceneVersion1::kScene;
    setup.typeString = L"scene";
    Session session(library, setup);
    makeVersion1Document(session);
    ASSERT_TRUE(session.saveAs(folder.file("v1.json")));
    EXPECT_EQ(folder.read("v1.json"), contentOf(kVersion1File));
}

/// The example's document, opened by version 2.
class SceneMigrationTest : public HostTest
{
protected:
    const db2::Node* find(const wchar_t* path)
    {
        db2::Node* node = nullptr;
        EXPECT_EQ(db2::dbu_pathToNode(&session.root(), path, &node), Status::kSuccess);
        return node;
    }

    LoadReport openText(const std::string& text, bool keepLegacyData = false)
    {
        folder.write("changed.json", text);
        return session.open(folder.file("changed.json"), keepLegacyData);
    }

    static std::string replaced(std::string text, const std::string& what, const std::string& with)
    {
        const std::size_t at = text.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return text.replace(at, what.size(), with);
    }

    Session session{library, sceneSetup()};
    LoadReport report = session.open(kVersion1File);
};

TEST_F(SceneMigrationTest, TheReportSaysWhatRanAndWhatWasLeftOver)
{
    EXPECT_EQ(report.status, Status::kLoadedWithUnhandledLegacyData);
    EXPECT_TRUE(report.isLoaded());
    ASSERT_EQ(report.migratorsRun.size(), 1u);
    EXPECT_EQ(report.migratorsRun[0].moduleId, L"Scene");
    EXPECT_EQ(report.migratorsRun[0].version, 2u);
    EXPECT_EQ(report.unhandledNodes, 1u);
    EXPECT_EQ(report.unhandledElements, 1u);
    EXPECT_EQ(report.unhandledConnections, 0u);
    EXPECT_NE(report.errors.find(L"Legacy node of type 'Locator' not migrated.\n"), std::wstring::npos);
}

TEST_F(SceneMigrationTest, VisibleIsVisibility)
{
    const db2::Attribute* const lamps = attributeOf(find(L"|table|pivot|lamp"), transform::kVisibility);
    EXPECT_FALSE(lamps->getValue().getBool());
    EXPECT_EQ(lamps->getReference(), attributeOf(find(L"|table"), transform::kVisibility));
}

TEST_F(SceneMigrationTest, ANullIsATransform)
{
    const db2::Node* const pivot = find(L"|table|pivot");
    EXPECT_EQ(pivot->getTypeId(), static_cast<unsigned int>(kTransform));
    const kqx::Matrix& world = attributeOf(find(L"|table|pivot|lamp"), transform::kWorld)->getValue().getMatrix();
    EXPECT_EQ(world.m[3][0], 0.5f);
    EXPECT_EQ(world.m[3][1], 0.75f);
}

TEST_F(SceneMigrationTest, FovInDegreesIsFieldOfViewInRadians)
{
    const auto fieldOfView = [&](const wchar_t* camera) { return attributeOf(find(camera), camera::kFieldOfView); };
    const float quarter = std::acos(0.0f);
    EXPECT_FLOAT_EQ(fieldOfView(L"|wide")->getValue().getFloat(), quarter);
    EXPECT_EQ(fieldOfView(L"|second")->getReference(), fieldOfView(L"|wide"));
    EXPECT_FLOAT_EQ(fieldOfView(L"|normal")->getValue().getFloat(), quarter / 2) << "the default is the same angle";
}

TEST_F(SceneMigrationTest, AnOmniLightIsAPointLightAndTheDefaultIsStillDirectional)
{
    const auto kindOf = [&](const wchar_t* light) {
        return attributeOf(find(light), light::kKind)->getValue().getInt();
    };
    EXPECT_EQ(kindOf(L"|table|pivot|lamp|bulb"), 0);
    EXPECT_EQ(kindOf(L"|sun"), 1);
    EXPECT_EQ(kindOf(L"|table|pivot|lamp|reflector"), 2);
}

TEST_F(SceneMigrationTest, AJointIsABone)
{
    const db2::Node* const hinge = find(L"|cloth|skeleton|hinge");
    ASSERT_EQ(hinge->getTypeId(), static_cast<unsigned int>(kBone));
    EXPECT_EQ(attributeOf(hinge, bone::kWeights)->getValue().getFloatArray().size(), 3u);
    EXPECT_EQ(attributeOf(hinge, bone::kSkinning)->getValue().getMatrix().m[3][1], 0.75f);
}

TEST_F(SceneMigrationTest, ALocatorIsGoneAndItsChildrenTakeItsPlace)
{
    EXPECT_NE(find(L"|table|cup"), nullptr);
    EXPECT_EQ(session.core().getStatistics().legacyNodes, 0u);
}

TEST_F(SceneMigrationTest, KeptForALaterVersionItSurvivesASave)
{
    ASSERT_TRUE(session.open(kVersion1File, true).isLoaded());
    EXPECT_EQ(session.core().getStatistics().legacyNodes, 1u);
    EXPECT_NE(find(L"|table|corner|cup"), nullptr);
    ASSERT_TRUE(session.saveAs(folder.file("v2.json")));
    Session other(library, sceneSetup());
    ASSERT_TRUE(other.open(folder.file("v2.json"), true).isLoaded());
    EXPECT_EQ(other.core().getStatistics().legacyNodes, 1u);
    EXPECT_EQ(other.core().getStatistics().legacyElements, 1u);
    ASSERT_TRUE(other.saveAs(folder.file("again.json")));
    EXPECT_EQ(folder.read("again.json"), folder.read("v2.json"));
}

TEST_F(SceneMigrationTest, SavedItIsOfVersion2AndOpensWithoutMigration)
{
    ASSERT_TRUE(session.saveAs(folder.file("v2.json")));
    EXPECT_NE(folder.read("v2.json").find(R"(["Scene", 2, []])"), std::string::npos);
    Session other(library, sceneSetup());
    EXPECT_EQ(other.open(folder.file("v2.json")).status, Status::kSuccess);
    EXPECT_EQ(savedText(other), folder.read("v2.json"));
}

TEST_F(SceneMigrationTest, MergedItIsUndoneAndRedoneMigrated)
{
    session.clear();
    makeArm(session);
    const std::wstring before = db2test::dumpTree(session.core());
    ASSERT_TRUE(session.merge(kVersion1File, session.root()).isLoaded());
    expectUndoneAndRedone(session, before);
}

TEST_F(SceneMigrationTest, AFovThatReferencesAnotherNumberIsReportedAsLost)
{
    const std::string text = replaced(contentOf(kVersion1File), "\"|wide.fov\"", "\"|table|corner.size\"");
    const LoadReport changed = openText(text);
    EXPECT_TRUE(changed.isLoaded());
    EXPECT_EQ(changed.unhandledConnections, 1u);
}

TEST_F(SceneMigrationTest, AKindThatIsSharedStaysShared)
{
    const std::string text =
        replaced(contentOf(kVersion1File), R"(["kind", "Enum", "spot"])", R"(["kind", "Enum ->", "|sun.kind"])");
    ASSERT_TRUE(openText(text).isLoaded());
    const db2::Attribute* const kind = attributeOf(find(L"|table|pivot|lamp|reflector"), light::kKind);
    EXPECT_EQ(kind->getReference(), attributeOf(find(L"|sun"), light::kKind));
    EXPECT_EQ(kind->getValue().getInt(), 1);
}

TEST_F(SceneMigrationTest, ALaterVersionIsRefusedAndTheDocumentStays)
{
    const SessionState before(session);
    const std::string text = replaced(contentOf(kVersion1File), R"(["Scene", 1, []])", R"(["Scene", 3, []])");
    EXPECT_FALSE(openText(text).isLoaded());
    EXPECT_EQ(SessionState(session), before);
}

TEST_F(SceneMigrationTest, SessionsMigrateEachIntoTheirOwnDocument)
{
    Session other(library, sceneSetup());
    const std::string first = savedText(session);
    ASSERT_TRUE(other.open(kVersion1File).isLoaded());
    ASSERT_TRUE(session.open(kVersion1File).isLoaded());
    EXPECT_EQ(savedText(session), first);
    EXPECT_EQ(savedText(other), first);
}

} // namespace
} // namespace db2host::scene
