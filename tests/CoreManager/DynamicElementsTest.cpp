#include "support/MeasuredHeap.h"
#include "support/NameCollision.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace db2test {
namespace {

using Names = std::vector<std::wstring>;

class CoreManagerDynamicElementsTest : public ::testing::Test
{
protected:
    Element* create(const wchar_t* name, Element* next = nullptr, Node* on = nullptr)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(IntAttributeMetaDataDef(), name, on != nullptr ? on : node, next, &made),
                  Status::kSuccess);
        return made;
    }

    AttributeArray* createArray(const ElementMetaDataDef& definition, const wchar_t* name, unsigned int size)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, node, nullptr, &made), Status::kSuccess);
        auto* const array = static_cast<AttributeArray*>(made);
        EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    void destroy(Element* element) { EXPECT_EQ(core.db_destroyDynamicElement(element), Status::kSuccess); }

    /// The names of the node's dynamic elements, after the queries about them were found to agree.
    [[nodiscard]] Names dynamicNames() const
    {
        Names names;
        const Element* previous = nullptr;
        for (unsigned int i = 0; i < node->getDynamicElementCount(); ++i)
        {
            const Element* const element = node->getDynamicElement(i);
            EXPECT_EQ(element->getIndex(), kTemplateElements + i);
            EXPECT_EQ(node->getElement(kTemplateElements + i), element);
            EXPECT_EQ(node->findElementByName(element->getName()), element);
            EXPECT_FALSE(node->isDynamicElementNameUnique(element->getName()));
            EXPECT_TRUE(previous == nullptr || node->getNextDynamicElement(previous) == element);
            previous = element;
            names.emplace_back(element->getName());
        }
        return names;
    }

    [[nodiscard]] std::uint32_t dynamicCount() const { return core.getStatistics().dynamicElements; }

    static constexpr unsigned int kTemplateElements = 26; // of the type "All"

    Scene scene;
    CoreManager& core = scene.core();
    Node* node = scene.node(L"node");
};

// --- Creating ---

TEST_F(CoreManagerDynamicElementsTest, AnElementIsAppendedWithoutNextAndInsertedBeforeIt)
{
    Element* const middle = create(L"middle");
    create(L"last");
    create(L"second", middle);
    create(L"first", node->getDynamicElement(0));
    EXPECT_EQ(dynamicNames(), (Names{L"first", L"second", L"middle", L"last"}));
}

TEST_F(CoreManagerDynamicElementsTest, ANextThatIsNoLongerAmongTheElementsMeansTheEnd)
{
    create(L"a");
    Element* const gone = create(L"b");
    create(L"c");
    destroy(gone);
    create(L"d", gone);
    EXPECT_EQ(dynamicNames(), (Names{L"a", L"c", L"d"}));
}

TEST_F(CoreManagerDynamicElementsTest, CreatingCountsTheDynamicElementOnly)
{
    CoreManager::Statistics expected = core.getStatistics();
    create(L"a");
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    createArray(definition, L"b", 5);
    expected.dynamicElements += 2;
    EXPECT_EQ(core.getStatistics(), expected);
    EXPECT_EQ(node->getElementCount(), kTemplateElements + 2);
}

TEST_F(CoreManagerDynamicElementsTest, AnElementOfEachTypeStartsAtTheDefaultOfItsDefinition)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(testing::Message() << ValueInfo::getTypeName(typeId));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        const Attribute* const attribute =
            scene.dynamicAttribute(*definition, (L"extra" + std::to_wstring(type)).c_str(), node);
        EXPECT_EQ(attribute->getTypeId(), typeId);
        EXPECT_EQ(dumpValue(attribute->getValue()), dumpValue(definition->getDefaultValue()));
        EXPECT_EQ(attribute->getNode(), node);
        EXPECT_EQ(attribute->getFlags(), ElementFlag::kDynamic);
    }
    EXPECT_EQ(dynamicCount(), kAttributeTypeCount);
}

TEST_F(CoreManagerDynamicElementsTest, AnElementKeepsWhatItsDefinitionSaidAfterTheDefinitionIsGone)
{
    Attribute* attribute = nullptr;
    {
        std::wstring text = L"display";
        FloatAttributeMetaDataDef definition;
        definition.setDefaultValue(2.5f);
        definition.setMin(1.0f);
        definition.setMax(3.0f);
        definition.setUnitType(kqx::kUnitAngle);
        definition.setDisplayName(text.c_str());
        definition.setDocString(L"doc");
        definition.setFlags(ElementMetaDataFlag::kDontSave);
        attribute = scene.dynamicAttribute(definition, L"angle", node);
        text.assign(L"?");
    }
    const auto& metaData = static_cast<const FloatAttributeMetaData&>(*attribute->getMetaData());
    EXPECT_STREQ(metaData.getName(), L"angle");
    EXPECT_STREQ(metaData.getDisplayName(), L"display");
    EXPECT_STREQ(metaData.getDocString(), L"doc");
    EXPECT_EQ(metaData.getMin(), 1.0f);
    EXPECT_EQ(metaData.getMax(), 3.0f);
    EXPECT_EQ(metaData.getUnitType(), kqx::kUnitAngle);
    EXPECT_EQ(metaData.getFlags(), ElementMetaDataFlag::kDontSave);
    EXPECT_EQ(attribute->getValue().getFloat(), 2.5f);
}

TEST_F(CoreManagerDynamicElementsTest, AnEnumKeepsItsChoices)
{
    Attribute* attribute = nullptr;
    {
        EnumAttributeMetaDataDef definition;
        definition.addChoice(L"left");
        definition.addChoice(L"right");
        definition.setDefaultValue(1);
        attribute = scene.dynamicAttribute(definition, L"side", node);
    }
    const auto& metaData = static_cast<const EnumAttributeMetaData&>(*attribute->getMetaData());
    ASSERT_EQ(metaData.getNumChoices(), 2u);
    EXPECT_STREQ(metaData.getChoice(0), L"left");
    EXPECT_STREQ(metaData.getChoice(1), L"right");
    EXPECT_EQ(attribute->getValue().getInt(), 1);
}

TEST_F(CoreManagerDynamicElementsTest, AnArrayIsMadeWhenTheDefinitionSaysSo)
{
    StringAttributeMetaDataDef definition;
    definition.setArray(true);
    definition.setDefaultValue(kqx::String(L"a default that takes memory"));
    const AttributeArray* const array = createArray(definition, L"texts", 2);
    EXPECT_TRUE(array->isAttributeArray());
    EXPECT_TRUE(array->getMetaData()->isAttributeArray());
    EXPECT_EQ(array->getFlags(), ElementFlag::kDynamic | ElementFlag::kArray);
    EXPECT_EQ(array->getAttribute(1)->getValue().getString(), L"a default that takes memory");
}

TEST_F(CoreManagerDynamicElementsTest, AnElementCanBeMadeLikeAnotherOne)
{
    IntAttributeMetaDataDef definition;
    definition.setMax(9);
    definition.setDefaultValue(3);
    const Attribute* const original = scene.dynamicAttribute(definition, L"count", node);
    const Attribute* const copy =
        scene.dynamicAttribute(ElementMetaDataCopier(*original->getMetaData()), L"count", scene.node(L"other"));
    EXPECT_TRUE(copy->getMetaData()->compare(*original->getMetaData()));
    EXPECT_EQ(copy->getValue().getInt(), 3);
}

TEST_F(CoreManagerDynamicElementsTest, ACopyBearsTheNameThatWasAskedFor)
{
    const Attribute* const original = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"count", node);
    const Attribute* const copy =
        scene.dynamicAttribute(ElementMetaDataCopier(*original->getMetaData()), L"other", node);
    EXPECT_STREQ(copy->getName(), L"other");
    EXPECT_EQ(node->findElementByName(L"other"), copy);
    EXPECT_EQ(node->findElementByName(L"count"), original);
}

TEST_F(CoreManagerDynamicElementsTest, NodesWithoutTemplateElementsAndUnknownNodesTakeThemToo)
{
    for (Node* const on : {scene.nodeOf(Scene::kPlain, L"plain"), scene.unknownNode(L"unknown"),
                           scene.unknownNode(L"legacy", nullptr, true)})
    {
        SCOPED_TRACE(on->getName().c_str());
        Element* const extra = create(L"extra", nullptr, on);
        EXPECT_EQ(on->getElementCount(), 1u);
        EXPECT_EQ(on->getDynamicElementCount(), 1u);
        EXPECT_EQ(on->getElement(0), extra);
        EXPECT_EQ(extra->getIndex(), 0u);
        EXPECT_EQ(extra->getNode(), on);
    }
}

// --- Names ---

TEST_F(CoreManagerDynamicElementsTest, ANameMayHaveFortyUtf16Units)
{
    const std::wstring bmp(40, L'\x4E2D');
    std::wstring beyond;
    for (int i = 0; i < 20; ++i)
        beyond += L"\U0001F600"; // two UTF-16 units each
    EXPECT_STREQ(create(bmp.c_str())->getName(), bmp.c_str());
    EXPECT_STREQ(create(beyond.c_str())->getName(), beyond.c_str());

    EXPECT_EQ(core.db_createDynamicElement(IntAttributeMetaDataDef(), (bmp + L"x").c_str(), node, nullptr, nullptr),
              Status::kNameTooLong);
    EXPECT_EQ(core.db_createDynamicElement(IntAttributeMetaDataDef(), (beyond + L"x").c_str(), node, nullptr, nullptr),
              Status::kNameTooLong);
    EXPECT_EQ(core.db_renameDynamicElement(node->getDynamicElement(0), (beyond + L"x").c_str()), Status::kNameTooLong);
}

TEST_F(CoreManagerDynamicElementsTest, NamesAreNotMadeUnique)
{
    create(L"extra");
    EXPECT_EQ(core.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", node, nullptr, nullptr),
              Status::kDuplicateElementName);
    EXPECT_EQ(dynamicNames(), Names{L"extra"});
}

TEST_F(CoreManagerDynamicElementsTest, TheSameNameMayStandOnEachNode)
{
    create(L"extra");
    create(L"extra", nullptr, scene.node(L"other"));
    EXPECT_EQ(dynamicCount(), 2u);
}

TEST_F(CoreManagerDynamicElementsTest, ALegacyElementMayBearTheSameName)
{
    EXPECT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), L"extra", node, nullptr), Status::kSuccess);
    create(L"extra");
    EXPECT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), L"Int", node, nullptr), Status::kSuccess);
}

TEST_F(CoreManagerDynamicElementsTest, AnyNumberOfElementsKeepsNamesUniqueByHash)
{
    const NameCollision& names = nameCollision();
    create(names.first.c_str());
    for (unsigned int count = 1; count <= 1000; ++count)
    {
        ASSERT_EQ(core.canCreateDynamicElement(IntAttributeMetaDataDef(), names.first.c_str(), node, nullptr),
                  Status::kDuplicateElementName);
        ASSERT_EQ(core.canCreateDynamicElement(IntAttributeMetaDataDef(), names.second.c_str(), node, nullptr),
                  Status::kDuplicateElementName);
        ASSERT_EQ(core.canCreateDynamicElement(IntAttributeMetaDataDef(), L"Int", node, nullptr),
                  Status::kDuplicateElementName);
        ASSERT_EQ(core.canCreateDynamicElement(IntAttributeMetaDataDef(), L"free", node, nullptr), Status::kSuccess);
        create((L"extra" + std::to_wstring(count)).c_str());
    }
    EXPECT_EQ(dynamicNames().size(), 1001u);
}

TEST_F(CoreManagerDynamicElementsTest, TheTemplatesNamesAreTakenByHashToo)
{
    const NameCollision& names = nameCollision();
    auto* const type = new NodeTemplate(L"Named", 10, scene.module());
    ASSERT_EQ(type->addAttribute(IntAttributeMetaDataDef(), names.first.c_str()), Status::kSuccess);
    ASSERT_EQ(scene.registry().registerNodeTemplate(type), Status::kSuccess);
    Node* const named = scene.nodeOf(10, L"named");
    EXPECT_EQ(core.db_createDynamicElement(IntAttributeMetaDataDef(), names.second.c_str(), named, nullptr, nullptr),
              Status::kDuplicateElementName);
}

// --- Renaming ---

TEST_F(CoreManagerDynamicElementsTest, RenamingFreesTheOldNameAndTakesTheNewOneAtAnyNumberOfElements)
{
    for (int count = 1; count <= 10; ++count)
    {
        SCOPED_TRACE(count);
        Element* const extra = create(L"extra");
        ASSERT_EQ(core.db_renameDynamicElement(extra, L"renamed"), Status::kSuccess);
        EXPECT_STREQ(extra->getName(), L"renamed");
        EXPECT_TRUE(node->isDynamicElementNameUnique(L"extra"));
        EXPECT_EQ(node->findElementByName(L"renamed"), extra);
        EXPECT_EQ(node->findElementByName(L"extra"), nullptr);
        ASSERT_EQ(core.db_renameDynamicElement(extra, (L"kept" + std::to_wstring(count)).c_str()), Status::kSuccess);
        EXPECT_EQ(dynamicNames().size(), static_cast<std::size_t>(count));
    }
}

TEST_F(CoreManagerDynamicElementsTest, RenamingKeepsPlaceValueAndReferences)
{
    create(L"a");
    auto* const b = static_cast<Attribute*>(create(L"b"));
    create(L"c");
    scene.write(b, 5);
    ASSERT_EQ(core.db_createReference(b, node->findAttributeByName(L"Int"), false), Status::kSuccess);
    ASSERT_EQ(core.db_renameDynamicElement(b, L"beta"), Status::kSuccess);
    EXPECT_EQ(dynamicNames(), (Names{L"a", L"beta", L"c"}));
    EXPECT_EQ(b->getValue().getInt(), 5);
    EXPECT_EQ(node->findAttributeByName(L"Int")->getReference(), b);
}

TEST_F(CoreManagerDynamicElementsTest, RenamingToALongerAndAShorterNameWorks)
{
    Element* const extra = create(L"extra");
    const std::wstring longest(40, L'x');
    ASSERT_EQ(core.db_renameDynamicElement(extra, longest.c_str()), Status::kSuccess);
    EXPECT_STREQ(extra->getName(), longest.c_str());
    ASSERT_EQ(core.db_renameDynamicElement(extra, L"x"), Status::kSuccess);
    EXPECT_STREQ(extra->getName(), L"x");
    ASSERT_EQ(core.db_renameDynamicElement(extra, extra->getName()), Status::kSuccess) << "its own text";
    EXPECT_STREQ(extra->getName(), L"x");
}

TEST_F(CoreManagerDynamicElementsTest, RenamingToAnotherNameOfTheOwnHashDoesWhatItsCheckSays)
{
    const NameCollision& names = nameCollision();
    Element* const extra = create(names.first.c_str());
    const Status status = core.canRenameDynamicElement(extra, names.second.c_str());
    EXPECT_EQ(core.db_renameDynamicElement(extra, names.second.c_str()), status);
    EXPECT_TRUE(status == Status::kDuplicateElementName || status == Status::kSuccess);
    EXPECT_STREQ(extra->getName(), status == Status::kSuccess ? names.second.c_str() : names.first.c_str());
}

TEST_F(CoreManagerDynamicElementsTest, AMillionRenamesOnOneNodeDoNotGrowItsIndex)
{
    std::vector<Element*> elements;
    for (int i = 0; i < 8; ++i)
        elements.push_back(create((L"extra" + std::to_wstring(i)).c_str()));
    unsigned int number = 0;
    const auto rename = [&](unsigned int count) {
        for (const unsigned int end = number + count; number < end; ++number)
            ASSERT_EQ(core.db_renameDynamicElement(elements[number % 8], (L"n" + std::to_wstring(number)).c_str()),
                      Status::kSuccess);
    };

    const MeasuredHeap heap;
    rename(1000);
    const std::size_t atFirst = heap.largestBytes();
    rename(999'000);
    EXPECT_EQ(heap.largestBytes(), atFirst);
    EXPECT_EQ(dynamicNames().size(), 8u);
}

// --- Destroying ---

TEST_F(CoreManagerDynamicElementsTest, DestroyingTakesTheElementOutAndLeavesTheOrder)
{
    Element* const a = create(L"a");
    Element* const b = create(L"b");
    Element* const c = create(L"c");
    create(L"d");
    destroy(b);
    EXPECT_EQ(dynamicNames(), (Names{L"a", L"c", L"d"}));
    destroy(a);
    EXPECT_EQ(dynamicNames(), (Names{L"c", L"d"}));
    destroy(node->getDynamicElement(1));
    EXPECT_EQ(dynamicNames(), Names{L"c"});
    destroy(c);
    EXPECT_EQ(dynamicNames(), Names{});
    EXPECT_EQ(dynamicCount(), 0u);
    EXPECT_EQ(node->getElementCount(), kTemplateElements);
}

TEST_F(CoreManagerDynamicElementsTest, ADestroyedElementStaysReadableUntilTheCommit)
{
    auto* const extra = static_cast<Attribute*>(create(L"extra"));
    scene.write(extra, 5);
    destroy(extra);
    EXPECT_TRUE(extra->isDestroyed());
    EXPECT_STREQ(extra->getName(), L"extra");
    EXPECT_EQ(extra->getValue().getInt(), 5);
    EXPECT_EQ(extra->getNode(), node);
    EXPECT_EQ(node->findElementByName(L"extra"), nullptr);
    EXPECT_EQ(core.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(extra->getValue().getInt(), 5);
}

TEST_F(CoreManagerDynamicElementsTest, DestroyingFreesTheNameAtAnyNumberOfElements)
{
    for (int count = 1; count <= 10; ++count)
    {
        SCOPED_TRACE(count);
        destroy(create(L"extra"));
        EXPECT_TRUE(node->isDynamicElementNameUnique(L"extra"));
        create((L"kept" + std::to_wstring(count)).c_str());
        EXPECT_EQ(dynamicNames().size(), static_cast<std::size_t>(count));
    }
}

TEST_F(CoreManagerDynamicElementsTest, ElementsThatOwnMemoryGiveItBack)
{
    // What is not given back is found by the leak check of the sanitized run.
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        definition->setDocString(L"a text of the metadata");
        Attribute* const attribute = scene.dynamicAttribute(*definition, L"one", node);
        definition->setArray(true);
        AttributeArray* const array = createArray(*definition, L"many", 5);
        if (typeId == AttributeType::kString)
        {
            scene.write(attribute, L"a text that takes memory");
            scene.write(array->getAttribute(3), L"a text that takes memory");
        }
        destroy(attribute);
        destroy(array);
    }
    EXPECT_EQ(scene.commit(), Status::kSuccess);
    EXPECT_EQ(dynamicCount(), 0u);
}

TEST_F(CoreManagerDynamicElementsTest, TenThousandElementsAreCreatedAndDestroyed)
{
    constexpr unsigned int kElements = 10'000;
    for (unsigned int i = 0; i < kElements; ++i)
        create((L"extra" + std::to_wstring(i)).c_str());
    EXPECT_EQ(node->getDynamicElementCount(), kElements);
    while (node->getDynamicElementCount() > 0)
        destroy(node->getDynamicElement(node->getDynamicElementCount() - 1));
    EXPECT_EQ(dynamicCount(), 0u);
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

} // namespace
} // namespace db2test
