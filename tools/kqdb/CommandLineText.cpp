#include "CommandLineText.h"

#include <CLI/CLI.hpp>

#include <sstream>
#include <string_view>
#include <vector>

namespace kqdb {
namespace {

std::vector<const CLI::App*> commandsOf(const CLI::App& program)
{
    return program.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::vector<const CLI::Option*> positionalsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

/// "-o", "--output".
std::vector<std::string> namesOf(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back('-' + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

bool takesValue(const CLI::Option& option)
{
    return option.get_items_expected_max() > 0 && option.get_type_size() > 0;
}

/// What stands for an option's value: "FILE".
std::string valueName(const CLI::Option& option)
{
    std::string name = option.get_type_name();
    return name.empty() || name == "TEXT" || name == "UINT" || name == "INT" || name == "FLOAT" ? "VALUE" : name;
}

// --- The manual page ---

/// A text as roff takes it, a line of input for each of its lines.
std::string roff(std::string_view text)
{
    std::string out;
    bool isLineBegin = true;
    for (const char c : text)
    {
        if (isLineBegin && (c == '.' || c == '\''))
            out += "\\&";
        isLineBegin = c == '\n';
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out;
}

/// An argument of a macro: in quotes, so that nothing in it is taken for a macro.
std::string macroArgument(std::string_view text)
{
    std::string out = "\"";
    for (const char c : roff(text))
        out += c == '"' ? std::string("\\(dq") : std::string(1, c);
    return out + '"';
}

void appendOption(std::string& out, const CLI::Option& option)
{
    std::string names;
    for (const std::string& name : namesOf(option))
        names += (names.empty() ? "" : ", ") + name;
    out += ".It Sy " + macroArgument(names) +
           (takesValue(option) ? " Ar " + macroArgument(valueName(option)) : std::string()) + '\n';
    out += roff(option.get_description()) + ".\n";
}

/// The footer of a command: paragraphs, and examples behind the line "Examples:".
void appendFooter(std::string& out, const std::string& footer)
{
    std::istringstream lines(footer);
    bool isExample = false;
    for (std::string line; std::getline(lines, line);)
    {
        const bool beginsExamples = line == "Examples:" || line == "Example:";
        if (beginsExamples)
            out += ".Pp\n" + line + "\n.Bd -literal -offset indent -compact\n";
        else if (line.empty())
            out += isExample ? "" : ".Pp\n";
        else
            out += roff(isExample ? line.substr(line.find_first_not_of(' ')) : line) + '\n';
        isExample = isExample || beginsExamples;
    }
    if (isExample)
        out += ".Ed\n";
}

void appendCommand(std::string& out, const CLI::App& command)
{
    out += ".Ss " + macroArgument("kqdb " + command.get_name()) + "\n" + roff(command.get_description()) +
           ".\n.Pp\n.Nm kqdb Cm " + command.get_name() + "\n.Op Ar options\n";
    for (const CLI::Option* const positional : positionalsOf(command))
    {
        const std::string name = ".Ar " + macroArgument(positional->get_name(true)) +
                                 (positional->get_expected_max() > 1 ? " ..." : "") + '\n';
        out += positional->get_required() ? name : ".Op " + name.substr(1);
    }
    out += ".Bl -tag -width Ds\n";
    for (const CLI::Option* const positional : positionalsOf(command))
        out +=
            ".It Ar " + macroArgument(positional->get_name(true)) + '\n' + roff(positional->get_description()) + ".\n";
    for (const CLI::Option* const option : optionsOf(command))
        appendOption(out, *option);
    out += ".El\n.Pp\n";
    appendFooter(out, command.get_footer());
}

constexpr char kManualBegin[] = R"(.Dd $Mdocdate$
.Dt KQDB 1
.Os
.Sh NAME
.Nm kqdb
.Nd read, edit, compare and migrate KQDatabase2 documents
.Sh SYNOPSIS
.Nm
.Op Fl \-color Ar auto|always|never
.Ar command
.Op Ar argument ...
.Sh DESCRIPTION
A document is a file in the JSON format of the database.
A path names a node or an attribute in it:
.Ql |robot|arm
is the node arm under the node robot,
.Ql |robot|arm.translation
an attribute of it,
.Ql |robot|arm:weights
an attribute array and
.Ql |robot|arm:weights[3]
its fourth item.
In a name a backslash stands before a blank and each of
.Ql \&. : [ \e ] | .
.Pp
Nodes of modules that this program does not know, and data of older versions that no migrator dealt with, are kept when a
document is saved.
A file is replaced when the new one is complete, so that a crash costs nothing.
.Sh COMMANDS
)";

constexpr char kManualEnd[] = R"(.Sh ENVIRONMENT
.Bl -tag -width Ds
.It Ev NO_COLOR
Without effect when empty; else nothing is printed in colours.
.El
.Sh EXIT STATUS
.Bl -tag -width Ds
.It 0
Done.
.It 1
The answer is no: documents differ, there are findings, nothing was found, something was left over.
.It 2
Bad use or bad input; a message says what is wrong, and where.
.El
)";

// --- Completion ---

std::string optionWords(const CLI::App& app)
{
    std::string words;
    for (const CLI::Option* const option : optionsOf(app))
        for (const std::string& name : namesOf(*option))
            words += (words.empty() ? "" : " ") + name;
    return words;
}

std::string commandWords(const CLI::App& program)
{
    std::string words;
    for (const CLI::App* const command : commandsOf(program))
        words += (words.empty() ? "" : " ") + command->get_name();
    return words;
}

/// A text in single quotes, for a shell.
std::string inQuotes(std::string_view text)
{
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + '\'';
}

/// The same where zsh gives brackets and colons a meaning.
std::string zshText(std::string_view text)
{
    std::string out;
    for (const char c : text)
        out += c == '[' || c == ']' || c == ':' ? std::string("\\") + c : std::string(1, c);
    return out;
}

} // namespace

std::string manualPage(const CLI::App& program)
{
    std::string out = kManualBegin;
    for (const CLI::App* const command : commandsOf(program))
        appendCommand(out, *command);
    return out + kManualEnd;
}

std::string bashCompletion(const CLI::App& program)
{
    std::string out = "# Completion of kqdb for bash.\n\n"
                      "_kqdb() {\n"
                      "    local word=${COMP_WORDS[COMP_CWORD]} command= options= i\n"
                      "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
                      "        case ${COMP_WORDS[i]} in\n"
                      "            --color) ((++i)) ;;\n"
                      "            -*) ;;\n"
                      "            *) command=${COMP_WORDS[i]}; break ;;\n"
                      "        esac\n"
                      "    done\n"
                      "    case $command in\n"
                      "        '') options=" +
                      inQuotes(optionWords(program)) + " ;;\n";
    for (const CLI::App* const command : commandsOf(program))
        out += "        " + command->get_name() + ") options=" + inQuotes(optionWords(*command)) + " ;;\n";
    out += "    esac\n"
           "    COMPREPLY=()\n"
           "    if [[ $word == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
           "    elif [[ -z $command ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W " +
           inQuotes(commandWords(program)) +
           " -- \"$word\")\n"
           "    else\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "        compopt -o filenames 2>/dev/null\n"
           "    fi\n"
           "}\n\n"
           "complete -F _kqdb kqdb\n";
    return out;
}

std::string zshCompletion(const CLI::App& program)
{
    std::string out =
        "#compdef kqdb\n# Completion of kqdb for zsh.\n\n_kqdb() {\n    local -a commands\n    commands=(\n";
    for (const CLI::App* const command : commandsOf(program))
        out += "        " + inQuotes(command->get_name() + ':' + zshText(command->get_description())) + '\n';
    out += "    )\n"
           "    if ((CURRENT == 2)); then\n"
           "        _describe command commands\n"
           "        return\n"
           "    fi\n"
           "    case $words[2] in\n";
    for (const CLI::App* const command : commandsOf(program))
    {
        out += "        " + command->get_name() + ")\n            _arguments \\\n";
        for (const CLI::Option* const option : optionsOf(*command))
            for (const std::string& name : namesOf(*option))
                out += "                " +
                       inQuotes(name + '[' + zshText(option->get_description()) + ']' +
                                (takesValue(*option) ? ':' + zshText(valueName(*option)) + ":_files" : std::string())) +
                       " \\\n";
        out += "                '*:file:_files'\n            ;;\n";
    }
    out += "    esac\n}\n\n_kqdb \"$@\"\n";
    return out;
}

} // namespace kqdb
