#include "Shell.h"

#include "Failure.h"
#include "ShellCommand.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <algorithm>
#include <utility>

namespace kqdb {
namespace {

void requireSuccess(db2::Status status)
{
    if (status != db2::Status::kSuccess)
        throw Failure(describe(status));
}

} // namespace

Shell::Shell(Application& application, Output& out, bool isInteractive)
    : application_(application), out_(out), isInteractive_(isInteractive)
{
    open({});
}

Shell::~Shell() = default;

void Shell::open(const std::string& file)
{
    const bool isLogging = document_ != nullptr && session().isCallLoggingOn();
    document_ =
        file.empty() ? std::make_unique<Document>(application_) : std::make_unique<Document>(application_, file);
    file_ = file;
    session().setCallLogging(isLogging);
    if (isObserving_)
        session().changes().addObserver(&reports_);
    watched_.clear();
    hasClearedSinceSave_ = false;
    application_.log().clear();
    beginUnit();
}

void Shell::run(std::vector<std::string> words)
{
    if (words.empty())
        return;
    const std::string name = words.front();
    const ShellEntry* const entry = findShellCommand(name);
    if (entry == nullptr)
        throw Failure(name + ": there is no such command; 'help' lists them");
    words.erase(words.begin());
    const Arguments arguments = parseArguments(*entry, std::move(words));
    if (arguments.has("--help"))
    {
        out_ << std::string_view(helpText(*entry));
        return;
    }
    warns_ = false;
    application_.log().clear();
    try
    {
        entry->run(*this, arguments);
    }
    catch (const Failure& failure)
    {
        wasWarned_ = warns_;
        application_.log().clear(); // what it says, the failure says better
        printWhatHappened();
        throw Failure(withoutDocument(failure.what()));
    }
    wasWarned_ = false;
    printWhatHappened();
}

/// The document's name means nothing in a message of the shell, which has but one document.
std::string Shell::withoutDocument(std::string message) const
{
    const std::string prefix = document_->name() + ": ";
    const bool isAboutPath = prefix.size() > 2 && message.starts_with(prefix) && message.size() > prefix.size() &&
                             std::string_view("|.:").find(message[prefix.size()]) != std::string_view::npos;
    return isAboutPath ? message.substr(prefix.size()) : message;
}

void Shell::printWhatHappened()
{
    for (const std::string& line : calls_.take())
        out_.styled(Style::kFaint, line) << '\n';
    for (const ChangeReport& report : reports_.take())
        print(report, out_);
    for (const MessageLog::Message& message : application_.log().messages())
        out_.styled(Style::kWarning, message.level == MessageLog::kError ? "error: " : "warning: ")
            << std::string_view(message.text) << '\n';
    application_.log().clear();
}

bool Shell::hasUnsavedChanges() const
{
    return hasOpenEdits_ || hasClearedSinceSave_ || document_->session().hasUnsavedChanges();
}

// --- For the commands ---

db2::Node& Shell::node(const std::string& path)
{
    const Target target = resolve(*document_, path);
    if (target.element() != nullptr)
        throw Failure(path + ": is an attribute, not a node");
    return *target.node;
}

db2::Node* Shell::nodeOrNull(const std::string& path)
{
    return path.empty() ? nullptr : &node(path);
}

db2::Element& Shell::element(const std::string& path)
{
    const Target target = resolve(*document_, path);
    if (target.element() == nullptr)
        throw Failure(path + ": is a node, not an attribute");
    return *target.element();
}

db2::Attribute& Shell::attribute(const std::string& path)
{
    db2::Element& found = element(path);
    if (found.isAttributeArray())
        throw Failure(path + ": is an array, not an attribute");
    return static_cast<db2::Attribute&>(found);
}

void Shell::check(db2::Status status)
{
    requireSuccess(status);
    noteEdit();
}

// --- Units of work ---

/// Points end with the unit, so each has one at its beginning, to take back all of it wherever others stand.
void Shell::beginUnit()
{
    hasOpenEdits_ = false;
    marks_.clear();
    beginning_ = session().undo().createRollbackPoint();
}

void Shell::commit(const std::string& description)
{
    requireSuccess(data().db_commit(toWide(description).c_str(), L"kqdb shell", 0));
    beginUnit();
}

void Shell::commitTransient()
{
    requireSuccess(data().db_commitTransient());
}

void Shell::undo()
{
    if (hasOpenEdits_)
        throw Failure("there are edits that are not committed: commit them or roll them back first");
    if (!session().undo().canUndo())
        throw Failure("there is nothing to undo");
    requireSuccess(session().undo().undo());
    beginUnit();
    if (!session().undo().lastReplayWasComplete())
        throw Failure("something could not be taken back");
}

void Shell::redo()
{
    if (hasOpenEdits_)
        throw Failure("there are edits that are not committed: commit them or roll them back first");
    if (!session().undo().canRedo())
        throw Failure("there is nothing to redo");
    requireSuccess(session().undo().redo());
    beginUnit();
    if (!session().undo().lastReplayWasComplete())
        throw Failure("something could not be brought back");
}

unsigned int Shell::mark()
{
    const unsigned int point = session().undo().createRollbackPoint();
    if (point == db2::UndoManager::kNoRollbackPoint)
        throw Failure("memory is out");
    marks_.push_back({point, !hasOpenEdits_});
    return static_cast<unsigned int>(marks_.size());
}

void Shell::rollback()
{
    if (!hasOpenEdits_)
        throw Failure("there is nothing to take back: everything is committed");
    requireSuccess(session().undo().rollback(beginning_));
    beginUnit();
}

void Shell::rollbackTo(unsigned int mark)
{
    if (mark == 0 || mark > marks_.size())
        throw Failure("there is no mark " + std::to_string(mark) + " in this unit of work");
    const Mark target = marks_[mark - 1];
    if (target.isBeginning)
        return rollback();
    requireSuccess(session().undo().rollback(target.point));
    marks_.resize(mark);
}

// --- The document ---

void Shell::save(const std::string& file, bool allowLoss)
{
    const std::string target = file.empty() ? file_ : file;
    if (target.empty())
        throw Failure("the document has no file yet: save FILE");
    if (hasOpenEdits_)
        commit("Save");
    document_->save(target, allowLoss);
    file_ = target;
    hasClearedSinceSave_ = false;
}

void Shell::clear()
{
    check(data().db_clear());
    hasClearedSinceSave_ = true;
    watched_.clear();
    beginUnit();
}

void Shell::confirmLoss()
{
    if (!isInteractive_ || wasWarned_ || !hasUnsavedChanges())
        return;
    warns_ = true;
    throw Failure("there are unsaved changes: 'save' keeps them, the same command again drops them");
}

void Shell::quit()
{
    confirmLoss();
    isOver_ = true;
}

// --- Watching ---

void Shell::watch(const std::string& path)
{
    db2::Node& watched = node(path);
    requireSuccess(session().watches().addWatch(&watched));
    watched_.emplace_back(&watched);
}

void Shell::unwatch(const std::string& path)
{
    db2::Node& watched = node(path);
    requireSuccess(session().watches().removeWatch(&watched));
    (void)watchedNodes();
}

std::vector<db2::Node*> Shell::watchedNodes()
{
    std::erase_if(watched_, [this](const kqx::AnchorHandle<db2::Node>& handle) {
        return !handle || !session().watches().isNodeWatched(handle.get());
    });
    std::vector<db2::Node*> nodes;
    for (const kqx::AnchorHandle<db2::Node>& handle : watched_)
        nodes.push_back(handle.get());
    return nodes;
}

void Shell::observe(bool on)
{
    if (on && !isObserving_)
        session().changes().addObserver(&reports_);
    if (!on && isObserving_)
        session().changes().removeObserver(&reports_);
    isObserving_ = on;
}

void Shell::logCalls(bool on)
{
    session().setCallLogging(on);
}

} // namespace kqdb
