#pragma once

#include <db2/ChangeManager.h>
#include <db2/Library.h>

#include "../OutOfMemory.h"

namespace db2 {

/// Every edit of this layer goes the same way: refused while observers run, forwarded, recorded if it succeeded.
template <class Edit, class Record>
Status ChangeManager::perform(Edit edit, Record record)
{
    if (inObservers_)
    {
        logError(L"DataInterface operations cannot be called whilst calling data observers.");
        return Status::kFailure;
    }
    const Status status = edit();
    if (status == Status::kSuccess && !succeeds(record))
        logError(L"Out of memory while recording a change; the report will lack it.");
    return status;
}

} // namespace db2
