#include "support/ChangeLists.h"
#include "support/MeasuredHeap.h"
#include "support/Random.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

class ConcreteChangeSetTest : public ::testing::Test
{
protected:
    ConcreteChangeSetTest()
    {
        for (int i = 0; i < 6; ++i)
        {
            Node* const node = scene.node((L"n" + std::to_wstring(i)).c_str());
            objects.push_back({node, node->findAttributeByName(L"Int"), node->findAttributeArrayByName(L"IntItems")});
        }
    }

    /// Adds the objects of these numbers, in this order.
    void fill(const ChangeListRow& list, const std::vector<std::size_t>& numbers)
    {
        for (const std::size_t number : numbers)
            list.add(changes, objects[number]);
    }

    /// Which objects are in a list, by their numbers; -1 for one that is none of them.
    [[nodiscard]] std::vector<int> numbersIn(const ChangeListRow& list, const ChangeSet& set) const
    {
        std::vector<int> numbers;
        for (unsigned int i = 0; i < list.count(set); ++i)
        {
            const auto found = std::find_if(objects.begin(), objects.end(), [&](const Listed& listed) {
                return list.entryOf(listed) == list.at(set, i);
            });
            numbers.push_back(found != objects.end() ? static_cast<int>(found - objects.begin()) : -1);
        }
        return numbers;
    }
    [[nodiscard]] std::vector<int> numbersIn(const ChangeListRow& list) const { return numbersIn(list, changes); }

    Scene scene;
    std::vector<Listed> objects;
    ConcreteChangeSet changes;
};

/// A case for each of the sixteen lists.
class ConcreteChangeSetListTest : public ConcreteChangeSetTest, public ::testing::WithParamInterface<std::size_t>
{
protected:
    const ChangeListRow& list = changeListRows()[GetParam()];
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, ConcreteChangeSetListTest,
                         ::testing::Range<std::size_t>(0, changeListRows().size()), [](const auto& test) {
                             std::string name;
                             for (const wchar_t letter : std::wstring(changeListRows()[test.param].what))
                                 if (letter != L' ')
                                     name += static_cast<char>(letter);
                             return name;
                         });

// --- Adding and reading ---

TEST_F(ConcreteChangeSetTest, IsEmptyAfterConstruction)
{
    for (const ChangeListRow& list : changeListRows())
        EXPECT_EQ(list.count(changes), 0u) << ::testing::PrintToString(std::wstring(list.what));
    EXPECT_FALSE(changes.hasTopologicalChange());
}

TEST_P(ConcreteChangeSetListTest, KeepsWhatIsAddedInOrderAndNoOtherListHasIt)
{
    fill(list, {3, 0, 4});
    EXPECT_EQ(numbersIn(list), (std::vector<int>{3, 0, 4}));
    EXPECT_EQ(changesOf(changes).size(), 3u);
}

TEST_P(ConcreteChangeSetListTest, TakesAnObjectTwiceWithoutAsking)
{
    fill(list, {1, 2, 1});
    EXPECT_EQ(numbersIn(list), (std::vector<int>{1, 2, 1}));
}

TEST_P(ConcreteChangeSetListTest, LeavesTheBitsOnTheObjectsAlone)
{
    const std::uint32_t nodeFlags = objects[0].node->getFlags();
    const std::uint32_t attributeFlags = objects[0].attribute->getFlags();
    const std::uint32_t arrayFlags = objects[0].array->getFlags();
    fill(list, {0});
    list.remove(changes, objects[0]);
    EXPECT_EQ(objects[0].node->getFlags(), nodeFlags);
    EXPECT_EQ(objects[0].attribute->getFlags(), attributeFlags);
    EXPECT_EQ(objects[0].array->getFlags(), arrayFlags);
}

// --- Taking out ---

TEST_F(ConcreteChangeSetTest, AListThatEntriesComeToAndGoFromInTurnStaysSmall)
{
    constexpr std::uintptr_t kLive = 100;
    const auto entry = [](std::uintptr_t number) { return reinterpret_cast<Node*>(16 * (1 + number % (2 * kLive))); };
    const MeasuredHeap heap;
    for (std::uintptr_t i = 0; i < 100 * kLive; ++i)
    {
        changes.addChangedNode(entry(i + kLive));
        if (i >= kLive)
            changes.removeChangedNode(entry(i));
    }
    EXPECT_LE(heap.largestBytes(), 16 * kLive * sizeof(void*));
    ASSERT_EQ(changes.ChangedNodeCount(), kLive);
    for (unsigned int i = 0; i < kLive; ++i)
        EXPECT_EQ(changes.ChangedNode(i), entry(100 * kLive + i));
}

TEST_P(ConcreteChangeSetListTest, WhatIsTakenOutLeavesTheOthersInOrder)
{
    fill(list, {0, 1, 2, 3, 4});
    list.remove(changes, objects[2]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{0, 1, 3, 4}));
    list.remove(changes, objects[0]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{1, 3, 4}));
    list.remove(changes, objects[4]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{1, 3}));
}

TEST_P(ConcreteChangeSetListTest, TheCountIsRightBetweenTakingOutAndReading)
{
    fill(list, {0, 1, 2});
    list.remove(changes, objects[1]);
    EXPECT_EQ(list.count(changes), 2u);
    list.add(changes, objects[5]);
    EXPECT_EQ(list.count(changes), 3u);
    list.remove(changes, objects[0]);
    EXPECT_EQ(list.count(changes), 2u);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{2, 5}));
}

TEST_P(ConcreteChangeSetListTest, OfEqualEntriesTheFirstIsTakenOut)
{
    fill(list, {1, 2, 1, 3});
    list.remove(changes, objects[1]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{2, 1, 3}));
}

TEST_P(ConcreteChangeSetListTest, TakingOutWhatIsNotThereDropsTheLastEntry)
{
    fill(list, {0, 1, 2});
    list.remove(changes, objects[5]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{0, 1}));
    list.remove(changes, objects[0]); // the next ones are found as if nothing had happened
    EXPECT_EQ(numbersIn(list), std::vector<int>{1});
    list.remove(changes, objects[2]); // dropped above, so not there either
    EXPECT_EQ(numbersIn(list), std::vector<int>{});
}

TEST_P(ConcreteChangeSetListTest, TakingOutOfAnEmptyListDoesNothing)
{
    list.remove(changes, objects[0]);
    EXPECT_EQ(list.count(changes), 0u);
    fill(list, {1});
    EXPECT_EQ(numbersIn(list), std::vector<int>{1});
}

TEST_P(ConcreteChangeSetListTest, WhatWasTakenOutCanBeAddedAgainAndStandsLast)
{
    fill(list, {0, 1, 2});
    list.remove(changes, objects[0]);
    list.add(changes, objects[0]);
    EXPECT_EQ(numbersIn(list), (std::vector<int>{1, 2, 0}));
}

/// Whatever is added and taken out, and however often it is read in between, the list is that of a plain vector.
TEST_P(ConcreteChangeSetListTest, IsWhatAPlainVectorWouldBe)
{
    for (const std::uint64_t seed : {1u, 2u, 3u})
    {
        Random random(seed);
        SCOPED_TRACE(random.description());
        ConcreteChangeSet set;
        std::vector<int> model;
        for (int step = 0; step < 2000; ++step)
        {
            const std::size_t number = random.below(objects.size());
            const auto found = std::find(model.begin(), model.end(), static_cast<int>(number));
            if (model.empty() || random.chance(5, 10))
            {
                list.add(set, objects[number]);
                model.push_back(static_cast<int>(number));
            }
            else
            {
                list.remove(set, objects[number]);
                model.erase(found != model.end() ? found : model.end() - 1);
            }
            ASSERT_EQ(list.count(set), model.size()) << "step " << step;
            if (random.chance(1, 4))
            {
                ASSERT_EQ(numbersIn(list, set), model) << "step " << step;
            }
        }
        EXPECT_EQ(numbersIn(list, set), model);
    }
}

/// The same with lists that are long enough to be indexed, without and with repeats.
TEST_F(ConcreteChangeSetTest, ALongListIsWhatAPlainVectorWouldBe)
{
    std::vector<char> addresses(400); // nobody looks at what the list points to
    for (const std::uint64_t seed : {1u, 2u, 3u, 4u})
    {
        Random random(seed);
        SCOPED_TRACE(random.description());
        const bool hasRepeats = seed % 2 == 0;
        ConcreteChangeSet set;
        std::vector<Node*> model;
        for (int step = 0; step < 10000; ++step)
        {
            auto* const node = reinterpret_cast<Node*>(&random.pick(addresses));
            const auto found = std::find(model.begin(), model.end(), node);
            const bool isAddition = model.size() < 100 || random.chance(1, 2);
            if (isAddition && (found == model.end() || hasRepeats))
            {
                set.addCreatedNode(node);
                model.push_back(node);
            }
            else if (!isAddition && (found != model.end() || random.chance(1, 20)))
            {
                set.removeCreatedNode(node);
                model.erase(found != model.end() ? found : model.end() - 1);
            }
            ASSERT_EQ(set.CreatedNodeCount(), model.size()) << "step " << step;
            if (random.chance(1, 30))
            {
                for (unsigned int i = 0; i < model.size(); ++i)
                    ASSERT_EQ(set.CreatedNode(i), model[i]) << "step " << step;
            }
        }
    }
}

TEST_P(ConcreteChangeSetListTest, ANullIsAnEntryLikeAnyOther)
{
    const Listed nothing;
    list.add(changes, objects[0]);
    list.add(changes, nothing);
    list.add(changes, objects[1]);
    list.add(changes, objects[2]);
    list.remove(changes, objects[1]); // leaves a hole beside it
    list.remove(changes, objects[2]);
    ASSERT_EQ(list.count(changes), 2u);
    EXPECT_EQ(list.at(changes, 0), list.entryOf(objects[0]));
    EXPECT_EQ(list.at(changes, 1), nullptr);
    list.remove(changes, nothing);
    EXPECT_EQ(numbersIn(list), std::vector<int>{0});
}

TEST_F(ConcreteChangeSetTest, ARenamedNodeIsTakenWhateverItsOldName)
{
    changes.addRenamedNode(objects[0].node, L"before");
    changes.addRenamedNode(objects[1].node, nullptr);
    EXPECT_EQ(changesOf(changes), (Lines{L"renamed node |n0", L"renamed node |n1"}));
}

/// Far beyond what a cost that grows with the list for each entry would let end.
TEST_F(ConcreteChangeSetTest, AHundredThousandEntriesAreTakenOutInAnyOrder)
{
    constexpr std::size_t kEntries = 100000;
    std::vector<char> addresses(kEntries); // nobody looks at what the list points to
    std::vector<Node*> nodes;
    for (char& address : addresses)
        nodes.push_back(reinterpret_cast<Node*>(&address));
    std::vector<Node*> shuffled = nodes;
    Random random(7);
    for (std::size_t i = kEntries; i > 1; --i)
        std::swap(shuffled[i - 1], shuffled[random.below(i)]);

    const std::vector<Node*> backward(nodes.rbegin(), nodes.rend());
    for (const std::vector<Node*>& order : {nodes, backward, shuffled})
    {
        for (Node* const node : nodes)
            changes.addCreatedNode(node);
        for (Node* const node : order)
            changes.removeCreatedNode(node);
        EXPECT_EQ(changes.CreatedNodeCount(), 0u);
    }
}

// --- The whole ---

TEST_F(ConcreteChangeSetTest, ClearEmptiesEveryList)
{
    for (const ChangeListRow& list : changeListRows())
        fill(list, {0, 1, 2});
    changes.removeChangedNode(objects[0].node);
    changes.clear();
    EXPECT_EQ(changesOf(changes), Lines{});
    changes.addChangedNode(objects[3].node); // and is good for another unit of work
    EXPECT_EQ(changesOf(changes), Lines{L"changed node |n3"});
}

TEST_F(ConcreteChangeSetTest, ReserveKeepsWhatIsRecorded)
{
    fill(changeListRows()[0], {1, 2});
    changes.reserve();
    EXPECT_EQ(changesOf(changes), (Lines{L"created node |n1", L"created node |n2"}));
}

/// The capacities that reserve() makes, in the order of the lists.
constexpr std::size_t kReserved[] = {32768, 1024, 1024, 1024, 1024, 1024, 1024, 1024,
                                     1024,  1024, 1024, 1024, 1024, 4096, 4096, 4096};

TEST_F(ConcreteChangeSetTest, AUsualUnitOfWorkAllocatesNothingAfterReserve)
{
    changes.reserve();
    for (std::size_t i = 0; i < changeListRows().size(); ++i)
    {
        const ChangeListRow& list = changeListRows()[i];
        SCOPED_TRACE(::testing::PrintToString(std::wstring(list.what)));
        const MeasuredHeap heap;
        for (std::size_t entry = 0; entry < kReserved[i]; ++entry)
            list.add(changes, objects[0]);
        EXPECT_EQ(heap.allocations(), 0u);
        list.add(changes, objects[0]);
        EXPECT_GT(heap.allocations(), 0u) << "more is reserved than said";
    }
}

TEST_F(ConcreteChangeSetTest, ClearKeepsTheStorage)
{
    for (const ChangeListRow& list : changeListRows())
        fill(list, {0, 1, 2, 3, 4});
    changes.clear();
    const MeasuredHeap heap;
    for (const ChangeListRow& list : changeListRows())
        fill(list, {4, 3, 2, 1, 0});
    EXPECT_EQ(heap.allocations(), 0u);
}

TEST_F(ConcreteChangeSetTest, TakesNoStorageBeforeTheFirstEntry)
{
    const MeasuredHeap heap;
    const ConcreteChangeSet empty;
    EXPECT_EQ(heap.allocations(), 0u);
}

// --- Copies ---

/// Another implementation: every list has the entries of a concrete one, backwards.
class BackwardChangeSet : public ConcreteChangeSet
{
public:
    [[nodiscard]] Node* CreatedNode(unsigned int index) const override
    {
        return ConcreteChangeSet::CreatedNode(CreatedNodeCount() - 1 - index);
    }
    [[nodiscard]] Attribute* ChangedAttribute(unsigned int index) const override
    {
        return ConcreteChangeSet::ChangedAttribute(ChangedAttributeCount() - 1 - index);
    }
};

TEST_F(ConcreteChangeSetTest, AssignTakesEveryListOfTheOther)
{
    ConcreteChangeSet other;
    for (std::size_t i = 0; i < changeListRows().size(); ++i)
    {
        changeListRows()[i].add(other, objects[i % objects.size()]);
        changeListRows()[i].add(other, objects[(i + 1) % objects.size()]);
    }
    changes.assign(other);
    EXPECT_EQ(changesOf(changes), changesOf(other));
    EXPECT_EQ(changesOf(changes).size(), 32u);
}

TEST_P(ConcreteChangeSetListTest, AssignFromFewerEntriesShrinksTheList)
{
    fill(list, {0, 1, 2, 3});
    ConcreteChangeSet other;
    list.add(other, objects[5]);
    changes.assign(other);
    EXPECT_EQ(numbersIn(list), std::vector<int>{5});
    changes.assign(ConcreteChangeSet());
    EXPECT_EQ(numbersIn(list), std::vector<int>{});
}

TEST_P(ConcreteChangeSetListTest, WhatWasTakenOutIsNotAssigned)
{
    fill(list, {0, 1, 2, 3});
    list.remove(changes, objects[1]);
    ConcreteChangeSet other;
    other.assign(changes);
    EXPECT_EQ(numbersIn(list, other), (std::vector<int>{0, 2, 3}));
    list.remove(other, objects[3]); // found in the copy
    EXPECT_EQ(numbersIn(list, other), (std::vector<int>{0, 2}));
}

TEST_F(ConcreteChangeSetTest, AssignReadsTheOtherThroughItsOwnGetters)
{
    BackwardChangeSet other;
    for (std::size_t i = 0; i < 3; ++i)
    {
        other.addCreatedNode(objects[i].node);
        other.addChangedAttribute(objects[i].attribute);
    }
    changes.assign(other);
    EXPECT_EQ(changesOf(changes),
              (Lines{L"created node |n2", L"created node |n1", L"created node |n0", L"changed attribute |n2.Int",
                     L"changed attribute |n1.Int", L"changed attribute |n0.Int"}));
}

TEST_F(ConcreteChangeSetTest, AssigningItselfChangesNothing)
{
    for (const ChangeListRow& list : changeListRows())
        fill(list, {0, 1, 2, 3});
    changes.removeRenamedNode(objects[1].node);
    const Lines before = changesOf(changes);
    changes.assign(std::as_const(changes));
    EXPECT_EQ(changesOf(changes), before);
}

TEST_F(ConcreteChangeSetTest, CopiesHaveAllListsAndLiveOnTheirOwn)
{
    for (const ChangeListRow& list : changeListRows())
    {
        fill(list, {3, 1, 2});
        list.remove(changes, objects[1]);
    }
    const Lines before = changesOf(changes);
    ConcreteChangeSet copy(changes);
    ConcreteChangeSet assigned;
    assigned.addCreatedNode(objects[5].node);
    assigned = changes;
    changes.clear();
    EXPECT_EQ(changesOf(copy), before);
    EXPECT_EQ(changesOf(assigned), before);
    for (const ChangeListRow& list : changeListRows())
        list.remove(copy, objects[3]);
    EXPECT_EQ(changesOf(copy).size(), 16u);
    EXPECT_EQ(changesOf(assigned), before);
}

/// A set that says when it is gone.
class MortalChangeSet : public ConcreteChangeSet
{
public:
    explicit MortalChangeSet(bool& isGone) : isGone_(isGone) {}
    MortalChangeSet(const MortalChangeSet&) = delete;
    MortalChangeSet& operator=(const MortalChangeSet&) = delete;
    ~MortalChangeSet() override { isGone_ = true; }

private:
    bool& isGone_;
};

TEST_F(ConcreteChangeSetTest, IsDestroyedThroughTheInterface)
{
    bool isGone = false;
    std::unique_ptr<ChangeSet> set = std::make_unique<MortalChangeSet>(isGone);
    set->reserve(); // a leak of the lists is seen by the leak sanitizer
    set.reset();
    EXPECT_TRUE(isGone);
}

// --- Sorting ---

/// A node at depth 0, 1, 2, 2: the root, an arm, two hands.
class ConcreteChangeSetSortTest : public ConcreteChangeSetTest
{
protected:
    Node* arm = scene.node(L"arm");
    Node* left = scene.node(L"left", arm);
    Node* right = scene.node(L"right", arm);
    BreadthFirstSortFunctor functor;
};

TEST_F(ConcreteChangeSetSortTest, TheFunctorComparesDepths)
{
    EXPECT_TRUE(functor(scene.root(), arm));
    EXPECT_TRUE(functor(arm, left));
    EXPECT_FALSE(functor(left, arm));
    EXPECT_FALSE(functor(left, right));
    EXPECT_FALSE(functor(right, left));
    EXPECT_FALSE(functor(arm, arm));
}

TEST_F(ConcreteChangeSetSortTest, CreatedNodesComeOutParentsFirstAndOtherwiseAsRecorded)
{
    for (Node* const node : {left, arm, right, scene.root()})
        changes.addCreatedNode(node);
    changes.stableSortCreatedNodes(functor);
    EXPECT_EQ(changesOf(changes),
              (Lines{L"created node |", L"created node |arm", L"created node |arm|left", L"created node |arm|right"}));
}

TEST_F(ConcreteChangeSetSortTest, DestroyedNodesComeOutDeepestFirstAndOtherwiseTheLastRecordedFirst)
{
    for (Node* const node : {left, arm, right, scene.root()})
        changes.addDestroyedNode(node);
    changes.stableSortDestroyedNodes(functor);
    EXPECT_EQ(changesOf(changes), (Lines{L"destroyed node |arm|right", L"destroyed node |arm|left",
                                         L"destroyed node |arm", L"destroyed node |"}));
}

TEST_F(ConcreteChangeSetSortTest, OneSortLeavesTheOtherListsAlone)
{
    for (const ChangeListRow& list : changeListRows())
        if (list.isOfNodes)
            for (Node* const node : {left, arm})
                list.add(changes, {node, nullptr, nullptr});
    changes.stableSortCreatedNodes(functor);
    changes.stableSortDestroyedNodes(functor); // the deepest first, as they were
    EXPECT_EQ(changesOf(changes), (Lines{L"created node |arm", L"created node |arm|left", L"destroyed node |arm|left",
                                         L"destroyed node |arm", L"reparented node |arm|left", L"reparented node |arm",
                                         L"reordered node |arm|left", L"reordered node |arm", L"renamed node |arm|left",
                                         L"renamed node |arm", L"changed node |arm|left", L"changed node |arm"}));
}

TEST_F(ConcreteChangeSetSortTest, SortingNothingDoesNothing)
{
    changes.addChangedNode(arm);
    changes.stableSortCreatedNodes(functor);
    changes.stableSortDestroyedNodes(functor);
    EXPECT_EQ(changesOf(changes), Lines{L"changed node |arm"});
}

TEST_F(ConcreteChangeSetSortTest, WhatWasTakenOutIsNotSortedIn)
{
    for (Node* const node : {left, right, arm})
    {
        changes.addCreatedNode(node);
        changes.addDestroyedNode(node);
    }
    changes.removeCreatedNode(left);
    changes.removeDestroyedNode(left);
    changes.stableSortCreatedNodes(functor);
    changes.stableSortDestroyedNodes(functor);
    EXPECT_EQ(changesOf(changes), (Lines{L"created node |arm", L"created node |arm|right", L"destroyed node |arm|right",
                                         L"destroyed node |arm"}));
    changes.removeCreatedNode(arm); // found at its new place
    EXPECT_EQ(changes.CreatedNode(0), right);
    EXPECT_EQ(changes.CreatedNodeCount(), 1u);
}

TEST_F(ConcreteChangeSetSortTest, DestroyedNodesAreSortedByTheParentsThatTheyHad)
{
    ASSERT_EQ(scene.core().db_destroyLeafNode(left), Status::kSuccess);
    ASSERT_EQ(scene.core().db_destroyLeafNode(right), Status::kSuccess);
    ASSERT_EQ(scene.core().db_destroyLeafNode(arm), Status::kSuccess);
    for (Node* const node : {arm, left, right})
        changes.addDestroyedNode(node);
    changes.stableSortDestroyedNodes(functor);
    EXPECT_EQ(changesOf(changes),
              (Lines{L"destroyed node |arm|right", L"destroyed node |arm|left", L"destroyed node |arm"}));
}

/// Enough nodes for the list to keep an index of them, which a sort must not leave behind.
TEST_F(ConcreteChangeSetSortTest, AfterASortEachNodeIsTakenOutAtItsNewPlace)
{
    std::vector<Node*> nodes;
    for (int i = 0; i < 100; ++i)
        nodes.push_back(scene.node(L"node", i % 2 == 0 ? left : scene.root()));
    for (Node* const node : nodes)
    {
        changes.addCreatedNode(node);
        changes.addDestroyedNode(node);
    }
    changes.removeCreatedNode(nodes[98]);
    changes.removeDestroyedNode(nodes[98]);
    changes.stableSortCreatedNodes(functor);
    changes.stableSortDestroyedNodes(functor);
    for (std::size_t i = 0; i < 98; ++i)
    {
        changes.removeCreatedNode(nodes[i]);
        changes.removeDestroyedNode(nodes[i]);
    }
    ASSERT_EQ(changes.CreatedNodeCount(), 1u);
    EXPECT_EQ(changes.CreatedNode(0), nodes[99]);
    ASSERT_EQ(changes.DestroyedNodeCount(), 1u);
    EXPECT_EQ(changes.DestroyedNode(0), nodes[99]);
}

/// Random nodes of a random tree, against the standard library's stable sort with the functor.
TEST_F(ConcreteChangeSetSortTest, SortsAsTheStableSortWithTheFunctorDoes)
{
    for (const std::uint64_t seed : {1u, 2u, 3u})
    {
        Random random(seed);
        SCOPED_TRACE(random.description());
        std::vector<Node*> tree{scene.root()};
        for (int i = 0; i < 200; ++i)
            tree.push_back(scene.nodeOf(Scene::kPlain, L"node",
                                        tree[tree.size() - 1 - random.below(std::min<std::size_t>(tree.size(), 4))]));
        ConcreteChangeSet set;
        std::vector<Node*> expected;
        for (int i = 0; i < 300; ++i) // some are recorded twice
        {
            expected.push_back(random.pick(tree));
            set.addCreatedNode(expected.back());
            set.addDestroyedNode(expected.back());
        }
        std::stable_sort(expected.begin(), expected.end(), functor);
        set.stableSortCreatedNodes(functor);
        set.stableSortDestroyedNodes(functor);
        for (unsigned int i = 0; i < expected.size(); ++i)
        {
            ASSERT_EQ(set.CreatedNode(i), expected[i]) << "at " << i;
            ASSERT_EQ(set.DestroyedNode(i), expected[expected.size() - 1 - i]) << "at " << i;
        }
    }
}

/// A walk to the root for each comparison would take 10^11 steps.
TEST_F(ConcreteChangeSetSortTest, AChainOfAHundredThousandNodesIsSorted)
{
    std::vector<Node*> chain;
    Node* last = scene.nodeOf(Scene::kPlain, L"top");
    for (int i = 0; i < 100000; ++i)
    {
        last = scene.nodeOf(Scene::kPlain, L"link", last);
        chain.push_back(last);
    }
    std::vector<Node*> shuffled = chain;
    Random random(11);
    for (std::size_t i = shuffled.size(); i > 1; --i)
        std::swap(shuffled[i - 1], shuffled[random.below(i)]);
    for (Node* const node : shuffled)
    {
        changes.addCreatedNode(node);
        changes.addDestroyedNode(node);
    }
    changes.stableSortCreatedNodes(functor);
    changes.stableSortDestroyedNodes(functor);
    for (unsigned int i = 0; i < chain.size(); ++i)
    {
        ASSERT_EQ(changes.CreatedNode(i), chain[i]);
        ASSERT_EQ(changes.DestroyedNode(i), chain[chain.size() - 1 - i]);
    }
}

} // namespace
} // namespace db2test
