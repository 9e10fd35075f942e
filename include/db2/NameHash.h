#pragma once

#include <db2/Export.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

/// The 32-bit hash by which names of nodes, elements, types and modules are looked up and kept unique: two names of the
/// same hash count as the same name wherever uniqueness is checked.
/// MurmurHash2 (multiplier 0x5BD1E995, shift 24, seed 0x8F5F144A) over the name's UTF-16 units as little-endian bytes,
/// so that a name hashes alike on every platform, whatever the width of its `wchar_t`.
/// Cost: one pass over the text. @param name  zero-terminated; null hashes like the empty text.
[[nodiscard]] DB2_API std::uint32_t hashName(const wchar_t* name);

/// The same for a text of known length. @param characters  in units of wchar_t.
[[nodiscard]] DB2_API std::uint32_t hashName(const wchar_t* name, std::size_t characters);

} // namespace db2
