#include <KQutils/FastHeap.h>

#include "HeapLimit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace {

using db2test::Random;
using foundationtest::HeapLimit;
using KQutils::FastHeap;

TEST(FastHeapTest, TakesNoMemoryBeforeTheFirstAllocation)
{
    const HeapLimit heap;
    const FastHeap arena;
    EXPECT_EQ(arena.bytesInUse(), 0u);
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(FastHeapTest, CannotBeCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<FastHeap>);
    EXPECT_FALSE(std::is_copy_assignable_v<FastHeap>);
}

TEST(FastHeapTest, FirstChunkIsSmall)
{
    const HeapLimit heap;
    FastHeap arena;
    EXPECT_NE(arena.alloc(10, 1), nullptr);
    EXPECT_EQ(heap.bytes(), 1024u);
}

TEST(FastHeapTest, ChunksDoubleToALimit)
{
    const HeapLimit heap;
    FastHeap arena;
    std::size_t before = 0;
    std::vector<std::size_t> chunks;
    while (chunks.size() < 9)
    {
        ASSERT_NE(arena.alloc(16, 16), nullptr);
        if (heap.bytes() != before)
            chunks.push_back(heap.bytes() - before);
        before = heap.bytes();
    }
    const std::vector<std::size_t> expected{1024, 2048, 4096, 8192, 16384, 32768, 65536, 65536, 65536};
    EXPECT_EQ(chunks, expected);
}

TEST(FastHeapTest, BeginsWithTheBlockOfItsOwner)
{
    alignas(16) char block[64];
    const HeapLimit heap;
    FastHeap arena(block, sizeof block);
    EXPECT_EQ(arena.alloc(40, 8), block);
    EXPECT_EQ(arena.alloc(24, 8), block + 40);
    EXPECT_EQ(heap.requests(), 0u);
    EXPECT_EQ(arena.bytesInUse(), 64u);
    EXPECT_NE(arena.alloc(1, 1), nullptr);
    EXPECT_EQ(heap.bytes(), 128u);
}

TEST(FastHeapTest, RewindingTakesBackWhatWasAllocatedSinceTheMark)
{
    const HeapLimit heap;
    FastHeap arena;
    char* const kept = static_cast<char*>(arena.alloc(8, 8));
    std::memset(kept, 7, 8);
    const FastHeap::Mark mark = arena.mark();
    const void* const first = arena.alloc(8, 8);
    EXPECT_NE(arena.alloc(5000, 8), nullptr);  // a chunk more
    EXPECT_NE(arena.alloc(20000, 8), nullptr); // one of its own
    arena.rewind(mark);
    EXPECT_EQ(arena.bytesInUse(), 8u);
    const std::size_t before = heap.bytes();
    EXPECT_EQ(arena.alloc(8, 8), first);
    EXPECT_EQ(heap.bytes(), before);
    EXPECT_EQ(kept[7], 7);
}

TEST(FastHeapTest, RewindingToTheBeginningFreesEverything)
{
    FastHeap arena;
    const FastHeap::Mark mark = arena.mark();
    EXPECT_NE(arena.alloc(1000, 8), nullptr);
    EXPECT_NE(arena.alloc(1000, 8), nullptr);
    arena.rewind(mark);
    EXPECT_EQ(arena.bytesInUse(), 0u);
    const HeapLimit heap;
    EXPECT_NE(arena.alloc(8, 8), nullptr);
    EXPECT_EQ(heap.bytes(), 1024u) << "the sizes begin again, too";
}

TEST(FastHeapTest, RewindingToTheOwnersBlockUsesItAgain)
{
    alignas(16) char block[64];
    FastHeap arena(block, sizeof block);
    const FastHeap::Mark mark = arena.mark();
    EXPECT_EQ(arena.alloc(8, 8), block);
    EXPECT_NE(arena.alloc(100, 8), nullptr);
    arena.rewind(mark);
    EXPECT_EQ(arena.alloc(8, 8), block);
}

TEST(FastHeapTest, BytesInUseCountsBytesAndPadding)
{
    FastHeap arena;
    EXPECT_NE(arena.alloc(3, 1), nullptr);
    EXPECT_EQ(arena.bytesInUse(), 3u);
    EXPECT_NE(arena.alloc(8, 8), nullptr); // five bytes of padding
    EXPECT_EQ(arena.bytesInUse(), 16u);
    EXPECT_NE(arena.alloc(100000, 8), nullptr); // a chunk of its own
    EXPECT_EQ(arena.bytesInUse(), 100016u);
    EXPECT_NE(arena.alloc(5, 4096), nullptr); // the same, for its alignment
    EXPECT_EQ(arena.bytesInUse(), 100021u);
    EXPECT_NE(arena.alloc(1, 1), nullptr); // still behind the first two
    EXPECT_EQ(arena.bytesInUse(), 100022u);
}

TEST(FastHeapTest, LargeRequestLeavesTheChunkInUse)
{
    const HeapLimit heap;
    FastHeap arena;
    const char* const first = static_cast<char*>(arena.alloc(8, 8));
    EXPECT_NE(arena.alloc(20000, 8), nullptr);
    const char* const second = static_cast<char*>(arena.alloc(8, 8));
    EXPECT_EQ(second, first + 8);
    EXPECT_EQ(heap.requests(), 2u);
}

TEST(FastHeapTest, ZeroBytesHaveAnAddressOfTheirOwn)
{
    FastHeap arena;
    const void* const first = arena.alloc(0, 1);
    const void* const second = arena.alloc(0, 1);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(arena.bytesInUse(), 2u);
}

TEST(FastHeapTest, AlignmentThatIsNoPowerOfTwoGivesNull)
{
    FastHeap arena;
    EXPECT_EQ(arena.alloc(8, 0), nullptr);
    EXPECT_EQ(arena.alloc(8, 12), nullptr);
    EXPECT_EQ(arena.bytesInUse(), 0u);
}

TEST(FastHeapTest, OutOfMemoryGivesNullAndChangesNothing)
{
    FastHeap arena;
    {
        const HeapLimit heap(0);
        EXPECT_EQ(arena.alloc(8, 8), nullptr);
        EXPECT_EQ(arena.alloc(50000, 8), nullptr);
        EXPECT_EQ(arena.alloc(8, 64), nullptr);
    }
    EXPECT_EQ(arena.bytesInUse(), 0u);
    EXPECT_NE(arena.alloc(8, 8), nullptr);
    EXPECT_EQ(arena.bytesInUse(), 8u);

    const HeapLimit heap(0);
    EXPECT_NE(arena.alloc(8, 8), nullptr); // what the chunk still holds is there
    EXPECT_EQ(arena.alloc(2000, 8), nullptr);
    EXPECT_EQ(arena.bytesInUse(), 16u);
    EXPECT_NE(arena.alloc(8, 8), nullptr);
}

TEST(FastHeapTest, ImpossibleSizesGiveNull)
{
    FastHeap arena;
    EXPECT_EQ(arena.alloc(SIZE_MAX, 1), nullptr);
    EXPECT_EQ(arena.alloc(SIZE_MAX - 20, 16), nullptr);
    EXPECT_EQ(arena.alloc(PTRDIFF_MAX, 1), nullptr);
    EXPECT_EQ(arena.alloc(64, std::size_t{1} << (sizeof(std::size_t) * 8 - 1)), nullptr);
    EXPECT_EQ(arena.bytesInUse(), 0u);
}

/// Blocks are aligned, apart from each other, and hold what is written until the end.
TEST(FastHeapTest, RandomBlocksKeepTheirContents)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    struct Block
    {
        unsigned char* address;
        std::size_t bytes;
        unsigned char mark;
    };
    FastHeap arena;
    std::vector<Block> blocks;
    std::size_t bytes = 0;
    for (int i = 0; i < 3000; ++i)
    {
        const std::size_t size = random.chance(1, 100) ? random.below(40000) : random.below(200);
        const std::size_t alignment = std::size_t{1} << random.below(8);
        auto* const address = static_cast<unsigned char*>(arena.alloc(size, alignment));
        ASSERT_NE(address, nullptr);
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(address) % alignment, 0u);
        blocks.push_back({address, size, static_cast<unsigned char>(random.below(256))});
        std::memset(address, blocks.back().mark, size);
        bytes += size;
    }
    EXPECT_GE(arena.bytesInUse(), bytes);
    EXPECT_LE(arena.bytesInUse(), bytes + blocks.size() * 16);
    for (const Block& block : blocks)
    {
        EXPECT_TRUE(std::all_of(block.address, block.address + block.bytes,
                                [&](unsigned char byte) { return byte == block.mark; }));
    }
}

} // namespace
