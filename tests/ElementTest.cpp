#include "support/Scene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

/// A node of each kind with elements of each kind: of the template, dynamic, unknown and legacy, single and arrays.
class ElementTest : public ::testing::Test
{
protected:
    static constexpr unsigned int kTemplateElements = 26; // of the type "All"

    Element* dynamicElement(const wchar_t* name, Node* on, bool isArray = false, Element* next = nullptr)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(scene.core().db_createDynamicElement(definition, name, on, next, &made), Status::kSuccess);
        return made;
    }

    Element* legacyElement(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(scene.core().createLegacyElement(definition, name, on, &made), Status::kSuccess);
        return made;
    }

    Element* unknownElement(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(scene.core().createUnknownElement(definition, name, on, &made), Status::kSuccess);
        return made;
    }

    AttributeArray* resize(Element* array, unsigned int size)
    {
        auto* const resized = static_cast<AttributeArray*>(array);
        EXPECT_EQ(scene.core().db_resizeAttributeArray(resized, size), Status::kSuccess);
        return resized;
    }

    Scene scene;
    Node* arm = scene.node(L"arm");
    Node* unknown = scene.unknownNode(L"unknown");
    Attribute* integer = arm->findAttributeByName(L"Int");
    AttributeArray* integers = resize(arm->findElementByName(L"IntItems"), 3);
    Element* extra = dynamicElement(L"extra", arm);
    AttributeArray* extras = resize(dynamicElement(L"extras", arm, true), 2);
    Element* old = legacyElement(L"old", arm);
    AttributeArray* olds = resize(legacyElement(L"olds", arm, true), 2);
    Element* odd = unknownElement(L"odd", unknown);
    AttributeArray* odds = resize(unknownElement(L"odds", unknown, true), 2);
};

// --- Type ---

TEST_F(ElementTest, TypeQueriesAnswerFromTheMetadata)
{
    IntAttributeMetaDataDef definition;
    definition.setDocString(L"how many");
    definition.setDefaultValue(7);
    definition.setFlags(ElementMetaDataFlag::kAlwaysSave | 0x80);
    const Attribute* const count = scene.dynamicAttribute(definition, L"count", arm);

    EXPECT_STREQ(count->getName(), L"count");
    EXPECT_EQ(count->getTypeId(), AttributeType::kInt);
    EXPECT_STREQ(count->getDocString(), L"how many");
    EXPECT_EQ(count->getDefaultValue().getTypeId(), AttributeType::kInt);
    EXPECT_EQ(count->getDefaultValue().getInt(), 7);
    EXPECT_TRUE(count->hasMetaDataFlag(ElementMetaDataFlag::kAlwaysSave | 0x80));
    EXPECT_FALSE(count->hasMetaDataFlag(ElementMetaDataFlag::kAlwaysSave | ElementMetaDataFlag::kDontSave));
}

TEST_F(ElementTest, WithoutADocStringThereIsNone)
{
    EXPECT_EQ(integer->getDocString(), nullptr);
}

TEST_F(ElementTest, AnItemHasTheMetadataOfItsArray)
{
    const Attribute* const item = integers->getAttribute(1);
    EXPECT_EQ(item->getMetaData(), integers->getMetaData());
    EXPECT_STREQ(item->getName(), L"IntItems");
    EXPECT_EQ(item->getTypeId(), AttributeType::kInt);
}

TEST_F(ElementTest, AReferenceChangesNoneOfTheTypeQueries)
{
    const ElementMetaData* const metaData = integer->getMetaData();
    ASSERT_EQ(scene.core().db_createReference(arm->findAttributeByName(L"Float"), integer, false), Status::kSuccess);
    EXPECT_EQ(integer->getMetaData(), metaData);
    EXPECT_STREQ(integer->getName(), L"Int");
    EXPECT_EQ(integer->getTypeId(), AttributeType::kInt);
    EXPECT_EQ(integer->getIndex(), 0u);
    EXPECT_EQ(integer->getNode(), arm);
}

// --- Flags ---

TEST_F(ElementTest, TheKindStandsInTheFlags)
{
    struct Kind
    {
        const char* name;
        const Element* element;
        bool isArray, isItem, isDynamic, isUnknown, isLegacy;
    };
    const Kind kKinds[] = {
        {"attribute of the template", integer, false, false, false, false, false},
        {"array of the template", integers, true, false, false, false, false},
        {"item of the template's array", integers->getAttribute(2), false, true, false, false, false},
        {"dynamic attribute", extra, false, false, true, false, false},
        {"dynamic array", extras, true, false, true, false, false},
        {"item of the dynamic array", extras->getAttribute(1), false, true, false, false, false},
        {"unknown attribute", odd, false, false, false, true, false},
        {"unknown array", odds, true, false, false, true, false},
        {"item of the unknown array", odds->getAttribute(0), false, true, false, true, false},
        {"legacy attribute", old, false, false, false, false, true},
        {"legacy array", olds, true, false, false, false, true},
        {"item of the legacy array", olds->getAttribute(0), false, true, false, false, true}};
    for (const Kind& kind : kKinds)
    {
        SCOPED_TRACE(kind.name);
        EXPECT_EQ(kind.element->isAttributeArray(), kind.isArray);
        EXPECT_EQ(kind.element->isAttributeArrayElement(), kind.isItem);
        EXPECT_EQ(kind.element->isDynamic(), kind.isDynamic);
        EXPECT_EQ(kind.element->isUnknown(), kind.isUnknown);
        EXPECT_EQ(kind.element->isLegacy(), kind.isLegacy);
        EXPECT_FALSE(kind.element->isDestroyed());
    }
}

TEST_F(ElementTest, AFlagIsSetWhenEveryBitOfTheMaskIs)
{
    integer->setFlag(0x400000);
    EXPECT_TRUE(integer->hasFlag(0x400000));
    EXPECT_FALSE(integer->hasFlag(0xC00000));
    EXPECT_TRUE(integer->hasAnyFlag(0xC00000));
    EXPECT_FALSE(integer->hasAnyFlag(0x800000));
    EXPECT_EQ(integer->getFlags(), 0x400000u);
}

TEST_F(ElementTest, SettingAndClearingFlagsLeavesTheOthers)
{
    extra->setFlag(0xC00000);
    extra->clearFlag(0x400000);
    EXPECT_EQ(extra->getFlags(), 0x800000u | ElementFlag::kDynamic);
}

TEST_F(ElementTest, AnOutputOfAComputeSetIsComputed)
{
    auto* const sum = new NodeTemplate(L"Sum", 10, scene.module());
    ASSERT_EQ(sum->addAttribute(IntAttributeMetaDataDef(), L"in"), Status::kSuccess);
    ASSERT_EQ(sum->addAttribute(IntAttributeMetaDataDef(), L"out"), Status::kSuccess);
    constexpr unsigned int kInputs[] = {0, NodeTemplate::kEndOfList};
    constexpr unsigned int kOutputs[] = {1, NodeTemplate::kEndOfList};
    ASSERT_EQ(sum->addComputeSet(kInputs, kOutputs, nullptr, nullptr), Status::kSuccess);
    ASSERT_EQ(scene.registry().registerNodeTemplate(sum), Status::kSuccess);

    const Node* const node = scene.nodeOf(10, L"sum");
    EXPECT_FALSE(node->getElement(0)->isComputed());
    EXPECT_TRUE(node->getElement(1)->isComputed());
}

TEST_F(ElementTest, OnlyALegacyElementCanBeHandledAsOne)
{
    EXPECT_FALSE(old->isLegacyElementHandled());
    old->setLegacyElementHandled();
    EXPECT_TRUE(old->isLegacyElementHandled());

    for (Element* const other : {static_cast<Element*>(integer), extra, odd})
    {
        const std::uint32_t flags = other->getFlags();
        other->setLegacyElementHandled();
        EXPECT_FALSE(other->isLegacyElementHandled());
        EXPECT_EQ(other->getFlags(), flags);
    }
}

// --- Place ---

TEST_F(ElementTest, TheNodeIsFoundFromEveryKindOfElementAndItem)
{
    for (const Element* const element : {static_cast<Element*>(integer), static_cast<Element*>(integers), extra,
                                         static_cast<Element*>(extras), old, static_cast<Element*>(olds)})
        EXPECT_EQ(element->getNode(), arm) << element->getName();
    for (const AttributeArray* const array : {integers, extras, olds})
        EXPECT_EQ(array->getAttribute(0)->getNode(), arm) << "an item of " << array->getName();
    for (const Element* const element :
         {odd, static_cast<Element*>(odds), static_cast<Element*>(odds->getAttribute(1))})
        EXPECT_EQ(element->getNode(), unknown) << element->getName();
}

TEST_F(ElementTest, EveryElementOfTheTemplateKnowsItsNode)
{
    for (unsigned int i = 0; i < arm->getElementCount(); ++i)
        EXPECT_EQ(arm->getElement(i)->getNode(), arm) << "element " << i;
}

TEST_F(ElementTest, OnlyAnItemHasAParentArray)
{
    for (AttributeArray* const array : {integers, extras, olds, odds})
    {
        for (unsigned int i = 0; i < array->getSize(); ++i)
            EXPECT_EQ(array->getAttribute(i)->getParentArray(), array) << array->getName() << i;
        EXPECT_EQ(array->getParentArray(), nullptr) << array->getName();
    }
    for (const Element* const element : {static_cast<Element*>(integer), extra, old, odd})
        EXPECT_EQ(element->getParentArray(), nullptr) << element->getName();
}

// --- Destroyed ---

TEST_F(ElementTest, ADynamicElementIsDestroyedOnItsOwnWithItsItems)
{
    const Attribute* const item = extras->getAttribute(1);
    ASSERT_EQ(scene.core().db_destroyDynamicElement(extra), Status::kSuccess);
    ASSERT_EQ(scene.core().db_destroyDynamicElement(extras), Status::kSuccess);
    EXPECT_TRUE(extra->isDestroyed());
    EXPECT_TRUE(extras->isDestroyed());
    EXPECT_TRUE(item->isDestroyed());
    EXPECT_FALSE(integer->isDestroyed());
    EXPECT_FALSE(arm->isDestroyed());
}

TEST_F(ElementTest, AnyOtherElementIsDestroyedWithItsNode)
{
    Node* const leg = scene.node(L"leg");
    const AttributeArray* const items = resize(leg->findElementByName(L"IntItems"), 1);
    const Element* const former = legacyElement(L"former", leg);
    ASSERT_EQ(scene.core().db_destroyLeafNode(leg), Status::kSuccess);
    EXPECT_TRUE(leg->getElement(0)->isDestroyed());
    EXPECT_TRUE(items->isDestroyed());
    EXPECT_TRUE(items->getAttribute(0)->isDestroyed());
    EXPECT_TRUE(former->isDestroyed());

    ASSERT_EQ(scene.core().db_destroyLeafNode(unknown), Status::kSuccess);
    EXPECT_TRUE(odd->isDestroyed());
    EXPECT_TRUE(odds->getAttribute(1)->isDestroyed());
}

TEST_F(ElementTest, AReleasedItemBearsTheDestroyedFlagUntilItIsUsedAgain)
{
    const Attribute* const item = integers->getAttribute(2);
    resize(integers, 2);
    EXPECT_TRUE(item->hasFlag(ElementFlag::kDestroyed));
    resize(integers, 3);
    EXPECT_FALSE(item->hasFlag(ElementFlag::kDestroyed));
    EXPECT_EQ(integers->getAttribute(2), item);
}

// --- Index ---

TEST_F(ElementTest, TemplateElementsKnowTheirIndexInLargeAndSmallTypes)
{
    constexpr unsigned int kTypeIds[] = {11, 12, 13, 14, 15}; // of as many elements as their distance from 10
    for (const unsigned int typeId : kTypeIds)
    {
        SCOPED_TRACE(typeId - 10);
        auto* const type = new NodeTemplate((L"Type" + std::to_wstring(typeId)).c_str(), typeId, scene.module());
        for (unsigned int i = 0; i < typeId - 10; ++i)
        {
            // Records of different sizes, so that their addresses tell nothing but the order.
            MatrixAttributeMetaDataDef matrix;
            BoolAttributeMetaDataDef boolean;
            matrix.setArray(i % 3 == 2);
            ElementMetaDataDef& definition =
                i % 2 == 0 ? static_cast<ElementMetaDataDef&>(matrix) : static_cast<ElementMetaDataDef&>(boolean);
            ASSERT_EQ(type->addAttribute(definition, (L"e" + std::to_wstring(i)).c_str()), Status::kSuccess);
        }
        ASSERT_EQ(scene.registry().registerNodeTemplate(type), Status::kSuccess);
        const Node* const node = scene.nodeOf(typeId, L"node");
        for (unsigned int i = 0; i < node->getElementCount(); ++i)
            EXPECT_EQ(node->getElement(i)->getIndex(), i);
    }
    for (unsigned int i = 0; i < kTemplateElements; ++i)
        EXPECT_EQ(arm->getElement(i)->getIndex(), i);
}

TEST_F(ElementTest, DynamicElementsCountBehindTheTemplate)
{
    EXPECT_EQ(extra->getIndex(), kTemplateElements);
    EXPECT_EQ(extras->getIndex(), kTemplateElements + 1);

    const Element* const first = dynamicElement(L"first", arm, false, extra);
    EXPECT_EQ(first->getIndex(), kTemplateElements);
    EXPECT_EQ(extra->getIndex(), kTemplateElements + 1);
    EXPECT_EQ(extras->getIndex(), kTemplateElements + 2);
}

TEST_F(ElementTest, LegacyElementsCountAmongThemselves)
{
    EXPECT_EQ(old->getIndex(), 0u);
    EXPECT_EQ(olds->getIndex(), 1u);
    EXPECT_EQ(legacyElement(L"older", arm)->getIndex(), 2u);
}

TEST_F(ElementTest, ElementsOfAnUnknownNodeCountInItsOrder)
{
    const Element* const dynamic = dynamicElement(L"extra", unknown);
    std::vector<const Element*> elements{odd, odds};
    for (int i = 0; i < 6; ++i)
        elements.push_back(unknownElement((L"more" + std::to_wstring(i)).c_str(), unknown));
    elements.push_back(dynamic);
    for (unsigned int i = 0; i < elements.size(); ++i)
    {
        EXPECT_EQ(elements[i]->getIndex(), i) << elements[i]->getName();
        EXPECT_EQ(unknown->getElement(i), elements[i]);
    }
}

TEST_F(ElementTest, ItemsKnowTheirIndexOverSeveralGrowths)
{
    for (const unsigned int size : {4u, 5u, 10u, 11u, 100u, 3u, 40u, 1000u, 999u})
    {
        SCOPED_TRACE(size);
        resize(integers, size);
        resize(extras, size);
        for (unsigned int i = 0; i < size; ++i)
        {
            ASSERT_EQ(integers->getAttribute(i)->getIndex(), i);
            ASSERT_EQ(extras->getAttribute(i)->getIndex(), i);
        }
    }
}

TEST_F(ElementTest, AnElementThatIsNotAmongItsNodesElementsHasTheIndexZero)
{
    ASSERT_EQ(scene.core().db_destroyDynamicElement(extra), Status::kSuccess);
    ASSERT_EQ(scene.core().destroyLegacyElement(olds), Status::kSuccess);
    EXPECT_EQ(extra->getIndex(), 0u);
    EXPECT_EQ(olds->getIndex(), 0u);
}

} // namespace
} // namespace db2test
