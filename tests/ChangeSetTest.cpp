#include "support/ChangeLists.h"
#include "support/Scene.h"
#include "support/VirtualSlots.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

// What every change set answers, whoever implements its lists: questions about the bits on the objects, and the
// operations that are made of the virtual ones.

namespace db2test {
namespace {

static_assert(std::is_abstract_v<ChangeSet>);
static_assert(std::has_virtual_destructor_v<ChangeSet>);
static_assert(std::is_base_of_v<ChangeSet, ConcreteChangeSet>);
static_assert(std::is_empty_v<BreadthFirstSortFunctor>);

class ChangeSetTest : public ::testing::Test
{
protected:
    ChangeSetTest() { listed = {node, attribute, array}; }

    Scene scene;
    Node* node = scene.node(L"node");
    Attribute* attribute = node->findAttributeByName(L"Int");
    Attribute* other = node->findAttributeByName(L"Float");
    AttributeArray* array = node->findAttributeArrayByName(L"IntItems");
    Listed listed;
    ConcreteChangeSet changes;
};

// --- Questions ---

/// Asks before the bit is set, with every other bit set, and with it.
template <class Object, class Question>
void expectAnswersForBit(Object& object, std::uint32_t bit, Question isTrue)
{
    const std::uint32_t before = object.getFlags();
    object.clearFlag(bit);
    EXPECT_FALSE(isTrue());
    object.setFlag(bit);
    EXPECT_TRUE(isTrue());
    object.clearFlag(~0u);
    object.setFlag(~bit);
    EXPECT_FALSE(isTrue());
    object.clearFlag(~0u);
    object.setFlag(before);
}

TEST_F(ChangeSetTest, ANodeHasChangedWhenItsBitSaysSo)
{
    expectAnswersForBit(*node, 0x20, [this] { return changes.hasChanged(node); });
}

TEST_F(ChangeSetTest, ANodeWasRenamedWhenItsBitSaysSo)
{
    expectAnswersForBit(*node, 0x100, [this] { return changes.wasRenamed(node); });
}

TEST_F(ChangeSetTest, ANodeWasDestroyedWhenItsBitSaysSo)
{
    expectAnswersForBit(*node, 0x80, [this] { return changes.wasDestroyed(node); });
}

TEST_F(ChangeSetTest, AnAttributeHasChangedWhenItsBitSaysSo)
{
    // Not every other bit: one of them says that the attribute has a side record, which it has not.
    EXPECT_FALSE(changes.hasChanged(attribute));
    attribute->setFlag(0x1000);
    EXPECT_TRUE(changes.hasChanged(attribute));
    attribute->clearFlag(0x1000);
}

TEST_F(ChangeSetTest, AnArrayWasResizedWhenItsBitSaysSo)
{
    EXPECT_FALSE(changes.wasResized(array));
    array->setFlag(0x10000);
    EXPECT_TRUE(changes.wasResized(array));
    array->clearFlag(0x10000);
}

TEST_F(ChangeSetTest, WhetherAnElementWasRenamedOrDestroyedIsAskedOfTheNodesBits)
{
    attribute->setFlag(0x8000 | 0x4000); // the bits of the lists
    EXPECT_FALSE(changes.wasRenamed(attribute));
    EXPECT_FALSE(changes.wasDestroyed(attribute));
    attribute->clearFlag(0x8000 | 0x4000);

    attribute->setFlag(0x100);
    EXPECT_TRUE(changes.wasRenamed(attribute));
    EXPECT_FALSE(changes.wasDestroyed(attribute));
    attribute->clearFlag(0x100);

    attribute->setFlag(0x80);
    EXPECT_TRUE(changes.wasDestroyed(attribute));
    EXPECT_FALSE(changes.wasRenamed(attribute));
    attribute->clearFlag(0x80);
}

TEST_F(ChangeSetTest, OfNoAttributesAllHaveChangedAndNoneHas)
{
    const kqtl::pod_vector<Attribute*> none;
    EXPECT_TRUE(changes.hasChangedAll(none));
    EXPECT_FALSE(changes.hasChangedAny(none));
    EXPECT_TRUE(changes.wasRenamedAll(none));
    EXPECT_FALSE(changes.wasRenamedAny(none));
}

/// Any and all, asked of two attributes with the bit on none, on either, on both.
template <class Question>
void expectAnyAndAll(Attribute* first, Attribute* second, std::uint32_t bit, Question any, Question all)
{
    kqtl::pod_vector<Attribute*> attributes;
    attributes.push_back(first);
    attributes.push_back(second);
    EXPECT_FALSE(any(attributes));
    EXPECT_FALSE(all(attributes));
    for (Attribute* const one : {first, second})
    {
        one->setFlag(bit);
        EXPECT_TRUE(any(attributes));
        EXPECT_FALSE(all(attributes));
        one->clearFlag(bit);
    }
    first->setFlag(bit);
    second->setFlag(bit);
    EXPECT_TRUE(any(attributes));
    EXPECT_TRUE(all(attributes));
    first->clearFlag(bit);
    second->clearFlag(bit);
}

TEST_F(ChangeSetTest, OfSeveralAttributesAnyOrAllHaveChanged)
{
    using Attributes = kqtl::pod_vector<Attribute*>;
    expectAnyAndAll<bool (*)(const Attributes&)>(
        attribute, other, 0x1000, [](const Attributes& list) { return ChangeSet::hasChangedAny(list); },
        [](const Attributes& list) { return ChangeSet::hasChangedAll(list); });
}

TEST_F(ChangeSetTest, OfSeveralAttributesAnyOrAllWereRenamedByTheNodesBit)
{
    using Attributes = kqtl::pod_vector<Attribute*>;
    expectAnyAndAll<bool (*)(const Attributes&)>(
        attribute, other, 0x100, [](const Attributes& list) { return ChangeSet::wasRenamedAny(list); },
        [](const Attributes& list) { return ChangeSet::wasRenamedAll(list); });
}

// --- Topology ---

TEST_F(ChangeSetTest, OrderNamesAndValuesAreNoTopologicalChangeAndEverythingElseIs)
{
    EXPECT_FALSE(changes.hasTopologicalChange());
    for (const ChangeListRow& list : changeListRows())
    {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(list.what)));
        const std::wstring what = list.what;
        const bool isTopological = what.find(L"reordered") == std::wstring::npos &&
                                   what.find(L"renamed") == std::wstring::npos &&
                                   what.find(L"changed") == std::wstring::npos;
        ConcreteChangeSet one;
        list.add(one, listed);
        EXPECT_EQ(one.hasTopologicalChange(), isTopological);
    }
}

/// Writes down which counts it is asked for.
class AskedChangeSet : public ConcreteChangeSet
{
public:
    [[nodiscard]] unsigned int CreatedNodeCount() const override { return note(L"created node"); }
    [[nodiscard]] unsigned int DestroyedNodeCount() const override { return note(L"destroyed node"); }
    [[nodiscard]] unsigned int ReparentedNodeCount() const override { return note(L"reparented node"); }
    [[nodiscard]] unsigned int ReorderedNodeCount() const override { return note(L"reordered node"); }
    [[nodiscard]] unsigned int RenamedNodeCount() const override { return note(L"renamed node"); }
    [[nodiscard]] unsigned int ChangedNodeCount() const override { return note(L"changed node"); }
    [[nodiscard]] unsigned int CreatedDynamicAttributeCount() const override { return note(L"created attribute"); }
    [[nodiscard]] unsigned int DestroyedDynamicAttributeCount() const override { return note(L"destroyed attribute"); }
    [[nodiscard]] unsigned int CreatedDynamicAttributeArrayCount() const override { return note(L"created array"); }
    [[nodiscard]] unsigned int DestroyedDynamicAttributeArrayCount() const override { return note(L"destroyed array"); }
    [[nodiscard]] unsigned int ResizedAttributeArrayCount() const override { return note(L"resized array"); }
    [[nodiscard]] unsigned int CreatedReferenceCount() const override { return note(L"created reference"); }
    [[nodiscard]] unsigned int DestroyedReferenceCount() const override { return note(L"destroyed reference"); }
    [[nodiscard]] unsigned int ChangedAttributeCount() const override { return note(L"changed attribute"); }

    mutable std::vector<std::wstring> asked;
    std::wstring nonZero;

private:
    unsigned int note(const wchar_t* count) const
    {
        asked.emplace_back(count);
        return nonZero == count ? 1 : 0;
    }
};

TEST_F(ChangeSetTest, TheCountsAreAskedInOrderAndNoFurtherThanNeeded)
{
    const std::vector<std::wstring> order{
        L"created node",  L"destroyed node",  L"reparented node", L"created attribute", L"destroyed attribute",
        L"created array", L"destroyed array", L"resized array",   L"created reference", L"destroyed reference"};
    AskedChangeSet all;
    EXPECT_FALSE(all.hasTopologicalChange());
    EXPECT_EQ(all.asked, order);

    AskedChangeSet early;
    early.nonZero = L"reparented node";
    EXPECT_TRUE(early.hasTopologicalChange());
    EXPECT_EQ(early.asked, std::vector<std::wstring>(order.begin(), order.begin() + 3));
}

// --- Either kind of element ---

TEST_F(ChangeSetTest, AnElementGoesToTheListOfItsKind)
{
    struct Dispatch
    {
        const char* what;
        void (ChangeSet::*add)(Element*);
        void (ChangeSet::*remove)(Element*);
        const wchar_t* attributeLine;
        const wchar_t* arrayLine;
    };
    const Dispatch dispatches[] = {
        {"created", &ChangeSet::addCreatedDynamicElement, &ChangeSet::removeCreatedDynamicElement,
         L"created dynamic attribute |node.Int", L"created dynamic array |node:IntItems"},
        {"destroyed", &ChangeSet::addDestroyedDynamicElement, &ChangeSet::removeDestroyedDynamicElement,
         L"destroyed dynamic attribute |node.Int", L"destroyed dynamic array |node:IntItems"},
        {"renamed", &ChangeSet::addRenamedDynamicElement, &ChangeSet::removeRenamedDynamicElement,
         L"renamed dynamic attribute |node.Int", L"renamed dynamic array |node:IntItems"},
    };
    using Lines = std::vector<std::wstring>;
    for (const Dispatch& dispatch : dispatches)
    {
        SCOPED_TRACE(dispatch.what);
        (changes.*dispatch.add)(attribute);
        EXPECT_EQ(changesOf(changes), Lines{dispatch.attributeLine});
        (changes.*dispatch.add)(array);
        EXPECT_EQ(changesOf(changes), (Lines{dispatch.attributeLine, dispatch.arrayLine}));
        (changes.*dispatch.remove)(attribute);
        EXPECT_EQ(changesOf(changes), Lines{dispatch.arrayLine});
        (changes.*dispatch.remove)(array);
        EXPECT_EQ(changesOf(changes), Lines{});
    }
}

// --- Slots ---

#if KQDB_TEST_KNOWS_SLOTS

TEST_F(ChangeSetTest, TheOperationsHaveTheirSlotsBehindTheDestructor)
{
    using Set = ChangeSet;
    const std::size_t slots[] = {
        slotOf(&Set::addCreatedNode),
        slotOf(&Set::addChangedNode),
        slotOf(&Set::addDestroyedNode),
        slotOf(&Set::addReparentedNode),
        slotOf(&Set::addReorderedNode),
        slotOf(&Set::addRenamedNode),
        slotOf(&Set::addCreatedDynamicAttribute),
        slotOf(&Set::addDestroyedDynamicAttribute),
        slotOf(&Set::addRenamedDynamicAttribute),
        slotOf(&Set::addCreatedDynamicAttributeArray),
        slotOf(&Set::addDestroyedDynamicAttributeArray),
        slotOf(&Set::addRenamedDynamicAttributeArray),
        slotOf(&Set::addResizedAttributeArray),
        slotOf(&Set::addCreatedReference),
        slotOf(&Set::addDestroyedReference),
        slotOf(&Set::addChangedAttribute),
        slotOf(&Set::removeCreatedNode),
        slotOf(&Set::removeChangedNode),
        slotOf(&Set::removeDestroyedNode),
        slotOf(&Set::removeReparentedNode),
        slotOf(&Set::removeReorderedNode),
        slotOf(&Set::removeRenamedNode),
        slotOf(&Set::removeCreatedDynamicAttribute),
        slotOf(&Set::removeDestroyedDynamicAttribute),
        slotOf(&Set::removeRenamedDynamicAttribute),
        slotOf(&Set::removeCreatedDynamicAttributeArray),
        slotOf(&Set::removeDestroyedDynamicAttributeArray),
        slotOf(&Set::removeRenamedDynamicAttributeArray),
        slotOf(&Set::removeResizedAttributeArray),
        slotOf(&Set::removeCreatedReference),
        slotOf(&Set::removeDestroyedReference),
        slotOf(&Set::removeChangedAttribute),
        slotOf(&Set::CreatedNodeCount),
        slotOf(&Set::DestroyedNodeCount),
        slotOf(&Set::ReparentedNodeCount),
        slotOf(&Set::ReorderedNodeCount),
        slotOf(&Set::RenamedNodeCount),
        slotOf(&Set::ChangedNodeCount),
        slotOf(&Set::CreatedDynamicAttributeCount),
        slotOf(&Set::DestroyedDynamicAttributeCount),
        slotOf(&Set::RenamedDynamicAttributeCount),
        slotOf(&Set::CreatedDynamicAttributeArrayCount),
        slotOf(&Set::DestroyedDynamicAttributeArrayCount),
        slotOf(&Set::RenamedDynamicAttributeArrayCount),
        slotOf(&Set::ResizedAttributeArrayCount),
        slotOf(&Set::CreatedReferenceCount),
        slotOf(&Set::DestroyedReferenceCount),
        slotOf(&Set::ChangedAttributeCount),
        slotOf(&Set::CreatedNode),
        slotOf(&Set::DestroyedNode),
        slotOf(&Set::ReparentedNode),
        slotOf(&Set::ReorderedNode),
        slotOf(&Set::RenamedNode),
        slotOf(&Set::ChangedNode),
        slotOf(&Set::CreatedDynamicAttribute),
        slotOf(&Set::DestroyedDynamicAttribute),
        slotOf(&Set::RenamedDynamicAttribute),
        slotOf(&Set::CreatedDynamicAttributeArray),
        slotOf(&Set::DestroyedDynamicAttributeArray),
        slotOf(&Set::RenamedDynamicAttributeArray),
        slotOf(&Set::ResizedAttributeArray),
        slotOf(&Set::CreatedReference),
        slotOf(&Set::DestroyedReference),
        slotOf(&Set::ChangedAttribute),
        slotOf(&Set::assign),
        slotOf(&Set::clear),
        slotOf(&Set::reserve),
        slotOf(&Set::stableSortCreatedNodes),
        slotOf(&Set::stableSortDestroyedNodes),
    };
    constexpr std::size_t kDestructors = 2;
    for (std::size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(slots[i], kDestructors + i) << "operation " << i;
}

#endif

} // namespace
} // namespace db2test
