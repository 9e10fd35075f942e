#include "Command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>

namespace kqdb {

// One for each file in commands/.
std::unique_ptr<Command> makeNewCommand();
std::unique_ptr<Command> makeInfoCommand();
std::unique_ptr<Command> makeTreeCommand();
std::unique_ptr<Command> makeCatCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeGetCommand();
std::unique_ptr<Command> makeSetCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeMigrateCommand();
std::unique_ptr<Command> makeDiffCommand();
std::unique_ptr<Command> makeCopyCommand();
std::unique_ptr<Command> makeExtractCommand();
std::unique_ptr<Command> makeGraphCommand();
std::unique_ptr<Command> makeStatsCommand();
std::unique_ptr<Command> makeBenchCommand();
std::unique_ptr<Command> makeShellCommand();
std::unique_ptr<Command> makeDemoCommand();
std::unique_ptr<Command> makeGenerateCommand();
#if defined(KQDB_HAS_IMPORT)
std::unique_ptr<Command> makeImportCommand();
#endif

namespace {

constexpr char kBracketMark = '\x1f'; // no argument begins with it

constexpr std::array kCommands = {
#if defined(KQDB_HAS_IMPORT)
    CommandEntry{"import", "Make a document of 3D models", makeImportCommand},
#endif
    CommandEntry{"new", "Make an empty document", makeNewCommand},
    CommandEntry{"info", "Say what is in a document: modules, versions, counts, size", makeInfoCommand},
    CommandEntry{"tree", "List the nodes as a tree", makeTreeCommand},
    CommandEntry{"cat", "Print nodes with their attributes", makeCatCommand},
    CommandEntry{"find", "Find nodes by name, type or value", makeFindCommand},
    CommandEntry{"get", "Print values", makeGetCommand},
    CommandEntry{"set", "Set values", makeSetCommand},
    CommandEntry{"check", "Look for unknown and older data, and values beyond their limits", makeCheckCommand},
    CommandEntry{"diff", "Compare two documents by what they mean", makeDiffCommand},
    CommandEntry{"migrate", "Bring a document to the current versions of its modules", makeMigrateCommand},
    CommandEntry{"copy", "Copy nodes to another document", makeCopyCommand},
    CommandEntry{"extract", "Make a document of some nodes", makeExtractCommand},
    CommandEntry{"graph", "Draw references or computed attributes as a graph", makeGraphCommand},
    CommandEntry{"stats", "Count nodes and values, with the memory that they take", makeStatsCommand},
    CommandEntry{"bench", "Time loading, editing, undoing and saving", makeBenchCommand},
    CommandEntry{"shell", "Edit a document command by command, with undo", makeShellCommand},
    CommandEntry{"demo", "Show what the database does, on a model of yours", makeDemoCommand},
    CommandEntry{"generate", "Print the manual page or a shell's completion", makeGenerateCommand},
};

constexpr std::size_t kHelpColumns = 90;

/// Breaks paragraphs into lines; an empty line stays.
void appendWrapped(std::string& out, std::string_view text)
{
    std::size_t column = 0;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        const std::string_view word = text.substr(0, end);
        if (column > 0 && column + 1 + word.size() > kHelpColumns)
        {
            out += '\n';
            column = 0;
        }
        out.append(column > 0 ? " " : "").append(word);
        column += word.size() + (column > 0 ? 1 : 0);
        for (text.remove_prefix(end); !text.empty() && (text.front() == ' ' || text.front() == '\n');
             text.remove_prefix(1))
            if (text.front() == '\n')
            {
                out += '\n';
                column = 0;
            }
    }
}

} // namespace

std::span<const CommandEntry> commandTable()
{
    return kCommands;
}

void declareHelp(CLI::App& app, std::string_view text, std::initializer_list<std::string_view> examples)
{
    std::string help;
    appendWrapped(help, text);
    help += help.empty() ? "" : "\n\n";
    help += examples.size() == 1 ? "Example:" : "Examples:";
    for (const std::string_view example : examples)
        help.append("\n  ").append(example);
    app.footer(help);
}

void declareFile(CLI::App& app, std::string& file)
{
    app.add_option("FILE", file, "The document")->required();
}

void declareJson(CLI::App& app, bool& json)
{
    app.add_flag("--json", json, "Print JSON, for programs to read");
}

void declareAllowLoss(CLI::App& app, bool& allowLoss)
{
    app.add_flag("--allow-loss", allowLoss, "Save even if something in the file could not be loaded and would be lost");
}

CLI::Option* declareTexts(CLI::App& app, const char* name, std::vector<std::string>& texts, const char* description)
{
    return app.add_option(name, texts, description)->transform([](const std::string& text) {
        return text.starts_with(kBracketMark) ? text.substr(1) : text;
    });
}

std::string protectBrackets(std::string argument)
{
    const bool isInBrackets = argument.size() > 1 && argument.front() == '[' && argument.back() == ']';
    return isInBrackets ? kBracketMark + argument : argument;
}

void declareOutput(CLI::App& app, std::string& output)
{
    app.add_option("-o,--output", output, "Save to this file and leave the document's own as it is")->type_name("FILE");
}

} // namespace kqdb
