#pragma once

#include "HeapThatRunsOut.h"

#include <db2/Status.h>

#include <gtest/gtest.h>

#include <cstddef>

namespace db2test {

/// Makes an edit with a heap that grants 0, 1, 2, ... allocations until the edit succeeds. Each attempt before must
/// answer kFailure.
/// @param attempt          makes the edit and returns its Status.
/// @param expectUnchanged  called after each failure, with all memory back, to check that nothing changed.
/// @return how often the edit failed; a test of an edit that cannot do without memory expects more than 0.
template <class Attempt, class ExpectUnchanged>
std::size_t failUntilMemorySuffices(Attempt attempt, ExpectUnchanged expectUnchanged)
{
    constexpr std::size_t kMoreThanAnyEditNeeds = 1000;
    for (std::size_t granted = 0; granted < kMoreThanAnyEditNeeds; ++granted)
    {
        SCOPED_TRACE(::testing::Message() << "allocations granted: " << granted);
        db2::Status status;
        {
            const HeapThatRunsOut heap(granted);
            status = attempt();
        }
        if (status == db2::Status::kSuccess)
            return granted;
        EXPECT_EQ(status, db2::Status::kFailure);
        expectUnchanged();
        if (::testing::Test::HasFailure())
            return granted; // one report is enough
    }
    ADD_FAILURE() << "still failing with " << kMoreThanAnyEditNeeds << " allocations granted";
    return kMoreThanAnyEditNeeds;
}

} // namespace db2test
