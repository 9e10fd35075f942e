#include "support/ChangeScene.h"

// What edits of dynamic elements, arrays and references leave in the change set, and what they take out of it again.

namespace db2test {
namespace {

/// Two nodes with a dynamic attribute and a dynamic array that were there before the unit of work.
class ChangeManagerElementsTest : public ChangeScene
{
protected:
    ChangeManagerElementsTest()
    {
        old = createElement(L"old", node);
        oldArray = static_cast<AttributeArray*>(createElement(L"olds", node, true));
        commit();
    }

    Node* node = scene.node(L"node");
    Node* other = scene.node(L"other");
    Element* old = nullptr;
    AttributeArray* oldArray = nullptr;
    Attribute* a = node->findAttributeByName(L"Int");
    Attribute* b = other->findAttributeByName(L"Int");
    Attribute* c = other->findAttributeByName(L"Float");
};

// --- Dynamic elements ---

TEST_F(ChangeManagerElementsTest, ACreatedElementIsRecordedByItsKindAndHandedOut)
{
    Element* made = nullptr;
    ASSERT_EQ(data.db_createDynamicElement(IntAttributeMetaDataDef(), L"one", node, old, &made), Status::kSuccess);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(node->getDynamicElement(0), made);
    createElement(L"many", node, true);
    EXPECT_EQ(recorded(), (Lines{L"created dynamic attribute |node.one", L"created dynamic array |node:many"}));
}

TEST_F(ChangeManagerElementsTest, ACreatedElementIsRecordedWhenNobodyTakesIt)
{
    ASSERT_EQ(data.db_createDynamicElement(IntAttributeMetaDataDef(), L"one", node, nullptr, nullptr),
              Status::kSuccess);
    EXPECT_EQ(recorded(), Lines{L"created dynamic attribute |node.one"});
}

TEST_F(ChangeManagerElementsTest, ElementsOfACreatedNodeAreRecordedToo)
{
    createElement(L"one", create(L"made"));
    EXPECT_EQ(recorded(), (Lines{L"created node |made", L"created dynamic attribute |made.one"}));
}

TEST_F(ChangeManagerElementsTest, ARefusedCreationHandsOutNullAndRecordsNothing)
{
    Element* made = old;
    EXPECT_EQ(data.db_createDynamicElement(IntAttributeMetaDataDef(), L"old", node, nullptr, &made),
              Status::kDuplicateElementName);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(recorded(), Lines{});
}

TEST_F(ChangeManagerElementsTest, ADestroyedElementIsRecordedByItsKind)
{
    destroy(old);
    destroy(oldArray);
    EXPECT_EQ(recorded(), (Lines{L"destroyed dynamic attribute |node.old", L"destroyed dynamic array |node:olds"}));
}

TEST_F(ChangeManagerElementsTest, AnElementCreatedAndDestroyedInOneUnitIsRecordedAsNeither)
{
    for (const bool isArray : {false, true})
    {
        Element* const made = createElement(L"made", node, isArray);
        createElement(isArray ? L"keptArray" : L"kept", node, isArray);
        destroy(made);
        EXPECT_FALSE(made->hasAnyFlag(ElementFlag::kChangeFlags));
    }
    EXPECT_EQ(recorded(), (Lines{L"created dynamic attribute |node.kept", L"created dynamic array |node:keptArray"}));
}

/// What was written before stays in its list: the cancelling of a creation looks at nothing else.
TEST_F(ChangeManagerElementsTest, AWriteOutlivesTheElementThatWasCreatedAndDestroyed)
{
    Element* const made = createElement(L"made", node);
    write(static_cast<Attribute*>(made));
    destroy(made);
    EXPECT_EQ(recorded(), (Lines{L"changed node |node", L"changed attribute |node.made"}));
    EXPECT_EQ(made->getFlags() & ElementFlag::kChangeFlags, ElementFlag::kChanged);
}

TEST_F(ChangeManagerElementsTest, ADestroyedAttributeLeavesTheListsOfRenamedAndChangedOnes)
{
    rename(old, L"older");
    write(static_cast<Attribute*>(old));
    ASSERT_EQ(recorded(), (Lines{L"changed node |node", L"renamed dynamic attribute |node.older",
                                 L"changed attribute |node.older"}));
    destroy(old);
    EXPECT_EQ(recorded(), (Lines{L"changed node |node", L"destroyed dynamic attribute |node.older"}));
    EXPECT_EQ(old->getFlags() & ElementFlag::kChangeFlags, ElementFlag::kDestroyedNow);
}

TEST_F(ChangeManagerElementsTest, ADestroyedArrayLeavesTheListsOfRenamedAndResizedOnes)
{
    rename(oldArray, L"older");
    resize(oldArray, 4);
    ASSERT_EQ(recorded(), (Lines{L"renamed dynamic array |node:older", L"resized array |node:older"}));
    destroy(oldArray);
    EXPECT_EQ(recorded(), Lines{L"destroyed dynamic array |node:older"});
    EXPECT_EQ(oldArray->getFlags() & ElementFlag::kChangeFlags, ElementFlag::kDestroyedNow);
}

/// References that came and went are reported on the attribute, also of one that is destroyed by then.
TEST_F(ChangeManagerElementsTest, ADestroyedAttributeStaysInTheListOfDestroyedReferences)
{
    reference(b, static_cast<Attribute*>(old));
    commit();
    endReference(static_cast<Attribute*>(old));
    destroy(old);
    EXPECT_EQ(recorded(), (Lines{L"changed node |node", L"destroyed dynamic attribute |node.old",
                                 L"destroyed reference |node.old"}));
}

TEST_F(ChangeManagerElementsTest, ARenamedElementIsRecordedOnceByItsKind)
{
    rename(old, L"older");
    rename(old, L"oldest");
    rename(oldArray, L"ancient");
    rename(oldArray, L"forgotten");
    EXPECT_EQ(recorded(), (Lines{L"renamed dynamic attribute |node.oldest", L"renamed dynamic array |node:forgotten"}));
}

TEST_F(ChangeManagerElementsTest, ACreatedElementIsNotRecordedAsRenamed)
{
    rename(createElement(L"made", node), L"other");
    rename(createElement(L"mades", node, true), L"others");
    EXPECT_EQ(recorded(), (Lines{L"created dynamic attribute |node.other", L"created dynamic array |node:others"}));
}

TEST_F(ChangeManagerElementsTest, RefusedEditsOfElementsRecordNothing)
{
    EXPECT_EQ(data.db_destroyDynamicElement(nullptr), Status::kNullElementToDestroy);
    EXPECT_EQ(data.db_destroyDynamicElement(a), Status::kDestroyNotDynamic);
    EXPECT_EQ(data.db_renameDynamicElement(nullptr, L"name"), Status::kNullElementToRename);
    EXPECT_EQ(data.db_renameDynamicElement(old, L"olds"), Status::kDuplicateElementName);
    EXPECT_EQ(recorded(), Lines{});
}

// --- Arrays ---

TEST_F(ChangeManagerElementsTest, AResizedArrayIsRecordedOnceWhetherTemplateOrDynamic)
{
    AttributeArray* const items = node->findAttributeArrayByName(L"IntItems");
    resize(items, 4);
    resize(items, 1);
    resize(oldArray, 2);
    EXPECT_EQ(recorded(), (Lines{L"resized array |node:IntItems", L"resized array |node:olds"}));
    EXPECT_TRUE(changes.wasResized(items));
}

TEST_F(ChangeManagerElementsTest, AResizeToTheSameSizeIsRecordedAsTheEditThatItIs)
{
    resize(oldArray, 0);
    EXPECT_EQ(recorded(), Lines{L"resized array |node:olds"});
}

TEST_F(ChangeManagerElementsTest, ACreatedArrayIsNotRecordedAsResized)
{
    resize(createElement(L"mades", node, true), 3);
    EXPECT_EQ(recorded(), Lines{L"created dynamic array |node:mades"});
}

TEST_F(ChangeManagerElementsTest, AnArrayOfACreatedNodeIsRecordedAsResized)
{
    resize(create(L"made")->findAttributeArrayByName(L"IntItems"), 3);
    EXPECT_EQ(recorded(), (Lines{L"created node |made", L"resized array |made:IntItems"}));
}

TEST_F(ChangeManagerElementsTest, ARefusedResizeRecordsNothing)
{
    EXPECT_EQ(data.db_resizeAttributeArray(nullptr, 3), Status::kNullArrayToResize);
    EXPECT_EQ(recorded(), Lines{});
}

// --- References ---

TEST_F(ChangeManagerElementsTest, ACreatedReferenceIsRecordedOnTheReferencerWhichChanges)
{
    reference(a, b);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |other", L"created reference |other.Int", L"changed attribute |other.Int"}));
    EXPECT_EQ(b->getReference(), a);
}

TEST_F(ChangeManagerElementsTest, AReferenceForwardsWhetherItIsSingle)
{
    ASSERT_EQ(data.db_createReference(a, b, true), Status::kSuccess);
    EXPECT_TRUE(b->referenceIsSingle());
    EXPECT_EQ(data.db_createReference(a, c, false), Status::kReferencedIsSingleOutput);
}

TEST_F(ChangeManagerElementsTest, ADestroyedReferenceIsRecordedOnTheReferencerWhichChanges)
{
    reference(a, b);
    commit();
    endReference(b);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |other", L"destroyed reference |other.Int", L"changed attribute |other.Int"}));
}

TEST_F(ChangeManagerElementsTest, AReferenceCreatedAndDestroyedInOneUnitLeavesTheChangeOnly)
{
    reference(a, b);
    endReference(b);
    EXPECT_EQ(recorded(), (Lines{L"changed node |other", L"changed attribute |other.Int"}));
    EXPECT_EQ(b->getFlags() & ElementFlag::kChangeFlags, ElementFlag::kChanged);
}

TEST_F(ChangeManagerElementsTest, AReferencePointedElsewhereIsRecordedAsDestroyedAndCreated)
{
    reference(a, b);
    commit();
    endReference(b);
    reference(c, b);
    const Lines both{L"changed node |other", L"created reference |other.Int", L"destroyed reference |other.Int",
                     L"changed attribute |other.Int"};
    EXPECT_EQ(recorded(), both);
    endReference(b); // the created one is cancelled, the destroyed one stays
    EXPECT_EQ(recorded(), (Lines{both[0], both[2], both[3]}));
    reference(a, b);
    endReference(b);
    EXPECT_EQ(recorded(), (Lines{both[0], both[2], both[3]}));
}

/// Three times within a unit: once is recorded already.
TEST_F(ChangeManagerElementsTest, AReferenceDestroyedTwiceInOneUnitIsRecordedOnce)
{
    reference(a, b);
    commit();
    endReference(b);
    ASSERT_EQ(scene.core().db_createReference(a, b, false), Status::kSuccess); // past the layer
    endReference(b);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |other", L"destroyed reference |other.Int", L"changed attribute |other.Int"}));
}

TEST_F(ChangeManagerElementsTest, AReferenceCreatedTwiceInOneUnitIsRecordedOnce)
{
    reference(a, b);
    ASSERT_EQ(scene.core().db_destroyReference(b), Status::kSuccess); // past the layer
    reference(c, b);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |other", L"created reference |other.Int", L"changed attribute |other.Int"}));
}

TEST_F(ChangeManagerElementsTest, AReferenceOfACreatedNodeIsRecordedWithoutAChange)
{
    reference(a, create(L"made")->findAttributeByName(L"Int"));
    EXPECT_EQ(recorded(), (Lines{L"created node |made", L"created reference |made.Int"}));
}

TEST_F(ChangeManagerElementsTest, AReferenceOfAnArrayItemIsRecordedWithoutAChange)
{
    resize(oldArray, 2);
    commit();
    reference(a, oldArray->getAttribute(1));
    EXPECT_EQ(recorded(), Lines{L"created reference |node:olds[1]"});
    commit();
    endReference(oldArray->getAttribute(1));
    EXPECT_EQ(recorded(), Lines{L"destroyed reference |node:olds[1]"});
}

/// What the referencer feeds is not told: the reports name the reference, and who shows its value can be asked.
TEST_F(ChangeManagerElementsTest, AReferenceRecordsNoChangeOfWhatReferencesTheReferencer)
{
    reference(b, c);
    commit();
    reference(a, b);
    EXPECT_EQ(recorded(),
              (Lines{L"changed node |other", L"created reference |other.Int", L"changed attribute |other.Int"}));
}

TEST_F(ChangeManagerElementsTest, RefusedReferencesRecordNothing)
{
    EXPECT_EQ(data.db_createReference(nullptr, b, false), Status::kNullReferenced);
    EXPECT_EQ(data.db_createReference(a, nullptr, false), Status::kNullReferencer);
    EXPECT_EQ(data.db_createReference(a, a, false), Status::kSelfReference);
    EXPECT_EQ(data.db_destroyReference(nullptr), Status::kNullReferenceToDestroy);
    EXPECT_EQ(data.db_destroyReference(b), Status::kNoReference);
    EXPECT_EQ(recorded(), Lines{});
}

} // namespace
} // namespace db2test
