// Saving and loading with the standard library's heap running out at every place where they allocate from it: this
// program replaces its operator new.

#include "json/SavedRandomTree.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

std::size_t g_granted = kUnlimited; ///< allocations to come that succeed
std::size_t g_live = 0;             ///< blocks that are allocated
bool g_ranOut = false;

} // namespace

void* operator new(std::size_t bytes)
{
    if (g_granted == 0)
    {
        g_ranOut = true;
        throw std::bad_alloc();
    }
    void* const block = std::malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    g_granted -= g_granted != kUnlimited ? 1 : 0;
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

namespace {

using namespace db2;
using namespace db2test;

/// Counts what it is told, which takes no memory.
class CountingLogger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t*) override { errors += level == 2 ? 1 : 0; }

    int errors = 0;
};

/// While it lives, the heap grants so many allocations and then none; the library logs to a counter.
class StandardHeapThatRunsOut
{
public:
    StandardHeapThatRunsOut(std::size_t granted, CountingLogger& logger) : before_(getLogger())
    {
        setLogger(&logger);
        g_ranOut = false;
        g_granted = granted;
    }
    StandardHeapThatRunsOut(const StandardHeapThatRunsOut&) = delete;
    StandardHeapThatRunsOut& operator=(const StandardHeapThatRunsOut&) = delete;
    ~StandardHeapThatRunsOut()
    {
        g_granted = kUnlimited;
        setLogger(before_);
    }

    [[nodiscard]] static bool hasRunOut() { return g_ranOut; }

private:
    KQutils::BasicLogger* before_;
};

class JsonStandardHeapTest : public SavedRandomTree
{
protected:
    JsonStandardHeapTest() : SavedRandomTree(11, 12) {}
};

TEST_F(JsonStandardHeapTest, ALoadFailsWithAMessageAndLeavesNothing)
{
    const MemoryBlock block = blockOf(text);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    bool isLoaded = false;
    std::size_t failures = 0;
    for (std::size_t granted = 0; !isLoaded; ++granted)
    {
        const std::size_t live = g_live;
        CountingLogger logger;
        Status status;
        {
            const StandardHeapThatRunsOut heap(granted, logger);
            MemoryInputStream stream(block);
            JsonLoader loader(stream, scene.core(), scene.core());
            status = loader.load(*scene.root(), L"scene.json");
            isLoaded = !heap.hasRunOut();
        }
        ASSERT_EQ(status, isLoaded ? Status::kSuccess : Status::kFailure) << granted;
        ASSERT_FALSE(scene.core().isLockOutstanding()) << granted;
        if (isLoaded)
            break;
        EXPECT_GT(logger.errors, 0) << granted;
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        ASSERT_EQ(g_live, live) << granted;
        ++failures;
    }
    EXPECT_GT(failures, 10u);
    scene.commit();
    EXPECT_TRUE(isSameDump(before, content()));
}

TEST_F(JsonStandardHeapTest, ASaveFailsWithAMessageAndLeavesNothing)
{
    bool isSaved = false;
    std::size_t failures = 0;
    for (std::size_t granted = 0; !isSaved; ++granted)
    {
        const std::size_t live = g_live;
        CountingLogger logger;
        Status status;
        MemoryBlock block;
        {
            const StandardHeapThatRunsOut heap(granted, logger);
            MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
            JsonSaver saver(stream, L"scene");
            saver.addChildNodes(scene.root());
            status = saver.save();
            isSaved = !heap.hasRunOut();
        }
        ASSERT_EQ(g_live, live) << granted;
        if (isSaved)
        {
            EXPECT_EQ(status, Status::kSuccess);
            EXPECT_EQ(textOf(block), text);
            break;
        }
        EXPECT_GT(logger.errors, 0) << granted; // a node that was not added is only logged, so the status may be any
        ++failures;
    }
    EXPECT_GT(failures, 10u);
}

} // namespace
