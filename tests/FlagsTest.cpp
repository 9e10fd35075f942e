#include <db2/Flags.h>
#include <db2/Library.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using namespace db2;

struct Bit
{
    const char* name;
    std::uint32_t bit;
    std::uint32_t expected;
};

/// Each bit as expected, each a single one, no two alike, and all below the first that hosts get.
void expectBits(const std::vector<Bit>& bits, std::uint32_t firstHostFlag)
{
    std::uint32_t taken = 0;
    for (const Bit& bit : bits)
    {
        SCOPED_TRACE(bit.name);
        EXPECT_EQ(bit.bit, bit.expected);
        EXPECT_TRUE(std::has_single_bit(bit.bit));
        EXPECT_EQ(taken & bit.bit, 0u);
        EXPECT_LT(bit.bit, firstHostFlag);
        taken |= bit.bit;
    }
}

TEST(FlagsTest, NodeBits)
{
    expectBits({{"in undo", NodeFlag::kInUndo, 0x1},
                {"destroyed", NodeFlag::kDestroyed, 0x2},
                {"legacy", NodeFlag::kLegacy, 0x4},
                {"legacy handled", NodeFlag::kLegacyHandled, 0x8},
                {"unknown", NodeFlag::kUnknown, 0x10},
                {"changed", NodeFlag::kChanged, 0x20},
                {"created", NodeFlag::kCreated, 0x40},
                {"destroyed now", NodeFlag::kDestroyedNow, 0x80},
                {"renamed", NodeFlag::kRenamed, 0x100},
                {"reordered", NodeFlag::kReordered, 0x200},
                {"reparented", NodeFlag::kReparented, 0x400},
                {"watched", NodeFlag::kWatched, 0x800},
                {"watch disabled", NodeFlag::kWatchDisabled, 0x1000},
                {"watch changed", NodeFlag::kWatchChanged, 0x2000},
                {"created in the open undo item", NodeFlag::kCreatedInItem, 0x4000},
                {"added for save", NodeFlag::kAddedForSave, 0x8000}},
               NodeFlag::kFirstHostFlag);
    EXPECT_EQ(NodeFlag::kFirstHostFlag, 0x10000u);
    EXPECT_EQ(NodeFlag::kChangeFlags, 0x7E0u);
    EXPECT_EQ(NodeFlag::kWatchFlags, 0x3800u);
}

TEST(FlagsTest, ElementBits)
{
    expectBits({{"in undo", ElementFlag::kInUndo, 0x1},
                {"array", ElementFlag::kArray, 0x2},
                {"array item", ElementFlag::kArrayItem, 0x4},
                {"destroyed", ElementFlag::kDestroyed, 0x8},
                {"dynamic", ElementFlag::kDynamic, 0x10},
                {"legacy", ElementFlag::kLegacy, 0x20},
                {"legacy handled", ElementFlag::kLegacyHandled, 0x40},
                {"locked", ElementFlag::kLocked, 0x80},
                {"single output", ElementFlag::kSingleOutput, 0x100},
                {"unknown", ElementFlag::kUnknown, 0x200},
                {"loaded", ElementFlag::kLoaded, 0x400},
                {"value loaded", ElementFlag::kValueLoaded, 0x800},
                {"changed", ElementFlag::kChanged, 0x1000},
                {"created", ElementFlag::kCreated, 0x2000},
                {"destroyed now", ElementFlag::kDestroyedNow, 0x4000},
                {"renamed", ElementFlag::kRenamed, 0x8000},
                {"resized", ElementFlag::kResized, 0x10000},
                {"reference made", ElementFlag::kReferenceMade, 0x20000},
                {"reference broken", ElementFlag::kReferenceBroken, 0x40000},
                {"dirty", ElementFlag::kDirty, 0x80000},
                {"has links", ElementFlag::kHasLinks, 0x100000}, // in the gap that the other layers leave
                {"recorded in the open undo item", ElementFlag::kRecordedInItem, 0x200000}},
               ElementFlag::kFirstHostFlag);
    EXPECT_EQ(ElementFlag::kFirstHostFlag, 0x400000u);
    EXPECT_EQ(ElementFlag::kChangeFlags, 0x7F000u);
}

TEST(FlagsTest, ElementMetaDataBits)
{
    expectBits({{"don't save", ElementMetaDataFlag::kDontSave, 0x1},
                {"always save", ElementMetaDataFlag::kAlwaysSave, 0x2},
                {"array", ElementMetaDataFlag::kArray, 0x4},
                {"computed", ElementMetaDataFlag::kComputed, 0x8},
                {"not connectable", ElementMetaDataFlag::kNotConnectable, 0x10},
                {"not watched", ElementMetaDataFlag::kNotWatched, 0x20},
                {"not undoable", ElementMetaDataFlag::kNotUndoable, 0x40}},
               ElementMetaDataFlag::kFirstHostFlag);
    EXPECT_EQ(ElementMetaDataFlag::kFirstHostFlag, 0x80u);
}

TEST(FlagsTest, NodeTemplateBits)
{
    expectBits({{"registered", NodeTemplateFlag::kRegistered, 0x1}}, NodeTemplateFlag::kFirstHostFlag);
    EXPECT_EQ(NodeTemplateFlag::kFirstHostFlag, 0x2u);
}

// --- Bits handed out to hosts ---

/// What the four functions answer from the process's first call on. They can be asked for the first time only once, so
/// all cases share one round of calls: in turn, and before, during and after a run of the library.
struct HostBits
{
    std::vector<std::uint32_t> element;
    std::vector<std::uint32_t> elementMetaData;
    std::vector<std::uint32_t> node;
    std::vector<std::uint32_t> nodeTemplate;

    void ask(int calls)
    {
        for (int i = 0; i < calls; ++i)
        {
            element.push_back(registerElementFlagType());
            elementMetaData.push_back(registerElementMetaDataFlagType());
            node.push_back(registerNodeFlagType());
            nodeTemplate.push_back(registerNodeTemplateFlagType());
        }
    }
};

constexpr int kCalls = 40; // more than any word has bits

const HostBits& hostBits()
{
    static const HostBits bits = [] {
        HostBits answers;
        answers.ask(2);
        initLibrary(nullptr, L"test 1.0");
        answers.ask(3);
        termLibrary();
        answers.ask(kCalls - 5);
        return answers;
    }();
    return bits;
}

/// Single bits from @p first upwards, then zeros.
std::vector<std::uint32_t> bitsFrom(std::uint32_t first)
{
    std::vector<std::uint32_t> bits;
    std::uint32_t bit = first;
    for (int i = 0; i < kCalls; ++i, bit <<= 1)
        bits.push_back(bit);
    return bits;
}

TEST(HostFlagsTest, NodeBitsStartAt0x10000AndEndAfterSixteen)
{
    EXPECT_EQ(hostBits().node, bitsFrom(0x10000));
    EXPECT_EQ(hostBits().node[15], 0x80000000u);
    EXPECT_EQ(hostBits().node[16], 0u);
}

TEST(HostFlagsTest, ElementBitsStartAt0x400000AndEndAfterTen)
{
    EXPECT_EQ(hostBits().element, bitsFrom(0x400000));
    EXPECT_EQ(hostBits().element[9], 0x80000000u);
    EXPECT_EQ(hostBits().element[10], 0u);
}

TEST(HostFlagsTest, ElementMetaDataBitsStartAt0x80AndEndAfterTwentyFive)
{
    EXPECT_EQ(hostBits().elementMetaData, bitsFrom(0x80));
    EXPECT_EQ(hostBits().elementMetaData[24], 0x80000000u);
    EXPECT_EQ(hostBits().elementMetaData[25], 0u);
}

TEST(HostFlagsTest, NodeTemplateBitsStartAtTwoAndEndAfterThirtyOne)
{
    EXPECT_EQ(hostBits().nodeTemplate, bitsFrom(0x2));
    EXPECT_EQ(hostBits().nodeTemplate[30], 0x80000000u);
    EXPECT_EQ(hostBits().nodeTemplate[31], 0u);
}

TEST(HostFlagsTest, NoBitComesBackOnceAWordIsUsedUp)
{
    (void)hostBits();
    EXPECT_EQ(registerNodeFlagType(), 0u);
    EXPECT_EQ(registerElementFlagType(), 0u);
    EXPECT_EQ(registerElementMetaDataFlagType(), 0u);
    EXPECT_EQ(registerNodeTemplateFlagType(), 0u);
}

} // namespace
