// Every status has a text for people.

#include "StatusText.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using db2::Status;
using kqdb::statusText;

constexpr std::uint32_t kStatusCount = 108;

TEST(StatusTextTest, EveryStatusHasAText)
{
    for (std::uint32_t i = 0; i < kStatusCount; ++i)
    {
        EXPECT_FALSE(statusText(static_cast<Status>(i)).empty()) << i;
        EXPECT_NE(statusText(static_cast<Status>(i)), "an unknown status") << i;
    }
    EXPECT_EQ(statusText(static_cast<Status>(kStatusCount)), "an unknown status");
    EXPECT_EQ(static_cast<std::uint32_t>(Status::kNoComputeOutputs) + 1, kStatusCount);
}

TEST(StatusTextTest, TheTextIsTheOneOfTheStatus)
{
    EXPECT_EQ(statusText(Status::kSuccess), "done");
    EXPECT_EQ(statusText(Status::kNodeHasChildren), "the node still has children");
    EXPECT_EQ(statusText(Status::kReferenceCycle), "the reference would close a cycle");
    EXPECT_EQ(statusText(Status::kDuplicateChildName), "a sibling bears that name already");
    EXPECT_EQ(statusText(Status::kPathNotResolved), "the path leads nowhere");
    EXPECT_EQ(statusText(Status::kNameTooLong), "the name is longer than 40 characters");
    EXPECT_EQ(statusText(Status::kNoComputeInputs), "the compute set has no inputs");
}

TEST(StatusTextTest, ADescriptionHasTheNumber)
{
    EXPECT_EQ(kqdb::describe(Status::kNodeHasChildren), "the node still has children (status 9)");
}

} // namespace
