#pragma once

#include <db2/Export.h>
#include <db2/NodeIterators.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>

/// Common edits of several steps, each step through the DataInterface, so that every layer sees it like any other edit.
/// They keep nothing between calls. Where a layer refuses a step, what was done before stays: commit or roll back.
///
/// Null arguments are refused, or where nothing is returned ignored, unless it says otherwise. Names, positions and
/// values are read as they stand when the function gets there. No function recurses as deep as the tree.
namespace db2 {

class Attribute;
class AttributeArray;
class CoreManager;
class DataInterface;
class Module;
class Node;

// --- Destroying ---

/// Destroys the references that the node's attributes take part in, its dynamic elements, last first, then the node.
/// Does nothing to a destroyed node. A node with children loses the former two and stays.
DB2_API void dbu_destroyLeafNode(Node* node, DataInterface* data);

/// Destroys a node with everything below it, children before parents, first child first, each as a leaf. Ends at the
/// first node that a layer refuses to destroy, which then stays with its ancestors.
DB2_API void dbu_destroyNodeRecursively(Node* node, DataInterface* data);

/// The same for everything below the node, which itself stays.
DB2_API void dbu_destroyChildrenRecursively(Node* node, DataInterface* data);

/// Destroys a node, whose children take its place among its siblings in their order, under names that are free there.
/// Does nothing to the root when it has children. Ends at the first child that cannot be moved.
DB2_API void dbu_destroyNodeButNotChildren(Node* node, DataInterface* data);

/// Walks on from where @p nodes stands and destroys each node for which @p predicate answers true, but not its children.
/// A node is destroyed when the walk has gone on, so it never stands on a destroyed one; the root of the walk last.
/// @return kFailure, doing nothing, for a null interface or predicate; else kSuccess.
DB2_API Status dbu_destroyIf(NodeIterator& nodes, DataInterface* data, bool (*predicate)(Node* node, void* userData),
                             void* userData);

// --- Values and arrays ---

/// Writes the value that @p from shows, through its references, to @p to, converted as ValueHandle::assign does.
/// Does nothing when @p to cannot be locked.
/// The Enum of an unknown node gets a choice by its text, since it counts its choices as they come. An unknown attribute
/// whose value the file lacked, so that only its type knows it, gives another unknown one none either: both are saved and
/// converted as attributes without a value. This mark is no edit, and undo leaves it as it is.
DB2_API void dbu_copyAttribute(Attribute* to, const Attribute* from, DataInterface* data);

/// Gives @p to the size of @p from, and each item the value that its counterpart shows. Items that cannot be locked, and
/// those that a refused resize leaves out, are passed over.
DB2_API void dbu_copyAttributeArray(AttributeArray* to, const AttributeArray* from, DataInterface* data);

/// Resizes an array; the items that a shrink drops lose their references first.
/// @return kFailure for a null argument and for what is no array, else what db_resizeAttributeArray() returns.
DB2_API Status dbu_resizeAttributeArray(AttributeArray* array, unsigned int size, DataInterface* data);

/// True when every attribute shows the value that the first one shows, without tolerance, compared as the type of each
/// later one; true for a list of one, and for an empty one.
[[nodiscard]] DB2_API bool dbu_isValueCommon(const kqtl::pod_vector<Attribute*>& attributes);

// --- Moving among siblings ---

DB2_API void dbu_moveUp(Node* node, DataInterface* data);   ///< one place towards the first; nothing when it is first
DB2_API void dbu_moveDown(Node* node, DataInterface* data); ///< one place towards the last; nothing when it is last

// --- References ---

/// Ends the reference that @p attribute holds and gives it the value that it showed.
/// @return kFailure when it holds none, and when that is what ending it returned; else kSuccess, also when another
///         refusal left the reference in place, which is on purpose.
DB2_API Status dbu_copyAndDestroyReference(DataInterface* data, Attribute* attribute);

/// Moves the reference that @p from holds, and those that others hold to it, over to @p to, single output as they were,
/// the order of the referencers kept.
/// @return kFailure when the held reference could not be moved; the others are passed over when they cannot.
DB2_API Status dbu_transferReferences(Attribute* to, Attribute* from, DataInterface* data);

// --- Copying: null when the node could not be made; elements and values that cannot be are passed over ---

/// Copies one node, without its children and references, under @p parent (null is the root) before @p next.
/// @param name  null means the source's; made unique among the new siblings.
DB2_API Node* dbu_copyNodeWithNoReferences(const Node* source, DataInterface* data, CoreManager* core, Node* parent,
                                           Node* next, const wchar_t* name);

/// The same, and the copy's attributes reference what the source's do. A reference to a single output cannot be had
/// twice: it is left out, with a warning.
DB2_API Node* dbu_copyNode(const Node* source, DataInterface* data, CoreManager* core, Node* parent, Node* next,
                           const wchar_t* name);

/// Copies a node with everything that is below it now, without references; also into itself.
DB2_API Node* dbu_copyNodeRecursivelyWithNoReferences(const Node* source, DataInterface* data, CoreManager* core,
                                                      Node* parent, Node* next, const wchar_t* name);

/// Copies what is below a node now under @p parent, behind its children.
DB2_API void dbu_copyChildrenRecursivelyWithNoReferences(const Node* source, DataInterface* data, CoreManager* core,
                                                         Node* parent);

/// Copies a node with everything below it. A reference between two copied nodes leads from copy to copy; one from
/// outside leads to the same attribute or, with @p targetRoot, to the one at the same path there.
/// A reference to a single output that cannot be had twice is left out, with a warning; one whose path leads nowhere,
/// with an error.
/// @param root          what paths to outside attributes are relative to; null means the topmost node.
/// @param targetRoot    of another tree; null means @p root. With a parent it is refused: null is returned.
/// @param internalOnly  leaves references from outside out.
/// Cost: the nodes and the references.
DB2_API Node* dbu_copyNodeRecursively(const Node* root, const Node* source, DataInterface* data, CoreManager* core,
                                      Node* parent, Node* next, const Node* targetRoot, const wchar_t* name,
                                      bool internalOnly);

/// The same for what is below @p source; the source itself counts as outside.
DB2_API void dbu_copyChildrenRecursively(const Node* root, const Node* source, DataInterface* data, CoreManager* core,
                                         Node* parent, const Node* targetRoot, bool internalOnly);

// --- Known and unknown nodes: data of modules that come and go ---

/// Puts an unknown node in the place of a known one: same name, siblings, children, elements, values and references.
/// @return the unknown node; null, changing nothing, for an unknown node, for the root, and when it cannot be made.
///         When an element cannot be made, or a layer refuses to move a child, what has not moved stays with the old
///         node, and both are there.
DB2_API Node* dbu_replaceKnownNodeWithUnknownNode(Node* node, DataInterface* data, CoreManager* core);

/// Does that to every node of a module below @p root, for an application that goes on without the module.
/// Cost: the nodes and the references; for each value the references between it and the attribute that shows it; for each
/// child of such a node, which moves, one step a level.
/// @return kFailure for a null argument, else kSuccess.
DB2_API Status dbu_convertKnownNodesInModuleToUnknownNodes(const Module* module, Node* root, DataInterface* data,
                                                           CoreManager* core);

} // namespace db2
