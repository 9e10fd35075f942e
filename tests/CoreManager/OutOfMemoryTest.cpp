#include "support/HeapThatRunsOut.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <UndoAccess.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// A tree to edit while memory runs out. The type "Rich" has defaults that own memory.
class Situation
{
public:
    static constexpr unsigned int kRich = 10;

    Situation()
    {
        auto* const rich = new NodeTemplate(L"Rich", kRich, scene.module());
        StringAttributeMetaDataDef text;
        text.setDefaultValue(kqx::String(L"a default that takes memory"));
        IntArrayAttributeMetaDataDef numbers;
        numbers.setDefaultValue(kqx::IntArray{1, 2, 3});
        VertexBufferAttributeMetaDataDef vertices;
        kqx::VertexBuffer buffer;
        buffer.getStream(buffer.addStream(L"position", 3)) = {1.0f, 2.0f, 3.0f};
        vertices.setDefaultValue(buffer);
        EXPECT_EQ(rich->addAttribute(text, L"text"), Status::kSuccess);
        EXPECT_EQ(rich->addAttribute(numbers, L"numbers"), Status::kSuccess);
        EXPECT_EQ(rich->addAttribute(vertices, L"vertices"), Status::kSuccess);
        text.setArray(true);
        EXPECT_EQ(rich->addAttribute(text, L"texts"), Status::kSuccess);
        EXPECT_EQ(scene.registry().registerNodeTemplate(rich), Status::kSuccess);
        node = scene.nodeOf(kRich, L"node");
        other = scene.node(L"other");
    }

    Element* dynamicText(const std::wstring& name, bool isArray = false)
    {
        StringAttributeMetaDataDef definition;
        definition.setDefaultValue(kqx::String(L"a default that takes memory"));
        definition.setDocString(L"a text of the metadata");
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name.c_str(), node, nullptr, &made), Status::kSuccess);
        return made;
    }

    Element* legacyText(const std::wstring& name)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.createLegacyElement(StringAttributeMetaDataDef(), name.c_str(), node, &made), Status::kSuccess);
        return made;
    }

    AttributeArray* texts(unsigned int size)
    {
        AttributeArray* const array = node->findAttributeArrayByName(L"texts");
        EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    /// Children of the node, so many.
    void children(unsigned int count)
    {
        for (unsigned int i = 0; i < count; ++i)
            scene.nodeOf(Scene::kPlain, (L"child" + std::to_wstring(i)).c_str(), node);
    }

    Scene scene;
    CoreManager& core = scene.core();
    Node* node = nullptr;
    Node* other = nullptr;
};

/// Whether an edit can do without the heap.
enum class Memory
{
    kNeeded,    ///< it makes something, so it must have failed at least once
    kNotNeeded, ///< it makes nothing, and gives memory back at most
    kMayBeTaken ///< nobody promises either
};

/// An edit; what the function returns performs it, any number of times until it succeeds once.
struct Edit
{
    const char* name;
    Memory memory;
    std::function<Status()> (*prepare)(Situation&);
};

void PrintTo(const Edit& edit, std::ostream* out)
{
    *out << edit.name;
}

/// What a dump does not show: memory that was taken and given back, or not.
std::vector<unsigned int> nodesInMemory(const Situation& s)
{
    std::vector<unsigned int> counts;
    for (const unsigned int typeId : {unsigned{Scene::kPlain}, unsigned{Scene::kAll}, Situation::kRich})
        counts.push_back(s.core.getRegistry().lookupNodeTemplate(typeId)->getReferenceCount());
    return counts;
}

std::string nameOf(const ::testing::TestParamInfo<Edit>& edit)
{
    return edit.param.name;
}

class CoreManagerOutOfMemoryTest : public ::testing::TestWithParam<Edit>
{
};

TEST_P(CoreManagerOutOfMemoryTest, AnEditThatFindsNoMemoryFailsAndChangesNothing)
{
    constexpr std::size_t kMostAllocations = 1000; // no edit below needs as many; one that does not end is caught
    Situation situation;
    const std::function<Status()> perform = GetParam().prepare(situation);
    const std::wstring before = dumpTree(situation.core);
    const std::vector<unsigned int> nodesBefore = nodesInMemory(situation);
    situation.scene.log().take();

    std::size_t failures = 0;
    for (std::size_t granted = 0; granted < kMostAllocations; ++granted)
    {
        SCOPED_TRACE(testing::Message() << granted << " allocations granted");
        Status status;
        bool hasRunOut;
        {
            const HeapThatRunsOut heap(granted);
            status = perform();
            hasRunOut = heap.hasRunOut();
        }
        ASSERT_TRUE(situation.scene.log().take().empty());
        if (status == Status::kSuccess)
        {
            EXPECT_TRUE(failures > 0 || GetParam().memory != Memory::kNeeded) << "it took nothing";
            EXPECT_TRUE(failures == 0 || GetParam().memory != Memory::kNotNeeded) << "it took memory";
            return;
        }
        ASSERT_TRUE(hasRunOut) << "it failed for another reason";
        ASSERT_EQ(status, Status::kFailure);
        ASSERT_TRUE(isSameDump(before, dumpTree(situation.core)));
        ASSERT_EQ(nodesInMemory(situation), nodesBefore);
        ++failures;
    }
    FAIL() << "never succeeded";
}

constexpr const wchar_t* kLongName = L"a name that takes memory";

std::function<Status()> creation(Situation& s, unsigned int typeId, const wchar_t* name, Node* parent)
{
    return [&s, typeId, name, parent] { return s.core.db_createNode(typeId, name, parent, nullptr, nullptr); };
}

std::function<Status()> resize(Situation& s, AttributeArray* array, unsigned int size)
{
    return [&s, array, size] { return s.core.db_resizeAttributeArray(array, size); };
}

std::function<Status()> unknownCreation(Situation& s, bool isLegacy)
{
    return [&s, isLegacy] {
        return s.core.db_createUnknownNode(L"a type name that takes memory", s.scene.module(), kLongName, s.node,
                                           nullptr, isLegacy, nullptr);
    };
}

const Edit kNodeEdits[] = {
    {"CreatePlainNode", Memory::kNeeded, [](Situation& s) { return creation(s, Scene::kPlain, kLongName, s.node); }},
    {"CreateRichNode", Memory::kNeeded, [](Situation& s) { return creation(s, Situation::kRich, kLongName, nullptr); }},
    {"CreateNodeOfAllTypes", Memory::kNeeded, [](Situation& s) { return creation(s, Scene::kAll, L"node", nullptr); }},
    {"CreateNodeWithoutAName", Memory::kNeeded,
     [](Situation& s) { return creation(s, Situation::kRich, nullptr, s.node); }},
    {"CreateSecondChild", Memory::kNeeded,
     [](Situation& s) {
         s.children(1);
         return creation(s, Scene::kPlain, L"child0", s.node);
     }},
    {"CreateThirdChildWithTheIndex", Memory::kNeeded,
     [](Situation& s) {
         s.children(2);
         return creation(s, Scene::kPlain, L"child0", s.node);
     }},
    {"CreateChildThatGrowsTheIndex", Memory::kNeeded,
     [](Situation& s) {
         s.children(8); // the budget of an index of eleven slots
         return creation(s, Situation::kRich, L"child0", s.node);
     }},
    {"CreateUnknownNode", Memory::kNeeded, [](Situation& s) { return unknownCreation(s, false); }},
    {"CreateLegacyNode", Memory::kNeeded, [](Situation& s) { return unknownCreation(s, true); }},
    {"CreateUnknownThirdChild", Memory::kNeeded,
     [](Situation& s) {
         s.children(2);
         return unknownCreation(s, false);
     }},
    {"DestroyLeafNode", Memory::kNotNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.children(3);
         return [&s] { return s.core.db_destroyLeafNode(s.node->getFirstChild()); };
     }},
    {"DestroyLeafNodeThatGrowsTheGarbageList", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         for (int i = 0; i < 32768; ++i) // what the list is made for
             EXPECT_EQ(s.core.db_destroyLeafNode(s.scene.nodeOf(Scene::kPlain, L"gone")), Status::kSuccess);
         s.children(3);
         return [&s] { return s.core.db_destroyLeafNode(s.node->getFirstChild()); };
     }},
    {"RenameNode", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> { return [&s] { return s.core.db_renameNode(s.node, kLongName); }; }},
    {"RenameNodeAmongManyAfterManyRenames", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.children(4);
         for (int i = 0; i < 4; ++i) // with the four children, the budget of an index of eleven slots
             EXPECT_EQ(s.core.db_renameNode(s.node->getFirstChild(), (L"n" + std::to_wstring(i)).c_str()),
                       Status::kSuccess);
         return [&s] { return s.core.db_renameNode(s.node->getFirstChild(), kLongName); };
     }},
    {"RenameNodeToItsName", Memory::kMayBeTaken,
     [](Situation& s) -> std::function<Status()> {
         return [&s] { return s.core.db_renameNode(s.node, s.node->getName().c_str()); };
     }},
    {"ReparentNode", Memory::kMayBeTaken,
     [](Situation& s) -> std::function<Status()> {
         return [&s] { return s.core.db_reparentNode(s.other, s.node, nullptr, nullptr); };
     }},
    {"ReparentNodeWithANewName", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         return [&s] { return s.core.db_reparentNode(s.other, s.node, nullptr, kLongName); };
     }},
    {"ReparentNodeToATakenName", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.children(1);
         return [&s] { return s.core.db_reparentNode(s.other, s.node, nullptr, L"child0"); };
     }},
    {"ReparentNodeWithoutAName", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         return [&s] { return s.core.db_reparentNode(s.other, s.node, nullptr, L""); };
     }},
    {"ReparentNodeAsThirdChild", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.children(2);
         return [&s] { return s.core.db_reparentNode(s.other, s.node, s.node->getFirstChild(), nullptr); };
     }},
    {"ReorderNode", Memory::kNotNeeded, [](Situation& s) -> std::function<Status()> {
         s.children(4);
         return [&s] { return s.core.db_reorderNode(s.node->getLastChild(), s.node->getFirstChild()); };
     }}};

INSTANTIATE_TEST_SUITE_P(Nodes, CoreManagerOutOfMemoryTest, ::testing::ValuesIn(kNodeEdits), nameOf);

std::function<Status()> dynamicCreation(Situation& s, AttributeTypeId typeId, bool isArray = false)
{
    const std::shared_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
    definition->setArray(isArray);
    definition->setDocString(L"a text of the metadata");
    if (typeId == AttributeType::kString)
    {
        EXPECT_TRUE(static_cast<StringAttributeMetaDataDef&>(*definition)
                        .setDefaultValue(kqx::String(L"a default that takes memory")));
    }
    return [&s, definition] {
        return s.core.db_createDynamicElement(*definition, L"new", s.node, s.node->getDynamicElement(0), nullptr);
    };
}

const Edit kElementEdits[] = {
    {"CreateDynamicInt", Memory::kNeeded, [](Situation& s) { return dynamicCreation(s, AttributeType::kInt); }},
    {"CreateDynamicString", Memory::kNeeded, [](Situation& s) { return dynamicCreation(s, AttributeType::kString); }},
    {"CreateDynamicArray", Memory::kNeeded,
     [](Situation& s) { return dynamicCreation(s, AttributeType::kString, true); }},
    {"CreateSecondDynamicElement", Memory::kNeeded,
     [](Situation& s) {
         s.dynamicText(L"a");
         return dynamicCreation(s, AttributeType::kMatrix);
     }},
    {"CreateThirdDynamicElementWithTheIndex", Memory::kNeeded,
     [](Situation& s) {
         s.dynamicText(L"a");
         s.dynamicText(L"b");
         return dynamicCreation(s, AttributeType::kString);
     }},
    {"CreateDynamicElementThatGrowsTheIndex", Memory::kNeeded,
     [](Situation& s) {
         for (int i = 0; i < 8; ++i)
             s.dynamicText(L"extra" + std::to_wstring(i));
         return dynamicCreation(s, AttributeType::kString);
     }},
    {"DestroyDynamicElement", Memory::kNotNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.dynamicText(L"a", true);
         return [&s] { return s.core.db_destroyDynamicElement(s.node->getDynamicElement(0)); };
     }},
    {"DestroyDynamicElementThatGrowsTheGarbageList", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         for (int i = 0; i < 4096; ++i) // what the list is made for
             EXPECT_EQ(s.core.db_destroyDynamicElement(s.dynamicText(L"gone")), Status::kSuccess);
         s.dynamicText(L"a");
         return [&s] { return s.core.db_destroyDynamicElement(s.node->getDynamicElement(0)); };
     }},
    {"RenameDynamicElement", Memory::kNotNeeded,
     [](Situation& s) -> std::function<Status()> {
         s.dynamicText(L"a");
         return [&s] { return s.core.db_renameDynamicElement(s.node->getDynamicElement(0), kLongName); };
     }},
    {"RenameDynamicElementAfterManyRenames", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         for (int i = 0; i < 4; ++i)
             s.dynamicText(L"extra" + std::to_wstring(i));
         for (int i = 0; i < 4; ++i) // with the four elements, the budget of an index of eleven slots
             EXPECT_EQ(
                 s.core.db_renameDynamicElement(s.node->getDynamicElement(0), (L"n" + std::to_wstring(i)).c_str()),
                 Status::kSuccess);
         return [&s] { return s.core.db_renameDynamicElement(s.node->getDynamicElement(0), kLongName); };
     }},
    {"CreateUnknownElement", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         Node* const unknown = s.scene.unknownNode(L"unknown");
         return [&s, unknown] {
             StringAttributeMetaDataDef definition;
             if (!definition.setDefaultValue(kqx::String()))
                 return Status::kFailure;
             definition.setDocString(L"a text of the metadata");
             return s.core.createUnknownElement(definition, L"new", unknown, nullptr);
         };
     }},
    {"CreateUnknownEnumThatLearnsItsChoices", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         Node* const unknown = s.scene.unknownNode(L"unknown");
         const auto definition = std::make_shared<UnknownEnumAttributeMetaDataDef>();
         definition->addChoice(L"first");
         return
             [&s, unknown, definition] { return s.core.createUnknownElement(*definition, L"new", unknown, nullptr); };
     }},
    {"CreateFourthUnknownElementBeforeDynamicOnes", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         Node* const unknown = s.scene.unknownNode(L"unknown");
         for (const wchar_t* const name : {L"a", L"b", L"c"})
         {
             EXPECT_EQ(s.core.createUnknownElement(IntAttributeMetaDataDef(), name, unknown, nullptr),
                       Status::kSuccess);
         }
         s.scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", unknown);
         return [&s, unknown] {
             return s.core.createUnknownElement(MatrixAttributeMetaDataDef(), L"new", unknown, nullptr);
         };
     }},
    {"CreateUnknownArray", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         Node* const unknown = s.scene.unknownNode(L"unknown");
         const std::shared_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(AttributeType::kString));
         definition->setArray(true);
         return
             [&s, unknown, definition] { return s.core.createUnknownElement(*definition, L"new", unknown, nullptr); };
     }},
    {"CreateLegacyElement", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         return [&s] { return s.core.createLegacyElement(StringAttributeMetaDataDef(), L"new", s.node, nullptr); };
     }},
    {"CreateFifthLegacyElement", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         for (int i = 0; i < 4; ++i)
             s.legacyText(L"old" + std::to_wstring(i));
         return [&s] { return s.core.createLegacyElement(StringAttributeMetaDataDef(), L"new", s.node, nullptr); };
     }},
    {"DestroyLegacyElement", Memory::kNotNeeded, [](Situation& s) -> std::function<Status()> {
         s.legacyText(L"old");
         return [&s] { return s.core.destroyLegacyElement(s.node->getLegacyElement(0)); };
     }}};

INSTANTIATE_TEST_SUITE_P(Elements, CoreManagerOutOfMemoryTest, ::testing::ValuesIn(kElementEdits), nameOf);

const Edit kArrayEdits[] = {
    {"GrowEmptyArray", Memory::kNeeded, [](Situation& s) { return resize(s, s.texts(0), 5); }},
    {"GrowArray", Memory::kNeeded, [](Situation& s) { return resize(s, s.texts(3), 10); }},
    {"GrowArrayWithReleasedItems", Memory::kNeeded,
     [](Situation& s) {
         s.texts(10);
         return resize(s, s.texts(2), 20);
     }},
    {"GrowArrayWithinItsCapacity", Memory::kNeeded, // the values own memory
     [](Situation& s) { return resize(s, s.texts(4), 6); }},
    {"GrowArrayOfNumbers", Memory::kNeeded,
     [](Situation& s) { return resize(s, s.other->findAttributeArrayByName(L"MatrixItems"), 4); }},
    {"GrowArrayOfNothing", Memory::kNeeded,
     [](Situation& s) { return resize(s, s.other->findAttributeArrayByName(L"NullItems"), 4); }},
    {"GrowArrayOfNumbersWithinItsCapacity", Memory::kNotNeeded,
     [](Situation& s) {
         AttributeArray* const array = s.other->findAttributeArrayByName(L"IntItems");
         EXPECT_EQ(s.core.db_resizeAttributeArray(array, 4), Status::kSuccess);
         return resize(s, array, 6);
     }},
    {"ShrinkArray", Memory::kNotNeeded, [](Situation& s) { return resize(s, s.texts(8), 1); }},
    {"EmptyArray", Memory::kNotNeeded, [](Situation& s) { return resize(s, s.texts(8), 0); }}};

INSTANTIATE_TEST_SUITE_P(Arrays, CoreManagerOutOfMemoryTest, ::testing::ValuesIn(kArrayEdits), nameOf);

const Edit kReferenceAndValueEdits[] = {
    {"CreateReference", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         return [&s] {
             return s.core.db_createReference(s.other->findAttributeByName(L"Int"),
                                              s.node->findAttributeByName(L"text"), true);
         };
     }},
    {"CreateReferenceToAReferencedAttribute", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         Attribute* const referenced = s.other->findAttributeByName(L"Int");
         EXPECT_EQ(s.core.db_createReference(referenced, s.node->findAttributeByName(L"text"), false),
                   Status::kSuccess);
         return [&s, referenced] {
             return s.core.db_createReference(referenced, s.other->findAttributeByName(L"Float"), false);
         };
     }},
    {"CreateReferenceBetweenItems", Memory::kNeeded,
     [](Situation& s) -> std::function<Status()> {
         AttributeArray* const array = s.texts(3);
         return
             [&s, array] { return s.core.db_createReference(array->getAttribute(0), array->getAttribute(2), false); };
     }},
    {"DestroyReference", Memory::kNotNeeded,
     [](Situation& s) -> std::function<Status()> {
         EXPECT_EQ(s.core.db_createReference(s.other->findAttributeByName(L"Int"), s.node->findAttributeByName(L"text"),
                                             false),
                   Status::kSuccess);
         return [&s] { return s.core.db_destroyReference(s.node->findAttributeByName(L"text")); };
     }},
    {"LockAndUnlockAttribute", Memory::kNotNeeded,
     [](Situation& s) -> std::function<Status()> {
         return [&s] {
             ValueHandle value;
             const Status status = s.core.db_lockAttribute(s.node->findAttributeByName(L"text"), &value);
             return status == Status::kSuccess ? s.core.db_unlockAttribute(s.node->findAttributeByName(L"text"))
                                               : status;
         };
     }},
    {"LockAndUnlockArray", Memory::kNotNeeded, [](Situation& s) -> std::function<Status()> {
         AttributeArray* const array = s.other->findAttributeArrayByName(L"IntItems");
         EXPECT_EQ(s.core.db_resizeAttributeArray(array, 3), Status::kSuccess);
         return [&s, array] {
             void* values = nullptr;
             const Status status = s.core.db_lockAttributeArray(array, &values);
             return status == Status::kSuccess ? s.core.db_unlockAttributeArray(array) : status;
         };
     }}};

INSTANTIATE_TEST_SUITE_P(ReferencesAndValues, CoreManagerOutOfMemoryTest, ::testing::ValuesIn(kReferenceAndValueEdits),
                         nameOf);

// --- Units of work: they give memory back and must not need any ---

TEST(CoreManagerUnitsOutOfMemoryTest, ACommitNeedsNoMemory)
{
    Situation s;
    Node* const listed = s.scene.node(L"listed", s.scene.node(L"parent"));
    Node* const parent = listed->getParent();
    listed->setFlag(NodeFlag::kDestroyedNow);
    ASSERT_EQ(s.core.db_destroyDynamicElement(s.dynamicText(L"gone", true)), Status::kSuccess);
    ASSERT_EQ(s.core.db_destroyLeafNode(listed), Status::kSuccess);
    ASSERT_EQ(s.core.db_destroyLeafNode(parent), Status::kSuccess);
    ASSERT_EQ(s.core.db_destroyLeafNode(s.other), Status::kSuccess);
    const NodeTemplate& all = *s.scene.registry().lookupNodeTemplate(Scene::kAll);

    const HeapThatRunsOut heap(0);
    EXPECT_EQ(s.core.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(all.getReferenceCount(), 3u);
    EXPECT_EQ(s.core.db_commit(L"why", L"where", 1), Status::kSuccess);
    EXPECT_EQ(all.getReferenceCount(), 2u);
    listed->clearFlag(NodeFlag::kDestroyedNow);
    EXPECT_EQ(s.core.db_commit(L"why", L"where", 1), Status::kSuccess);
    EXPECT_EQ(all.getReferenceCount(), 0u);
    EXPECT_FALSE(heap.hasRunOut());
}

TEST(CoreManagerUnitsOutOfMemoryTest, ClearSucceedsOrLeavesEverythingForEveryNumberOfAllocations)
{
    for (std::size_t granted = 0; granted < 100; ++granted)
    {
        SCOPED_TRACE(granted);
        Situation s;
        s.children(5);
        s.dynamicText(L"extra");
        s.legacyText(L"old");
        ASSERT_EQ(s.core.db_createReference(s.texts(3)->getAttribute(1), s.other->findAttributeByName(L"Int"), false),
                  Status::kSuccess);
        const std::wstring before = dumpTree(s.core);
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = s.core.db_clear();
        }
        if (status == Status::kSuccess)
        {
            EXPECT_EQ(s.core.getStatistics().nodes, 1u);
            EXPECT_EQ(s.scene.root()->getFirstChild(), nullptr);
            EXPECT_EQ(s.scene.registry().lookupNodeTemplate(Situation::kRich)->getReferenceCount(), 0u);
            return;
        }
        ASSERT_EQ(status, Status::kFailure);
        ASSERT_TRUE(isSameDump(before, dumpTree(s.core)));
    }
    FAIL() << "never succeeded";
}

TEST(CoreManagerUnitsOutOfMemoryTest, ClearOfMoreNodesThanTheGarbageListHoldsSucceedsOrLeavesEverything)
{
    constexpr unsigned int kNodes = 40'000;
    Situation s;
    s.children(kNodes);
    const std::uint32_t nodes = s.core.getStatistics().nodes;
    for (std::size_t granted = 0; granted < 100; ++granted)
    {
        SCOPED_TRACE(granted);
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = s.core.db_clear();
        }
        if (status == Status::kSuccess)
        {
            EXPECT_EQ(s.core.getStatistics().nodes, 1u);
            EXPECT_EQ(s.scene.registry().lookupNodeTemplate(Scene::kPlain)->getReferenceCount(), 0u);
            return;
        }
        ASSERT_EQ(status, Status::kFailure);
        ASSERT_EQ(s.core.getStatistics().nodes, nodes);
        ASSERT_NE(s.node->findChildByName(L"child39999"), nullptr);
    }
    FAIL() << "never succeeded";
}

// --- The services for undo ---

TEST(CoreManagerUnitsOutOfMemoryTest, ArchivingSucceedsOrChangesNothing)
{
    Situation s;
    Element* const extra = s.dynamicText(L"extra");
    const std::wstring before = dumpTree(s.core);
    bool nodeDone = false;
    bool elementDone = false;
    for (std::size_t granted = 0; granted < 100 && !(nodeDone && elementDone); ++granted)
    {
        SCOPED_TRACE(granted);
        if (!nodeDone)
        {
            {
                const HeapThatRunsOut heap(granted);
                nodeDone = UndoAccess::archiveNode(s.core, *s.other);
            }
            EXPECT_EQ(s.other->hasFlag(NodeFlag::kInUndo), nodeDone);
            if (nodeDone)
                UndoAccess::cancelArchiveNode(s.core, *s.other);
        }
        if (!elementDone)
        {
            {
                const HeapThatRunsOut heap(granted);
                elementDone = UndoAccess::archiveElement(s.core, *extra);
            }
            EXPECT_EQ(extra->hasFlag(ElementFlag::kInUndo), elementDone);
            if (elementDone)
                UndoAccess::cancelArchiveElement(s.core, *extra);
        }
        ASSERT_TRUE(isSameDump(before, dumpTree(s.core)));
    }
    EXPECT_TRUE(nodeDone);
    EXPECT_TRUE(elementDone);
}

TEST(CoreManagerUnitsOutOfMemoryTest, FinalDestructionNeedsNoMemory)
{
    Situation s;
    std::vector<Node*> nodes;
    for (int i = 0; i < 40'000; ++i) // more than the garbage list is made for
    {
        nodes.push_back(s.scene.nodeOf(Scene::kPlain, L"n", s.node));
        ASSERT_TRUE(UndoAccess::archiveNode(s.core, *nodes.back()));
        ASSERT_EQ(s.core.db_destroyLeafNode(nodes.back()), Status::kSuccess);
    }
    std::vector<Element*> elements;
    for (int i = 0; i < 5'000; ++i)
    {
        elements.push_back(s.dynamicText(L"extra"));
        ASSERT_TRUE(UndoAccess::archiveElement(s.core, *elements.back()));
        ASSERT_EQ(s.core.db_destroyDynamicElement(elements.back()), Status::kSuccess);
    }
    const HeapThatRunsOut heap(0);
    for (Node* const node : nodes)
        UndoAccess::finalDestroyNode(s.core, *node);
    for (Element* const element : elements)
        UndoAccess::finalDestroyElement(s.core, *element);
    EXPECT_EQ(s.core.db_commit(L"why", L"where", 1), Status::kSuccess);
    EXPECT_FALSE(heap.hasRunOut());
    EXPECT_EQ(s.scene.registry().lookupNodeTemplate(Scene::kPlain)->getReferenceCount(), 0u);
}

/// A node or element that comes back needs memory for its name at most; refused, it is pending still.
TEST(CoreManagerUnitsOutOfMemoryTest, ComingBackSucceedsOrLeavesTheObjectWithUndo)
{
    Situation s;
    s.children(2);
    ASSERT_TRUE(UndoAccess::archiveNode(s.core, *s.other));
    ASSERT_EQ(s.core.db_destroyLeafNode(s.other), Status::kSuccess);
    Element* const extra = s.dynamicText(L"extra");
    s.dynamicText(L"a");
    s.dynamicText(L"b");
    ASSERT_TRUE(UndoAccess::archiveElement(s.core, *extra));
    ASSERT_EQ(s.core.db_destroyDynamicElement(extra), Status::kSuccess);
    s.scene.node(L"other"); // its name is taken, so the new one needs memory
    const std::wstring before = dumpTree(s.core);

    std::size_t failures = 0;
    Status status = Status::kFailure;
    for (std::size_t granted = 0; granted < 100 && status != Status::kSuccess; ++granted)
    {
        SCOPED_TRACE(granted);
        UndoAccess::resurrectNode(s.core, *s.other);
        {
            const HeapThatRunsOut heap(granted);
            status = s.core.db_createNode(Scene::kAll, L"other", nullptr, nullptr, nullptr);
        }
        if (status == Status::kSuccess)
            break;
        ++failures;
        ASSERT_EQ(status, Status::kFailure);
        ASSERT_EQ(UndoAccess::takeBackNode(s.core), s.other);
        ASSERT_TRUE(s.other->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
        ASSERT_TRUE(isSameDump(before, dumpTree(s.core)));
    }
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(status, Status::kSuccess);
    EXPECT_EQ(s.other->getName(), L"other0");
    EXPECT_EQ(UndoAccess::takeBackNode(s.core), nullptr);

    const std::wstring beforeElement = dumpTree(s.core);
    const ElementMetaDataCopier definition(*extra->getMetaData());
    status = Status::kFailure;
    for (std::size_t granted = 0; granted < 100 && status != Status::kSuccess; ++granted)
    {
        SCOPED_TRACE(granted);
        UndoAccess::resurrectElement(s.core, *extra);
        {
            const HeapThatRunsOut heap(granted);
            status = s.core.db_createDynamicElement(definition, L"extra", s.node, nullptr, nullptr);
        }
        if (status == Status::kSuccess)
            break;
        ASSERT_EQ(UndoAccess::takeBackElement(s.core), extra);
        ASSERT_TRUE(extra->hasFlag(ElementFlag::kInUndo | ElementFlag::kDestroyed));
        ASSERT_TRUE(isSameDump(beforeElement, dumpTree(s.core)));
    }
    EXPECT_EQ(status, Status::kSuccess);
    EXPECT_EQ(s.node->getDynamicElement(2), extra);
}

TEST(CoreManagerUnitsOutOfMemoryTest, AManagerWithoutMemoryHasNoTreeAndRefusesEdits)
{
    Situation s;
    bool hasTree = false;
    for (std::size_t granted = 0; granted < 100 && !hasTree; ++granted)
    {
        SCOPED_TRACE(granted);
        std::unique_ptr<CoreManager> other;
        try
        {
            const HeapThatRunsOut heap(granted);
            other = std::make_unique<CoreManager>(s.scene.registry(), Situation::kRich);
        }
        catch (const std::bad_alloc&)
        {
            continue; // a constructor cannot return a Status
        }
        hasTree = other->getRoot() != nullptr;
        EXPECT_EQ(other->getStatistics().nodes, hasTree ? 1u : 0u);
        const Status status = other->db_createNode(Scene::kPlain, L"node", nullptr, nullptr, nullptr);
        EXPECT_EQ(status == Status::kSuccess, hasTree);
    }
    EXPECT_TRUE(hasTree);
}

} // namespace
} // namespace db2test
