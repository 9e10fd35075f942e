#pragma once

#include "Failure.h"
#include "Output.h"

#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace kqdb {

/// One of the program's commands: what stands on the command line, and what it does.
class Command
{
public:
    virtual ~Command() = default;

    /// Declares options, arguments and examples; they are stored in this object.
    virtual void declare(CLI::App& app) = 0;

    /// @return what the program answers. Throws Failure for bad use and bad input.
    virtual Exit run(Output& out) = 0;
};

/// An entry of the table of commands: help, shell completion and tests go by it. Stands in the file of its command.
struct CommandEntry
{
    const char* name;
    const char* summary; ///< one line
    std::unique_ptr<Command> (*make)();
};

/// What an entry makes its command with.
template <class ConcreteCommand>
std::unique_ptr<Command> makeCommand()
{
    return std::make_unique<ConcreteCommand>();
}

/// All commands, in the order of the help.
[[nodiscard]] std::span<const CommandEntry* const> commandTable();

// --- What several commands declare ---

/// What the help of a command says behind its options.
/// @param text      paragraphs, parted by an empty line; broken into lines here. May be empty.
/// @param examples  command lines.
void declareHelp(CLI::App& app, std::string_view text, std::initializer_list<std::string_view> examples);

/// The document, as the first argument.
void declareFile(CLI::App& app, std::string& file);
/// The document, and behind it texts, each of which may be anything, but one there must be.
void declareFileAndTexts(CLI::App& app, std::string& file, const char* name, std::vector<std::string>& texts,
                         const char* description);
void declareJson(CLI::App& app, bool& json);
void declareAllowLoss(CLI::App& app, bool& allowLoss);
/// Several texts, each of which may be anything.
CLI::Option* declareTexts(CLI::App& app, const char* name, std::vector<std::string>& texts, const char* description);
/// "-o, --output": where to save instead of the document's own file.
void declareOutput(CLI::App& app, std::string& output);

// --- Arguments in brackets: the parser takes "[1, 2]" for two arguments where an option takes several ---

/// Marks such an argument so that the parser leaves it alone; declareTexts() takes the mark off again.
[[nodiscard]] std::string protectBrackets(std::string argument);

} // namespace kqdb
