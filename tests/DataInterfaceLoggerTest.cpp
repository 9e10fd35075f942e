#include "support/HeapThatRunsOut.h"
#include "support/Scene.h"

#include <db2/DataInterfaceLogger.h>
#include <db2/Paths.h>
#include <db2/testing/RecordingLayer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace db2test {
namespace {

using conformance::RecordingLayer;

/// Call logging over a layer that accepts everything, so that a call is nothing but its line.
class DataInterfaceLoggerTest : public ::testing::Test
{
protected:
    DataInterfaceLoggerTest()
    {
        EXPECT_EQ(scene.core().db_resizeAttributeArray(items, 3), Status::kSuccess);
        scene.log().take();
    }

    struct Call
    {
        const char* name; ///< of the operation, and what is special
        std::function<Status(DataInterface&)> make;
        std::wstring line;
    };

    /// One call of each operation, in slot order, with arguments that are all there.
    std::vector<Call> oneOfEach()
    {
        return {
            {"db_createNode", [&](DataInterface& to) { return to.db_createNode(7, L"new", arm, hand, nullptr); },
             L"db_createNode(typeId='7', name='new', parent='arm', next='hand')"},
            {"db_createUnknownNode",
             [&](DataInterface& to) {
                 return to.db_createUnknownNode(kTypeName, scene.module(), L"new", arm, hand, true, nullptr);
             },
             L"db_createUnknownNode(typeName='" + std::to_wstring(addressAsNumber(kTypeName)) +
                 L"', module='Test', name='new', parent='arm', next='hand', legacy='\"true\"')"},
            {"db_destroyLeafNode", [&](DataInterface& to) { return to.db_destroyLeafNode(hand); },
             L"db_destroyLeafNode(node='hand')"},
            {"db_renameNode", [&](DataInterface& to) { return to.db_renameNode(hand, L"left hand"); },
             L"db_renameNode(node='hand', name='left hand')"},
            {"db_reparentNode", [&](DataInterface& to) { return to.db_reparentNode(hand, shelf, cup, L"glove"); },
             L"db_reparentNode(node='hand', newParent='shelf', next='cup', name='glove')"},
            {"db_reorderNode", [&](DataInterface& to) { return to.db_reorderNode(shelf, arm); },
             L"db_reorderNode(node='shelf', next='arm')"},
            {"db_createDynamicElement",
             [&](DataInterface& to) {
                 return to.db_createDynamicElement(MatrixAttributeMetaDataDef(), L"new", arm, extra, nullptr);
             },
             L"db_createDynamicElement(typeId='8', name='new', node='arm', next='extra')"},
            {"db_destroyDynamicElement", [&](DataInterface& to) { return to.db_destroyDynamicElement(extra); },
             L"db_destroyDynamicElement(elem='extra')"},
            {"db_renameDynamicElement", [&](DataInterface& to) { return to.db_renameDynamicElement(extra, L"more"); },
             L"db_renameDynamicElement(elem='extra', name='more')"},
            {"db_resizeAttributeArray", [&](DataInterface& to) { return to.db_resizeAttributeArray(items, 12); },
             L"db_resizeAttributeArray(attrArray='IntItems', size='12')"},
            {"db_createReference",
             [&](DataInterface& to) { return to.db_createReference(integer, items->getAttribute(2), true); },
             L"db_createReference(referenced='|arm|hand.Int', referencer='|arm:IntItems[2]')"},
            {"db_destroyReference", [&](DataInterface& to) { return to.db_destroyReference(integer); },
             L"db_destroyReference(referencer='|arm|hand.Int')"},
            {"db_lockAttribute", [&](DataInterface& to) { return to.db_lockAttribute(integer, nullptr); },
             L"db_lockAttribute(attr='Int')"},
            {"db_unlockAttribute", [&](DataInterface& to) { return to.db_unlockAttribute(integer); },
             L"db_unlockAttribute(attr='Int')"},
            {"db_lockAttributeArray", [&](DataInterface& to) { return to.db_lockAttributeArray(items, nullptr); },
             L"db_lockAttributeArray(attrArray='IntItems')"},
            {"db_unlockAttributeArray", [&](DataInterface& to) { return to.db_unlockAttributeArray(items); },
             L"db_unlockAttributeArray(attrArray='IntItems')"},
            {"db_commit", [&](DataInterface& to) { return to.db_commit(L"what was done", L"host.cpp", 42); },
             L"db_commit(file='host.cpp' line number='42' description='what was done')"},
            {"db_commitTransient", [](DataInterface& to) { return to.db_commitTransient(); }, L"db_commitTransient()"},
            {"db_clear", [](DataInterface& to) { return to.db_clear(); }, L"db_clear()"}};
    }

    /// Makes each call and expects that it is passed on and that its line, at info level, is all that is logged.
    void expectLines(const std::vector<Call>& calls)
    {
        for (const Call& call : calls)
        {
            SCOPED_TRACE(call.name);
            inner.clear();
            EXPECT_EQ(call.make(logger), Status::kSuccess);
            EXPECT_EQ(inner.calls().size(), 1u);
            EXPECT_EQ(scene.log().take(), lineOf(call.line));
        }
    }

    static std::vector<LogRecorder::Line> lineOf(const std::wstring& text)
    {
        return {{LogRecorder::kInfo, L"KQDatabase2 : " + text}};
    }

    /// A pointer as `%d` prints it.
    static std::int32_t addressAsNumber(const void* address)
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address)));
    }

    static constexpr const wchar_t* kTypeName = L"Gone";

    Scene scene;
    Node* arm = scene.node(L"arm");
    Node* hand = scene.node(L"hand", arm);
    Node* shelf = scene.node(L"shelf");
    Node* cup = scene.node(L"cup", shelf);
    Attribute* integer = hand->findAttributeByName(L"Int");
    AttributeArray* items = arm->findAttributeArrayByName(L"IntItems");
    Element* extra = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", arm);
    RecordingLayer inner{nullptr};
    DataInterfaceLogger logger{&inner};
};

// --- The mask ---

TEST_F(DataInterfaceLoggerTest, AFreshLoggerLogsNothingAndPassesEverythingOn)
{
    for (const Call& call : oneOfEach())
    {
        SCOPED_TRACE(call.name);
        inner.clear();
        EXPECT_EQ(call.make(logger), Status::kSuccess);
        EXPECT_EQ(inner.calls().size(), 1u);
        EXPECT_TRUE(scene.log().take().empty());
    }
    EXPECT_FALSE(logger.isEnabled(0xFFFFFFFFu));
}

TEST_F(DataInterfaceLoggerTest, TheBitOfAnOperationIsThatOfItsSlot)
{
    const std::vector<Call> calls = oneOfEach();
    ASSERT_EQ(calls.size(), kOperationCount);
    for (unsigned int slot = 0; slot < kOperationCount; ++slot)
    {
        logger.enable(1u << slot);
        for (unsigned int made = 0; made < kOperationCount; ++made)
        {
            SCOPED_TRACE(testing::Message() << calls[made].name << " with bit " << slot);
            calls[made].make(logger);
            EXPECT_EQ(scene.log().take().size(), made == slot ? 1u : 0u);
        }
        logger.disable(1u << slot);
    }
}

TEST_F(DataInterfaceLoggerTest, AllOperationsAreTheNineteenLowBits)
{
    EXPECT_EQ(DataInterfaceLogger::kAllOperations, 0x7FFFFu);
    logger.enable(0x7FFFF);
    for (const Call& call : oneOfEach())
    {
        SCOPED_TRACE(call.name);
        call.make(logger);
        EXPECT_EQ(scene.log().take().size(), 1u);
    }
}

TEST_F(DataInterfaceLoggerTest, EnablingAndDisablingTouchTheNamedBitsOnly)
{
    logger.enable(0x3);
    logger.enable(0x4);
    logger.disable(0x2);
    EXPECT_TRUE(logger.isEnabled(0x1));
    EXPECT_FALSE(logger.isEnabled(0x2));
    EXPECT_TRUE(logger.isEnabled(0x4));
    logger.disable(0x8); // was not enabled
    EXPECT_TRUE(logger.isEnabled(0x4));
}

TEST_F(DataInterfaceLoggerTest, AMaskIsEnabledWhenAnyOfItsBitsIs)
{
    logger.enable(0x1);
    EXPECT_TRUE(logger.isEnabled(0x3));
    EXPECT_FALSE(logger.isEnabled(0x2));
    EXPECT_FALSE(logger.isEnabled(0));
}

TEST_F(DataInterfaceLoggerTest, ACopyHasTheSameNextLayerAndMask)
{
    logger.enable(0x40000);
    DataInterfaceLogger copy(logger);
    EXPECT_EQ(copy.db_getNextInterface(), &inner);
    EXPECT_EQ(copy.db_clear(), Status::kSuccess);
    EXPECT_EQ(scene.log().take(), lineOf(L"db_clear()"));
    DataInterfaceLogger assigned(nullptr);
    assigned.enable(0x1);
    assigned = logger;
    EXPECT_EQ(assigned.db_getNextInterface(), &inner);
    EXPECT_FALSE(assigned.isEnabled(0x1));
    EXPECT_TRUE(assigned.isEnabled(0x40000));
}

TEST_F(DataInterfaceLoggerTest, ACopysMaskIsItsOwn)
{
    DataInterfaceLogger copy(logger);
    copy.enable(0x40000);
    logger.db_clear();
    EXPECT_TRUE(scene.log().take().empty());
}

// --- The lines ---

TEST_F(DataInterfaceLoggerTest, EachOperationHasItsLine)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    expectLines(oneOfEach());
}

TEST_F(DataInterfaceLoggerTest, NullArgumentsShowAsZero)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    const std::wstring zero = std::to_wstring(addressAsNumber(nullptr));
    expectLines(
        {{"db_createNode", [](DataInterface& to) { return to.db_createNode(1, nullptr, nullptr, nullptr, nullptr); },
          L"db_createNode(typeId='1', name='0', parent='0', next='0')"},
         {"db_createUnknownNode",
          [&](DataInterface& to) {
              return to.db_createUnknownNode(nullptr, scene.module(), nullptr, nullptr, nullptr, false, nullptr);
          },
          L"db_createUnknownNode(typeName='" + zero +
              L"', module='Test', name='0', parent='0', next='0', legacy='\"false\"')"},
         {"db_destroyLeafNode", [](DataInterface& to) { return to.db_destroyLeafNode(nullptr); },
          L"db_destroyLeafNode(node='0')"},
         {"db_renameNode", [](DataInterface& to) { return to.db_renameNode(nullptr, nullptr); },
          L"db_renameNode(node='0', name='0')"},
         {"db_reparentNode", [](DataInterface& to) { return to.db_reparentNode(nullptr, nullptr, nullptr, nullptr); },
          L"db_reparentNode(node='0', newParent='0', next='0', name='0')"},
         {"db_reorderNode", [](DataInterface& to) { return to.db_reorderNode(nullptr, nullptr); },
          L"db_reorderNode(node='0', next='0')"},
         {"db_createDynamicElement",
          [](DataInterface& to) {
              return to.db_createDynamicElement(IntAttributeMetaDataDef(), nullptr, nullptr, nullptr, nullptr);
          },
          L"db_createDynamicElement(typeId='0', name='0', node='0', next='0')"},
         {"db_destroyDynamicElement", [](DataInterface& to) { return to.db_destroyDynamicElement(nullptr); },
          L"db_destroyDynamicElement(elem='0')"},
         {"db_renameDynamicElement", [](DataInterface& to) { return to.db_renameDynamicElement(nullptr, nullptr); },
          L"db_renameDynamicElement(elem='0', name='0')"},
         {"db_resizeAttributeArray", [](DataInterface& to) { return to.db_resizeAttributeArray(nullptr, 0); },
          L"db_resizeAttributeArray(attrArray='0', size='0')"},
         {"db_createReference", [](DataInterface& to) { return to.db_createReference(nullptr, nullptr, false); },
          L"db_createReference(referenced='0', referencer='0')"},
         {"db_createReference of something by nothing",
          [&](DataInterface& to) { return to.db_createReference(integer, nullptr, false); },
          L"db_createReference(referenced='|arm|hand.Int', referencer='0')"},
         {"db_createReference of nothing by something",
          [&](DataInterface& to) { return to.db_createReference(nullptr, integer, false); },
          L"db_createReference(referenced='0', referencer='|arm|hand.Int')"},
         {"db_destroyReference", [](DataInterface& to) { return to.db_destroyReference(nullptr); },
          L"db_destroyReference(referencer='0')"},
         {"db_lockAttribute", [](DataInterface& to) { return to.db_lockAttribute(nullptr, nullptr); },
          L"db_lockAttribute(attr='0')"},
         {"db_unlockAttribute", [](DataInterface& to) { return to.db_unlockAttribute(nullptr); },
          L"db_unlockAttribute(attr='0')"},
         {"db_lockAttributeArray", [](DataInterface& to) { return to.db_lockAttributeArray(nullptr, nullptr); },
          L"db_lockAttributeArray(attrArray='0')"},
         {"db_unlockAttributeArray", [](DataInterface& to) { return to.db_unlockAttributeArray(nullptr); },
          L"db_unlockAttributeArray(attrArray='0')"},
         {"db_commit", [](DataInterface& to) { return to.db_commit(nullptr, nullptr, 0); },
          L"db_commit(file='0' line number='0' description='0')"}});
}

TEST_F(DataInterfaceLoggerTest, EmptyTextsShowAsTwoQuotes)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    expectLines(
        {{"db_createNode", [](DataInterface& to) { return to.db_createNode(1, L"", nullptr, nullptr, nullptr); },
          L"db_createNode(typeId='1', name='\"\"', parent='0', next='0')"},
         {"db_createUnknownNode",
          [&](DataInterface& to) {
              return to.db_createUnknownNode(kTypeName, scene.module(), L"", nullptr, nullptr, false, nullptr);
          },
          L"db_createUnknownNode(typeName='" + std::to_wstring(addressAsNumber(kTypeName)) +
              L"', module='Test', name='\"\"', parent='0', next='0', legacy='\"false\"')"},
         {"db_renameNode", [&](DataInterface& to) { return to.db_renameNode(hand, L""); },
          L"db_renameNode(node='hand', name='\"\"')"},
         {"db_reparentNode", [&](DataInterface& to) { return to.db_reparentNode(hand, shelf, nullptr, L""); },
          L"db_reparentNode(node='hand', newParent='shelf', next='0', name='\"\"')"},
         {"db_createDynamicElement",
          [&](DataInterface& to) {
              return to.db_createDynamicElement(IntAttributeMetaDataDef(), L"", arm, nullptr, nullptr);
          },
          L"db_createDynamicElement(typeId='0', name='\"\"', node='arm', next='0')"},
         {"db_renameDynamicElement", [&](DataInterface& to) { return to.db_renameDynamicElement(extra, L""); },
          L"db_renameDynamicElement(elem='extra', name='\"\"')"},
         {"db_commit", [](DataInterface& to) { return to.db_commit(L"", L"", 1); },
          L"db_commit(file='\"\"' line number='1' description='\"\"')"}});
}

TEST_F(DataInterfaceLoggerTest, ARenameToANullNameShowsZero)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    expectLines({{"db_renameNode", [&](DataInterface& to) { return to.db_renameNode(hand, nullptr); },
                  L"db_renameNode(node='hand', name='0')"}});
}

TEST_F(DataInterfaceLoggerTest, ADynamicElementShowsTheTypeOfItsDefinition)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(static_cast<AttributeTypeId>(type)));
        logger.db_createDynamicElement(*definition, L"new", arm, nullptr, nullptr);
        EXPECT_EQ(scene.log().take(), lineOf(L"db_createDynamicElement(typeId='" + std::to_wstring(type) +
                                             L"', name='new', node='arm', next='0')"));
    }
}

TEST_F(DataInterfaceLoggerTest, NumbersAreSignedDecimals)
{
    constexpr unsigned int kMost = std::numeric_limits<unsigned int>::max();
    logger.enable(DataInterfaceLogger::kAllOperations);
    expectLines(
        {{"db_createNode", [](DataInterface& to) { return to.db_createNode(kMost, L"n", nullptr, nullptr, nullptr); },
          L"db_createNode(typeId='-1', name='n', parent='0', next='0')"},
         {"db_resizeAttributeArray", [&](DataInterface& to) { return to.db_resizeAttributeArray(items, 0x80000000u); },
          L"db_resizeAttributeArray(attrArray='IntItems', size='-2147483648')"},
         {"db_commit", [](DataInterface& to) { return to.db_commit(L"d", L"f", 0x7FFFFFFFu); },
          L"db_commit(file='f' line number='2147483647' description='d')"}});
}

TEST_F(DataInterfaceLoggerTest, TextsAreNotTakenForFormats)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    Node* const strange = scene.node(L"%s%n%d");
    Attribute* const attribute = strange->findAttributeByName(L"Int");
    scene.module().setId(L"%s");
    expectLines(
        {{"db_renameNode", [&](DataInterface& to) { return to.db_renameNode(strange, L"%n%s%%"); },
          L"db_renameNode(node='%s%n%d', name='%n%s%%')"},
         {"db_destroyReference", [&](DataInterface& to) { return to.db_destroyReference(attribute); },
          L"db_destroyReference(referencer='|%s%n%d.Int')"},
         {"db_createUnknownNode",
          [&](DataInterface& to) {
              return to.db_createUnknownNode(nullptr, scene.module(), L"%d", nullptr, nullptr, true, nullptr);
          },
          L"db_createUnknownNode(typeName='0', module='%s', name='%d', parent='0', next='0', legacy='\"true\"')"},
         {"db_commit", [](DataInterface& to) { return to.db_commit(L"100%", L"%s", 1); },
          L"db_commit(file='%s' line number='1' description='100%')"}});
    scene.module().setId(L"Test");
}

TEST_F(DataInterfaceLoggerTest, ReferencesShowEscapedPathsFromTheRoot)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    Attribute* const spaced = scene.node(L"left. hand", hand)->findAttributeByName(L"Int");
    expectLines({{"db_destroyReference", [&](DataInterface& to) { return to.db_destroyReference(spaced); },
                  L"db_destroyReference(referencer='|arm|hand|left\\.\\ hand.Int')"}});
}

TEST_F(DataInterfaceLoggerTest, OtherOperationsShowNamesWithoutEscapes)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    Node* const spaced = scene.node(L"left. hand", hand);
    Element* const dotted = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"a.b", spaced);
    expectLines({{"db_destroyLeafNode", [&](DataInterface& to) { return to.db_destroyLeafNode(spaced); },
                  L"db_destroyLeafNode(node='left. hand')"},
                 {"db_destroyDynamicElement", [&](DataInterface& to) { return to.db_destroyDynamicElement(dotted); },
                  L"db_destroyDynamicElement(elem='a.b')"}});
}

TEST_F(DataInterfaceLoggerTest, APathThatCannotBeBuiltShowsAsNothingOfTheOneBefore)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    Node* deep = nullptr;
    for (int i = 0; i < 512; ++i)
        deep = scene.node(L"n", deep);
    Attribute* const tooDeep = deep->findAttributeByName(L"Int");
    scene.log().take();

    struct Row
    {
        std::function<Status()> make;
        const wchar_t* line;
    };
    for (const Row& row :
         {Row{[&] { return logger.db_destroyReference(tooDeep); }, L"db_destroyReference(referencer='')"},
          Row{[&] { return logger.db_createReference(tooDeep, integer, false); },
              L"db_createReference(referenced='', referencer='|arm|hand.Int')"},
          Row{[&] { return logger.db_createReference(integer, tooDeep, false); },
              L"db_createReference(referenced='|arm|hand.Int', referencer='')"}})
    {
        logger.db_destroyReference(integer);
        logger.db_createReference(integer, integer, false);
        scene.log().take();
        EXPECT_EQ(row.make(), Status::kSuccess);
        const std::vector<LogRecorder::Line> lines = scene.log().take(); // the path's own message, then the line
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_EQ(lines[0], (LogRecorder::Line{LogRecorder::kError, L"KQDatabase2 : "}));
        EXPECT_EQ(lines[1], lineOf(row.line).front());
    }
}

TEST_F(DataInterfaceLoggerTest, SeveralLoggersDoNotMixTheirPaths)
{
    DataInterfaceLogger outer(&logger);
    outer.enable(DataInterfaceLogger::kAllOperations);
    logger.enable(DataInterfaceLogger::kAllOperations);
    outer.db_createReference(integer, items->getAttribute(0), false);
    const std::wstring line =
        L"KQDatabase2 : db_createReference(referenced='|arm|hand.Int', referencer='|arm:IntItems[0]')";
    const std::vector<LogRecorder::Line> expected{{LogRecorder::kInfo, line}, {LogRecorder::kInfo, line}};
    EXPECT_EQ(scene.log().take(), expected);
}

TEST_F(DataInterfaceLoggerTest, ALineThatIsTooLongIsCut)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    const std::wstring name(5000, L'x');
    logger.db_renameNode(hand, name.c_str());
    const std::vector<LogRecorder::Line> lines = scene.log().take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines.front().text.size(), 14u + 2033u);
}

// --- What a logger leaves alone ---

TEST_F(DataInterfaceLoggerTest, TheLineIsWrittenBeforeTheCallIsPassedOn)
{
    class Witness : public ForwardingLayer
    {
    public:
        Witness(DataInterface* nextLayer, const LogRecorder& log) : ForwardingLayer(nextLayer), log_(log) {}

        Status db_renameNode(Node* node, const wchar_t* name) override
        {
            linesBefore = log_.lines().size();
            return ForwardingLayer::db_renameNode(node, name);
        }

        std::size_t linesBefore = 0;

    private:
        const LogRecorder& log_;
    };
    Witness witness(&scene.core(), scene.log());
    logger.db_setNextInterface(&witness);
    logger.enable(DataInterfaceLogger::kAllOperations);
    EXPECT_EQ(logger.db_renameNode(hand, L"left"), Status::kSuccess);
    EXPECT_EQ(witness.linesBefore, 1u);
    EXPECT_EQ(scene.log().take(), lineOf(L"db_renameNode(node='hand', name='left')"));
}

TEST_F(DataInterfaceLoggerTest, ARefusedCallIsInTheLogToo)
{
    logger.db_setNextInterface(&scene.core());
    logger.enable(DataInterfaceLogger::kAllOperations);
    EXPECT_EQ(logger.db_renameNode(nullptr, L"x"), Status::kNullNodeToRename);
    EXPECT_EQ(scene.log().take(), lineOf(L"db_renameNode(node='0', name='x')"));
}

TEST_F(DataInterfaceLoggerTest, AnswersAreTheSameWithLoggingOnAndOff)
{
    for (const bool enabled : {false, true})
    {
        if (enabled)
            logger.enable(DataInterfaceLogger::kAllOperations);
        const std::vector<Call> calls = oneOfEach();
        for (unsigned int slot = 0; slot < kOperationCount; ++slot)
        {
            SCOPED_TRACE(calls[slot].name);
            inner.refuse(static_cast<Operation>(slot), static_cast<Status>(90 + slot));
            EXPECT_EQ(calls[slot].make(logger), static_cast<Status>(90 + slot));
            inner.refuseNothing();
            EXPECT_EQ(calls[slot].make(logger), Status::kSuccess);
        }
    }
}

TEST_F(DataInterfaceLoggerTest, WithoutAHostsLoggerCallsArePassedOnAllTheSame)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    KQutils::BasicLogger* const recorder = setLogger(nullptr);
    for (const Call& call : oneOfEach())
    {
        SCOPED_TRACE(call.name);
        inner.clear();
        EXPECT_EQ(call.make(logger), Status::kSuccess);
        EXPECT_EQ(inner.calls().size(), 1u);
    }
    setLogger(recorder);
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(DataInterfaceLoggerTest, WithoutMemoryForAPathTheCallIsPassedOnAllTheSame)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    const std::wstring longName(3000, L'y'); // longer than any path text before, so that its memory is new
    Node* const node = scene.node(longName.c_str());
    Attribute* const attribute = node->findAttributeByName(L"Int");
    for (std::size_t granted = 0; granted < 3; ++granted)
    {
        SCOPED_TRACE(granted);
        inner.clear();
        Status destroyed;
        Status created;
        {
            const HeapThatRunsOut heap(granted);
            destroyed = logger.db_destroyReference(attribute);
            created = logger.db_createReference(attribute, attribute, false);
        }
        EXPECT_EQ(destroyed, Status::kSuccess);
        EXPECT_EQ(created, Status::kSuccess);
        EXPECT_EQ(inner.calls().size(), 2u);
    }
}

TEST_F(DataInterfaceLoggerTest, RepeatedReferenceLinesTakeNoMemoryOnceTheTextsHaveGrown)
{
    logger.enable(DataInterfaceLogger::kAllOperations);
    logger.db_destroyReference(integer);
    logger.db_createReference(integer, integer, false);
    scene.log().take();
    const HeapThatRunsOut heap(0);
    logger.db_destroyReference(integer);
    logger.db_createReference(integer, integer, false);
    EXPECT_FALSE(heap.hasRunOut());
    EXPECT_EQ(scene.log().lines().size(), 2u);
}

} // namespace
} // namespace db2test
