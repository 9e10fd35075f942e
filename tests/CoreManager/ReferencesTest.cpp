#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

class CoreManagerReferencesTest : public ::testing::Test
{
protected:
    void reference(Attribute* referenced, Attribute* referencer, bool isSingle = false)
    {
        ASSERT_EQ(core.db_createReference(referenced, referencer, isSingle), Status::kSuccess);
    }

    void dereference(Attribute* referencer) { ASSERT_EQ(core.db_destroyReference(referencer), Status::kSuccess); }

    Attribute* intOf(const wchar_t* nodeName) { return scene.node(nodeName)->findAttributeByName(L"Int"); }

    /// So many attributes, items of one array each.
    std::vector<Attribute*> manyAttributes(std::size_t count)
    {
        AttributeArray* const array = scene.node(L"many")->findAttributeArrayByName(L"IntItems");
        EXPECT_EQ(core.db_resizeAttributeArray(array, static_cast<unsigned int>(count)), Status::kSuccess);
        std::vector<Attribute*> attributes;
        for (unsigned int i = 0; i < array->getSize(); ++i)
            attributes.push_back(array->getAttribute(i));
        return attributes;
    }

    static std::vector<Attribute*> referencersOf(const Attribute* referenced)
    {
        std::vector<Attribute*> referencers;
        for (Attribute* at = referenced->getReferents(); at != nullptr; at = at->getSiblingReferent())
        {
            EXPECT_EQ(at->getReference(), referenced);
            referencers.push_back(at);
        }
        return referencers;
    }

    [[nodiscard]] std::uint32_t referenceCount() const { return core.getStatistics().references; }

    Scene scene;
    CoreManager& core = scene.core();
    Attribute* a = intOf(L"a");
    Attribute* b = intOf(L"b");
    Attribute* c = intOf(L"c");
    Attribute* d = intOf(L"d");
};

// --- Creating and destroying ---

TEST_F(CoreManagerReferencesTest, AReferenceLinksBothEndsAndIsCounted)
{
    CoreManager::Statistics expected = core.getStatistics();
    reference(a, b);
    EXPECT_EQ(b->getReference(), a);
    EXPECT_EQ(referencersOf(a), std::vector<Attribute*>{b});
    EXPECT_EQ(a->getNode()->getEdgeCount(), 1u);
    EXPECT_EQ(b->getNode()->getEdgeCount(), 1u);
    expected.references += 1;
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerReferencesTest, DestroyingAReferenceUndoesExactlyThat)
{
    reference(b, c);
    const std::wstring before = dumpTree(core);
    reference(a, b, true);
    dereference(b);
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));
}

TEST_F(CoreManagerReferencesTest, ANewReferencerStandsBeforeTheOlderOnes)
{
    reference(a, b);
    reference(a, c);
    reference(a, d);
    EXPECT_EQ(referencersOf(a), (std::vector<Attribute*>{d, c, b}));
    dereference(c);
    EXPECT_EQ(referencersOf(a), (std::vector<Attribute*>{d, b}));
    reference(a, c);
    EXPECT_EQ(referencersOf(a), (std::vector<Attribute*>{c, d, b}));
}

TEST_F(CoreManagerReferencesTest, EachEndAtAnItemCountsForItsArray)
{
    const std::vector<Attribute*> items = manyAttributes(3);
    const AttributeArray* const array = items[0]->getParentArray();
    reference(a, items[0]);
    reference(items[1], b);
    reference(items[1], items[2]);
    EXPECT_EQ(array->getReferenceCount(), 4u);
    EXPECT_EQ(array->getNode()->getEdgeCount(), 4u);
    dereference(items[2]);
    EXPECT_EQ(array->getReferenceCount(), 2u);
    EXPECT_EQ(array->getNode()->getEdgeCount(), 2u);
}

TEST_F(CoreManagerReferencesTest, AttributesOfOneNodeMayReferenceEachOther)
{
    Node* const node = a->getNode();
    reference(a, node->findAttributeByName(L"Float"));
    EXPECT_EQ(node->getEdgeCount(), 2u);
    EXPECT_EQ(core.canDestroyLeafNode(node), Status::kNodeHasReferences);
    dereference(node->findAttributeByName(L"Float"));
    EXPECT_EQ(node->getEdgeCount(), 0u);
    EXPECT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
}

TEST_F(CoreManagerReferencesTest, AnAttributeMayBeReferencedFromAnyTypeAndPlace)
{
    Node* const unknown = scene.unknownNode(L"unknown");
    Element* odd = nullptr;
    ASSERT_EQ(core.createUnknownElement(FloatAttributeMetaDataDef(), L"odd", unknown, &odd), Status::kSuccess);
    Attribute* const extra = scene.dynamicAttribute(StringAttributeMetaDataDef(), L"extra", b->getNode());
    Attribute* const null = c->getNode()->findAttributeByName(L"Null");
    scene.write(a, 3);
    for (Attribute* const referencer : {static_cast<Attribute*>(odd), extra, null, manyAttributes(1)[0]})
    {
        reference(a, referencer);
        EXPECT_EQ(referencer->getValue().getInt(), 3);
    }
    EXPECT_EQ(referenceCount(), 4u);
}

// --- Single output ---

TEST_F(CoreManagerReferencesTest, ASingleOutputReferenceKeepsOthersOutUntilItIsDestroyed)
{
    reference(a, b, true);
    EXPECT_EQ(core.db_createReference(a, c, false), Status::kReferencedIsSingleOutput);
    EXPECT_EQ(core.db_createReference(a, c, true), Status::kReferencedIsSingleOutput);
    dereference(b);
    reference(a, c);
    EXPECT_EQ(core.db_createReference(a, b, true), Status::kSingleOutputNotPossible);
    dereference(c);
    reference(a, b, true);
}

TEST_F(CoreManagerReferencesTest, ASingleOutputReferencerMayBeReferencedByMany)
{
    reference(a, b, true);
    reference(b, c);
    reference(b, d);
    EXPECT_EQ(referencersOf(b), (std::vector<Attribute*>{d, c}));
}

// --- Cycles ---

TEST_F(CoreManagerReferencesTest, NoReferenceClosesACycleOfAnyLength)
{
    for (const std::size_t length : {2u, 3u, 4u, 10u, 1000u})
    {
        SCOPED_TRACE(length);
        const std::vector<Attribute*> ring = manyAttributes(length);
        for (std::size_t i = 1; i < length; ++i)
            reference(ring[i - 1], ring[i]);
        const std::wstring before = dumpTree(core);
        EXPECT_EQ(core.db_createReference(ring.back(), ring.front(), false), Status::kReferenceCycle);
        EXPECT_TRUE(isSameDump(before, dumpTree(core)));

        dereference(ring[length / 2]); // opens the chain, so that the same reference is possible
        reference(ring.back(), ring.front());
        EXPECT_EQ(core.db_createReference(ring[length / 2 - 1], ring[length / 2], false), Status::kReferenceCycle);
    }
}

TEST_F(CoreManagerReferencesTest, AReferenceToTheOtherEndOfATreeOfReferencesIsACycleFromEachLeaf)
{
    reference(a, b);
    reference(a, c);
    reference(c, d);
    EXPECT_EQ(core.canCreateReference(b, a, false), Status::kReferenceCycle);
    EXPECT_EQ(core.canCreateReference(c, a, false), Status::kReferenceCycle);
    EXPECT_EQ(core.canCreateReference(d, a, false), Status::kReferenceCycle);
    EXPECT_EQ(core.canCreateReference(d, intOf(L"e"), false), Status::kSuccess);
}

TEST_F(CoreManagerReferencesTest, AmongRandomReferencesACycleIsFoundExactlyWhenAWalkFindsOne)
{
    for (const unsigned int seed : {1u, 2u, 3u, 4u})
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 engine(seed);
        const std::vector<Attribute*> all = manyAttributes(60);
        const auto any = [&] { return all[engine() % all.size()]; };
        const auto leadsTo = [](const Attribute* from, const Attribute* to) {
            while (from != nullptr && from != to)
                from = from->getReference();
            return from == to;
        };
        std::size_t cycles = 0;
        for (int step = 0; step < 20'000; ++step)
        {
            Attribute* const referenced = any();
            Attribute* const referencer = any();
            if (referencer->getReference() != nullptr)
            {
                if (engine() % 3 != 0) // else most end up below one source
                    dereference(referencer);
            }
            else if (referenced != referencer)
            {
                const bool isCycle = leadsTo(referenced, referencer);
                cycles += isCycle ? 1u : 0u;
                ASSERT_EQ(core.db_createReference(referenced, referencer, false),
                          isCycle ? Status::kReferenceCycle : Status::kSuccess);
            }
        }
        EXPECT_GT(cycles, 100u);
        for (Attribute* const attribute : all)
            if (attribute->getReference() != nullptr)
                dereference(attribute);
    }
}

TEST_F(CoreManagerReferencesTest, ReferencesBetweenTheSameNodesInBothDirectionsAreNoCycle)
{
    reference(a, b);
    reference(b->getNode()->findAttributeByName(L"Float"), a->getNode()->findAttributeByName(L"Float"));
    EXPECT_EQ(a->getNode()->getEdgeCount(), 2u);
    EXPECT_EQ(referenceCount(), 2u);
}

// --- Many ---

TEST_F(CoreManagerReferencesTest, AChainOfAHundredThousandIsBuiltAtEitherEndAndReadThroughToItsSource)
{
    constexpr std::size_t kLength = 100'000;
    for (const bool isBuiltAtTheSource : {false, true})
    {
        SCOPED_TRACE(isBuiltAtTheSource ? "at the source" : "at the reader");
        std::vector<Attribute*> chain = manyAttributes(kLength);
        scene.write(chain.front(), 5);
        for (std::size_t i = 1; i < kLength; ++i)
        {
            const std::size_t reader = isBuiltAtTheSource ? kLength - i : i;
            reference(chain[reader - 1], chain[reader]);
        }
        EXPECT_EQ(chain.back()->getValue().getInt(), 5);
        EXPECT_EQ(chain.back()->getValue().getData(), chain.front()->getValue().getData());
        EXPECT_EQ(core.canCreateReference(chain.back(), chain.front(), false), Status::kReferenceCycle);
    }
    EXPECT_EQ(referenceCount(), 2 * (kLength - 1));
}

/// As when nodes in the middle of a chain are converted: a walk to the nearer end for each would take minutes.
TEST_F(CoreManagerReferencesTest, EveryAttributeOfALongChainIsReplacedFromEitherEnd)
{
    constexpr std::size_t kLength = 300'000;
    for (const bool isFromTheSource : {true, false})
    {
        SCOPED_TRACE(isFromTheSource ? "from the source" : "from the reader");
        const std::vector<Attribute*> all = manyAttributes(2 * kLength);
        for (std::size_t i = 1; i < kLength; ++i)
            reference(all[i - 1], all[i]);
        for (std::size_t step = 0; step < kLength; ++step)
        {
            const std::size_t i = isFromTheSource ? step : kLength - 1 - step;
            Attribute* const replaced = all[i];
            Attribute* const replacement = all[kLength + i];
            if (Attribute* const reader = replaced->getReferents())
            {
                dereference(reader);
                reference(replacement, reader);
            }
            if (Attribute* const source = replaced->getReference())
            {
                dereference(replaced);
                reference(source, replacement);
            }
        }
        EXPECT_EQ(core.canCreateReference(all.back(), all[kLength], false), Status::kReferenceCycle);
        for (std::size_t i = kLength + 1; i < 2 * kLength; ++i)
        {
            ASSERT_EQ(all[i]->getReference(), all[i - 1]);
            dereference(all[i]);
        }
    }
}

enum class DestroyOrder
{
    kOldestFirst,
    kNewestFirst,
    kRandom
};

/// Every reference to one attribute is destroyed, in an order that no list is made for.
class CoreManagerManyReferencersTest : public CoreManagerReferencesTest,
                                       public ::testing::WithParamInterface<DestroyOrder>
{
};

TEST_P(CoreManagerManyReferencersTest, AHundredThousandReferencersOfOneAttributeAreDestroyedInAnyOrder)
{
    std::vector<Attribute*> referencers = manyAttributes(100'000);
    for (Attribute* const referencer : referencers)
        reference(a, referencer);
    ASSERT_EQ(a->getNode()->getEdgeCount(), referencers.size());
    std::vector<Attribute*> expected(referencers.rbegin(), referencers.rend());
    ASSERT_EQ(referencersOf(a), expected);

    if (GetParam() == DestroyOrder::kNewestFirst)
        std::reverse(referencers.begin(), referencers.end());
    if (GetParam() == DestroyOrder::kRandom)
    {
        std::mt19937 engine(1); // its numbers are alike everywhere; those of a distribution are not
        for (std::size_t i = referencers.size(); i > 1; --i)
            std::swap(referencers[i - 1], referencers[engine() % i]);
    }
    for (std::size_t i = 0; i < referencers.size() / 2; ++i)
        dereference(referencers[i]);
    for (std::size_t i = 0; i < referencers.size() / 2; ++i)
        ASSERT_EQ(referencers[i]->getReference(), nullptr);
    std::erase_if(expected, [](const Attribute* attribute) { return attribute->getReference() == nullptr; });
    EXPECT_EQ(referencersOf(a), expected) << "those left are in their order";
    EXPECT_EQ(referenceCount(), expected.size());

    for (std::size_t i = referencers.size() / 2; i < referencers.size(); ++i)
        dereference(referencers[i]);
    EXPECT_EQ(a->getReferents(), nullptr);
    EXPECT_EQ(a->getNode()->getEdgeCount(), 0u);
    EXPECT_EQ(referencers[0]->getParentArray()->getReferenceCount(), 0u);
    EXPECT_EQ(referenceCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Orders, CoreManagerManyReferencersTest,
                         ::testing::Values(DestroyOrder::kOldestFirst, DestroyOrder::kNewestFirst,
                                           DestroyOrder::kRandom));

TEST_F(CoreManagerReferencesTest, ANodeWithManyReferencesIsDestroyedOnceTheLastIsGone)
{
    const std::vector<Attribute*> referencers = manyAttributes(100);
    for (Attribute* const referencer : referencers)
        reference(a, referencer);
    for (Attribute* const referencer : referencers)
    {
        ASSERT_EQ(core.db_destroyLeafNode(a->getNode()), Status::kNodeHasReferences);
        dereference(referencer);
    }
    EXPECT_EQ(core.db_destroyLeafNode(a->getNode()), Status::kSuccess);
}

} // namespace
} // namespace db2test
