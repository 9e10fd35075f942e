#include <db2/MemoryFormat.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using db2::MemoryFormat;
using db2::MemoryResource;

TEST(MemoryFormatTest, StartsEmpty)
{
    const MemoryFormat format;
    EXPECT_EQ(format.size, 0u);
    EXPECT_EQ(format.alignment, 0u);
    EXPECT_FALSE(format.isTooLarge());
}

TEST(MemoryFormatTest, AddRoundsTheTotalUpToTheObjectsAlignmentFirst)
{
    MemoryFormat format;
    format.add(1, 4);
    format.add(16, 16);
    format.add(2, 4);
    EXPECT_EQ(format.size, 34u);
}

TEST(MemoryFormatTest, AddKeepsTheLargestAlignment)
{
    MemoryFormat format;
    format.add(1, 4);
    format.add(1, 16);
    format.add(1, 8);
    EXPECT_EQ(format.alignment, 16u);
}

TEST(MemoryFormatTest, AnObjectWithoutBytesStillAligns)
{
    MemoryFormat format{1, 4};
    format.add(0, 4);
    EXPECT_EQ(format.size, 4u);
}

TEST(MemoryFormatTest, ATotalThatDoesNotFitSaturatesForGood)
{
    MemoryFormat format;
    format.add(MemoryFormat::kTooLarge - 1, 1);
    EXPECT_FALSE(format.isTooLarge());
    format.add(1, 1);
    EXPECT_TRUE(format.isTooLarge());
    format.add(0, 1);
    EXPECT_TRUE(format.isTooLarge());
    format.add(100, 16);
    EXPECT_TRUE(format.isTooLarge());
}

TEST(MemoryFormatTest, OneObjectThatDoesNotFitSaturates)
{
    MemoryFormat format;
    format.add(SIZE_MAX, 4);
    EXPECT_TRUE(format.isTooLarge());
}

TEST(MemoryFormatTest, PaddingBeyondTheCountSaturates)
{
    MemoryFormat format{MemoryFormat::kTooLarge - 3, 1};
    format.add(0, 16);
    EXPECT_TRUE(format.isTooLarge());
}

class MemoryResourceTest : public ::testing::Test
{
protected:
    alignas(16) unsigned char block[64] = {};
};

TEST_F(MemoryResourceTest, TakeMovesTheCursorBehindTheObject)
{
    MemoryResource resource(block, sizeof block);
    EXPECT_EQ(resource.take(3, 1), block);
    EXPECT_EQ(resource.cursor, block + 3);
    EXPECT_EQ(resource.remaining, 61u);
}

TEST_F(MemoryResourceTest, TakeSkipsToTheAlignment)
{
    MemoryResource resource(block + 1, 63);
    EXPECT_EQ(resource.take(8, 16), block + 16);
    EXPECT_EQ(resource.remaining, 40u);
}

TEST_F(MemoryResourceTest, TakeUsesTheLastByte)
{
    MemoryResource resource(block, sizeof block);
    EXPECT_EQ(resource.take(64, 16), block);
    EXPECT_EQ(resource.remaining, 0u);
}

TEST_F(MemoryResourceTest, TakeOfTooMuchGivesNullAndTakesNothing)
{
    MemoryResource resource(block, 8);
    EXPECT_EQ(resource.take(9, 1), nullptr);
    EXPECT_EQ(resource.cursor, block);
    EXPECT_EQ(resource.remaining, 8u);
}

TEST_F(MemoryResourceTest, TakeWhosePaddingDoesNotFitGivesNullAndTakesNothing)
{
    MemoryResource resource(block + 1, 4);
    EXPECT_EQ(resource.take(0, 16), nullptr);
    EXPECT_EQ(resource.take(SIZE_MAX, 16), nullptr);
    EXPECT_EQ(resource.cursor, block + 1);
    EXPECT_EQ(resource.remaining, 4u);
}

TEST_F(MemoryResourceTest, WithoutABlockThereIsNothingToTake)
{
    MemoryResource resource;
    EXPECT_EQ(resource.take(1, 4), nullptr);
    EXPECT_EQ(resource.take(0, 4), nullptr);
    EXPECT_EQ(resource.cursor, nullptr);
}

/// Whatever is measured first and taken afterwards fills the block to the byte, every object at its alignment.
TEST(MemoryLayoutProperty, WhatWasMeasuredFitsExactly)
{
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 500; ++round)
    {
        struct Object
        {
            std::size_t bytes;
            std::size_t alignment;
        };
        std::vector<Object> objects(random() % 20 + 1);
        MemoryFormat format;
        for (Object& object : objects)
        {
            object = {random() % 40, std::size_t{1} << random() % 5};
            format.add(object.bytes, object.alignment);
        }
        std::vector<unsigned char> block(format.size + 16);
        const auto address = reinterpret_cast<std::uintptr_t>(block.data());
        MemoryResource resource(block.data() + (db2::roundUp(address, 16) - address), format.size);
        for (const Object& object : objects)
        {
            const void* const place = resource.take(object.bytes, object.alignment);
            ASSERT_NE(place, nullptr);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(place) % object.alignment, 0u);
        }
        ASSERT_EQ(resource.remaining, 0u);
    }
}
