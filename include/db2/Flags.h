#pragma once

#include <cstdint>

/// Every bit of the library's flag words, in one place, because several layers share one word and must see each other.
/// Hosts obtain bits of their own from registerNodeFlagType() and its sisters (Library.h).
namespace db2 {

// clang-format off: tables, which read best aligned

/// Bits of a Node's flag word.
namespace NodeFlag {
inline constexpr std::uint32_t kInUndo = 0x00001;        ///< out of the tree, held by undo, which may bring it back
inline constexpr std::uint32_t kDestroyed = 0x00002;     ///< out of the tree
inline constexpr std::uint32_t kLegacy = 0x00004;        ///< made from a legacy file
inline constexpr std::uint32_t kLegacyHandled = 0x00008; ///< a migrator dealt with the legacy node
inline constexpr std::uint32_t kUnknown = 0x00010;       ///< its type is not registered; it has a private template
inline constexpr std::uint32_t kChanged = 0x00020;       ///< in the change set: a value of the node was written
inline constexpr std::uint32_t kCreated = 0x00040;       ///< in the change set
inline constexpr std::uint32_t kDestroyedNow = 0x00080;  ///< in the change set: destroyed in this unit of work
inline constexpr std::uint32_t kRenamed = 0x00100;       ///< in the change set
inline constexpr std::uint32_t kReordered = 0x00200;     ///< in the change set
inline constexpr std::uint32_t kReparented = 0x00400;    ///< in the change set
inline constexpr std::uint32_t kWatched = 0x00800;       ///< in the watch layer's list
inline constexpr std::uint32_t kWatchDisabled = 0x01000; ///< edits do not mark the watch
inline constexpr std::uint32_t kWatchChanged = 0x02000;  ///< an edit marked the watch
inline constexpr std::uint32_t kCreatedInItem = 0x04000; ///< created within the open undo item
inline constexpr std::uint32_t kAddedForSave = 0x08000;  ///< a root of a running save
inline constexpr std::uint32_t kFirstHostFlag = 0x10000; ///< registerNodeFlagType() hands out from here

inline constexpr std::uint32_t kChangeFlags = kChanged | kCreated | kDestroyedNow | kRenamed | kReordered | kReparented;
inline constexpr std::uint32_t kWatchFlags = kWatched | kWatchDisabled | kWatchChanged;
/// A layer holds a pointer to the node while one of these is set, so the core does not free it.
inline constexpr std::uint32_t kListedByLayer = kChangeFlags | kWatched;
} // namespace NodeFlag

/// Bits of an Element's flag word.
namespace ElementFlag {
inline constexpr std::uint32_t kInUndo = 0x000001;          ///< held by undo
inline constexpr std::uint32_t kArray = 0x000002;           ///< is an attribute array
inline constexpr std::uint32_t kArrayItem = 0x000004;       ///< is an item of an attribute array
inline constexpr std::uint32_t kDestroyed = 0x000008;       ///< destroyed dynamic element; released array item
inline constexpr std::uint32_t kDynamic = 0x000010;         ///< created on this node, not by the template
inline constexpr std::uint32_t kLegacy = 0x000020;          ///< kept from older data for migration
inline constexpr std::uint32_t kLegacyHandled = 0x000040;   ///< a migrator dealt with the legacy element
inline constexpr std::uint32_t kLocked = 0x000080;          ///< between a lock and its unlock
inline constexpr std::uint32_t kSingleOutput = 0x000100;    ///< the reference that this attribute holds is exclusive
inline constexpr std::uint32_t kUnknown = 0x000200;         ///< element of an unknown node's private template
inline constexpr std::uint32_t kLoaded = 0x000400;          ///< created or found by the loader
inline constexpr std::uint32_t kValueLoaded = 0x000800;     ///< value written by the loader
inline constexpr std::uint32_t kChanged = 0x001000;         ///< in the change set: value written
inline constexpr std::uint32_t kCreated = 0x002000;         ///< in the change set: created dynamic
inline constexpr std::uint32_t kDestroyedNow = 0x004000;    ///< in the change set: destroyed dynamic
inline constexpr std::uint32_t kRenamed = 0x008000;         ///< in the change set: renamed dynamic
inline constexpr std::uint32_t kResized = 0x010000;         ///< in the change set: array resized
inline constexpr std::uint32_t kReferenceMade = 0x020000;   ///< in the change set: reference created
inline constexpr std::uint32_t kReferenceBroken = 0x040000; ///< in the change set: reference destroyed
inline constexpr std::uint32_t kDirty = 0x080000;           ///< in the compute layer's dirty list
inline constexpr std::uint32_t kHasLinks = 0x100000;        ///< takes or took part in a reference; the core's own
inline constexpr std::uint32_t kRecordedInItem = 0x200000;  ///< recorded within the open undo item
inline constexpr std::uint32_t kFirstHostFlag = 0x400000;   ///< registerElementFlagType() hands out from here

inline constexpr std::uint32_t kChangeFlags =
    kChanged | kCreated | kDestroyedNow | kRenamed | kResized | kReferenceMade | kReferenceBroken;
/// A layer holds a pointer to the element while one of these is set, so the core does not free it.
inline constexpr std::uint32_t kListedByLayer = kChangeFlags | kDirty;
} // namespace ElementFlag

/// Bits of an ElementMetaData's flag word.
namespace ElementMetaDataFlag {
inline constexpr std::uint32_t kDontSave = 0x01;       ///< saved only when the saver saves everything
inline constexpr std::uint32_t kAlwaysSave = 0x02;     ///< saved whatever its value
inline constexpr std::uint32_t kArray = 0x04;          ///< describes an attribute array; set by the library
inline constexpr std::uint32_t kComputed = 0x08;       ///< output of a compute set; set by the library
inline constexpr std::uint32_t kNotConnectable = 0x10; ///< takes part in no reference and no compute set
inline constexpr std::uint32_t kNotWatched = 0x20;     ///< its edits mark no watch
inline constexpr std::uint32_t kNotUndoable = 0x40;    ///< its values are not recorded for undo
inline constexpr std::uint32_t kFirstHostFlag = 0x80;  ///< registerElementMetaDataFlagType() hands out from here
} // namespace ElementMetaDataFlag

/// Bits of a NodeTemplate's flag word.
namespace NodeTemplateFlag {
inline constexpr std::uint32_t kRegistered = 0x1;    ///< owned and frozen by a NodeRegistry
inline constexpr std::uint32_t kFirstHostFlag = 0x2; ///< registerNodeTemplateFlagType() hands out from here
} // namespace NodeTemplateFlag

// clang-format on

} // namespace db2
