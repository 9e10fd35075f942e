// A format that goes on after the standard library's heap has run out: this program replaces its operator new.

#include "support/LoadScene.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

std::size_t g_granted = kUnlimited; ///< allocations to come that succeed

} // namespace

[[gnu::noinline]] void* operator new(std::size_t bytes) // else g++ sees malloc at one end and delete at the other
{
    void* const block = g_granted != 0 ? std::malloc(bytes != 0 ? bytes : 1) : nullptr;
    if (block == nullptr)
        throw std::bad_alloc();
    g_granted -= g_granted != kUnlimited ? 1 : 0;
    return block;
}

/// The sanitizers have one of their own, whose blocks the operator below could not free.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    try
    {
        return operator new(bytes);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    operator delete(block);
}

namespace db2test {
namespace {

using LoadStrategyOutOfMemoryTest = LoadTest;

TEST_F(LoadStrategyOutOfMemoryTest, ALegacyElementThatCouldNotBeMadeLeavesNoTrace)
{
    Status made = Status::kFailure;
    std::size_t granted = 0;
    for (; made != Status::kSuccess && granted < 100; ++granted)
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
            Node* node = nullptr;
            EXPECT_EQ(self.makeNode(L"All", L"Test", L"n", parent, nullptr, &node), Status::kSuccess);
            Attribute* attribute = nullptr;
            KQutils::BasicLogger* const recorder = setLogger(nullptr); // which takes memory, too
            g_granted = granted;
            made = self.getAttributeToPopulate(node, L"Gone", AttributeType::kEnum, false, &attribute);
            g_granted = kUnlimited;
            setLogger(recorder);
            return Status::kSuccess; // as a format that leaves out what it cannot read
        };
        const Status loaded = once.load(*parent, nullptr);
        EXPECT_EQ(loaded, made == Status::kSuccess ? Status::kLoadedWithUnhandledLegacyData : Status::kSuccess);
        EXPECT_EQ(once.getNumUnhandledLegacyElements(), made == Status::kSuccess ? 1u : 0u);
    }
    EXPECT_EQ(made, Status::kSuccess);
    EXPECT_GT(granted, 2u); // failed before
}

} // namespace
} // namespace db2test
