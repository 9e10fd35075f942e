#pragma once

#include <kqtl/pod_vector.h>

#include <new>
#include <stdexcept>

/// Edits take all memory that they need before they change anything, and no exception leaves the library; these helpers
/// turn the containers' exceptions into an answer.
namespace db2 {

/// Runs @p step, which may throw for want of memory or for a size that cannot be represented.
/// @return false when it threw; the step itself sees to it that nothing is changed then.
template <class Step>
[[nodiscard]] bool succeeds(Step step)
{
    try
    {
        step();
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    catch (const std::length_error&)
    {
        return false;
    }
}

/// Makes room for one entry more, growing like push_back does. @return false, changing nothing, when memory is out.
template <class T>
[[nodiscard]] bool reserveOneMore(kqtl::pod_vector<T>& list)
{
    if (list.size() < list.capacity())
        return true;
    return succeeds([&] { list.reserve(list.empty() ? 8 : list.size() * 2); });
}

} // namespace db2
