#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// The C++ ABI of these compilers and machines, Windows included: the first word of a pointer to a virtual member
// function is its place in the table, in bytes, plus one; a virtual destructor takes two places.
#if defined(__GXX_ABI_VERSION) && (defined(__x86_64__) || defined(__i386__))
#define KQDB_TEST_KNOWS_SLOTS 1
#else
#define KQDB_TEST_KNOWS_SLOTS 0
#endif

namespace db2test {

/// The place of a virtual operation in its class's table. Only where KQDB_TEST_KNOWS_SLOTS.
template <class Operation>
std::size_t slotOf(Operation operation)
{
    static_assert(std::is_member_function_pointer_v<Operation>);
    std::uintptr_t place = 0;
    std::memcpy(&place, &operation, sizeof(place));
    EXPECT_EQ(place % sizeof(void*), 1u) << "not a virtual function";
    return place / sizeof(void*);
}

} // namespace db2test
