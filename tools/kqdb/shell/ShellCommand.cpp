#include "ShellCommand.h"

#include "Failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace kqdb {
namespace {

std::vector<ShellEntry> makeTable()
{
    std::vector<ShellEntry> table;
    addNodeCommands(table);
    addElementCommands(table);
    addUnitCommands(table);
    addLookCommands(table);
    addDocumentCommands(table);
    return table;
}

const char* valueName(Kind kind)
{
    switch (kind)
    {
    case Kind::kNumber: return "N";
    case Kind::kNode: return "NODE";
    case Kind::kElement: return "ELEMENT";
    case Kind::kNodeType:
    case Kind::kValueType: return "TYPE";
    case Kind::kValue: return "VALUE";
    case Kind::kModule: return "MODULE";
    case Kind::kFile: return "FILE";
    case Kind::kOnOff: return "on|off";
    default: return "TEXT";
    }
}

void declareParameter(CLI::App& app, const Parameter& parameter)
{
    if (parameter.kind == Kind::kFlag)
    {
        app.add_flag(parameter.name, parameter.help);
        return;
    }
    CLI::Option& option = *app.add_option(parameter.name)->description(parameter.help);
    option.expected(1)->type_name(parameter.isOption() ? valueName(parameter.kind) : "");
    if (parameter.isOption())
        return;
    option.required(parameter.need == Need::kRequired || parameter.need == Need::kRest);
    if (parameter.need == Need::kRepeated)
        option.expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args()->required();
    if (parameter.kind == Kind::kOnOff)
        option.check(CLI::IsMember({"on", "off"}).description(""));
}

/// A command's arguments as the parser of the program's own takes them.
struct Declared
{
    explicit Declared(const ShellEntry& entry) : app(entry.summary, entry.name)
    {
        app.allow_windows_style_options(false); // names and paths may begin with a slash
        for (const Parameter& parameter : entry.parameters)
            declareParameter(app, parameter);
    }

    CLI::App app;
};

const Parameter* findOption(const ShellEntry& entry, std::string_view word)
{
    const std::string_view name = word.substr(0, word.find('='));
    const auto found = std::find_if(entry.parameters.begin(), entry.parameters.end(),
                                    [&](const Parameter& p) { return p.isOption() && p.isNamed(name); });
    return found != entry.parameters.end() ? &*found : nullptr;
}

bool isNegativeNumber(std::string_view word)
{
    return word.size() > 1 && word[0] == '-' &&
           (std::string_view("0123456789.").find(word[1]) != word.npos || word == "-Infinity");
}

/// Where in the words of a command what may look like options without being one begins.
struct ArgumentEnds
{
    std::size_t options; ///< options end here: at "--", a negative number, and where the rest of the line begins
    std::size_t rest;    ///< the first word of the rest of the line, for a command that takes it as one argument
};

ArgumentEnds findEnds(const ShellEntry& entry, const std::vector<std::string>& words)
{
    const bool takesRest = !entry.parameters.empty() && entry.parameters.back().takesRest();
    std::size_t missing = 0; // arguments
    for (const Parameter& parameter : entry.parameters)
        missing += parameter.isOption() ? 0u : 1u;
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        const std::string& word = words[i];
        if (const Parameter* const option = findOption(entry, word))
            i += option->kind != Kind::kFlag && word.find('=') == std::string::npos ? 1u : 0u;
        else if (word == "--")
            return {i, takesRest ? i + missing : words.size()};
        else if (isNegativeNumber(word) || (!word.starts_with('-') && takesRest && missing == 1))
            return {i, takesRest ? i + missing - 1 : words.size()};
        else if (!word.starts_with('-') && missing > 0)
            --missing;
    }
    return {words.size(), words.size()};
}

/// The words as the parser takes them.
std::vector<std::string> prepared(const ShellEntry& entry, std::vector<std::string> words)
{
    const ArgumentEnds ends = findEnds(entry, words);
    if (ends.rest < words.size())
    {
        for (std::size_t i = ends.rest + 1; i < words.size(); ++i)
            words[ends.rest] += ' ' + words[i];
        words.resize(ends.rest + 1);
    }
    if (ends.options < words.size() && words[ends.options] != "--")
        words.insert(words.begin() + static_cast<std::ptrdiff_t>(ends.options), "--");
    return words;
}

} // namespace

// --- Parameter ---

bool Parameter::isNamed(std::string_view option) const
{
    std::string_view names = name;
    while (!names.empty())
    {
        const std::size_t end = std::min(names.find(','), names.size());
        if (names.substr(0, end) == option)
            return true;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

std::string_view Parameter::key() const
{
    const std::string_view names = name;
    const std::size_t comma = names.rfind(',');
    return comma == std::string_view::npos ? names : names.substr(comma + 1);
}

// --- Arguments ---

const std::vector<std::string>& Arguments::all(std::string_view name) const
{
    static const std::vector<std::string> kNone;
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : kNone;
}

std::string Arguments::text(std::string_view name, std::string_view none) const
{
    const std::vector<std::string>& values = all(name);
    return values.empty() ? std::string(none) : values.front();
}

unsigned int Arguments::number(std::string_view name, unsigned int none) const
{
    if (!has(name))
        return none;
    const std::string value = text(name);
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size())
        throw Failure(std::string(name) + ": '" + value + "' is no whole number from 0 to 4294967295");
    return number;
}

// --- The table ---

std::span<const ShellEntry> shellTable()
{
    static const std::vector<ShellEntry> kTable = makeTable();
    return kTable;
}

const ShellEntry* findShellCommand(std::string_view name)
{
    for (const ShellEntry& entry : shellTable())
        if (name == entry.name)
            return &entry;
    return nullptr;
}

Arguments parseArguments(const ShellEntry& entry, std::vector<std::string> words)
{
    Declared declared(entry);
    Arguments arguments;
    try
    {
        words = prepared(entry, std::move(words));
        std::reverse(words.begin(), words.end()); // as the parser takes them
        declared.app.parse(std::move(words));
    }
    catch (const CLI::CallForHelp&)
    {
        arguments.add("--help", {});
        return arguments;
    }
    catch (const CLI::ParseError& error)
    {
        throw Failure(std::string(entry.name) + ": " + error.what() + "; 'help " + entry.name + "' tells more");
    }
    for (const Parameter& parameter : entry.parameters)
        for (const std::string& value : declared.app.get_option(std::string(parameter.key()))->results())
            arguments.add(parameter.key(), value);
    return arguments;
}

std::string helpText(const ShellEntry& entry)
{
    Declared declared(entry);
    declared.app.get_formatter()->column_width(28);
    return declared.app.help();
}

} // namespace kqdb
