#include "HostFixture.h"

#include "support/HeapThatRunsOut.h"

namespace db2host {
namespace {

/// A document with a history and a file, and a heap that ends after each number of allocations in turn.
class SessionOutOfMemoryTest : public HostTest
{
protected:
    SessionOutOfMemoryTest()
    {
        writeArmFile("other.json");
        makeArm(session);
        EXPECT_TRUE(session.saveAs(folder.file("mine.json")));
        makeArm(session);
        makeArm(session);
        session.undo().undo();
    }

    /// @param attempt  true when it succeeded. @return how often it failed.
    template <class Attempt>
    std::size_t failUntilMemorySuffices(Attempt attempt)
    {
        const SessionState before(session);
        for (std::size_t granted = 0; granted < 10000; ++granted)
        {
            bool isDone = false;
            {
                const db2test::HeapThatRunsOut heap(granted);
                isDone = attempt();
            }
            if (isDone)
                return granted;
            EXPECT_EQ(SessionState(session), before) << granted << " allocations granted";
            if (HasFailure())
                return granted;
        }
        ADD_FAILURE() << "it never succeeds";
        return 0;
    }

    Session session{library, sceneSetup()};
};

TEST_F(SessionOutOfMemoryTest, AnOpenThatFindsNoMemoryChangesNothing)
{
    EXPECT_GT(failUntilMemorySuffices([&] { return session.open(folder.file("other.json")).isLoaded(); }), 10u);
    EXPECT_EQ(savedText(session), folder.read("other.json"));
}

TEST_F(SessionOutOfMemoryTest, AMergeThatFindsNoMemoryChangesNothing)
{
    session.undo().redo();
    const std::wstring before = db2test::dumpTree(session.core());
    EXPECT_GT(
        failUntilMemorySuffices([&] { return session.merge(folder.file("other.json"), session.root()).isLoaded(); }),
        10u);
    commit(session); // where the end of the merge found no memory, this makes up for it
    const db2::Node* const hand = session.root().getLastChild()->getFirstChild();
    EXPECT_EQ(attributeOf(hand, scene::transform::kWorld)->getValue().getMatrix().m[3][1], 2.0f);
    ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, db2test::dumpTree(session.core())));
}

TEST_F(SessionOutOfMemoryTest, ASaveThatFindsNoMemoryLeavesTheFile)
{
    const std::string saved = folder.read("mine.json");
    EXPECT_GT(failUntilMemorySuffices([&] {
                  const bool isSaved = session.save();
                  EXPECT_TRUE(isSaved || folder.read("mine.json") == saved);
                  return isSaved;
              }),
              0u);
    EXPECT_EQ(folder.read("mine.json"), savedText(session));
    EXPECT_FALSE(session.hasUnsavedChanges());
}

TEST_F(SessionOutOfMemoryTest, ASessionThatFindsNoMemoryThrows)
{
    for (std::size_t granted = 0;; ++granted)
    {
        ASSERT_LT(granted, 1000u);
        const db2test::HeapThatRunsOut heap(granted);
        try
        {
            const Session another(library, sceneSetup());
            ASSERT_GT(granted, 0u);
            return;
        }
        catch (const std::bad_alloc&)
        {
        }
    }
}

} // namespace
} // namespace db2host
