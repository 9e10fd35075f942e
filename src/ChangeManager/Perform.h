#pragma once

#include <db2/ChangeManager.h>
#include <db2/Library.h>

#include "../OutOfMemory.h"

namespace db2 {

/// Every operation of this layer goes the same way: refused while observers run, else forwarded.
template <class Edit>
Status ChangeManager::perform(Edit edit)
{
    if (inObservers_)
    {
        logError(L"DataInterface operations cannot be called whilst calling data observers.");
        return Status::kFailure;
    }
    return edit();
}

/// An edit is also recorded if it succeeded.
/// @param subject  what it was made on, read behind it, because it may be what the edit makes. Null, which the core refuses
///                 and another layer may accept, is not recorded.
template <class Edit, class T, class Record>
Status ChangeManager::perform(Edit edit, T* const& subject, Record record)
{
    const Status status = perform(edit);
    if (status == Status::kSuccess && subject != nullptr && !succeeds([&] { record(*subject); }))
        logError(L"Out of memory while recording a change; the report will lack it.");
    return status;
}

} // namespace db2
