#include "Command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>

namespace kqdb {

// Defined by the files of the commands.
#if defined(KQDB_HAS_IMPORT)
extern const CommandEntry kImportCommand;
#endif
extern const CommandEntry kNewCommand;
extern const CommandEntry kInfoCommand;
extern const CommandEntry kTreeCommand;
extern const CommandEntry kCatCommand;
extern const CommandEntry kFindCommand;
extern const CommandEntry kGetCommand;
extern const CommandEntry kSetCommand;
extern const CommandEntry kCheckCommand;
extern const CommandEntry kDiffCommand;
extern const CommandEntry kMigrateCommand;
extern const CommandEntry kCopyCommand;
extern const CommandEntry kExtractCommand;
extern const CommandEntry kGraphCommand;
extern const CommandEntry kStatsCommand;
extern const CommandEntry kBenchCommand;
extern const CommandEntry kShellCommand;
extern const CommandEntry kDemoCommand;
extern const CommandEntry kGenerateCommand;

namespace {

constexpr char kBracketMark = '\x1f'; // no argument begins with it

constexpr std::array kCommands = {
#if defined(KQDB_HAS_IMPORT)
    &kImportCommand,
#endif
    &kNewCommand,    &kInfoCommand,  &kTreeCommand,  &kCatCommand,     &kFindCommand, &kGetCommand,
    &kSetCommand,    &kCheckCommand, &kDiffCommand,  &kMigrateCommand, &kCopyCommand, &kExtractCommand,
    &kGraphCommand,  &kStatsCommand, &kBenchCommand, &kShellCommand,   &kDemoCommand, &kGenerateCommand,
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

std::span<const CommandEntry* const> commandTable()
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

void declareFileAndTexts(CLI::App& app, std::string& file, const char* name, std::vector<std::string>& texts,
                         const char* description)
{
    declareFile(app, file);
    declareTexts(app, name, texts, description)->required();
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
