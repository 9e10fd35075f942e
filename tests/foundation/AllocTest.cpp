#include <kqtl/Alloc.h>

#include "HeapLimit.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

using foundationtest::HeapLimit;

bool isAligned(const void* address, std::size_t alignment)
{
    return reinterpret_cast<std::uintptr_t>(address) % alignment == 0;
}

TEST(AllocTest, BlocksAreAlignedAsAsked)
{
    for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2)
    {
        for (const std::size_t bytes : {std::size_t{1}, std::size_t{24}, std::size_t{5000}})
        {
            void* const block = KQTLAlloc(bytes, alignment);
            ASSERT_NE(block, nullptr);
            EXPECT_TRUE(isAligned(block, alignment)) << bytes << " bytes at " << alignment;
            std::memset(block, 0xAB, bytes); // the sanitizer watches the end
            KQTLFree(block);
        }
    }
}

TEST(AllocTest, AlignmentZeroIsTheLargestOrdinaryAlignment)
{
    void* const block = KQTLAlloc(8, 0);
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(isAligned(block, alignof(std::max_align_t)));
    KQTLFree(block);
}

TEST(AllocTest, AlignmentThatIsNoPowerOfTwoGivesNull)
{
    const HeapLimit heap;
    EXPECT_EQ(KQTLAlloc(8, 3), nullptr);
    EXPECT_EQ(KQTLAlloc(8, 24), nullptr);
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(AllocTest, ZeroBytesGiveBlocksOfTheirOwn)
{
    for (const std::size_t alignment : {std::size_t{1}, std::size_t{64}})
    {
        void* const first = KQTLAlloc(0, alignment);
        void* const second = KQTLAlloc(0, alignment);
        EXPECT_NE(first, nullptr);
        EXPECT_NE(second, nullptr);
        EXPECT_NE(first, second);
        KQTLFree(first);
        KQTLFree(second);
    }
}

TEST(AllocTest, MoreThanAnAddressDifferenceGivesNull)
{
    EXPECT_EQ(KQTLAlloc(SIZE_MAX, 1), nullptr);
    EXPECT_EQ(KQTLAlloc(SIZE_MAX - 8, 64), nullptr);
    EXPECT_EQ(KQTLAlloc(std::size_t{PTRDIFF_MAX} + 1, 16), nullptr);
}

TEST(AllocTest, FreeIgnoresNull)
{
    KQTLFree(nullptr);
}

TEST(AllocTest, HookSeesTheBytesOfEveryAllocation)
{
    const HeapLimit heap;
    KQTLFree(KQTLAlloc(10, 1));
    KQTLFree(KQTLAlloc(32, 64));
    EXPECT_EQ(heap.requests(), 2u);
    EXPECT_EQ(heap.bytes(), 42u);
}

TEST(AllocTest, HookRefusesAnAllocation)
{
    const HeapLimit heap(1);
    void* const granted = KQTLAlloc(8, 8);
    EXPECT_NE(granted, nullptr);
    EXPECT_EQ(KQTLAlloc(8, 8), nullptr);
    EXPECT_EQ(KQTLAlloc(8, 64), nullptr);
    KQTLFree(granted);
}

bool refuse(std::size_t)
{
    return false;
}

TEST(AllocTest, SettingTheHookReturnsThePreviousOne)
{
    EXPECT_EQ(KQTLSetAllocHook(&refuse), nullptr);
    EXPECT_EQ(KQTLAlloc(1, 1), nullptr);
    EXPECT_EQ(KQTLSetAllocHook(nullptr), &refuse);
    void* const block = KQTLAlloc(1, 1);
    EXPECT_NE(block, nullptr);
    KQTLFree(block);
}

} // namespace
