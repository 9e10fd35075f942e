#pragma once

#include <string>

namespace CLI {
class App;
}

/// Texts that are made of what the commands declare, so that they are never out of date.
namespace kqdb {

/// The manual page, in mdoc.
[[nodiscard]] std::string manualPage(const CLI::App& program);

/// Completion of commands, options and file names.
[[nodiscard]] std::string bashCompletion(const CLI::App& program);
[[nodiscard]] std::string zshCompletion(const CLI::App& program);

} // namespace kqdb
