#pragma once

#include <KQutils/BasicLogger.h>

#include <cstddef>

namespace db2test {

/// While it lives, the standard library's heap grants so many allocations and refuses every one after them; one at a time.
/// For programs with StandardHeapThatRunsOut.cpp among their sources, which replaces their operator new. On Windows each
/// DLL keeps to its own, so that none runs out there.
class StandardHeapThatRunsOut
{
public:
    /// @param logger  hears the library meanwhile, and takes no memory; not owned; null for nobody.
    StandardHeapThatRunsOut(std::size_t grantedAllocations, KQutils::BasicLogger* logger);
    StandardHeapThatRunsOut(const StandardHeapThatRunsOut&) = delete;
    StandardHeapThatRunsOut& operator=(const StandardHeapThatRunsOut&) = delete;
    ~StandardHeapThatRunsOut();

    /// True once an allocation was refused. Where it stays false, the code got by with what was granted.
    [[nodiscard]] bool hasRunOut() const;

    /// The blocks that are allocated, by whomever; asked at any time.
    [[nodiscard]] static std::size_t liveBlocks();

private:
    KQutils::BasicLogger* previous_;
};

} // namespace db2test
