// The tree utilities on random trees: a copy is like its source, what is destroyed comes back by undo, and nodes become
// unknown and known again without a loss.

#include "support/HostEdits.h"
#include "support/ModelValue.h"
#include "support/Random.h"
#include "support/Scene.h"
#include "support/SubtreeText.h"
#include "support/TreeDump.h"

#include <db2/ChangeManager.h>
#include <db2/ComputeManager.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataInterfaceLogger.h>
#include <db2/LoadStrategyUnknownNodes.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

constexpr std::size_t kEdits = 1000; ///< of every kind, before the tree is filled up
constexpr std::size_t kNodes = 120;
constexpr int kRounds = 10;

std::wstring contentOf(const CoreManager& core)
{
    return dumpTree(core, DumpDetail::kContent);
}

class TreeUtilityEditsTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    TreeUtilityEditsTest()
    {
        HostEdits::addTypes(scene);
        core.db_commit(L"empty", L"test", 1);
    }

    /// A random tree, committed, in which there is some of everything.
    void grow()
    {
        for (std::size_t i = 0; i < kEdits; ++i)
            edits.edit();
        while (core.getStatistics().nodes < kNodes)
            addNode();
        addReferences();
        ASSERT_GT(core.getStatistics().references, 30u);
        ASSERT_GT(core.getStatistics().dynamicElements, 30u);
        ASSERT_GT(core.getStatistics().unknownNodes, 5u);
        ASSERT_EQ(data.db_commit(L"grown", L"test", 1), Status::kSuccess);
        undo.clearUndoHistory(); // unknown elements are no edits that undo knows
    }

    void addNode()
    {
        constexpr unsigned int kTypes[] = {Scene::kPlain, Scene::kAll, HostEdits::kMixed, HostEdits::kSum};
        Node* const parent = random.chance(1, 2) ? edits.anyNode() : lastMade;
        Node* node = nullptr;
        if (random.chance(1, 5))
            data.db_createUnknownNode(L"Gone", scene.module(), L"gone", parent, nullptr, random.chance(1, 3), &node);
        else
            data.db_createNode(random.pick(kTypes), L"made", parent, nullptr, &node);
        ASSERT_NE(node, nullptr);
        if (node->isUnknown() && !node->isLegacy())
            addUnknownElements(*node);
        for (std::size_t i = random.below(3); i > 0; --i)
            addDynamicElement(*node);
        for (unsigned int i = 0; i < node->getElementCount(); ++i)
            fill(*node->getElement(i));
        lastMade = node;
    }

    void addDynamicElement(Node& node)
    {
        ElementSpec spec;
        spec.name = L"dynamic" + std::to_wstring(random.below(6));
        spec.type = static_cast<AttributeTypeId>(random.below(kAttributeTypeCount));
        spec.isArray = random.chance(1, 3);
        spec.docString = random.chance(1, 3) ? L"what it is for" : L"";
        spec.defaultValue = randomModelValue(spec.type, random);
        data.db_createDynamicElement(*makeDefinition(spec), spec.name.c_str(), &node, nullptr, nullptr);
    }

    void fill(Element& element)
    {
        if (!element.isAttributeArray())
            return write(static_cast<Attribute&>(element));
        auto& array = static_cast<AttributeArray&>(element);
        data.db_resizeAttributeArray(&array, static_cast<unsigned int>(random.below(4)));
        for (unsigned int i = 0; i < array.getSize(); ++i)
            write(*array.getAttribute(i));
    }

    void write(Attribute& attribute)
    {
        // A template's Enum keeps its value: one that is no choice has no text by which it could be known again.
        const bool isCountedByChoice = attribute.getTypeId() == AttributeType::kEnum && !attribute.isDynamic();
        ValueHandle value;
        if (attribute.isComputed() || isCountedByChoice || attribute.getTypeId() == AttributeType::kNull ||
            random.chance(1, 4) || data.db_lockAttribute(&attribute, &value) != Status::kSuccess)
            return;
        writeValue(value, randomModelValue(attribute.getTypeId(), random));
        data.db_unlockAttribute(&attribute);
    }

    /// Between attributes of one type: what is shown has the attribute's own type then.
    void addReferences()
    {
        std::vector<Attribute*> byType[kAttributeTypeCount];
        for (const Node* const node : edits.nodes())
        {
            for (AttributeIterator attributes(node); attributes.next();)
            {
                if (!attributes.attr()->isComputed())
                    byType[attributes.attr()->getTypeId()].push_back(attributes.attr());
            }
        }
        for (std::vector<Attribute*>& attributes : byType)
        {
            for (std::size_t i = 0; i < attributes.size(); ++i)
                data.db_createReference(random.pick(attributes), random.pick(attributes), random.chance(1, 4));
        }
    }

    void addUnknownElements(Node& node)
    {
        for (int i = 0; i < 3; ++i)
        {
            const auto type = static_cast<AttributeTypeId>(random.below(kAttributeTypeCount));
            const ElementSpec spec = plainElement((L"odd" + std::to_wstring(i)).c_str(), type, random.chance(1, 3));
            EXPECT_EQ(core.createUnknownElement(*makeDefinition(spec), spec.name.c_str(), &node, nullptr),
                      Status::kSuccess);
        }
    }

    Node* nodeBelowRoot()
    {
        const std::vector<Node*> nodes = edits.nodes();
        return nodes.size() > 1 ? nodes[1 + random.below(nodes.size() - 1)] : nullptr;
    }

    void undoEverything()
    {
        while (undo.canUndo())
        {
            ASSERT_EQ(undo.undo(), Status::kSuccess);
            ASSERT_TRUE(undo.lastReplayWasComplete());
        }
    }
    void redoEverything()
    {
        while (undo.canRedo())
        {
            ASSERT_EQ(undo.redo(), Status::kSuccess);
            ASSERT_TRUE(undo.lastReplayWasComplete());
        }
    }

    /// Makes an edit and commits it: undo gives back the state before, redo the one behind, and undo again the first.
    template <class Edit>
    void expectReversible(Edit edit)
    {
        const std::wstring first = contentOf(core);
        edit();
        ASSERT_EQ(data.db_commit(L"edit", L"test", 1), Status::kSuccess);
        const std::wstring last = contentOf(core);
        undoEverything();
        ASSERT_TRUE(isSameDump(first, contentOf(core)));
        redoEverything();
        ASSERT_TRUE(isSameDump(last, contentOf(core)));
        undoEverything();
        ASSERT_TRUE(isSameDump(first, contentOf(core)));
        undo.clearUndoHistory();
    }

    Random random{GetParam()};
    Scene scene;
    CoreManager& core = scene.core();
    WatchManager watches{&core};
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&watches, changes, snapshot};
    ComputeManager computed{1, &reports, *scene.root()};
    UndoManager undo{&computed, core};
    DataInterfaceLogger calls{&undo};
    DataInterface& data = calls;
    HostEdits edits{scene, data, Random(GetParam()), kNodes};
    Node* lastMade = nullptr;
};

TEST_P(TreeUtilityEditsTest, ACopyIsLikeItsSource)
{
    SCOPED_TRACE(random.description());
    grow();
    for (int round = 0; round < kRounds; ++round)
    {
        const Node* const source = nodeBelowRoot();
        if (source == nullptr)
            break;
        SCOPED_TRACE(::testing::Message() << "round " << round << ", " << pathOf(source).c_str());
        const bool internalOnly = random.chance(1, 3);
        const std::vector<std::wstring> expected = subtreeText(
            *source, true, internalOnly ? OutsideReferences::kNone : OutsideReferences::kWithoutSingleOutputs);
        const std::wstring before = contentOf(core);
        Node* const copy = dbu_copyNodeRecursively(scene.root(), source, &data, &core, edits.anyNode(), nullptr,
                                                   nullptr, nullptr, internalOnly);
        ASSERT_NE(copy, nullptr);
        ASSERT_EQ(subtreeText(*copy), expected);
        if (random.chance(1, 2))
            continue; // the next round copies from a tree with the copy in it
        dbu_destroyNodeRecursively(copy, &data);
        ASSERT_TRUE(isSameDump(before, contentOf(core)));
    }
}

TEST_P(TreeUtilityEditsTest, CopiedChildrenAreLikeTheirSources)
{
    SCOPED_TRACE(random.description());
    grow();
    for (int round = 0; round < kRounds; ++round)
    {
        const Node* const source = nodeBelowRoot();
        if (source == nullptr)
            break;
        const bool withReferences = random.chance(2, 3);
        const std::vector<std::wstring> expected = subtreeText(
            *source, false, withReferences ? OutsideReferences::kWithoutSingleOutputs : OutsideReferences::kNone);
        Node* target = nullptr;
        ASSERT_EQ(data.db_createNode(Scene::kPlain, L"target", nullptr, nullptr, &target), Status::kSuccess);
        dbu_copyChildrenRecursively(scene.root(), source, &data, &core, target, nullptr, !withReferences);
        ASSERT_EQ(subtreeText(*target, false), expected);
        dbu_destroyNodeRecursively(target, &data);
    }
}

TEST_P(TreeUtilityEditsTest, UndoTakesCopiesBack)
{
    SCOPED_TRACE(random.description());
    grow();
    for (int round = 0; round < kRounds; ++round)
    {
        const Node* const source = nodeBelowRoot();
        if (source == nullptr)
            break;
        Node* const parent = edits.anyNode();
        expectReversible([&] {
            dbu_copyNodeRecursively(scene.root(), source, &data, &core, parent, parent->getFirstChild(), nullptr,
                                    nullptr, false);
        });
    }
}

TEST_P(TreeUtilityEditsTest, UndoBringsBackWhatWasDestroyed)
{
    SCOPED_TRACE(random.description());
    grow();
    for (int round = 0; round < kRounds; ++round)
    {
        Node* const node = nodeBelowRoot();
        if (node == nullptr)
            break;
        const bool withChildren = random.chance(2, 3);
        expectReversible([&] {
            if (withChildren)
                dbu_destroyNodeRecursively(node, &data);
            else
                dbu_destroyNodeButNotChildren(node, &data);
            EXPECT_TRUE(node->isDestroyed());
        });
    }
    expectReversible([&] {
        dbu_destroyChildrenRecursively(scene.root(), &data);
        EXPECT_EQ(core.getStatistics().nodes, 1u);
    });
}

TEST_P(TreeUtilityEditsTest, NodesBecomeUnknownAndKnownAgainWithoutALoss)
{
    SCOPED_TRACE(random.description());
    grow();
    const std::wstring before = contentOf(core);
    const CoreManager::Statistics statistics = core.getStatistics();
    ASSERT_EQ(dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &core),
              Status::kSuccess);
    ASSERT_EQ(data.db_commit(L"unknown", L"test", 1), Status::kSuccess);
    ASSERT_EQ(core.getStatistics().unknownNodes, core.getStatistics().nodes - 1);
    ASSERT_EQ(core.getStatistics().references, statistics.references);
    ASSERT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(&scene.module(), scene.root(), &data, &core, 0),
              Status::kSuccess);
    ASSERT_EQ(data.db_commit(L"known", L"test", 1), Status::kSuccess);
    ASSERT_TRUE(isSameDump(before, contentOf(core)));
}

TEST_P(TreeUtilityEditsTest, UndoTakesConversionsBack)
{
    SCOPED_TRACE(random.description());
    grow();
    expectReversible([&] {
        dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &core);
        dbu_convertUnknownNodesInModuleToKnownNodes(&scene.module(), scene.root(), &data, &core, 0);
    });
    expectReversible([&] { dbu_convertKnownNodesInModuleToUnknownNodes(&scene.module(), scene.root(), &data, &core); });
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, TreeUtilityEditsTest, ::testing::Values(1u, 2u, 3u, 4u, 5u));

} // namespace
