#include "support/Scene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using Names = std::vector<std::wstring>;

/// Two trees side by side under the root, so that a walk that leaves its own shows:
///
///     body ─┬─ arm ─┬─ hand ─┬─ thumb
///           │       │        └─ ring
///           │       └─ elbow
///           └─ leg ─── foot
///     hat
class NodeIteratorsTest : public ::testing::Test
{
protected:
    Node* plain(const wchar_t* name, Node* parent = nullptr) { return scene.nodeOf(Scene::kPlain, name, parent); }

    Scene scene;
    Node* body = plain(L"body");
    Node* arm = plain(L"arm", body);
    Node* hand = plain(L"hand", arm);
    Node* thumb = plain(L"thumb", hand);
    Node* ring = plain(L"ring", hand);
    Node* elbow = plain(L"elbow", arm);
    Node* leg = plain(L"leg", body);
    Node* foot = plain(L"foot", leg);
    Node* hat = plain(L"hat");
};

template <class Iterator>
Names remaining(Iterator& iterator)
{
    Names names;
    while (iterator.next())
        names.emplace_back(iterator.node()->getName().c_str());
    return names;
}

template <class Iterator>
void expectEnded(Iterator& iterator)
{
    EXPECT_EQ(iterator.node(), nullptr);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(iterator.next());
        EXPECT_EQ(iterator.node(), nullptr);
    }
}

// --- Pre-order, over nodes and over constant nodes alike ---

template <class Iterator>
class PreOrderTest : public NodeIteratorsTest
{
};

using PreOrderIterators = ::testing::Types<NodeIterator, ConstNodeIterator>;
TYPED_TEST_SUITE(PreOrderTest, PreOrderIterators);

TYPED_TEST(PreOrderTest, ParentsComeBeforeTheirChildrenInOrder)
{
    TypeParam iterator(this->body);
    EXPECT_EQ(remaining(iterator), (Names{L"arm", L"hand", L"thumb", L"ring", L"elbow", L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, TheRootComesFirstWhenItIsIncluded)
{
    TypeParam iterator;
    iterator.includeRoot(true);
    iterator.begin(this->arm);
    EXPECT_EQ(remaining(iterator), (Names{L"arm", L"hand", L"thumb", L"ring", L"elbow"}));
}

TYPED_TEST(PreOrderTest, TheWholeTreeIsWalkedFromItsRoot)
{
    TypeParam iterator(this->scene.root());
    EXPECT_EQ(remaining(iterator),
              (Names{L"body", L"arm", L"hand", L"thumb", L"ring", L"elbow", L"leg", L"foot", L"hat"}));
}

TYPED_TEST(PreOrderTest, AChildlessRootYieldsNothing)
{
    for (Node* const childless : {this->hat, this->thumb, this->foot, this->elbow})
    {
        TypeParam iterator(childless);
        EXPECT_EQ(remaining(iterator), Names{}) << childless->getName().c_str();
    }
}

TYPED_TEST(PreOrderTest, AChildlessRootThatIsIncludedYieldsItselfAlone)
{
    for (Node* const childless : {this->hat, this->thumb, this->foot, this->elbow})
    {
        TypeParam iterator(childless);
        iterator.includeRoot(true);
        EXPECT_EQ(remaining(iterator), Names{childless->getName().c_str()});
    }
}

TYPED_TEST(PreOrderTest, AWalkKnowsItsRoot)
{
    TypeParam iterator(this->arm);
    EXPECT_EQ(iterator.root(), this->arm);
    remaining(iterator);
    EXPECT_EQ(iterator.root(), this->arm);
    EXPECT_EQ(TypeParam().root(), nullptr);
}

TYPED_TEST(PreOrderTest, NoNodeIsCurrentBeforeTheFirstStepAndAfterTheEnd)
{
    TypeParam iterator(this->leg);
    EXPECT_EQ(iterator.node(), nullptr);
    EXPECT_TRUE(iterator.next());
    EXPECT_EQ(iterator.node(), this->foot);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TYPED_TEST(PreOrderTest, AWalkOfNullOrOfNothingIsEmpty)
{
    TypeParam fresh;
    expectEnded(fresh);
    TypeParam null(nullptr);
    null.includeRoot(true);
    expectEnded(null);
}

TYPED_TEST(PreOrderTest, AnEndedWalkStartsAgainWithBegin)
{
    TypeParam iterator(this->leg);
    remaining(iterator);
    iterator.begin(this->hand);
    EXPECT_EQ(remaining(iterator), (Names{L"thumb", L"ring"}));
    iterator.begin(nullptr);
    expectEnded(iterator);
}

TYPED_TEST(PreOrderTest, BeginningAgainKeepsTheOptions)
{
    TypeParam iterator;
    iterator.includeRoot(true);
    iterator.begin(this->hand);
    remaining(iterator);
    iterator.begin(this->leg);
    EXPECT_EQ(remaining(iterator), (Names{L"leg", L"foot"}));
    iterator.includeRoot(false);
    iterator.begin(this->leg);
    EXPECT_EQ(remaining(iterator), Names{L"foot"});
}

TYPED_TEST(PreOrderTest, SkippingPassesOverTheChildrenOfTheCurrentNodeOnce)
{
    TypeParam iterator(this->body);
    ASSERT_TRUE(iterator.next());
    ASSERT_EQ(iterator.node(), this->arm);
    iterator.skipChildren(true);
    EXPECT_EQ(remaining(iterator), (Names{L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, SkippingInTheLastBranchClimbsToTheEnd)
{
    TypeParam iterator(this->body);
    while (iterator.next() && iterator.node() != this->leg)
        continue;
    iterator.skipChildren(true);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TYPED_TEST(PreOrderTest, SkippingTheChildrenOfAnIncludedRootEndsTheWalk)
{
    TypeParam iterator(this->arm);
    iterator.includeRoot(true);
    ASSERT_TRUE(iterator.next());
    iterator.skipChildren(true);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TYPED_TEST(PreOrderTest, SkippingCanBeTakenBack)
{
    TypeParam iterator(this->body);
    ASSERT_TRUE(iterator.next());
    iterator.skipChildren(true);
    iterator.skipChildren(false);
    EXPECT_EQ(remaining(iterator), (Names{L"hand", L"thumb", L"ring", L"elbow", L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, SkippingAtALeafChangesNothing)
{
    TypeParam iterator(this->body);
    while (iterator.next() && iterator.node() != this->thumb)
        continue;
    iterator.skipChildren(true);
    EXPECT_EQ(remaining(iterator), (Names{L"ring", L"elbow", L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, SetNodeContinuesFromThatNode)
{
    TypeParam iterator(this->body);
    ASSERT_TRUE(iterator.next());
    iterator.setNode(this->ring);
    EXPECT_EQ(iterator.node(), this->ring);
    EXPECT_EQ(remaining(iterator), (Names{L"elbow", L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, SetNodeGoesBackAndRevivesAnEndedWalk)
{
    TypeParam iterator(this->body);
    remaining(iterator);
    iterator.setNode(this->arm);
    EXPECT_EQ(iterator.node(), this->arm);
    EXPECT_EQ(remaining(iterator), (Names{L"hand", L"thumb", L"ring", L"elbow", L"leg", L"foot"}));
}

TYPED_TEST(PreOrderTest, SetNodeBeforeTheFirstStepSkipsWhatComesBefore)
{
    TypeParam iterator(this->body);
    iterator.setNode(this->leg);
    EXPECT_EQ(remaining(iterator), Names{L"foot"});
}

TYPED_TEST(PreOrderTest, SetNodeWithTheRootGoesOnWithItsFirstChild)
{
    TypeParam iterator(this->hand);
    remaining(iterator);
    iterator.setNode(this->hand);
    EXPECT_EQ(remaining(iterator), (Names{L"thumb", L"ring"}));
}

TYPED_TEST(PreOrderTest, ACopyGoesItsOwnWay)
{
    TypeParam iterator(this->body);
    ASSERT_TRUE(iterator.next());
    TypeParam copy = iterator;
    EXPECT_EQ(copy.node(), this->arm);
    EXPECT_EQ(remaining(copy).size(), 6u);
    EXPECT_EQ(iterator.node(), this->arm);
    EXPECT_EQ(remaining(iterator).size(), 6u);
}

TYPED_TEST(PreOrderTest, AnEditUnderWayCountsWhenTheWalkGetsThere)
{
    TypeParam iterator(this->body);
    while (iterator.next() && iterator.node() != this->elbow)
        continue;
    this->plain(L"toe", this->foot);
    this->plain(L"funny bone", this->elbow);
    ASSERT_EQ(this->scene.core().db_reparentNode(this->hand, this->leg, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(remaining(iterator), (Names{L"funny bone", L"leg", L"foot", L"toe", L"hand", L"thumb", L"ring"}));
}

TYPED_TEST(PreOrderTest, WhatTheWalkHasLeftMayBeDestroyed)
{
    TypeParam iterator(this->body);
    Names names;
    Node* leafJustLeft = nullptr;
    while (iterator.next())
    {
        names.emplace_back(iterator.node()->getName().c_str());
        if (leafJustLeft != nullptr)
        {
            ASSERT_EQ(this->scene.core().db_destroyLeafNode(leafJustLeft), Status::kSuccess);
        }
        auto* const current = const_cast<Node*>(static_cast<const Node*>(iterator.node()));
        leafJustLeft = current->getFirstChild() == nullptr ? current : nullptr;
    }
    EXPECT_EQ(names, (Names{L"arm", L"hand", L"thumb", L"ring", L"elbow", L"leg", L"foot"}));
    EXPECT_TRUE(this->thumb->isDestroyed());
    EXPECT_TRUE(this->elbow->isDestroyed());
}

TYPED_TEST(PreOrderTest, ADeepAndAWideTreeAreWalkedToTheEnd)
{
    constexpr int kNodes = 100'000;
    Node* deepest = this->hat;
    for (int i = 0; i < kNodes; ++i)
    {
        deepest = this->plain(L"deep", deepest);
        this->plain((L"wide" + std::to_wstring(i)).c_str(), this->foot);
    }
    int count = 0;
    TypeParam iterator(this->hat);
    while (iterator.next())
        ++count;
    EXPECT_EQ(count, kNodes);
    for (count = 0, iterator.begin(this->foot); iterator.next();)
        ++count;
    EXPECT_EQ(count, kNodes);
}

// --- Post-order ---

class PostOrderTest : public NodeIteratorsTest
{
};

TEST_F(PostOrderTest, ChildrenComeBeforeTheirParentAndTheRootIsNotVisited)
{
    NodeIteratorPostOrder iterator(body);
    EXPECT_EQ(remaining(iterator), (Names{L"thumb", L"ring", L"hand", L"elbow", L"arm", L"foot", L"leg"}));
}

TEST_F(PostOrderTest, TheWholeTreeIsWalkedFromItsRoot)
{
    NodeIteratorPostOrder iterator(scene.root());
    EXPECT_EQ(remaining(iterator),
              (Names{L"thumb", L"ring", L"hand", L"elbow", L"arm", L"foot", L"leg", L"body", L"hat"}));
}

TEST_F(PostOrderTest, AChildlessRootIsVisitedOnceAndAlone)
{
    for (Node* const childless : {hat, thumb, foot, elbow})
    {
        NodeIteratorPostOrder iterator(childless);
        EXPECT_EQ(remaining(iterator), Names{childless->getName().c_str()});
        expectEnded(iterator);
    }
}

TEST_F(PostOrderTest, NoNodeIsCurrentBeforeTheFirstStepAndAfterTheEnd)
{
    NodeIteratorPostOrder iterator(leg);
    EXPECT_EQ(iterator.node(), nullptr);
    EXPECT_TRUE(iterator.next());
    EXPECT_EQ(iterator.node(), foot);
    EXPECT_FALSE(iterator.next());
    expectEnded(iterator);
}

TEST_F(PostOrderTest, AWalkOfNullOrOfNothingIsEmpty)
{
    NodeIteratorPostOrder fresh;
    expectEnded(fresh);
    NodeIteratorPostOrder null(nullptr);
    expectEnded(null);
}

TEST_F(PostOrderTest, AnEndedWalkStartsAgainWithBegin)
{
    NodeIteratorPostOrder iterator(leg);
    remaining(iterator);
    iterator.begin(hand);
    EXPECT_EQ(remaining(iterator), (Names{L"thumb", L"ring"}));
    iterator.begin(nullptr);
    expectEnded(iterator);
}

TEST_F(PostOrderTest, ACopyGoesItsOwnWay)
{
    NodeIteratorPostOrder iterator(body);
    ASSERT_TRUE(iterator.next());
    NodeIteratorPostOrder copy = iterator;
    EXPECT_EQ(copy.node(), thumb);
    EXPECT_EQ(remaining(copy).size(), 6u);
    EXPECT_EQ(iterator.node(), thumb);
    EXPECT_EQ(remaining(iterator).size(), 6u);
}

TEST_F(PostOrderTest, TheCurrentNodeMayBeDestroyed)
{
    NodeIteratorPostOrder iterator(scene.root());
    while (iterator.next())
        ASSERT_EQ(scene.core().db_destroyLeafNode(iterator.node()), Status::kSuccess);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_EQ(scene.core().getStatistics().nodes, 1u);
}

TEST_F(PostOrderTest, ADeepAndAWideTreeAreWalkedToTheEnd)
{
    constexpr int kNodes = 100'000;
    Node* deepest = hat;
    for (int i = 0; i < kNodes; ++i)
    {
        deepest = plain(L"deep", deepest);
        plain((L"wide" + std::to_wstring(i)).c_str(), foot);
    }
    int count = 0;
    NodeIteratorPostOrder iterator(hat);
    ASSERT_TRUE(iterator.next());
    EXPECT_EQ(iterator.node(), deepest);
    for (count = 1; iterator.next();)
        ++count;
    EXPECT_EQ(count, kNodes);
    for (count = 0, iterator.begin(foot); iterator.next();)
        ++count;
    EXPECT_EQ(count, kNodes);
}

} // namespace
} // namespace db2test
