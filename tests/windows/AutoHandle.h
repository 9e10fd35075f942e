// Part of GoogleTest's build on Windows, where tests/CMakeLists.txt builds it for one thread: then it lacks this class, which
// its death tests need all the same. Goes in front of GoogleTest's own sources; no test includes it.

#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace testing::internal {

/// Owns a handle of the system.
class AutoHandle
{
public:
    explicit AutoHandle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
    AutoHandle(const AutoHandle&) = delete;
    AutoHandle& operator=(const AutoHandle&) = delete;
    ~AutoHandle() { Reset(); }

    [[nodiscard]] HANDLE Get() const { return handle_; }

    /// Closes the handle and owns @p handle instead. Functions of the system fail with either of the two values for none.
    void Reset(HANDLE handle = INVALID_HANDLE_VALUE)
    {
        if (handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr)
            ::CloseHandle(handle_);
        handle_ = handle;
    }

private:
    HANDLE handle_;
};

} // namespace testing::internal
