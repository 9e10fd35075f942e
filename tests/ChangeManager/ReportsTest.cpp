#include "support/ChangeScene.h"
#include "support/RecordingObservers.h"
#include "support/TreeDump.h"
#include "support/VirtualSlots.h"

#include <stdexcept>
#include <string>
#include <type_traits>

// How a unit of work ends: what observers are told, in which order, and what they may do meanwhile.

namespace db2test {
namespace {

constexpr const wchar_t* kRefusal = L"DataInterface operations cannot be called whilst calling data observers.";
constexpr const wchar_t* kReportThrew =
    L"KQDatabase2 : ChangeManager::reportChanges(). Unknown exception caught whilst reporting changes.";
constexpr const wchar_t* kPreReportThrew =
    L"KQDatabase2 : ChangeManager::preReportChanges(). Unknown exception caught whilst reporting changes.";

class ChangeManagerReportsTest : public ChangeScene
{
protected:
    ChangeManagerReportsTest()
    {
        reports.addObserver(&observer);
        reports.addPreObserver(&preObserver);
    }

    /// The last call of an observer, when there was one.
    [[nodiscard]] Lines lastTold() const { return observer.told.empty() ? Lines{L"nothing"} : observer.told.back(); }

    RecordingObserver observer;
    RecordingPreObserver preObserver;
    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
};

// --- Commits ---

TEST_F(ChangeManagerReportsTest, ACommitTellsWhatWasRecordedAndForgetsIt)
{
    rename(arm, L"leg");
    write(hand->findAttributeByName(L"Int"));
    commit();
    EXPECT_EQ(lastTold(), (Lines{L"renamed node |leg", L"changed node |leg|hand", L"changed attribute |leg|hand.Int"}));
    EXPECT_EQ(observer.transients, std::vector<bool>{false});
    EXPECT_EQ(observer.manager(), &reports);
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_FALSE(arm->hasAnyFlag(NodeFlag::kChangeFlags));
    EXPECT_FALSE(hand->findAttributeByName(L"Int")->hasAnyFlag(ElementFlag::kChangeFlags));
}

TEST_F(ChangeManagerReportsTest, ATransientCommitSaysSoAndForgetsJustTheSame)
{
    rename(arm, L"leg");
    ASSERT_EQ(data.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(lastTold(), Lines{L"renamed node |leg"});
    EXPECT_EQ(observer.transients, std::vector<bool>{true});
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerReportsTest, AnEmptyUnitIsReportedToo)
{
    commit();
    EXPECT_EQ(observer.told, std::vector<Lines>{Lines{}});
}

TEST_F(ChangeManagerReportsTest, ObserversAreToldBeforeTheInnerLayersCommit)
{
    const unsigned int before = next.calls();
    unsigned int duringReport = 0;
    observer.onReport = [&](const ChangeSet&) { duringReport = next.calls(); };
    commit();
    EXPECT_EQ(duringReport, before);
    EXPECT_EQ(next.calls(), before + 1);
}

TEST_F(ChangeManagerReportsTest, DestroyedObjectsCanBeReadInTheReport)
{
    ASSERT_EQ(data.db_renameNode(hand, L"claw"), Status::kSuccess);
    Element* const extra = createElement(L"extra", arm);
    commit();
    destroy(hand);
    destroy(extra);
    observer.onReport = [&](const ChangeSet& reported) {
        ASSERT_EQ(reported.DestroyedNodeCount(), 1u);
        EXPECT_EQ(reported.DestroyedNode(0)->getName(), L"claw");
        EXPECT_EQ(reported.DestroyedNode(0)->getParent(), arm);
        EXPECT_TRUE(reported.wasDestroyed(hand));
        EXPECT_STREQ(reported.DestroyedDynamicAttribute(0)->getName(), L"extra");
    };
    commit();
}

TEST_F(ChangeManagerReportsTest, TheCommitsAnswerIsThatOfTheNextLayer)
{
    rename(arm, L"leg");
    next.answer(Status::kLockOutstanding);
    EXPECT_EQ(data.db_commit(L"", L"", 0), Status::kLockOutstanding);
    EXPECT_EQ(lastTold(), Lines{L"renamed node |leg"}); // told before, and not twice
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_EQ(data.db_commitTransient(), Status::kLockOutstanding);
    EXPECT_EQ(lastTold(), Lines{});
    EXPECT_EQ(data.db_clear(), Status::kLockOutstanding);
}

TEST_F(ChangeManagerReportsTest, CreatedNodesComeParentsFirstAndDestroyedOnesDeepestFirst)
{
    Node* const a = scene.node(L"a");
    Node* const below = scene.node(L"below", a);
    Node* const lowest = scene.node(L"lowest", below);
    destroy(lowest);
    destroy(below);
    destroy(hand);
    destroy(a);
    Node* const made = create(L"made", create(L"up"));
    Node* const top = create(L"top");
    reparent(made->getParent(), top); // now below one that was created after it
    commit();
    EXPECT_EQ(lastTold(), (Lines{L"created node |top", L"created node |top|up", L"created node |top|up|made",
                                 L"destroyed node |a|below|lowest", L"destroyed node |arm|hand",
                                 L"destroyed node |a|below", L"destroyed node |a"}));
}

TEST_F(ChangeManagerReportsTest, AUnitOfWorkStartsAnewAfterEachCommit)
{
    Node* const made = create(L"made");
    commit();
    rename(made, L"renamed");
    commit();
    EXPECT_EQ(lastTold(), Lines{L"renamed node |renamed"});
    destroy(made);
    commit();
    EXPECT_EQ(lastTold(), Lines{L"destroyed node |renamed"});
}

// --- db_clear ---

TEST_F(ChangeManagerReportsTest, AClearForgetsTellsAndForwards)
{
    Node* const made = create(L"made");
    write(hand->findAttributeByName(L"Int"));
    moveLast(arm);
    observer.onClearing = [&] {
        EXPECT_EQ(recorded(), Lines{}) << "dropped before";
        EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kChangeFlags));
        EXPECT_FALSE(hand->findAttributeByName(L"Int")->hasAnyFlag(ElementFlag::kChangeFlags));
        EXPECT_NE(scene.root()->getFirstChild(), nullptr) << "not forwarded yet";
    };
    ASSERT_EQ(data.db_clear(), Status::kSuccess);
    EXPECT_EQ(observer.clears, 1);
    EXPECT_EQ(observer.manager(), &reports);
    EXPECT_TRUE(observer.told.empty()) << "what is dropped is not reported";
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_FALSE(scene.root()->hasAnyFlag(NodeFlag::kChangeFlags));
}

// --- Edits by observers ---

/// Tries every operation, each in a fresh set of operands, and expects each to be refused.
void expectEveryOperationRefused(ChangeManager& reports, Operands& operands, LogRecorder& log, const CoreManager& core)
{
    const std::wstring before = dumpTree(core);
    Node* const outNode = operands.outNode;
    Element* const outElement = operands.outElement;
    for (const Operation& operation : everyOperation())
    {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(operation.call(reports, operands), Status::kFailure);
        EXPECT_TRUE(log.tookError(kRefusal));
    }
    EXPECT_EQ(operands.outNode, outNode);
    EXPECT_EQ(operands.outElement, outElement);
    EXPECT_TRUE(operands.outValue.isNull());
    EXPECT_EQ(dumpTree(core), before);
}

TEST_F(ChangeManagerReportsTest, EveryOperationIsRefusedWhileAReportRuns)
{
    Operands operands(scene);
    unsigned int forwarded = 0;
    rename(arm, L"leg");
    observer.onReport = [&](const ChangeSet& reported) {
        const unsigned int before = next.calls();
        expectEveryOperationRefused(reports, operands, scene.log(), scene.core());
        forwarded = next.calls() - before;
        EXPECT_EQ(changesOf(reported), Lines{L"renamed node |leg"}) << "nothing is recorded";
    };
    commit();
    EXPECT_EQ(forwarded, 0u);
    EXPECT_EQ(observer.told.size(), 1u);
    observer.onReport = nullptr;
    rename(arm, L"wing"); // and afterwards everything is possible again
    EXPECT_EQ(recorded(), Lines{L"renamed node |wing"});
}

TEST_F(ChangeManagerReportsTest, EveryOperationIsRefusedWhileATransientReportRuns)
{
    observer.onReport = [&](const ChangeSet&) {
        EXPECT_EQ(data.db_renameNode(arm, L"leg"), Status::kFailure);
        EXPECT_TRUE(scene.log().tookError(kRefusal));
    };
    ASSERT_EQ(data.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(arm->getName(), L"arm");
}

TEST_F(ChangeManagerReportsTest, EveryOperationIsRefusedWhileObserversHearOfAClear)
{
    Operands operands(scene);
    observer.onClearing = [&] { expectEveryOperationRefused(reports, operands, scene.log(), scene.core()); };
    ASSERT_EQ(data.db_clear(), Status::kSuccess);
    EXPECT_EQ(observer.clears, 1);
    create(L"possible again");
}

// --- Exceptions of observers ---

TEST_F(ChangeManagerReportsTest, WhatAnObserverThrowsIsLoggedAndTheCommitGoesOn)
{
    rename(arm, L"leg");
    observer.onReport = [](const ChangeSet&) { throw std::runtime_error("host"); };
    const unsigned int before = next.calls();
    commit();
    EXPECT_EQ(scene.log().take(), (std::vector<LogRecorder::Line>{{LogRecorder::kWarning, kReportThrew}}));
    EXPECT_EQ(next.calls(), before + 1);
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_FALSE(arm->hasAnyFlag(NodeFlag::kChangeFlags));
    observer.onReport = nullptr;
    rename(arm, L"wing"); // no observer is running any more
}

TEST_F(ChangeManagerReportsTest, WhatAnObserverThrowsNeedNotBeAStandardException)
{
    observer.onReport = [](const ChangeSet&) { throw 7; };
    commit();
    EXPECT_EQ(scene.log().take(), (std::vector<LogRecorder::Line>{{LogRecorder::kWarning, kReportThrew}}));
}

TEST_F(ChangeManagerReportsTest, AfterAnObserverHasThrownTheLaterOnesAreNotCalledInThatReport)
{
    RecordingObserver later;
    reports.addObserver(&later);
    observer.onReport = [](const ChangeSet&) { throw 7; };
    commit();
    EXPECT_TRUE(later.told.empty());
    observer.onReport = nullptr;
    commit();
    EXPECT_EQ(later.told.size(), 1u);
}

/// The interrupted notification does not end, so what it left pending waits for one that does.
TEST_F(ChangeManagerReportsTest, RegistrationsAfterAnExceptionWaitForTheNextCompleteReport)
{
    RecordingObserver added;
    observer.onReport = [](const ChangeSet&) { throw 7; };
    commit();
    reports.addObserver(&added);
    observer.onReport = nullptr;
    commit();
    EXPECT_TRUE(added.told.empty());
    commit();
    EXPECT_EQ(added.told.size(), 1u);
}

TEST_F(ChangeManagerReportsTest, WhatAnObserverOfAClearThrowsPassesThrough)
{
    observer.onClearing = [] { throw std::runtime_error("host"); };
    EXPECT_THROW(data.db_clear(), std::runtime_error);
    EXPECT_TRUE(scene.log().take().empty());
    EXPECT_NE(scene.root()->getFirstChild(), nullptr) << "not forwarded";
    EXPECT_EQ(data.db_renameNode(arm, L"leg"), Status::kFailure) << "as if the observers still ran";
    EXPECT_TRUE(scene.log().tookError(kRefusal));
}

// --- Registration ---

TEST_F(ChangeManagerReportsTest, ObserversAreCalledInTheOrderOfRegistrationUntilTheyAreTakenOut)
{
    std::vector<int> order;
    RecordingObserver second;
    observer.onReport = [&](const ChangeSet&) { order.push_back(1); };
    second.onReport = [&](const ChangeSet&) { order.push_back(2); };
    reports.addObserver(&second);
    commit();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    reports.removeObserver(&observer);
    commit();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 2}));
    reports.removeObserver(&observer); // not there any more
    reports.addObserver(&observer);
    commit();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 2, 2, 1}));
}

TEST_F(ChangeManagerReportsTest, AnObserverAddedDuringAReportIsCalledByTheNextOne)
{
    RecordingObserver added;
    observer.onReport = [&](const ChangeSet&) {
        reports.addObserver(&added);
        observer.onReport = nullptr;
    };
    commit();
    EXPECT_TRUE(added.told.empty());
    commit();
    EXPECT_EQ(added.told.size(), 1u);
}

TEST_F(ChangeManagerReportsTest, AnObserverTakenOutDuringAReportIsStillCalledByIt)
{
    RecordingObserver later;
    reports.addObserver(&later);
    observer.onReport = [&](const ChangeSet&) { reports.removeObserver(&later); };
    commit();
    EXPECT_EQ(later.told.size(), 1u);
    commit();
    EXPECT_EQ(later.told.size(), 1u);
}

TEST_F(ChangeManagerReportsTest, NullObserversArePassedOver)
{
    reports.addObserver(nullptr);
    reports.addPreObserver(nullptr);
    RecordingObserver later;
    reports.addObserver(&later);
    commit();
    EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
    ASSERT_EQ(data.db_clear(), Status::kSuccess);
    EXPECT_EQ(later.told.size(), 1u);
    EXPECT_EQ(later.clears, 1);
    EXPECT_EQ(preObserver.told.size(), 1u);
}

// --- Pre-reports ---

TEST_F(ChangeManagerReportsTest, APreReportShowsASortedSnapshotAndKeepsWhatIsRecorded)
{
    Node* const made = create(L"made");
    reparent(made, create(L"up"));
    destroy(hand);
    destroy(arm);
    const Lines before = recorded();
    EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
    EXPECT_EQ(preObserver.told, (std::vector<Lines>{{L"created node |up", L"created node |up|made",
                                                     L"destroyed node |arm|hand", L"destroyed node |arm"}}));
    EXPECT_EQ(preObserver.transients, std::vector<bool>{false});
    EXPECT_EQ(preObserver.manager(), &reports);
    EXPECT_EQ(recorded(), before) << "neither sorted nor forgotten";
    EXPECT_EQ(changesOf(snapshot), preObserver.told[0]) << "it is the host's second set";
    EXPECT_TRUE(observer.told.empty());

    EXPECT_EQ(reports.preReportChanges(true), Status::kSuccess);
    EXPECT_EQ(preObserver.transients.back(), true);
    EXPECT_EQ(preObserver.told[1], preObserver.told[0]);
}

TEST_F(ChangeManagerReportsTest, PreObserversMayEditWhichIsRecordedButNotInTheirSnapshot)
{
    rename(arm, L"leg");
    RecordingPreObserver second;
    reports.addPreObserver(&second);
    preObserver.onPreReport = [&](const ChangeSet& shown) {
        EXPECT_EQ(data.db_renameNode(hand, L"foot"), Status::kSuccess);
        EXPECT_EQ(changesOf(shown), Lines{L"renamed node |leg"});
    };
    EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
    EXPECT_EQ(second.told, std::vector<Lines>{Lines{L"renamed node |leg"}});
    commit();
    EXPECT_EQ(lastTold(), (Lines{L"renamed node |leg", L"renamed node |leg|foot"}));
}

TEST_F(ChangeManagerReportsTest, EveryOperationGoesThroughWhileAPreReportRuns)
{
    for (const Operation& operation : everyOperation())
    {
        SCOPED_TRACE(operation.name);
        ASSERT_EQ(data.db_clear(), Status::kSuccess);
        Operands operands(scene);
        int calls = 0;
        preObserver.onPreReport = [&](const ChangeSet&) {
            ++calls;
            EXPECT_EQ(callUnlocked(operation, data, operands), Status::kSuccess);
        };
        EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
        EXPECT_EQ(calls, 1);
    }
    EXPECT_TRUE(scene.log().take().empty());
}

/// A commit frees what was destroyed, so a pre-observer that comes after it must not find it in the snapshot.
TEST_F(ChangeManagerReportsTest, ACommitOrAClearByAPreObserverEmptiesTheSnapshot)
{
    using End = Status (*)(DataInterface&);
    const End ends[] = {[](DataInterface& layers) { return layers.db_commit(L"", L"", 0); },
                        [](DataInterface& layers) { return layers.db_commitTransient(); },
                        [](DataInterface& layers) { return layers.db_clear(); }};
    RecordingPreObserver later;
    reports.addPreObserver(&later);
    for (const End end : ends)
    {
        Node* const doomed = scene.node(L"doomed");
        destroy(doomed);
        preObserver.onPreReport = [&](const ChangeSet& shown) {
            EXPECT_EQ(changesOf(shown), Lines{L"destroyed node |doomed"});
            EXPECT_EQ(end(data), Status::kSuccess);
            EXPECT_EQ(changesOf(shown), Lines{});
        };
        EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
        EXPECT_EQ(later.told.back(), Lines{});
    }
    EXPECT_EQ(later.told.size(), 3u);
    EXPECT_EQ(observer.told.size(), 2u);
}

TEST_F(ChangeManagerReportsTest, WhatAPreObserverThrowsIsLogged)
{
    rename(arm, L"leg");
    preObserver.onPreReport = [](const ChangeSet&) { throw std::runtime_error("host"); };
    EXPECT_EQ(reports.preReportChanges(false), Status::kSuccess);
    EXPECT_EQ(scene.log().take(), (std::vector<LogRecorder::Line>{{LogRecorder::kWarning, kPreReportThrew}}));
    EXPECT_EQ(recorded(), Lines{L"renamed node |leg"});
}

TEST_F(ChangeManagerReportsTest, PreObserversAddedAfterAnExceptionWaitForTheNextCompletePreReport)
{
    RecordingPreObserver added;
    preObserver.onPreReport = [](const ChangeSet&) { throw 7; };
    reports.preReportChanges(false);
    reports.addPreObserver(&added);
    preObserver.onPreReport = nullptr;
    reports.preReportChanges(false);
    EXPECT_TRUE(added.told.empty());
    reports.preReportChanges(false);
    EXPECT_EQ(added.told.size(), 1u);
}

TEST_F(ChangeManagerReportsTest, PreObserversComeAndGoAsObserversDo)
{
    RecordingPreObserver second;
    preObserver.onPreReport = [&](const ChangeSet&) {
        reports.removePreObserver(&preObserver);
        reports.addPreObserver(&second);
    };
    reports.preReportChanges(false);
    EXPECT_EQ(preObserver.told.size(), 1u);
    EXPECT_TRUE(second.told.empty());
    reports.preReportChanges(false);
    EXPECT_EQ(preObserver.told.size(), 1u);
    EXPECT_EQ(second.told.size(), 1u);
}

// --- The observers' interfaces ---

static_assert(std::is_abstract_v<DataObserver> && !std::has_virtual_destructor_v<DataObserver>);
static_assert(std::is_abstract_v<DataPreObserver> && !std::has_virtual_destructor_v<DataPreObserver>);

#if KQDB_TEST_KNOWS_SLOTS

TEST_F(ChangeManagerReportsTest, TheOperationsOfObserversHaveTheirSlots)
{
    EXPECT_EQ(slotOf(&DataPreObserver::onPreReportChanges), 0u);
    EXPECT_EQ(slotOf(&DataObserver::onReportChanges), 0u);
    EXPECT_EQ(slotOf(&DataObserver::onClear), 1u);
}

#endif

} // namespace
} // namespace db2test
