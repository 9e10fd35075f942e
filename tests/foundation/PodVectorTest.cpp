#include <kqtl/pod_vector.h>

#include "HeapLimit.h"
#include "SequenceEdits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using foundationtest::HeapLimit;
using kqtl::pod_vector;

std::vector<int> contents(const pod_vector<int>& values)
{
    return {values.begin(), values.end()};
}

pod_vector<int> make(std::initializer_list<int> values)
{
    pod_vector<int> result;
    result.insert(result.end(), values.begin(), values.end());
    return result;
}

using Ints = std::vector<int>;

/// Counts the blocks that it has out.
class CountingAllocator : public kqtl::Allocator
{
public:
    void* allocate(std::size_t bytes, std::size_t alignment) override
    {
        ++living;
        return Allocator::allocate(bytes, alignment);
    }

    void free(void* block) override
    {
        --living;
        Allocator::free(block);
    }

    int living = 0;
};

// --- Construction ---

TEST(PodVectorTest, EmptyHasNoStorage)
{
    const HeapLimit heap(0);
    const pod_vector<int> values;
    EXPECT_TRUE(values.empty());
    EXPECT_EQ(values.size(), 0u);
    EXPECT_EQ(values.capacity(), 0u);
    EXPECT_EQ(values.data(), nullptr);
    EXPECT_EQ(values.begin(), values.end());
    EXPECT_EQ(values.getAllocator(), KQTLGetDefaultAllocator());
    const pod_vector<int> copy(values);
    EXPECT_EQ(copy.data(), nullptr);
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(PodVectorTest, NullAllocatorIsTheDefault)
{
    EXPECT_EQ(pod_vector<int>(nullptr).getAllocator(), KQTLGetDefaultAllocator());
}

TEST(PodVectorTest, TakesItsMemoryFromItsAllocator)
{
    CountingAllocator allocator;
    {
        pod_vector<int> values(&allocator);
        EXPECT_EQ(values.getAllocator(), &allocator);
        EXPECT_EQ(allocator.living, 0);
        for (int i = 0; i < 100; ++i)
            values.push_back(i);
        EXPECT_EQ(allocator.living, 1);
    }
    EXPECT_EQ(allocator.living, 0);
}

TEST(PodVectorTest, CopyTakesTheSourcesAllocator)
{
    CountingAllocator allocator;
    pod_vector<int> source(&allocator);
    source.push_back(1);
    const pod_vector<int> copy(source);
    EXPECT_EQ(copy.getAllocator(), &allocator);
    EXPECT_EQ(contents(copy), Ints{1});
    EXPECT_EQ(allocator.living, 2);
    pod_vector<int> assigned = make({5, 6});
    assigned = source;
    EXPECT_EQ(assigned.getAllocator(), &allocator);
    EXPECT_EQ(contents(assigned), Ints{1});
    EXPECT_EQ(allocator.living, 3);
    const pod_vector<int>& self = assigned;
    assigned = self;
    EXPECT_EQ(contents(assigned), Ints{1});
}

TEST(PodVectorTest, MovingTakesTheStorage)
{
    CountingAllocator allocator;
    pod_vector<int> source(&allocator);
    source.push_back(1);
    const int* const storage = source.data();
    pod_vector<int> target(std::move(source));
    EXPECT_EQ(target.data(), storage);
    EXPECT_EQ(target.getAllocator(), &allocator);
    EXPECT_TRUE(source.empty()); // NOLINT: the moved-from state is documented
    EXPECT_EQ(source.capacity(), 0u);
    EXPECT_EQ(source.getAllocator(), &allocator);
    source.push_back(2);
    pod_vector<int> assigned = make({5, 6});
    assigned = std::move(target);
    EXPECT_EQ(assigned.data(), storage);
    EXPECT_EQ(assigned.getAllocator(), &allocator);
    EXPECT_TRUE(target.empty()); // NOLINT
    pod_vector<int>& self = assigned;
    assigned = std::move(self);
    EXPECT_EQ(contents(assigned), Ints{1});
}

TEST(PodVectorTest, StorageIsAlignedForItsElements)
{
    struct alignas(64) Wide
    {
        int value;
    };
    pod_vector<Wide> values;
    values.push_back({1});
    values.push_back({2});
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(values.data()) % 64, 0u);
    EXPECT_EQ(values[1].value, 2);
}

// --- Edits ---

TEST(PodVectorTest, PushAndPopWorkAtTheEnd)
{
    pod_vector<int> values;
    values.push_back(1);
    values.push_back(2);
    values.push_back(3);
    EXPECT_EQ(values.front(), 1);
    EXPECT_EQ(values.back(), 3);
    EXPECT_EQ(values[1], 2);
    values.pop_back();
    EXPECT_EQ(contents(values), (Ints{1, 2}));
}

TEST(PodVectorTest, GrowthAllocatesRarely)
{
    const HeapLimit heap;
    pod_vector<int> values;
    for (int i = 0; i < 100000; ++i)
        values.push_back(i);
    EXPECT_EQ(values[99999], 99999);
    EXPECT_LE(heap.requests(), 18u);
}

TEST(PodVectorTest, ClearKeepsTheCapacity)
{
    pod_vector<int> values = make({1, 2, 3});
    values.clear();
    EXPECT_TRUE(values.empty());
    const HeapLimit heap(0);
    values.push_back(4);
    values.push_back(5);
    values.push_back(6);
    EXPECT_EQ(contents(values), (Ints{4, 5, 6}));
}

TEST(PodVectorTest, ReserveIsExactAndNeverShrinks)
{
    pod_vector<int> values = make({1});
    values.reserve(10);
    EXPECT_EQ(values.capacity(), 10u);
    EXPECT_EQ(contents(values), Ints{1});
    values.reserve(5);
    EXPECT_EQ(values.capacity(), 10u);
}

TEST(PodVectorTest, ResizeFillsWithZeroOrTheGivenValue)
{
    pod_vector<int> values = make({1, 2, 3});
    values.resize(1);
    values.resize(3); // over the old elements
    EXPECT_EQ(contents(values), (Ints{1, 0, 0}));
    values.resize(5, 7);
    EXPECT_EQ(contents(values), (Ints{1, 0, 0, 7, 7}));
    values.resize(0);
    EXPECT_TRUE(values.empty());
}

TEST(PodVectorTest, InsertOpensAGap)
{
    pod_vector<int> values = make({1, 2});
    EXPECT_EQ(*values.insert(values.begin(), 0), 0);
    EXPECT_EQ(*values.insert(values.end(), 9), 9);
    EXPECT_EQ(contents(values), (Ints{0, 1, 2, 9}));
    const auto twice = values.insert(values.begin() + 2, 2, 5);
    EXPECT_EQ(twice, values.begin() + 2);
    EXPECT_EQ(contents(values), (Ints{0, 1, 5, 5, 2, 9}));
    const std::list<int> range{7, 8};
    const auto first = values.insert(values.begin() + 1, range.begin(), range.end());
    EXPECT_EQ(first, values.begin() + 1);
    EXPECT_EQ(contents(values), (Ints{0, 7, 8, 1, 5, 5, 2, 9}));
}

TEST(PodVectorTest, InsertingNothingChangesNothing)
{
    const HeapLimit heap(0);
    pod_vector<int> values;
    const int* const none = nullptr;
    auto at = values.insert(values.end(), none, none);
    EXPECT_EQ(at, values.end());
    at = values.insert(values.end(), 0, 5);
    EXPECT_EQ(at, values.end());
    EXPECT_TRUE(values.empty());
}

TEST(PodVectorTest, EraseMovesTheRestDown)
{
    pod_vector<int> values = make({0, 1, 2, 3, 4});
    EXPECT_EQ(*values.erase(values.begin() + 1), 2);
    EXPECT_EQ(contents(values), (Ints{0, 2, 3, 4}));
    EXPECT_EQ(*values.erase(values.begin(), values.begin() + 2), 3);
    EXPECT_EQ(contents(values), (Ints{3, 4}));
    auto at = values.erase(values.end(), values.end());
    EXPECT_EQ(at, values.end());
    at = values.erase(values.begin() + 1);
    EXPECT_EQ(at, values.end());
    at = values.erase(values.begin(), values.end());
    EXPECT_EQ(at, values.end());
    EXPECT_TRUE(values.empty());
    at = values.erase(values.begin(), values.end());
    EXPECT_EQ(at, values.end());
}

TEST(PodVectorTest, OwnElementsAreSafeArguments)
{
    pod_vector<int> values = make({1, 2, 3});
    for (int i = 0; i < 20; ++i)
        values.push_back(values[0]);
    EXPECT_EQ(values.back(), 1);

    values = make({1, 2, 3});
    values.reserve(3);
    values.insert(values.begin(), values.back());
    EXPECT_EQ(contents(values), (Ints{3, 1, 2, 3}));
    values.reserve(20);
    values.insert(values.begin(), values.back());
    EXPECT_EQ(contents(values), (Ints{3, 3, 1, 2, 3}));
    values.insert(values.begin() + 1, values.begin(), values.begin() + 3); // around the gap, with room
    EXPECT_EQ(contents(values), (Ints{3, 3, 3, 1, 3, 1, 2, 3}));

    values = make({1, 2, 3});
    values.insert(values.begin() + 1, values.begin(), values.end()); // around the gap, without
    EXPECT_EQ(contents(values), (Ints{1, 1, 2, 3, 2, 3}));
    values = make({1, 2});
    values.resize(5, values[1]);
    EXPECT_EQ(contents(values), (Ints{1, 2, 2, 2, 2}));
}

TEST(PodVectorTest, SwapExchangesAllocatorsToo)
{
    CountingAllocator allocator;
    pod_vector<int> first(&allocator);
    first.push_back(1);
    pod_vector<int> second = make({2, 3});
    first.swap(second);
    EXPECT_EQ(contents(first), (Ints{2, 3}));
    EXPECT_EQ(contents(second), Ints{1});
    EXPECT_EQ(second.getAllocator(), &allocator);
    EXPECT_EQ(first.getAllocator(), KQTLGetDefaultAllocator());
}

// --- Failures ---

TEST(PodVectorTest, OutOfMemoryThrowsAndChangesNothing)
{
    pod_vector<int> values = make({1, 2, 3});
    values.resize(values.capacity(), 4);
    const Ints before = contents(values);
    const std::size_t capacity = values.capacity();
    const Ints range{8, 9};
    const HeapLimit heap(0);
    EXPECT_THROW(values.push_back(5), std::bad_alloc);
    EXPECT_THROW(values.insert(values.begin(), 5), std::bad_alloc);
    EXPECT_THROW(values.insert(values.begin(), range.begin(), range.end()), std::bad_alloc);
    EXPECT_THROW(values.resize(100), std::bad_alloc);
    EXPECT_THROW(values.resize(100, 1), std::bad_alloc);
    EXPECT_THROW(values.reserve(100), std::bad_alloc);
    EXPECT_THROW(pod_vector<int>{values}, std::bad_alloc);
    pod_vector<int> other;
    EXPECT_THROW(other = values, std::bad_alloc);
    EXPECT_TRUE(other.empty());
    EXPECT_EQ(contents(values), before);
    EXPECT_EQ(values.capacity(), capacity);
}

TEST(PodVectorTest, SizesThatCannotBeThrowAndChangeNothing)
{
    pod_vector<int> values = make({1});
    const HeapLimit heap(0);
    EXPECT_THROW(values.reserve(values.max_size() + 1), std::length_error);
    EXPECT_THROW(values.resize(SIZE_MAX), std::length_error);
    EXPECT_THROW(values.resize(SIZE_MAX, 1), std::length_error);
    EXPECT_THROW(values.insert(values.begin(), values.max_size(), 1), std::length_error);
    EXPECT_EQ(heap.requests(), 0u);
    EXPECT_EQ(contents(values), Ints{1});
    EXPECT_THROW(values.reserve(values.max_size()), std::bad_alloc); // which can be, with that much memory
}

TEST(PodVectorTest, RandomEditsAgreeWithStandardVectors)
{
    foundationtest::compareRandomEditsWithStandardVector<pod_vector<int>, int>(20000,
                                                                               [](int number) { return number; });
}

} // namespace
