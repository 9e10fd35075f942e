// A format that goes on after the standard library's heap has run out.

#include "support/LoadScene.h"
#include "support/StandardHeapThatRunsOut.h"

#include <cstddef>

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
            const StandardHeapThatRunsOut heap(granted, nullptr); // a recorder would take memory, too
            made = self.getAttributeToPopulate(node, L"Gone", AttributeType::kEnum, false, &attribute);
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
