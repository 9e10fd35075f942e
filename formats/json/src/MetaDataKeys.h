#pragma once

#include <db2/Flags.h>

#include <cstdint>
#include <string_view>

/// The keys of a dynamic element's metadata, in the order in which they stand.
namespace db2::json {

inline constexpr std::string_view kFlagsKey = "flags";
inline constexpr std::string_view kDisplayNameKey = "displayName";
inline constexpr std::string_view kDocStringKey = "docString";
inline constexpr std::string_view kUnitKey = "unit";
inline constexpr std::string_view kMinimumKey = "min";
inline constexpr std::string_view kMaximumKey = "max";
inline constexpr std::string_view kChoicesKey = "choices";
inline constexpr std::string_view kDefaultKey = "default";

/// Flags that say what the library knows from elsewhere; not in the file.
inline constexpr std::uint32_t kFlagsOfTheLibrary = ElementMetaDataFlag::kArray | ElementMetaDataFlag::kComputed;

} // namespace db2::json
