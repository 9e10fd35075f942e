#include "support/UndoFixture.h"

#include <db2/testing/RecordingLayer.h>

#include <string>
#include <vector>

// What the undo layer records of what passes through it, and what not.

namespace db2test {
namespace {

class UndoManagerRecordingTest : public UndoFixture
{
protected:
    UndoManagerRecordingTest() { settle(); }

    Attribute* dynamicFloat(unsigned int flags)
    {
        FloatAttributeMetaDataDef definition;
        definition.setFlags(flags);
        return static_cast<Attribute*>(dynamicOf(definition));
    }

    AttributeArray* dynamicFloats(unsigned int flags)
    {
        FloatAttributeMetaDataDef definition;
        definition.setFlags(flags);
        definition.setArray(true);
        auto* const array = static_cast<AttributeArray*>(dynamicOf(definition));
        EXPECT_EQ(core.db_resizeAttributeArray(array, 2), Status::kSuccess);
        return array;
    }

    Element* dynamicOf(const ElementMetaDataDef& definition)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, L"dynamic", arm, nullptr, &made), Status::kSuccess);
        return made;
    }

    Node* arm = node(L"arm");
    Node* hand = node(L"hand", arm);
};

// --- Values ---

TEST_F(UndoManagerRecordingTest, OnlyTheFirstValueOfAnAttributeIsKeptInAUnit)
{
    write(floatOf(arm), 1.0f);
    settle();
    write(floatOf(arm), 2.0f);
    write(floatOf(arm), 3.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 1.0f);
    expectRedone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 3.0f);
}

TEST_F(UndoManagerRecordingTest, EveryUnitKeepsAFirstValueOfItsOwn)
{
    write(floatOf(arm), 2.0f);
    commit();
    write(floatOf(arm), 3.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 2.0f);
}

TEST_F(UndoManagerRecordingTest, AttributesAreRecordedEachForItself)
{
    write(floatOf(arm), 2.0f);
    write(textOf(arm), L"text");
    write(floatOf(hand), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 3u);
}

TEST_F(UndoManagerRecordingTest, AnAttributeIsRecordedAgainAfterAnUndo)
{
    write(floatOf(arm), 2.0f);
    commit();
    expectUndone();
    write(floatOf(arm), 5.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRecordingTest, AnAttributeIsRecordedAgainAfterARedo)
{
    write(floatOf(arm), 2.0f);
    commit();
    expectUndone();
    expectRedone();
    write(floatOf(arm), 5.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 2.0f);
}

TEST_F(UndoManagerRecordingTest, ATransientCommitDoesNotEndTheUnit)
{
    write(floatOf(arm), 2.0f);
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    write(floatOf(arm), 3.0f);
    EXPECT_EQ(undo.getUndoStackSize(), 0u);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(arm)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRecordingTest, ValuesOfANodeMadeInTheUnitAreNotRecorded)
{
    Node* const made = node(L"made");
    write(floatOf(made), 2.0f);
    resize(floatsOf(made), 3); // which is recorded
    writeItems(floatsOf(made), 4.0f);
    write(floatsOf(made)->getAttribute(1), 5.0f);
    EXPECT_EQ(operationsOfCommit(), 2u);
    const std::wstring after = dump();
    expectUndone();
    EXPECT_TRUE(made->isDestroyed());
    expectRedone();
    EXPECT_TRUE(isSameDump(after, dump()));
}

TEST_F(UndoManagerRecordingTest, ValuesOfAnUnknownNodeMadeInTheUnitAreNotRecorded)
{
    Node* made = nullptr;
    ASSERT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"made", nullptr, nullptr, false, &made),
              Status::kSuccess);
    Element* size = nullptr;
    ASSERT_EQ(core.createUnknownElement(FloatAttributeMetaDataDef(), L"size", made, &size), Status::kSuccess);
    write(static_cast<Attribute*>(size), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRecordingTest, ValuesOfANodeAreRecordedOnceItsUnitIsCommitted)
{
    Node* const made = node(L"made");
    commit();
    write(floatOf(made), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatOf(made)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRecordingTest, ValuesOfANodeThatRedoBroughtBackAreRecorded)
{
    Node* const made = node(L"made");
    commit();
    expectUndone();
    expectRedone();
    write(floatOf(made), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRecordingTest, ValuesOfANodeThatUndoBroughtBackAreRecorded)
{
    destroy(hand);
    commit();
    expectUndone();
    write(floatOf(hand), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRecordingTest, ValuesThatTheirMetadataExemptsAreNotRecorded)
{
    EXPECT_EQ(UndoManager::getNonUndoableElementMetaDataFlag(), 64u);
    Attribute* const exempt = dynamicFloat(UndoManager::getNonUndoableElementMetaDataFlag());
    write(exempt, 2.0f);
    EXPECT_EQ(operationsOfCommit(), 0u);
    EXPECT_EQ(exempt->getValue().getFloat(), 2.0f);
}

TEST_F(UndoManagerRecordingTest, OtherMetadataFlagsExemptNothing)
{
    write(dynamicFloat(~UndoManager::getNonUndoableElementMetaDataFlag() & ~ElementMetaDataFlag::kArray), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

TEST_F(UndoManagerRecordingTest, AnArrayLockKeepsTheValuesOfAllItems)
{
    resize(floatsOf(arm), 3);
    writeItems(floatsOf(arm), 1.0f);
    settle();
    writeItems(floatsOf(arm), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(floatsOf(arm)->getAttribute(2)->getValue().getFloat(), 1.0f);
    expectRedone();
    EXPECT_EQ(floatsOf(arm)->getAttribute(2)->getValue().getFloat(), 2.0f);
}

TEST_F(UndoManagerRecordingTest, EveryArrayLockOfAUnitIsRecorded)
{
    resize(floatsOf(arm), 3);
    settle();
    writeItems(floatsOf(arm), 2.0f);
    writeItems(floatsOf(arm), 3.0f);
    EXPECT_EQ(operationsOfCommit(), 2u);
    expectUndone();
    EXPECT_EQ(floatsOf(arm)->getAttribute(0)->getValue().getFloat(), 0.0f);
    expectRedone();
    EXPECT_EQ(floatsOf(arm)->getAttribute(0)->getValue().getFloat(), 3.0f);
}

TEST_F(UndoManagerRecordingTest, ArrayLocksThatTheirMetadataExemptsAreNotRecorded)
{
    writeItems(dynamicFloats(UndoManager::getNonUndoableElementMetaDataFlag()), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRecordingTest, ItemsOfAnArrayAreRecordedEachForItself)
{
    resize(floatsOf(arm), 3);
    settle();
    write(floatsOf(arm)->getAttribute(0), 2.0f);
    write(floatsOf(arm)->getAttribute(0), 3.0f);
    write(floatsOf(arm)->getAttribute(2), 2.0f);
    EXPECT_EQ(operationsOfCommit(), 2u);
    expectUndone();
    EXPECT_EQ(floatsOf(arm)->getAttribute(0)->getValue().getFloat(), 0.0f);
}

TEST_F(UndoManagerRecordingTest, WritesThroughItemsAndThroughTheArrayGoBackTogether)
{
    resize(floatsOf(arm), 2);
    settle();
    const std::wstring before = dump();
    write(floatsOf(arm)->getAttribute(0), 1.0f);
    writeItems(floatsOf(arm), 2.0f);
    write(floatsOf(arm)->getAttribute(0), 3.0f);
    resize(floatsOf(arm), 0);
    resize(floatsOf(arm), 2);
    write(floatsOf(arm)->getAttribute(0), 4.0f);
    commit();
    const std::wstring after = dump();
    expectUndone();
    EXPECT_TRUE(isSameDump(before, dump()));
    expectRedone();
    EXPECT_TRUE(isSameDump(after, dump()));
}

TEST_F(UndoManagerRecordingTest, LegacyElementsAreNotRecorded)
{
    Element* legacy = nullptr;
    ASSERT_EQ(core.createLegacyElement(FloatAttributeMetaDataDef(), L"was", arm, &legacy), Status::kSuccess);
    FloatAttributeMetaDataDef definition;
    definition.setArray(true);
    Element* array = nullptr;
    ASSERT_EQ(core.createLegacyElement(definition, L"were", arm, &array), Status::kSuccess);
    write(static_cast<Attribute*>(legacy), 1.0f);
    resize(static_cast<AttributeArray*>(array), 3);
    write(static_cast<AttributeArray*>(array)->getAttribute(1), 1.0f);
    writeItems(static_cast<AttributeArray*>(array), 1.0f);
    rename(arm, L"leg");
    ASSERT_EQ(core.destroyLegacyElement(legacy), Status::kSuccess); // as a loader does, without the layers
    ASSERT_EQ(core.destroyLegacyElement(array), Status::kSuccess);
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(arm->getName(), L"arm");
}

// --- Sizes ---

TEST_F(UndoManagerRecordingTest, AResizeToTheSameSizeIsNotRecorded)
{
    resize(floatsOf(arm), 3);
    settle();
    resize(floatsOf(arm), 3);
    EXPECT_EQ(below.take(), std::vector<std::string>{"db_resizeAttributeArray"});
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRecordingTest, AResizeIsRecordedWhateverTheMetadataExempts)
{
    resize(dynamicFloats(UndoManager::getNonUndoableElementMetaDataFlag()), 5);
    EXPECT_EQ(operationsOfCommit(), 1u);
}

// --- What is not recorded at all ---

TEST_F(UndoManagerRecordingTest, AFailedEditOfAnyKindRecordsNothing)
{
    Element* const element = scene.dynamicAttribute(FloatAttributeMetaDataDef(), L"dynamic", arm);
    Attribute* const other = floatOf(hand);
    resize(floatsOf(arm), 2);
    settle();
    const std::wstring before = dump();
    Node* outNode = hand;
    Element* outElement = element;
    ValueHandle value;
    void* values = nullptr;

    below.refuse({"db_createNode", "db_createUnknownNode", "db_destroyLeafNode", "db_renameNode", "db_reparentNode",
                  "db_reorderNode", "db_createDynamicElement", "db_destroyDynamicElement", "db_renameDynamicElement",
                  "db_resizeAttributeArray", "db_createReference", "db_destroyReference", "db_lockAttribute",
                  "db_lockAttributeArray"});
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"a", nullptr, nullptr, &outNode), Status::kFailure);
    EXPECT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"a", nullptr, nullptr, false, &outNode),
              Status::kFailure);
    EXPECT_EQ(undo.db_destroyLeafNode(hand), Status::kFailure);
    EXPECT_EQ(undo.db_renameNode(hand, L"b"), Status::kFailure);
    EXPECT_EQ(undo.db_reparentNode(hand, scene.root(), nullptr, nullptr), Status::kFailure);
    EXPECT_EQ(undo.db_reorderNode(hand, nullptr), Status::kFailure);
    EXPECT_EQ(undo.db_createDynamicElement(FloatAttributeMetaDataDef(), L"d", arm, nullptr, &outElement),
              Status::kFailure);
    EXPECT_EQ(undo.db_destroyDynamicElement(element), Status::kFailure);
    EXPECT_EQ(undo.db_renameDynamicElement(element, L"e"), Status::kFailure);
    EXPECT_EQ(undo.db_resizeAttributeArray(floatsOf(arm), 1), Status::kFailure);
    EXPECT_EQ(undo.db_createReference(other, floatOf(arm), false), Status::kFailure);
    EXPECT_EQ(undo.db_destroyReference(floatOf(arm)), Status::kFailure);
    EXPECT_EQ(undo.db_lockAttribute(floatOf(arm), &value), Status::kFailure);
    EXPECT_EQ(undo.db_lockAttributeArray(floatsOf(arm), &values), Status::kFailure);
    below.refuseNothing();

    EXPECT_EQ(outNode, hand);
    EXPECT_EQ(outElement, element);
    EXPECT_FALSE(hand->hasFlag(NodeFlag::kInUndo));
    EXPECT_FALSE(element->hasFlag(ElementFlag::kInUndo));
    EXPECT_FALSE(floatOf(arm)->hasFlag(ElementFlag::kRecordedInItem));
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRecordingTest, RefusalsOfTheCoreComeBackAsTheyAre)
{
    const std::wstring before = dump();
    ValueHandle value;
    void* values = nullptr;
    EXPECT_EQ(undo.db_createNode(12345, L"a", nullptr, nullptr, nullptr), Status::kUnknownTypeId);
    EXPECT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"a", arm, arm, false, nullptr),
              Status::kNextNotChildOfParent);
    EXPECT_EQ(undo.db_destroyLeafNode(nullptr), Status::kNullNodeToDestroy);
    EXPECT_EQ(undo.db_destroyLeafNode(scene.root()), Status::kRootNode);
    EXPECT_EQ(undo.db_destroyLeafNode(arm), Status::kNodeHasChildren);
    EXPECT_EQ(undo.db_renameNode(nullptr, L"a"), Status::kNullNodeToRename);
    EXPECT_EQ(undo.db_renameNode(arm, nullptr), Status::kEmptyNodeName);
    EXPECT_EQ(undo.db_reparentNode(nullptr, arm, nullptr, nullptr), Status::kNullNodeToReparent);
    EXPECT_EQ(undo.db_reparentNode(scene.root(), arm, nullptr, nullptr), Status::kRootNode);
    EXPECT_EQ(undo.db_reparentNode(arm, nullptr, nullptr, nullptr), Status::kNullNewParent);
    EXPECT_EQ(undo.db_reorderNode(nullptr, nullptr), Status::kNullNodeToReorder);
    EXPECT_EQ(undo.db_reorderNode(scene.root(), nullptr), Status::kRootNode);
    EXPECT_EQ(undo.db_createDynamicElement(FloatAttributeMetaDataDef(), L"d", nullptr, nullptr, nullptr),
              Status::kNullNodeForElement);
    EXPECT_EQ(undo.db_destroyDynamicElement(nullptr), Status::kNullElementToDestroy);
    EXPECT_EQ(undo.db_destroyDynamicElement(floatOf(arm)), Status::kDestroyNotDynamic);
    EXPECT_EQ(undo.db_renameDynamicElement(nullptr, L"a"), Status::kNullElementToRename);
    EXPECT_EQ(undo.db_renameDynamicElement(floatOf(arm), L"a"), Status::kRenameNotDynamic);
    EXPECT_EQ(undo.db_resizeAttributeArray(nullptr, 1), Status::kNullArrayToResize);
    EXPECT_EQ(undo.db_resizeAttributeArray(floatsOf(arm), 0xFFFFFFFFu), Status::kFailure);
    EXPECT_EQ(undo.db_createReference(nullptr, floatOf(arm), false), Status::kNullReferenced);
    EXPECT_EQ(undo.db_createReference(floatOf(arm), nullptr, false), Status::kNullReferencer);
    EXPECT_EQ(undo.db_destroyReference(nullptr), Status::kNullReferenceToDestroy);
    EXPECT_EQ(undo.db_destroyReference(floatOf(arm)), Status::kNoReference);
    EXPECT_EQ(undo.db_lockAttribute(nullptr, &value), Status::kNullAttributeToLock);
    EXPECT_EQ(undo.db_lockAttribute(floatOf(arm), nullptr), Status::kNullLockOutput);
    EXPECT_EQ(undo.db_unlockAttribute(nullptr), Status::kNullAttributeToUnlock);
    EXPECT_EQ(undo.db_unlockAttribute(floatOf(arm)), Status::kAttributeNotLocked);
    EXPECT_EQ(undo.db_lockAttributeArray(nullptr, &values), Status::kNullArrayToLock);
    EXPECT_EQ(undo.db_lockAttributeArray(arm->findAttributeArrayByName(L"StringItems"), &values),
              Status::kLockArrayNotPlainData);
    EXPECT_EQ(undo.db_unlockAttributeArray(nullptr), Status::kNullArrayToUnlock);
    EXPECT_TRUE(isSameDump(before, dump()));
    EXPECT_EQ(operationsOfCommit(), 0u);
}

TEST_F(UndoManagerRecordingTest, ADestroyedNodeThatUndoHoldsKeepsItsMarksWhenItIsDestroyedAgain)
{
    destroy(hand);
    EXPECT_EQ(undo.db_destroyLeafNode(hand), Status::kNodeAlreadyDestroyed);
    EXPECT_TRUE(hand->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(arm->getFirstChild(), hand);
}

TEST_F(UndoManagerRecordingTest, ADestroyedElementThatUndoHoldsKeepsItsMarksWhenItIsDestroyedAgain)
{
    Element* const element = dynamicElement(L"dynamic", arm);
    commit();
    ASSERT_EQ(undo.db_destroyDynamicElement(element), Status::kSuccess);
    EXPECT_EQ(undo.db_destroyDynamicElement(element), Status::kFailure);
    EXPECT_TRUE(element->hasFlag(ElementFlag::kInUndo));
    EXPECT_EQ(operationsOfCommit(), 1u);
    expectUndone();
    EXPECT_EQ(arm->findElementByName(L"dynamic"), element);
}

// --- What the caller gets ---

TEST_F(UndoManagerRecordingTest, CreationsWorkWithoutAnOutPointerAndAreRecorded)
{
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"a", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"b", nullptr, nullptr, false, nullptr),
              Status::kSuccess);
    EXPECT_EQ(undo.db_createDynamicElement(FloatAttributeMetaDataDef(), L"c", arm, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(operationsOfCommit(), 3u);
}

TEST_F(UndoManagerRecordingTest, CreationsHandOutWhatTheyMade)
{
    Node* plain = nullptr;
    Node* unknown = nullptr;
    Element* element = nullptr;
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"a", nullptr, nullptr, &plain), Status::kSuccess);
    EXPECT_EQ(undo.db_createUnknownNode(L"Gone", scene.module(), L"b", nullptr, nullptr, false, &unknown),
              Status::kSuccess);
    EXPECT_EQ(undo.db_createDynamicElement(FloatAttributeMetaDataDef(), L"c", arm, nullptr, &element),
              Status::kSuccess);
    EXPECT_EQ(plain, scene.root()->findChildByName(L"a"));
    EXPECT_EQ(unknown, scene.root()->findChildByName(L"b"));
    EXPECT_EQ(element, arm->findElementByName(L"c"));
}

TEST_F(UndoManagerRecordingTest, LocksHandOutTheStorage)
{
    resize(floatsOf(arm), 2);
    ValueHandle value;
    void* values = nullptr;
    ASSERT_EQ(undo.db_lockAttribute(floatOf(arm), &value), Status::kSuccess);
    EXPECT_EQ(value.getData(), floatOf(arm)->getValue().getData());
    ASSERT_EQ(undo.db_unlockAttribute(floatOf(arm)), Status::kSuccess);
    ASSERT_EQ(undo.db_lockAttributeArray(floatsOf(arm), &values), Status::kSuccess);
    EXPECT_EQ(values, floatsOf(arm)->getAttribute(0)->getValue().getData());
    ASSERT_EQ(undo.db_unlockAttributeArray(floatsOf(arm)), Status::kSuccess);
}

TEST_F(UndoManagerRecordingTest, EveryOperationIsForwardedOnce)
{
    Element* const element = dynamicElement(L"dynamic", arm);
    resize(floatsOf(arm), 2);
    Node* const shelf = node(L"shelf");
    settle();
    write(floatOf(arm), 1.0f);
    writeItems(floatsOf(arm), 1.0f);
    resize(floatsOf(arm), 1);
    EXPECT_EQ(undo.db_createReference(floatOf(arm), floatOf(hand), true), Status::kSuccess);
    EXPECT_EQ(undo.db_destroyReference(floatOf(hand)), Status::kSuccess);
    EXPECT_EQ(undo.db_renameDynamicElement(element, L"new"), Status::kSuccess);
    EXPECT_EQ(undo.db_destroyDynamicElement(element), Status::kSuccess);
    rename(hand, L"paw");
    EXPECT_EQ(undo.db_reparentNode(hand, shelf, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(undo.db_reorderNode(shelf, arm), Status::kSuccess);
    destroy(hand);
    EXPECT_EQ(undo.db_commitTransient(), Status::kSuccess);
    commit();
    EXPECT_EQ(undo.db_clear(), Status::kSuccess);
    const std::vector<std::string> expected = {"db_lockAttribute",
                                               "db_unlockAttribute",
                                               "db_lockAttributeArray",
                                               "db_unlockAttributeArray",
                                               "db_resizeAttributeArray",
                                               "db_createReference",
                                               "db_destroyReference",
                                               "db_renameDynamicElement",
                                               "db_destroyDynamicElement",
                                               "db_renameNode",
                                               "db_reparentNode",
                                               "db_reorderNode",
                                               "db_destroyLeafNode",
                                               "db_commitTransient",
                                               "db_commit",
                                               "db_clear"};
    EXPECT_EQ(below.take(), expected);
}

/// A layer that answers success to everything, and writes no result.
TEST_F(UndoManagerRecordingTest, WhatTheNextLayerOnlySaysItMadeIsNotRecorded)
{
    conformance::RecordingLayer yes(nullptr);
    undo.db_setNextInterface(&yes);
    Node* made = nullptr;
    Element* element = nullptr;
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"n", nullptr, nullptr, &made), Status::kSuccess);
    EXPECT_EQ(undo.db_createNode(Scene::kAll, L"n", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(undo.db_createDynamicElement(FloatAttributeMetaDataDef(), L"e", scene.root(), nullptr, &element),
              Status::kSuccess);
    EXPECT_EQ(undo.db_lockAttribute(nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(undo.db_lockAttributeArray(nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(operationsOfCommit(), 0u);
    undo.db_setNextInterface(&below);
}

} // namespace
} // namespace db2test
