#include "../Shell.h"
#include "../ShellCommand.h"

#include "Failure.h"
#include "Text.h"
#include "TreeWalk.h"

#include <string_view>

/// Commands about the document as a whole, about what is watched and shown, and about the shell itself.
namespace kqdb {
namespace {

constexpr char kDocument[] = "The document";
constexpr char kWatching[] = "Watching";
constexpr char kShell[] = "The shell";

// --- The document ---

void open(Shell& shell, const Arguments& arguments)
{
    shell.confirmLoss();
    shell.open(arguments.text("FILE"));
}

void save(Shell& shell, const Arguments& arguments)
{
    shell.save(arguments.text("FILE"), arguments.has("--allow-loss"));
}

void clear(Shell& shell, const Arguments&)
{
    shell.clear();
}

Output& label(Shell& shell, std::string_view text)
{
    shell.out().styled(Style::kFaint, text);
    return shell.out().indent(static_cast<unsigned int>(12 - text.size()));
}

std::string_view onOrOff(bool on)
{
    return on ? "on" : "off";
}

void printStatus(Shell& shell, const Arguments&)
{
    const db2host::Session& session = shell.session();
    const db2::CoreManager::Statistics& counts = session.core().getStatistics();
    label(shell, "file") << (shell.file().empty() ? std::string_view("none") : std::string_view(shell.file())) << '\n';
    label(shell, "nodes") << std::string_view(grouped(counts.nodes - 1)) << '\n';
    label(shell, "changes") << (shell.hasUnsavedChanges() ? std::string_view("not saved") : std::string_view("none"))
                            << (shell.hasOpenEdits() ? ", some of them not committed\n" : "\n");
    label(shell, "undo") << std::string_view(counted(shell.session().undo().getUndoStackSize(), "unit")) << '\n';
    label(shell, "redo") << std::string_view(counted(shell.session().undo().getRedoStackSize(), "unit")) << '\n';
    label(shell, "marks") << std::uint64_t{shell.markCount()} << '\n';
    label(shell, "watches") << std::uint64_t{shell.watchedNodes().size()} << '\n';
    label(shell, "observe") << onOrOff(shell.isObserving()) << '\n';
    label(shell, "log") << onOrOff(session.isCallLoggingOn()) << '\n';
}

// --- Watching ---

void watch(Shell& shell, const Arguments& arguments)
{
    shell.watch(arguments.text("NODE"));
}

void unwatch(Shell& shell, const Arguments& arguments)
{
    shell.unwatch(arguments.text("NODE"));
}

void printWatches(Shell& shell, const Arguments& arguments)
{
    db2::WatchManager& watches = shell.session().watches();
    for (db2::Node* const node : shell.watchedNodes())
    {
        const bool hasChanged = watches.hasWatchedNodeChanged(node);
        shell.out().styled(hasChanged ? Style::kWarning : Style::kFaint, hasChanged ? "changed    " : "unchanged  ");
        shell.out().styled(Style::kName, pathOf(*node)) << '\n';
        if (arguments.has("--reset"))
            (void)watches.resetWatch(node);
    }
}

void observe(Shell& shell, const Arguments& arguments)
{
    if (arguments.has("STATE"))
        shell.observe(arguments.text("STATE") == "on");
    else
        shell.out() << onOrOff(shell.isObserving()) << '\n';
}

void logCalls(Shell& shell, const Arguments& arguments)
{
    if (arguments.has("STATE"))
        shell.logCalls(arguments.text("STATE") == "on");
    else
        shell.out() << onOrOff(shell.session().isCallLoggingOn()) << '\n';
}

// --- The shell ---

void printHelp(Shell& shell, const Arguments& arguments)
{
    if (arguments.has("COMMAND"))
    {
        const ShellEntry* const entry = findShellCommand(arguments.text("COMMAND"));
        if (entry == nullptr)
            throw Failure(arguments.text("COMMAND") + ": there is no such command; 'help' lists them");
        shell.out() << std::string_view(helpText(*entry));
        return;
    }
    std::string_view group;
    for (const ShellEntry& entry : shellTable())
    {
        if (group != entry.group)
            shell.out().styled(Style::kFaint, std::string(group.empty() ? "" : "\n") + entry.group + ":") << '\n';
        group = entry.group;
        const std::string_view name = entry.name;
        (shell.out() << "  ").styled(Style::kName, name).indent(static_cast<unsigned int>(18 - name.size()));
        shell.out() << std::string_view(entry.summary) << '\n';
    }
    shell.out() << "\nA path names a node, |robot|arm, or an attribute, |robot|arm.translation or |robot:points[3].\n"
                   "Words with blanks, quotes or backslashes stand in quotes: '|left\\ arm'. # begins a comment.\n"
                   "'help COMMAND' tells more about a command.\n";
}

void quit(Shell& shell, const Arguments&)
{
    shell.quit();
}

const Parameter kState{"STATE", Kind::kOnOff, "on or off; without it, says which", Need::kOptional};
const Parameter kNode{"NODE", Kind::kNode, "The node"};

} // namespace

void addDocumentCommands(std::vector<ShellEntry>& table)
{
    table.push_back({kWatching, "watch", "Note whether a node or something below it changes", {kNode}, watch});
    table.push_back({kWatching, "unwatch", "End a watch", {kNode}, unwatch});
    table.push_back({kWatching,
                     "watches",
                     "List the watched nodes, and whether they changed",
                     {{"--reset", Kind::kFlag, "Then note anew"}},
                     printWatches});
    table.push_back({kWatching, "observe", "Print the change report of each commit", {kState}, observe});
    table.push_back({kWatching, "log", "Print each call of an edit", {kState}, logCalls});
    table.push_back(
        {kDocument, "open", "Replace the document by a file's", {{"FILE", Kind::kFile, "A document"}}, open});
    table.push_back({kDocument,
                     "save",
                     "Save the document; commits first what is not committed",
                     {{"FILE", Kind::kFile, "The document's own if not given", Need::kOptional},
                      {"--allow-loss", Kind::kFlag, "Even if something in the file could not be loaded"}},
                     save});
    table.push_back({kDocument, "clear", "Destroy all nodes and the history; cannot be undone", {}, clear});
    table.push_back({kDocument, "status", "Say what state the document and the shell are in", {}, printStatus});
    table.push_back({kShell,
                     "help",
                     "List the commands, or explain one",
                     {{"COMMAND", Kind::kCommand, "A command", Need::kOptional}},
                     printHelp});
    table.push_back({kShell, "quit", "Leave the shell; also at the end of input", {}, quit});
}

} // namespace kqdb
