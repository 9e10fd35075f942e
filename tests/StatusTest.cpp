#include <db2/Status.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

using db2::Status;

namespace {

/// By number.
constexpr Status kInOrder[] = {
    // 0
    Status::kSuccess, Status::kLoadedWithUnhandledLegacyData, Status::kLoadedWithMigration, Status::kReferenceNotSaved,
    Status::kFailure, Status::kNullOutput, Status::kUnknownTypeId, Status::kNextNotChildOfParent,
    Status::kReferenceToRoot, Status::kNodeHasChildren,
    // 10
    Status::kNodeHasDynamicElements, Status::kNodeHasReferences, Status::kNodeAlreadyDestroyed,
    Status::kNullReferenceToDestroy, Status::kRootNode, Status::kReserved15, Status::kNullNodeToDestroy,
    Status::kNullElementToDestroy, Status::kNullNodeToRename, Status::kNullElementToRename,
    // 20
    Status::kEmptyNodeName, Status::kNullNodeToReparent, Status::kNullNewParent, Status::kReparentToSelf,
    Status::kReparentToDescendant, Status::kNullNodeToReorder, Status::kReorderBeforeSelf, Status::kNextHasOtherParent,
    Status::kReferenceCycle, Status::kLockReferencer,
    // 30
    Status::kLockArrayWithReferencer, Status::kLockArrayNotPlainData, Status::kInUndo, Status::kAttributeAlreadyLocked,
    Status::kArrayAlreadyLocked, Status::kNullLockOutput, Status::kResizeDropsReferences, Status::kElementHasReferences,
    Status::kAlreadyReferencing, Status::kNoReference,
    // 40
    Status::kNullReferenced, Status::kNullReferencer, Status::kReferencedIsSingleOutput,
    Status::kSingleOutputNotPossible, Status::kNullComputeReferenced, Status::kSelfReference,
    Status::kReferencerIsComputed, Status::kNotConnectable, Status::kDuplicateElementName, Status::kDuplicateChildName,
    // 50
    Status::kEmptyElementName, Status::kNullNodeForElement, Status::kReserved52, Status::kNextElementNotDynamic,
    Status::kDestroyNotDynamic, Status::kRenameNotDynamic, Status::kLockOutstanding, Status::kNullArrayToResize,
    Status::kNullAttributeToLock, Status::kNullArrayToLock,
    // 60
    Status::kNullAttributeToUnlock, Status::kNullArrayToUnlock, Status::kAttributeNotLocked, Status::kArrayNotLocked,
    Status::kDuplicateModule, Status::kNullModule, Status::kModuleNotRegistered, Status::kNextElementOnOtherNode,
    Status::kAlreadyWatched, Status::kRemoveUnwatched,
    // 70
    Status::kResetUnwatched, Status::kEnableUnwatched, Status::kReferenceToLegacy, Status::kMigratorVersionOutOfRange,
    Status::kDuplicateMigrator, Status::kDuplicateLegacyElement, Status::kReferenceToDestroyed,
    Status::kPathNotResolved, Status::kPathNotAttributeArray, Status::kPathNotAttribute,
    // 80
    Status::kPathBadStart, Status::kNullPath, Status::kNotAncestor, Status::kPathNotBuilt, Status::kMismatchedBraces,
    Status::kNonNumericIndex, Status::kAdjacentReservedCharacters, Status::kTrailingReservedCharacter,
    Status::kTemplateAlreadyRegistered, Status::kDuplicateTemplateName,
    // 90
    Status::kTemplateInUse, Status::kDuplicateTypeId, Status::kAddAttributeToRegistered,
    Status::kAddComputeSetToRegistered, Status::kTemplateNotRegistered, Status::kTemplateNameNotRegistered,
    Status::kNullAttributeName, Status::kDuplicateAttributeName, Status::kEmptyAttributeName, Status::kNameTooLong,
    // 100
    Status::kNullComputeInputs, Status::kOutputAlreadyComputed, Status::kNullComputeOutputs,
    Status::kComputeInputOutOfRange, Status::kComputeElementNotConnectable, Status::kComputeOutputOutOfRange,
    Status::kNoComputeInputs, Status::kNoComputeOutputs};

TEST(StatusTest, IsAThirtyTwoBitNumberThatDoesNotTurnIntoAnIntByItself)
{
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Status>, std::uint32_t>));
    EXPECT_FALSE((std::is_convertible_v<Status, int>));
}

TEST(StatusTest, EveryResultHasItsNumber)
{
    EXPECT_EQ(std::size(kInOrder), 108u);
    for (std::size_t number = 0; number < std::size(kInOrder); ++number)
        EXPECT_EQ(static_cast<std::uint32_t>(kInOrder[number]), number);
}

TEST(StatusTest, AValueInitialisedStatusIsSuccess)
{
    EXPECT_EQ(Status{}, Status::kSuccess);
}

} // namespace
