#include "HostFixture.h"

#include <filesystem>

namespace db2host {
namespace {

using SessionSaveTest = HostTest;

TEST_F(SessionSaveTest, SaveAsRemembersTheFileAndThatItIsSaved)
{
    Session session(library, sceneSetup());
    makeArm(session);
    EXPECT_TRUE(session.hasUnsavedChanges());
    EXPECT_TRUE(session.saveAs(folder.file("arm.json")));
    EXPECT_FALSE(session.hasUnsavedChanges());
    EXPECT_EQ(session.file(), folder.file("arm.json"));
    EXPECT_EQ(folder.count(), 1u) << "no temporary file is left";
}

TEST_F(SessionSaveTest, SaveWritesTheDocumentsFile)
{
    writeArmFile("arm.json");
    Session session(library, sceneSetup());
    ASSERT_TRUE(session.open(folder.file("arm.json")).isLoaded());
    translate(session, session.root().getFirstChild(), 4, 5, 6);
    commit(session);
    EXPECT_TRUE(session.save());
    EXPECT_NE(folder.read("arm.json").find("[4, 5, 6]"), std::string::npos);
    EXPECT_FALSE(session.hasUnsavedChanges());
}

TEST_F(SessionSaveTest, SaveWithoutAFileIsRefused)
{
    Session session(library, sceneSetup());
    EXPECT_FALSE(session.save());
    EXPECT_TRUE(log.tookError(L"The document has no file yet."));
}

TEST_F(SessionSaveTest, UndoneToTheSavedStateThereIsNothingToSave)
{
    Session session(library, sceneSetup());
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    makeArm(session);
    EXPECT_TRUE(session.hasUnsavedChanges());
    session.undo().undo();
    EXPECT_FALSE(session.hasUnsavedChanges());
    session.undo().undo();
    EXPECT_TRUE(session.hasUnsavedChanges());
}

TEST_F(SessionSaveTest, ASavedStateThatAnEditPutsOutOfReachIsNotMistakenForTheNewOne)
{
    Session session(library, sceneSetup());
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    session.undo().undo();
    makeArm(session);
    translate(session, session.root().getFirstChild(), 1, 1, 1);
    commit(session);
    EXPECT_TRUE(session.hasUnsavedChanges());
    session.undo().undo();
    EXPECT_TRUE(session.hasUnsavedChanges()) << "as many steps as when it was saved, but other ones";
    ASSERT_TRUE(session.save());
    EXPECT_FALSE(session.hasUnsavedChanges());
}

TEST_F(SessionSaveTest, ARedoBringsTheSavedStateBack)
{
    Session session(library, sceneSetup());
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    session.undo().undo();
    commit(session); // of nothing
    session.undo().redo();
    EXPECT_FALSE(session.hasUnsavedChanges());
}

TEST_F(SessionSaveTest, AClearThroughTheLayersIsAChange)
{
    Session session(library, sceneSetup());
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    ASSERT_EQ(session.data().db_clear(), Status::kSuccess);
    EXPECT_TRUE(session.hasUnsavedChanges());
}

TEST_F(SessionSaveTest, ASaveThatFailsChangesNothing)
{
    Session session(library, sceneSetup());
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    makeArm(session);
    EXPECT_FALSE(session.saveAs(folder.file("no folder") / "arm.json"));
    EXPECT_FALSE(log.lines().empty());
    EXPECT_EQ(session.file(), folder.file("arm.json"));
    EXPECT_TRUE(session.hasUnsavedChanges());
    EXPECT_TRUE(session.save()) << "nothing is left of the failed one";
}

TEST_F(SessionSaveTest, AFileThatCannotBeReplacedStays)
{
    Session session(library, sceneSetup());
    makeArm(session);
    std::filesystem::create_directory(folder.file("arm.json"));
    EXPECT_FALSE(session.saveAs(folder.file("arm.json")));
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("arm.json")));
    EXPECT_EQ(folder.count(), 1u);
}

TEST_F(SessionSaveTest, ASavedDocumentOpensAsTheSame)
{
    Session session(library, sceneSetup());
    makeArm(session);
    db2::Element* bend = nullptr;
    ASSERT_EQ(session.data().db_createDynamicElement(db2::FloatAttributeMetaDataDef(), L"bend",
                                                     session.root().getFirstChild(), nullptr, &bend),
              Status::kSuccess);
    commit(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    Session other(library, sceneSetup());
    ASSERT_TRUE(other.open(folder.file("arm.json")).isLoaded());
    ASSERT_TRUE(other.saveAs(folder.file("again.json")));
    EXPECT_EQ(folder.read("again.json"), folder.read("arm.json"));
    EXPECT_EQ(savedText(other), savedText(session));
}

TEST_F(SessionSaveTest, ComputedValuesAreNotSaved)
{
    writeArmFile("arm.json");
    const std::string text = folder.read("arm.json");
    EXPECT_EQ(text.find("\"local\""), std::string::npos);
    EXPECT_NE(text.find("[\"world\", \"Matrix\"]"), std::string::npos) << "there for the reference, without a value";
}

TEST_F(SessionSaveTest, SubtreesAreSavedAloneAndTheDocumentRemembersNothing)
{
    Session session(library, sceneSetup());
    db2::Node* const arm = makeArm(session);
    makeArm(session);
    EXPECT_TRUE(session.saveSubtrees({arm}, folder.file("part.json")));
    EXPECT_TRUE(session.file().empty());
    EXPECT_TRUE(session.hasUnsavedChanges());
    Session part(library, sceneSetup());
    ASSERT_TRUE(part.open(folder.file("part.json")).isLoaded());
    EXPECT_EQ(part.core().getStatistics().nodes, 3u);
}

TEST_F(SessionSaveTest, ReferencesThatLeadOutOfSubtreesAreSavedAsTheirValues)
{
    Session session(library, sceneSetup());
    db2::Node* const arm = makeArm(session);
    translate(session, arm, 7, 0, 0);
    commit(session);
    EXPECT_TRUE(session.saveSubtrees({arm->getFirstChild()}, folder.file("hand.json")));
    EXPECT_EQ(log.lines().back().level, db2test::LogRecorder::kWarning);
    Session part(library, sceneSetup());
    ASSERT_TRUE(part.open(folder.file("hand.json")).isLoaded());
    const db2::Node* const hand = part.root().getFirstChild();
    EXPECT_EQ(attributeOf(hand, scene::transform::kWorld)->getValue().getMatrix().m[3][0], 8.0f);
}

TEST_F(SessionSaveTest, SubtreesThatOverlapAreRefusedAndCanBeSavedLater)
{
    Session session(library, sceneSetup());
    db2::Node* const arm = makeArm(session);
    EXPECT_FALSE(session.saveSubtrees({arm, arm->getFirstChild()}, folder.file("part.json")));
    EXPECT_FALSE(session.saveSubtrees({&session.root()}, folder.file("part.json")));
    EXPECT_FALSE(session.saveSubtrees({nullptr}, folder.file("part.json")));
    EXPECT_EQ(folder.count(), 0u);
    EXPECT_TRUE(session.saveSubtrees({arm}, folder.file("part.json")));
}

} // namespace
} // namespace db2host
