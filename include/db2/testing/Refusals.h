#pragma once

#include <db2/Operation.h>
#include <db2/Status.h>

#include <array>
#include <span>

namespace db2::conformance {

/// Every failure with which the core answers the operation.
[[nodiscard]] inline std::span<const Status> refusalsOf(Operation operation)
{
    using enum Status;
    static constexpr Status kCreateNode[] = {kFailure, kLockOutstanding, kUnknownTypeId, kNextNotChildOfParent};
    static constexpr Status kCreateUnknownNode[] = {kFailure, kLockOutstanding, kNextNotChildOfParent};
    static constexpr Status kDestroyLeafNode[] = {
        kFailure,  kLockOutstanding, kNullNodeToDestroy,      kNodeAlreadyDestroyed,
        kRootNode, kNodeHasChildren, kNodeHasDynamicElements, kNodeHasReferences};
    static constexpr Status kRenameNode[] = {kFailure,  kLockOutstanding, kNullNodeToRename,  kInUndo,
                                             kRootNode, kEmptyNodeName,   kDuplicateChildName};
    static constexpr Status kReparentNode[] = {
        kFailure,        kLockOutstanding,      kNullNodeToReparent,  kInUndo, kRootNode, kNullNewParent,
        kReparentToSelf, kNextNotChildOfParent, kReparentToDescendant};
    static constexpr Status kReorderNode[] = {kFailure,  kLockOutstanding,   kNullNodeToReorder, kInUndo,
                                              kRootNode, kReorderBeforeSelf, kNextHasOtherParent};
    static constexpr Status kCreateDynamicElement[] = {kFailure,
                                                       kLockOutstanding,
                                                       kNullNodeForElement,
                                                       kInUndo,
                                                       kRootNode,
                                                       kEmptyElementName,
                                                       kNameTooLong,
                                                       kNextElementNotDynamic,
                                                       kNextElementOnOtherNode,
                                                       kDuplicateElementName};
    static constexpr Status kDestroyDynamicElement[] = {kFailure,  kLockOutstanding,   kNullElementToDestroy,
                                                        kRootNode, kDestroyNotDynamic, kElementHasReferences};
    static constexpr Status kRenameDynamicElement[] = {kFailure,          kLockOutstanding, kNullElementToRename,
                                                       kRenameNotDynamic, kInUndo,          kRootNode,
                                                       kEmptyElementName, kNameTooLong,     kDuplicateElementName};
    static constexpr Status kResizeAttributeArray[] = {kFailure, kLockOutstanding, kNullArrayToResize,
                                                       kInUndo,  kRootNode,        kResizeDropsReferences};
    static constexpr Status kCreateReference[] = {kFailure,
                                                  kLockOutstanding,
                                                  kNullReferenced,
                                                  kNullReferencer,
                                                  kReferencedIsSingleOutput,
                                                  kSingleOutputNotPossible,
                                                  kInUndo,
                                                  kReferenceToRoot,
                                                  kReferenceToDestroyed,
                                                  kNotConnectable,
                                                  kReferenceToLegacy,
                                                  kSelfReference,
                                                  kAlreadyReferencing,
                                                  kReferenceCycle};
    static constexpr Status kDestroyReference[] = {kFailure, kLockOutstanding, kNullReferenceToDestroy,
                                                   kInUndo,  kRootNode,        kNoReference};
    static constexpr Status kLockAttribute[] = {
        kFailure, kNullAttributeToLock, kInUndo, kRootNode, kAttributeAlreadyLocked, kLockReferencer, kNullLockOutput};
    static constexpr Status kUnlockAttribute[] = {kFailure, kNullAttributeToUnlock, kAttributeNotLocked};
    static constexpr Status kLockAttributeArray[] = {kFailure,
                                                     kNullArrayToLock,
                                                     kInUndo,
                                                     kRootNode,
                                                     kArrayAlreadyLocked,
                                                     kLockArrayNotPlainData,
                                                     kLockArrayWithReferencer,
                                                     kNullLockOutput};
    static constexpr Status kUnlockAttributeArray[] = {kFailure, kNullArrayToUnlock, kArrayNotLocked};
    static constexpr Status kEndOfWork[] = {kFailure, kLockOutstanding};

    const std::array<std::span<const Status>, kOperationCount> refusals = {kCreateNode,
                                                                           kCreateUnknownNode,
                                                                           kDestroyLeafNode,
                                                                           kRenameNode,
                                                                           kReparentNode,
                                                                           kReorderNode,
                                                                           kCreateDynamicElement,
                                                                           kDestroyDynamicElement,
                                                                           kRenameDynamicElement,
                                                                           kResizeAttributeArray,
                                                                           kCreateReference,
                                                                           kDestroyReference,
                                                                           kLockAttribute,
                                                                           kUnlockAttribute,
                                                                           kLockAttributeArray,
                                                                           kUnlockAttributeArray,
                                                                           kEndOfWork,
                                                                           kEndOfWork,
                                                                           kEndOfWork};
    return refusals[static_cast<std::size_t>(operation)];
}

} // namespace db2::conformance
