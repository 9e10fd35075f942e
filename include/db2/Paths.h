#pragma once

#include <db2/Export.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/String.h>

/// A path names a node, an attribute, an attribute array or an item of one, relative to a root node, as one text:
/// `|a|b` is the node b under the node a under the root, `|a.x` the attribute x of a, `|a:pts` its array pts and
/// `|a:pts[3]` the array's fourth item. Saved references and log lines use paths.
///
/// In names a backslash stands before a tab, line feed, blank and each of `. : [ \ ] |`, and takes the character behind
/// it literally. Tabs, line feeds and blanks without one are ignored. Names are compared exactly.
///
/// Every message is an error. Cost of resolving: one look-up a step, constant in the number of siblings.
namespace db2 {

class Attribute;
class AttributeArray;
class Migrator;
class Node;

// --- Checking ---

/// Checks the syntax. A valid path begins with a separator, so the empty one is not.
/// @return kNullPath; kPathBadStart; and, logged with the path, the first of kNonNumericIndex,
///         kAdjacentReservedCharacters, kTrailingReservedCharacter (an escape at the end, too) and kMismatchedBraces.
DB2_API Status dbu_validatePath(const wchar_t* path);

// --- From path to object: outputs may be null where it does not say otherwise, and are set to null first ---

/// Follows a path. Without validation a path that starts with a name means a child of the root, what follows a `]` is
/// ignored, and the empty path succeeds and reaches nothing.
/// @param node       receives the last node that the path steps to, also when it goes on to an element.
/// @param migrators  when given, map the names of elements, and legacy elements are looked up, too.
/// @return the status of the validation; kNullPath; kPathNotResolved, for a null root, too; kFailure when memory is out.
DB2_API Status dbu_resolvePath(const Node* root, const wchar_t* path, Node** node, AttributeArray** array,
                               Attribute** attribute, bool validate = true,
                               kqtl::pod_vector<Migrator*>* migrators = nullptr);

/// As dbu_resolvePath(); a path that ends on an element succeeds with the element's node.
DB2_API Status dbu_pathToNode(const Node* root, const wchar_t* path, Node** node, bool validate = true);

/// @return also kPathNotAttributeArray, logged, when the path leads elsewhere.
DB2_API Status dbu_pathToAttributeArray(const Node* root, const wchar_t* path, AttributeArray** array,
                                        bool validate = true);

/// @param attribute  null gives kNullOutput. @return also kPathNotAttribute, logged, when the path leads elsewhere.
DB2_API Status dbu_pathToAttribute(const Node* root, const wchar_t* path, Attribute** attribute, bool validate = true,
                                   kqtl::pod_vector<Migrator*>* migrators = nullptr);

// --- From object to path ---

/// Writes the path of a node; the empty one for the root itself.
/// @param root  null means the topmost ancestor.
/// @param path  replaced; empty after a failure.
/// @return kNullOutput, logged, for a null node or path; kNotAncestor, logged; kPathNotBuilt, logged with an empty
///         text, for 512 names or more; kFailure when memory is out.
DB2_API Status dbu_nodeToPath(const Node* root, const Node* node, kqx::String* path);

/// The same for an array, and for an attribute or item. A null array or attribute counts as a null node.
DB2_API Status dbu_attributeArrayToPath(const Node* root, const AttributeArray* array, kqx::String* path);
DB2_API Status dbu_attributeToPath(const Node* root, const Attribute* attribute, kqx::String* path);

/// Appends a name as it is written in paths. Throws std::bad_alloc when memory is out. @param name  null is empty.
DB2_API void dbu_appendEscapeNames(const wchar_t* name, kqx::String& out);

} // namespace db2
