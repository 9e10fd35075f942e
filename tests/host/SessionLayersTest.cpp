#include "HostFixture.h"

#include <stdexcept>

namespace db2host {
namespace {

using SessionLayersTest = HostTest;

/// Counts what it hears.
class Counter : public db2::DataObserver, public db2::UndoObserver
{
public:
    void onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool) override
    {
        ++reports;
        created = changes.CreatedNodeCount();
        changedAttributes = changes.ChangedAttributeCount();
    }
    void onClear(db2::ChangeManager*) override { ++clears; }
    void onUndoStackPushed(db2::UndoManager*) override { ++pushes; }

    unsigned int reports = 0;
    unsigned int created = 0;
    unsigned int changedAttributes = 0;
    unsigned int clears = 0;
    unsigned int pushes = 0;
};

TEST_F(SessionLayersTest, ANewDocumentIsEmptyAndSaved)
{
    Session session(library, sceneSetup());
    EXPECT_EQ(session.root().getFirstChild(), nullptr);
    EXPECT_EQ(session.root().getTypeId(), static_cast<unsigned int>(scene::kScene));
    EXPECT_TRUE(session.file().empty());
    EXPECT_FALSE(session.hasUnsavedChanges());
    EXPECT_FALSE(session.undo().canUndo());
}

TEST_F(SessionLayersTest, ThrowsForARootTypeThatIsNotRegistered)
{
    EXPECT_THROW(Session(library, Session::Setup()), std::invalid_argument);
}

TEST_F(SessionLayersTest, TheChainIsInTheRecommendedOrder)
{
    Session::Setup setup = sceneSetup();
    setup.isCallLoggingOn = true;
    Session session(library, setup);
    auto* const calls = dynamic_cast<db2::DataInterfaceLogger*>(&session.data());
    ASSERT_NE(calls, nullptr);
    EXPECT_EQ(calls->db_getNextInterface(), &session.undo());
    EXPECT_EQ(session.undo().db_getNextInterface(), &session.computed());
    EXPECT_EQ(session.computed().db_getNextInterface(), &session.changes());
    EXPECT_EQ(session.changes().db_getNextInterface(), &session.watches());
    EXPECT_EQ(session.watches().db_getNextInterface(), &session.core());
}

TEST_F(SessionLayersTest, CallLoggingChangesTheOutermostLayer)
{
    Session session(library, sceneSetup());
    EXPECT_FALSE(session.isCallLoggingOn());
    EXPECT_EQ(&session.data(), &session.undo());
    session.setCallLogging(true);
    EXPECT_NE(&session.data(), &session.undo());
    commit(session);
    EXPECT_EQ(log.take().size(), 1u);
    session.setCallLogging(false);
    commit(session);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SessionLayersTest, ObserversHearOfComputedValuesAndOfUndo)
{
    Counter counter;
    Session session(library, sceneSetup({&counter}));
    db2::Node* const arm = makeArm(session);
    translate(session, arm, 5, 0, 0);
    commit(session);
    EXPECT_EQ(counter.reports, 2u);
    EXPECT_EQ(counter.changedAttributes, 5u); // translation, local, world; the hand's parentWorld and world
    EXPECT_EQ(session.undo().getNumUndoOperations(1), 1u) << "what is computed is not recorded";
    ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_EQ(counter.reports, 3u);
    EXPECT_EQ(counter.changedAttributes, 5u);
}

TEST_F(SessionLayersTest, UndoObserversAreWired)
{
    Counter counter;
    Session::Setup setup = sceneSetup();
    setup.undoObservers = {&counter};
    Session session(library, setup);
    makeArm(session);
    EXPECT_EQ(counter.pushes, 1u);
}

TEST_F(SessionLayersTest, TheLimitOfUndoIsTheSetups)
{
    Session::Setup setup = sceneSetup();
    setup.maxUndoItems = 1;
    Session session(library, setup);
    makeArm(session);
    makeArm(session);
    EXPECT_EQ(session.undo().getUndoStackSize(), 1u);
}

TEST_F(SessionLayersTest, SeveralSessionsStandOnOneLibrary)
{
    Session first(library, sceneSetup());
    Session second(library, sceneSetup());
    makeArm(first);
    EXPECT_EQ(second.root().getFirstChild(), nullptr);
    EXPECT_FALSE(second.hasUnsavedChanges());
    makeArm(second);
    EXPECT_EQ(savedText(first), savedText(second));
}

TEST_F(SessionLayersTest, ClearLeavesNothing)
{
    Counter counter;
    Session session(library, sceneSetup({&counter}));
    const SessionState fresh(session);
    makeArm(session);
    ASSERT_TRUE(session.saveAs(folder.file("arm.json")));
    makeArm(session);
    session.undo().undo();
    EXPECT_TRUE(session.clear());
    EXPECT_EQ(SessionState(session), fresh);
    EXPECT_EQ(counter.clears, 1u);
}

TEST_F(SessionLayersTest, ClearIsRefusedWhileAnAttributeIsLocked)
{
    Session session(library, sceneSetup());
    db2::Node* const arm = makeArm(session);
    const SessionState before(session);
    db2::ValueHandle value;
    session.data().db_lockAttribute(attributeOf(arm, scene::transform::kScale), &value);
    EXPECT_FALSE(session.clear());
    EXPECT_TRUE(log.tookError(L"An attribute is locked."));
    session.data().db_unlockAttribute(attributeOf(arm, scene::transform::kScale));
    session.undo().rollback(0);
    EXPECT_TRUE(isSameDump(before.tree, SessionState(session).tree));
    EXPECT_EQ(session.undo().getUndoStackSize(), before.undoItems);
}

} // namespace
} // namespace db2host
