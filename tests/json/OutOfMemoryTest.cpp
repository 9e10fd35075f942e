// Saving and loading with a heap that runs out at every place where they allocate from it.

#include "json/SavedRandomTree.h"

#include "support/HeapThatRunsOut.h"

namespace {

using namespace db2;
using namespace db2test;

class JsonOutOfMemoryTest : public SavedRandomTree
{
protected:
    JsonOutOfMemoryTest() : SavedRandomTree(7, 6) {}
};

TEST_F(JsonOutOfMemoryTest, ALoadFailsAndLeavesNothingLocked)
{
    const MemoryBlock block = blockOf(text);
    bool isLoaded = false;
    std::size_t failures = 0;
    for (std::size_t granted = 0; !isLoaded; ++granted)
    {
        SCOPED_TRACE(granted);
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            MemoryInputStream stream(block);
            JsonLoader loader(stream, scene.core(), scene.core());
            status = loader.load(*scene.root(), nullptr);
            isLoaded = !heap.hasRunOut();
        }
        ASSERT_EQ(status, isLoaded ? Status::kSuccess : Status::kFailure);
        ASSERT_FALSE(scene.core().isLockOutstanding());
        failures += isLoaded ? 0u : 1u;
    }
    EXPECT_GT(failures, 50u);
    scene.commit();
    EXPECT_TRUE(isSameDump(before, content()));
}

TEST_F(JsonOutOfMemoryTest, ASaveFails)
{
    bool isSaved = false;
    std::size_t failures = 0;
    for (std::size_t granted = 0; !isSaved; ++granted)
    {
        SCOPED_TRACE(granted);
        MemoryBlock block;
        MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
        JsonSaver saver(stream, L"scene");
        ASSERT_EQ(saver.addChildNodes(scene.root()), Status::kSuccess);
        Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = saver.save();
            isSaved = !heap.hasRunOut();
        }
        ASSERT_EQ(status, isSaved ? Status::kSuccess : Status::kFailure);
        if (isSaved)
        {
            EXPECT_EQ(textOf(block), text);
        }
        failures += isSaved ? 0u : 1u;
    }
    EXPECT_GT(failures, 5u);
}

} // namespace
