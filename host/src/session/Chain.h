#pragma once

#include "DocumentUndo.h"

#include <db2host/Session.h>

namespace db2host {

/// A document and the layers around it, from the inside out, in the order that docs/layers recommends.
class Session::Chain
{
public:
    /// @param firstObserver  of change reports, before the setup's; null for none; not owned.
    /// Throws std::invalid_argument for a root type that is not registered, and std::bad_alloc.
    Chain(const db2::NodeRegistry& registry, const Setup& setup, db2::DataObserver* firstObserver);

    /// The outermost layer.
    [[nodiscard]] db2::DataInterface& data();

    /// False, logged, while an attribute is locked or observers of change reports run.
    [[nodiscard]] bool acceptsEdits();

    db2::CoreManager core;
    db2::WatchManager watches;
    db2::ConcreteChangeSet changeSet;
    db2::ConcreteChangeSet preReportSet;
    db2::ChangeManager changes;
    db2::ComputeManager computed;
    DocumentUndo undo;
    db2::DataInterfaceLogger calls;
    bool isCallLoggingOn;
};

} // namespace db2host
