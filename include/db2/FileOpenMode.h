#pragma once

#include <cstdint>

namespace db2 {

/// How a file stream treats line ends: as text, the line feeds that are written become the platform's line ends; as
/// binary, every byte is written as it stands.
enum class FileOpenMode : std::uint32_t
{
    kText = 0,
    kBinary = 1
};

} // namespace db2
