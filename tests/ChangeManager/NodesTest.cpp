#include "support/ChangeScene.h"

#include <functional>

// What edits of nodes leave in the change set, and what they take out of it again.

namespace db2test {
namespace {

/// Two nodes that were there before the unit of work.
class ChangeManagerNodesTest : public ChangeScene
{
protected:
    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
};

// --- Creation ---

TEST_F(ChangeManagerNodesTest, ACreatedNodeIsRecordedAndHandedOut)
{
    Node* made = nullptr;
    ASSERT_EQ(data.db_createNode(Scene::kAll, L"made", arm, hand, &made), Status::kSuccess);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getParent(), arm);
    EXPECT_EQ(made->getNextSibling(), hand);
    EXPECT_EQ(recorded(), Lines{L"created node |arm|made"});
}

TEST_F(ChangeManagerNodesTest, ACreatedUnknownNodeIsRecordedAndHandedOut)
{
    Node* made = nullptr;
    ASSERT_EQ(data.db_createUnknownNode(L"Gone", scene.module(), L"made", arm, hand, true, &made), Status::kSuccess);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getNextSibling(), hand);
    EXPECT_TRUE(made->isLegacy());
    EXPECT_EQ(recorded(), Lines{L"created node |arm|made"});
}

TEST_F(ChangeManagerNodesTest, CreatedNodesAreRecordedWhenNobodyTakesThem)
{
    ASSERT_EQ(data.db_createNode(Scene::kPlain, L"a", nullptr, nullptr, nullptr), Status::kSuccess);
    ASSERT_EQ(data.db_createUnknownNode(L"Gone", scene.module(), L"b", nullptr, nullptr, false, nullptr),
              Status::kSuccess);
    EXPECT_EQ(recorded(), (Lines{L"created node |a", L"created node |b"}));
}

TEST_F(ChangeManagerNodesTest, CreatedNodesAreKeptInTheOrderOfCreation)
{
    Node* const first = create(L"first");
    create(L"below", first);
    create(L"second");
    EXPECT_EQ(recorded(), (Lines{L"created node |first", L"created node |first|below", L"created node |second"}));
}

TEST_F(ChangeManagerNodesTest, ARefusedCreationHandsOutNull)
{
    Node* made = arm;
    EXPECT_EQ(data.db_createNode(999, L"made", nullptr, nullptr, &made), Status::kUnknownTypeId);
    EXPECT_EQ(made, nullptr);
    made = arm;
    EXPECT_EQ(data.db_createUnknownNode(L"Gone", scene.module(), L"made", nullptr, hand, false, &made),
              Status::kNextNotChildOfParent);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(recorded(), Lines{});
}

// --- Destruction ---

TEST_F(ChangeManagerNodesTest, ADestroyedNodeIsRecorded)
{
    destroy(hand);
    EXPECT_EQ(recorded(), Lines{L"destroyed node |arm|hand"});
    EXPECT_TRUE(changes.wasDestroyed(hand));
}

TEST_F(ChangeManagerNodesTest, ANodeCreatedAndDestroyedInOneUnitIsRecordedAsNeither)
{
    Node* const made = create(L"made");
    create(L"kept");
    destroy(made);
    EXPECT_EQ(recorded(), Lines{L"created node |kept"});
    EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kChangeFlags));
}

TEST_F(ChangeManagerNodesTest, ADestroyedNodeLeavesTheListsOfRenamedReparentedAndReorderedOnes)
{
    struct Row
    {
        const char* what;
        std::function<void()> edit;
        const wchar_t* before;
        const wchar_t* after;
    };
    const Row rows[] = {
        {"renamed", [this] { rename(hand, L"finger"); }, L"renamed node |arm|finger", L"destroyed node |arm|finger"},
        {"reparented", [this] { reparent(hand, scene.root()); }, L"reparented node |hand", L"destroyed node |hand"},
        {"reordered",
         [this] {
             Node* const nail = scene.node(L"nail", hand);
             moveLast(nail);
             ASSERT_EQ(scene.core().db_destroyLeafNode(nail), Status::kSuccess); // past the layer
         },
         L"reordered node |arm|hand", L"destroyed node |arm|hand"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        row.edit();
        ASSERT_EQ(recorded(), Lines{row.before});
        destroy(hand);
        EXPECT_EQ(recorded(), Lines{row.after});
        EXPECT_EQ(hand->getFlags() & NodeFlag::kChangeFlags, NodeFlag::kDestroyedNow);
        commit();
        hand = scene.node(L"hand", arm); // another for the next row
    }
}

/// The attributes stay in their own list, and readable.
TEST_F(ChangeManagerNodesTest, ADestroyedNodeLeavesTheListOfChangedNodes)
{
    write(hand->findAttributeByName(L"Int"));
    ASSERT_EQ(recorded(), (Lines{L"changed node |arm|hand", L"changed attribute |arm|hand.Int"}));
    destroy(hand);
    EXPECT_EQ(recorded(), (Lines{L"destroyed node |arm|hand", L"changed attribute |arm|hand.Int"}));
    EXPECT_EQ(hand->getFlags() & NodeFlag::kChangeFlags, NodeFlag::kDestroyedNow);
}

TEST_F(ChangeManagerNodesTest, ANodeCreatedAndDestroyedLeavesTheListOfReorderedParentsToo)
{
    // The children come past the layer, as those of an inner layer do, so the reorder is not of a created node.
    Node* const made = create(L"made");
    made->clearFlag(NodeFlag::kCreated);
    Node* const first = scene.node(L"first", made);
    Node* const second = scene.node(L"second", made);
    moveLast(first);
    made->setFlag(NodeFlag::kCreated);
    ASSERT_EQ(recorded(), (Lines{L"created node |made", L"reordered node |made"}));
    ASSERT_EQ(scene.core().db_destroyLeafNode(first), Status::kSuccess);
    ASSERT_EQ(scene.core().db_destroyLeafNode(second), Status::kSuccess);
    destroy(made);
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_FALSE(made->hasAnyFlag(NodeFlag::kChangeFlags));
}

TEST_F(ChangeManagerNodesTest, ARefusedDestructionRecordsNothing)
{
    EXPECT_EQ(data.db_destroyLeafNode(arm), Status::kNodeHasChildren);
    EXPECT_EQ(data.db_destroyLeafNode(nullptr), Status::kNullNodeToDestroy);
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerNodesTest, AHundredThousandNodesAreCreatedAndDestroyedInOneUnit)
{
    std::vector<Node*> made;
    for (int i = 0; i < 100000; ++i)
    {
        Node* node = nullptr;
        ASSERT_EQ(data.db_createNode(Scene::kPlain, std::to_wstring(i).append(L"n").c_str(), arm, nullptr, &node),
                  Status::kSuccess);
        made.push_back(node);
    }
    for (Node* const node : made)
        ASSERT_EQ(data.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(recorded(), Lines{});
}

// --- Renaming ---

/// Keeps the old names that a concrete set drops.
class NamingChangeSet : public ConcreteChangeSet
{
public:
    void addRenamedNode(Node* node, const wchar_t* oldName) override
    {
        oldNames.emplace_back(oldName);
        ConcreteChangeSet::addRenamedNode(node, oldName);
    }

    std::vector<std::wstring> oldNames;
};

TEST_F(ChangeManagerNodesTest, ANodeRenamedTwiceIsRecordedOnceWithItsFirstName)
{
    NamingChangeSet naming;
    ChangeManager layer(&scene.core(), naming, snapshot);
    ASSERT_EQ(layer.db_renameNode(arm, L"leg"), Status::kSuccess);
    ASSERT_EQ(layer.db_renameNode(arm, L"wing"), Status::kSuccess);
    ASSERT_EQ(layer.db_renameNode(hand, L"foot"), Status::kSuccess);
    EXPECT_EQ(changesOf(naming), (Lines{L"renamed node |wing", L"renamed node |wing|foot"}));
    EXPECT_EQ(naming.oldNames, (std::vector<std::wstring>{L"arm", L"hand"}));
    EXPECT_TRUE(naming.wasRenamed(arm));

    ASSERT_EQ(layer.db_commit(L"", L"", 0), Status::kSuccess);
    ASSERT_EQ(layer.db_renameNode(arm, L"fin"), Status::kSuccess); // another unit, another first name
    EXPECT_EQ(naming.oldNames.back(), L"wing");
    ASSERT_EQ(layer.db_commit(L"", L"", 0), Status::kSuccess);
}

TEST_F(ChangeManagerNodesTest, ACreatedNodeIsNotRecordedAsRenamed)
{
    Node* const made = create(L"made");
    rename(made, L"other");
    EXPECT_EQ(recorded(), Lines{L"created node |other"});
}

TEST_F(ChangeManagerNodesTest, ARefusedRenameRecordsNothing)
{
    EXPECT_EQ(data.db_renameNode(nullptr, L"name"), Status::kNullNodeToRename);
    EXPECT_EQ(data.db_renameNode(arm, L""), Status::kEmptyNodeName);
    EXPECT_EQ(recorded(), Lines{});
    rename(arm, L"leg"); // the name of the refused one is not taken for the old one
    EXPECT_EQ(recorded(), Lines{L"renamed node |leg"});
}

// --- Reparenting ---

TEST_F(ChangeManagerNodesTest, ANodeReparentedTwiceIsRecordedOnce)
{
    Node* const shelf = scene.node(L"shelf");
    reparent(hand, shelf);
    reparent(hand, scene.root());
    EXPECT_EQ(recorded(), Lines{L"reparented node |hand"});
    EXPECT_EQ(hand->getParent(), scene.root());
}

TEST_F(ChangeManagerNodesTest, AReparentForwardsItsPlaceAndItsName)
{
    ASSERT_EQ(data.db_reparentNode(hand, scene.root(), arm, L"foot"), Status::kSuccess);
    EXPECT_EQ(hand->getNextSibling(), arm);
    EXPECT_EQ(recorded(), Lines{L"reparented node |foot"}) << "a new name is no rename of its own";
}

TEST_F(ChangeManagerNodesTest, ACreatedNodeIsNotRecordedAsReparented)
{
    Node* const made = create(L"made");
    reparent(made, arm);
    EXPECT_EQ(recorded(), Lines{L"created node |arm|made"});
}

// --- Reordering ---

TEST_F(ChangeManagerNodesTest, AReorderIsRecordedOnTheParentOnce)
{
    Node* const finger = scene.node(L"finger", arm);
    moveLast(hand);
    ASSERT_EQ(data.db_reorderNode(hand, finger), Status::kSuccess);
    EXPECT_EQ(arm->getFirstChild(), hand);
    EXPECT_EQ(recorded(), Lines{L"reordered node |arm"});
    EXPECT_TRUE(arm->hasFlag(NodeFlag::kReordered));
    EXPECT_FALSE(hand->hasAnyFlag(NodeFlag::kChangeFlags));
}

TEST_F(ChangeManagerNodesTest, AReorderUnderTheRootIsRecordedOnTheRoot)
{
    moveLast(arm);
    EXPECT_EQ(recorded(), Lines{L"reordered node |"});
}

TEST_F(ChangeManagerNodesTest, AReorderOfACreatedNodeOrUnderOneIsNotRecorded)
{
    Node* const made = create(L"made", arm);
    moveLast(made);
    Node* const below = scene.node(L"below", made); // past the layer, so not created in this unit
    moveLast(below);
    EXPECT_EQ(recorded(), Lines{L"created node |arm|made"});
}

TEST_F(ChangeManagerNodesTest, AReorderIsRecordedOnceMoreInTheNextUnit)
{
    moveLast(hand);
    commit();
    EXPECT_EQ(recorded(), Lines{});
    moveLast(hand);
    EXPECT_EQ(recorded(), Lines{L"reordered node |arm"});
}

} // namespace
} // namespace db2test
