// Random edits under random watches, with undo, redo and rollback at random: each edit marks what a naive model marks.

#include "support/LayerEdits.h"

#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace db2test {
namespace {

constexpr int kSteps = 25000;

/// Keeps watches as a plain list, and after each edit that goes through asks each of them whether it is concerned.
class NaiveWatches : public ForwardingLayer
{
public:
    struct Watch
    {
        const Node* node;
        bool isDisabled = false;
        bool hasChanged = false;
    };

    using ForwardingLayer::ForwardingLayer;

    // --- The host's side ---

    [[nodiscard]] Watch* find(const Node* node)
    {
        const auto found = std::find_if(list_.begin(), list_.end(), [&](const Watch& w) { return w.node == node; });
        return found != list_.end() ? &*found : nullptr;
    }
    void add(const Node* node) { list_.push_back({node}); }
    void remove(const Node* node)
    {
        std::erase_if(list_, [&](const Watch& watch) { return watch.node == node; });
    }
    [[nodiscard]] const std::vector<Watch>& list() const { return list_; }

    // --- Edits ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        Node* made = nullptr;
        const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &made);
        if (outNode != nullptr)
            *outNode = made;
        return marked(status, made);
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        Node* made = nullptr;
        const Status status =
            ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, &made);
        if (outNode != nullptr)
            *outNode = made;
        return marked(status, made);
    }
    Status db_destroyLeafNode(Node* node) override
    {
        const Status status = ForwardingLayer::db_destroyLeafNode(node);
        if (status == Status::kSuccess)
            remove(node);
        return marked(status, node);
    }
    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        return marked(ForwardingLayer::db_renameNode(node, name), node);
    }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        const Node* const oldParent = node != nullptr ? node->getParent() : nullptr;
        const Status status = ForwardingLayer::db_reparentNode(node, newParent, next, name);
        return marked(marked(status, oldParent), newParent);
    }
    Status db_reorderNode(Node* node, Node* next) override
    {
        return marked(ForwardingLayer::db_reorderNode(node, next), node);
    }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        Element* made = nullptr;
        const Status status = ForwardingLayer::db_createDynamicElement(definition, name, node, next, &made);
        if (outElement != nullptr)
            *outElement = made;
        return marked(status, made);
    }
    Status db_destroyDynamicElement(Element* element) override
    {
        return marked(ForwardingLayer::db_destroyDynamicElement(element), element);
    }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        return marked(ForwardingLayer::db_renameDynamicElement(element, name), element);
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        return marked(ForwardingLayer::db_resizeAttributeArray(array, size), array);
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        return marked(ForwardingLayer::db_createReference(referenced, referencer, singleOutput), referencer);
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        return marked(ForwardingLayer::db_destroyReference(referencer), referencer);
    }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        return marked(ForwardingLayer::db_lockAttribute(attribute, outValue), attribute);
    }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        return marked(ForwardingLayer::db_lockAttributeArray(array, outValues), array);
    }
    Status db_clear() override
    {
        list_.clear();
        return ForwardingLayer::db_clear();
    }

private:
    Status marked(Status status, const Node* touched)
    {
        for (Watch& watch : list_)
            if (status == Status::kSuccess && touched != nullptr && !watch.isDisabled &&
                (touched == watch.node || touched->isDescendantOf(watch.node)))
                watch.hasChanged = true;
        return status;
    }
    Status marked(Status status, const Element* touched)
    {
        const bool counts =
            status == Status::kSuccess && touched != nullptr && !touched->hasMetaDataFlag(0x20); // not excluded
        return marked(status, counts ? touched->getNode() : nullptr);
    }

    std::vector<Watch> list_;
};

/// Undo outermost, so that both see what it replays.
class WatchesTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    /// Adds, removes, switches or resets a watch on any node, in both, and compares the answers.
    void changeWatch()
    {
        Node* const node = edits.anyNode();
        NaiveWatches::Watch* const known = model.find(node);
        switch (random.below(6))
        {
        case 0:
        case 1:
            EXPECT_EQ(watches.addWatch(node), known != nullptr ? Status::kAlreadyWatched : Status::kSuccess);
            if (known == nullptr)
                model.add(node);
            break;
        case 2:
            EXPECT_EQ(watches.removeWatch(node), known != nullptr ? Status::kSuccess : Status::kRemoveUnwatched);
            model.remove(node);
            break;
        case 3:
        {
            const bool enable = random.chance(1, 2);
            EXPECT_EQ(watches.enableWatch(node, enable),
                      known != nullptr ? Status::kSuccess : Status::kEnableUnwatched);
            if (known != nullptr)
                known->isDisabled = !enable;
            break;
        }
        default:
            EXPECT_EQ(watches.resetWatch(node), known != nullptr ? Status::kSuccess : Status::kResetUnwatched);
            if (known != nullptr)
                known->hasChanged = false;
            break;
        }
    }

    void endUnit()
    {
        switch (random.below(6))
        {
        case 0: undo.undo(); break;
        case 1: undo.redo(); break;
        case 2: undo.rollback(0); break;
        default: EXPECT_EQ(undo.db_commit(L"unit", L"", 0), Status::kSuccess); break;
        }
    }

    void compare()
    {
        std::size_t watched = 0;
        NodeIterator walk(scene.root());
        walk.includeRoot(true);
        while (walk.next())
        {
            const NaiveWatches::Watch* const known = model.find(walk.node());
            ASSERT_EQ(watches.isNodeWatched(walk.node()), known != nullptr);
            ASSERT_EQ(watches.hasWatchedNodeChanged(walk.node()), known != nullptr && known->hasChanged);
            watched += known != nullptr ? 1 : 0;
            marks += known != nullptr && known->hasChanged ? 1 : 0;
        }
        ASSERT_EQ(watched, model.list().size()) << "a watch on a node that is not in the tree";
    }

    Random random{GetParam()};
    Scene scene;
    WatchManager watches{&scene.core()};
    NaiveWatches model{&watches};
    UndoManager undo{&model, scene.core()};
    LayerEdits edits{undo, scene, random};
    std::size_t marks = 0;
};

TEST_P(WatchesTest, EachEditMarksWhatANaiveModelMarks)
{
    SCOPED_TRACE(random.description());
    for (int i = 0; i < kSteps && !HasFatalFailure(); ++i)
    {
        if (random.chance(1, 4))
            changeWatch();
        edits.edit();
        compare();
        if (random.chance(1, 8))
        {
            endUnit();
            compare();
        }
        if (random.chance(1, 500))
        {
            ASSERT_EQ(undo.db_clear(), Status::kSuccess);
            compare();
        }
    }
    EXPECT_GT(marks, static_cast<std::size_t>(kSteps));
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, WatchesTest, ::testing::Values(1u, 2u, 3u, 4u));

} // namespace
} // namespace db2test
