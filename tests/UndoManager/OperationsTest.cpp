#include "support/ModelValue.h"
#include "support/Random.h"
#include "support/UndoFixture.h"

#include <ostream>
#include <string>
#include <vector>

// Each kind of edit is taken back by an undo and comes again with a redo.

namespace db2test {
namespace {

/// |arm, |hand with the children |hand|thumb, |hand|index and |hand|little, |empty, an unknown node |gone and a legacy
/// one |old; arm and hand have dynamic elements "first", "second" (an array) and "third".
struct Parts
{
    DataInterface& data;
    Scene& scene;
    Node* arm;
    Node* hand;
    Node* thumb;
    Node* index;
    Node* little;
    Node* empty;
    Node* gone;
    Node* old;
};

struct EditRow
{
    const char* name;
    Status (*edit)(const Parts&);
    Status (*prepare)(const Parts&) = nullptr; ///< made and committed before
    unsigned int operations = 1;               ///< that are recorded
};

void PrintTo(const EditRow& row, std::ostream* out)
{
    *out << row.name;
}

class UndoManagerOperationsTest : public UndoFixture, public ::testing::WithParamInterface<EditRow>
{
protected:
    UndoManagerOperationsTest()
    {
        for (Node* const owner : {parts.arm, parts.hand})
        {
            dynamicElement(L"first", owner);
            dynamicElement(L"second", owner, true);
            dynamicElement(L"third", owner);
        }
        resize(floatsOf(parts.arm), 3);
        settle();
    }

    Node* unknown(const wchar_t* name, bool legacy)
    {
        Node* made = nullptr;
        EXPECT_EQ(undo.db_createUnknownNode(L"Lost type", scene.module(), name, nullptr, nullptr, legacy, &made),
                  Status::kSuccess);
        return made;
    }

    void prepare()
    {
        if (GetParam().prepare != nullptr)
        {
            EXPECT_EQ(GetParam().prepare(parts), Status::kSuccess);
        }
        settle();
    }

    Node* arm = node(L"arm");
    Node* hand = node(L"hand");
    Node* thumb = node(L"thumb", hand);
    Node* index = node(L"index", hand);
    Node* little = node(L"little", hand);
    Node* empty = node(L"empty", nullptr, nullptr, Scene::kPlain);
    Node* gone = unknown(L"gone", false);
    Node* old = unknown(L"old", true);
    Parts parts{undo, scene, arm, hand, thumb, index, little, empty, gone, old};
};

TEST_P(UndoManagerOperationsTest, IsTakenBackByAnUndoAndComesAgainWithARedo)
{
    prepare();
    const std::wstring before = dump();
    ASSERT_EQ(GetParam().edit(parts), Status::kSuccess);
    ASSERT_EQ(operationsOfCommit(), GetParam().operations);
    const std::wstring after = dump();
    ASSERT_NE(before, after);
    for (int round = 0; round < 2; ++round)
    {
        expectUndone();
        EXPECT_TRUE(isSameDump(before, dump()));
        commit(); // which frees what nobody holds
        expectRedone();
        EXPECT_TRUE(isSameDump(after, dump()));
        commit();
    }
}

TEST_P(UndoManagerOperationsTest, IsTakenBackByARollback)
{
    prepare();
    const std::wstring before = dump();
    ASSERT_EQ(GetParam().edit(parts), Status::kSuccess);
    EXPECT_EQ(undo.rollback(0), Status::kSuccess);
    EXPECT_TRUE(undo.lastReplayWasComplete());
    EXPECT_TRUE(isSameDump(before, dump()));
}

TEST_P(UndoManagerOperationsTest, IsForgottenWithTheHistory)
{
    prepare();
    ASSERT_EQ(GetParam().edit(parts), Status::kSuccess);
    commit();
    expectUndone();
    const std::wstring before = dump();
    undo.clearUndoHistory();
    commit();
    EXPECT_FALSE(undo.canUndo() || undo.canRedo());
    EXPECT_TRUE(isSameDump(before, dump()));
}

// --- The edits ---

Element* elementOf(Node* node, const wchar_t* name)
{
    return node->findElementByName(name);
}

Attribute* floatOf(Node* node)
{
    return node->findAttributeByName(L"Float");
}

Attribute* itemOf(Node* node, unsigned int index)
{
    return node->findAttributeArrayByName(L"FloatItems")->getAttribute(index);
}

Status resize(const Parts& parts, Node* node, const wchar_t* name, unsigned int size)
{
    return parts.data.db_resizeAttributeArray(node->findAttributeArrayByName(name), size);
}

Status writeTo(const Parts& parts, Attribute* attribute, const ModelValue& written)
{
    ValueHandle value;
    if (const Status status = parts.data.db_lockAttribute(attribute, &value); status != Status::kSuccess)
        return status;
    writeValue(value, written);
    return parts.data.db_unlockAttribute(attribute);
}

Status writeTexts(const Parts& parts, AttributeArray* texts)
{
    for (unsigned int i = 0; i < texts->getSize(); ++i)
    {
        ModelValue text = defaultModelValue(AttributeType::kString);
        text.texts = {L"a text that takes memory, number " + std::to_wstring(i)};
        if (const Status status = writeTo(parts, texts->getAttribute(i), text); status != Status::kSuccess)
            return status;
    }
    return Status::kSuccess;
}

/// Writes distinct bytes into all items of a plain array.
Status writeBytes(const Parts& parts, AttributeArray* array)
{
    void* values = nullptr;
    if (const Status status = parts.data.db_lockAttributeArray(array, &values); status != Status::kSuccess)
        return status;
    const std::size_t stride = ValueInfo::getStride(array->getTypeId());
    for (std::size_t i = 0; i < array->getSize() * stride; ++i)
        static_cast<unsigned char*>(values)[i] = static_cast<unsigned char>(i % 100 + 1);
    return parts.data.db_unlockAttributeArray(array);
}

const EditRow kNodeEdits[] = {
    {"CreateNode", [](const Parts& p) { return p.data.db_createNode(Scene::kAll, L"a", p.hand, p.index, nullptr); }},
    {"CreateNodeUnderTheRoot",
     [](const Parts& p) { return p.data.db_createNode(Scene::kPlain, L"arm", nullptr, nullptr, nullptr); }},
    {"CreateNodeWithANameMadeUnique",
     [](const Parts& p) { return p.data.db_createNode(Scene::kAll, L"thumb", p.hand, nullptr, nullptr); }},
    {"CreateUnknownNode",
     [](const Parts& p) {
         return p.data.db_createUnknownNode(L"Lost", p.scene.module(), L"a", p.hand, p.index, false, nullptr);
     }},
    {"CreateLegacyNode",
     [](const Parts& p) {
         return p.data.db_createUnknownNode(L"Lost", p.scene.module(), nullptr, nullptr, nullptr, true, nullptr);
     }},
    {"DestroyFirstNode", [](const Parts& p) { return p.data.db_destroyLeafNode(p.thumb); }},
    {"DestroyMiddleNode", [](const Parts& p) { return p.data.db_destroyLeafNode(p.index); }},
    {"DestroyLastNode", [](const Parts& p) { return p.data.db_destroyLeafNode(p.little); }},
    {"DestroyNodeWithValues", [](const Parts& p) { return p.data.db_destroyLeafNode(p.thumb); },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.thumb, L"StringItems", 3), Status::kSuccess);
         return writeTexts(p, p.thumb->findAttributeArrayByName(L"StringItems"));
     }},
    {"DestroyNodeWrittenToInTheUnit",
     [](const Parts& p) {
         EXPECT_EQ(writeTo(p, floatOf(p.thumb), {AttributeType::kFloat, {0x3F800000}, {}}), Status::kSuccess);
         return p.data.db_destroyLeafNode(p.thumb);
     },
     nullptr, 2},
    {"DestroyUnknownNode", [](const Parts& p) { return p.data.db_destroyLeafNode(p.gone); },
     [](const Parts& p) {
         Element* size = nullptr;
         EXPECT_EQ(p.scene.core().createUnknownElement(StringAttributeMetaDataDef(), L"label", p.gone, &size),
                   Status::kSuccess);
         return writeTo(p, static_cast<Attribute*>(size), {AttributeType::kString, {}, {L"a text that takes memory"}});
     }},
    {"DestroyLegacyNode", [](const Parts& p) { return p.data.db_destroyLeafNode(p.old); },
     [](const Parts& p) {
         return p.scene.core().createLegacyElement(IntAttributeMetaDataDef(), L"was", p.old, nullptr);
     }},
    {"DestroySubtree",
     [](const Parts& p) {
         for (Node* const leaf : {p.index, p.thumb, p.little})
             EXPECT_EQ(p.data.db_destroyLeafNode(leaf), Status::kSuccess);
         for (const wchar_t* const name : {L"second", L"first", L"third"})
             EXPECT_EQ(p.data.db_destroyDynamicElement(elementOf(p.hand, name)), Status::kSuccess);
         return p.data.db_destroyLeafNode(p.hand);
     },
     nullptr, 7},
    {"CreateAndDestroyNode",
     [](const Parts& p) {
         Node* made = nullptr;
         EXPECT_EQ(p.data.db_createNode(Scene::kAll, L"a", p.hand, nullptr, &made), Status::kSuccess);
         EXPECT_EQ(p.data.db_renameNode(p.arm, L"leg"), Status::kSuccess); // so that something is left of the unit
         return p.data.db_destroyLeafNode(made);
     },
     nullptr, 3},
    {"RenameNode", [](const Parts& p) { return p.data.db_renameNode(p.arm, L"a"); }},
    {"RenameNodesInARing",
     [](const Parts& p) {
         EXPECT_EQ(p.data.db_renameNode(p.thumb, L"spare"), Status::kSuccess);
         EXPECT_EQ(p.data.db_renameNode(p.index, L"thumb"), Status::kSuccess);
         return p.data.db_renameNode(p.thumb, L"index");
     },
     nullptr, 3},
    {"ReparentNode", [](const Parts& p) { return p.data.db_reparentNode(p.index, p.empty, nullptr, nullptr); }},
    {"ReparentNodeBeforeAnother", [](const Parts& p) { return p.data.db_reparentNode(p.arm, p.hand, p.index, L"a"); }},
    {"ReparentNodeWithANameMadeUnique",
     [](const Parts& p) { return p.data.db_reparentNode(p.arm, p.hand, nullptr, L"thumb"); }},
    {"ReparentNodeWithItsSubtree",
     [](const Parts& p) { return p.data.db_reparentNode(p.hand, p.empty, nullptr, L""); }},
    {"ReorderNode", [](const Parts& p) { return p.data.db_reorderNode(p.little, p.index); }},
    {"ReorderNodeToTheEnd", [](const Parts& p) { return p.data.db_reorderNode(p.thumb, nullptr); }},
};

const EditRow kElementEdits[] = {
    {"CreateDynamicAttribute",
     [](const Parts& p) {
         FloatAttributeMetaDataDef definition;
         definition.setMin(1.0f);
         definition.setDocString(L"how long");
         definition.setDefaultValue(2.0f);
         return p.data.db_createDynamicElement(definition, L"length", p.arm, elementOf(p.arm, L"second"), nullptr);
     }},
    {"CreateDynamicArray",
     [](const Parts& p) {
         StringAttributeMetaDataDef definition;
         definition.setArray(true);
         Element* made = nullptr;
         EXPECT_EQ(p.data.db_createDynamicElement(definition, L"names", p.empty, nullptr, &made), Status::kSuccess);
         EXPECT_EQ(p.data.db_resizeAttributeArray(static_cast<AttributeArray*>(made), 3), Status::kSuccess);
         return writeTexts(p, static_cast<AttributeArray*>(made));
     },
     nullptr, 5},
    {"DestroyFirstDynamicElement",
     [](const Parts& p) { return p.data.db_destroyDynamicElement(elementOf(p.arm, L"first")); }},
    {"DestroyMiddleDynamicElement",
     [](const Parts& p) { return p.data.db_destroyDynamicElement(elementOf(p.arm, L"second")); },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"second", 4), Status::kSuccess);
         return writeTexts(p, p.arm->findAttributeArrayByName(L"second"));
     }},
    {"DestroyLastDynamicElement",
     [](const Parts& p) { return p.data.db_destroyDynamicElement(elementOf(p.arm, L"third")); },
     [](const Parts& p) {
         return writeTo(p, p.arm->findAttributeByName(L"third"),
                        {AttributeType::kString, {}, {L"a text that takes memory"}});
     }},
    {"RenameDynamicElement",
     [](const Parts& p) { return p.data.db_renameDynamicElement(elementOf(p.arm, L"second"), L"new"); }},
    {"RenameAndDestroyDynamicElement",
     [](const Parts& p) {
         EXPECT_EQ(p.data.db_renameDynamicElement(elementOf(p.arm, L"second"), L"new"), Status::kSuccess);
         return p.data.db_destroyDynamicElement(elementOf(p.arm, L"new"));
     },
     nullptr, 2},
};

const EditRow kReferenceEdits[] = {
    {"CreateReference",
     [](const Parts& p) { return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), false); }},
    {"CreateSingleReference",
     [](const Parts& p) { return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), true); }},
    {"CreateReferenceBetweenItems",
     [](const Parts& p) { return p.data.db_createReference(itemOf(p.arm, 0), itemOf(p.arm, 2), false); }},
    {"DestroyReference", [](const Parts& p) { return p.data.db_destroyReference(floatOf(p.hand)); },
     [](const Parts& p) { return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), false); }},
    {"DestroySingleReference", [](const Parts& p) { return p.data.db_destroyReference(floatOf(p.hand)); },
     [](const Parts& p) { return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), true); }},
    {"DestroyOldestOfManyReferences", [](const Parts& p) { return p.data.db_destroyReference(floatOf(p.hand)); },
     [](const Parts& p) {
         for (Node* const referencer : {p.hand, p.thumb, p.index})
             EXPECT_EQ(p.data.db_createReference(floatOf(p.arm), floatOf(referencer), false), Status::kSuccess);
         return Status::kSuccess;
     }},
    {"MoveReference",
     [](const Parts& p) {
         EXPECT_EQ(p.data.db_destroyReference(floatOf(p.hand)), Status::kSuccess);
         EXPECT_EQ(p.data.db_createReference(floatOf(p.thumb), floatOf(p.hand), true), Status::kSuccess);
         return p.data.db_destroyLeafNode(p.index);
     },
     [](const Parts& p) { return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), true); }, 3},
    {"WriteAndMakeReferencer",
     [](const Parts& p) {
         EXPECT_EQ(writeTo(p, floatOf(p.hand), {AttributeType::kFloat, {0x3F800000}, {}}), Status::kSuccess);
         return p.data.db_createReference(floatOf(p.arm), floatOf(p.hand), false);
     },
     nullptr, 2},
};

const EditRow kArrayEdits[] = {
    {"GrowEmptyArray", [](const Parts& p) { return resize(p, p.arm, L"StringItems", 3); }},
    {"GrowArray", [](const Parts& p) { return resize(p, p.arm, L"FloatItems", 30); }},
    {"ShrinkArrayOfTexts", [](const Parts& p) { return resize(p, p.arm, L"StringItems", 1); },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"StringItems", 4), Status::kSuccess);
         return writeTexts(p, p.arm->findAttributeArrayByName(L"StringItems"));
     }},
    {"ShrinkArrayOfFloats", [](const Parts& p) { return resize(p, p.arm, L"FloatItems", 1); },
     [](const Parts& p) { return writeBytes(p, p.arm->findAttributeArrayByName(L"FloatItems")); }},
    {"EmptyArrayOfMatrices", [](const Parts& p) { return resize(p, p.arm, L"MatrixItems", 0); },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"MatrixItems", 3), Status::kSuccess);
         return writeBytes(p, p.arm->findAttributeArrayByName(L"MatrixItems"));
     }},
    {"EmptyArrayWithoutValues", [](const Parts& p) { return resize(p, p.arm, L"NullItems", 0); },
     [](const Parts& p) { return resize(p, p.arm, L"NullItems", 3); }},
    {"ShrinkArrayOfADynamicElement", [](const Parts& p) { return resize(p, p.arm, L"second", 0); },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"second", 3), Status::kSuccess);
         return writeTexts(p, p.arm->findAttributeArrayByName(L"second"));
     }},
    {"ShrinkGrowAndWriteArray",
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"StringItems", 0), Status::kSuccess);
         EXPECT_EQ(resize(p, p.arm, L"StringItems", 2), Status::kSuccess);
         return writeTo(p, p.arm->findAttributeArrayByName(L"StringItems")->getAttribute(1),
                        {AttributeType::kString, {}, {L"new"}});
     },
     [](const Parts& p) {
         EXPECT_EQ(resize(p, p.arm, L"StringItems", 4), Status::kSuccess);
         return writeTexts(p, p.arm->findAttributeArrayByName(L"StringItems"));
     },
     3},
    {"LockArrayOfFloats", [](const Parts& p) { return writeBytes(p, p.arm->findAttributeArrayByName(L"FloatItems")); }},
    {"LockArrayOfMatrices",
     [](const Parts& p) { return writeBytes(p, p.arm->findAttributeArrayByName(L"MatrixItems")); },
     [](const Parts& p) { return resize(p, p.arm, L"MatrixItems", 5); }},
};

std::string nameOf(const ::testing::TestParamInfo<EditRow>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(OfNodes, UndoManagerOperationsTest, ::testing::ValuesIn(kNodeEdits), nameOf);
INSTANTIATE_TEST_SUITE_P(OfElements, UndoManagerOperationsTest, ::testing::ValuesIn(kElementEdits), nameOf);
INSTANTIATE_TEST_SUITE_P(OfReferences, UndoManagerOperationsTest, ::testing::ValuesIn(kReferenceEdits), nameOf);
INSTANTIATE_TEST_SUITE_P(OfArrays, UndoManagerOperationsTest, ::testing::ValuesIn(kArrayEdits), nameOf);

// --- Values of every type ---

class UndoManagerValuesTest : public UndoFixture
{
protected:
    Node* arm = node(L"arm");
    Random random{1};
};

TEST_F(UndoManagerValuesTest, AValueOfEveryTypeComesBackToTheBit)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(::testing::PrintToString(std::wstring(ValueInfo::getTypeName(typeId))));
        Attribute* const attribute = arm->findAttributeByName(ValueInfo::getTypeName(typeId));
        for (int round = 0; round < 8; ++round)
        {
            const ModelValue before = readValue(attribute->getValue());
            const ModelValue after = randomModelValue(typeId, random);
            settle();
            ValueHandle value;
            ASSERT_EQ(undo.db_lockAttribute(attribute, &value), Status::kSuccess);
            writeValue(value, after);
            ASSERT_EQ(undo.db_unlockAttribute(attribute), Status::kSuccess);
            ASSERT_EQ(operationsOfCommit(), 1u);
            expectUndone();
            EXPECT_EQ(readValue(attribute->getValue()), before);
            expectRedone();
            EXPECT_EQ(readValue(attribute->getValue()), after);
        }
    }
}

// --- What the inverses ask for ---

class UndoManagerInversesTest : public UndoFixture
{
protected:
    Node* hand = node(L"hand");
    Node* thumb = node(L"thumb", hand);
};

TEST_F(UndoManagerInversesTest, AnUnknownNodeComesBackUnderItsTypeName)
{
    Node* gone = nullptr;
    ASSERT_EQ(undo.db_createUnknownNode(L"Lost type", scene.module(), L"gone", nullptr, nullptr, false, &gone),
              Status::kSuccess);
    settle();
    destroy(gone);
    commit();
    below.take();
    expectUndone();
    EXPECT_EQ(below.take(), (std::vector<std::string>{"db_createUnknownNode", "db_commit"}));
    EXPECT_EQ(below.lastTypeName(), L"Lost type");
}

TEST_F(UndoManagerInversesTest, ANodeComesBackAsTheSameObject)
{
    settle();
    destroy(thumb);
    commit();
    expectUndone();
    EXPECT_EQ(hand->getFirstChild(), thumb);
    EXPECT_FALSE(thumb->hasAnyFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed | NodeFlag::kCreatedInItem));
}

TEST_F(UndoManagerInversesTest, ADynamicElementComesBackAsTheSameObject)
{
    Element* const element = dynamicElement(L"dynamic", hand);
    settle();
    ASSERT_EQ(undo.db_destroyDynamicElement(element), Status::kSuccess);
    commit();
    expectUndone();
    EXPECT_EQ(hand->findElementByName(L"dynamic"), element);
    EXPECT_FALSE(element->hasAnyFlag(ElementFlag::kInUndo | ElementFlag::kDestroyed));
}

TEST_F(UndoManagerInversesTest, ACreatedNodeThatIsTakenBackStaysInMemoryForTheRedo)
{
    settle();
    Node* const index = node(L"index", hand);
    commit();
    expectUndone();
    commit();
    EXPECT_TRUE(index->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    expectRedone();
    EXPECT_EQ(hand->getLastChild(), index);
}

TEST_F(UndoManagerInversesTest, InversesRunNewestFirst)
{
    settle();
    write(floatOf(hand), 1.0f);
    rename(hand, L"paw");
    EXPECT_EQ(undo.db_reorderNode(thumb, nullptr), Status::kSuccess);
    commit();
    below.take();
    expectUndone();
    EXPECT_EQ(below.take(), (std::vector<std::string>{"db_reorderNode", "db_renameNode", "db_lockAttribute",
                                                      "db_unlockAttribute", "db_commit"}));
    expectRedone();
    EXPECT_EQ(below.take(), (std::vector<std::string>{"db_lockAttribute", "db_unlockAttribute", "db_renameNode",
                                                      "db_reorderNode", "db_commit"}));
}

TEST_F(UndoManagerInversesTest, AReleasedItemGetsItsValueBackThroughALock)
{
    resize(floatsOf(hand), 3);
    settle();
    resize(floatsOf(hand), 1);
    commit();
    below.take();
    expectUndone();
    EXPECT_EQ(below.take(),
              (std::vector<std::string>{"db_resizeAttributeArray", "db_lockAttribute", "db_unlockAttribute",
                                        "db_lockAttribute", "db_unlockAttribute", "db_commit"}));
}

} // namespace
} // namespace db2test
