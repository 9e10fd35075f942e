#include "support/RandomEdits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <tuple>

// Random edits through a CoreManager answer and do what a naive model of the tree says, whatever came before.

namespace db2test {
namespace {

constexpr std::size_t kEdits = 4000;

const EditProfile kProfiles[] = {
    {"Everything",
     150,
     300,
     0,
     {{EditKind::kCreateNode, 12},
      {EditKind::kCreateReference, 12},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kCommit, 2},
      {EditKind::kClear, 0}}},
    {"Growing",
     20,
     1200,
     0,
     {{EditKind::kCreateNode, 60},
      {EditKind::kCreateUnknownNode, 10},
      {EditKind::kCreateDynamicElement, 20},
      {EditKind::kDestroySubtree, 0},
      {EditKind::kClear, 0}}},
    {"Shrinking",
     800,
     20,
     0,
     {{EditKind::kDestroyLeafNode, 30},
      {EditKind::kReparentNode, 20},
      {EditKind::kRenameNode, 20},
      {EditKind::kCreateDynamicElement, 20},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kClear, 0}}},
    {"Names",
     100,
     250,
     3,
     {{EditKind::kCreateNode, 60},
      {EditKind::kCreateUnknownNode, 10},
      {EditKind::kDestroyLeafNode, 40},
      {EditKind::kRenameNode, 60},
      {EditKind::kReparentNode, 60},
      {EditKind::kReorderNode, 20},
      {EditKind::kDestroySubtree, 0},
      {EditKind::kArchiveNode, 10},
      {EditKind::kBringBackNode, 10},
      {EditKind::kClear, 0}}},
    {"References",
     100,
     150,
     0,
     {{EditKind::kCreateNode, 16},
      {EditKind::kCreateReference, 120},
      {EditKind::kDestroyReference, 30},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kResizeAttributeArray, 20},
      {EditKind::kClear, 0}}},
    {"Arrays",
     60,
     100,
     0,
     {{EditKind::kCreateNode, 16},
      {EditKind::kResizeAttributeArray, 120},
      {EditKind::kLockAttributeArray, 20},
      {EditKind::kLockAttribute, 20},
      {EditKind::kCreateReference, 20},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kClear, 0}}},
    {"Elements",
     60,
     100,
     0,
     {{EditKind::kCreateNode, 16},
      {EditKind::kCreateDynamicElement, 60},
      {EditKind::kDestroyDynamicElement, 40},
      {EditKind::kRenameDynamicElement, 40},
      {EditKind::kCreateUnknownElement, 20},
      {EditKind::kCreateLegacyElement, 20},
      {EditKind::kDestroyLegacyElement, 20},
      {EditKind::kArchiveElement, 10},
      {EditKind::kBringBackElement, 10},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kClear, 0}}},
    {"Archive",
     150,
     300,
     0,
     {{EditKind::kCreateNode, 60},
      {EditKind::kArchiveNode, 40},
      {EditKind::kBringBackNode, 40},
      {EditKind::kDropNode, 10},
      {EditKind::kArchiveElement, 20},
      {EditKind::kBringBackElement, 20},
      {EditKind::kCreateDynamicElement, 30},
      {EditKind::kDestroySubtree, 1},
      {EditKind::kList, 30},
      {EditKind::kCommit, 20},
      {EditKind::kClear, 0}}},
};

void runEdits(const EditProfile& profile, const Random& random)
{
    std::cout << "    " << profile.name << ", " << random.description() << std::endl;
    RandomEdits(profile, random).run(kEdits);
}

std::string nameOf(const EditProfile& profile)
{
    return profile.name;
}

class CoreEditsTest : public ::testing::TestWithParam<std::tuple<EditProfile, std::uint64_t>>
{
};

TEST_P(CoreEditsTest, AnswerAndDoWhatTheModelSays)
{
    const auto& [profile, seed] = GetParam();
    runEdits(profile, Random(seed));
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, CoreEditsTest,
                         ::testing::Combine(::testing::ValuesIn(kProfiles), ::testing::Values(1, 2, 3)),
                         [](const auto& test) {
                             return nameOf(std::get<0>(test.param)) + std::to_string(std::get<1>(test.param));
                         });

class CoreEditsOfANewSeedTest : public ::testing::TestWithParam<EditProfile>
{
};

/// KQDB_TEST_SEED in the environment repeats it.
TEST_P(CoreEditsOfANewSeedTest, AnswerAndDoWhatTheModelSays)
{
    runEdits(GetParam(), Random::fresh());
}

INSTANTIATE_TEST_SUITE_P(OfANewSeed, CoreEditsOfANewSeedTest, ::testing::ValuesIn(kProfiles),
                         [](const auto& test) { return nameOf(test.param); });

/// The edits are worth what they come by.
TEST(CoreEditsReachTest, EveryEditSucceedsAndEveryRefusalHappens)
{
    EditProfile profile = kProfiles[0];
    profile.weights.emplace_back(EditKind::kLockAttribute, 12);
    profile.weights.emplace_back(EditKind::kCreateReference, 40); // most of the answers are about references
    RandomEdits edits(profile, Random(20260101));
    edits.run(16000);

    for (std::size_t kind = 0; kind < static_cast<std::size_t>(EditKind::kCount); ++kind)
        EXPECT_GT(edits.successes(static_cast<EditKind>(kind)), 0u) << "edit of kind " << kind;

    constexpr Status kAnswers[] = {
        Status::kSuccess,
        Status::kFailure,
        Status::kUnknownTypeId,
        Status::kNextNotChildOfParent,
        Status::kReferenceToRoot,
        Status::kNodeHasChildren,
        Status::kNodeHasDynamicElements,
        Status::kNodeHasReferences,
        Status::kNodeAlreadyDestroyed,
        Status::kNullReferenceToDestroy,
        Status::kRootNode,
        Status::kNullNodeToDestroy,
        Status::kNullElementToDestroy,
        Status::kNullNodeToRename,
        Status::kNullElementToRename,
        Status::kEmptyNodeName,
        Status::kNullNodeToReparent,
        Status::kNullNewParent,
        Status::kReparentToSelf,
        Status::kReparentToDescendant,
        Status::kNullNodeToReorder,
        Status::kReorderBeforeSelf,
        Status::kNextHasOtherParent,
        Status::kReferenceCycle,
        Status::kLockReferencer,
        Status::kLockArrayWithReferencer,
        Status::kLockArrayNotPlainData,
        Status::kInUndo,
        Status::kAttributeAlreadyLocked,
        Status::kArrayAlreadyLocked,
        Status::kNullLockOutput,
        Status::kResizeDropsReferences,
        Status::kElementHasReferences,
        Status::kAlreadyReferencing,
        Status::kNoReference,
        Status::kNullReferenced,
        Status::kNullReferencer,
        Status::kReferencedIsSingleOutput,
        Status::kSingleOutputNotPossible,
        Status::kSelfReference,
        Status::kNotConnectable,
        Status::kDuplicateElementName,
        Status::kDuplicateChildName,
        Status::kEmptyElementName,
        Status::kNullNodeForElement,
        Status::kNextElementNotDynamic,
        Status::kDestroyNotDynamic,
        Status::kRenameNotDynamic,
        Status::kLockOutstanding,
        Status::kNullArrayToResize,
        Status::kNullAttributeToLock,
        Status::kNullArrayToLock,
        Status::kNullAttributeToUnlock,
        Status::kNullArrayToUnlock,
        Status::kAttributeNotLocked,
        Status::kArrayNotLocked,
        Status::kNextElementOnOtherNode,
        Status::kReferenceToLegacy,
        Status::kDuplicateLegacyElement,
        Status::kReferenceToDestroyed,
        Status::kNameTooLong,
    };
    for (const Status answer : kAnswers)
        EXPECT_TRUE(edits.hasSeen(answer)) << "status " << static_cast<unsigned int>(answer);
}

} // namespace
} // namespace db2test
