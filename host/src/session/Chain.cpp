#include "Chain.h"

#include <new>
#include <stdexcept>

namespace db2host {
namespace {

constexpr unsigned int kComputeManagerId = 1;

/// A core without a root refuses every edit, and the layers around it expect one.
unsigned int registeredType(const db2::NodeRegistry& registry, unsigned int typeId)
{
    if (registry.lookupNodeTemplate(typeId) == nullptr)
        throw std::invalid_argument("the type of the root node is not registered");
    return typeId;
}

const db2::Node& rootOf(const db2::CoreManager& core)
{
    if (core.getRoot() == nullptr)
        throw std::bad_alloc();
    return *core.getRoot();
}

} // namespace

Session::Chain::Chain(const db2::NodeRegistry& registry, const Setup& setup, db2::DataObserver* firstObserver)
    : core(registry, registeredType(registry, setup.rootTypeId)), watches(&core),
      changes(&watches, changeSet, preReportSet), computed(kComputeManagerId, &changes, rootOf(core)),
      undo(&computed, core), calls(&undo), isCallLoggingOn(setup.isCallLoggingOn)
{
    calls.enable(db2::DataInterfaceLogger::kAllOperations);
    undo.setMaxUndoItems(setup.maxUndoItems);
    if (firstObserver != nullptr)
        changes.addObserver(firstObserver);
    for (db2::DataObserver* const observer : setup.observers)
        changes.addObserver(observer);
    for (db2::UndoObserver* const observer : setup.undoObservers)
        undo.addObserver(observer);
}

db2::DataInterface& Session::Chain::data()
{
    return isCallLoggingOn ? static_cast<db2::DataInterface&>(calls) : undo;
}

bool Session::Chain::acceptsEdits()
{
    if (core.isLockOutstanding())
    {
        db2::logError(L"An attribute is locked.");
        return false;
    }
    // To unlock nothing is refused by every layer as just that, unless the layer accepts no edits, which it logs.
    return changes.db_unlockAttribute(nullptr) == db2::Status::kNullAttributeToUnlock;
}

} // namespace db2host
