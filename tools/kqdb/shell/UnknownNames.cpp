#include "UnknownNames.h"

#include <db2/Module.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>

namespace kqdb {

UnknownNames unknownNames(const db2::Node& root)
{
    UnknownNames names;
    for (db2::ConstNodeIterator nodes(&root); nodes.next();)
    {
        const db2::Node& node = *nodes.node();
        if (!node.isUnknown())
            continue;
        names.types.emplace(node.getTypeName().c_str());
        if (node.getModule()->isUnknown())
            names.modules.emplace(node.getModule()->getId().c_str());
    }
    return names;
}

} // namespace kqdb
