#pragma once

#include <filesystem>
#include <string>

namespace kqdb {

/// A file from the command line that a document is to be saved to. Throws Failure for what is there and no file: saving
/// replaces what has the name, and a device or pipe would be gone.
[[nodiscard]] std::filesystem::path outputFile(const std::string& utf8);

} // namespace kqdb
