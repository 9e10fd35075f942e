#include "support/StandardHeapThatRunsOut.h"

#include <db2/Library.h>

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

std::size_t g_left = kUnlimited; ///< allocations to come that succeed
std::size_t g_live = 0;
bool g_hasRefused = false;

} // namespace

// --- The program's heap ---

void* operator new(std::size_t bytes)
{
    g_hasRefused = g_hasRefused || g_left == 0;
    void* const block = g_left != 0 ? std::malloc(bytes != 0 ? bytes : 1) : nullptr;
    if (block == nullptr)
        throw std::bad_alloc();
    g_left -= g_left != kUnlimited ? 1 : 0;
    ++g_live;
    return block;
}

/// The sanitizers have one of their own, which would not go by the one above.
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

void operator delete(void* block) noexcept
{
    g_live -= block != nullptr ? 1 : 0;
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

StandardHeapThatRunsOut::StandardHeapThatRunsOut(std::size_t grantedAllocations, KQutils::BasicLogger* logger)
    : previous_(db2::setLogger(logger))
{
    g_hasRefused = false;
    g_left = grantedAllocations;
}

StandardHeapThatRunsOut::~StandardHeapThatRunsOut()
{
    g_left = kUnlimited;
    db2::setLogger(previous_);
}

bool StandardHeapThatRunsOut::hasRunOut() const
{
    return g_hasRefused;
}

std::size_t StandardHeapThatRunsOut::liveBlocks()
{
    return g_live;
}

} // namespace db2test
