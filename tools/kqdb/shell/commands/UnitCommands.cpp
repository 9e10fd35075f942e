#include "../Shell.h"
#include "../ShellCommand.h"

#include "Failure.h"
#include "Text.h"

/// Commands that end, undo and redo units of work.
namespace kqdb {
namespace {

constexpr char kGroup[] = "Units of work";

void commitUnit(Shell& shell, const Arguments& arguments)
{
    shell.commit(arguments.text("TEXT", "Edit"));
}

void commitTransientUnit(Shell& shell, const Arguments&)
{
    shell.commitTransient();
}

void undoUnits(Shell& shell, const Arguments& arguments)
{
    for (unsigned int count = arguments.number("COUNT", 1); count > 0; --count)
        shell.undo();
}

void redoUnits(Shell& shell, const Arguments& arguments)
{
    for (unsigned int count = arguments.number("COUNT", 1); count > 0; --count)
        shell.redo();
}

void markPoint(Shell& shell, const Arguments&)
{
    shell.out() << "mark " << std::uint64_t{shell.mark()} << '\n';
}

void rollBack(Shell& shell, const Arguments& arguments)
{
    if (arguments.has("MARK"))
        shell.rollbackTo(arguments.number("MARK", 0));
    else
        shell.rollback();
}

void printItem(Output& out, Style style, std::string_view place, const kqx::String& description,
               unsigned int operations, std::size_t bytes)
{
    out.styled(Style::kFaint, place).indent(static_cast<unsigned int>(10 - place.size()));
    out.styled(style, description.empty() ? std::wstring_view(L"(no text)") : std::wstring_view(description));
    out.styled(Style::kFaint, ", " + counted(operations, "operation") + ", " + byteSize(bytes)) << '\n';
}

void printHistory(Shell& shell, const Arguments&)
{
    const db2::UndoManager& undo = shell.session().undo();
    for (unsigned int i = 0; i < undo.getUndoStackSize(); ++i)
        printItem(shell.out(), Style::kName, "undo " + std::to_string(undo.getUndoStackSize() - i),
                  undo.getUndoDescription(static_cast<int>(i)), undo.getNumUndoOperations(i),
                  undo.getUndoMemoryInUse(i));
    shell.out().styled(Style::kValue, "now") << (shell.hasOpenEdits() ? "       edits that are not committed" : "");
    shell.out() << '\n';
    for (unsigned int i = undo.getRedoStackSize(); i-- > 0;)
        printItem(shell.out(), Style::kPlain, "redo " + std::to_string(undo.getRedoStackSize() - i),
                  undo.getRedoDescription(static_cast<int>(i)), undo.getNumRedoOperations(i),
                  undo.getRedoMemoryInUse(i));
}

const Parameter kCount{"COUNT", Kind::kNumber, "How many units; 1 if not given", Need::kOptional};

} // namespace

void addUnitCommands(std::vector<ShellEntry>& table)
{
    table.push_back({kGroup,
                     "commit",
                     "End the unit of work: computed attributes follow, observers are told, undo can take it back",
                     {{"TEXT", Kind::kText, "What it did, the rest of the line; for the history", Need::kOptionalRest}},
                     commitUnit});
    table.push_back({kGroup,
                     "commit-transient",
                     "Let computed attributes and observers follow, while the unit goes on for undo",
                     {},
                     commitTransientUnit});
    table.push_back({kGroup, "undo", "Take back the newest unit of work", {kCount}, undoUnits});
    table.push_back({kGroup, "redo", "Bring back what was undone last", {kCount}, redoUnits});
    table.push_back({kGroup, "mark", "Remember how far the unit of work is, for a rollback", {}, markPoint});
    table.push_back({kGroup,
                     "rollback",
                     "Take back what is not committed",
                     {{"MARK", Kind::kNumber,
                       "Only what was done since this mark; values that were written before "
                       "it, too, stay as they are",
                       Need::kOptional}},
                     rollBack});
    table.push_back({kGroup, "history", "List what can be undone and redone", {}, printHistory});
}

} // namespace kqdb
