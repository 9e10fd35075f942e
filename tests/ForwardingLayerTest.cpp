#include "support/Scene.h"

#include <db2/ForwardingLayer.h>
#include <db2/testing/ConformanceDrives.h>
#include <db2/testing/ConformanceTree.h>
#include <db2/testing/RecordingLayer.h>
#include <db2/testing/Refusals.h>

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace db2test {
namespace {

using namespace db2::conformance;

static_assert(!std::is_abstract_v<ForwardingLayer>);
static_assert(std::is_base_of_v<DataInterface, ForwardingLayer>);
static_assert(std::is_copy_constructible_v<ForwardingLayer> && std::is_copy_assignable_v<ForwardingLayer>);
static_assert(!std::is_convertible_v<DataInterface*, ForwardingLayer>);

/// A layer whose next one keeps what arrives.
class ForwardingLayerTest : public ::testing::Test
{
protected:
    ConformanceTree tree;
    RecordingLayer inner{nullptr};
    ForwardingLayer layer{&inner};
    Results results{tree};
};

TEST_F(ForwardingLayerTest, EveryOperationArrivesOnceWithItsArgumentsAndOutPointers)
{
    std::set<Operation> arrived;
    for (const Drive& drive : drives())
    {
        SCOPED_TRACE(testing::Message() << nameOf(drive.operation) << ", " << drive.situation);
        RecordingLayer wanted(nullptr);
        drive.perform({wanted, tree, results});
        inner.clear();
        drive.perform({layer, tree, results});
        ASSERT_EQ(wanted.calls().size(), 1u);
        ASSERT_EQ(inner.calls().size(), 1u);
        const RecordedCall& call = inner.calls().front();
        EXPECT_EQ(call.operation, drive.operation);
        EXPECT_EQ(call.operation, wanted.calls().front().operation);
        EXPECT_EQ(call.arguments, wanted.calls().front().arguments);
        EXPECT_EQ(call.outPointer, wanted.calls().front().outPointer);
        arrived.insert(call.operation);
    }
    EXPECT_EQ(arrived.size(), kOperationCount);
}

TEST_F(ForwardingLayerTest, EveryAnswerIsHandedUp)
{
    for (const Drive& drive : drives())
    {
        SCOPED_TRACE(testing::Message() << nameOf(drive.operation) << ", " << drive.situation);
        inner.refuseNothing();
        EXPECT_EQ(drive.perform({layer, tree, results}), Status::kSuccess);
        for (const Status refusal : refusalsOf(drive.operation))
        {
            inner.refuse(drive.operation, refusal);
            EXPECT_EQ(drive.perform({layer, tree, results}), refusal);
        }
        constexpr auto kUnheardOf = static_cast<Status>(0xFFFFFFFFu);
        inner.refuse(drive.operation, kUnheardOf);
        EXPECT_EQ(drive.perform({layer, tree, results}), kUnheardOf);
    }
}

TEST_F(ForwardingLayerTest, ResultsArriveWhereTheCallerWantsThem)
{
    layer.db_setNextInterface(&tree.core);
    Node* node = nullptr;
    ASSERT_EQ(layer.db_createNode(ConformanceTypes::kPart, L"finger", tree.hand, nullptr, &node), Status::kSuccess);
    EXPECT_EQ(node, tree.hand->getFirstChild());
    Node* unknown = nullptr;
    ASSERT_EQ(layer.db_createUnknownNode(L"Lost", tree.types.module, L"x", tree.cup, nullptr, false, &unknown),
              Status::kSuccess);
    EXPECT_EQ(unknown, tree.cup->getFirstChild());
    Element* element = nullptr;
    ASSERT_EQ(layer.db_createDynamicElement(tree.definition, L"extra", tree.cup, nullptr, &element), Status::kSuccess);
    EXPECT_EQ(element, tree.cup->getDynamicElement(0));
    ValueHandle value;
    ASSERT_EQ(layer.db_lockAttribute(tree.length, &value), Status::kSuccess);
    EXPECT_EQ(value.getData(), tree.length->getValue().getData());
    EXPECT_EQ(value.getTypeId(), AttributeType::kFloat);
    void* values = nullptr;
    ASSERT_EQ(layer.db_lockAttributeArray(tree.marks, &values), Status::kSuccess);
    EXPECT_EQ(values, tree.marks->getAttribute(0)->getValue().getData());
}

TEST_F(ForwardingLayerTest, TheNextLayerCanBeReplaced)
{
    EXPECT_EQ(layer.db_getNextInterface(), &inner);
    RecordingLayer other(nullptr);
    layer.db_setNextInterface(&other);
    EXPECT_EQ(layer.db_getNextInterface(), &other);
    EXPECT_EQ(layer.db_clear(), Status::kSuccess);
    EXPECT_EQ(other.calls().size(), 1u);
    EXPECT_TRUE(inner.calls().empty());
}

TEST_F(ForwardingLayerTest, ACopyHasTheSameNextLayer)
{
    const ForwardingLayer copy(layer);
    EXPECT_EQ(copy.db_getNextInterface(), &inner);
    ForwardingLayer assigned(nullptr);
    assigned = layer;
    EXPECT_EQ(assigned.db_getNextInterface(), &inner);
}

TEST_F(ForwardingLayerTest, ALayerMayHaveNoNextLayer)
{
    const ForwardingLayer alone(nullptr);
    EXPECT_EQ(alone.db_getNextInterface(), nullptr);
}

/// Overrides one operation, as a host's layer does.
class RenameCounter : public ForwardingLayer
{
public:
    using ForwardingLayer::ForwardingLayer;

    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        ++renames;
        return ForwardingLayer::db_renameNode(node, name);
    }

    int renames = 0;
};

TEST_F(ForwardingLayerTest, OverridingOneOperationChangesNoOther)
{
    RenameCounter counter(&inner);
    for (const Drive& drive : drives())
    {
        const int before = counter.renames;
        inner.clear();
        drive.perform({counter, tree, results});
        SCOPED_TRACE(nameOf(drive.operation));
        EXPECT_EQ(counter.renames - before, drive.operation == Operation::kRenameNode ? 1 : 0);
        EXPECT_EQ(inner.calls().size(), 1u);
    }
}

} // namespace
} // namespace db2test
