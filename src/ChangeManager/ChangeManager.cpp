// Construction of ChangeManager, and its units of work. What it records and what it reports stand beside this file.

#include <db2/ChangeManager.h>

#include "Perform.h"

#include <typeinfo>

namespace db2 {
namespace {

/// Null for a set of a class derived from the library's, which may do otherwise.
ConcreteChangeSet* asConcrete(ChangeSet& changes)
{
    return typeid(changes) == typeid(ConcreteChangeSet) ? static_cast<ConcreteChangeSet*>(&changes) : nullptr;
}

} // namespace

// --- Construction ---

ChangeManager::ChangeManager(DataInterface* nextLayer, ChangeSet& changes, ChangeSet& preReportChanges,
                             void* wrapperDatabase)
    : ForwardingLayer(nextLayer), snapshot_(&preReportChanges), changes_(&changes), ownLists_(asConcrete(changes)),
      wrapperDatabase_(wrapperDatabase)
{
    changes_->reserve();
}

// --- Units of work ---

template <class Edit>
Status ChangeManager::performCommit(bool transient, Edit edit)
{
    return perform([&] {
        reportChanges(transient);
        return edit();
    });
}

Status ChangeManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return performCommit(false, [&] { return ForwardingLayer::db_commit(description, file, line); });
}

Status ChangeManager::db_commitTransient()
{
    return performCommit(true, [&] { return ForwardingLayer::db_commitTransient(); });
}

Status ChangeManager::db_clear()
{
    return perform([&] {
        clear();
        inObservers_ = true;
        observers_.notify(&DataObserver::onClear, this);
        inObservers_ = false;
        return ForwardingLayer::db_clear();
    });
}

} // namespace db2
