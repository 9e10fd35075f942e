#include "UndoItem.h"

#include <cstring>

namespace db2 {

const wchar_t* UndoItem::copyText(const kqx::String& text)
{
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    void* const copy = heap_.alloc(bytes, alignof(wchar_t));
    return copy != nullptr ? static_cast<const wchar_t*>(std::memcpy(copy, text.c_str(), bytes)) : nullptr;
}

} // namespace db2
