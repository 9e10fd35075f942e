#pragma once

#include <cstdint>

namespace db2 {

/// The result of every operation of the library. 0 is success, 1 and 2 are successes of a load with a remark, 3 is a
/// save with an outside reference; every other value is a failure, and a failed operation leaves the data as it was.
/// The codes are specific to the operation and the check, so that a host can tell from the number alone what was wrong.
/// The numbers are part of the interface: hosts compare against them and print them. Values 15 and 52 are never
/// returned; the gaps stay, so that every later value keeps its number.
enum class Status : std::uint32_t
{
    kSuccess = 0, ///< the operation was carried out (for can* checks: would be carried out)
    /// loading: the load finished, but legacy nodes, legacy elements or legacy connections were left unhandled by the
    /// migrators; their counts are logged
    kLoadedWithUnhandledLegacyData = 1,
    kLoadedWithMigration = 2, ///< loading: the load finished and at least one migrator ran over the file
    /// saving: a reference leads to an attribute outside every subtree added for save while the saver's option bit 2
    /// is set; the reference is not written as a path
    kReferenceNotSaved = 3,
    /// general failure without a code of its own: a null or wrong-kind argument where no specific code exists,
    /// reparenting a node to the parent it already has, resizing an element that is not an attribute array, creating
    /// an unknown element on a node that is not unknown (or is legacy), creating an unknown element from a definition
    /// whose type id is 22, a missing or invalid file or stream, a file version newer than the application supports,
    /// unregistering a migrator that is not registered, an edit attempted while data observers are being called
    kFailure = 4,
    kNullOutput = 5,    ///< path utilities: the output argument (a node or string to receive the result) is null
    kUnknownTypeId = 6, ///< db_createNode: no node template is registered under the type id
    /// db_createNode, db_createUnknownNode, db_reparentNode: the node given as next sibling is not a child of the
    /// given parent
    kNextNotChildOfParent = 7,
    /// db_createReference: the referenced or the referencing attribute belongs to the root node
    kReferenceToRoot = 8,
    kNodeHasChildren = 9,         ///< db_destroyLeafNode: the node still has children
    kNodeHasDynamicElements = 10, ///< db_destroyLeafNode: the node still has dynamic elements
    kNodeHasReferences = 11,      ///< db_destroyLeafNode: attributes of the node still take part in references
    /// db_destroyLeafNode: the node is already destroyed; "Attempt to destroy already destroyed node" is logged as
    /// error
    kNodeAlreadyDestroyed = 12,
    kNullReferenceToDestroy = 13, ///< db_destroyReference: the referencing attribute is null
    /// every node and element edit: the edit targets the root node or an element of it; "Cannot perform operations on
    /// the root node." is logged as error
    kRootNode = 14,
    kReserved15 = 15,           ///< never returned
    kNullNodeToDestroy = 16,    ///< db_destroyLeafNode: the node is null
    kNullElementToDestroy = 17, ///< db_destroyDynamicElement: the element is null
    kNullNodeToRename = 18,     ///< db_renameNode: the node is null
    kNullElementToRename = 19,  ///< db_renameDynamicElement: the element is null
    kEmptyNodeName = 20,        ///< db_renameNode: the new name is null or empty
    kNullNodeToReparent = 21,   ///< db_reparentNode: the node is null
    kNullNewParent = 22,        ///< db_reparentNode: the new parent is null
    kReparentToSelf = 23,       ///< db_reparentNode: the new parent is the node itself
    kReparentToDescendant = 24, ///< db_reparentNode: the new parent is a descendant of the node
    kNullNodeToReorder = 25,    ///< db_reorderNode: the node is null
    kReorderBeforeSelf = 26,    ///< db_reorderNode: the next node is the node itself
    kNextHasOtherParent = 27,   ///< db_reorderNode: the next node has a different parent
    kReferenceCycle = 28,       ///< db_createReference: the reference would close a cycle of references
    kLockReferencer = 29,       ///< db_lockAttribute: the attribute takes its value from a reference
    /// db_lockAttributeArray: an element of the array takes its value from a reference
    kLockArrayWithReferencer = 30,
    /// db_lockAttributeArray: the array's value type is not plain data (strings, for example)
    kLockArrayNotPlainData = 31,
    /// every node and element edit: the node or attribute is held by undo (removed from the tree but kept for redo);
    /// "Attempt to access node that is in undo" or "Attempt to access attribute that is in undo" is logged as error
    kInUndo = 32,
    kAttributeAlreadyLocked = 33, ///< db_lockAttribute: the attribute is locked
    kArrayAlreadyLocked = 34,     ///< db_lockAttributeArray: the array is locked
    /// db_lockAttribute, db_lockAttributeArray: the output argument that receives the value's address is null
    kNullLockOutput = 35,
    /// db_resizeAttributeArray: an element that the shrink would remove takes part in a reference
    kResizeDropsReferences = 36,
    /// db_destroyDynamicElement: the element (or, for an array, any of its elements) takes part in references
    kElementHasReferences = 37,
    kAlreadyReferencing = 38, ///< db_createReference: the referencing attribute already references an attribute
    kNoReference = 39,        ///< db_destroyReference: the attribute references nothing
    kNullReferenced = 40,     ///< db_createReference: the referenced attribute is null
    kNullReferencer = 41,     ///< db_createReference: the referencing attribute is null
    /// db_createReference: the referenced attribute already has a single output reference, so no further reference to
    /// it is possible
    kReferencedIsSingleOutput = 42,
    /// db_createReference: a single output reference was asked for, but the referenced attribute already has
    /// referencers
    kSingleOutputNotPossible = 43,
    kNullComputeReferenced = 44, ///< db_createReference of the compute layer: the referenced attribute is null
    kSelfReference = 45,         ///< db_createReference: an attribute would reference itself
    /// db_createReference of the compute layer: the referencing attribute is the output of a compute set
    kReferencerIsComputed = 46,
    /// db_createReference: the metadata of either attribute carries the flag that excludes it from references and
    /// compute sets
    kNotConnectable = 47,
    /// db_createDynamicElement, db_renameDynamicElement, unknown element creation: the node's template or the node's
    /// dynamic elements already use the name
    kDuplicateElementName = 48,
    kDuplicateChildName = 49,    ///< db_renameNode, Node::isChildNameValid: a sibling already bears the name
    kEmptyElementName = 50,      ///< db_createDynamicElement, db_renameDynamicElement: the name is null or empty
    kNullNodeForElement = 51,    ///< db_createDynamicElement: the node is null
    kReserved52 = 52,            ///< never returned
    kNextElementNotDynamic = 53, ///< db_createDynamicElement: the element given as next is not dynamic
    kDestroyNotDynamic = 54,     ///< db_destroyDynamicElement: the element is not dynamic
    kRenameNotDynamic = 55,      ///< db_renameDynamicElement: the element is not dynamic
    /// every edit of CoreManager except unlocking, db_commit, db_commitTransient, db_clear: an attribute or attribute
    /// array is locked and not yet unlocked; "Attribute locking/unlocking must be an atomic operation." is logged as
    /// error
    kLockOutstanding = 56,
    kNullArrayToResize = 57,      ///< db_resizeAttributeArray: the array is null
    kNullAttributeToLock = 58,    ///< db_lockAttribute: the attribute is null
    kNullArrayToLock = 59,        ///< db_lockAttributeArray: the array is null
    kNullAttributeToUnlock = 60,  ///< db_unlockAttribute: the attribute is null
    kNullArrayToUnlock = 61,      ///< db_unlockAttributeArray: the array is null
    kAttributeNotLocked = 62,     ///< db_unlockAttribute: the attribute is not locked
    kArrayNotLocked = 63,         ///< db_unlockAttributeArray: the array is not locked
    kDuplicateModule = 64,        ///< registerModule: a module with the same id is registered
    kNullModule = 65,             ///< registerModule: the module is null
    kModuleNotRegistered = 66,    ///< unregisterModule: no module with the module's id is registered
    kNextElementOnOtherNode = 67, ///< db_createDynamicElement: the element given as next belongs to another node
    kAlreadyWatched = 68,         ///< WatchManager::addWatch: the node is already watched
    kRemoveUnwatched = 69,        ///< WatchManager::removeWatch: the node is null or not watched
    kResetUnwatched = 70,         ///< WatchManager::resetWatch: the node is not watched (a null node gives kFailure)
    kEnableUnwatched = 71,        ///< WatchManager::enableWatch: the node is null or not watched
    kReferenceToLegacy = 72,      ///< db_createReference: either attribute is a legacy element
    /// Module::registerMigrator: the version is below 2 or above the module's data version
    kMigratorVersionOutOfRange = 73,
    kDuplicateMigrator = 74, ///< Module::registerMigrator: a migrator is already registered for the version
    /// CoreManager::createLegacyElement: the node already has a legacy element of that name; "Duplicate legacy
    /// element '%s' found in node '%s'. Duplicate legacy element names should not be possible." is logged as error
    kDuplicateLegacyElement = 75,
    kReferenceToDestroyed = 76,  ///< db_createReference: the node of either attribute is destroyed
    kPathNotResolved = 77,       ///< dbu_resolvePath: the path does not lead to a node or element
    kPathNotAttributeArray = 78, ///< dbu_pathToAttributeArray: the path does not end at an attribute array
    kPathNotAttribute = 79,      ///< dbu_pathToAttribute: the path does not end at an attribute
    kPathBadStart = 80,     ///< dbu_validatePath: the path does not begin with one of the path's reserved characters
    kNullPath = 81,         ///< dbu_validatePath: the path is null
    kNotAncestor = 82,      ///< dbu_nodeToPath, dbu_attributeToPath: the start node is not an ancestor of the node
    kPathNotBuilt = 83,     ///< dbu_nodeToPath: the path could not be built
    kMismatchedBraces = 84, ///< dbu_validatePath: square brackets do not pair
    kNonNumericIndex = 85,  ///< dbu_validatePath: square brackets hold characters other than digits
    kAdjacentReservedCharacters = 86, ///< dbu_validatePath: two reserved characters stand next to each other
    kTrailingReservedCharacter = 87,  ///< dbu_validatePath: the path ends with a reserved character
    kTemplateAlreadyRegistered = 88,  ///< NodeRegistry::registerNodeTemplate: the template is registered already
    /// NodeRegistry::registerNodeTemplate: a template of the same type name is registered
    kDuplicateTemplateName = 89,
    /// NodeRegistry::unregisterNodeTemplate, NodeTemplate::addAttribute, NodeTemplate::addComputeSet: nodes made from
    /// the template exist
    kTemplateInUse = 90,
    kDuplicateTypeId = 91, ///< NodeRegistry::registerNodeTemplate: a template with the same type id is registered
    kAddAttributeToRegistered = 92,  ///< NodeTemplate::addAttribute: the template is registered
    kAddComputeSetToRegistered = 93, ///< NodeTemplate::addComputeSet: the template is registered
    kTemplateNotRegistered = 94,     ///< NodeRegistry::unregisterNodeTemplate: no template has the type id
    /// NodeRegistry::unregisterNodeTemplate: the template's name is not in the name index
    kTemplateNameNotRegistered = 95,
    kNullAttributeName = 96,      ///< NodeTemplate::addAttribute: the name is null
    kDuplicateAttributeName = 97, ///< NodeTemplate::addAttribute: the template already has an element of that name
    kEmptyAttributeName = 98,     ///< NodeTemplate::addAttribute: the name is empty
    /// NodeTemplate::addAttribute, db_createDynamicElement, db_renameDynamicElement, unknown and legacy element
    /// creation: the element name is longer than 40 characters
    kNameTooLong = 99,
    kNullComputeInputs = 100, ///< NodeTemplate::addComputeSet: the list of inputs is null
    /// NodeTemplate::addComputeSet: an output element is already the output of another compute set
    kOutputAlreadyComputed = 101,
    kNullComputeOutputs = 102,     ///< NodeTemplate::addComputeSet: the list of outputs is null
    kComputeInputOutOfRange = 103, ///< NodeTemplate::addComputeSet: an input index is not an element of the template
    /// NodeTemplate::addComputeSet: an input or output element's metadata carries the flag that excludes it from
    /// references and compute sets
    kComputeElementNotConnectable = 104,
    /// NodeTemplate::addComputeSet: an output index is not an element of the template
    kComputeOutputOutOfRange = 105,
    kNoComputeInputs = 106,  ///< NodeTemplate::addComputeSet: the input list is empty
    kNoComputeOutputs = 107, ///< NodeTemplate::addComputeSet: the output list is empty
};

} // namespace db2
