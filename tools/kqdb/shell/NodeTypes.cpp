#include "NodeTypes.h"

#include <db2host/Scene.h>

#include <db2/NodeRegistry.h>

namespace kqdb {

std::vector<const db2::NodeTemplate*> nodeTypes(const db2::NodeRegistry& registry)
{
    std::vector<const db2::NodeTemplate*> types;
    for (unsigned int id = db2host::scene::kScene;; ++id) // which are numbered without gaps
    {
        const db2::NodeTemplate* const type = registry.lookupNodeTemplate(id);
        if (type == nullptr)
            return types;
        types.push_back(type);
    }
}

} // namespace kqdb
