#pragma once

#include <array>
#include <cstddef>

namespace db2 {

/// The operations of DataInterface; the number of each is its slot.
enum class Operation : unsigned int
{
    kCreateNode,
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
    kCommit,
    kCommitTransient,
    kClear
};

inline constexpr std::size_t kOperationCount = 19;

/// A set of operations is a word with a bit for each: 1 shifted left by its slot.
[[nodiscard]] constexpr unsigned int bitOf(Operation operation)
{
    return 1u << static_cast<unsigned int>(operation);
}

/// "db_createNode" and so on.
[[nodiscard]] constexpr const char* nameOf(Operation operation)
{
    constexpr std::array<const char*, kOperationCount> kNames = {"db_createNode",
                                                                 "db_createUnknownNode",
                                                                 "db_destroyLeafNode",
                                                                 "db_renameNode",
                                                                 "db_reparentNode",
                                                                 "db_reorderNode",
                                                                 "db_createDynamicElement",
                                                                 "db_destroyDynamicElement",
                                                                 "db_renameDynamicElement",
                                                                 "db_resizeAttributeArray",
                                                                 "db_createReference",
                                                                 "db_destroyReference",
                                                                 "db_lockAttribute",
                                                                 "db_unlockAttribute",
                                                                 "db_lockAttributeArray",
                                                                 "db_unlockAttributeArray",
                                                                 "db_commit",
                                                                 "db_commitTransient",
                                                                 "db_clear"};
    return kNames[static_cast<std::size_t>(operation)];
}

} // namespace db2
