#pragma once

#include "Field.h"

#include <db2host/Scene.h>

#include <span>

namespace db2host::scene {

/// A node type as tables say it.
struct NodeType
{
    NodeTypeId id;
    const wchar_t* name; ///< as in documents
    const wchar_t* docString;
    std::span<const Field> fields; ///< in the order of the type's Element numbers
};

/// All types of the module.
[[nodiscard]] std::span<const NodeType> nodeTypes();

/// Adds the type's compute sets, if it has any. @return false when one was refused.
bool addComputeSets(db2::NodeTemplate& type);

} // namespace db2host::scene
