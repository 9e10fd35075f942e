#pragma once

#include <db2/Export.h>

namespace db2 {

class Node;

/// Makes the host's own object ("API object") for every new node of a template. A host derives one and gives it to the
/// template; the library stores what it returns in the node (Node::getAPI) and never deletes it.
/// Called once for a node, when its record stands but before it has elements or a place in the tree; not called again
/// when undo brings a node back.
class DB2_API APIBaseFactory
{
public:
    virtual ~APIBaseFactory();

    /// @param userData  the pointer that the CoreManager was given. @return the object; may be null; not owned.
    virtual void* createNodeAPI(Node* node, void* userData) = 0;

protected:
    APIBaseFactory() = default;
    APIBaseFactory(const APIBaseFactory&) = default;
    APIBaseFactory& operator=(const APIBaseFactory&) = default;
};

/// The same for nodes whose type is not registered; a CoreManager has one for unknown and one for legacy nodes.
class DB2_API UnknownAPINodeFactory
{
public:
    virtual ~UnknownAPINodeFactory();

    /// @param outTypeId  the type id that the node's private template takes; 0 when it is left alone.
    virtual void* createNodeAPI(Node* node, void* userData, unsigned int* outTypeId) = 0;

protected:
    UnknownAPINodeFactory() = default;
    UnknownAPINodeFactory(const UnknownAPINodeFactory&) = default;
    UnknownAPINodeFactory& operator=(const UnknownAPINodeFactory&) = default;
};

} // namespace db2
