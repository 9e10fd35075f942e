#include "support/Scene.h"
#include "support/TreeDump.h"

#include <UndoAccess.h>

#include <kqx/Anchor.h>

#include <gtest/gtest.h>

#include <string>

namespace db2test {
namespace {

/// The core's services for undo, called in the order in which undo calls them.
class CoreManagerArchiveTest : public ::testing::Test
{
protected:
    // --- Nodes ---

    /// Destroys the node as undo does, which then holds it.
    void archive(Node* archived)
    {
        ASSERT_TRUE(UndoAccess::archiveNode(core, *archived));
        ASSERT_EQ(core.db_destroyLeafNode(archived), Status::kSuccess);
    }

    /// Creates the node again as the undo of its destruction does.
    Status bringBack(Node* archived, Node* next = nullptr, Node** outNode = nullptr)
    {
        UndoAccess::resurrectNode(core, *archived);
        const std::wstring name = archived->getName().c_str();
        if (!archived->isUnknown())
            return core.db_createNode(archived->getTypeId(), name.c_str(), archived->getParent(), next, outNode);
        return core.db_createUnknownNode(archived->getTypeName().c_str(), *archived->getModule(), name.c_str(),
                                         archived->getParent(), next, archived->isLegacy(), outNode);
    }

    void expectBack(Node* archived, Node* next = nullptr)
    {
        Node* out = nullptr;
        ASSERT_EQ(bringBack(archived, next, &out), Status::kSuccess);
        ASSERT_EQ(out, archived);
        EXPECT_EQ(UndoAccess::takeBackNode(core), nullptr);
        EXPECT_FALSE(archived->hasAnyFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    }

    // --- Dynamic elements ---

    void archive(Element* element)
    {
        ASSERT_TRUE(UndoAccess::archiveElement(core, *element));
        ASSERT_EQ(core.db_destroyDynamicElement(element), Status::kSuccess);
    }

    Status bringBack(Element* element, Element* next = nullptr, Element** outElement = nullptr)
    {
        UndoAccess::resurrectElement(core, *element);
        const std::wstring name = element->getName();
        return core.db_createDynamicElement(ElementMetaDataCopier(*element->getMetaData()), name.c_str(),
                                            element->getNode(), next, outElement);
    }

    void expectBack(Element* element, Element* next = nullptr)
    {
        Element* out = nullptr;
        ASSERT_EQ(bringBack(element, next, &out), Status::kSuccess);
        ASSERT_EQ(out, element);
        EXPECT_EQ(UndoAccess::takeBackElement(core), nullptr);
        EXPECT_FALSE(element->hasAnyFlag(ElementFlag::kInUndo | ElementFlag::kDestroyed));
    }

    Element* dynamicElement(const wchar_t* name, bool isArray = false)
    {
        StringAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, owner, nullptr, &made), Status::kSuccess);
        return made;
    }

    void commit() { ASSERT_EQ(scene.commit(), Status::kSuccess); }

    /// The number of nodes of the type "All" in memory.
    [[nodiscard]] unsigned int inMemory() const
    {
        return core.getRegistry().lookupNodeTemplate(Scene::kAll)->getReferenceCount();
    }

    Scene scene;
    CoreManager& core = scene.core();
    Node* owner = scene.nodeOf(Scene::kPlain, L"owner");
    Node* node = scene.node(L"node", owner);
    Attribute* text = node->findAttributeByName(L"String");
};

// --- Nodes that undo holds ---

TEST_F(CoreManagerArchiveTest, AnArchivedNodeIsMarkedAndLivesOnUntilItIsDestroyed)
{
    const std::wstring before = dumpTree(core);
    ASSERT_TRUE(UndoAccess::archiveNode(core, *node));
    EXPECT_TRUE(node->hasFlag(NodeFlag::kInUndo));
    EXPECT_FALSE(node->isDestroyed());
    EXPECT_EQ(core.db_renameNode(node, L"new"), Status::kInUndo);
    UndoAccess::cancelArchiveNode(core, *node);
    EXPECT_FALSE(node->hasFlag(NodeFlag::kInUndo));
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(core.db_renameNode(node, L"new"), Status::kSuccess);
}

TEST_F(CoreManagerArchiveTest, NoCommitFreesANodeThatUndoHolds)
{
    scene.write(text, L"a text that takes memory");
    const kqx::AnchorHandle<Node> handle(node);
    archive(node);
    EXPECT_EQ(handle.get(), nullptr);
    EXPECT_TRUE(node->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_EQ(owner->getFirstChild(), nullptr);
    commit();
    commit();
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(text->getValue().getString(), L"a text that takes memory");
    UndoAccess::finalDestroyNode(core, *node);
}

TEST_F(CoreManagerArchiveTest, ANodeThatUndoHoldsIsNotCounted)
{
    CoreManager::Statistics expected = core.getStatistics();
    archive(node);
    expected.nodes -= 1;
    expected.elements -= 26;
    EXPECT_EQ(core.getStatistics(), expected);
    UndoAccess::finalDestroyNode(core, *node);
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerArchiveTest, TheNextCreationBringsTheNodeBackWithItsValuesAndPlace)
{
    scene.write(text, L"a text that takes memory");
    ASSERT_EQ(core.db_resizeAttributeArray(node->findAttributeArrayByName(L"IntItems"), 3), Status::kSuccess);
    scene.write(node->findAttributeArrayByName(L"IntItems")->getAttribute(2), 8);
    ASSERT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), L"old", node, nullptr), Status::kSuccess);
    Node* const sibling = scene.node(L"sibling", owner);
    const std::wstring before = dumpTree(core);

    archive(node);
    commit();
    expectBack(node, sibling);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(inMemory(), 2u);
    commit();
    EXPECT_EQ(inMemory(), 2u);
}

TEST_F(CoreManagerArchiveTest, AnUnknownNodeComesBackWithItsTypeAndElements)
{
    for (const bool isLegacy : {false, true})
    {
        SCOPED_TRACE(isLegacy ? "legacy" : "unknown");
        Node* const unknown = scene.unknownNode(L"unknown", owner, isLegacy);
        if (!isLegacy)
        {
            Element* odd = nullptr;
            ASSERT_EQ(core.createUnknownElement(StringAttributeMetaDataDef(), L"odd", unknown, &odd), Status::kSuccess);
            scene.write(static_cast<Attribute*>(odd), L"a text that takes memory");
        }
        const std::wstring before = dumpTree(core);
        archive(unknown);
        commit();
        expectBack(unknown);
        EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    }
}

TEST_F(CoreManagerArchiveTest, ANodeThatComesBackToATakenNameGetsANumber)
{
    archive(node);
    scene.node(L"node", owner);
    scene.node(L"a", owner);
    scene.node(L"b", owner);
    expectBack(node);
    EXPECT_EQ(node->getName(), L"node0");
    EXPECT_EQ(owner->findChildByName(L"node0"), node);
    EXPECT_EQ(owner->getLastChild(), node);
}

/// Counts the nodes that it made objects of.
class CountingFactory : public APIBaseFactory
{
public:
    void* createNodeAPI(Node*, void*) override
    {
        ++count;
        return &count;
    }

    int count = 0;
};

TEST_F(CoreManagerArchiveTest, ANodeThatComesBackKeepsItsApiObject)
{
    CountingFactory factory;
    ASSERT_EQ(scene.registry().registerNodeTemplate(new NodeTemplate(L"Made", 10, scene.module(), &factory)),
              Status::kSuccess);
    Node* const made = scene.nodeOf(10, L"made");
    archive(made);
    expectBack(made);
    EXPECT_EQ(factory.count, 1);
    EXPECT_EQ(made->getAPI(), &factory.count);
}

TEST_F(CoreManagerArchiveTest, ANodeMayGoAndComeBackManyTimes)
{
    const std::wstring before = dumpTree(core);
    for (int i = 0; i < 10; ++i)
    {
        archive(node);
        commit();
        expectBack(node);
    }
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(core.db_destroyLeafNode(node), Status::kSuccess) << "for good, as any node";
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerArchiveTest, OnlyTheNextCreationBringsANodeBack)
{
    archive(node);
    expectBack(node);
    Node* const other = scene.node(L"other", owner);
    EXPECT_NE(other, node);
    EXPECT_EQ(other->getName(), L"other");
}

TEST_F(CoreManagerArchiveTest, ANodeWhoseCreationIsRefusedCanBeTakenBack)
{
    Node* const elsewhere = scene.node(L"elsewhere");
    archive(node);
    const std::wstring before = dumpTree(core);
    ASSERT_EQ(bringBack(node, elsewhere), Status::kNextNotChildOfParent);
    EXPECT_EQ(UndoAccess::takeBackNode(core), node);
    EXPECT_EQ(UndoAccess::takeBackNode(core), nullptr);
    EXPECT_TRUE(node->hasFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed));
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));

    EXPECT_NE(scene.node(L"other", owner), node) << "a new node, for nothing is pending";
    commit();
    expectBack(node);
}

TEST_F(CoreManagerArchiveTest, ATakenBackNodeStaysRefusedWhileALockIsOutstanding)
{
    archive(node);
    Attribute* const locked = scene.node(L"other")->findAttributeByName(L"Int");
    ValueHandle value;
    ASSERT_EQ(core.db_lockAttribute(locked, &value), Status::kSuccess);
    ASSERT_EQ(bringBack(node), Status::kLockOutstanding);
    EXPECT_EQ(UndoAccess::takeBackNode(core), node);
    ASSERT_EQ(core.db_unlockAttribute(locked), Status::kSuccess);
    expectBack(node);
}

TEST_F(CoreManagerArchiveTest, AFinallyDestroyedNodeIsFreedByTheNextCommit)
{
    archive(node);
    commit();
    UndoAccess::finalDestroyNode(core, *node);
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(node->getName(), L"node");
    EXPECT_EQ(core.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 1u);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerArchiveTest, FinalDestructionTouchesNeitherParentNorSiblings)
{
    Node* const sibling = scene.node(L"sibling", owner);
    archive(node);
    ASSERT_EQ(core.db_renameNode(sibling, L"node"), Status::kSuccess);
    const std::wstring before = dumpTree(core);
    UndoAccess::finalDestroyNode(core, *node);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(owner->findChildByName(L"node"), sibling);
    commit();
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArchiveTest, AParentMayBeFreedBeforeAChildThatUndoHolds)
{
    archive(node);
    archive(owner);
    UndoAccess::finalDestroyNode(core, *owner);
    commit();
    EXPECT_EQ(inMemory(), 1u);
    UndoAccess::finalDestroyNode(core, *node);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerArchiveTest, ParentAndChildMayBeFinallyDestroyedInEitherOrder)
{
    for (const bool isParentFirst : {false, true})
    {
        Node* const parent = scene.node(L"parent");
        Node* const child = scene.node(L"child", parent);
        child->setFlag(NodeFlag::kDestroyedNow);
        archive(child);
        archive(parent);
        UndoAccess::finalDestroyNode(core, isParentFirst ? *parent : *child);
        UndoAccess::finalDestroyNode(core, isParentFirst ? *child : *parent);
        commit();
        EXPECT_EQ(inMemory(), 3u) << "the child is listed and keeps its parent";
        EXPECT_EQ(child->getParent()->getName(), L"parent");
        child->clearFlag(NodeFlag::kDestroyedNow);
        commit();
        EXPECT_EQ(inMemory(), 1u);
    }
}

TEST_F(CoreManagerArchiveTest, AParentThatComesBackCanTakeItsChildBack)
{
    const std::wstring before = dumpTree(core);
    archive(node);
    archive(owner);
    commit();
    expectBack(owner);
    expectBack(node);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArchiveTest, ANodeCannotComeBackUnderAParentThatIsGone)
{
    archive(node);
    archive(owner);
    EXPECT_EQ(bringBack(node), Status::kFailure);
    EXPECT_EQ(UndoAccess::takeBackNode(core), node);
    UndoAccess::finalDestroyNode(core, *node);
    UndoAccess::finalDestroyNode(core, *owner);
}

TEST_F(CoreManagerArchiveTest, ClearLeavesWhatUndoHolds)
{
    scene.write(text, L"a text that takes memory");
    archive(node);
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(text->getValue().getString(), L"a text that takes memory");
    UndoAccess::finalDestroyNode(core, *node);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

// --- Dynamic elements that undo holds ---

TEST_F(CoreManagerArchiveTest, AnArchivedElementIsMarkedAndLivesOnUntilItIsDestroyed)
{
    Element* const extra = dynamicElement(L"extra");
    const std::wstring before = dumpTree(core);
    ASSERT_TRUE(UndoAccess::archiveElement(core, *extra));
    EXPECT_TRUE(extra->hasFlag(ElementFlag::kInUndo));
    EXPECT_FALSE(extra->isDestroyed());
    EXPECT_EQ(core.db_renameDynamicElement(extra, L"new"), Status::kInUndo);
    UndoAccess::cancelArchiveElement(core, *extra);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(core.db_renameDynamicElement(extra, L"new"), Status::kSuccess);
}

TEST_F(CoreManagerArchiveTest, NoCommitFreesAnElementThatUndoHolds)
{
    auto* const extra = static_cast<Attribute*>(dynamicElement(L"extra"));
    scene.write(extra, L"a text that takes memory");
    archive(extra);
    EXPECT_TRUE(extra->hasFlag(ElementFlag::kInUndo | ElementFlag::kDestroyed));
    EXPECT_EQ(owner->getDynamicElementCount(), 0u);
    EXPECT_EQ(core.getStatistics().dynamicElements, 0u);
    commit();
    EXPECT_EQ(extra->getValue().getString(), L"a text that takes memory");
    UndoAccess::finalDestroyElement(core, *extra);
    commit();
}

TEST_F(CoreManagerArchiveTest, TheNextCreationBringsTheElementBackWithItsValuesAndPlace)
{
    dynamicElement(L"first");
    auto* const extra = static_cast<Attribute*>(dynamicElement(L"extra"));
    auto* const extras = static_cast<AttributeArray*>(dynamicElement(L"extras", true));
    dynamicElement(L"last");
    scene.write(extra, L"a text that takes memory");
    ASSERT_EQ(core.db_resizeAttributeArray(extras, 3), Status::kSuccess);
    scene.write(extras->getAttribute(2), L"another text that takes memory");
    const std::wstring before = dumpTree(core);

    archive(extra);
    archive(extras);
    commit();
    expectBack(extras, owner->findElementByName(L"last"));
    expectBack(extra, extras);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    commit();
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArchiveTest, AnElementCannotComeBackToATakenName)
{
    Element* const extra = dynamicElement(L"extra");
    archive(extra);
    dynamicElement(L"extra");
    const std::wstring before = dumpTree(core);
    EXPECT_EQ(bringBack(extra), Status::kDuplicateElementName);
    EXPECT_EQ(UndoAccess::takeBackElement(core), extra);
    EXPECT_TRUE(extra->hasFlag(ElementFlag::kInUndo | ElementFlag::kDestroyed));
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));

    EXPECT_NE(dynamicElement(L"other"), extra) << "a new element, for nothing is pending";
    ASSERT_EQ(core.db_destroyDynamicElement(owner->findElementByName(L"extra")), Status::kSuccess);
    expectBack(extra);
}

TEST_F(CoreManagerArchiveTest, AnElementMayGoAndComeBackManyTimes)
{
    Element* const extra = dynamicElement(L"extra");
    const std::wstring before = dumpTree(core);
    for (int i = 0; i < 10; ++i)
    {
        archive(extra);
        commit();
        expectBack(extra);
    }
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(core.db_destroyDynamicElement(extra), Status::kSuccess) << "for good, as any element";
    commit();
}

TEST_F(CoreManagerArchiveTest, AnElementComesBackOnANodeThatWentAndCameBack)
{
    Element* const extra = dynamicElement(L"extra");
    const std::wstring before = dumpTree(core);
    archive(extra);
    archive(node);
    archive(owner);
    commit();
    expectBack(owner);
    expectBack(node);
    expectBack(extra);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerArchiveTest, AFinallyDestroyedElementIsFreedByTheNextCommit)
{
    auto* const extra = static_cast<Attribute*>(dynamicElement(L"extra"));
    scene.write(extra, L"a text that takes memory");
    archive(extra);
    commit();
    UndoAccess::finalDestroyElement(core, *extra);
    EXPECT_EQ(extra->getValue().getString(), L"a text that takes memory");
    commit(); // the leak check of the sanitized run finds what was not freed
    EXPECT_EQ(owner->getDynamicElementCount(), 0u);
}

TEST_F(CoreManagerArchiveTest, AnElementAndItsNodeMayBeFinallyDestroyedInEitherOrder)
{
    for (const bool isNodeFirst : {false, true})
    {
        Node* const on = scene.node(L"on");
        Element* extra = nullptr;
        ASSERT_EQ(core.db_createDynamicElement(StringAttributeMetaDataDef(), L"extra", on, nullptr, &extra),
                  Status::kSuccess);
        archive(extra);
        archive(on);
        if (isNodeFirst)
            UndoAccess::finalDestroyNode(core, *on);
        UndoAccess::finalDestroyElement(core, *extra);
        if (!isNodeFirst)
            UndoAccess::finalDestroyNode(core, *on);
        commit();
        EXPECT_EQ(inMemory(), 1u);
    }
}

TEST_F(CoreManagerArchiveTest, ANodeMayBeFreedBeforeAnElementThatUndoHolds)
{
    Element* extra = nullptr;
    ASSERT_EQ(core.db_createDynamicElement(StringAttributeMetaDataDef(), L"extra", node, nullptr, &extra),
              Status::kSuccess);
    archive(extra);
    ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
    commit();
    UndoAccess::finalDestroyElement(core, *extra);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

} // namespace
} // namespace db2test
