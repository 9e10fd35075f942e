#include <db2host/Scene.h>

namespace db2host::scene {
namespace {

using db2::Status;

db2::Attribute* attributeOf(const db2::Node& node, transform::Element element)
{
    return static_cast<db2::Attribute*>(node.getElement(element));
}

bool isTransform(const db2::Node& node)
{
    return node.getTypeId() == kTransform && !node.isUnknown();
}

/// The world matrix of the nearest Transform above; null when there is none.
db2::Attribute* worldAbove(const db2::Node& node)
{
    const db2::Node* above = node.getParent();
    while (above != nullptr && !isTransform(*above))
        above = above->getParent();
    return above != nullptr ? attributeOf(*above, transform::kWorld) : nullptr;
}

/// Makes a Transform's parentWorld show the world matrix above it, or its own value where there is none.
Status connect(db2::DataInterface& data, const db2::Node& node, db2::Attribute* world)
{
    db2::Attribute* const parentWorld = attributeOf(node, transform::kParentWorld);
    if (parentWorld->getReference() == world)
        return Status::kSuccess;
    Status status = Status::kSuccess;
    if (parentWorld->getReference() != nullptr)
        status = data.db_destroyReference(parentWorld);
    if (status == Status::kSuccess && world != nullptr)
        status = data.db_createReference(world, parentWorld, false);
    return status;
}

db2::Node& rootAbove(db2::Node& node)
{
    db2::Node* top = &node;
    while (top->getParent() != nullptr)
        top = top->getParent();
    return *top;
}

} // namespace

db2::Node* createTransform(db2::DataInterface& data, const wchar_t* name, db2::Node* parent, db2::Node* next)
{
    db2::Node* node = nullptr;
    if (data.db_createNode(kTransform, name, parent, next, &node) != Status::kSuccess)
        return nullptr;
    if (connect(data, *node, worldAbove(*node)) == Status::kSuccess)
        return node;
    data.db_destroyLeafNode(node);
    return nullptr;
}

Status reparentTransform(db2::DataInterface& data, db2::Node& node, db2::Node* newParent, db2::Node* next)
{
    db2::Node* const parent = newParent != nullptr ? newParent : &rootAbove(node);
    const Status status = node.getParent() == parent ? data.db_reorderNode(&node, next)
                                                     : data.db_reparentNode(&node, parent, next, nullptr);
    return status == Status::kSuccess ? connectTransforms(data, node) : status;
}

Status connectTransforms(db2::DataInterface& data, db2::Node& node)
{
    db2::Attribute* const world = worldAbove(node); // of all, because no Transform stands between
    db2::NodeIterator nodes(&node);
    nodes.includeRoot(true);
    while (nodes.next())
    {
        if (!isTransform(*nodes.node()))
            continue;
        nodes.skipChildren(true); // those below see this one
        const Status status = connect(data, *nodes.node(), world);
        if (status != Status::kSuccess)
            return status;
    }
    return Status::kSuccess;
}

} // namespace db2host::scene
