#include "HostFixture.h"

namespace db2host {
namespace {

using SessionMergeTest = HostTest;

TEST_F(SessionMergeTest, TheFilesNodesStandUnderTheParent)
{
    writeArmFile("arm.json");
    Session session(library, sceneSetup());
    db2::Node* const shelf = transform(session, L"shelf");
    commit(session);
    const LoadReport report = session.merge(folder.file("arm.json"), *shelf);
    EXPECT_EQ(report.status, Status::kSuccess);
    ASSERT_NE(shelf->getFirstChild(), nullptr);
    EXPECT_EQ(shelf->getFirstChild()->getName(), L"arm");
    EXPECT_TRUE(session.file().empty()) << "the document is still the same";
    EXPECT_TRUE(session.hasUnsavedChanges());
}

TEST_F(SessionMergeTest, IsOneUnitOfWork)
{
    writeArmFile("arm.json");
    Session session(library, sceneSetup());
    makeArm(session);
    const std::wstring before = db2test::dumpTree(session.core());
    ASSERT_TRUE(session.merge(folder.file("arm.json"), session.root()).isLoaded());
    EXPECT_EQ(session.undo().getUndoStackSize(), 2u);
    EXPECT_EQ(session.undo().getUndoDescription(-1), L"Merge a file");
    expectUndoneAndRedone(session, before);
}

TEST_F(SessionMergeTest, WhatWasNotCommittedIsAUnitOfItsOwn)
{
    writeArmFile("arm.json");
    Session session(library, sceneSetup());
    const db2::Node* const box = transform(session, L"box");
    ASSERT_TRUE(session.merge(folder.file("arm.json"), session.root()).isLoaded());
    EXPECT_EQ(session.undo().getUndoStackSize(), 2u);
    session.undo().undo();
    EXPECT_EQ(session.root().getFirstChild(), box);
    EXPECT_EQ(session.root().getLastChild(), box);
}

TEST_F(SessionMergeTest, AFileThatIsCutAnywhereChangesNothing)
{
    writeArmFile("arm.json");
    const std::string text = folder.read("arm.json");
    Session session(library, sceneSetup());
    makeArm(session);
    const SessionState before(session);
    for (std::size_t size = 0; size < text.find_last_of('}'); size += 7)
    {
        folder.write("cut.json", text.substr(0, size));
        const LoadReport report = session.merge(folder.file("cut.json"), *session.root().getFirstChild());
        EXPECT_FALSE(report.isLoaded()) << size;
        EXPECT_NE(report.errors, L"") << size;
        ASSERT_EQ(SessionState(session), before) << size;
    }
}

TEST_F(SessionMergeTest, AMergedSubtreeFollowsTheTransformAboveOnceItIsConnected)
{
    writeArmFile("arm.json");
    Session session(library, sceneSetup());
    db2::Node* const shelf = transform(session, L"shelf");
    translate(session, shelf, 10, 0, 0);
    commit(session);
    ASSERT_TRUE(session.merge(folder.file("arm.json"), *shelf).isLoaded());
    ASSERT_EQ(scene::connectTransforms(session.data(), *shelf->getFirstChild()), Status::kSuccess);
    commit(session);
    const db2::Node* const hand = shelf->getFirstChild()->getFirstChild();
    EXPECT_EQ(attributeOf(hand, scene::transform::kWorld)->getValue().getMatrix().m[3][0], 11.0f);
}

} // namespace
} // namespace db2host
