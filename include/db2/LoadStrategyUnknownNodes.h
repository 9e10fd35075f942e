#pragma once

#include <db2/LoadStrategy.h>

namespace db2 {

class Module;

/// Turns the unknown nodes of a module into nodes of their types once the module is registered; reads no file. Nodes
/// whose type the module does not have stay unknown. Runs no migrators: compare the placeholder's data version with the
/// module's first.
class DB2_API LoadStrategyUnknownNodes : public LoadStrategy
{
public:
    /// @param stream   any that is OK; nothing is read from it.
    /// @param module   compared by its id, so that the nodes of a placeholder that it replaced are found.
    /// @param options  as for LoadStrategy.
    LoadStrategyUnknownNodes(InputStream& stream, const Module& module, DataInterface& data, CoreManager& core,
                             unsigned int options, kqtl::pod_vector<Migrator*>* migratorsRun);

    /// Each such node below the load parent is replaced by one of its type: same name, siblings, children, elements, values
    /// and references. What the type has no place for (an element or enum choice that it lacks, a value of another kind)
    /// is left out, with a warning. What the file had no value for gets the default of the type.
    /// Cost: as of dbu_convertKnownNodesInModuleToUnknownNodes().
    Status doLoad() override;

private:
    const Module& module_;
};

/// Converts the unknown nodes of a module below @p root. The placeholder module may be freed when that is committed and
/// the undo history is dropped.
/// @return kFailure for a null argument; what the load returns.
DB2_API Status dbu_convertUnknownNodesInModuleToKnownNodes(const Module* module, Node* root, DataInterface* data,
                                                           CoreManager* core, unsigned int options);

} // namespace db2
