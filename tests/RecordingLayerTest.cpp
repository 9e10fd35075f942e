#include <db2/testing/ConformanceTree.h>
#include <db2/testing/RecordingLayer.h>
#include <db2/testing/Refusals.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using namespace db2;
using namespace db2::conformance;

Argument object(const char* name, const void* address)
{
    return {name, address};
}
Argument number(const char* name, unsigned int value)
{
    return {name, value};
}
Argument flag(const char* name, bool value)
{
    return {name, value};
}
Argument text(const char* name, const wchar_t* value)
{
    return {name, TextArgument(value)};
}

class RecordingLayerTest : public ::testing::Test
{
protected:
    /// The only call since the last time.
    RecordedCall take()
    {
        EXPECT_EQ(layer.calls().size(), 1u);
        RecordedCall call = layer.calls().empty() ? RecordedCall{} : layer.calls().front();
        layer.clear();
        return call;
    }

    void expectCall(Operation operation, const std::vector<Argument>& arguments, const void* outPointer = nullptr)
    {
        SCOPED_TRACE(nameOf(operation));
        const RecordedCall call = take();
        EXPECT_EQ(call.operation, operation);
        ASSERT_EQ(call.arguments.size(), arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i)
        {
            EXPECT_EQ(call.arguments[i].name, arguments[i].name);
            EXPECT_EQ(call.arguments[i].value, arguments[i].value) << arguments[i].name;
        }
        EXPECT_EQ(call.outPointer, outPointer);
        EXPECT_EQ(call.answer, Status::kSuccess);
    }

    ConformanceTree tree;
    RecordingLayer layer{nullptr};
};

TEST_F(RecordingLayerTest, EveryOperationIsKeptWithItsArguments)
{
    Node* node = nullptr;
    layer.db_createNode(7, L"new", tree.arm, tree.hand, &node);
    expectCall(Operation::kCreateNode,
               {number("typeId", 7), text("name", L"new"), object("parent", tree.arm), object("next", tree.hand)},
               &node);
    layer.db_createUnknownNode(L"Gone", tree.types.module, L"new", tree.arm, tree.hand, true, &node);
    expectCall(Operation::kCreateUnknownNode,
               {text("typeName", L"Gone"), object("module", &tree.types.module), text("name", L"new"),
                object("parent", tree.arm), object("next", tree.hand), flag("legacy", true)},
               &node);
    layer.db_destroyLeafNode(tree.cup);
    expectCall(Operation::kDestroyLeafNode, {object("node", tree.cup)});
    layer.db_renameNode(tree.cup, L"mug");
    expectCall(Operation::kRenameNode, {object("node", tree.cup), text("name", L"mug")});
    layer.db_reparentNode(tree.hand, tree.shelf, tree.cup, L"glove");
    expectCall(Operation::kReparentNode, {object("node", tree.hand), object("newParent", tree.shelf),
                                          object("next", tree.cup), text("name", L"glove")});
    layer.db_reorderNode(tree.shelf, tree.arm);
    expectCall(Operation::kReorderNode, {object("node", tree.shelf), object("next", tree.arm)});
    Element* element = nullptr;
    layer.db_createDynamicElement(tree.definition, L"third", tree.arm, tree.first, &element);
    expectCall(Operation::kCreateDynamicElement,
               {object("definition", &tree.definition), text("name", L"third"), object("node", tree.arm),
                object("next", tree.first)},
               &element);
    layer.db_destroyDynamicElement(tree.first);
    expectCall(Operation::kDestroyDynamicElement, {object("element", tree.first)});
    layer.db_renameDynamicElement(tree.first, L"zeroth");
    expectCall(Operation::kRenameDynamicElement, {object("element", tree.first), text("name", L"zeroth")});
    layer.db_resizeAttributeArray(tree.marks, 9);
    expectCall(Operation::kResizeAttributeArray, {object("array", tree.marks), number("size", 9)});
    layer.db_createReference(tree.length, tree.width, false);
    expectCall(Operation::kCreateReference,
               {object("referenced", tree.length), object("referencer", tree.width), flag("singleOutput", false)});
    layer.db_destroyReference(tree.width);
    expectCall(Operation::kDestroyReference, {object("referencer", tree.width)});
    ValueHandle value;
    layer.db_lockAttribute(tree.length, &value);
    expectCall(Operation::kLockAttribute, {object("attribute", tree.length)}, &value);
    layer.db_unlockAttribute(tree.length);
    expectCall(Operation::kUnlockAttribute, {object("attribute", tree.length)});
    void* values = nullptr;
    layer.db_lockAttributeArray(tree.marks, &values);
    expectCall(Operation::kLockAttributeArray, {object("array", tree.marks)}, &values);
    layer.db_unlockAttributeArray(tree.marks);
    expectCall(Operation::kUnlockAttributeArray, {object("array", tree.marks)});
    layer.db_commit(L"what", L"where", 42);
    expectCall(Operation::kCommit, {text("description", L"what"), text("file", L"where"), number("line", 42)});
    layer.db_commitTransient();
    expectCall(Operation::kCommitTransient, {});
    layer.db_clear();
    expectCall(Operation::kClear, {});
}

TEST_F(RecordingLayerTest, ANullTextIsNotAnEmptyOne)
{
    layer.db_renameNode(tree.cup, nullptr);
    const Argument null = take().arguments[1];
    layer.db_renameNode(tree.cup, L"");
    const Argument empty = take().arguments[1];
    EXPECT_FALSE(null == empty);
    EXPECT_TRUE(null == text("name", nullptr));
}

TEST_F(RecordingLayerTest, CallsAreHandedOnAndKeptWithAnswerAndResult)
{
    layer.db_setNextInterface(&tree.core);
    Node* node = nullptr;
    EXPECT_EQ(layer.db_createNode(ConformanceTypes::kPart, L"new", nullptr, nullptr, &node), Status::kSuccess);
    const RecordedCall made = take();
    EXPECT_NE(node, nullptr);
    EXPECT_EQ(made.result, node);
    EXPECT_EQ(layer.db_createNode(99, L"new", nullptr, nullptr, &node), Status::kUnknownTypeId);
    const RecordedCall refused = take();
    EXPECT_EQ(refused.answer, Status::kUnknownTypeId);
    EXPECT_EQ(refused.result, nullptr);
    ValueHandle value;
    EXPECT_EQ(layer.db_lockAttribute(tree.length, &value), Status::kSuccess);
    EXPECT_EQ(take().result, tree.length->getValue().getData());
    void* values = nullptr;
    EXPECT_EQ(layer.db_lockAttributeArray(tree.marks, &values), Status::kSuccess);
    EXPECT_EQ(take().result, values);
}

TEST_F(RecordingLayerTest, ARefusedOperationIsKeptButNotHandedOn)
{
    RecordingLayer inner(&tree.core);
    layer.db_setNextInterface(&inner);
    layer.refuse(Operation::kRenameNode, Status::kInUndo);
    EXPECT_EQ(layer.db_renameNode(tree.cup, L"mug"), Status::kInUndo);
    EXPECT_EQ(take().answer, Status::kInUndo);
    EXPECT_TRUE(inner.calls().empty());
    EXPECT_EQ(layer.db_commitTransient(), Status::kSuccess); // another operation
    layer.refuseNothing();
    EXPECT_EQ(layer.db_renameNode(tree.cup, L"mug"), Status::kSuccess);
    EXPECT_EQ(inner.calls().size(), 2u);
}

TEST_F(RecordingLayerTest, EverythingIsRefusedUntilNothingIs)
{
    RecordingLayer inner(&tree.core);
    layer.db_setNextInterface(&inner);
    layer.refuseEverything(Status::kLockOutstanding);
    EXPECT_EQ(layer.db_renameNode(tree.cup, L"mug"), Status::kLockOutstanding);
    EXPECT_EQ(layer.db_commitTransient(), Status::kLockOutstanding);
    EXPECT_EQ(layer.calls().size(), 2u);
    EXPECT_TRUE(inner.calls().empty());
    layer.refuse(Operation::kRenameNode, Status::kInUndo); // in its place
    EXPECT_EQ(layer.db_commitTransient(), Status::kSuccess);
    layer.refuseEverything(Status::kSuccess); // which is nothing
    EXPECT_EQ(layer.db_renameNode(tree.cup, L"mug"), Status::kSuccess);
}

TEST_F(RecordingLayerTest, CallsAreKeptInTheirOrderUntilCleared)
{
    layer.db_commitTransient();
    layer.db_clear();
    ASSERT_EQ(layer.calls().size(), 2u);
    EXPECT_EQ(layer.calls()[0].operation, Operation::kCommitTransient);
    EXPECT_EQ(layer.calls()[1].operation, Operation::kClear);
    layer.clear();
    EXPECT_TRUE(layer.calls().empty());
}

TEST(RefusalsTest, EveryOperationCanAtLeastFail)
{
    for (std::size_t slot = 0; slot < kOperationCount; ++slot)
    {
        EXPECT_EQ(refusalsOf(static_cast<Operation>(slot)).front(), Status::kFailure);
        for (const Status refusal : refusalsOf(static_cast<Operation>(slot)))
            EXPECT_NE(refusal, Status::kSuccess);
    }
}

} // namespace
} // namespace db2test
