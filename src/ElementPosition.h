#pragma once

#include <cstddef>

namespace db2 {

class Element;

/// Where @p element stands in the list, or the list's size. Looks from both ends at once, because most edits come there,
/// and a host that destroys all elements may begin at either.
/// @param list  has size() and an index operator that gives pointers.
template <class List>
std::size_t positionOf(const Element* element, const List& list)
{
    const std::size_t size = list.size();
    if (element == nullptr)
        return size;
    for (std::size_t front = 0, back = size; front < back; ++front)
    {
        if (list[--back] == element)
            return back;
        if (list[front] == element)
            return front;
    }
    return size;
}

} // namespace db2
