// Random edits in random units of work, with rollbacks, undos and redos at any time, through a chain of all layers: every
// undo and redo leads to the tree that was remembered for that place in the history.

#include "support/HostEdits.h"
#include "support/ModelValue.h"
#include "support/Random.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <db2/db2.h>

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// Of each run, nearly all of them edits.
constexpr int kSteps = 5500;

// --- Chains of all layers ---

enum class ChainKind
{
    kUndoOutermost,   ///< what it replays is reported and watched
    kReportsOutermost ///< what it replays is not
};

/// All layers around a scene's core, built from the inside out.
class Chain
{
public:
    Chain(Scene& scene, ChainKind kind)
    {
        DataInterface* outermost = &scene.core();
        if (kind == ChainKind::kUndoOutermost)
            outermost = addReports(outermost);
        computed_ = std::make_unique<ComputeManager>(1, outermost, *scene.root());
        undo_ = std::make_unique<UndoManager>(computed_.get(), scene.core());
        outermost = undo_.get();
        if (kind == ChainKind::kReportsOutermost)
            outermost = addReports(outermost);
        calls_ = std::make_unique<DataInterfaceLogger>(outermost);
    }

    UndoManager& undo() { return *undo_; }
    WatchManager& watches() { return *watches_; }
    DataInterface& data() { return *calls_; }

private:
    DataInterface* addReports(DataInterface* next)
    {
        watches_ = std::make_unique<WatchManager>(next);
        reports_ = std::make_unique<ChangeManager>(watches_.get(), changes_, snapshot_);
        return reports_.get();
    }

    ConcreteChangeSet changes_;
    ConcreteChangeSet snapshot_;
    std::unique_ptr<WatchManager> watches_;
    std::unique_ptr<ChangeManager> reports_;
    std::unique_ptr<ComputeManager> computed_;
    std::unique_ptr<UndoManager> undo_;
    std::unique_ptr<DataInterfaceLogger> calls_;
};

// --- Rollback points ---

/// What the tree was at a point, and the values that a rollback to it leaves as they are: those whose first value stands
/// in the open item before the point, those of nodes that were made before it, and computed ones.
class RememberedPoint
{
public:
    RememberedPoint(Scene& scene, const std::vector<Node*>& nodes)
        : scene_(scene), dump_(dumpTree(scene.core(), DumpDetail::kContent))
    {
        for (Node* const node : nodes)
        {
            for (AttributeIterator walk(node); walk.next();)
            {
                const bool stays = node->hasFlag(NodeFlag::kCreatedInItem) ||
                                   walk.attr()->hasFlag(ElementFlag::kRecordedInItem) || walk.attr()->isComputed();
                if (stays && walk.attr()->getReference() == nullptr)
                    values_.emplace_back(walk.attr(), readValue(walk.attr()->getValue()));
            }
        }
    }

    /// True when the tree is as it was, with those values put as they were for the time of the comparison.
    [[nodiscard]] ::testing::AssertionResult isSameTree() const
    {
        std::vector<ModelValue> present;
        for (const auto& [attribute, value] : values_)
        {
            present.push_back(readValue(attribute->getValue()));
            write(attribute, value);
        }
        const ::testing::AssertionResult result = isSameDump(dump_, dumpTree(scene_.core(), DumpDetail::kContent));
        for (std::size_t i = 0; i < values_.size(); ++i)
            write(values_[i].first, present[i]);
        return result;
    }

private:
    void write(Attribute* attribute, const ModelValue& written) const
    {
        ValueHandle value;
        ASSERT_EQ(scene_.core().db_lockAttribute(attribute, &value), Status::kSuccess);
        if (written.type != AttributeType::kNull)
            writeValue(value, written);
        ASSERT_EQ(scene_.core().db_unlockAttribute(attribute), Status::kSuccess);
    }

    Scene& scene_;
    std::wstring dump_;
    std::vector<std::pair<Attribute*, ModelValue>> values_;
};

// --- The history ---

class UndoEditsTest : public ::testing::TestWithParam<std::tuple<ChainKind, std::uint64_t>>
{
protected:
    UndoEditsTest()
    {
        std::cout << "    " << random().description() << std::endl;
        states.push_back(dump());
    }

    void step()
    {
        const std::size_t roll = random().below(100);
        if (roll < 87)
            edits.edit();
        else if (roll < 90)
            commit();
        else if (roll < 91)
            ASSERT_EQ(chain.data().db_commitTransient(), Status::kSuccess);
        else if (roll < 92)
            (void)chain.watches().addWatch(edits.anyNode());
        else if (roll < 95)
            createPoint();
        else if (roll < 98)
            rollback();
        else
            travel();
    }

    void commit()
    {
        const unsigned int items = undo.getUndoStackSize();
        ASSERT_EQ(chain.data().db_commit(L"edits", L"test", 1), Status::kSuccess);
        points.clear();
        if (undo.getUndoStackSize() == items)
        {
            ASSERT_TRUE(isSameDump(states[at], dump())) << "a unit that recorded nothing changed something";
            return;
        }
        states.resize(++at);
        states.push_back(dump());
        ASSERT_FALSE(undo.canRedo());
        scene.log().take();
    }

    void createPoint() { points.emplace(undo.createRollbackPoint(), RememberedPoint(scene, edits.nodes())); }

    /// To one of the points or, without any, of everything.
    void rollback()
    {
        const bool takesEverything = points.empty();
        const auto point = takesEverything ? points.end() : anyPoint();
        if (undo.rollback(takesEverything ? 0 : point->first) != Status::kSuccess)
            return;
        ASSERT_TRUE(undo.lastReplayWasComplete());
        ++(takesEverything ? rollbacks : rollbacksToPoints);
        if (takesEverything)
        {
            ASSERT_TRUE(isSameDump(states[at], dump()));
            return;
        }
        ASSERT_TRUE(point->second.isSameTree()) << "at point " << point->first;
        points.erase(std::next(point), points.end()); // they hold no longer, or again where other work ends
        if (undo.createRollbackPoint() == 0)          // none were left
        {
            points.clear();
            points.emplace(0, RememberedPoint(scene, edits.nodes()));
        }
    }

    std::map<unsigned int, RememberedPoint>::iterator anyPoint()
    {
        auto point = points.begin();
        for (std::size_t i = random().below(points.size()); i > 0; --i)
            ++point;
        return point;
    }

    /// Some undos and redos, after everything is committed.
    void travel()
    {
        commit();
        for (std::size_t i = random().below(6); i > 0; --i)
            undoOne();
        for (std::size_t i = random().below(6); i > 0; --i)
            redoOne();
    }

    void undoOne()
    {
        if (!undo.canUndo())
            return;
        ASSERT_EQ(undo.undo(), Status::kSuccess);
        ++undos;
        ASSERT_TRUE(undo.lastReplayWasComplete());
        ASSERT_TRUE(isSameDump(states[--at], dump())) << "after an undo";
    }

    void redoOne()
    {
        if (!undo.canRedo())
            return;
        ASSERT_EQ(undo.redo(), Status::kSuccess);
        ASSERT_TRUE(undo.lastReplayWasComplete());
        ASSERT_TRUE(isSameDump(states[++at], dump())) << "after a redo";
    }

    /// The tree's content, without what an undo does not restore, such as the capacities of arrays.
    [[nodiscard]] std::wstring dump() { return dumpTree(scene.core(), DumpDetail::kContent); }
    [[nodiscard]] Random& random() { return edits.random(); }

    struct SceneWithTypes : Scene
    {
        SceneWithTypes() { HostEdits::addTypes(*this); }
    } scene;
    Chain chain{scene, std::get<0>(GetParam())};
    UndoManager& undo = chain.undo();
    HostEdits edits{scene, chain.data(), Random(std::get<1>(GetParam())), 20};
    std::vector<std::wstring> states; ///< after each unit of the history
    std::size_t at = 0;               ///< of the state that the tree is in, or was before the open unit
    std::map<unsigned int, RememberedPoint> points;

    // The run is worth what it came by.
    unsigned int undos = 0;
    unsigned int rollbacks = 0;
    unsigned int rollbacksToPoints = 0;
};

TEST_P(UndoEditsTest, EveryUndoAndRedoLeadsToTheTreeThatWasThere)
{
    SCOPED_TRACE(random().description());
    for (int i = 0; i < kSteps && !HasFatalFailure(); ++i)
        step();
    ASSERT_FALSE(HasFatalFailure());
    commit();
    while (undo.canRedo() && !HasFatalFailure())
        redoOne();
    EXPECT_GT(edits.successes(), static_cast<std::size_t>(kSteps) / 3);
    EXPECT_GT(undo.getUndoStackSize(), 20u);
    EXPECT_GT(undos, 50u);
    EXPECT_GT(rollbacks, 5u);
    EXPECT_GT(rollbacksToPoints, 10u);

    for (int round = 0; round < 2; ++round)
    {
        while (undo.canUndo() && !HasFatalFailure())
            undoOne();
        EXPECT_EQ(at, 0u);
        while (undo.canRedo() && !HasFatalFailure())
            redoOne();
        EXPECT_EQ(at, states.size() - 1);
    }
    undo.clearUndoHistory();
    ASSERT_EQ(chain.data().db_commit(L"end", L"test", 1), Status::kSuccess);
    EXPECT_TRUE(isSameDump(states.back(), dump()));
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, UndoEditsTest,
                         ::testing::Combine(::testing::Values(ChainKind::kUndoOutermost, ChainKind::kReportsOutermost),
                                            ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u)),
                         [](const auto& test) {
                             const bool undoOutermost = std::get<0>(test.param) == ChainKind::kUndoOutermost;
                             return std::string(undoOutermost ? "UndoOutermost" : "ReportsOutermost") +
                                    std::to_string(std::get<1>(test.param));
                         });

} // namespace
} // namespace db2test
