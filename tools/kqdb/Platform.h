#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// What the program asks of the operating system, one source for each.
namespace kqdb::platform {

/// Makes the standard streams take UTF-8 bytes as they are written, and a reader who goes away an error of the write
/// instead of the program's end.
void prepareStreams();

/// The program's arguments in UTF-8, without its name.
[[nodiscard]] std::vector<std::string> arguments(int count, char** values);

[[nodiscard]] bool isTerminal(std::FILE* stream);

/// True when the last failed write found nobody reading.
[[nodiscard]] bool lastErrorIsClosedPipe();
[[nodiscard]] std::string lastErrorText();

/// The most memory that the process has had at a time, in bytes; 0 where the system does not tell.
[[nodiscard]] std::uint64_t peakMemory();

/// Runs a command by the system's shell with @p input as its standard input; its output goes where this program's goes.
/// @return its exit code; -1 when it could not be run.
[[nodiscard]] int runWithInput(const char* command, const std::string& input);

} // namespace kqdb::platform
