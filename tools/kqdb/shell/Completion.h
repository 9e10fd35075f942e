#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kqdb {

class Shell;

/// What could stand at the cursor of a line of the shell: commands, options, paths of nodes and attributes, types, choices,
/// files.
struct Completion
{
    /// The words themselves, without quotes, in order; of very many only the first.
    std::vector<std::string> candidates;
    std::size_t count = 0; ///< of all of them

    /// What to put in place of the last replacedBytes of the text before the cursor: what all candidates begin with, quoted
    /// where needed, and a blank behind it when there is only one that cannot go on. The same text when there is nothing to
    /// add.
    std::string replacement;
    std::size_t replacedBytes = 0;
};

/// @param textToCursor  the line up to the cursor, UTF-8.
/// Cost: for a path, the children of the node that is asked for; for a type or module that nobody knows, the tree.
[[nodiscard]] Completion complete(Shell& shell, std::string_view textToCursor);

} // namespace kqdb
