#include <kqx/VertexBuffer.h>

#include "HeapLimit.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <utility>

namespace {

using foundationtest::HeapLimit;
using kqx::FloatArray;
using kqx::VertexBuffer;

VertexBuffer makeBuffer()
{
    VertexBuffer buffer;
    buffer.addStream(L"position", 3);
    buffer.addStream(L"uv", 2);
    buffer.getStream(0) = {1.0f, 2.0f, 3.0f};
    buffer.getStream(1) = {0.5f, 0.25f};
    return buffer;
}

TEST(VertexBufferTest, IsOnePointerWide)
{
    EXPECT_EQ(sizeof(VertexBuffer), sizeof(void*));
}

TEST(VertexBufferTest, EmptyOwnsNoHeapMemory)
{
    const HeapLimit heap(0);
    const VertexBuffer buffer;
    const VertexBuffer copy(buffer);
    EXPECT_EQ(copy.getStreamCount(), 0u);
    EXPECT_TRUE(buffer == copy);
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(VertexBufferTest, StreamsAreNumberedInTheOrderAdded)
{
    VertexBuffer buffer;
    EXPECT_EQ(buffer.addStream(L"position", 3), 0u);
    EXPECT_EQ(buffer.addStream(nullptr, 1), 1u);
    EXPECT_EQ(buffer.addStream(L"position", 0), 2u);
    EXPECT_EQ(buffer.getStreamCount(), 3u);
    EXPECT_STREQ(buffer.getStreamName(0), L"position");
    EXPECT_STREQ(buffer.getStreamName(1), L"");
    EXPECT_EQ(buffer.getStreamComponents(0), 3u);
    EXPECT_EQ(buffer.getStreamComponents(2), 0u);
    EXPECT_TRUE(buffer.getStream(2).empty());
}

TEST(VertexBufferTest, StreamsThatDoNotExistHaveNoNameComponentsOrText)
{
    const VertexBuffer buffer = makeBuffer();
    EXPECT_STREQ(buffer.getStreamName(2), L"");
    EXPECT_EQ(buffer.getStreamComponents(2), 0u);
    EXPECT_TRUE(buffer.getStreamText(2).empty());
    EXPECT_STREQ(buffer.getStreamName(std::numeric_limits<unsigned int>::max()), L"");
}

TEST(VertexBufferTest, CopyIsDeep)
{
    const VertexBuffer source = makeBuffer();
    VertexBuffer copy(source);
    copy.getStream(0)[0] = 9.0f;
    EXPECT_EQ(source.getStream(0)[0], 1.0f);
    copy = source;
    EXPECT_EQ(copy, source);
}

TEST(VertexBufferTest, MovingTakesTheStreams)
{
    VertexBuffer source = makeBuffer();
    const HeapLimit heap(0);
    VertexBuffer target(std::move(source));
    EXPECT_EQ(target.getStreamCount(), 2u);
    EXPECT_EQ(source.getStreamCount(), 0u); // NOLINT: the moved-from state is documented
    source = std::move(target);
    EXPECT_EQ(source.getStreamCount(), 2u);
}

TEST(VertexBufferTest, ClearRemovesAllStreams)
{
    VertexBuffer buffer = makeBuffer();
    buffer.clear();
    EXPECT_EQ(buffer.getStreamCount(), 0u);
    EXPECT_EQ(buffer, VertexBuffer());
}

TEST(VertexBufferTest, NamesComponentsAndDataCountInEquality)
{
    const VertexBuffer buffer = makeBuffer();
    EXPECT_TRUE(buffer == makeBuffer());
    EXPECT_FALSE(buffer != makeBuffer());

    VertexBuffer other = makeBuffer();
    other.getStream(1)[1] = 0.75f;
    EXPECT_TRUE(buffer != other);

    VertexBuffer named;
    named.addStream(L"normal", 3);
    VertexBuffer sized;
    sized.addStream(L"normal", 4);
    EXPECT_TRUE(named != sized);
    VertexBuffer renamed;
    renamed.addStream(L"tangent", 3);
    EXPECT_TRUE(named != renamed);
    EXPECT_TRUE(named != VertexBuffer());
}

TEST(VertexBufferTest, TextIsTheFloatsSeparatedByOneBlank)
{
    VertexBuffer buffer = makeBuffer();
    EXPECT_EQ(buffer.getStreamText(0), L"1 2 3");
    EXPECT_EQ(buffer.getStreamText(1), L"0.5 0.25");
    buffer.getStream(0) = {-1.5f, 1.0f / 3.0f, 1e10f, 1234567.0f};
    EXPECT_EQ(buffer.getStreamText(0), L"-1.5 0.333333 1e+10 1.23457e+06");
    buffer.getStream(0).clear();
    EXPECT_EQ(buffer.getStreamText(0), L"");
}

TEST(VertexBufferTest, OutOfMemoryThrowsAndChangesNothing)
{
    VertexBuffer buffer = makeBuffer();
    for (std::size_t grants = 0; grants < 2; ++grants)
    {
        const HeapLimit heap(grants);
        EXPECT_THROW(buffer.addStream(L"normal", 3), std::bad_alloc) << grants;
    }
    EXPECT_EQ(buffer, makeBuffer());
    for (std::size_t grants = 0; grants < 5; ++grants)
    {
        const HeapLimit heap(grants);
        EXPECT_THROW(VertexBuffer{buffer}, std::bad_alloc) << grants;
    }
}

} // namespace
