#include "support/UndoFixture.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// The observers of the two stacks hear of every item that comes or goes, when both stacks are whole.

namespace db2test {
namespace {

/// Notes its calls as text, for example "a: redo popped, 1/0", with the sizes of the undo and the redo stack.
class NotingObserver : public UndoObserver
{
public:
    NotingObserver(std::string name, std::vector<std::string>& notes) : name_(std::move(name)), notes_(notes) {}

    void onUndoStackPushed(UndoManager* manager) override { note("undo pushed", manager); }
    void onUndoStackPopped(UndoManager* manager) override { note("undo popped", manager); }
    void onUndoStackPoppedFront(UndoManager* manager) override { note("undo popped front", manager); }
    void onRedoStackPushed(UndoManager* manager) override { note("redo pushed", manager); }
    void onRedoStackPopped(UndoManager* manager) override { note("redo popped", manager); }

    std::function<void(UndoManager*)> inCall; ///< what else it does

private:
    void note(const char* what, UndoManager* manager)
    {
        notes_.push_back(name_ + what + ", " + std::to_string(manager->getUndoStackSize()) + "/" +
                         std::to_string(manager->getRedoStackSize()));
        if (const auto call = inCall) // a copy, because it may replace itself
            call(manager);
    }

    std::string name_;
    std::vector<std::string>& notes_;
};

using Notes = std::vector<std::string>;

class UndoManagerObserversTest : public UndoFixture
{
protected:
    UndoManagerObserversTest()
    {
        settle();
        undo.addObserver(&observer);
    }
    ~UndoManagerObserversTest() override { undo.removeObserver(&observer); }

    Notes take() { return std::exchange(notes, {}); }

    void edit()
    {
        rename(arm, (L"arm" + std::to_wstring(++edits)).c_str());
        commit();
    }

    Notes notes;
    NotingObserver observer{"", notes};
    Node* arm = scene.node(L"arm");
    int edits = 0;
};

TEST_F(UndoManagerObserversTest, HearOfACommit)
{
    edit();
    EXPECT_EQ(take(), Notes{"undo pushed, 1/0"});
}

TEST_F(UndoManagerObserversTest, HearNothingOfACommitWithoutEdits)
{
    commit();
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(take(), Notes{});
}

TEST_F(UndoManagerObserversTest, HearOfAnUndoAndARedo)
{
    edit();
    edit();
    take();
    expectUndone();
    EXPECT_EQ(take(), (Notes{"undo popped, 1/1", "redo pushed, 1/1"}));
    expectRedone();
    EXPECT_EQ(take(), (Notes{"redo popped, 2/0", "undo pushed, 2/0"}));
}

TEST_F(UndoManagerObserversTest, HearNothingOfARollback)
{
    edit();
    take();
    rename(arm, L"leg");
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_EQ(take(), Notes{});
}

TEST_F(UndoManagerObserversTest, HearNothingOfWhatIsRefused)
{
    EXPECT_EQ(undo.undo(), Status::kFailure);
    EXPECT_EQ(undo.redo(), Status::kFailure);
    EXPECT_EQ(undo.rollback(0), Status::kFailure);
    EXPECT_EQ(take(), Notes{});
}

TEST_F(UndoManagerObserversTest, HearOfEveryRedoItemThatACommitDrops)
{
    for (int i = 0; i < 3; ++i)
        edit();
    expectUndone();
    expectUndone();
    take();
    edit();
    EXPECT_EQ(take(), (Notes{"redo popped, 2/1", "redo popped, 2/0", "undo pushed, 2/0"}));
}

TEST_F(UndoManagerObserversTest, HearOfEveryItemThatTheLimitDrops)
{
    for (int i = 0; i < 5; ++i)
        edit();
    take();
    undo.setMaxUndoItems(2);
    EXPECT_EQ(take(), (Notes{"undo popped front, 4/0", "undo popped front, 3/0", "undo popped front, 2/0"}));
}

TEST_F(UndoManagerObserversTest, HearOfTheItemThatACommitDropsForTheLimit)
{
    undo.setMaxUndoItems(1);
    edit();
    take();
    edit();
    EXPECT_EQ(take(), (Notes{"undo pushed, 2/0", "undo popped front, 1/0"}));
}

TEST_F(UndoManagerObserversTest, HearOfEveryItemOfAClearedHistory)
{
    for (int i = 0; i < 3; ++i)
        edit();
    expectUndone();
    take();
    undo.clearUndoHistory();
    EXPECT_EQ(take(), (Notes{"undo popped, 1/1", "undo popped, 0/1", "redo popped, 0/0"}));
}

TEST_F(UndoManagerObserversTest, HearOfTheHistoryThatAClearedTreeDrops)
{
    edit();
    edit();
    expectUndone();
    take();
    EXPECT_EQ(undo.db_clear(), Status::kSuccess);
    EXPECT_EQ(take(), (Notes{"undo popped, 0/1", "redo popped, 0/0"}));
}

TEST_F(UndoManagerObserversTest, HearOfTheHistoryThatEndsWithTheManager)
{
    auto shortLived = std::make_unique<UndoManager>(&core, core);
    shortLived->addObserver(&observer);
    for (const wchar_t* const name : {L"one", L"two"})
    {
        ASSERT_EQ(shortLived->db_renameNode(arm, name), Status::kSuccess);
        ASSERT_EQ(shortLived->db_commit(L"edit", L"test", 1), Status::kSuccess);
    }
    ASSERT_EQ(shortLived->undo(), Status::kSuccess);
    take();
    shortLived.reset();
    EXPECT_EQ(take(), (Notes{"undo popped, 0/1", "redo popped, 0/0"}));
}

TEST_F(UndoManagerObserversTest, AreCalledInTheOrderOfTheirRegistration)
{
    NotingObserver second("second ", notes);
    NotingObserver third("third ", notes);
    undo.addObserver(&second);
    undo.addObserver(&third);
    edit();
    EXPECT_EQ(take(), (Notes{"undo pushed, 1/0", "second undo pushed, 1/0", "third undo pushed, 1/0"}));
    undo.removeObserver(&second);
    edit();
    EXPECT_EQ(take(), (Notes{"undo pushed, 2/0", "third undo pushed, 2/0"}));
    undo.removeObserver(&third);
}

TEST_F(UndoManagerObserversTest, ThatComeDuringANotificationHearOfTheNextOne)
{
    NotingObserver late("late ", notes);
    bool isAdded = false;
    observer.inCall = [&](UndoManager* manager) {
        if (!std::exchange(isAdded, true))
            manager->addObserver(&late);
    };
    edit();
    EXPECT_EQ(take(), Notes{"undo pushed, 1/0"});
    edit();
    EXPECT_EQ(take(), (Notes{"undo pushed, 2/0", "late undo pushed, 2/0"}));
    undo.removeObserver(&late);
}

TEST_F(UndoManagerObserversTest, ThatGoDuringANotificationAreStillCalledInIt)
{
    NotingObserver leaving("leaving ", notes);
    undo.addObserver(&leaving);
    observer.inCall = [&](UndoManager* manager) { manager->removeObserver(&leaving); };
    edit();
    EXPECT_EQ(take(), (Notes{"undo pushed, 1/0", "leaving undo pushed, 1/0"}));
    edit();
    EXPECT_EQ(take(), Notes{"undo pushed, 2/0"});
}

TEST_F(UndoManagerObserversTest, DoNothingUnlessTheyAreOverridden)
{
    class Silent : public UndoObserver
    {
    } silent;
    undo.addObserver(&silent);
    edit();
    edit();
    expectUndone();
    expectRedone();
    undo.setMaxUndoItems(1);
    undo.clearUndoHistory();
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
    undo.removeObserver(&silent);
}

TEST_F(UndoManagerObserversTest, MayAskForDescriptionsAndDropTheHistory)
{
    observer.inCall = [](UndoManager* manager) {
        EXPECT_TRUE(manager->getUndoStackSize() == 0 || !manager->getUndoDescription(-1).empty());
        manager->clearUndoHistory();
    };
    edit();
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
    EXPECT_EQ(take(), (Notes{"undo pushed, 1/0", "undo popped, 0/0"}));
    observer.inCall = nullptr;
    edit();
    edit();
    observer.inCall = [](UndoManager* manager) { manager->clearUndoHistory(); };
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST_F(UndoManagerObserversTest, MayLowerTheLimit)
{
    for (int i = 0; i < 4; ++i)
        edit();
    observer.inCall = [](UndoManager* manager) { manager->setMaxUndoItems(1); };
    edit();
    EXPECT_EQ(undo.getUndoStackSize(), 1u);
    EXPECT_EQ(arm->getName(), L"arm5");
    expectUndone();
    EXPECT_EQ(arm->getName(), L"arm4");
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
}

TEST_F(UndoManagerObserversTest, MayThrowWhichIsLoggedAndTheManagerGoesOn)
{
    const auto warnings = [this] {
        const std::vector<LogRecorder::Line> lines = scene.log().take();
        for (const LogRecorder::Line& line : lines)
            EXPECT_EQ(line, (LogRecorder::Line{LogRecorder::kWarning, L"KQDatabase2 : UndoManager. Unknown exception "
                                                                      L"caught whilst notifying observers."}));
        return lines.size();
    };
    edit();
    edit();
    observer.inCall = [](UndoManager*) { throw 1; };
    below.take();
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_EQ(warnings(), 2u);
    EXPECT_EQ(below.take(), (std::vector<std::string>{"db_renameNode", "db_commit"}));
    EXPECT_EQ(undo.redo(), Status::kSuccess);
    EXPECT_EQ(warnings(), 2u);
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    rename(arm, L"leg");
    take();
    warnings();
    commit(); // an item pushed, the redo item dropped
    EXPECT_EQ(warnings(), 2u);
    EXPECT_EQ(undo.getUndoStackSize(), 2u);
    undo.setMaxUndoItems(1);
    EXPECT_EQ(warnings(), 1u);
    EXPECT_EQ(undo.db_clear(), Status::kSuccess);
    EXPECT_EQ(warnings(), 1u);
    EXPECT_FALSE(undo.canUndo());
}

TEST_F(UndoManagerObserversTest, MayThrowAtTheEndOfTheManager)
{
    observer.inCall = [](UndoManager*) { throw 1; };
    {
        UndoManager shortLived(&core, core);
        ASSERT_EQ(shortLived.db_renameNode(arm, L"leg"), Status::kSuccess);
        ASSERT_EQ(shortLived.db_commit(L"edit", L"test", 1), Status::kSuccess);
        shortLived.addObserver(&observer);
    }
    EXPECT_EQ(take(), Notes{"undo popped, 0/0"});
    EXPECT_EQ(scene.log().take().size(), 1u);
    observer.inCall = nullptr;
}

TEST_F(UndoManagerObserversTest, MayEdit)
{
    Node* const hand = node(L"hand");
    commit();
    observer.inCall = [&](UndoManager* manager) {
        observer.inCall = nullptr;
        EXPECT_EQ(manager->db_renameNode(hand, L"paw"), Status::kSuccess);
    };
    edit();
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
    EXPECT_EQ(arm->getName(), L"arm1");
}

TEST_F(UndoManagerObserversTest, MayEditDuringAnUndo)
{
    Node* const hand = node(L"hand");
    commit();
    edit();
    observer.inCall = [&](UndoManager* manager) {
        observer.inCall = nullptr;
        EXPECT_EQ(manager->db_renameNode(hand, L"paw"), Status::kSuccess);
    };
    EXPECT_EQ(undo.undo(), Status::kSuccess);
    EXPECT_EQ(undo.getNumRedoOperations(0), 1u);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(hand->getName(), L"hand");
}

} // namespace
} // namespace db2test
