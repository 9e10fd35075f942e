#include "support/ChangeScene.h"

#include "support/TreeDump.h"

// What writing values leaves in the change set.

namespace db2test {
namespace {

class ChangeManagerValuesTest : public ChangeScene
{
protected:
    Node* node = scene.node(L"node");
    Node* reader = scene.node(L"reader");
    Attribute* value = node->findAttributeByName(L"Int");
    Attribute* shown = reader->findAttributeByName(L"Int");
    AttributeArray* items = node->findAttributeArrayByName(L"IntItems");
};

TEST_F(ChangeManagerValuesTest, AnAttributeIsRecordedWhenItIsLockedNotWhenItIsUnlocked)
{
    ValueHandle handle;
    ASSERT_EQ(data.db_lockAttribute(value, &handle), Status::kSuccess);
    const Lines changed{L"changed node |node", L"changed attribute |node.Int"};
    EXPECT_EQ(recorded(), changed);
    EXPECT_TRUE(changes.hasChanged(value));
    EXPECT_TRUE(changes.hasChanged(node));
    handle.getInt() = 5;
    ASSERT_EQ(data.db_unlockAttribute(value), Status::kSuccess);
    EXPECT_EQ(recorded(), changed);
    EXPECT_EQ(value->getValue().getInt(), 5);
}

TEST_F(ChangeManagerValuesTest, AnAttributeWrittenTwiceIsRecordedOnceAndItsNodeOnceForAll)
{
    write(value);
    write(node->findAttributeByName(L"Float"));
    write(value);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |node", L"changed attribute |node.Int", L"changed attribute |node.Float"}));
}

TEST_F(ChangeManagerValuesTest, AnAttributeOfACreatedNodeIsNotRecorded)
{
    Node* const made = create(L"made");
    write(made->findAttributeByName(L"Int"));
    EXPECT_EQ(recorded(), Lines{L"created node |made"});
    commit();
    write(made->findAttributeByName(L"Int")); // in the next unit it is a node like any other
    EXPECT_EQ(recorded(), (Lines{L"changed node |made", L"changed attribute |made.Int"}));
}

TEST_F(ChangeManagerValuesTest, ACreatedDynamicAttributeIsRecordedAsWrittenToo)
{
    Element* const made = createElement(L"made", node);
    write(static_cast<Attribute*>(made));
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |node", L"created dynamic attribute |node.made", L"changed attribute |node.made"}));
}

TEST_F(ChangeManagerValuesTest, AnItemOfAnArrayIsNotRecorded)
{
    resize(items, 2);
    commit();
    write(items->getAttribute(0));
    EXPECT_EQ(recorded(), Lines{});
    write(items);
    EXPECT_EQ(recorded(), Lines{});
    EXPECT_FALSE(node->hasAnyFlag(NodeFlag::kChangeFlags));
}

// --- What shows the value ---

TEST_F(ChangeManagerValuesTest, EverythingThatReferencesTheAttributeDirectlyOrThroughOthersIsRecorded)
{
    Attribute* const through = node->findAttributeByName(L"Float");
    Attribute* const second = reader->findAttributeByName(L"Double");
    reference(value, shown);
    reference(shown, through);
    reference(value, second);
    commit();
    write(value);
    const Lines found = recorded();
    EXPECT_EQ(found, (Lines{L"changed node |node", L"changed node |reader", L"changed attribute |node.Int",
                            L"changed attribute |reader.Double", L"changed attribute |reader.Int",
                            L"changed attribute |node.Float"}));
}

TEST_F(ChangeManagerValuesTest, WhatShowsTheValueOnACreatedNodeIsNotRecorded)
{
    Node* const made = create(L"made");
    reference(value, made->findAttributeByName(L"Int"));
    reference(made->findAttributeByName(L"Int"), shown); // and behind it one of an old node
    const Lines before = recorded();
    ASSERT_EQ(before, (Lines{L"created node |made", L"changed node |reader", L"created reference |made.Int",
                             L"created reference |reader.Int", L"changed attribute |reader.Int"}));
    write(value);
    EXPECT_EQ(recorded(), (Lines{L"created node |made", L"changed node |reader", L"changed node |node",
                                 L"created reference |made.Int", L"created reference |reader.Int",
                                 L"changed attribute |reader.Int", L"changed attribute |node.Int"}));
}

TEST_F(ChangeManagerValuesTest, AnItemThatShowsTheValueIsNotRecordedButWhatShowsTheItemIs)
{
    resize(items, 1);
    reference(value, items->getAttribute(0));
    reference(items->getAttribute(0), shown);
    commit();
    write(value);
    EXPECT_EQ(recorded(), (Lines{L"changed node |node", L"changed node |reader", L"changed attribute |node.Int",
                                 L"changed attribute |reader.Int"}));
}

TEST_F(ChangeManagerValuesTest, WhatShowsAWrittenItemIsRecorded)
{
    resize(items, 2);
    reference(items->getAttribute(1), shown);
    commit();
    write(items->getAttribute(1));
    EXPECT_EQ(recorded(), (Lines{L"changed node |reader", L"changed attribute |reader.Int"}));
}

TEST_F(ChangeManagerValuesTest, WhatShowsAnItemOfAWrittenArrayIsRecorded)
{
    Attribute* const through = reader->findAttributeByName(L"Float");
    resize(items, 3);
    reference(items->getAttribute(0), shown);
    reference(items->getAttribute(2), through);
    commit();
    write(items);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |reader", L"changed attribute |reader.Int", L"changed attribute |reader.Float"}));
}

TEST_F(ChangeManagerValuesTest, AnAttributeThatWasAloneInTheListIsStillTheOnlyEntryOfItself)
{
    reference(value, shown);
    commit();
    ValueHandle handle;
    ASSERT_EQ(data.db_lockAttribute(value, &handle), Status::kSuccess);
    ASSERT_EQ(data.db_unlockAttribute(value), Status::kSuccess);
    endReference(shown);
    write(shown);
    EXPECT_EQ(recorded(), (Lines{L"changed node |node", L"changed node |reader", L"destroyed reference |reader.Int",
                                 L"changed attribute |node.Int", L"changed attribute |reader.Int"}));
}

/// A chain of referencers as long as this one must not cost a call's depth each.
TEST_F(ChangeManagerValuesTest, AChainOfManyReferencersIsRecorded)
{
    constexpr int kLinks = 20000;
    Attribute* last = value;
    for (int i = 0; i < kLinks; ++i)
    {
        Attribute* const link = scene.nodeOf(Scene::kAll, (L"link" + std::to_wstring(i) + L"x").c_str(), reader)
                                    ->findAttributeByName(L"Int");
        ASSERT_EQ(scene.core().db_createReference(last, link, false), Status::kSuccess);
        last = link;
    }
    write(value);
    EXPECT_EQ(changes.ChangedAttributeCount(), kLinks + 1u);
    EXPECT_EQ(changes.ChangedAttribute(kLinks), last);
}

// --- Refusals ---

TEST_F(ChangeManagerValuesTest, RefusedLocksRecordNothing)
{
    reference(value, shown);
    commit();
    ValueHandle handle;
    void* values = nullptr;
    EXPECT_EQ(data.db_lockAttribute(nullptr, &handle), Status::kNullAttributeToLock);
    EXPECT_EQ(data.db_lockAttribute(shown, &handle), Status::kLockReferencer);
    EXPECT_EQ(data.db_lockAttribute(value, nullptr), Status::kNullLockOutput);
    EXPECT_EQ(data.db_lockAttributeArray(nullptr, &values), Status::kNullArrayToLock);
    EXPECT_EQ(data.db_lockAttributeArray(node->findAttributeArrayByName(L"StringItems"), &values),
              Status::kLockArrayNotPlainData);
    EXPECT_EQ(data.db_unlockAttribute(value), Status::kAttributeNotLocked);
    EXPECT_EQ(data.db_unlockAttributeArray(items), Status::kArrayNotLocked);
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerValuesTest, ALockedArrayHandsOutItsValues)
{
    resize(items, 2);
    void* values = nullptr;
    ASSERT_EQ(data.db_lockAttributeArray(items, &values), Status::kSuccess);
    ASSERT_NE(values, nullptr);
    static_cast<int*>(values)[1] = 9;
    ASSERT_EQ(data.db_unlockAttributeArray(items), Status::kSuccess);
    EXPECT_EQ(items->getAttribute(1)->getValue().getInt(), 9);
}

} // namespace
} // namespace db2test
