// Random edits in random commits through a chain of all layers: taking everything back gives the first state, bringing
// everything back the last one.

#include "support/Random.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <db2/ChangeManager.h>
#include <db2/ComputeManager.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataInterfaceLogger.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace db2;
using namespace db2test;

/// The tree's content, without what an undo does not restore, such as array capacities.
std::wstring contentOf(const CoreManager& core)
{
    return dumpTree(core, DumpDetail::kContent);
}

class UndoEditsTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    void edit()
    {
        switch (random.below(6))
        {
        case 0: data.db_createNode(Scene::kAll, L"node", anyNode(), nullptr, nullptr); break;
        case 1: data.db_renameNode(anyNode(), (L"name" + std::to_wstring(random.below(50))).c_str()); break;
        case 2: data.db_reparentNode(anyNode(), anyNode(), nullptr, nullptr); break;
        case 3: data.db_reorderNode(anyNode(), nullptr); break;
        case 4: data.db_destroyLeafNode(anyNode()); break;
        default: write(anyNode()->findAttributeByName(L"Float")); break;
        }
    }

    void write(Attribute* attribute)
    {
        ValueHandle value;
        if (attribute == nullptr || data.db_lockAttribute(attribute, &value) != Status::kSuccess)
            return;
        value.getFloat() = static_cast<float>(random.below(1000));
        data.db_unlockAttribute(attribute);
    }

    Node* anyNode()
    {
        std::vector<Node*> nodes{scene.root()};
        for (NodeIterator walk(scene.root()); walk.next();)
            nodes.push_back(walk.node());
        return nodes[random.below(nodes.size())];
    }

    Random random{GetParam()};
    Scene scene;
    WatchManager watches{&scene.core()};
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&watches, changes, snapshot};
    ComputeManager computed{1, &reports, *scene.root()};
    UndoManager undo{&computed, scene.core()};
    DataInterfaceLogger calls{&undo};
    DataInterface& data = calls;
};

TEST_P(UndoEditsTest, UndoOfEverythingGivesTheFirstStateAndRedoTheLast)
{
    SCOPED_TRACE(GetParam());
    const std::wstring first = contentOf(scene.core());
    for (int i = 0; i < 600; ++i)
    {
        edit();
        if (random.below(8) == 0)
        {
            ASSERT_EQ(data.db_commit(L"edits", L"test", 1), Status::kSuccess);
        }
    }
    ASSERT_EQ(data.db_commit(L"edits", L"test", 1), Status::kSuccess);
    const std::wstring last = contentOf(scene.core());
    ASSERT_NE(first, last);

    for (int round = 0; round < 2; ++round)
    {
        while (undo.canUndo())
        {
            ASSERT_EQ(undo.undo(), Status::kSuccess);
            ASSERT_TRUE(undo.lastReplayWasComplete());
        }
        EXPECT_EQ(contentOf(scene.core()), first);
        while (undo.canRedo())
        {
            ASSERT_EQ(undo.redo(), Status::kSuccess);
            ASSERT_TRUE(undo.lastReplayWasComplete());
        }
        EXPECT_EQ(contentOf(scene.core()), last);
    }
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, UndoEditsTest, ::testing::Values(1u, 2u, 3u, 4u));

} // namespace
