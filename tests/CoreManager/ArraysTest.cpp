#include "support/HeapThatRunsOut.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace db2test {
namespace {

class CoreManagerArraysTest : public ::testing::Test
{
protected:
    void resize(AttributeArray* array, unsigned int size)
    {
        ASSERT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        ASSERT_EQ(array->getSize(), size);
    }

    /// Makes a dynamic array of the type on the node.
    AttributeArray* arrayOf(const ElementMetaDataDef& definition, const wchar_t* name)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, node, nullptr, &made), Status::kSuccess);
        return static_cast<AttributeArray*>(made);
    }

    static std::vector<Attribute*> itemsOf(const AttributeArray* array)
    {
        std::vector<Attribute*> items;
        for (unsigned int i = 0; i < array->getSize(); ++i)
            items.push_back(array->getAttribute(i));
        return items;
    }

    void expectValues(const AttributeArray* array, const std::vector<int>& expected)
    {
        ASSERT_EQ(array->getSize(), expected.size());
        for (unsigned int i = 0; i < array->getSize(); ++i)
            EXPECT_EQ(array->getAttribute(i)->getValue().getInt(), expected[i]) << "item " << i;
    }

    Scene scene;
    CoreManager& core = scene.core();
    Node* node = scene.node(L"node");
    AttributeArray* integers = node->findAttributeArrayByName(L"IntItems");
};

// --- Size and capacity ---

TEST_F(CoreManagerArraysTest, AGrowthMakesRoomForHalfAsMuchAgain)
{
    struct Row
    {
        unsigned int size;
        unsigned int capacity;
    };
    constexpr Row kRows[] = {{0, 0}, {1, 1}, {2, 3}, {3, 3}, {4, 6}, {6, 6}, {7, 10}, {10, 10}, {11, 16}, {100, 150}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.size);
        resize(integers, row.size);
        EXPECT_EQ(integers->getCapacity(), row.capacity);
    }
}

TEST_F(CoreManagerArraysTest, ShrinkingKeepsTheCapacity)
{
    resize(integers, 4);
    for (const unsigned int size : {3u, 1u, 0u})
    {
        resize(integers, size);
        EXPECT_EQ(integers->getCapacity(), 6u);
    }
}

TEST_F(CoreManagerArraysTest, ResizingToTheSameSizeChangesNothing)
{
    resize(integers, 4);
    const std::wstring before = dumpTree(core);
    const HeapThatRunsOut heap(0);
    EXPECT_EQ(core.db_resizeAttributeArray(integers, 4), Status::kSuccess);
    EXPECT_FALSE(heap.hasRunOut());
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArraysTest, ShrinkingToOneAndGrowingBackAllocatesNothingAndReusesTheRecords)
{
    resize(integers, 4);
    EXPECT_EQ(integers->getCapacity(), 6u);
    const std::vector<Attribute*> items = itemsOf(integers);

    const HeapThatRunsOut heap(0);
    resize(integers, 1);
    resize(integers, 4);
    EXPECT_FALSE(heap.hasRunOut());
    EXPECT_EQ(itemsOf(integers), items);
    EXPECT_EQ(integers->getCapacity(), 6u);
}

TEST_F(CoreManagerArraysTest, GrowingUpToTheCapacityAllocatesNothing)
{
    resize(integers, 4);
    const HeapThatRunsOut heap(0);
    resize(integers, 5);
    resize(integers, 6);
    EXPECT_FALSE(heap.hasRunOut());
}

TEST_F(CoreManagerArraysTest, GrowingOneByOneMovesTheValuesALogarithmOfTimes)
{
    unsigned int growths = 0;
    unsigned int capacity = 0;
    for (unsigned int size = 1; size <= 100'000; ++size)
    {
        resize(integers, size);
        if (integers->getCapacity() != capacity)
            ++growths;
        capacity = integers->getCapacity();
    }
    EXPECT_LT(growths, 40u);
}

// --- Items ---

TEST_F(CoreManagerArraysTest, AnIndexKeepsItsItemForTheLifeOfTheArray)
{
    std::vector<Attribute*> known; // by index, all that were ever seen
    for (const unsigned int size : {4u, 1u, 4u, 20u, 3u, 7u, 0u, 20u, 21u, 100u, 2u, 50u, 1000u, 5u, 1000u})
    {
        SCOPED_TRACE(size);
        resize(integers, size);
        for (unsigned int i = 0; i < size; ++i)
        {
            if (i == known.size())
                known.push_back(integers->getAttribute(i));
            ASSERT_EQ(integers->getAttribute(i), known[i]) << "item " << i;
            ASSERT_EQ(known[i]->getIndex(), i);
            ASSERT_EQ(known[i]->getParentArray(), integers);
            ASSERT_EQ(known[i]->getNode(), node);
        }
    }
}

TEST_F(CoreManagerArraysTest, ItemsThatAShrinkKeptAndAGrowthMovedTakePartInTheirReferencesStill)
{
    Attribute* const outside = scene.node(L"other")->findAttributeByName(L"Int");
    resize(integers, 3);
    ASSERT_EQ(core.db_createReference(integers->getAttribute(1), outside, false), Status::kSuccess);
    ASSERT_EQ(core.db_createReference(outside, integers->getAttribute(2), false), Status::kSuccess);
    scene.write(integers->getAttribute(1), 6);
    resize(integers, 1000);
    resize(integers, 3);
    EXPECT_EQ(outside->getReference(), integers->getAttribute(1));
    EXPECT_EQ(integers->getAttribute(2)->getReference(), outside);
    EXPECT_EQ(integers->getAttribute(2)->getValue().getInt(), 6);
    EXPECT_EQ(integers->getReferenceCount(), 2u);
    EXPECT_EQ(core.db_resizeAttributeArray(integers, 2), Status::kResizeDropsReferences);
}

TEST_F(CoreManagerArraysTest, NewItemsAreFree)
{
    resize(integers, 3);
    for (const Attribute* const item : itemsOf(integers))
    {
        EXPECT_EQ(item->getFlags(), ElementFlag::kArrayItem);
        EXPECT_EQ(item->getReference(), nullptr);
        EXPECT_EQ(item->getReferents(), nullptr);
    }
}

TEST_F(CoreManagerArraysTest, AnItemThatComesBackHasForgottenFlagsOfItsFormerLife)
{
    resize(integers, 2);
    Attribute* const item = integers->getAttribute(1);
    item->setFlag(ElementFlag::kLoaded);
    resize(integers, 1);
    resize(integers, 2);
    EXPECT_EQ(integers->getAttribute(1), item);
    EXPECT_EQ(item->getFlags(), ElementFlag::kArrayItem);
}

TEST_F(CoreManagerArraysTest, AReleasedItemReadsAsItsDefault)
{
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    definition.setDefaultValue(7);
    AttributeArray* const array = arrayOf(definition, L"sevens");
    resize(array, 2);
    const Attribute* const item = array->getAttribute(1);
    scene.write(array->getAttribute(1), 9);
    resize(array, 1);
    EXPECT_EQ(item->getValue().getTypeId(), AttributeType::kInt);
    EXPECT_EQ(item->getValue().getInt(), 7);
}

TEST_F(CoreManagerArraysTest, AReleasedTextReadsAsItsDefault)
{
    AttributeArray* const texts = node->findAttributeArrayByName(L"StringItems");
    resize(texts, 2);
    const Attribute* const item = texts->getAttribute(0);
    scene.write(texts->getAttribute(0), L"a text that takes memory");
    resize(texts, 0);
    EXPECT_EQ(item->getValue().getString(), L"");
}

// --- Values ---

TEST_F(CoreManagerArraysTest, NewItemsHaveTheDefaultAndTheOthersKeepTheirValues)
{
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    definition.setDefaultValue(7);
    AttributeArray* const array = arrayOf(definition, L"sevens");
    resize(array, 2);
    expectValues(array, {7, 7});
    scene.write(array->getAttribute(0), 1);
    scene.write(array->getAttribute(1), 2);
    resize(array, 3);
    expectValues(array, {1, 2, 7});
    resize(array, 5);
    expectValues(array, {1, 2, 7, 7, 7});
}

TEST_F(CoreManagerArraysTest, ItemsThatAShrinkReleasedComeBackWithTheDefault)
{
    resize(integers, 3);
    for (int i = 0; i < 3; ++i)
        scene.write(integers->getAttribute(static_cast<unsigned int>(i)), i + 1);
    resize(integers, 1);
    resize(integers, 3);
    expectValues(integers, {1, 0, 0});
}

/// Gives a value of any type content that differs from its default and, where it can, takes memory.
void fill(const ValueHandle& value, int number)
{
    const auto real = static_cast<float>(number) + 0.5f;
    switch (value.getTypeId())
    {
    case AttributeType::kInt:
    case AttributeType::kEnum: value.getInt() = number; break;
    case AttributeType::kBool: value.getBool() = true; break;
    case AttributeType::kColour: value.getColour() = kqx::Colour(real, 1, 2, 3); break;
    case AttributeType::kFloat: value.getFloat() = real; break;
    case AttributeType::kDouble: value.getDouble() = real; break;
    case AttributeType::kString: value.getString() = (L"text number " + std::to_wstring(number)).c_str(); break;
    case AttributeType::kVector3: value.getVector3() = kqx::Vector3(real, 1, 2); break;
    case AttributeType::kMatrix: value.getMatrix().m[2][1] = real; break;
    case AttributeType::kQuat: value.getQuat() = kqx::Quat(real, 1, 2, 3); break;
    case AttributeType::kVertexBuffer:
        value.getVertexBuffer().getStream(value.getVertexBuffer().addStream(L"s", 1)) = {real};
        break;
    case AttributeType::kIntArray: value.getIntArray() = {number, 2}; break;
    case AttributeType::kBoolArray: value.getBoolArray() = {true, false}; break;
    case AttributeType::kColourArray: value.getColourArray() = {kqx::Colour(real, 1, 2, 3)}; break;
    case AttributeType::kFloatArray: value.getFloatArray() = {real, 1}; break;
    case AttributeType::kDoubleArray: value.getDoubleArray() = {real, 1}; break;
    case AttributeType::kStringArray: value.getStringArray() = {kqx::String(L"a text that takes memory")}; break;
    case AttributeType::kVector3Array: value.getVector3Array() = {kqx::Vector3(real, 1, 2)}; break;
    case AttributeType::kMatrixArray: value.getMatrixArray() = {kqx::Matrix()}; break;
    case AttributeType::kQuatArray: value.getQuatArray() = {kqx::Quat(real, 1, 2, 3)}; break;
    case AttributeType::kNull:
    case AttributeType::kNoType: break;
    }
}

TEST_F(CoreManagerArraysTest, ValuesOfEveryTypeSurviveGrowthAndShrinking)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(testing::Message() << ValueInfo::getTypeName(typeId));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        definition->setArray(true);
        AttributeArray* const array = arrayOf(*definition, (L"array" + std::to_wstring(type)).c_str());

        std::vector<std::wstring> expected;
        const std::wstring defaultValue = dumpValue(definition->getDefaultValue());
        for (const unsigned int size : {1u, 4u, 2u, 9u, 40u, 10u, 100u})
        {
            resize(array, size);
            expected.resize(size, defaultValue);
            for (unsigned int i = 0; i < size; ++i)
            {
                const Attribute& item = *array->getAttribute(i);
                ASSERT_EQ(dumpValue(item.getValue()), expected[i]) << "item " << i << " of " << size;
                ASSERT_EQ(reinterpret_cast<std::uintptr_t>(item.getValue().getData()) %
                              ValueInfo::getStorageAlignment(typeId),
                          0u);
            }
            Attribute* const written = array->getAttribute(size - 1);
            ValueHandle value;
            ASSERT_EQ(core.db_lockAttribute(written, &value), Status::kSuccess);
            ASSERT_EQ(value.getTypeId(), typeId);
            if (!value.isNull())
                fill(value, static_cast<int>(size));
            ASSERT_EQ(core.db_unlockAttribute(written), Status::kSuccess);
            expected[size - 1] = dumpValue(written->getValue());
            EXPECT_TRUE(typeId == AttributeType::kNull || expected[size - 1] != defaultValue) << "nothing was written";
        }
    }
}

TEST_F(CoreManagerArraysTest, ResizingCountsNothing)
{
    const CoreManager::Statistics before = core.getStatistics();
    resize(integers, 10);
    resize(integers, 2);
    EXPECT_EQ(core.getStatistics(), before);
}

// --- Sizes that no memory holds ---

TEST_F(CoreManagerArraysTest, AnAbsurdSizeIsRefusedForEveryTypeAndChangesNothing)
{
    std::vector<AttributeArray*> arrays;
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(static_cast<AttributeTypeId>(type)));
        definition->setArray(true);
        arrays.push_back(arrayOf(*definition, (L"array" + std::to_wstring(type)).c_str()));
        resize(arrays.back(), 3);
    }
    const std::wstring before = dumpTree(core);
    for (AttributeArray* const array : arrays)
    {
        SCOPED_TRACE(testing::Message() << array->getName());
        for (const unsigned int size : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xAAAAAAABu, 0x80000000u, 0x55555556u, 0x40000000u})
            EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kFailure) << size;
    }
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArraysTest, AnEmptyArrayRefusesAnAbsurdSize)
{
    EXPECT_EQ(core.db_resizeAttributeArray(integers, 0xFFFFFFFFu), Status::kFailure);
    EXPECT_EQ(integers->getSize(), 0u);
    EXPECT_EQ(integers->getCapacity(), 0u);
    resize(integers, 2);
}

} // namespace
} // namespace db2test
