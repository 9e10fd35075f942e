#include "support/Scene.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace db2test {
namespace {

/// What an array answers; how it grows and shrinks is the core's contract.
class AttributeArrayTest : public ::testing::Test
{
protected:
    AttributeArray* items(const wchar_t* name, unsigned int size)
    {
        AttributeArray* const array = node->findAttributeArrayByName(name);
        EXPECT_EQ(scene.core().db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    Scene scene;
    Node* node = scene.node(L"node");
};

TEST_F(AttributeArrayTest, AFreshArrayIsEmptyAndHasNoRoom)
{
    const AttributeArray* const array = node->findAttributeArrayByName(L"IntItems");
    EXPECT_EQ(array->getSize(), 0u);
    EXPECT_EQ(array->getCapacity(), 0u);
    EXPECT_EQ(array->getAttribute(0), nullptr);
    EXPECT_EQ(array->getReferenceCount(), 0u);
    EXPECT_FALSE(array->isLocked());
}

TEST_F(AttributeArrayTest, EachIndexHasAnItemOfItsOwn)
{
    const AttributeArray* const array = items(L"IntItems", 3);
    ASSERT_EQ(array->getSize(), 3u);
    ASSERT_NE(array->getAttribute(0), nullptr);
    EXPECT_NE(array->getAttribute(0), array->getAttribute(1));
    EXPECT_NE(array->getAttribute(1), array->getAttribute(2));
    EXPECT_NE(array->getAttribute(0), array->getAttribute(2));
}

TEST_F(AttributeArrayTest, AnItemBeyondTheSizeIsNull)
{
    const AttributeArray* const array = items(L"IntItems", 4);
    EXPECT_EQ(array->getAttribute(4), nullptr);
    EXPECT_EQ(array->getAttribute(5), nullptr) << "within the capacity, but no item";
    EXPECT_EQ(array->getAttribute(0xFFFFFFFFu), nullptr);
    items(L"IntItems", 2);
    EXPECT_EQ(array->getAttribute(2), nullptr);
}

TEST_F(AttributeArrayTest, ValuesStandInOneBufferAtTheStrideOfTheType)
{
    for (const wchar_t* const name : {L"IntItems", L"FloatItems", L"StringItems", L"MatrixItems"})
    {
        SCOPED_TRACE(testing::Message() << name);
        const AttributeArray* const array = items(name, 4);
        const auto* const first = static_cast<const std::byte*>(array->getAttribute(0)->getValue().getData());
        for (unsigned int i = 0; i < array->getSize(); ++i)
            EXPECT_EQ(array->getAttribute(i)->getValue().getData(),
                      first + i * ValueInfo::getStride(array->getTypeId()));
    }
}

TEST_F(AttributeArrayTest, TheReferenceCountCountsReferenceEndsAtItems)
{
    AttributeArray* const array = items(L"IntItems", 3);
    Attribute* const other = scene.node(L"other")->findAttributeByName(L"Int");
    ASSERT_EQ(scene.core().db_createReference(other, array->getAttribute(0), false), Status::kSuccess);
    EXPECT_EQ(array->getReferenceCount(), 1u);
    ASSERT_EQ(scene.core().db_createReference(array->getAttribute(1), array->getAttribute(2), false), Status::kSuccess);
    EXPECT_EQ(array->getReferenceCount(), 3u) << "both ends of the second reference are items";

    ASSERT_EQ(scene.core().db_destroyReference(array->getAttribute(2)), Status::kSuccess);
    EXPECT_EQ(array->getReferenceCount(), 1u);
    ASSERT_EQ(scene.core().db_destroyReference(array->getAttribute(0)), Status::kSuccess);
    EXPECT_EQ(array->getReferenceCount(), 0u);
}

TEST_F(AttributeArrayTest, AnArrayIsLockedBetweenLockAndUnlock)
{
    AttributeArray* const array = items(L"IntItems", 2);
    void* values = nullptr;
    ASSERT_EQ(scene.core().db_lockAttributeArray(array, &values), Status::kSuccess);
    EXPECT_TRUE(array->isLocked());
    EXPECT_FALSE(array->getAttribute(0)->isLocked());
    ASSERT_EQ(scene.core().db_unlockAttributeArray(array), Status::kSuccess);
    EXPECT_FALSE(array->isLocked());
}

} // namespace
} // namespace db2test
