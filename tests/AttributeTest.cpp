#include "support/Scene.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace db2test {
namespace {

/// Three nodes whose Float attributes reference one another in the cases.
class AttributeTest : public ::testing::Test
{
protected:
    void reference(Attribute* referenced, Attribute* referencer, bool isSingle = false)
    {
        EXPECT_EQ(scene.core().db_createReference(referenced, referencer, isSingle), Status::kSuccess);
    }

    void dereference(Attribute* referencer)
    {
        EXPECT_EQ(scene.core().db_destroyReference(referencer), Status::kSuccess);
    }

    Attribute* floatOf(const wchar_t* nodeName) { return scene.node(nodeName)->findAttributeByName(L"Float"); }

    Scene scene;
    Attribute* a = floatOf(L"a");
    Attribute* b = floatOf(L"b");
    Attribute* c = floatOf(L"c");
};

// --- Value ---

TEST_F(AttributeTest, AnAttributeWithoutAReferenceHasItsOwnValue)
{
    scene.write(a, 1.5f);
    EXPECT_EQ(a->getValue().getTypeId(), AttributeType::kFloat);
    EXPECT_EQ(a->getValue().getFloat(), 1.5f);
    EXPECT_EQ(b->getValue().getFloat(), 0.0f);
}

TEST_F(AttributeTest, AReferenceToAReferencerReadsTheValueAtTheEndOfTheChain)
{
    scene.write(a, 1.0f);
    scene.write(b, 2.0f);
    scene.write(c, 3.0f);
    reference(c, b);
    reference(b, a);
    EXPECT_EQ(a->getValue().getFloat(), 3.0f);
    EXPECT_EQ(b->getValue().getFloat(), 3.0f);
    EXPECT_EQ(a->getValue().getData(), c->getValue().getData());

    scene.write(c, 4.0f);
    EXPECT_EQ(a->getValue().getFloat(), 4.0f);
}

TEST_F(AttributeTest, AReferenceLeavesTheOwnValueForLater)
{
    scene.write(a, 1.0f);
    reference(c, a);
    EXPECT_EQ(a->getValue().getFloat(), 0.0f);
    dereference(a);
    EXPECT_EQ(a->getValue().getFloat(), 1.0f);
}

TEST_F(AttributeTest, AReferenceMayLeadToAnotherType)
{
    Attribute* const text = a->getNode()->findAttributeByName(L"String");
    scene.write(text, L"12");
    reference(text, b);
    EXPECT_EQ(b->getValue().getTypeId(), AttributeType::kString);
    EXPECT_EQ(b->getValue().getString(), L"12");
    EXPECT_EQ(b->getTypeId(), AttributeType::kFloat);
}

TEST_F(AttributeTest, AnAttributeOfTheTypeNullHasNoStorage)
{
    const Attribute* const none = a->getNode()->findAttributeByName(L"Null");
    EXPECT_EQ(none->getValue().getTypeId(), AttributeType::kNull);
    EXPECT_TRUE(none->getValue().isNull());
}

TEST_F(AttributeTest, AnAttributeOfTheTypeNullReadsWhatItReferences)
{
    Attribute* const none = a->getNode()->findAttributeByName(L"Null");
    scene.write(b, 2.0f);
    reference(b, none);
    EXPECT_EQ(none->getValue().getFloat(), 2.0f);
}

TEST_F(AttributeTest, EveryValueStandsAtTheAlignmentOfItsType)
{
    for (const wchar_t* const name : {L"one", L"two", L"three"})
    {
        const Node* const node = scene.node(name);
        for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
        {
            const auto typeId = static_cast<AttributeTypeId>(type);
            const ConstValueHandle value = static_cast<const Attribute*>(node->getElement(type))->getValue();
            ASSERT_EQ(value.getTypeId(), typeId);
            EXPECT_EQ(value.isNull(), typeId == AttributeType::kNull) << type;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(value.getData()) % ValueInfo::getStorageAlignment(typeId), 0u)
                << ValueInfo::getTypeName(typeId);
        }
    }
}

// --- References ---

TEST_F(AttributeTest, AFreshAttributeTakesPartInNoReference)
{
    EXPECT_EQ(a->getReference(), nullptr);
    EXPECT_EQ(a->getReferents(), nullptr);
    EXPECT_EQ(a->getSiblingReferent(), nullptr);
    EXPECT_FALSE(a->referenceIsSingle());
    EXPECT_FALSE(a->referentIsSingle());
    EXPECT_FALSE(a->isLocked());
}

TEST_F(AttributeTest, ReferencersAreListedNewestFirst)
{
    Attribute* const d = floatOf(L"d");
    reference(a, b);
    reference(a, c);
    reference(a, d);
    EXPECT_EQ(a->getReferents(), d);
    EXPECT_EQ(d->getSiblingReferent(), c);
    EXPECT_EQ(c->getSiblingReferent(), b);
    EXPECT_EQ(b->getSiblingReferent(), nullptr);
    for (const Attribute* const referencer : {b, c, d})
        EXPECT_EQ(referencer->getReference(), a);
}

TEST_F(AttributeTest, DestroyingAReferenceClosesTheGapInTheList)
{
    Attribute* const d = floatOf(L"d");
    reference(a, b);
    reference(a, c);
    reference(a, d);

    dereference(c);
    EXPECT_EQ(d->getSiblingReferent(), b);
    EXPECT_EQ(c->getReference(), nullptr);
    EXPECT_EQ(c->getSiblingReferent(), nullptr);

    dereference(d);
    EXPECT_EQ(a->getReferents(), b);
    dereference(b);
    EXPECT_EQ(a->getReferents(), nullptr);
}

TEST_F(AttributeTest, ASingleOutputReferenceIsSeenFromBothEnds)
{
    reference(a, b, true);
    EXPECT_TRUE(b->referenceIsSingle());
    EXPECT_TRUE(a->referentIsSingle());
    EXPECT_FALSE(a->referenceIsSingle());
    EXPECT_FALSE(b->referentIsSingle());

    dereference(b);
    EXPECT_FALSE(b->referenceIsSingle());
    EXPECT_FALSE(a->referentIsSingle());
}

TEST_F(AttributeTest, AnOrdinaryReferenceIsNotSingleAfterASingleOne)
{
    reference(a, b, true);
    dereference(b);
    reference(a, b);
    EXPECT_FALSE(b->referenceIsSingle());
    EXPECT_FALSE(a->referentIsSingle());
}

TEST_F(AttributeTest, AnAttributeMayReferenceAndBeReferencedAtOnce)
{
    reference(c, b, true);
    reference(b, a);
    EXPECT_EQ(b->getReference(), c);
    EXPECT_EQ(b->getReferents(), a);
    EXPECT_TRUE(b->referenceIsSingle());
    EXPECT_FALSE(b->referentIsSingle());
}

TEST_F(AttributeTest, AnAttributeIsLockedBetweenLockAndUnlock)
{
    ValueHandle value;
    ASSERT_EQ(scene.core().db_lockAttribute(a, &value), Status::kSuccess);
    EXPECT_TRUE(a->isLocked());
    EXPECT_FALSE(b->isLocked());
    ASSERT_EQ(scene.core().db_unlockAttribute(a), Status::kSuccess);
    EXPECT_FALSE(a->isLocked());
}

} // namespace
} // namespace db2test
