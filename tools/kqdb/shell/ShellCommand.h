#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The commands of the shell as a table, which help, completion and the reading of arguments go by.
namespace kqdb {

class Shell;

/// What a parameter of a command stands for.
enum class Kind
{
    kText,
    kNumber,
    kFlag, ///< an option without a value
    kNode, ///< the path of a node
    kElement,
    kNodeType,    ///< one that is registered
    kUnknownType, ///< any name; those of unknown nodes come to mind
    kValueType,   ///< Int, Float, ...
    kValue,       ///< of the element that is named before it
    kModule,
    kFile,
    kOnOff,
    kCommand
};

enum class Need
{
    kRequired,
    kOptional,
    kRepeated, ///< one or more; the last parameter
    kRest,     ///< the rest of the line, its words joined by blanks; the last parameter
    kOptionalRest
};

struct Parameter
{
    const char* name; ///< "NODE", or with dashes an option: "--before", "-r,--recursive"
    Kind kind;
    const char* help;
    Need need = Need::kRequired; ///< options are never needed

    [[nodiscard]] bool isOption() const { return name[0] == '-'; }
    [[nodiscard]] bool takesRest() const { return need == Need::kRest || need == Need::kOptionalRest; }
    [[nodiscard]] bool isNamed(std::string_view option) const; ///< one of the forms of an option's name
    [[nodiscard]] std::string_view key() const;                ///< what Arguments know it by: the longest form
};

/// What a command was given, by the names of its parameters; of options the long name.
class Arguments
{
public:
    [[nodiscard]] bool has(std::string_view name) const { return !all(name).empty(); }
    [[nodiscard]] const std::vector<std::string>& all(std::string_view name) const;
    /// The first value, or what stands for none.
    [[nodiscard]] std::string text(std::string_view name, std::string_view none = {}) const;
    /// Throws Failure for what is no number from 0 on.
    [[nodiscard]] unsigned int number(std::string_view name, unsigned int none) const;

    void add(std::string_view name, std::string value) { values_[std::string(name)].push_back(std::move(value)); }

private:
    std::map<std::string, std::vector<std::string>, std::less<>> values_;
};

/// An entry of the table.
struct ShellEntry
{
    const char* group; ///< in the help
    const char* name;
    const char* summary; ///< one line
    std::vector<Parameter> parameters;
    void (*run)(Shell& shell, const Arguments& arguments);
};

/// All commands, in the order of the help.
[[nodiscard]] std::span<const ShellEntry> shellTable();
[[nodiscard]] const ShellEntry* findShellCommand(std::string_view name); ///< null when there is none

/// Reads the words behind a command's name. Throws Failure with what is wrong.
[[nodiscard]] Arguments parseArguments(const ShellEntry& entry, std::vector<std::string> words);

[[nodiscard]] std::string helpText(const ShellEntry& entry);

// --- The parts of the table, one for each file of commands/ ---

void addNodeCommands(std::vector<ShellEntry>& table);
void addElementCommands(std::vector<ShellEntry>& table);
void addLookCommands(std::vector<ShellEntry>& table);
void addUnitCommands(std::vector<ShellEntry>& table);
void addDocumentCommands(std::vector<ShellEntry>& table);

} // namespace kqdb
