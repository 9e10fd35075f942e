#include "ElementPosition.h"
#include "support/MeasuredHeap.h"
#include "support/NameCollision.h"
#include "support/Random.h"
#include "support/Scene.h"

#include <kqx/Anchor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// A family: |arm with the children |arm|thumb, |arm|index and |arm|ring; |leg beside it.
class NodeTest : public ::testing::Test
{
protected:
    Attribute* dynamicInt(const wchar_t* name, Node* on)
    {
        return scene.dynamicAttribute(IntAttributeMetaDataDef(), name, on);
    }

    Element* legacyInt(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(scene.core().createLegacyElement(definition, name, on, &made), Status::kSuccess);
        return made;
    }

    Scene scene;
    Node* arm = scene.node(L"arm");
    Node* thumb = scene.node(L"thumb", arm);
    Node* index = scene.node(L"index", arm);
    Node* ring = scene.node(L"ring", arm);
    Node* leg = scene.node(L"leg");
};

// --- Tree ---

TEST_F(NodeTest, TheRootHasNoParentAndNoSiblings)
{
    EXPECT_EQ(scene.root()->getParent(), nullptr);
    EXPECT_EQ(scene.root()->getPreviousSibling(), nullptr);
    EXPECT_EQ(scene.root()->getNextSibling(), nullptr);
}

TEST_F(NodeTest, ALeafHasNoChildren)
{
    EXPECT_EQ(thumb->getFirstChild(), nullptr);
    EXPECT_EQ(thumb->getLastChild(), nullptr);
}

TEST_F(NodeTest, ChildrenAreLinkedInOrderInBothDirections)
{
    EXPECT_EQ(arm->getFirstChild(), thumb);
    EXPECT_EQ(thumb->getNextSibling(), index);
    EXPECT_EQ(index->getNextSibling(), ring);
    EXPECT_EQ(ring->getNextSibling(), nullptr);

    EXPECT_EQ(arm->getLastChild(), ring);
    EXPECT_EQ(ring->getPreviousSibling(), index);
    EXPECT_EQ(index->getPreviousSibling(), thumb);
    EXPECT_EQ(thumb->getPreviousSibling(), nullptr);

    for (const Node* const child : {thumb, index, ring})
        EXPECT_EQ(child->getParent(), arm);
}

TEST_F(NodeTest, ADescendantIsAnyNodeBelow)
{
    Node* const nail = scene.node(L"nail", thumb);
    EXPECT_TRUE(thumb->isDescendantOf(arm));
    EXPECT_TRUE(nail->isDescendantOf(arm));
    EXPECT_TRUE(nail->isDescendantOf(scene.root()));
}

TEST_F(NodeTest, ANodeIsNoDescendantOfItselfOfNullOrOfWhatIsNotAbove)
{
    EXPECT_FALSE(arm->isDescendantOf(arm));
    EXPECT_FALSE(arm->isDescendantOf(nullptr));
    EXPECT_FALSE(arm->isDescendantOf(thumb));
    EXPECT_FALSE(thumb->isDescendantOf(index));
    EXPECT_FALSE(thumb->isDescendantOf(leg));
    EXPECT_FALSE(scene.root()->isDescendantOf(arm));
    EXPECT_FALSE(scene.root()->isDescendantOf(nullptr));
}

TEST_F(NodeTest, ADescendantIsWhoHasTheOtherOnTheWayToTheRoot)
{
    const auto hasOnItsWay = [](const Node* node, const Node* other) {
        for (node = node->getParent(); node != nullptr; node = node->getParent())
            if (node == other)
                return true;
        return false;
    };
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (const std::size_t isDeep : {0u, 1u, 2u}) // out of 2
    {
        std::vector<Node*> nodes{scene.root()};
        while (nodes.size() < 250)
            nodes.push_back(
                scene.nodeOf(Scene::kPlain, L"n", random.chance(isDeep, 2) ? nodes.back() : random.pick(nodes)));
        for (const Node* const node : nodes)
            for (const Node* const other : nodes)
                ASSERT_EQ(node->isDescendantOf(other), hasOnItsWay(node, other));
    }
}

TEST_F(NodeTest, FindChildByNameFindsTheChildOfExactlyThatName)
{
    EXPECT_EQ(arm->findChildByName(L"thumb"), thumb);
    EXPECT_EQ(arm->findChildByName(L"index"), index);
    EXPECT_EQ(arm->findChildByName(L"ring"), ring);
    EXPECT_EQ(arm->findChildByName(L"Ring"), nullptr);
    EXPECT_EQ(arm->findChildByName(L"rin"), nullptr);
    EXPECT_EQ(arm->findChildByName(L"rings"), nullptr);
    EXPECT_EQ(arm->findChildByName(L""), nullptr);
    EXPECT_EQ(arm->findChildByName(nullptr), nullptr);
}

TEST_F(NodeTest, FindChildByNameLooksAtChildrenOnly)
{
    EXPECT_EQ(scene.root()->findChildByName(L"thumb"), nullptr);
    EXPECT_EQ(arm->findChildByName(L"arm"), nullptr);
    EXPECT_EQ(arm->findChildByName(L"leg"), nullptr);
    EXPECT_EQ(leg->findChildByName(L"thumb"), nullptr);
}

// --- Type and name ---

TEST_F(NodeTest, TypeQueriesAnswerFromTheTemplate)
{
    const NodeTemplate* const all = scene.registry().lookupNodeTemplate(Scene::kAll);
    EXPECT_EQ(arm->getNodeTemplate(), all);
    EXPECT_EQ(arm->getTypeId(), unsigned{Scene::kAll});
    EXPECT_EQ(arm->getTypeName(), L"All");
    EXPECT_EQ(arm->getModule(), &scene.module());
    EXPECT_EQ(arm->getName(), L"arm");
}

TEST_F(NodeTest, WithoutAFactoryThereIsNoApiObject)
{
    EXPECT_EQ(arm->getAPI(), nullptr);
}

TEST_F(NodeTest, TheAnchorOfANodeIsWhatHandlesToItHangOn)
{
    EXPECT_FALSE(arm->getAnchor().hasHandles());
    const kqx::AnchorHandle<Node> handle(arm);
    EXPECT_TRUE(arm->getAnchor().hasHandles());
    arm->getAnchor().clearHandles();
    EXPECT_EQ(handle.get(), nullptr);
}

// --- Elements ---

TEST_F(NodeTest, ElementsAreTheTemplatesInItsOrderThenTheDynamicOnes)
{
    Attribute* const first = dynamicInt(L"first", arm);
    Attribute* const second = dynamicInt(L"second", arm);
    const NodeTemplate& all = *arm->getNodeTemplate();

    ASSERT_EQ(arm->getElementCount(), all.getElementCount() + 2);
    for (unsigned int i = 0; i < all.getElementCount(); ++i)
    {
        EXPECT_EQ(arm->getElement(i)->getMetaData(), all.getElementMetaData(i)) << "element " << i;
        EXPECT_EQ(arm->getElement(i)->isAttributeArray(), all.getElementMetaData(i)->isAttributeArray()) << i;
    }
    EXPECT_EQ(arm->getElement(all.getElementCount()), first);
    EXPECT_EQ(arm->getElement(all.getElementCount() + 1), second);
}

TEST_F(NodeTest, AnElementBeyondTheCountIsNull)
{
    dynamicInt(L"first", arm);
    EXPECT_EQ(arm->getElement(arm->getElementCount()), nullptr);
    EXPECT_EQ(arm->getElement(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(arm->getDynamicElement(1), nullptr);
    EXPECT_EQ(arm->getDynamicElement(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(arm->getLegacyElement(0), nullptr);
    EXPECT_EQ(arm->getLegacyElement(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(scene.root()->getElement(0), nullptr);
}

TEST_F(NodeTest, DynamicElementsAreCountedAndFoundFromZero)
{
    EXPECT_EQ(arm->getDynamicElementCount(), 0u);
    EXPECT_EQ(arm->getDynamicElement(0), nullptr);

    Attribute* const first = dynamicInt(L"first", arm);
    Attribute* const second = dynamicInt(L"second", arm);
    EXPECT_EQ(arm->getDynamicElementCount(), 2u);
    EXPECT_EQ(arm->getDynamicElement(0), first);
    EXPECT_EQ(arm->getDynamicElement(1), second);
}

TEST_F(NodeTest, TheNextDynamicElementIsTheOneBehind)
{
    Attribute* const first = dynamicInt(L"first", arm);
    Attribute* const second = dynamicInt(L"second", arm);
    EXPECT_EQ(arm->getNextDynamicElement(first), second);
    EXPECT_EQ(arm->getNextDynamicElement(second), nullptr);
}

TEST_F(NodeTest, ThereIsNoDynamicElementBehindOneThatIsNotAmongThem)
{
    dynamicInt(L"first", arm);
    EXPECT_EQ(arm->getNextDynamicElement(nullptr), nullptr);
    EXPECT_EQ(arm->getNextDynamicElement(arm->getElement(0)), nullptr);
    EXPECT_EQ(arm->getNextDynamicElement(arm->getElement(arm->getNodeTemplate()->getElementCount() - 1)), nullptr);
    EXPECT_EQ(arm->getNextDynamicElement(dynamicInt(L"first", leg)), nullptr);
}

TEST_F(NodeTest, LegacyElementsHaveAListOfTheirOwn)
{
    const unsigned int elementCount = arm->getElementCount();
    Element* const old = legacyInt(L"old", arm);
    Element* const older = legacyInt(L"older", arm);

    EXPECT_EQ(arm->getElementCount(), elementCount);
    ASSERT_EQ(arm->getLegacyElementCount(), 2u);
    EXPECT_EQ(arm->getLegacyElement(0), old);
    EXPECT_EQ(arm->getLegacyElement(1), older);
    EXPECT_EQ(arm->findElementByName(L"old"), nullptr);
}

TEST_F(NodeTest, FindElementByNameFindsTheElementOfExactlyThatName)
{
    Attribute* const extra = dynamicInt(L"extra", arm);
    EXPECT_EQ(arm->findElementByName(L"Int"), arm->getElement(0));
    EXPECT_EQ(arm->findElementByName(L"NullItems"), arm->getElement(25));
    EXPECT_EQ(arm->findElementByName(L"extra"), extra);
    EXPECT_EQ(arm->findElementByName(L"int"), nullptr);
    EXPECT_EQ(arm->findElementByName(L"absent"), nullptr);
    EXPECT_EQ(arm->findElementByName(L""), nullptr);
    EXPECT_EQ(arm->findElementByName(nullptr), nullptr);
    EXPECT_EQ(leg->findElementByName(L"extra"), nullptr);
}

TEST_F(NodeTest, FindElementByNameComparesTextsWhereHashesAreEqual)
{
    const NameCollision& names = nameCollision();
    Attribute* const extra = dynamicInt(names.first.c_str(), arm);
    EXPECT_EQ(arm->findElementByName(names.first.c_str()), extra);
    EXPECT_EQ(arm->findElementByName(names.second.c_str()), nullptr);
}

TEST_F(NodeTest, FindingByKindGivesNullForTheOtherKind)
{
    EXPECT_EQ(arm->findAttributeByName(L"Int"), arm->getElement(0));
    EXPECT_EQ(arm->findAttributeByName(L"IntItems"), nullptr);
    EXPECT_EQ(arm->findAttributeByName(L"absent"), nullptr);
    EXPECT_EQ(arm->findAttributeByName(nullptr), nullptr);

    EXPECT_EQ(arm->findAttributeArrayByName(L"IntItems"), arm->findElementByName(L"IntItems"));
    EXPECT_EQ(arm->findAttributeArrayByName(L"Int"), nullptr);
    EXPECT_EQ(arm->findAttributeArrayByName(L"absent"), nullptr);
    EXPECT_EQ(arm->findAttributeArrayByName(nullptr), nullptr);
}

TEST_F(NodeTest, LegacyElementsAreFoundByNameAndKindAmongThemselves)
{
    Element* const value = legacyInt(L"old", arm);
    Element* const list = legacyInt(L"oldItems", arm, true);

    EXPECT_EQ(arm->findLegacyAttributeByName(L"old"), value);
    EXPECT_EQ(arm->findLegacyAttributeByName(L"oldItems"), nullptr);
    EXPECT_EQ(arm->findLegacyAttributeByName(L"Int"), nullptr);
    EXPECT_EQ(arm->findLegacyAttributeByName(nullptr), nullptr);

    EXPECT_EQ(arm->findLegacyAttributeArrayByName(L"oldItems"), list);
    EXPECT_EQ(arm->findLegacyAttributeArrayByName(L"old"), nullptr);
    EXPECT_EQ(arm->findLegacyAttributeArrayByName(L"IntItems"), nullptr);
    EXPECT_EQ(arm->findLegacyAttributeArrayByName(nullptr), nullptr);
}

// --- Names that are free ---

TEST_F(NodeTest, LegacyElementsOfAnyNumberAreFoundUntilTheyGo)
{
    std::vector<Element*> elements;
    const auto nameOf = [](std::size_t i) { return L"old" + std::to_wstring(i); };
    for (std::size_t i = 0; i < 60; ++i)
    {
        ASSERT_TRUE(arm->isLegacyElementNameUnique(nameOf(i).c_str()));
        elements.push_back(legacyInt(nameOf(i).c_str(), arm, i % 2 == 1));
        for (std::size_t k = 0; k <= i; ++k)
        {
            ASSERT_FALSE(arm->isLegacyElementNameUnique(nameOf(k).c_str()));
            ASSERT_EQ(arm->findLegacyAttributeByName(nameOf(k).c_str()), k % 2 == 0 ? elements[k] : nullptr);
            ASSERT_EQ(arm->findLegacyAttributeArrayByName(nameOf(k).c_str()), k % 2 == 1 ? elements[k] : nullptr);
        }
    }
    for (std::size_t i = 0; i < 60; i += 3)
        ASSERT_EQ(scene.core().destroyLegacyElement(elements[i]), Status::kSuccess);
    for (std::size_t i = 0; i < 60; ++i)
    {
        ASSERT_EQ(arm->isLegacyElementNameUnique(nameOf(i).c_str()), i % 3 == 0);
        ASSERT_EQ(arm->findLegacyAttributeByName(nameOf(i).c_str()), i % 6 == 2 || i % 6 == 4 ? elements[i] : nullptr);
    }
}

TEST_F(NodeTest, AnElementNameIsFreeUntilAnElementOfTheKindHasIt)
{
    EXPECT_TRUE(arm->isDynamicElementNameUnique(L"extra"));
    EXPECT_TRUE(arm->isLegacyElementNameUnique(L"extra"));

    dynamicInt(L"extra", arm);
    EXPECT_FALSE(arm->isDynamicElementNameUnique(L"extra"));
    EXPECT_TRUE(arm->isLegacyElementNameUnique(L"extra"));
    EXPECT_TRUE(leg->isDynamicElementNameUnique(L"extra"));

    legacyInt(L"old", arm);
    EXPECT_FALSE(arm->isLegacyElementNameUnique(L"old"));
    EXPECT_TRUE(arm->isDynamicElementNameUnique(L"old"));
}

TEST_F(NodeTest, ElementNamesOfOneHashCountAsOneNameAtAnyNumberOfElements)
{
    const NameCollision& names = nameCollision();
    dynamicInt(names.first.c_str(), arm);
    legacyInt(names.first.c_str(), arm);
    for (int count = 1; count <= 100; ++count)
    {
        SCOPED_TRACE(count);
        ASSERT_FALSE(arm->isDynamicElementNameUnique(names.first.c_str()));
        ASSERT_FALSE(arm->isDynamicElementNameUnique(names.second.c_str()));
        ASSERT_FALSE(arm->isLegacyElementNameUnique(names.second.c_str()));
        ASSERT_TRUE(arm->isDynamicElementNameUnique(L"free"));
        ASSERT_TRUE(arm->isLegacyElementNameUnique(L"free"));
        dynamicInt((L"dynamic" + std::to_wstring(count)).c_str(), arm);
        legacyInt((L"legacy" + std::to_wstring(count)).c_str(), arm);
    }
}

/// Children by the hundred under one parent, with the answers that isChildNameValid() and findChildByName() owe.
class NodeChildNamesTest : public ::testing::Test
{
protected:
    static std::wstring nameOf(std::size_t number) { return L"child" + std::to_wstring(number); }

    void addChildren(std::size_t count)
    {
        for (std::size_t number = 0; number < count; ++number)
            children.push_back(scene.nodeOf(Scene::kPlain, nameOf(number).c_str(), parent));
    }

    /// Each child has its own name to itself, and `absent` is free.
    void expectNamesKnown(const wchar_t* absent) const
    {
        for (const Node* const child : children)
        {
            const wchar_t* const name = child->getName().c_str();
            ASSERT_EQ(parent->findChildByName(name), child) << child->getName().c_str();
            ASSERT_EQ(parent->isChildNameValid(name, nullptr), Status::kDuplicateChildName);
            ASSERT_EQ(parent->isChildNameValid(name, child), Status::kSuccess) << "its own name";
            ASSERT_EQ(parent->isChildNameValid(name, parent), Status::kDuplicateChildName);
        }
        ASSERT_EQ(parent->findChildByName(absent), nullptr);
        ASSERT_EQ(parent->isChildNameValid(absent, nullptr), Status::kSuccess);
        ASSERT_EQ(parent->isChildNameValid(absent, parent->getFirstChild()), Status::kSuccess);
        if (children.size() > 1)
        {
            ASSERT_EQ(parent->isChildNameValid(children[0]->getName().c_str(), children[1]),
                      Status::kDuplicateChildName);
        }
    }

    Scene scene;
    Node* parent = scene.nodeOf(Scene::kPlain, L"parent");
    std::vector<Node*> children;
};

/// The numbers around the child from which there is an index, and a large one.
class NodeChildNamesAtSizeTest : public NodeChildNamesTest, public ::testing::WithParamInterface<std::size_t>
{
};

TEST_P(NodeChildNamesAtSizeTest, EveryNameIsTakenAndFound)
{
    addChildren(GetParam());
    expectNamesKnown(L"absent");
}

TEST_P(NodeChildNamesAtSizeTest, RenamesFreeTheOldNameAndTakeTheNewOne)
{
    addChildren(GetParam());
    for (std::size_t number = 0; number < children.size(); ++number)
    {
        const std::wstring newName = L"renamed" + std::to_wstring(number);
        ASSERT_EQ(scene.core().db_renameNode(children[number], newName.c_str()), Status::kSuccess);
        ASSERT_EQ(parent->findChildByName(nameOf(number).c_str()), nullptr);
        ASSERT_EQ(parent->isChildNameValid(nameOf(number).c_str(), nullptr), Status::kSuccess);
    }
    expectNamesKnown(L"child0");
}

TEST_P(NodeChildNamesAtSizeTest, ReorderingKeepsTheNames)
{
    addChildren(GetParam());
    for (Node* const child : children)
        ASSERT_EQ(
            scene.core().db_reorderNode(child, parent->getFirstChild() != child ? parent->getFirstChild() : nullptr),
            Status::kSuccess);
    expectNamesKnown(L"absent");
}

TEST_P(NodeChildNamesAtSizeTest, ReparentingTakesTheNamesAlong)
{
    addChildren(GetParam());
    Node* const formerParent = parent;
    parent = scene.nodeOf(Scene::kPlain, L"newParent");
    for (Node* const child : children)
        ASSERT_EQ(scene.core().db_reparentNode(child, parent, nullptr, nullptr), Status::kSuccess);

    expectNamesKnown(L"absent");
    for (const Node* const child : children)
    {
        ASSERT_EQ(formerParent->findChildByName(child->getName().c_str()), nullptr);
        ASSERT_EQ(formerParent->isChildNameValid(child->getName().c_str(), nullptr), Status::kSuccess);
    }
}

TEST_P(NodeChildNamesAtSizeTest, DestroyingFreesTheName)
{
    addChildren(GetParam());
    while (!children.empty())
    {
        const std::wstring name = children.back()->getName().c_str();
        ASSERT_EQ(scene.core().db_destroyLeafNode(children.back()), Status::kSuccess);
        children.pop_back();
        ASSERT_EQ(parent->findChildByName(name.c_str()), nullptr);
        ASSERT_EQ(parent->isChildNameValid(name.c_str(), nullptr), Status::kSuccess);
        if (children.size() % 100 < 5)
            expectNamesKnown(name.c_str());
    }
}

TEST_P(NodeChildNamesAtSizeTest, AnotherNameOfTheSameHashIsTakenButFindsNobody)
{
    const NameCollision& names = nameCollision();
    Node* const bearer = scene.nodeOf(Scene::kPlain, names.first.c_str(), parent);
    addChildren(GetParam() - 1);

    EXPECT_EQ(parent->isChildNameValid(names.second.c_str(), nullptr), Status::kDuplicateChildName);
    EXPECT_EQ(parent->isChildNameValid(names.second.c_str(), bearer), Status::kSuccess);
    EXPECT_EQ(parent->findChildByName(names.second.c_str()), nullptr);
    EXPECT_EQ(parent->findChildByName(names.first.c_str()), bearer);
}

INSTANTIATE_TEST_SUITE_P(Children, NodeChildNamesAtSizeTest, ::testing::Values(1u, 2u, 3u, 4u, 1000u));

TEST_F(NodeChildNamesTest, ANullNameIsTheEmptyOneWhichNoChildHas)
{
    for (int count = 0; count < 5; ++count)
    {
        EXPECT_EQ(parent->isChildNameValid(nullptr, nullptr), Status::kSuccess) << count << " children";
        EXPECT_EQ(parent->isChildNameValid(L"", nullptr), Status::kSuccess) << count << " children";
        addChildren(1);
    }
}

TEST_F(NodeChildNamesTest, AMixOfEditsLeavesTheNamesRight)
{
    addChildren(50);
    Node* const other = scene.nodeOf(Scene::kPlain, L"other");
    for (std::size_t round = 0; round < 20; ++round)
    {
        Node* const child = children[round];
        ASSERT_EQ(scene.core().db_renameNode(child, (L"round" + std::to_wstring(round)).c_str()), Status::kSuccess);
        ASSERT_EQ(scene.core().db_reparentNode(child, other, other->getFirstChild(), nullptr), Status::kSuccess);
        ASSERT_EQ(scene.core().db_reparentNode(child, parent, parent->getFirstChild(), L"back"), Status::kSuccess);
        ASSERT_EQ(scene.core().db_renameNode(child, nameOf(round).c_str()), Status::kSuccess);
        expectNamesKnown(L"back");
    }
    EXPECT_EQ(other->getFirstChild(), nullptr);
}

TEST_F(NodeChildNamesTest, AMillionRenamesUnderOneParentDoNotGrowItsIndex)
{
    addChildren(8);
    std::size_t number = 0;
    const auto rename = [&](std::size_t count) {
        for (const std::size_t end = number + count; number < end; ++number)
        {
            const std::wstring name = L"n" + std::to_wstring(10'000'000 + number); // all of one length
            ASSERT_EQ(scene.core().db_renameNode(children[number % children.size()], name.c_str()), Status::kSuccess);
        }
    };

    MeasuredHeap heap;
    rename(1000);
    const std::size_t atFirst = heap.largestBytes();
    heap.reset();
    rename(999'000);
    EXPECT_LE(heap.largestBytes(), atFirst);
    expectNamesKnown(L"n10000000");
}

// --- Flags ---

TEST_F(NodeTest, AFlagIsSetWhenEveryBitOfTheMaskIs)
{
    constexpr std::uint32_t kBoth = 0x30000;
    arm->setFlag(0x10000);
    EXPECT_TRUE(arm->hasFlag(0x10000));
    EXPECT_FALSE(arm->hasFlag(kBoth));
    EXPECT_TRUE(arm->hasAnyFlag(kBoth));
    EXPECT_FALSE(arm->hasAnyFlag(0x20000));

    arm->setFlag(0x20000);
    EXPECT_TRUE(arm->hasFlag(kBoth));
    EXPECT_TRUE(arm->hasFlag(0));
    EXPECT_FALSE(arm->hasAnyFlag(0));
}

TEST_F(NodeTest, SettingAndClearingFlagsLeavesTheOthers)
{
    arm->setFlag(0x50000);
    arm->clearFlag(0x10000);
    EXPECT_EQ(arm->getFlags(), 0x40000u);
    arm->clearFlag(0x20000);
    EXPECT_EQ(arm->getFlags(), 0x40000u);
}

TEST_F(NodeTest, AFreshNodeIsNeitherDestroyedNorUnknownNorLegacy)
{
    EXPECT_FALSE(arm->isDestroyed());
    EXPECT_FALSE(arm->isUnknown());
    EXPECT_FALSE(arm->isLegacy());
    EXPECT_FALSE(arm->isLegacyNodeHandled());
    EXPECT_EQ(arm->getFlags(), 0u);
}

TEST_F(NodeTest, AKnownNodeIsNeverHandledAsLegacy)
{
    arm->setLegacyNodeHandled();
    EXPECT_FALSE(arm->isLegacyNodeHandled());
    EXPECT_EQ(arm->getFlags(), 0u);

    arm->setFlag(NodeFlag::kLegacyHandled);
    EXPECT_FALSE(arm->isLegacyNodeHandled());
}

TEST_F(NodeTest, AnUnknownNodeThatIsNotLegacyIsNeverHandledAsLegacy)
{
    Node* const unknown = scene.unknownNode(L"odd");
    unknown->setLegacyNodeHandled();
    EXPECT_FALSE(unknown->isLegacyNodeHandled());
}

TEST_F(NodeTest, ALegacyNodeIsHandledOnceItIsSaidSo)
{
    Node* const legacy = scene.unknownNode(L"old", nullptr, true);
    EXPECT_TRUE(legacy->isLegacy());
    EXPECT_FALSE(legacy->isLegacyNodeHandled());
    legacy->setLegacyNodeHandled();
    EXPECT_TRUE(legacy->isLegacyNodeHandled());
}

// --- References ---

TEST_F(NodeTest, TheEdgeCountCountsAReferenceOncePerSide)
{
    EXPECT_EQ(arm->getEdgeCount(), 0u);
    ASSERT_EQ(
        scene.core().db_createReference(leg->findAttributeByName(L"Int"), arm->findAttributeByName(L"Int"), false),
        Status::kSuccess);
    EXPECT_EQ(arm->getEdgeCount(), 1u);
    EXPECT_EQ(leg->getEdgeCount(), 1u);

    ASSERT_EQ(
        scene.core().db_createReference(arm->findAttributeByName(L"Int"), arm->findAttributeByName(L"Float"), false),
        Status::kSuccess);
    EXPECT_EQ(arm->getEdgeCount(), 3u) << "both ends of the second reference are here";
    EXPECT_EQ(leg->getEdgeCount(), 1u);
}

// --- Where an element stands in a list ---

/// Counts the elements that are looked at.
class CountingList
{
public:
    explicit CountingList(const std::vector<Element*>& list) : list_(list) {}
    [[nodiscard]] std::size_t size() const { return list_.size(); }
    Element* operator[](std::size_t index) const
    {
        ++lookedAt;
        return list_[index];
    }
    mutable std::size_t lookedAt = 0;

private:
    const std::vector<Element*>& list_;
};

TEST(ElementPositionTest, IsFoundFromTheNearerEnd)
{
    Scene scene;
    Node* const node = scene.node(L"node");
    for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{10}, std::size_t{11}})
    {
        std::vector<Element*> elements;
        for (unsigned int i = 0; i < size; ++i)
            elements.push_back(node->getElement(i));
        for (std::size_t i = 0; i < size; ++i)
        {
            const CountingList list(elements);
            EXPECT_EQ(positionOf(elements[i], list), i);
            EXPECT_LE(list.lookedAt, 2 * std::min(i, size - 1 - i) + 2);
        }
        EXPECT_EQ(positionOf(node->getElement(static_cast<unsigned int>(size)), CountingList(elements)), size);
        EXPECT_EQ(positionOf(nullptr, CountingList(elements)), size);
    }
    const std::vector<Element*> none;
    EXPECT_EQ(positionOf(node->getElement(0), CountingList(none)), 0u);
}

/// A search from the back for each of these would take 10^11 steps.
TEST(NodeManyElementsTest, TheNextDynamicElementIsFoundFromTheNearerEnd)
{
    constexpr std::size_t kElements = 100000;
    Scene scene;
    Node* const node = scene.node(L"node");
    std::vector<Element*> elements;
    for (int i = 0; elements.size() < kElements; ++i)
    {
        const std::wstring name = std::to_wstring(i).append(L"e");
        if (node->isDynamicElementNameUnique(name.c_str())) // among so many, some hashes are the same
            elements.push_back(scene.dynamicAttribute(IntAttributeMetaDataDef(), name.c_str(), node));
    }
    for (int i = 0; i < 1000000; ++i)
    {
        ASSERT_EQ(node->getNextDynamicElement(elements[0]), elements[1]);
        ASSERT_EQ(node->getNextDynamicElement(elements[kElements - 2]), elements[kElements - 1]);
    }
    EXPECT_EQ(node->getNextDynamicElement(elements[kElements - 1]), nullptr);
    EXPECT_EQ(node->getNextDynamicElement(elements[kElements / 2]), elements[kElements / 2 + 1]);
}

} // namespace
} // namespace db2test
