// kqdb: the command line program. Parses the arguments, runs one command, and turns what it throws into messages and exit
// codes.

#include "Command.h"
#include "Failure.h"
#include "Output.h"
#include "Platform.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace kqdb;

constexpr char kFooter[] = "A document is a file in the JSON format of the database; a path names a node or\n"
                           "attribute in it, such as '|robot|arm' or '|robot|arm.translation'.\n"
                           "Exit codes: 0 done; 1 the answer is no (documents differ, there are findings, nothing\n"
                           "was found); 2 bad use or bad input.\n"
                           "'kqdb COMMAND --help' tells more about a command.";

/// Prints each line behind the program's name.
void printError(const std::string& message)
{
    const bool isColoured = Output(stderr, ColourMode::kAuto).isColoured();
    std::size_t begin = 0;
    while (begin <= message.size())
    {
        const std::size_t end = std::min(message.find('\n', begin), message.size());
        std::fprintf(stderr, "%skqdb:%s %s\n", isColoured ? "\x1b[1;31m" : "", isColoured ? "\x1b[0m" : "",
                     message.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
}

/// The program's options and commands.
class CommandLine
{
public:
    CommandLine() : app_("Reads, edits, compares and migrates KQDatabase2 documents.", "kqdb")
    {
        app_.allow_windows_style_options(false); // else paths that begin with a slash would be options there
        app_.set_version_flag("--version", "kqdb " KQDB_VERSION);
        app_.require_subcommand(1);
        app_.footer(kFooter);
        app_.get_formatter()->column_width(28);
        app_.add_option("--color", colour_, "Whether to print in colours")
            ->type_name("auto|always|never")
            ->transform(CLI::CheckedTransformer(std::map<std::string, ColourMode>{{"auto", ColourMode::kAuto},
                                                                                  {"always", ColourMode::kAlways},
                                                                                  {"never", ColourMode::kNever}},
                                                CLI::ignore_case)
                            .description(""));
        for (const CommandEntry* const entry : commandTable())
        {
            CLI::App* const sub = app_.add_subcommand(entry->name, entry->summary);
            commands_.push_back({sub, entry->make()});
            commands_.back().command->declare(*sub);
        }
    }

    /// @return false when there is nothing to run: help was printed, or the use is wrong.
    bool parse(std::vector<std::string> arguments, Exit& exit)
    {
        try
        {
            arguments_ = arguments;
            std::transform(arguments.begin(), arguments.end(), arguments.begin(), protectBrackets);
            std::reverse(arguments.begin(), arguments.end()); // as the parser takes them
            app_.parse(std::move(arguments));
            return true;
        }
        catch (const CLI::ParseError& error)
        {
            exit = explain(error);
            return false;
        }
    }

    Exit run()
    {
        Output out(stdout, colour_);
        for (const Entry& entry : commands_)
        {
            if (!entry.sub->parsed())
                continue;
            const Exit exit = entry.command->run(out);
            out.flush();
            return exit;
        }
        return Exit::kBad;
    }

private:
    struct Entry
    {
        CLI::App* sub; ///< app_'s
        std::unique_ptr<Command> command;
    };

    /// Prints the help that was asked for, or what is wrong.
    Exit explain(const CLI::ParseError& error)
    {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        {
            Output out(stdout, ColourMode::kNever);
            std::ostringstream text;
            app_.exit(error, text, text);
            out << std::string_view(text.str());
            out.flush();
            return Exit::kDone;
        }
        std::string command;
        for (const Entry& entry : commands_)
            if (entry.sub->parsed())
                command = entry.sub->get_name() + ' ';
        if (!command.empty())
            printError(command.substr(0, command.size() - 1) + ": " + error.what());
        else if (!arguments_.empty() && !arguments_.front().starts_with('-'))
            printError("there is no command '" + arguments_.front() + '\'');
        else
            printError(error.what());
        std::fprintf(stderr, "Try 'kqdb %s--help'.\n", command.c_str());
        return Exit::kBad;
    }

    CLI::App app_;
    std::vector<Entry> commands_;
    std::vector<std::string> arguments_;
    ColourMode colour_ = ColourMode::kAuto;
};

Exit runProgram(int count, char** values)
{
    try
    {
        CommandLine commandLine;
        Exit exit = Exit::kBad;
        return commandLine.parse(platform::arguments(count, values), exit) ? commandLine.run() : exit;
    }
    catch (const OutputClosed&)
    {
        return Exit::kDone; // whoever read it has had enough
    }
    catch (const Failure& failure)
    {
        printError(failure.what());
    }
    catch (const std::bad_alloc&)
    {
        printError("memory is out");
    }
    catch (const std::exception& error)
    {
        printError(error.what());
    }
    return Exit::kBad;
}

} // namespace

int main(int count, char** values)
{
    platform::prepareStreams();
    return static_cast<int>(runProgram(count, values));
}
