#include <db2host/Session.h>

#include "session/Chain.h"
#include "session/Loading.h"
#include "session/MessageCollector.h"
#include "session/Replacement.h"
#include "session/WidePath.h"

#include <db2json/JsonSaver.h>

#include <new>
#include <utility>

namespace db2host {

using db2::Status;

namespace {

constexpr wchar_t kSourceFile[] = L"Session.cpp";

/// Runs a step that may throw: for want of memory, for a file name that has no wide form, in a compute function of the
/// host's.
/// @return what the step returns; what is default, logged, when it threw.
template <class Step>
auto answerOf(const wchar_t* what, Step step) -> decltype(step())
{
    try
    {
        return step();
    }
    catch (const std::bad_alloc&)
    {
        db2::logError(L"Failed to %s: memory is out.", what);
    }
    catch (const std::filesystem::filesystem_error&)
    {
        db2::logError(L"Failed to %s: the file's name is no valid text.", what);
    }
    catch (...)
    {
        db2::logError(L"Failed to %s: an exception ended it.", what);
    }
    return {};
}

/// Answers as above, with the messages of the time.
template <class Step>
LoadReport reportOf(const wchar_t* what, Step step)
{
    MessageCollector messages;
    LoadReport report = answerOf(what, step);
    report.errors = messages.take();
    return report;
}

} // namespace

Session::Session(Library& library, const Setup& setup)
    : library_(library), setup_(setup), chain_(std::make_unique<Chain>(library.registry(), setup, nullptr)),
      typeString_(setup.typeString)
{
}

Session::~Session() = default;

// --- The layers ---

db2::DataInterface& Session::data()
{
    return chain_->data();
}

db2::CoreManager& Session::core()
{
    return chain_->core;
}

const db2::CoreManager& Session::core() const
{
    return chain_->core;
}

db2::UndoManager& Session::undo()
{
    return chain_->undo;
}

db2::ComputeManager& Session::computed()
{
    return chain_->computed;
}

db2::ChangeManager& Session::changes()
{
    return chain_->changes;
}

db2::WatchManager& Session::watches()
{
    return chain_->watches;
}

db2::Node& Session::root()
{
    return *chain_->core.getRoot();
}

const db2::Node& Session::root() const
{
    return *chain_->core.getRoot();
}

void Session::setCallLogging(bool on)
{
    chain_->isCallLoggingOn = on;
}

bool Session::isCallLoggingOn() const
{
    return chain_->isCallLoggingOn;
}

// --- The document: loading ---

bool Session::clear()
{
    std::wstring typeString;
    const bool isPrepared = answerOf(L"clear the document", [&] {
        typeString = setup_.typeString;
        return true;
    });
    if (!isPrepared || !chain_->acceptsEdits() || data().db_clear() != Status::kSuccess)
        return false;
    chain_->undo.markSaved();
    file_.clear();
    typeString_.swap(typeString);
    return true;
}

LoadReport Session::open(const std::filesystem::path& file, bool keepLegacyData,
                         const db2::LoadStrategy::LostReferenceHandler& onLostReference)
{
    return reportOf(L"open", [&] {
        if (!chain_->acceptsEdits())
            return LoadReport();
        Replacement next(*this, file);
        LoadReport report = next.load({keepLegacyData, onLostReference});
        if (report.isLoaded() && !next.commit())
            report.status = Status::kFailure;
        return report;
    });
}

LoadReport Session::merge(const std::filesystem::path& file, db2::Node& parent, bool keepLegacyData)
{
    return loadAsUnit(L"Merge a file", [&] {
        return loadFile(library_, file, data(), core(), parent, {keepLegacyData, {}}, nullptr);
    });
}

LoadReport Session::convertUnknownNodes(const wchar_t* moduleId)
{
    return loadAsUnit(L"Convert unknown nodes", [&] {
        LoadReport report;
        const std::wstring reason = reasonAgainstConversion(moduleId, root());
        if (reason.empty())
            report.status = db2::dbu_convertUnknownNodesInModuleToKnownNodes(db2::lookupModule(moduleId), &root(),
                                                                             &data(), &core(), 0);
        else
            db2::logError(L"Failed to convert unknown nodes of '%s': %s", moduleId, reason.c_str());
        return report;
    });
}

/// Makes one unit of work of what @p load edits, or takes it back.
template <class Load>
LoadReport Session::loadAsUnit(const wchar_t* description, Load load)
{
    return reportOf(L"load", [&] {
        if (!chain_->acceptsEdits() || data().db_commit(L"Edit", kSourceFile, __LINE__) != Status::kSuccess)
            return LoadReport();
        const unsigned int unitsBefore = undo().getUndoStackSize();
        LoadReport report = answerOf(L"load", load);
        const auto commit = [&] { return data().db_commit(description, kSourceFile, __LINE__) == Status::kSuccess; };
        if (report.isLoaded() && answerOf(L"commit the load", commit))
            return report;
        // A commit that is refused behind undo has closed the unit: it stands, and the next commit makes up for the rest.
        if (report.isLoaded() && undo().getUndoStackSize() > unitsBefore)
            return report;
        report.status = report.isLoaded() ? Status::kFailure : report.status;
        takeBackOpenUnit();
        return report;
    });
}

void Session::takeBackOpenUnit()
{
    const bool wasOpen = undo().rollback(0) == Status::kSuccess;
    if (wasOpen && !undo().lastReplayWasComplete())
        db2::logError(L"The failed load could not be taken back completely.");
}

// --- The document: saving ---

bool Session::saveAs(const std::filesystem::path& file)
{
    return answerOf(L"save", [&] {
        std::filesystem::path saved = file;
        std::vector<db2::Node*> roots;
        for (db2::Node* child = root().getFirstChild(); child != nullptr; child = child->getNextSibling())
            roots.push_back(child);
        if (!saveTo(file, roots, 0))
            return false;
        file_.swap(saved);
        chain_->undo.markSaved();
        return true;
    });
}

bool Session::save()
{
    if (!file_.empty())
        return saveAs(file_);
    db2::logError(L"The document has no file yet.");
    return false;
}

bool Session::saveSubtrees(const std::vector<db2::Node*>& roots, const std::filesystem::path& file)
{
    return answerOf(L"save", [&] { return saveTo(file, roots, db2::JsonSaver::kTolerateOutsideReferences); });
}

bool Session::saveTo(const std::filesystem::path& file, const std::vector<db2::Node*>& roots, unsigned int options)
{
    db2::AtomicFileOutputStream stream(widePath(file).c_str(), db2::FileOpenMode::kBinary,
                                       db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(stream, typeString_.c_str(), options);
    bool isComplete = true;
    for (db2::Node* const node : roots)
        isComplete = saver.addNode(node) == Status::kSuccess && isComplete;
    const Status status = saver.save(); // also when a root was refused: it takes the marks off the others
    if (status == Status::kReferenceNotSaved)
        db2::logWarning(L"References that lead out of what is saved are saved as the values that they show.");
    const bool isSaved = status == Status::kSuccess || status == Status::kReferenceNotSaved;
    return isComplete && isSaved && stream.commit();
}

const std::filesystem::path& Session::file() const
{
    return file_;
}

bool Session::hasUnsavedChanges() const
{
    return !chain_->undo.isSaved();
}

} // namespace db2host
