// Saving and loading with the standard library's heap running out at every place where they allocate from it.

#include "json/SavedRandomTree.h"

#include "support/StandardHeapThatRunsOut.h"

#include <cstddef>

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
        const std::size_t live = StandardHeapThatRunsOut::liveBlocks();
        CountingLogger logger;
        Status status;
        {
            const StandardHeapThatRunsOut heap(granted, &logger);
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
        ASSERT_EQ(StandardHeapThatRunsOut::liveBlocks(), live) << granted;
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
        const std::size_t live = StandardHeapThatRunsOut::liveBlocks();
        CountingLogger logger;
        Status status;
        MemoryBlock block;
        {
            const StandardHeapThatRunsOut heap(granted, &logger);
            MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
            JsonSaver saver(stream, L"scene");
            saver.addChildNodes(scene.root());
            status = saver.save();
            isSaved = !heap.hasRunOut();
        }
        ASSERT_EQ(StandardHeapThatRunsOut::liveBlocks(), live) << granted;
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
