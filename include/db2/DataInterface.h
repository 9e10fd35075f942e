#pragma once

#include <db2/Export.h>
#include <db2/Status.h>

namespace db2 {

class Attribute;
class AttributeArray;
class Element;
class ElementMetaDataDef;
class Module;
class Node;
class ValueHandle;

/// The one interface through which every change to the tree is made. A CoreManager implements it innermost and owns the
/// tree; layers (call logging, change reports, undo and others) implement it around the core, each holding the next, and
/// a host calls the outermost. The library never builds the chain; every layer works with any next layer.
/// Every operation returns a Status; on any but kSuccess nothing has changed. Out arguments may be null, and are left
/// alone on failure, except where it says otherwise. A null parent means the root, a null `next` the end of the list.
/// No exception crosses the interface. Threads: one at a time.
/// The operations keep their slots, 0 to 18; a new one would be appended.
class DB2_API DataInterface
{
public:
    // --- Nodes ---

    /// Makes a node of a registered type, before the child @p next of @p parent. Its name is made unique among its
    /// siblings by a number; a null or empty one is replaced by the type's name first.
    virtual Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next,
                                 Node** outNode) = 0;

    /// Makes a node of a type that is not registered; it has a template of its own, in @p module.
    /// @param legacy  the node stands in for data of an older version, until a migrator has dealt with it.
    virtual Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                        Node* parent, Node* next, bool legacy, Node** outNode) = 0;

    /// Destroys a node without children, dynamic elements and references. It stays readable until the next commit.
    virtual Status db_destroyLeafNode(Node* node) = 0;

    /// Renames a node; the name must be free among the siblings.
    virtual Status db_renameNode(Node* node, const wchar_t* name) = 0;

    /// Moves a node with everything below it under another parent.
    /// @param name  null keeps the name, an empty one is replaced by the type's name; made unique as in db_createNode.
    virtual Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) = 0;

    /// Moves a node before its sibling @p next.
    virtual Status db_reorderNode(Node* node, Node* next) = 0;

    // --- Dynamic elements ---

    /// Adds an element that only this node has, before its dynamic element @p next.
    virtual Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                           Element* next, Element** outElement) = 0;

    /// Destroys a dynamic element that takes part in no reference. It stays readable until the next commit.
    virtual Status db_destroyDynamicElement(Element* element) = 0;

    virtual Status db_renameDynamicElement(Element* element, const wchar_t* name) = 0;

    // --- Arrays and references ---

    /// Gives an array @p size items; new ones have the default value, and those beyond it are released.
    virtual Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) = 0;

    /// Makes @p referencer take its value from @p referenced.
    /// @param singleOutput  no other attribute may reference it as long as this reference stands.
    virtual Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) = 0;

    /// Ends the reference that @p referencer holds; it has its own value again.
    virtual Status db_destroyReference(Attribute* referencer) = 0;

    // --- Values: lock, write through what the lock hands out, unlock; no other edit is possible in between ---

    virtual Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) = 0;
    virtual Status db_unlockAttribute(Attribute* attribute) = 0;

    /// @param outValues  receives the address of the items' values, at the type's stride; null for an empty array.
    virtual Status db_lockAttributeArray(AttributeArray* array, void** outValues) = 0;
    virtual Status db_unlockAttributeArray(AttributeArray* array) = 0;

    // --- Units of work ---

    /// Ends a unit of work: each layer does its part, the core frees what was destroyed.
    /// @param description  for people, for example the label of an undo item. @param file, line  who commits.
    virtual Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) = 0;

    /// Ends a unit of work that observers are told is transient; nothing is freed.
    virtual Status db_commitTransient() = 0;

    /// Destroys and frees everything below the root, and drops what the layers have recorded.
    virtual Status db_clear() = 0;

    // Behind the operations, so that they have slots 0 to 18.
    virtual ~DataInterface();

protected:
    DataInterface() = default;
    DataInterface(const DataInterface&) = default;
    DataInterface& operator=(const DataInterface&) = default;
};

} // namespace db2
