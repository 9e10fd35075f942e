#include "support/Scene.h"
#include "support/TreeDump.h"

#include <kqx/Anchor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// What commits free and keep. A node's memory is observed through the reference count of its template, which falls
/// when the memory is freed; what is kept is read, which the address sanitizer watches.
class CoreManagerCommitsTest : public ::testing::Test
{
protected:
    Node* node(const wchar_t* name, Node* parent = nullptr) { return scene.node(name, parent); }

    void destroy(Node* leaf) { ASSERT_EQ(core.db_destroyLeafNode(leaf), Status::kSuccess); }

    AttributeArray* items(Node* on, const wchar_t* name, unsigned int size)
    {
        AttributeArray* const array = on->findAttributeArrayByName(name);
        EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    Element* dynamicElement(Node* on, const wchar_t* name, bool isArray = false)
    {
        StringAttributeMetaDataDef definition;
        definition.setDefaultValue(kqx::String(L"a text that takes memory"));
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, on, nullptr, &made), Status::kSuccess);
        if (isArray)
        {
            EXPECT_EQ(core.db_resizeAttributeArray(static_cast<AttributeArray*>(made), 3), Status::kSuccess);
        }
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
};

// --- What a commit frees ---

TEST_F(CoreManagerCommitsTest, ADestroyedNodeStaysReadableUntilTheCommit)
{
    Node* const gone = node(L"gone");
    Attribute* const text = gone->findAttributeByName(L"String");
    scene.write(text, L"a text that takes memory");
    AttributeArray* const array = items(gone, L"StringItems", 3);
    destroy(gone);

    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(gone->getName(), L"gone");
    EXPECT_EQ(gone->getParent(), scene.root());
    EXPECT_EQ(text->getValue().getString(), L"a text that takes memory");
    EXPECT_EQ(array->getSize(), 3u);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, ATransientCommitFreesNothing)
{
    Node* const gone = node(L"gone");
    Node* const owner = node(L"owner");
    auto* const extra = static_cast<Attribute*>(dynamicElement(owner, L"extra"));
    destroy(gone);
    ASSERT_EQ(core.db_destroyDynamicElement(extra), Status::kSuccess);
    const kqx::AnchorHandle<kqx::Anchor> handle(&core.getElementAnchor());

    ASSERT_EQ(core.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 2u);
    EXPECT_EQ(gone->getName(), L"gone");
    EXPECT_EQ(extra->getValue().getString(), L"a text that takes memory");
    EXPECT_NE(handle.get(), nullptr);

    commit();
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(handle.get(), nullptr);
}

TEST_F(CoreManagerCommitsTest, ACommitLeavesWhatIsAlive)
{
    Node* const parent = node(L"parent");
    Node* const child = node(L"child", parent);
    dynamicElement(child, L"extra");
    items(child, L"StringItems", 2);
    ASSERT_EQ(core.db_createReference(parent->findAttributeByName(L"Int"), child->findAttributeByName(L"Int"), false),
              Status::kSuccess);
    const kqx::AnchorHandle<Node> handle(child);
    const std::wstring before = dumpTree(core);
    commit();
    commit();
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
    EXPECT_EQ(handle.get(), child);
}

TEST_F(CoreManagerCommitsTest, TheHandlesOfTheElementAnchorAreClearedAtEachCollection)
{
    const kqx::AnchorHandle<kqx::Anchor> first(&core.getElementAnchor());
    EXPECT_TRUE(core.getElementAnchor().hasHandles());
    commit();
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_FALSE(core.getElementAnchor().hasHandles());

    const kqx::AnchorHandle<kqx::Anchor> second(&core.getElementAnchor());
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(second.get(), nullptr);
}

TEST_F(CoreManagerCommitsTest, ADestroyedSubtreeIsFreedWhole)
{
    Node* const top = node(L"top");
    Node* const middle = node(L"middle", top);
    Node* const leaf = node(L"leaf", middle);
    for (Node* const each : {leaf, middle, top})
        destroy(each);
    EXPECT_EQ(inMemory(), 3u);
    EXPECT_EQ(leaf->getParent(), middle);
    EXPECT_EQ(middle->getParent(), top);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AnElementAndItsNodeMayGoInOneCommit)
{
    Node* const gone = node(L"gone");
    ASSERT_EQ(core.db_destroyDynamicElement(dynamicElement(gone, L"extra")), Status::kSuccess);
    ASSERT_EQ(core.db_destroyDynamicElement(dynamicElement(gone, L"extras", true)), Status::kSuccess);
    Element* old = nullptr;
    ASSERT_EQ(core.createLegacyElement(StringAttributeMetaDataDef(), L"old", gone, &old), Status::kSuccess);
    ASSERT_EQ(core.destroyLegacyElement(old), Status::kSuccess);
    destroy(gone);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, WhatWasDestroyedWithoutACommitEndsWithItsManager)
{
    {
        CoreManager other(scene.registry(), Scene::kRoot);
        Node* gone = nullptr;
        ASSERT_EQ(other.db_createNode(Scene::kAll, L"gone", nullptr, nullptr, &gone), Status::kSuccess);
        Element* extra = nullptr;
        ASSERT_EQ(other.db_createDynamicElement(StringAttributeMetaDataDef(), L"extra", gone, nullptr, &extra),
                  Status::kSuccess);
        ASSERT_EQ(other.db_destroyDynamicElement(extra), Status::kSuccess);
        ASSERT_EQ(other.db_destroyLeafNode(gone), Status::kSuccess);
    }
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AHundredThousandDestroyedNodesAreFreedInOneCommit)
{
    constexpr unsigned int kNodes = 100'000; // more than the garbage list is made for
    std::vector<Node*> nodes;
    for (unsigned int i = 0; i < kNodes; ++i)
        nodes.push_back(scene.nodeOf(Scene::kPlain, (L"n" + std::to_wstring(i)).c_str()));
    for (Node* const each : nodes)
        destroy(each);
    const NodeTemplate* const plain = scene.registry().lookupNodeTemplate(Scene::kPlain);
    EXPECT_EQ(plain->getReferenceCount(), kNodes);
    commit();
    EXPECT_EQ(plain->getReferenceCount(), 0u);
}

TEST_F(CoreManagerCommitsTest, ATemplateCanBeUnregisteredOnceItsLastNodeIsFreed)
{
    Node* const gone = node(L"gone");
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kAll), Status::kTemplateInUse);
    destroy(gone);
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kAll), Status::kTemplateInUse);
    commit();
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kAll), Status::kSuccess);
}

// --- What layers still list ---

TEST_F(CoreManagerCommitsTest, ADestroyedNodeThatALayerListsStaysUntilTheLayerLetsGo)
{
    for (const std::uint32_t bit : {NodeFlag::kChanged, NodeFlag::kCreated, NodeFlag::kDestroyedNow, NodeFlag::kRenamed,
                                    NodeFlag::kReordered, NodeFlag::kReparented, NodeFlag::kWatched})
    {
        SCOPED_TRACE(bit);
        Node* const listed = node(L"listed");
        listed->setFlag(bit);
        destroy(listed);
        for (int i = 0; i < 2; ++i)
        {
            commit();
            ASSERT_EQ(inMemory(), 1u);
            EXPECT_EQ(listed->getName(), L"listed");
            EXPECT_EQ(listed->findAttributeByName(L"Int")->getValue().getInt(), 0);
        }
        listed->clearFlag(bit);
        commit();
        ASSERT_EQ(inMemory(), 0u);
    }
}

TEST_F(CoreManagerCommitsTest, FlagsThatListNothingKeepNothing)
{
    for (const std::uint32_t bit :
         {NodeFlag::kCreatedInItem, NodeFlag::kAddedForSave, NodeFlag::kFirstHostFlag, 0x80000000u})
    {
        SCOPED_TRACE(bit);
        Node* const gone = node(L"gone");
        gone->setFlag(bit);
        gone->findAttributeByName(L"Int")->setFlag(ElementFlag::kRecordedInItem | ElementFlag::kFirstHostFlag);
        destroy(gone);
        commit();
        EXPECT_EQ(inMemory(), 0u);
    }
}

TEST_F(CoreManagerCommitsTest, AListedNodeKeepsItsDestroyedAncestors)
{
    Node* const top = node(L"top");
    Node* const middle = node(L"middle", top);
    Node* const leaf = node(L"leaf", middle);
    Node* const aside = node(L"aside", top);
    leaf->setFlag(NodeFlag::kDestroyedNow);
    for (Node* const each : {leaf, middle, aside, top})
        destroy(each);

    commit();
    EXPECT_EQ(inMemory(), 3u) << "all but the one aside";
    EXPECT_EQ(leaf->getParent(), middle);
    EXPECT_EQ(middle->getParent(), top);
    EXPECT_EQ(top->getParent(), scene.root());
    EXPECT_EQ(top->getName(), L"top");

    leaf->clearFlag(NodeFlag::kDestroyedNow);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AListedAncestorDoesNotKeepItsDescendants)
{
    Node* const top = node(L"top");
    Node* const leaf = node(L"leaf", top);
    top->setFlag(NodeFlag::kDestroyedNow);
    destroy(leaf);
    destroy(top);
    commit();
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_EQ(top->getName(), L"top");
    top->clearFlag(NodeFlag::kDestroyedNow);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AncestorsThatALaterCommitFindsAreKeptToo)
{
    Node* const top = node(L"top");
    Node* const leaf = node(L"leaf", top);
    leaf->setFlag(NodeFlag::kDestroyedNow);
    destroy(leaf);
    commit();
    EXPECT_EQ(inMemory(), 2u);
    destroy(top);
    commit();
    EXPECT_EQ(inMemory(), 2u);
    EXPECT_EQ(leaf->getParent()->getName(), L"top");
    leaf->clearFlag(NodeFlag::kDestroyedNow);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

/// The bits of elements that change sets and the compute layer keep lists by.
constexpr std::uint32_t kListBitsOfElements[] = {
    ElementFlag::kChanged, ElementFlag::kCreated,       ElementFlag::kDestroyedNow,    ElementFlag::kRenamed,
    ElementFlag::kResized, ElementFlag::kReferenceMade, ElementFlag::kReferenceBroken, ElementFlag::kDirty};

TEST_F(CoreManagerCommitsTest, AListedAttributeKeepsItsDestroyedNode)
{
    for (const std::uint32_t bit : kListBitsOfElements)
    {
        SCOPED_TRACE(bit);
        Node* const parent = node(L"parent");
        Node* const owner = node(L"owner", parent);
        Attribute* const listed = owner->findAttributeByName(L"String");
        scene.write(listed, L"a text that takes memory");
        listed->setFlag(bit);
        destroy(owner);
        destroy(parent);

        commit();
        ASSERT_EQ(inMemory(), 2u);
        EXPECT_EQ(listed->getValue().getString(), L"a text that takes memory");
        EXPECT_EQ(listed->getNode()->getParent(), parent);
        listed->clearFlag(bit);
        commit();
        ASSERT_EQ(inMemory(), 0u);
    }
}

TEST_F(CoreManagerCommitsTest, AListedItemKeepsItsDestroyedNode)
{
    Node* const owner = node(L"owner");
    Attribute* const listed = items(owner, L"StringItems", 3)->getAttribute(2);
    scene.write(listed, L"a text that takes memory");
    listed->setFlag(ElementFlag::kDirty);
    destroy(owner);
    commit();
    ASSERT_EQ(inMemory(), 1u);
    EXPECT_EQ(listed->getValue().getString(), L"a text that takes memory");
    listed->clearFlag(ElementFlag::kDirty);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AListedItemThatAShrinkReleasedKeepsItsDestroyedNode)
{
    Node* const owner = node(L"owner");
    Attribute* const listed = items(owner, L"StringItems", 3)->getAttribute(2);
    listed->setFlag(ElementFlag::kChanged);
    items(owner, L"StringItems", 1);
    destroy(owner);
    commit();
    ASSERT_EQ(inMemory(), 1u);
    EXPECT_EQ(listed->getNode(), owner);
    listed->clearFlag(ElementFlag::kChanged);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, AListedLegacyElementKeepsItsDestroyedNode)
{
    Node* const owner = node(L"owner");
    Element* old = nullptr;
    ASSERT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), L"old", owner, &old), Status::kSuccess);
    old->setFlag(ElementFlag::kChanged);
    destroy(owner);
    commit();
    ASSERT_EQ(inMemory(), 1u);
    EXPECT_STREQ(old->getName(), L"old");
    old->clearFlag(ElementFlag::kChanged);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, ADestroyedDynamicElementThatALayerListsStaysUntilTheLayerLetsGo)
{
    Node* const owner = node(L"owner");
    for (const std::uint32_t bit : kListBitsOfElements)
    {
        SCOPED_TRACE(bit);
        auto* const listed = static_cast<Attribute*>(dynamicElement(owner, L"extra"));
        listed->setFlag(bit);
        ASSERT_EQ(core.db_destroyDynamicElement(listed), Status::kSuccess);
        for (int i = 0; i < 2; ++i)
        {
            commit();
            EXPECT_EQ(listed->getValue().getString(), L"a text that takes memory");
            EXPECT_EQ(listed->getNode(), owner);
        }
        listed->clearFlag(bit);
        commit();
    }
}

TEST_F(CoreManagerCommitsTest, AListedItemKeepsItsDestroyedDynamicArray)
{
    Node* const owner = node(L"owner");
    auto* const array = static_cast<AttributeArray*>(dynamicElement(owner, L"extras", true));
    Attribute* const listed = array->getAttribute(1);
    listed->setFlag(ElementFlag::kChanged);
    ASSERT_EQ(core.db_destroyDynamicElement(array), Status::kSuccess);
    commit();
    EXPECT_EQ(listed->getValue().getString(), L"a text that takes memory");
    EXPECT_EQ(listed->getParentArray(), array);
    EXPECT_EQ(listed->getNode(), owner);
    listed->clearFlag(ElementFlag::kChanged);
    commit();
}

TEST_F(CoreManagerCommitsTest, AListedElementKeepsTheNodeThatItWasOn)
{
    Node* const top = node(L"top");
    Node* const owner = node(L"owner", top);
    Element* const listed = dynamicElement(owner, L"extra");
    listed->setFlag(ElementFlag::kDestroyedNow);
    ASSERT_EQ(core.db_destroyDynamicElement(listed), Status::kSuccess);
    destroy(owner);
    destroy(top);
    commit();
    ASSERT_EQ(inMemory(), 2u);
    EXPECT_EQ(listed->getNode(), owner);
    EXPECT_EQ(owner->getParent(), top);
    listed->clearFlag(ElementFlag::kDestroyedNow);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, ListedObjectsEndWithTheirManager)
{
    {
        CoreManager other(scene.registry(), Scene::kRoot);
        Node* listed = nullptr;
        ASSERT_EQ(other.db_createNode(Scene::kAll, L"listed", nullptr, nullptr, &listed), Status::kSuccess);
        listed->setFlag(NodeFlag::kWatched);
        ASSERT_EQ(other.db_destroyLeafNode(listed), Status::kSuccess);
        ASSERT_EQ(other.db_commit(L"", L"", 1), Status::kSuccess);
        Node* alive = nullptr;
        ASSERT_EQ(other.db_createNode(Scene::kAll, L"alive", nullptr, nullptr, &alive), Status::kSuccess);
        alive->setFlag(NodeFlag::kChangeFlags);
    }
    EXPECT_EQ(inMemory(), 0u);
}

// --- Clear ---

/// A tree with one of everything.
class CoreManagerClearTest : public CoreManagerCommitsTest
{
protected:
    CoreManagerClearTest()
    {
        Node* const parent = node(L"parent");
        Node* const child = node(L"child", parent);
        for (int i = 0; i < 5; ++i)
            node(L"child", parent);
        dynamicElement(parent, L"extra");
        Element* const extras = dynamicElement(child, L"extras", true);
        Node* const unknown = scene.unknownNode(L"unknown", child);
        scene.unknownNode(L"legacy", child, true);
        Element* odd = nullptr;
        EXPECT_EQ(core.createUnknownElement(StringAttributeMetaDataDef(), L"odd", unknown, &odd), Status::kSuccess);
        EXPECT_EQ(core.createLegacyElement(StringAttributeMetaDataDef(), L"old", parent, nullptr), Status::kSuccess);
        items(parent, L"StringItems", 4);
        Attribute* const item = items(child, L"IntItems", 4)->getAttribute(3);
        reference(parent->findAttributeByName(L"Int"), item, true);
        reference(item, static_cast<AttributeArray*>(extras)->getAttribute(0));
        reference(item, static_cast<Attribute*>(odd));
        reference(parent->findAttributeByName(L"Float"), parent->findAttributeByName(L"Double"));
        destroy(node(L"gone"));
        EXPECT_EQ(core.db_destroyDynamicElement(dynamicElement(parent, L"gone")), Status::kSuccess);
    }

    void reference(Attribute* referenced, Attribute* referencer, bool isSingle = false)
    {
        EXPECT_EQ(core.db_createReference(referenced, referencer, isSingle), Status::kSuccess);
    }

    [[nodiscard]] Node* parentNode() const { return core.getRoot()->findChildByName(L"parent"); }
};

TEST_F(CoreManagerClearTest, ClearFreesEverythingBelowTheRoot)
{
    Node* const root = scene.root();
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 0u);
    CoreManager::Statistics expected;
    expected.nodes = 1;
    EXPECT_EQ(core.getStatistics(), expected);
    EXPECT_EQ(scene.root(), root);
    EXPECT_EQ(root->getName(), L"Root");
    EXPECT_EQ(root->getFirstChild(), nullptr);
    EXPECT_EQ(root->getLastChild(), nullptr);
    EXPECT_EQ(root->findChildByName(L"parent"), nullptr);
    EXPECT_EQ(root->isChildNameValid(L"parent", nullptr), Status::kSuccess);
}

TEST_F(CoreManagerClearTest, ATreeCanBeBuiltAgainAfterAClear)
{
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    const CoreManager fresh(scene.registry(), Scene::kRoot);
    EXPECT_TRUE(isSameDump(dumpTree(fresh), dumpTree(core)));
    for (int round = 0; round < 2; ++round)
    {
        for (int i = 0; i < 5; ++i)
            node(L"parent");
        EXPECT_NE(scene.root()->findChildByName(L"parent3"), nullptr);
        EXPECT_EQ(core.getStatistics().nodes, 6u);
        ASSERT_EQ(core.db_clear(), Status::kSuccess);
    }
    ASSERT_EQ(core.db_clear(), Status::kSuccess) << "of an empty tree";
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(CoreManagerClearTest, ClearClearsTheHandlesToNodes)
{
    const kqx::AnchorHandle<Node> handle(parentNode());
    const kqx::AnchorHandle<Node> rootHandle(scene.root());
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(handle.get(), nullptr);
    EXPECT_EQ(rootHandle.get(), scene.root());
}

TEST_F(CoreManagerClearTest, ClearLeavesWhatALayerListsToALaterCommit)
{
    Node* const listed = parentNode();
    listed->setFlag(NodeFlag::kChanged);
    Attribute* const text = listed->findAttributeByName(L"String");
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(inMemory(), 1u);
    EXPECT_TRUE(listed->isDestroyed());
    EXPECT_EQ(listed->getName(), L"parent");
    EXPECT_EQ(text->getValue().getString(), L"");
    EXPECT_EQ(core.getStatistics().nodes, 1u);
    listed->clearFlag(NodeFlag::kChanged);
    commit();
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerClearTest, AManagerEndsWithEverythingInItsTree)
{
    // Scene ends the manager; what it does not free is found by the leak check of the sanitized run.
    EXPECT_GT(inMemory(), 0u);
    EXPECT_GT(core.getStatistics().references, 0u);
}

TEST_F(CoreManagerCommitsTest, ClearDestroysAHundredThousandReferences)
{
    AttributeArray* const array = items(node(L"many"), L"IntItems", 100'000);
    Attribute* const one = node(L"one")->findAttributeByName(L"Int");
    for (unsigned int i = 0; i < array->getSize(); ++i)
    {
        ASSERT_EQ(core.db_createReference(i % 2 == 0 ? one : array->getAttribute(i - 1), array->getAttribute(i), false),
                  Status::kSuccess);
    }
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(core.getStatistics().references, 0u);
    EXPECT_EQ(inMemory(), 0u);
}

TEST_F(CoreManagerCommitsTest, ClearDestroysNodesWithManyDynamicElements)
{
    Node* const owner = node(L"owner");
    for (int i = 0; i < 10'000; ++i)
        dynamicElement(owner, (L"extra" + std::to_wstring(i)).c_str());
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(core.getStatistics().dynamicElements, 0u);
}

} // namespace
} // namespace db2test
