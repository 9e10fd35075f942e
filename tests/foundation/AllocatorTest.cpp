#include <kqtl/Allocator.h>

#include "HeapLimit.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace {

using foundationtest::HeapLimit;

TEST(AllocatorTest, DefaultIsOneObjectForTheProcess)
{
    ASSERT_NE(KQTLGetDefaultAllocator(), nullptr);
    EXPECT_EQ(KQTLGetDefaultAllocator(), KQTLGetDefaultAllocator());
}

TEST(AllocatorTest, BaseClassUsesTheCommonHeap)
{
    kqtl::Allocator allocator;
    const HeapLimit heap(1);
    void* const block = allocator.allocate(40, 32);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u);
    EXPECT_EQ(heap.bytes(), 40u);
    EXPECT_EQ(allocator.allocate(40, 32), nullptr);
    allocator.free(block);
    allocator.free(nullptr);
}

class CountingAllocator : public kqtl::Allocator
{
public:
    CountingAllocator(int* living, int* destroyed) : living_(living), destroyed_(destroyed) {}
    ~CountingAllocator() override { ++*destroyed_; }

    void* allocate(std::size_t bytes, std::size_t alignment) override
    {
        ++*living_;
        return Allocator::allocate(bytes, alignment);
    }

    void free(void* block) override
    {
        --*living_;
        Allocator::free(block);
    }

private:
    int* living_;
    int* destroyed_;
};

TEST(AllocatorTest, HostsDeriveFromIt)
{
    int living = 0;
    int destroyed = 0;
    {
        const std::unique_ptr<kqtl::Allocator> allocator = std::make_unique<CountingAllocator>(&living, &destroyed);
        void* const block = allocator->allocate(1, 1);
        EXPECT_EQ(living, 1);
        allocator->free(block);
    }
    EXPECT_EQ(living, 0);
    EXPECT_EQ(destroyed, 1);
}

} // namespace
