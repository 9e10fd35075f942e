#include "foundation/HeapLimit.h"
#include "support/OutOfMemory.h"
#include "support/UndoFixture.h"

#include <ostream>
#include <string>
#include <vector>

// What the history costs, and that every edit is refused whole when the memory for its record is out.

namespace db2test {
namespace {

class UndoManagerMemoryTest : public UndoFixture
{
protected:
    UndoManagerMemoryTest() { settle(); }

    Node* arm = node(L"arm");
    Node* hand = node(L"hand", arm);
};

// --- Figures ---

TEST_F(UndoManagerMemoryTest, AnItemSaysWhatItsRecordsTake)
{
    rename(arm, L"leg");
    commit();
    EXPECT_GT(undo.getUndoMemoryInUse(0), 0u);
    EXPECT_EQ(undo.getRedoMemoryInUse(0), 0u);
    const std::size_t used = undo.getUndoMemoryInUse(0);
    expectUndone();
    EXPECT_EQ(undo.getUndoMemoryInUse(0), 0u);
    EXPECT_GT(undo.getRedoMemoryInUse(0), 0u);
    expectRedone();
    EXPECT_GE(undo.getUndoMemoryInUse(0) + sizeof(void*), used); // padding aside
    EXPECT_LE(undo.getUndoMemoryInUse(0), used + sizeof(void*));
}

TEST_F(UndoManagerMemoryTest, ARecordedFloatTakesAtMost64Bytes)
{
    constexpr std::size_t kWrites = 1000;
    resize(floatsOf(arm), kWrites);
    settle();
    for (unsigned int i = 0; i < kWrites; ++i)
        write(floatsOf(arm)->getAttribute(i), 1.0f);
    ASSERT_EQ(operationsOfCommit(), kWrites);
    EXPECT_LE(undo.getUndoMemoryInUse(0), 64 * kWrites);
    EXPECT_GE(undo.getUndoMemoryInUse(0), (sizeof(void*) + sizeof(float)) * kWrites);
}

TEST_F(UndoManagerMemoryTest, CopiesOfNamesAndArrayValuesCount)
{
    resize(floatsOf(arm), 1000);
    settle();
    rename(arm, std::wstring(500, L'n').c_str());
    commit();
    rename(arm, L"leg");
    commit();
    EXPECT_GE(undo.getUndoMemoryInUse(1), undo.getUndoMemoryInUse(0) + 400 * sizeof(wchar_t));
    writeItems(floatsOf(arm), 1.0f);
    commit();
    EXPECT_GE(undo.getUndoMemoryInUse(2), 1000 * sizeof(float));
}

TEST_F(UndoManagerMemoryTest, RefusedEditsLeaveNothingInTheOpenItem)
{
    rename(arm, L"leg");
    commit();
    rename(arm, L"arm");
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_EQ(undo.db_renameNode(hand, L""), Status::kEmptyNodeName);
        EXPECT_EQ(undo.db_reparentNode(hand, hand, nullptr, nullptr), Status::kReparentToSelf);
        EXPECT_EQ(undo.db_destroyLeafNode(arm), Status::kNodeHasChildren);
    }
    commit();
    EXPECT_EQ(undo.getUndoMemoryInUse(1), undo.getUndoMemoryInUse(0));
}

TEST_F(UndoManagerMemoryTest, AUnitOfOneWriteTakesLittle)
{
    std::size_t bytes = 0;
    {
        const foundationtest::HeapLimit heap;
        write(floatOf(arm), 1.0f);
        commit(L"");
        bytes = heap.bytes();
    }
    EXPECT_GT(bytes, 0u);
    EXPECT_LE(bytes, 192u);
}

// --- Out of memory ---

struct OutOfMemoryRow
{
    const char* name;
    Status (*edit)(DataInterface& data, Node* arm, Node* leaf);
};

void PrintTo(const OutOfMemoryRow& row, std::ostream* out)
{
    *out << row.name;
}

class UndoManagerOutOfMemoryTest : public UndoFixture, public ::testing::WithParamInterface<OutOfMemoryRow>
{
protected:
    UndoManagerOutOfMemoryTest()
    {
        dynamicElement(L"dynamic", arm);
        resize(floatsOf(arm), 6);
        resize(arm->findAttributeArrayByName(L"StringItems"), 6);
        for (unsigned int i = 0; i < 6; ++i)
            write(arm->findAttributeArrayByName(L"StringItems")->getAttribute(i), L"a text that takes memory");
        write(textOf(arm), L"a text that takes memory");
        EXPECT_EQ(undo.db_createReference(floatOf(arm), floatOf(other), false), Status::kSuccess);
    }

    /// One item on each stack, and so many operations in the open one.
    void makeHistory(unsigned int openOperations)
    {
        settle();
        rename(other, L"one");
        commit();
        rename(other, L"two");
        commit();
        expectUndone();
        for (unsigned int i = 0; i < openOperations; ++i)
            EXPECT_EQ(undo.db_reorderNode(other, nullptr), Status::kSuccess); // where it stands already
    }

    /// The edit with ever more memory, until it succeeds. @return how often it was refused.
    std::size_t editUntilMemorySuffices()
    {
        const std::wstring before = dump();
        return failUntilMemorySuffices([&] { return GetParam().edit(undo, arm, leaf); },
                                       [&] {
                                           EXPECT_TRUE(isSameDump(before, dump()));
                                           EXPECT_FALSE(core.isLockOutstanding());
                                           EXPECT_FALSE(leaf->hasFlag(NodeFlag::kInUndo));
                                           EXPECT_EQ(undo.getUndoStackSize(), 1u);
                                           EXPECT_EQ(undo.getRedoStackSize(), 1u);
                                       });
    }

    Node* arm = node(L"arm");
    Node* leaf = node(L"leaf", arm);
    Node* other = node(L"other");
};

TEST_P(UndoManagerOutOfMemoryTest, IsRefusedAndTheHistoryStays)
{
    std::size_t failures = 0;
    for (unsigned int open = 0; open < 6; ++open) // where the open item's memory ends is its own affair
    {
        SCOPED_TRACE(open);
        makeHistory(open);
        const std::wstring before = dump();
        failures += editUntilMemorySuffices();
        EXPECT_EQ(operationsOfCommit(), open + 1);
        expectUndone();
        EXPECT_TRUE(isSameDump(before, dump()));
        expectUndone();
        EXPECT_EQ(other->getName(), L"other");
    }
    EXPECT_GT(failures, 0u);
}

/// Locks with handles of its own, and says when a refused lock wrote to them.
Status writeAndUnlock(DataInterface& data, Attribute* attribute)
{
    ValueHandle value;
    const Status status = data.db_lockAttribute(attribute, &value);
    EXPECT_EQ(value.isNull(), status != Status::kSuccess);
    return status == Status::kSuccess ? data.db_unlockAttribute(attribute) : status;
}

const OutOfMemoryRow kEdits[] = {
    {"CreateNode",
     [](DataInterface& data, Node* arm, Node* leaf) {
         return data.db_createNode(Scene::kAll, L"a name that takes memory", arm, leaf, nullptr);
     }},
    {"CreateUnknownNode",
     [](DataInterface& data, Node* arm, Node* leaf) {
         return data.db_createUnknownNode(L"Gone", *arm->getModule(), L"a name that takes memory", arm, leaf, false,
                                          nullptr);
     }},
    {"DestroyLeafNode", [](DataInterface& data, Node*, Node* leaf) { return data.db_destroyLeafNode(leaf); }},
    {"RenameNode",
     [](DataInterface& data, Node* arm, Node*) { return data.db_renameNode(arm, L"another name that takes memory"); }},
    {"ReparentNode",
     [](DataInterface& data, Node* arm, Node* leaf) {
         return data.db_reparentNode(leaf, arm->getParent(), arm, L"another name that takes memory");
     }},
    {"ReorderNode", [](DataInterface& data, Node* arm, Node*) { return data.db_reorderNode(arm, nullptr); }},
    {"CreateDynamicElement",
     [](DataInterface& data, Node* arm, Node*) {
         return data.db_createDynamicElement(StringAttributeMetaDataDef(), L"new", arm, nullptr, nullptr);
     }},
    {"DestroyDynamicElement", [](DataInterface& data, Node* arm,
                                 Node*) { return data.db_destroyDynamicElement(arm->findElementByName(L"dynamic")); }},
    {"RenameDynamicElement",
     [](DataInterface& data, Node* arm, Node*) {
         return data.db_renameDynamicElement(arm->findElementByName(L"dynamic"), L"new");
     }},
    {"GrowArray",
     [](DataInterface& data, Node* arm, Node*) {
         return data.db_resizeAttributeArray(arm->findAttributeArrayByName(L"StringItems"), 40);
     }},
    {"ShrinkArray",
     [](DataInterface& data, Node* arm, Node*) {
         return data.db_resizeAttributeArray(arm->findAttributeArrayByName(L"StringItems"), 1);
     }},
    {"CreateReference",
     [](DataInterface& data, Node* arm, Node* leaf) {
         return data.db_createReference(arm->findAttributeByName(L"String"), leaf->findAttributeByName(L"String"),
                                        false);
     }},
    {"DestroyReference",
     [](DataInterface& data, Node* arm, Node*) {
         return data.db_destroyReference(arm->findAttributeByName(L"Float")->getReferents());
     }},
    {"WriteFloat",
     [](DataInterface& data, Node* arm, Node*) { return writeAndUnlock(data, arm->findAttributeByName(L"Float")); }},
    {"WriteText",
     [](DataInterface& data, Node* arm, Node*) { return writeAndUnlock(data, arm->findAttributeByName(L"String")); }},
    {"WriteArray",
     [](DataInterface& data, Node* arm, Node*) {
         void* values = nullptr;
         AttributeArray* const array = arm->findAttributeArrayByName(L"FloatItems");
         const Status status = data.db_lockAttributeArray(array, &values);
         EXPECT_EQ(values == nullptr, status != Status::kSuccess);
         return status == Status::kSuccess ? data.db_unlockAttributeArray(array) : status;
     }},
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, UndoManagerOutOfMemoryTest, ::testing::ValuesIn(kEdits),
                         [](const auto& test) { return std::string(test.param.name); });

class UndoManagerReplayWithoutMemoryTest : public UndoFixture
{
protected:
    Node* arm = node(L"arm");
    Node* hand = node(L"hand", arm);
};

TEST_F(UndoManagerReplayWithoutMemoryTest, NoNodeIsLostByAnUndoThatRunsOut)
{
    write(textOf(hand), L"a text that takes memory");
    settle();
    const std::wstring before = dump();
    bool sawRefusal = false;
    bool sawIncompleteReplay = false;
    for (std::size_t granted = 0;; ++granted)
    {
        SCOPED_TRACE(granted);
        destroy(hand);
        commit();
        const std::wstring after = dump();
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = undo.undo();
        }
        const bool isDone = status == Status::kSuccess && undo.lastReplayWasComplete();
        if (status != Status::kSuccess)
        {
            sawRefusal = true;
            EXPECT_EQ(status, Status::kFailure);
            EXPECT_EQ(undo.getUndoStackSize(), 1u);
        }
        else if (!isDone)
        {
            sawIncompleteReplay = true;
            EXPECT_EQ(undo.redo(), Status::kSuccess);
        }
        if (!isDone)
        {
            ASSERT_TRUE(isSameDump(after, dump()));
            expectUndone();
        }
        ASSERT_TRUE(isSameDump(before, dump()));
        ASSERT_EQ(arm->getFirstChild(), hand);
        settle();
        if (isDone)
            break;
    }
    EXPECT_TRUE(sawRefusal);
    EXPECT_TRUE(sawIncompleteReplay);
}

TEST_F(UndoManagerReplayWithoutMemoryTest, ACommitThatRunsOutLosesNothing)
{
    settle();
    const std::wstring before = dump();
    rename(hand, L"paw");
    commit();
    expectUndone();
    rename(hand, L"claw");
    const std::wstring after = dump();
    std::size_t granted = 0;
    for (;; ++granted)
    {
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = undo.db_commit(L"a description that takes memory", L"test", 1);
        }
        EXPECT_TRUE(isSameDump(after, dump()));
        if (status == Status::kSuccess)
            break;
        ASSERT_EQ(status, Status::kFailure);
        EXPECT_EQ(undo.getUndoStackSize(), 0u);
        EXPECT_EQ(undo.getRedoStackSize(), 1u);
    }
    EXPECT_EQ(undo.getUndoDescription(0), L"a description that takes memory");
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
}

} // namespace
} // namespace db2test
