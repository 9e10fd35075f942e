// A test program on Windows has one thread; tests/CMakeLists.txt says what a second one, of GoogleTest's, would do in Wine.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <tlhelp32.h>

#include <gtest/gtest.h>

namespace {

/// The number of threads that this process has now.
int threadCount()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    EXPECT_NE(snapshot, INVALID_HANDLE_VALUE);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL isThread = Thread32First(snapshot, &thread); isThread; isThread = Thread32Next(snapshot, &thread))
        count += thread.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

TEST(WindowsThreadsTest, ATraceStartsNone)
{
    const int before = threadCount();
    EXPECT_GE(before, 1);
    SCOPED_TRACE("the first of the program");
    EXPECT_EQ(threadCount(), before);
}

} // namespace
