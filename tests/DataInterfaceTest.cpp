#include "support/Scene.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace db2test {
namespace {

static_assert(std::is_abstract_v<DataInterface>);
static_assert(std::has_virtual_destructor_v<DataInterface>);
static_assert(std::is_base_of_v<DataInterface, CoreManager>);

/// Writes down which operation was reached with what, and answers with a number of its own.
class RecordingLayer : public DataInterface
{
public:
    explicit RecordingLayer(std::vector<std::wstring>& calls) : calls_(calls) {}
    ~RecordingLayer() override { calls_.push_back(L"destroyed"); }

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        return note(L"createNode", typeId, name, parent, next, outNode);
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        return note(L"createUnknownNode", typeName, &module, name, parent, next, legacy, outNode);
    }
    Status db_destroyLeafNode(Node* node) override { return note(L"destroyLeafNode", node); }
    Status db_renameNode(Node* node, const wchar_t* name) override { return note(L"renameNode", node, name); }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        return note(L"reparentNode", node, newParent, next, name);
    }
    Status db_reorderNode(Node* node, Node* next) override { return note(L"reorderNode", node, next); }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        return note(L"createDynamicElement", &definition, name, node, next, outElement);
    }
    Status db_destroyDynamicElement(Element* element) override { return note(L"destroyDynamicElement", element); }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        return note(L"renameDynamicElement", element, name);
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        return note(L"resizeAttributeArray", array, size);
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        return note(L"createReference", referenced, referencer, singleOutput);
    }
    Status db_destroyReference(Attribute* referencer) override { return note(L"destroyReference", referencer); }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        return note(L"lockAttribute", attribute, outValue);
    }
    Status db_unlockAttribute(Attribute* attribute) override { return note(L"unlockAttribute", attribute); }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        return note(L"lockAttributeArray", array, outValues);
    }
    Status db_unlockAttributeArray(AttributeArray* array) override { return note(L"unlockAttributeArray", array); }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        return note(L"commit", description, file, line);
    }
    Status db_commitTransient() override { return note(L"commitTransient"); }
    Status db_clear() override { return note(L"clear"); }

private:
    static std::wstring textOf(const wchar_t* text) { return text; }
    static std::wstring textOf(bool flag) { return flag ? L"true" : L"false"; }
    static std::wstring textOf(unsigned int number) { return std::to_wstring(number); }
    static std::wstring textOf(const void* address)
    {
        return L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(address));
    }

    template <class... Arguments>
    Status note(const wchar_t* operation, Arguments... arguments)
    {
        std::wstring call = operation;
        ((call += L' ' + textOf(arguments)), ...);
        calls_.push_back(call);
        return static_cast<Status>(calls_.size());
    }

    std::vector<std::wstring>& calls_;
};

/// An address that nobody looks at.
template <class T>
T* at(std::uintptr_t address)
{
    return reinterpret_cast<T*>(address);
}

TEST(DataInterfaceTest, EachOfTheNineteenOperationsReachesALayerWithItsArgumentsAndItsAnswerComesBack)
{
    std::vector<std::wstring> calls;
    RecordingLayer layer(calls);
    DataInterface& data = layer;
    const Module module;
    const IntAttributeMetaDataDef definition;
    const std::wstring moduleAt = L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(&module));
    const std::wstring definitionAt =
        L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(static_cast<const ElementMetaDataDef*>(&definition)));

    const std::vector<Status> answers{
        data.db_createNode(7, L"n", at<Node>(16), at<Node>(32), at<Node*>(48)),
        data.db_createUnknownNode(L"t", module, L"n", at<Node>(16), at<Node>(32), true, at<Node*>(48)),
        data.db_destroyLeafNode(at<Node>(16)),
        data.db_renameNode(at<Node>(16), L"n"),
        data.db_reparentNode(at<Node>(16), at<Node>(32), at<Node>(48), L"n"),
        data.db_reorderNode(at<Node>(16), at<Node>(32)),
        data.db_createDynamicElement(definition, L"n", at<Node>(16), at<Element>(32), at<Element*>(48)),
        data.db_destroyDynamicElement(at<Element>(16)),
        data.db_renameDynamicElement(at<Element>(16), L"n"),
        data.db_resizeAttributeArray(at<AttributeArray>(16), 7),
        data.db_createReference(at<Attribute>(16), at<Attribute>(32), true),
        data.db_destroyReference(at<Attribute>(16)),
        data.db_lockAttribute(at<Attribute>(16), at<ValueHandle>(32)),
        data.db_unlockAttribute(at<Attribute>(16)),
        data.db_lockAttributeArray(at<AttributeArray>(16), at<void*>(32)),
        data.db_unlockAttributeArray(at<AttributeArray>(16)),
        data.db_commit(L"why", L"where", 7),
        data.db_commitTransient(),
        data.db_clear()};

    EXPECT_EQ(calls, (std::vector<std::wstring>{
                         L"createNode 7 n @16 @32 @48", L"createUnknownNode t " + moduleAt + L" n @16 @32 true @48",
                         L"destroyLeafNode @16", L"renameNode @16 n", L"reparentNode @16 @32 @48 n",
                         L"reorderNode @16 @32", L"createDynamicElement " + definitionAt + L" n @16 @32 @48",
                         L"destroyDynamicElement @16", L"renameDynamicElement @16 n", L"resizeAttributeArray @16 7",
                         L"createReference @16 @32 true", L"destroyReference @16", L"lockAttribute @16 @32",
                         L"unlockAttribute @16", L"lockAttributeArray @16 @32", L"unlockAttributeArray @16",
                         L"commit why where 7", L"commitTransient", L"clear"}));
    for (std::size_t i = 0; i < answers.size(); ++i)
        EXPECT_EQ(answers[i], static_cast<Status>(i + 1)) << "operation " << i;
}

TEST(DataInterfaceTest, ALayerIsDestroyedThroughTheInterface)
{
    std::vector<std::wstring> calls;
    std::unique_ptr<DataInterface> data = std::make_unique<RecordingLayer>(calls);
    data.reset();
    EXPECT_EQ(calls, std::vector<std::wstring>{L"destroyed"});
}

// The C++ ABI of these compilers and machines, Windows included: the first word of a pointer to a virtual member
// function is its place in the table, in bytes, plus one.
#if defined(__GXX_ABI_VERSION) && (defined(__x86_64__) || defined(__i386__))

template <class Operation>
std::size_t slotOf(Operation operation)
{
    static_assert(std::is_member_function_pointer_v<Operation>);
    std::uintptr_t place = 0;
    std::memcpy(&place, &operation, sizeof(place));
    EXPECT_EQ(place % sizeof(void*), 1u) << "not a virtual function";
    return place / sizeof(void*);
}

TEST(DataInterfaceTest, TheOperationsHaveTheSlotsFromZeroToEighteenSoTheDestructorComesLast)
{
    EXPECT_EQ(slotOf(&DataInterface::db_createNode), 0u);
    EXPECT_EQ(slotOf(&DataInterface::db_createUnknownNode), 1u);
    EXPECT_EQ(slotOf(&DataInterface::db_destroyLeafNode), 2u);
    EXPECT_EQ(slotOf(&DataInterface::db_renameNode), 3u);
    EXPECT_EQ(slotOf(&DataInterface::db_reparentNode), 4u);
    EXPECT_EQ(slotOf(&DataInterface::db_reorderNode), 5u);
    EXPECT_EQ(slotOf(&DataInterface::db_createDynamicElement), 6u);
    EXPECT_EQ(slotOf(&DataInterface::db_destroyDynamicElement), 7u);
    EXPECT_EQ(slotOf(&DataInterface::db_renameDynamicElement), 8u);
    EXPECT_EQ(slotOf(&DataInterface::db_resizeAttributeArray), 9u);
    EXPECT_EQ(slotOf(&DataInterface::db_createReference), 10u);
    EXPECT_EQ(slotOf(&DataInterface::db_destroyReference), 11u);
    EXPECT_EQ(slotOf(&DataInterface::db_lockAttribute), 12u);
    EXPECT_EQ(slotOf(&DataInterface::db_unlockAttribute), 13u);
    EXPECT_EQ(slotOf(&DataInterface::db_lockAttributeArray), 14u);
    EXPECT_EQ(slotOf(&DataInterface::db_unlockAttributeArray), 15u);
    EXPECT_EQ(slotOf(&DataInterface::db_commit), 16u);
    EXPECT_EQ(slotOf(&DataInterface::db_commitTransient), 17u);
    EXPECT_EQ(slotOf(&DataInterface::db_clear), 18u);
}

#endif

/// The promises of the interface, kept by the core.
class DataInterfaceOfCoreTest : public ::testing::Test
{
protected:
    Scene scene;
    DataInterface& data = scene.core();
};

TEST_F(DataInterfaceOfCoreTest, ANullParentIsTheRootAndANullNextIsTheEnd)
{
    Node* first = nullptr;
    Node* second = nullptr;
    ASSERT_EQ(data.db_createNode(Scene::kPlain, L"first", nullptr, nullptr, &first), Status::kSuccess);
    ASSERT_EQ(data.db_createUnknownNode(L"Gone", scene.module(), L"second", nullptr, nullptr, false, &second),
              Status::kSuccess);
    EXPECT_EQ(first->getParent(), scene.root());
    EXPECT_EQ(scene.root()->getFirstChild(), first);
    EXPECT_EQ(scene.root()->getLastChild(), second);
}

TEST_F(DataInterfaceOfCoreTest, OutArgumentsMayBeNull)
{
    EXPECT_EQ(data.db_createNode(Scene::kPlain, L"a", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(data.db_createUnknownNode(L"Gone", scene.module(), L"b", nullptr, nullptr, false, nullptr),
              Status::kSuccess);
    Node* const a = scene.root()->findChildByName(L"a");
    ASSERT_NE(a, nullptr);
    EXPECT_NE(scene.root()->findChildByName(L"b"), nullptr);
    EXPECT_EQ(data.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", a, nullptr, nullptr), Status::kSuccess);
    EXPECT_NE(a->findAttributeByName(L"extra"), nullptr);
}

TEST_F(DataInterfaceOfCoreTest, TheTextsOfACommitMayBeAnything)
{
    EXPECT_EQ(data.db_commit(nullptr, nullptr, 0), Status::kSuccess);
    EXPECT_EQ(data.db_commit(L"%s%n", L"", 0xFFFFFFFFu), Status::kSuccess);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(DataInterfaceOfCoreTest, ACoreIsDestroyedThroughTheInterface)
{
    auto core = std::make_unique<CoreManager>(scene.registry(), Scene::kRoot);
    ASSERT_EQ(core->db_createNode(Scene::kAll, L"node", nullptr, nullptr, nullptr), Status::kSuccess);
    const unsigned int count = scene.registry().lookupNodeTemplate(Scene::kAll)->getReferenceCount();
    ASSERT_GT(count, 0u);
    std::unique_ptr<DataInterface>(std::move(core)).reset();
    EXPECT_EQ(scene.registry().lookupNodeTemplate(Scene::kAll)->getReferenceCount(), count - 1);
}

} // namespace
} // namespace db2test
