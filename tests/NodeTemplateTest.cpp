#include <db2/NodeTemplate.h>

#include <db2/db2.h>

#include "support/HeapThatRunsOut.h"
#include "support/NameCollision.h"
#include "support/OutOfMemory.h"
#include "support/Random.h"
#include "support/Scene.h"
#include "support/TemplateState.h"
#include "support/TracedDefinition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace db2;
using db2test::HeapThatRunsOut;
using db2test::Random;
using db2test::Scene;
using db2test::TemplateState;
using db2test::TracedDefinition;

constexpr unsigned int kEnd = NodeTemplate::kEndOfList;
constexpr unsigned int kUntouched = 1234; ///< an out argument that a failure must leave alone

void computeNothing(DataInterface&, Node&, Element**, void*) {}

std::wstring nameOf(unsigned int index)
{
    return L"element " + std::to_wstring(index);
}

/// A template under construction.
class NodeTemplateTest : public ::testing::Test
{
protected:
    std::unique_ptr<NodeTemplate> makeTemplate(const wchar_t* name = L"Other", unsigned int typeId = 8)
    {
        return std::make_unique<NodeTemplate>(name, typeId, module);
    }

    /// Adds Int attributes called nameOf(index).
    void addInts(unsigned int count)
    {
        for (unsigned int i = 0; i < count; ++i)
        {
            const std::wstring name = nameOf(nodeTemplate->getElementCount());
            ASSERT_EQ(nodeTemplate->addAttribute(integer, name.c_str()), Status::kSuccess);
        }
    }

    /// Adds a compute set from lists without their ends.
    Status addSet(std::vector<unsigned int> inputs, std::vector<unsigned int> outputs, unsigned int* outIndex = nullptr)
    {
        inputs.push_back(kEnd);
        outputs.push_back(kEnd);
        return nodeTemplate->addComputeSet(inputs.data(), outputs.data(), computeNothing, nullptr, outIndex);
    }

    Module module;
    const IntAttributeMetaDataDef integer;
    std::unique_ptr<NodeTemplate> nodeTemplate = makeTemplate(L"Sphere", 7);
};

// --- A new template ---

TEST_F(NodeTemplateTest, ANewTemplateHasItsIdentityAndNothingElse)
{
    EXPECT_TRUE(nodeTemplate->getTypeName() == L"Sphere");
    EXPECT_EQ(nodeTemplate->getTypeId(), 7u);
    EXPECT_EQ(nodeTemplate->getModule(), &module);
    EXPECT_EQ(nodeTemplate->getAPINodeFactory(), nullptr);
    EXPECT_EQ(nodeTemplate->getDocString(), nullptr);
    EXPECT_EQ(nodeTemplate->getNodeTemplateAPI(), nullptr);
    EXPECT_EQ(nodeTemplate->getElementCount(), 0u);
    EXPECT_EQ(nodeTemplate->getComputeSetCount(), 0u);
    EXPECT_FALSE(nodeTemplate->hasComputeSets());
    EXPECT_TRUE(nodeTemplate->getElementOutputs().empty());
    EXPECT_EQ(nodeTemplate->getReferenceCount(), 0u);
    EXPECT_FALSE(nodeTemplate->hasFlag(NodeTemplateFlag::kRegistered));
}

TEST_F(NodeTemplateTest, CopiesItsNameAndDocString)
{
    std::wstring name = L"Light";
    std::wstring doc = L"Shines";
    const NodeTemplate light(name.c_str(), 9, module, nullptr, doc.c_str());
    name.assign(name.size(), L'x');
    doc.assign(doc.size(), L'x');
    EXPECT_TRUE(light.getTypeName() == L"Light");
    EXPECT_STREQ(light.getDocString(), L"Shines");
}

TEST_F(NodeTemplateTest, AnEmptyDocStringIsNotTheSameAsNone)
{
    const NodeTemplate light(L"Light", 9, module, nullptr, L"");
    ASSERT_NE(light.getDocString(), nullptr);
    EXPECT_STREQ(light.getDocString(), L"");
}

TEST_F(NodeTemplateTest, ANullNameIsEmpty)
{
    EXPECT_TRUE(makeTemplate(nullptr)->getTypeName().empty());
}

TEST_F(NodeTemplateTest, KeepsTheHostsPointerAndFlags)
{
    int api = 0;
    nodeTemplate->setNodeTemplateAPI(&api);
    EXPECT_EQ(nodeTemplate->getNodeTemplateAPI(), &api);

    nodeTemplate->setFlag(0x6);
    EXPECT_TRUE(nodeTemplate->hasFlag(0x2));
    EXPECT_TRUE(nodeTemplate->hasFlag(0x6));
    EXPECT_FALSE(nodeTemplate->hasFlag(0xE)); // every bit of the mask
    nodeTemplate->clearFlag(0x2);
    EXPECT_FALSE(nodeTemplate->hasFlag(0x2));
    EXPECT_TRUE(nodeTemplate->hasFlag(0x4));
}

TEST_F(NodeTemplateTest, ComesFromTheLibrarysHeap)
{
    const HeapThatRunsOut heap(0);
    EXPECT_THROW((void)std::make_unique<NodeTemplate>(L"", 9u, module), std::bad_alloc);
    EXPECT_TRUE(heap.hasRunOut());
}

TEST_F(NodeTemplateTest, IsNotMadeHalfwayWhenMemoryIsOut)
{
    std::unique_ptr<NodeTemplate> made;
    for (std::size_t granted = 0; made == nullptr; ++granted)
    {
        ASSERT_LT(granted, 100u);
        const HeapThatRunsOut heap(granted); // the leak checker sees what a half-made one leaves
        try
        {
            made = std::make_unique<NodeTemplate>(L"Sphere", 9u, module, nullptr, L"Round");
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_TRUE(heap.hasRunOut());
        }
    }
    EXPECT_TRUE(made->getTypeName() == L"Sphere");
    EXPECT_STREQ(made->getDocString(), L"Round");
}

TEST_F(NodeTemplateTest, DestroysTheMetadataOfItsElements)
{
    int destructions = 0;
    const TracedDefinition traced(destructions);
    ASSERT_EQ(nodeTemplate->addAttribute(traced, L"a"), Status::kSuccess);
    ASSERT_EQ(nodeTemplate->addAttribute(traced, L"b"), Status::kSuccess);
    EXPECT_EQ(destructions, 0);
    nodeTemplate.reset();
    EXPECT_EQ(destructions, 2);
}

// --- Adding attributes ---

TEST_F(NodeTemplateTest, AttributesGetIndicesInTheOrderInWhichTheyAreAdded)
{
    for (unsigned int i = 0; i < 10; ++i)
    {
        unsigned int index = kUntouched;
        ASSERT_EQ(nodeTemplate->addAttribute(integer, nameOf(i).c_str(), &index), Status::kSuccess);
        EXPECT_EQ(index, i);
        EXPECT_EQ(nodeTemplate->getElementCount(), i + 1);
    }
    for (unsigned int i = 0; i < 10; ++i)
        EXPECT_EQ(nodeTemplate->getElementMetaData(i)->getName(), nameOf(i));
    EXPECT_EQ(nodeTemplate->getElementMetaData(10), nullptr);
    EXPECT_EQ(std::as_const(*nodeTemplate).getElementMetaData(10), nullptr);
    EXPECT_EQ(nodeTemplate->getElementMetaData(kEnd), nullptr);
}

TEST_F(NodeTemplateTest, AnAttributeTakesWhatItsDefinitionSays)
{
    StringAttributeMetaDataDef definition;
    int setter = 0;
    std::wstring display = L"The label";
    std::wstring doc = L"Shown beside the node";
    ASSERT_TRUE(definition.setDefaultValue(L"a default that takes memory of its own"));
    definition.setDisplayName(display.c_str());
    definition.setDocString(doc.c_str());
    definition.setFlags(ElementMetaDataFlag::kDontSave);
    definition.setConnectionSetter(&setter);
    ASSERT_EQ(nodeTemplate->addAttribute(definition, L"label"), Status::kSuccess);
    definition.clear();
    display.assign(display.size(), L'x');
    doc.assign(doc.size(), L'x');

    const ElementMetaData& label = *nodeTemplate->getElementMetaData(0);
    EXPECT_STREQ(label.getName(), L"label");
    EXPECT_EQ(label.getTypeId(), AttributeType::kString);
    EXPECT_TRUE(label.getDefaultValue().getString() == L"a default that takes memory of its own");
    EXPECT_STREQ(label.getDisplayName(), L"The label");
    EXPECT_STREQ(label.getDocString(), L"Shown beside the node");
    EXPECT_EQ(label.getFlags(), ElementMetaDataFlag::kDontSave);
    EXPECT_EQ(label.getConnectionSetter(), &setter);
    EXPECT_FALSE(label.isAttributeArray());
    EXPECT_FALSE(label.hasComputeSet());
    EXPECT_FALSE(label.hasOutputComputeSets());
}

TEST_F(NodeTemplateTest, ADefinitionOfAnArrayMakesAnAttributeArray)
{
    FloatAttributeMetaDataDef definition;
    definition.setArray(true);
    ASSERT_EQ(nodeTemplate->addAttribute(definition, L"weights"), Status::kSuccess);
    EXPECT_TRUE(nodeTemplate->getElementMetaData(0)->isAttributeArray());
    EXPECT_EQ(nodeTemplate->getElementMetaData(0)->getTypeId(), AttributeType::kFloat);
}

/// A definition that never got a type.
class TypelessDefinition : public ElementMetaDataDef
{
public:
    TypelessDefinition() : ElementMetaDataDef(AttributeType::kNoType) {}
    const ElementMetaData* makeMetaData(const wchar_t*, MemoryResource&) const override { return nullptr; }
};

/// Measures the wrong size: too little for the record, or more than a block can have.
class MismeasuringDefinition : public IntAttributeMetaDataDef
{
public:
    explicit MismeasuringDefinition(std::uint32_t bytes) : bytes_(bytes) {}
    void getMemoryRequirements(MemoryFormat& format) const override { format.add(bytes_, 4); }

private:
    std::uint32_t bytes_;
};

/// Measures rightly and then makes nothing.
class RefusingDefinition : public IntAttributeMetaDataDef
{
public:
    const ElementMetaData* makeMetaData(const wchar_t*, MemoryResource&) const override { return nullptr; }
};

TEST_F(NodeTemplateTest, ADefinitionThatMakesNoRecordIsRefused)
{
    const TypelessDefinition typeless;
    const MismeasuringDefinition tooLittle(0);
    const MismeasuringDefinition tooMuch(MemoryFormat::kTooLarge);
    const RefusingDefinition refusing;
    struct Row
    {
        const char* name;
        const ElementMetaDataDef& definition;
    };
    const Row rows[] = {{"no type", typeless},
                        {"measures too little", tooLittle},
                        {"measures too much", tooMuch},
                        {"makes nothing", refusing}};
    for (const unsigned int elements : {0u, 3u}) // the second time with a name index in the making
    {
        addInts(elements);
        const TemplateState before(*nodeTemplate);
        for (const Row& row : rows)
        {
            SCOPED_TRACE(row.name);
            unsigned int index = kUntouched;
            EXPECT_EQ(nodeTemplate->addAttribute(row.definition, L"new", &index), Status::kFailure);
            EXPECT_EQ(index, kUntouched);
            EXPECT_EQ(TemplateState(*nodeTemplate), before);
            EXPECT_TRUE(nodeTemplate->isElementNameUnique(L"new"));
        }
    }
}

TEST_F(NodeTemplateTest, NamesHaveOneToFortyUtf16Units)
{
    const std::wstring emoji = L"\U0001F600"; // two units on every platform
    std::wstring twentyEmoji;
    for (int i = 0; i < 20; ++i)
        twentyEmoji += emoji;
    struct Row
    {
        const char* name;
        std::wstring elementName;
        Status expected;
    };
    const Row rows[] = {{"1 character", L"x", Status::kSuccess},
                        {"40 characters", std::wstring(40, L'x'), Status::kSuccess},
                        {"20 surrogate pairs", twentyEmoji, Status::kSuccess},
                        {"empty", L"", Status::kEmptyAttributeName},
                        {"41 characters", std::wstring(41, L'x'), Status::kNameTooLong},
                        {"39 characters and a pair", std::wstring(39, L'x') + emoji, Status::kNameTooLong},
                        {"a pair too many", twentyEmoji + emoji, Status::kNameTooLong},
                        {"very long", std::wstring(100000, L'x'), Status::kNameTooLong}};
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        const TemplateState before(*nodeTemplate);
        unsigned int index = kUntouched;
        EXPECT_EQ(nodeTemplate->addAttribute(integer, row.elementName.c_str(), &index), row.expected);
        if (row.expected == Status::kSuccess)
        {
            EXPECT_EQ(nodeTemplate->getElementMetaData(index)->getName(), row.elementName);
            EXPECT_EQ(nodeTemplate->findElementByName(row.elementName.c_str()), index);
        }
        else
        {
            EXPECT_EQ(index, kUntouched);
            EXPECT_EQ(TemplateState(*nodeTemplate), before);
        }
    }
}

TEST_F(NodeTemplateTest, ANullNameIsRefused)
{
    unsigned int index = kUntouched;
    EXPECT_EQ(nodeTemplate->addAttribute(integer, nullptr, &index), Status::kNullAttributeName);
    EXPECT_EQ(index, kUntouched);
    EXPECT_EQ(nodeTemplate->getElementCount(), 0u);
}

TEST_F(NodeTemplateTest, ATakenNameIsRefusedBeforeAndAfterTheFourthElement)
{
    for (unsigned int count = 1; count <= 10; ++count)
    {
        addInts(1);
        const TemplateState before(*nodeTemplate);
        for (unsigned int taken = 0; taken < count; ++taken)
        {
            SCOPED_TRACE(::testing::Message() << "element " << taken << " of " << count);
            unsigned int index = kUntouched;
            const std::wstring name = nameOf(taken);
            EXPECT_FALSE(nodeTemplate->isElementNameUnique(name.c_str()));
            EXPECT_EQ(nodeTemplate->addAttribute(integer, name.c_str(), &index), Status::kDuplicateAttributeName);
            EXPECT_EQ(index, kUntouched);
            EXPECT_EQ(TemplateState(*nodeTemplate), before);
        }
        EXPECT_TRUE(nodeTemplate->isElementNameUnique(nameOf(count).c_str()));
    }
}

TEST_F(NodeTemplateTest, NamesOfTheSameHashAreTheSameNameBeforeAndAfterTheFourthElement)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    for (const unsigned int others : {0u, 1u, 2u, 3u, 9u})
    {
        SCOPED_TRACE(others);
        nodeTemplate = makeTemplate();
        ASSERT_EQ(nodeTemplate->addAttribute(integer, names.first.c_str()), Status::kSuccess);
        addInts(others);
        EXPECT_FALSE(nodeTemplate->isElementNameUnique(names.second.c_str()));
        EXPECT_EQ(nodeTemplate->addAttribute(integer, names.second.c_str()), Status::kDuplicateAttributeName);
        EXPECT_EQ(nodeTemplate->getElementCount(), others + 1);
    }
}

/// A template that has a node, or had its registration mark taken away by a host.
class NodeTemplateInUseTest : public ::testing::Test
{
protected:
    NodeTemplateInUseTest()
    {
        auto owned = std::make_unique<NodeTemplate>(L"Used", 9, scene.module());
        EXPECT_EQ(owned->addAttribute(IntAttributeMetaDataDef(), L"a"), Status::kSuccess);
        used = owned.get();
        EXPECT_EQ(scene.registry().registerNodeTemplate(owned.release()), Status::kSuccess);
        node = scene.nodeOf(9, L"node");
    }

    Scene scene;
    NodeTemplate* used;
    Node* node;
};

TEST_F(NodeTemplateInUseTest, ARegisteredTemplateRefusesToGrowBeforeAnythingElseIsLookedAt)
{
    const TemplateState before(*used);
    unsigned int index = kUntouched;
    EXPECT_EQ(used->addAttribute(IntAttributeMetaDataDef(), L"b", &index), Status::kAddAttributeToRegistered);
    EXPECT_EQ(used->addAttribute(IntAttributeMetaDataDef(), nullptr, &index), Status::kAddAttributeToRegistered);
    EXPECT_EQ(used->addComputeSet(nullptr, nullptr, nullptr, nullptr, &index), Status::kAddComputeSetToRegistered);
    EXPECT_EQ(index, kUntouched);
    EXPECT_EQ(TemplateState(*used), before);
    EXPECT_TRUE(scene.log().lines().empty());
}

TEST_F(NodeTemplateInUseTest, ATemplateWithNodesRefusesToGrowBeforeTheArgumentsAreLookedAt)
{
    used->clearFlag(NodeTemplateFlag::kRegistered);
    const TemplateState before(*used);
    unsigned int index = kUntouched;
    EXPECT_EQ(used->addAttribute(IntAttributeMetaDataDef(), L"b", &index), Status::kTemplateInUse);
    EXPECT_EQ(used->addAttribute(IntAttributeMetaDataDef(), nullptr, &index), Status::kTemplateInUse);
    EXPECT_EQ(used->addComputeSet(nullptr, nullptr, nullptr, nullptr, &index), Status::kTemplateInUse);
    EXPECT_EQ(index, kUntouched);
    EXPECT_EQ(TemplateState(*used), before);
    used->setFlag(NodeTemplateFlag::kRegistered);
}

TEST_F(NodeTemplateInUseTest, TheReferenceCountCountsTheNodesInMemory)
{
    EXPECT_EQ(used->getReferenceCount(), 1u);
    Node* const second = scene.nodeOf(9, L"second");
    EXPECT_EQ(used->getReferenceCount(), 2u);
    ASSERT_EQ(scene.core().db_destroyLeafNode(second), Status::kSuccess);
    EXPECT_EQ(used->getReferenceCount(), 2u);
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    EXPECT_EQ(used->getReferenceCount(), 1u);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    EXPECT_EQ(used->getReferenceCount(), 0u);
}

TEST_F(NodeTemplateTest, WithoutMemoryAnAttributeIsNotAdded)
{
    StringAttributeMetaDataDef definition;
    ASSERT_TRUE(definition.setDefaultValue(L"a default that takes memory of its own"));
    definition.setDisplayName(L"display name");
    definition.setDocString(L"doc string");
    for (unsigned int i = 0; i < 20; ++i) // the fourth makes the name index; others make lists grow
    {
        SCOPED_TRACE(::testing::Message() << "element " << i);
        const TemplateState before(*nodeTemplate);
        const std::wstring name = nameOf(i);
        unsigned int index = kUntouched;
        const std::size_t failures = db2test::failUntilMemorySuffices(
            [&] { return nodeTemplate->addAttribute(definition, name.c_str(), &index); },
            [&] {
                EXPECT_EQ(index, kUntouched);
                EXPECT_EQ(TemplateState(*nodeTemplate), before);
                EXPECT_TRUE(nodeTemplate->isElementNameUnique(name.c_str()));
                EXPECT_EQ(nodeTemplate->findElementByName(name.c_str()), kEnd);
            });
        ASSERT_GT(failures, 0u);
        ASSERT_EQ(index, i);
        ASSERT_EQ(nodeTemplate->findElementByName(name.c_str()), i);
    }
}

// --- Finding elements ---

TEST_F(NodeTemplateTest, FindsElementsByTheirNames)
{
    addInts(50);
    for (unsigned int i = 0; i < 50; ++i)
        EXPECT_EQ(nodeTemplate->findElementByName(nameOf(i).c_str()), i);
    EXPECT_EQ(nodeTemplate->findElementByName(L"absent"), 0xFFFFFFFFu);
    EXPECT_EQ(nodeTemplate->findElementByName(L"Element 3"), 0xFFFFFFFFu);
    EXPECT_EQ(nodeTemplate->findElementByName(L""), 0xFFFFFFFFu);
    EXPECT_EQ(nodeTemplate->findElementByName(nullptr), 0xFFFFFFFFu);
    EXPECT_TRUE(nodeTemplate->isElementNameUnique(L"absent"));
    EXPECT_TRUE(nodeTemplate->isElementNameUnique(nullptr));
}

TEST_F(NodeTemplateTest, AnEmptyTemplateHasNoNames)
{
    EXPECT_EQ(nodeTemplate->findElementByName(L"absent"), 0xFFFFFFFFu);
    EXPECT_TRUE(nodeTemplate->isElementNameUnique(L"absent"));
}

TEST_F(NodeTemplateTest, FindsByTextAndNotByHash)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    for (const unsigned int others : {0u, 2u, 3u, 9u})
    {
        SCOPED_TRACE(others);
        nodeTemplate = makeTemplate();
        addInts(others);
        ASSERT_EQ(nodeTemplate->addAttribute(integer, names.first.c_str()), Status::kSuccess);
        EXPECT_EQ(nodeTemplate->findElementByName(names.first.c_str()), others);
        EXPECT_EQ(nodeTemplate->findElementByName(names.second.c_str()), 0xFFFFFFFFu);
    }
}

// --- The layout of a node ---

/// Where things stand in a node's block, worked out from the sizes of the records and values.
struct Layout
{
    std::size_t size = sizeof(Node);
    std::size_t alignment = alignof(Node);
    std::vector<std::size_t> recordOffsets; ///< by element index
    std::vector<std::size_t> valueOffsets;  ///< by element index; of arrays without meaning

    explicit Layout(const NodeTemplate& nodeTemplate)
    {
        for (unsigned int i = 0; i < nodeTemplate.getElementCount(); ++i)
        {
            const ElementMetaData& element = *nodeTemplate.getElementMetaData(i);
            const AttributeTypeId type = element.getTypeId();
            const bool isArray = element.isAttributeArray();
            recordOffsets.push_back(isArray ? place(sizeof(AttributeArray), alignof(AttributeArray))
                                            : place(sizeof(Attribute), alignof(Attribute)));
            valueOffsets.push_back(
                isArray ? 0 : place(ValueInfo::getMemoryRequirements(type).size, ValueInfo::getStorageAlignment(type)));
        }
    }

private:
    std::size_t place(std::size_t bytes, std::size_t objectAlignment)
    {
        while (size % objectAlignment != 0)
            ++size;
        alignment = std::max(alignment, objectAlignment);
        size += bytes;
        return size - bytes;
    }
};

void expectLaidOut(const NodeTemplate& nodeTemplate)
{
    const Layout expected(nodeTemplate);
    EXPECT_EQ(nodeTemplate.getNodeMemoryRequirements().size, expected.size);
    EXPECT_EQ(nodeTemplate.getNodeMemoryRequirements().alignment, expected.alignment);
}

TEST_F(NodeTemplateTest, RecordsHaveNoMoreWordsThanDesigned)
{
    // The design's figures for 32 bits: 112, 24 and 36 bytes.
    EXPECT_LE(sizeof(Node), 28 * sizeof(void*));
    EXPECT_LE(sizeof(Attribute), 6 * sizeof(void*));
    EXPECT_LE(sizeof(AttributeArray), 9 * sizeof(void*));
}

TEST_F(NodeTemplateTest, ANodeWithoutElementsIsItsRecord)
{
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().size, sizeof(Node));
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().alignment, alignof(Node));
    EXPECT_GE(nodeTemplate->getNodeMemoryRequirements().alignment, 4u);
}

TEST_F(NodeTemplateTest, AnArrayAddsItsRecordAlone)
{
    MatrixAttributeMetaDataDef definition;
    definition.setArray(true);
    ASSERT_EQ(nodeTemplate->addAttribute(definition, L"poses"), Status::kSuccess);
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().size, sizeof(Node) + sizeof(AttributeArray));
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().alignment, alignof(Node));
}

TEST_F(NodeTemplateTest, AnIntAddsItsRecordAndFourBytes)
{
    addInts(1);
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().size, sizeof(Node) + sizeof(Attribute) + 4);
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().alignment, alignof(Node));
}

TEST_F(NodeTemplateTest, AnAttributeOfEachTypeAddsItsRecordAndItsAlignedValue)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        for (const bool isArray : {false, true})
        {
            SCOPED_TRACE(::testing::Message() << ValueInfo::getTypeName(typeId) << (isArray ? " items" : ""));
            definition->setArray(isArray);
            nodeTemplate = makeTemplate();
            ASSERT_EQ(nodeTemplate->addAttribute(*definition, L"only"), Status::kSuccess);
            expectLaidOut(*nodeTemplate);
        }
    }
}

TEST_F(NodeTemplateTest, AValueOfSixteenBytesRaisesTheNodesAlignment)
{
    addInts(1);
    ASSERT_EQ(nodeTemplate->addAttribute(QuatAttributeMetaDataDef(), L"turn"), Status::kSuccess);
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().alignment, 16u);
    addInts(1);
    EXPECT_EQ(nodeTemplate->getNodeMemoryRequirements().alignment, 16u); // and it stays
    expectLaidOut(*nodeTemplate);
}

/// Adds elements of random types, every fifth an array.
void addRandomElements(NodeTemplate& nodeTemplate, Random& random, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i)
    {
        const auto type = static_cast<AttributeTypeId>(random.below(kAttributeTypeCount));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(type));
        if (type == AttributeType::kEnum)
            static_cast<EnumAttributeMetaDataDef&>(*definition).addChoice(L"only");
        definition->setArray(random.chance(1, 5));
        ASSERT_EQ(nodeTemplate.addAttribute(*definition, nameOf(i).c_str()), Status::kSuccess);
    }
}

TEST_F(NodeTemplateTest, RandomElementsAreLaidOutOneAfterTheOther)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 200; ++round)
    {
        nodeTemplate = makeTemplate();
        addRandomElements(*nodeTemplate, random, static_cast<unsigned int>(random.below(25)));
        expectLaidOut(*nodeTemplate);
    }
}

TEST(NodeLayoutTest, ElementsAndValuesOfANodeStandWhereTheLayoutPutsThem)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 20; ++round)
    {
        Scene scene;
        auto* const nodeTemplate = new NodeTemplate(L"Random", 9, scene.module());
        addRandomElements(*nodeTemplate, random, 25);
        const Layout expected(*nodeTemplate);
        ASSERT_EQ(scene.registry().registerNodeTemplate(nodeTemplate), Status::kSuccess);

        const Node* const node = scene.nodeOf(9, L"node");
        const auto offsetOf = [node](const void* address) {
            return static_cast<std::size_t>(static_cast<const std::byte*>(address) -
                                            reinterpret_cast<const std::byte*>(node));
        };
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node) % expected.alignment, 0u);
        for (unsigned int i = 0; i < nodeTemplate->getElementCount(); ++i)
        {
            const Element* const element = node->getElement(i);
            EXPECT_EQ(offsetOf(element), expected.recordOffsets[i]) << "element " << i;
            if (element->isAttributeArray() || element->getTypeId() == AttributeType::kNull)
                continue;
            const ConstValueHandle value = static_cast<const Attribute*>(element)->getValue();
            EXPECT_EQ(offsetOf(&value.getBool()), expected.valueOffsets[i]) << "value " << i;
        }
    }
}

// --- Compute sets ---

TEST_F(NodeTemplateTest, AComputeSetIsKeptAndItsOutputsAreMarked)
{
    addInts(5);
    const unsigned int inputs[] = {3, 0, 3, kEnd};
    const unsigned int outputs[] = {4, 1, kEnd};
    int userData = 0;
    unsigned int index = kUntouched;
    ASSERT_EQ(nodeTemplate->addComputeSet(inputs, outputs, computeNothing, &userData, &index), Status::kSuccess);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(nodeTemplate->getComputeSetCount(), 1u);
    EXPECT_TRUE(nodeTemplate->hasComputeSets());

    const ComputeSet& set = *nodeTemplate->getComputeSet(0);
    EXPECT_EQ(std::vector<unsigned int>(set.getInputs(), set.getInputs() + set.getInputCount()),
              (std::vector<unsigned int>{3, 0, 3}));
    EXPECT_EQ(std::vector<unsigned int>(set.getOutputs(), set.getOutputs() + set.getOutputCount()),
              (std::vector<unsigned int>{4, 1}));
    EXPECT_EQ(set.getComputeFunction(), computeNothing);
    EXPECT_EQ(set.getUserData(), &userData);
    EXPECT_TRUE(set.getOutputSets().empty());

    for (unsigned int i = 0; i < 5; ++i)
    {
        SCOPED_TRACE(i);
        const ElementMetaData& element = *nodeTemplate->getElementMetaData(i);
        const bool isOutput = i == 1 || i == 4;
        EXPECT_EQ(element.getFlags(), isOutput ? ElementMetaDataFlag::kComputed : 0u);
        EXPECT_EQ(element.hasComputeSet(), isOutput);
        EXPECT_EQ(element.getComputeSet(), isOutput ? 0u : ElementMetaData::kNoComputeSet);
    }
}

TEST_F(NodeTemplateTest, ComputeSetsGetIndicesInTheOrderInWhichTheyAreAdded)
{
    addInts(4);
    unsigned int index = kUntouched;
    ASSERT_EQ(addSet({0}, {1}, &index), Status::kSuccess);
    EXPECT_EQ(index, 0u);
    ASSERT_EQ(addSet({0, 1}, {2}, &index), Status::kSuccess); // an output as input, an input again
    EXPECT_EQ(index, 1u);
    ASSERT_EQ(addSet({2}, {3}), Status::kSuccess);
    EXPECT_EQ(nodeTemplate->getComputeSetCount(), 3u);
    EXPECT_EQ(nodeTemplate->getElementMetaData(3)->getComputeSet(), 2u);
    EXPECT_EQ(nodeTemplate->getComputeSet(3), nullptr);
    EXPECT_EQ(nodeTemplate->getComputeSet(kEnd), nullptr);
}

TEST_F(NodeTemplateTest, AComputeFunctionMayBeNull)
{
    addInts(2);
    const unsigned int input[] = {0, kEnd};
    const unsigned int output[] = {1, kEnd};
    EXPECT_EQ(nodeTemplate->addComputeSet(input, output, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(nodeTemplate->getComputeSet(0)->getComputeFunction(), nullptr);
}

TEST_F(NodeTemplateTest, ArraysMayBeInputsAndOutputs)
{
    FloatAttributeMetaDataDef definition;
    definition.setArray(true);
    ASSERT_EQ(nodeTemplate->addAttribute(definition, L"in"), Status::kSuccess);
    ASSERT_EQ(nodeTemplate->addAttribute(definition, L"out"), Status::kSuccess);
    EXPECT_EQ(addSet({0}, {1}), Status::kSuccess);
    EXPECT_EQ(nodeTemplate->getElementMetaData(1)->getFlags(),
              ElementMetaDataFlag::kArray | ElementMetaDataFlag::kComputed);
}

/// Elements 0 to 3 are free, 4 is computed already, 5 takes part in no compute set; 6 is not there.
class AddComputeSetTest : public NodeTemplateTest
{
protected:
    AddComputeSetTest()
    {
        addInts(5);
        IntAttributeMetaDataDef loner;
        loner.setFlags(ElementMetaDataFlag::kNotConnectable);
        EXPECT_EQ(nodeTemplate->addAttribute(loner, L"loner"), Status::kSuccess);
        EXPECT_EQ(addSet({0}, {4}), Status::kSuccess);
    }
};

TEST_F(AddComputeSetTest, ChecksInItsOrderAndRefusalsChangeNothing)
{
    using Indices = std::vector<unsigned int>;
    struct Row
    {
        const char* name;
        Indices inputs;
        Indices outputs;
        Status expected;
    };
    const Row rows[] = {
        {"input out of range", {6}, {1}, Status::kComputeInputOutOfRange},
        {"input far out of range", {0xFFFFFFFE}, {1}, Status::kComputeInputOutOfRange},
        {"second input out of range", {0, 6}, {1}, Status::kComputeInputOutOfRange},
        {"input not connectable", {0, 5}, {1}, Status::kComputeElementNotConnectable},
        {"inputs are checked in order: range first", {6, 5}, {1}, Status::kComputeInputOutOfRange},
        {"inputs are checked in order: connectable first", {5, 6}, {1}, Status::kComputeElementNotConnectable},
        {"input range before no outputs", {6}, {}, Status::kComputeInputOutOfRange},
        {"input connectable before no outputs", {5}, {}, Status::kComputeElementNotConnectable},
        {"inputs before outputs", {6}, {5}, Status::kComputeInputOutOfRange},
        {"no outputs", {0}, {}, Status::kNoComputeOutputs},
        {"no outputs before no inputs", {}, {}, Status::kNoComputeOutputs},
        {"output out of range", {0}, {6}, Status::kComputeOutputOutOfRange},
        {"second output out of range", {0}, {1, 6}, Status::kComputeOutputOutOfRange},
        {"output not connectable", {0}, {1, 5}, Status::kComputeElementNotConnectable},
        {"output computed already", {0}, {1, 4}, Status::kOutputAlreadyComputed},
        {"outputs are checked in order: range first", {0}, {6, 5, 4}, Status::kComputeOutputOutOfRange},
        {"outputs are checked in order: connectable first", {0}, {5, 4, 6}, Status::kComputeElementNotConnectable},
        {"outputs are checked in order: computed first", {0}, {4, 6, 5}, Status::kOutputAlreadyComputed},
        {"output range before no inputs", {}, {6}, Status::kComputeOutputOutOfRange},
        {"output connectable before no inputs", {}, {5}, Status::kComputeElementNotConnectable},
        {"output computed before no inputs", {}, {4}, Status::kOutputAlreadyComputed},
        {"no inputs", {}, {1}, Status::kNoComputeInputs},
    };
    const TemplateState before(*nodeTemplate);
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        unsigned int index = kUntouched;
        EXPECT_EQ(addSet(row.inputs, row.outputs, &index), row.expected);
        EXPECT_EQ(index, kUntouched);
        EXPECT_EQ(TemplateState(*nodeTemplate), before);
    }
}

TEST_F(AddComputeSetTest, ANullListIsRefusedBeforeItsIndicesAreLookedAtTheInputsFirst)
{
    const unsigned int outOfRange[] = {6, kEnd};
    const unsigned int empty[] = {kEnd};
    const TemplateState before(*nodeTemplate);
    EXPECT_EQ(nodeTemplate->addComputeSet(nullptr, nullptr, nullptr, nullptr), Status::kNullComputeInputs);
    EXPECT_EQ(nodeTemplate->addComputeSet(nullptr, outOfRange, nullptr, nullptr), Status::kNullComputeInputs);
    EXPECT_EQ(nodeTemplate->addComputeSet(outOfRange, nullptr, nullptr, nullptr), Status::kNullComputeOutputs);
    EXPECT_EQ(nodeTemplate->addComputeSet(empty, nullptr, nullptr, nullptr), Status::kNullComputeOutputs);
    EXPECT_EQ(TemplateState(*nodeTemplate), before);
}

TEST_F(AddComputeSetTest, AComputedElementIsRefusedAfterNotConnectable)
{
    nodeTemplate->getElementMetaData(4)->setFlags(ElementMetaDataFlag::kComputed |
                                                  ElementMetaDataFlag::kNotConnectable);
    EXPECT_EQ(addSet({0}, {4}), Status::kComputeElementNotConnectable);
}

TEST_F(AddComputeSetTest, WithoutMemoryAComputeSetIsNotAdded)
{
    addInts(20);
    for (unsigned int output = 6; output < 26; ++output) // until the list of sets has grown more than once
    {
        SCOPED_TRACE(output);
        const unsigned int inputs[] = {0, 1, kEnd};
        const unsigned int outputs[] = {output, kEnd};
        const TemplateState before(*nodeTemplate);
        unsigned int index = kUntouched;
        const std::size_t failures = db2test::failUntilMemorySuffices(
            [&] { return nodeTemplate->addComputeSet(inputs, outputs, nullptr, nullptr, &index); },
            [&] {
                EXPECT_EQ(index, kUntouched);
                EXPECT_EQ(TemplateState(*nodeTemplate), before);
            });
        ASSERT_GT(failures, 0u);
        ASSERT_EQ(index, output - 5);
        ASSERT_EQ(nodeTemplate->getElementMetaData(output)->getComputeSet(), index);
    }
}

// --- Merging ---

/// A template, and another one to merge into it.
class MergeTemplateTest : public NodeTemplateTest
{
protected:
    std::unique_ptr<NodeTemplate> other = makeTemplate();
};

TEST_F(MergeTemplateTest, AddsTheOthersElementsInTheirOrder)
{
    addInts(2);
    FloatAttributeMetaDataDef limited;
    limited.setDefaultValue(2.5f);
    limited.setMin(-1.0f);
    limited.setUnitType(kqx::kUnitAngle);
    limited.setDisplayName(L"Turn");
    limited.setDocString(L"Around the axis");
    limited.setFlags(ElementMetaDataFlag::kAlwaysSave);
    StringAttributeMetaDataDef texts;
    ASSERT_TRUE(texts.setDefaultValue(L"a default that takes memory of its own"));
    texts.setArray(true);
    ASSERT_EQ(other->addAttribute(limited, L"turn"), Status::kSuccess);
    ASSERT_EQ(other->addAttribute(texts, L"texts"), Status::kSuccess);
    const std::unique_ptr<NodeTemplate> alike = makeTemplate();
    ASSERT_EQ(alike->addAttribute(limited, L"turn"), Status::kSuccess);
    ASSERT_EQ(alike->addAttribute(texts, L"texts"), Status::kSuccess);

    nodeTemplate->mergeTemplate(other.get());
    other.reset(); // what was merged stands on its own

    ASSERT_EQ(nodeTemplate->getElementCount(), 4u);
    const ElementMetaData& turn = *nodeTemplate->getElementMetaData(2);
    EXPECT_TRUE(turn.compare(*alike->getElementMetaData(0)));
    EXPECT_EQ(turn.getDefaultValue().getFloat(), 2.5f);
    EXPECT_TRUE(nodeTemplate->getElementMetaData(3)->compare(*alike->getElementMetaData(1)));
    EXPECT_TRUE(nodeTemplate->getElementMetaData(3)->isAttributeArray());
    EXPECT_TRUE(nodeTemplate->getElementMetaData(3)->getDefaultValue().getString() ==
                L"a default that takes memory of its own");
    EXPECT_EQ(nodeTemplate->findElementByName(L"turn"), 2u);
    EXPECT_FALSE(nodeTemplate->isElementNameUnique(L"texts"));
    expectLaidOut(*nodeTemplate);
}

TEST_F(MergeTemplateTest, AnExistingElementWins)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    ASSERT_EQ(nodeTemplate->addAttribute(integer, L"both"), Status::kSuccess);
    ASSERT_EQ(nodeTemplate->addAttribute(integer, names.first.c_str()), Status::kSuccess);
    const FloatAttributeMetaDataDef number;
    for (const wchar_t* const name : {L"before", L"both", names.second.c_str(), L"behind"})
        ASSERT_EQ(other->addAttribute(number, name), Status::kSuccess);

    nodeTemplate->mergeTemplate(other.get());
    ASSERT_EQ(nodeTemplate->getElementCount(), 4u);
    EXPECT_EQ(nodeTemplate->getElementMetaData(0)->getTypeId(), AttributeType::kInt);
    EXPECT_STREQ(nodeTemplate->getElementMetaData(2)->getName(), L"before");
    EXPECT_STREQ(nodeTemplate->getElementMetaData(3)->getName(), L"behind");
}

TEST_F(MergeTemplateTest, AddsTheOthersFlagsExceptTheRegistrationMark)
{
    nodeTemplate->setFlag(0x2);
    other->setFlag(NodeTemplateFlag::kRegistered | 0x4 | 0x80000000u);
    nodeTemplate->mergeTemplate(other.get());
    EXPECT_TRUE(nodeTemplate->hasFlag(0x2 | 0x4 | 0x80000000u));
    EXPECT_FALSE(nodeTemplate->hasFlag(NodeTemplateFlag::kRegistered));
    EXPECT_FALSE(nodeTemplate->hasFlag(0x8));
}

TEST_F(MergeTemplateTest, LeavesTheComputeSetsBehind)
{
    std::swap(nodeTemplate, other);
    addInts(3);
    ASSERT_EQ(addSet({0}, {1}), Status::kSuccess);
    ASSERT_EQ(addSet({1}, {2}), Status::kSuccess);
    NodeRegistry registry;
    ASSERT_EQ(registry.registerNodeTemplate(nodeTemplate.get()), Status::kSuccess); // its elements have outputs now
    const NodeTemplate* const source = nodeTemplate.release();
    ASSERT_TRUE(source->getElementMetaData(1)->hasOutputComputeSets());

    other->mergeTemplate(source);
    ASSERT_EQ(other->getElementCount(), 3u);
    EXPECT_FALSE(other->hasComputeSets());
    for (unsigned int i = 0; i < 3; ++i)
    {
        SCOPED_TRACE(i);
        const ElementMetaData& element = *other->getElementMetaData(i);
        EXPECT_EQ(element.getFlags(), 0u);
        EXPECT_FALSE(element.hasComputeSet());
        EXPECT_EQ(element.getOutputComputeSet(), ElementMetaData::kNoComputeSet);
        EXPECT_EQ(element.getOutputComputeSetSize(), 0u);
    }
    EXPECT_TRUE(source->getElementMetaData(1)->hasComputeSet()); // of its own
}

TEST_F(MergeTemplateTest, MergedElementsCanBeComputed)
{
    ASSERT_EQ(other->addAttribute(integer, L"a"), Status::kSuccess);
    ASSERT_EQ(other->addAttribute(integer, L"b"), Status::kSuccess);
    nodeTemplate->mergeTemplate(other.get());
    EXPECT_EQ(addSet({0}, {1}), Status::kSuccess);
}

TEST_F(MergeTemplateTest, ItselfAndNullChangeNothing)
{
    addInts(5);
    ASSERT_EQ(addSet({0}, {1}), Status::kSuccess);
    const TemplateState before(*nodeTemplate);
    nodeTemplate->mergeTemplate(nodeTemplate.get());
    nodeTemplate->mergeTemplate(nullptr);
    EXPECT_EQ(TemplateState(*nodeTemplate), before);
}

TEST_F(MergeTemplateTest, ARegisteredTemplateTakesFlagsButNoElements)
{
    addInts(1);
    NodeRegistry registry;
    ASSERT_EQ(registry.registerNodeTemplate(nodeTemplate.get()), Status::kSuccess);
    NodeTemplate* const registered = nodeTemplate.release();
    ASSERT_EQ(other->addAttribute(integer, L"new"), Status::kSuccess);
    other->setFlag(0x2);
    registered->mergeTemplate(other.get());
    EXPECT_EQ(registered->getElementCount(), 1u);
    EXPECT_TRUE(registered->hasFlag(0x2 | NodeTemplateFlag::kRegistered));
}

TEST_F(MergeTemplateTest, WithoutMemoryElementsAreLeftOutWhole)
{
    StringAttributeMetaDataDef definition;
    ASSERT_TRUE(definition.setDefaultValue(L"a default that takes memory of its own"));
    for (unsigned int i = 0; i < 6; ++i)
        ASSERT_EQ(other->addAttribute(definition, nameOf(i).c_str()), Status::kSuccess);
    bool refused = true;
    for (std::size_t granted = 0; refused; ++granted)
    {
        SCOPED_TRACE(::testing::Message() << "allocations granted: " << granted);
        ASSERT_LT(granted, 1000u);
        nodeTemplate = makeTemplate();
        {
            const HeapThatRunsOut heap(granted);
            ASSERT_NO_THROW(nodeTemplate->mergeTemplate(other.get()));
            refused = heap.hasRunOut();
        }
        expectLaidOut(*nodeTemplate);
        for (unsigned int i = 0; i < nodeTemplate->getElementCount(); ++i)
        {
            const ElementMetaData& element = *nodeTemplate->getElementMetaData(i);
            EXPECT_EQ(nodeTemplate->findElementByName(element.getName()), i);
            EXPECT_TRUE(element.getDefaultValue().getString() == L"a default that takes memory of its own");
        }
    }
    EXPECT_EQ(nodeTemplate->getElementCount(), 6u);
}

// --- The host's objects ---

/// Answers every node with the same object.
class RecordingFactory : public APIBaseFactory
{
public:
    void* createNodeAPI(Node* node, void* userData) override
    {
        calls.emplace_back(node, userData);
        return &object;
    }

    std::vector<std::pair<Node*, void*>> calls;
    int object = 0;
};

class RecordingUnknownFactory : public UnknownAPINodeFactory
{
public:
    explicit RecordingUnknownFactory(unsigned int typeId) : typeId_(typeId) {}

    void* createNodeAPI(Node* node, void* userData, unsigned int* outTypeId) override
    {
        calls.emplace_back(node, userData);
        *outTypeId = typeId_;
        return &object;
    }

    std::vector<std::pair<Node*, void*>> calls;
    int object = 0;

private:
    unsigned int typeId_;
};

TEST(APIFactoryTest, TheTemplatesFactoryMakesTheObjectOfEachNewNode)
{
    RecordingFactory factory; // outlives the nodes
    Scene scene;
    auto* const nodeTemplate = new NodeTemplate(L"Made", 9, scene.module(), &factory);
    EXPECT_EQ(nodeTemplate->getAPINodeFactory(), &factory);
    ASSERT_EQ(scene.registry().registerNodeTemplate(nodeTemplate), Status::kSuccess);
    EXPECT_TRUE(factory.calls.empty());

    Node* const first = scene.nodeOf(9, L"first");
    Node* const second = scene.nodeOf(9, L"second");
    void* const userData = scene.core().getUserData();
    ASSERT_NE(userData, nullptr);
    EXPECT_EQ(factory.calls, (std::vector<std::pair<Node*, void*>>{{first, userData}, {second, userData}}));
    EXPECT_EQ(first->getAPI(), &factory.object);
}

TEST(APIFactoryTest, WithoutAFactoryANodeHasNoObject)
{
    Scene scene;
    EXPECT_EQ(scene.nodeOf(Scene::kPlain, L"node")->getAPI(), nullptr);
}

TEST(APIFactoryTest, UnknownAndLegacyNodesHaveFactoriesOfTheirOwnThatChooseTheTypeId)
{
    RecordingUnknownFactory unknownFactory(4711);
    RecordingUnknownFactory legacyFactory(4712);
    Scene scene(&unknownFactory, &legacyFactory);
    Node* const unknown = scene.unknownNode(L"unknown");
    Node* const legacy = scene.unknownNode(L"legacy", nullptr, true);
    void* const userData = scene.core().getUserData();

    EXPECT_EQ(unknownFactory.calls, (std::vector<std::pair<Node*, void*>>{{unknown, userData}}));
    EXPECT_EQ(unknown->getAPI(), &unknownFactory.object);
    EXPECT_EQ(unknown->getTypeId(), 4711u);
    EXPECT_FALSE(unknown->getNodeTemplate()->hasFlag(NodeTemplateFlag::kRegistered));

    EXPECT_EQ(legacyFactory.calls, (std::vector<std::pair<Node*, void*>>{{legacy, userData}}));
    EXPECT_EQ(legacy->getAPI(), &legacyFactory.object);
    EXPECT_EQ(legacy->getTypeId(), 4712u);
}

TEST(APIFactoryTest, WithoutFactoriesUnknownNodesHaveNoObjectAndTypeIdZero)
{
    Scene scene;
    for (const bool legacy : {false, true})
    {
        SCOPED_TRACE(legacy ? "legacy" : "unknown");
        const Node* const node = scene.unknownNode(L"node", nullptr, legacy);
        EXPECT_EQ(node->getAPI(), nullptr);
        EXPECT_EQ(node->getTypeId(), 0u);
    }
}

} // namespace
