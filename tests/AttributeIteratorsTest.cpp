#include "support/HeapThatRunsOut.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

namespace db2test {
namespace {

using Attributes = std::vector<const Attribute*>;

template <class Iterator>
Attributes remaining(Iterator& iterator)
{
    Attributes attributes;
    while (iterator.next())
        attributes.push_back(iterator.attr());
    return attributes;
}

template <class Iterator>
void expectEnded(Iterator& iterator)
{
    EXPECT_EQ(iterator.attr(), nullptr);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(iterator.next());
        EXPECT_EQ(iterator.attr(), nullptr);
    }
}

/// Nodes of the type "Small": an attribute, an array that stays empty, and an array.
class AttributeIteratorsTest : public ::testing::Test
{
protected:
    static constexpr unsigned int kSmall = 10;

    AttributeIteratorsTest()
    {
        auto* const type = new NodeTemplate(L"Small", kSmall, scene.module());
        IntAttributeMetaDataDef definition;
        EXPECT_EQ(type->addAttribute(definition, L"value"), Status::kSuccess);
        definition.setArray(true);
        EXPECT_EQ(type->addAttribute(definition, L"none"), Status::kSuccess);
        EXPECT_EQ(type->addAttribute(definition, L"items"), Status::kSuccess);
        EXPECT_EQ(scene.registry().registerNodeTemplate(type), Status::kSuccess);
        node = scene.nodeOf(kSmall, L"node");
        value = node->findAttributeByName(L"value");
        items = itemsOf(node, 2);
    }

    AttributeArray* itemsOf(Node* on, unsigned int size)
    {
        AttributeArray* const array = on->findAttributeArrayByName(L"items");
        EXPECT_EQ(scene.core().db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    Attribute* valueOf(const wchar_t* newNode) { return scene.nodeOf(kSmall, newNode)->findAttributeByName(L"value"); }

    void reference(Attribute* referenced, Attribute* referencer)
    {
        EXPECT_EQ(scene.core().db_createReference(referenced, referencer, false), Status::kSuccess);
    }

    Scene scene;
    Node* node;
    Attribute* value;
    AttributeArray* items;
};

// --- Forwards and backwards ---

TEST_F(AttributeIteratorsTest, AnArrayIsReplacedByItsItems)
{
    AttributeIterator iterator(node);
    EXPECT_EQ(remaining(iterator), (Attributes{value, items->getAttribute(0), items->getAttribute(1)}));
}

TEST_F(AttributeIteratorsTest, BackwardsTheOrderIsExactlyTheReverse)
{
    ReverseAttributeIterator iterator(node);
    EXPECT_EQ(remaining(iterator), (Attributes{items->getAttribute(1), items->getAttribute(0), value}));
}

TEST_F(AttributeIteratorsTest, DynamicElementsAreVisitedAndLegacyElementsAreNot)
{
    const Attribute* const extra = scene.dynamicAttribute(FloatAttributeMetaDataDef(), L"extra", node);
    FloatAttributeMetaDataDef definition;
    definition.setArray(true);
    auto* const extras =
        static_cast<AttributeArray*>(static_cast<Element*>(scene.dynamicAttribute(definition, L"extras", node)));
    ASSERT_EQ(scene.core().db_resizeAttributeArray(extras, 1), Status::kSuccess);
    ASSERT_EQ(scene.core().createLegacyElement(definition, L"old", node, nullptr), Status::kSuccess);

    const Attributes expected{value, items->getAttribute(0), items->getAttribute(1), extra, extras->getAttribute(0)};
    AttributeIterator forwards(node);
    EXPECT_EQ(remaining(forwards), expected);
    ReverseAttributeIterator backwards(node);
    EXPECT_EQ(remaining(backwards), Attributes(expected.rbegin(), expected.rend()));
}

TEST_F(AttributeIteratorsTest, UnknownElementsAreVisited)
{
    Node* const unknown = scene.unknownNode(L"unknown");
    Element* odd = nullptr;
    ASSERT_EQ(scene.core().createUnknownElement(FloatAttributeMetaDataDef(), L"odd", unknown, &odd), Status::kSuccess);
    AttributeIterator iterator(unknown);
    EXPECT_EQ(remaining(iterator), Attributes{static_cast<Attribute*>(odd)});
}

TEST_F(AttributeIteratorsTest, OnlyItemsBelowTheSizeAreVisited)
{
    itemsOf(node, 5);
    itemsOf(node, 1);
    AttributeIterator forwards(node);
    EXPECT_EQ(remaining(forwards), (Attributes{value, items->getAttribute(0)}));
    ReverseAttributeIterator backwards(node);
    EXPECT_EQ(remaining(backwards), (Attributes{items->getAttribute(0), value}));
}

template <class Iterator>
class AttributeWalkTest : public AttributeIteratorsTest
{
};

using AttributeWalks = ::testing::Types<AttributeIterator, ReverseAttributeIterator>;
TYPED_TEST_SUITE(AttributeWalkTest, AttributeWalks);

TYPED_TEST(AttributeWalkTest, EveryAttributeOfALargeNodeIsVisited)
{
    Node* const large = this->scene.node(L"large"); // 21 attributes and 5 arrays
    ASSERT_EQ(this->scene.core().db_resizeAttributeArray(large->findAttributeArrayByName(L"MatrixItems"), 100),
              Status::kSuccess);
    ASSERT_EQ(this->scene.core().db_resizeAttributeArray(large->findAttributeArrayByName(L"NullItems"), 3),
              Status::kSuccess);
    TypeParam iterator(large);
    EXPECT_EQ(remaining(iterator).size(), 21u + 100u + 3u);
}

TYPED_TEST(AttributeWalkTest, ANodeWithoutAttributesYieldsNothing)
{
    TypeParam iterator(this->scene.nodeOf(Scene::kPlain, L"plain"));
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TYPED_TEST(AttributeWalkTest, ANodeWithNothingButEmptyArraysYieldsNothing)
{
    Node* const unknown = this->scene.unknownNode(L"unknown");
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    for (const wchar_t* const name : {L"a", L"b"})
        ASSERT_EQ(this->scene.core().createUnknownElement(definition, name, unknown, nullptr), Status::kSuccess);
    TypeParam iterator(unknown);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TYPED_TEST(AttributeWalkTest, AWalkOfNullOrOfNothingIsEmpty)
{
    TypeParam fresh;
    expectEnded(fresh);
    TypeParam null(nullptr);
    expectEnded(null);
}

TYPED_TEST(AttributeWalkTest, NoAttributeIsCurrentBeforeTheFirstStepAndAfterTheEnd)
{
    TypeParam iterator(this->node);
    EXPECT_EQ(iterator.attr(), nullptr);
    EXPECT_TRUE(iterator.next());
    EXPECT_NE(iterator.attr(), nullptr);
    EXPECT_EQ(remaining(iterator).size(), 2u);
    expectEnded(iterator);
}

TYPED_TEST(AttributeWalkTest, AnEndedWalkStartsAgainWithBegin)
{
    TypeParam iterator(this->node);
    const Attributes all = remaining(iterator);
    iterator.begin(this->node);
    EXPECT_EQ(remaining(iterator), all);
    iterator.begin(nullptr);
    expectEnded(iterator);
}

TYPED_TEST(AttributeWalkTest, ACopyGoesItsOwnWay)
{
    TypeParam iterator(this->node);
    ASSERT_TRUE(iterator.next());
    TypeParam copy = iterator;
    EXPECT_EQ(copy.attr(), iterator.attr());
    EXPECT_EQ(remaining(copy).size(), 2u);
    EXPECT_EQ(remaining(iterator).size(), 2u);
}

// --- What references the attributes of a node ---

TEST_F(AttributeIteratorsTest, ReferencersComeNewestFirstForEachAttributeFromTheLast)
{
    Attribute* const a = valueOf(L"a");
    Attribute* const b = valueOf(L"b");
    Attribute* const c = valueOf(L"c");
    Attribute* const d = valueOf(L"d");
    reference(value, a);
    reference(value, b);
    reference(items->getAttribute(0), c);
    reference(items->getAttribute(1), d);
    reference(value, items->getAttribute(0)); // from the node itself, which counts alike

    ReverseOutputIterator iterator(node);
    EXPECT_EQ(remaining(iterator), (Attributes{d, c, items->getAttribute(0), b, a}));
    expectEnded(iterator);
}

TEST_F(AttributeIteratorsTest, TheReferencedAttributeIsKnownAtEachReferencer)
{
    Attribute* const a = valueOf(L"a");
    Attribute* const b = valueOf(L"b");
    reference(value, a);
    reference(items->getAttribute(1), b);

    ReverseOutputIterator iterator(node);
    ASSERT_TRUE(iterator.next());
    EXPECT_EQ(iterator.attr(), b);
    EXPECT_EQ(iterator.referenced(), items->getAttribute(1));
    ASSERT_TRUE(iterator.next());
    EXPECT_EQ(iterator.attr(), a);
    EXPECT_EQ(iterator.referenced(), value);
}

TEST_F(AttributeIteratorsTest, ANodeThatNobodyReferencesHasNoOutputs)
{
    reference(valueOf(L"a"), value);
    ReverseOutputIterator iterator(node);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
    ReverseOutputIterator fresh;
    expectEnded(fresh);
    ReverseOutputIterator null(nullptr);
    expectEnded(null);
}

TEST_F(AttributeIteratorsTest, TheCurrentReferenceMayBeDestroyed)
{
    std::vector<Attribute*> referencers;
    for (const wchar_t* const name : {L"a", L"b", L"c", L"d", L"e"})
        referencers.push_back(valueOf(name));
    for (std::size_t i = 0; i < referencers.size(); ++i)
        reference(i % 2 == 0 ? value : items->getAttribute(1), referencers[i]);

    int count = 0;
    for (ReverseOutputIterator iterator(node); iterator.next(); ++count)
        ASSERT_EQ(scene.core().db_destroyReference(iterator.attr()), Status::kSuccess);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(node->getEdgeCount(), 0u);
    EXPECT_EQ(scene.core().getStatistics().references, 0u);
}

// --- What references an attribute directly or through others ---

/// value <- c, b, a (newest first); b <- e, d; e <- f.
class ReferentIteratorTest : public AttributeIteratorsTest
{
protected:
    ReferentIteratorTest()
    {
        reference(value, a);
        reference(value, b);
        reference(value, c);
        reference(b, d);
        reference(b, e);
        reference(e, f);
    }

    Attribute* a = valueOf(L"a");
    Attribute* b = valueOf(L"b");
    Attribute* c = valueOf(L"c");
    Attribute* d = valueOf(L"d");
    Attribute* e = valueOf(L"e");
    Attribute* f = valueOf(L"f");
};

TEST_F(ReferentIteratorTest, ReferencersComeDepthFirstNewestFirst)
{
    ReferentIterator iterator;
    iterator.begin(value);
    EXPECT_EQ(remaining(iterator), (Attributes{c, b, e, f, d, a}));
    expectEnded(iterator);
}

TEST_F(ReferentIteratorTest, AWalkStartsAnywhereAndStaysBehindItsStart)
{
    ReferentIterator iterator(5);
    iterator.begin(b);
    EXPECT_EQ(remaining(iterator), (Attributes{e, f, d})) << "neither b's own siblings nor what b references";
    iterator.begin(f);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TEST_F(ReferentIteratorTest, AWalkOfNullOrOfNothingIsEmpty)
{
    ReferentIterator iterator(3);
    expectEnded(iterator);
    iterator.begin(nullptr);
    expectEnded(iterator);
}

TEST_F(ReferentIteratorTest, BeginningAgainForgetsWhatWasPending)
{
    ReferentIterator iterator;
    iterator.begin(value);
    ASSERT_TRUE(iterator.next());
    ASSERT_TRUE(iterator.next());
    ASSERT_TRUE(iterator.next()); // at e; d and a are pending
    iterator.begin(e);
    EXPECT_EQ(iterator.attr(), nullptr);
    EXPECT_EQ(remaining(iterator), Attributes{f});
}

TEST_F(ReferentIteratorTest, ACopyGoesItsOwnWay)
{
    ReferentIterator iterator;
    iterator.begin(value);
    ASSERT_TRUE(iterator.next());
    ASSERT_TRUE(iterator.next());
    ReferentIterator copy = iterator;
    EXPECT_EQ(remaining(copy), (Attributes{e, f, d, a}));
    EXPECT_EQ(remaining(iterator), (Attributes{e, f, d, a}));
}

TEST_F(ReferentIteratorTest, AChainAndAFanAreWalkedToTheEnd)
{
    constexpr std::size_t kReferences = 100'000;
    AttributeArray* const chain = itemsOf(scene.nodeOf(kSmall, L"chain"), kReferences + 1);
    AttributeArray* const fan = itemsOf(scene.nodeOf(kSmall, L"fan"), kReferences + 1);
    for (unsigned int i = 0; i < kReferences; ++i)
    {
        reference(chain->getAttribute(i), chain->getAttribute(i + 1));
        reference(fan->getAttribute(0), fan->getAttribute(i + 1));
    }
    ReferentIterator iterator;
    iterator.begin(chain->getAttribute(0));
    EXPECT_EQ(remaining(iterator).size(), kReferences);
    iterator.begin(fan->getAttribute(0));
    EXPECT_EQ(remaining(iterator).size(), kReferences);
}

TEST_F(ReferentIteratorTest, WithoutMemoryForItsStackAStepThrows)
{
    ReferentIterator iterator;
    iterator.begin(value);
    ASSERT_TRUE(iterator.next());
    ASSERT_EQ(iterator.attr(), c);
    const HeapThatRunsOut heap(0);
    ASSERT_TRUE(iterator.next()); // b, to which c leads without anything pending
    EXPECT_THROW((void)iterator.next(), std::bad_alloc);
}

TEST_F(ReferentIteratorTest, ReservedRoomNeedsNoMoreMemory)
{
    ReferentIterator iterator(2);
    iterator.begin(value);
    const HeapThatRunsOut heap(0);
    int count = 0;
    while (iterator.next())
        ++count;
    EXPECT_EQ(count, 6);
    EXPECT_FALSE(heap.hasRunOut());
}

} // namespace
} // namespace db2test
