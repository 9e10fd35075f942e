#include "HostFixture.h"

namespace db2host::scene {
namespace {

/// A shelf with a box on it, a table beside it.
class SceneEditsTest : public HostTest
{
protected:
    db2::Node* folderNode(const wchar_t* name, db2::Node* parent)
    {
        db2::Node* node = nullptr;
        EXPECT_EQ(session.data().db_createNode(kFolder, name, parent, nullptr, &node), Status::kSuccess);
        return node;
    }

    /// The node whose world matrix the Transform's parentWorld references; null for none.
    static const db2::Node* follows(const db2::Node* node)
    {
        const db2::Attribute* const world = attributeOf(node, transform::kParentWorld)->getReference();
        EXPECT_TRUE(world == nullptr || world == attributeOf(world->getNode(), transform::kWorld));
        return world != nullptr ? world->getNode() : nullptr;
    }

    Session session{library, sceneSetup()};
    db2::Node* shelf = HostTest::transform(session, L"shelf");
    db2::Node* box = HostTest::transform(session, L"box", shelf);
    db2::Node* table = HostTest::transform(session, L"table");
};

TEST_F(SceneEditsTest, ANewTransformFollowsTheOneAbove)
{
    EXPECT_EQ(follows(box), shelf);
    EXPECT_EQ(follows(shelf), nullptr);
    EXPECT_EQ(shelf->getParent(), &session.root());
}

TEST_F(SceneEditsTest, OtherNodesBetweenDoNotCount)
{
    db2::Node* const group = folderNode(L"group", folderNode(L"outer", box));
    EXPECT_EQ(follows(createTransform(session.data(), L"cup", group)), box);
    EXPECT_EQ(follows(createTransform(session.data(), L"lamp", folderNode(L"lamps", nullptr))), nullptr);
}

TEST_F(SceneEditsTest, ANewTransformStandsBeforeItsSibling)
{
    EXPECT_EQ(createTransform(session.data(), L"chair", nullptr, table)->getNextSibling(), table);
}

TEST_F(SceneEditsTest, ACreationThatIsRefusedChangesNothing)
{
    commit(session);
    const SessionState before(session);
    EXPECT_EQ(createTransform(session.data(), L"chair", table, box), nullptr) << "the box is not on the table";
    EXPECT_EQ(SessionState(session), before);
}

TEST_F(SceneEditsTest, AMovedTransformFollowsWhatIsAboveNow)
{
    EXPECT_EQ(reparentTransform(session.data(), *box, table), Status::kSuccess);
    EXPECT_EQ(box->getParent(), table);
    EXPECT_EQ(follows(box), table);
    EXPECT_EQ(reparentTransform(session.data(), *box, nullptr), Status::kSuccess);
    EXPECT_EQ(box->getParent(), &session.root());
    EXPECT_EQ(follows(box), nullptr);
}

TEST_F(SceneEditsTest, WhatIsBelowAMovedTransformGoesOnFollowingIt)
{
    db2::Node* const cup = HostTest::transform(session, L"cup", box);
    EXPECT_EQ(reparentTransform(session.data(), *box, table), Status::kSuccess);
    EXPECT_EQ(follows(cup), box);
}

TEST_F(SceneEditsTest, AMovedFolderTakesItsTransformsAlong)
{
    db2::Node* const group = folderNode(L"group", shelf);
    db2::Node* const cup = HostTest::transform(session, L"cup", folderNode(L"inner", group));
    db2::Node* const spoon = HostTest::transform(session, L"spoon", cup);
    EXPECT_EQ(reparentTransform(session.data(), *group, table), Status::kSuccess);
    EXPECT_EQ(follows(cup), table);
    EXPECT_EQ(follows(spoon), cup);
}

TEST_F(SceneEditsTest, MovedAmongItsSiblingsItKeepsWhatItFollows)
{
    db2::Node* const cup = HostTest::transform(session, L"cup", shelf);
    EXPECT_EQ(reparentTransform(session.data(), *cup, shelf, box), Status::kSuccess);
    EXPECT_EQ(cup->getNextSibling(), box);
    EXPECT_EQ(follows(cup), shelf);
}

TEST_F(SceneEditsTest, AMoveIntoItselfIsRefusedAndChangesNothing)
{
    commit(session);
    const SessionState before(session);
    EXPECT_EQ(reparentTransform(session.data(), *shelf, box), Status::kReparentToDescendant);
    EXPECT_EQ(reparentTransform(session.data(), *shelf, shelf), Status::kReparentToSelf);
    EXPECT_EQ(reparentTransform(session.data(), session.root(), shelf), Status::kRootNode);
    EXPECT_EQ(SessionState(session), before);
}

TEST_F(SceneEditsTest, AMoveIsTakenBackWithItsReference)
{
    commit(session);
    const std::wstring before = db2test::dumpTree(session.core());
    reparentTransform(session.data(), *box, table);
    commit(session);
    ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, db2test::dumpTree(session.core())));
}

TEST_F(SceneEditsTest, ConnectingWhatIsConnectedEditsNothing)
{
    commit(session);
    EXPECT_EQ(connectTransforms(session.data(), session.root()), Status::kSuccess);
    EXPECT_EQ(session.undo().rollback(0), Status::kFailure) << "nothing is open";
}

} // namespace
} // namespace db2host::scene
