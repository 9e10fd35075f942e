#include <db2/MemoryBlock.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

using db2::MemoryBlock;

constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();

void append(MemoryBlock& block, const std::string& bytes)
{
    ASSERT_TRUE(block.ensureSpace(static_cast<std::uint32_t>(bytes.size())));
    std::memcpy(block.getInsertionPoint(), bytes.data(), bytes.size());
    block.incrementUsedSize(static_cast<std::uint32_t>(bytes.size()));
}

std::string content(const MemoryBlock& block)
{
    return {block.getData(), block.getUsedSize()};
}

// --- Construction ---

TEST(MemoryBlockTest, NewHasRoomForAKibibyteAndNoBytes)
{
    const MemoryBlock block;
    EXPECT_NE(block.getData(), nullptr);
    EXPECT_EQ(block.getUsedSize(), 0u);
    EXPECT_EQ(block.getAllocatedSize(), 1024u);
}

TEST(MemoryBlockTest, OfBytesHoldsACopyAndNoMoreRoom)
{
    std::string bytes = "abc";
    const MemoryBlock block(bytes.data(), 3);
    bytes = "xyz";
    EXPECT_EQ(content(block), "abc");
    EXPECT_EQ(block.getAllocatedSize(), 3u);
}

TEST(MemoryBlockTest, OfNullBytesIsEmpty)
{
    MemoryBlock block(nullptr, 7);
    EXPECT_EQ(block.getUsedSize(), 0u);
    append(block, "a");
    EXPECT_EQ(content(block), "a");
}

TEST(MemoryBlockTest, CopyHasTheBytesAndTheRoom)
{
    MemoryBlock block;
    append(block, "abc");
    const MemoryBlock copy(block);
    append(block, "d");
    EXPECT_EQ(content(copy), "abc");
    EXPECT_EQ(copy.getAllocatedSize(), 1024u);
}

TEST(MemoryBlockTest, AssignmentReplacesBytesAndRoom)
{
    MemoryBlock block;
    append(block, "abc");
    MemoryBlock other("z", 1);
    other = block;
    EXPECT_EQ(content(other), "abc");
    EXPECT_EQ(other.getAllocatedSize(), 1024u);
    const MemoryBlock& same = other;
    other = same;
    EXPECT_EQ(content(other), "abc");
}

// --- Growth ---

TEST(MemoryBlockTest, RoomThatSufficesIsKept)
{
    MemoryBlock block;
    EXPECT_TRUE(block.ensureSpace(1024));
    EXPECT_EQ(block.getAllocatedSize(), 1024u);
}

TEST(MemoryBlockTest, GrowsToTwiceWhatItNeeds)
{
    MemoryBlock block;
    append(block, std::string(10, 'a'));
    EXPECT_TRUE(block.ensureSpace(1015));
    EXPECT_EQ(block.getAllocatedSize(), 2050u);
    EXPECT_EQ(content(block), std::string(10, 'a'));
}

TEST(MemoryBlockTest, MoreThanCanBeCountedIsRefusedAndChangesNothing)
{
    MemoryBlock block;
    append(block, "abc");
    EXPECT_FALSE(block.ensureSpace(kMost));
    EXPECT_EQ(content(block), "abc");
    EXPECT_EQ(block.getAllocatedSize(), 1024u);
}

TEST(MemoryBlockTest, MinimisingLeavesExactlyTheBytes)
{
    MemoryBlock block;
    append(block, "abc");
    block.minimiseAllocatedSpace();
    EXPECT_EQ(content(block), "abc");
    EXPECT_EQ(block.getAllocatedSize(), 3u);
}

TEST(MemoryBlockTest, MinimisedEmptyCanBeWrittenAgain)
{
    MemoryBlock block;
    block.minimiseAllocatedSpace();
    EXPECT_NE(block.getData(), nullptr);
    EXPECT_EQ(block.getAllocatedSize(), 0u);
    append(block, "abc");
    EXPECT_EQ(content(block), "abc");
}

TEST(MemoryBlockTest, ResetBeginsAnew)
{
    MemoryBlock block;
    append(block, std::string(5000, 'a'));
    block.reset();
    EXPECT_EQ(block.getUsedSize(), 0u);
    EXPECT_EQ(block.getAllocatedSize(), 1024u);
    append(block, "b");
    EXPECT_EQ(content(block), "b");
}

// --- Comparison ---

TEST(MemoryBlockTest, EqualBytesAreEqualWhateverTheRoom)
{
    MemoryBlock roomy;
    append(roomy, "abc");
    EXPECT_TRUE(roomy == MemoryBlock("abc", 3));
    EXPECT_FALSE(roomy == MemoryBlock("abd", 3));
    EXPECT_FALSE(roomy == MemoryBlock("abcd", 4));
    EXPECT_FALSE(roomy == MemoryBlock("ab", 2));
    EXPECT_TRUE(MemoryBlock() == MemoryBlock(nullptr, 0));
}

} // namespace
