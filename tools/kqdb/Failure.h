#pragma once

#include <stdexcept>
#include <string>

namespace kqdb {

/// What a command answers to whoever called the program.
enum class Exit : int
{
    kDone = 0,
    kNo = 1, ///< the answer is no: documents differ, there are findings, nothing was found
    kBad = 2 ///< bad use or bad input
};

/// Ends a command with Exit::kBad. The message is UTF-8, for people, with the file or path first: "scene.json: line 3,
/// column 9: expected a number". Several lines are printed each behind the program's name.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Nobody reads standard output any more. Not an error.
class OutputClosed
{
};

} // namespace kqdb
