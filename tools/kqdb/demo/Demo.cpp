#include "Demo.h"

#include "DemoEdits.h"
#include "DocumentState.h"
#include "TemporaryFile.h"

#include "Failure.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#if defined(KQDB_HAS_IMPORT)
#include <db2import/ModelImport.h>
#endif

#include <algorithm>
#include <fstream>
#include <memory>

namespace kqdb {
namespace {

std::string fileNameOf(const std::string& path)
{
    return fileName(filePath(path).filename());
}

bool isDocument(const std::string& path)
{
    return filePath(path).extension() == ".json";
}

std::string bytesOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace

bool DemoResult::isOk() const
{
    return std::all_of(checks.begin(), checks.end(), [](const Check& check) { return check.isOk; });
}

void Demo::check(bool isOk, std::string text)
{
    out_.styled(isOk ? Style::kAdded : Style::kError, isOk ? "ok      " : "FAILED  ") << std::string_view(text) << '\n';
    out_.flush();
    result_.checks.push_back({isOk, std::move(text)});
}

void Demo::run(const std::string& model, const std::string& oldScene)
{
    document_.session().changes().addObserver(&reports_);
    result_.model = fileNameOf(model);
    bringIn(model);
    edit();
    undoAndRedo();
    saveAndLoad();
    convertUnknownNodes();
    migrate(oldScene);
}

// --- Import and edits ---

/// Ends a unit of work and keeps what is known of it.
void Demo::commitUnit(const std::string& description)
{
    document_.commit(toWide(description).c_str());
    const DocumentState state(document_.session());
    const db2::UndoManager& undo = document_.session().undo();
    result_.units.push_back({description, undo.getNumUndoOperations(undo.getUndoStackSize() - 1), state.byteCount(),
                             state.fingerprint(), reports_.take()});
    for (const ChangeReport& report : result_.units.back().reports)
        print(report, out_);
}

void Demo::bringIn(const std::string& model)
{
    out_.styled(Style::kName, "Import " + result_.model) << '\n';
    if (isDocument(model))
    {
        const db2host::LoadReport report = document_.session().merge(filePath(model), document_.root(), true);
        if (!report.isLoaded())
            throw Failure(model + ": " + (report.errors.empty() ? describe(report.status) : visible(report.errors)));
        const DocumentState state(document_.session());
        result_.units.push_back({"Load " + result_.model, document_.session().undo().getNumUndoOperations(0),
                                 state.byteCount(), state.fingerprint(), reports_.take()});
    }
    else
        importModel(model);
    const db2::CoreManager::Statistics& counts = document_.session().core().getStatistics();
    if (counts.nodes == 1) // the root
        throw Failure(model + ": there is nothing in it");
    check(true, "imported " + counted(counts.nodes - 1, "node") + " with " +
                    counted(counts.elements + counts.dynamicElements, "attribute") + " and " +
                    counted(counts.references, "reference"));
}

#if defined(KQDB_HAS_IMPORT)
void Demo::importModel(const std::string& model)
{
    const db2import::ImportReport report = db2import::importModel(filePath(model), document_.session().data(),
                                                                  document_.session().core(), document_.root());
    if (!report.isImported())
        throw Failure(model + ": " + visible(report.error));
    for (const db2import::ImportRemark& remark : report.remarks)
        result_.remarks.push_back(visible(remark.place.empty() ? remark.text : remark.place + L": " + remark.text));
    for (const std::string& remark : result_.remarks)
        out_ << "  " << std::string_view(remark) << '\n';
    commitUnit("Import " + result_.model);
}
#else
void Demo::importModel(const std::string& model)
{
    throw Failure(model + ": this program was built without the importer of models; it takes a document, FILE.json");
}
#endif

void Demo::edit()
{
    for (const DemoEdit& edit : demoEdits())
    {
        out_.styled(Style::kName, edit.description) << '\n';
        if (edit.run(document_.session()))
            commitUnit(edit.description);
        else
            out_ << "  the model has nothing to do that with\n";
    }
    const db2::UndoManager& undo = document_.session().undo();
    check(undo.getUndoStackSize() == result_.units.size(),
          "edited the document in " + counted(result_.units.size(), "unit") + " of work");
    check(
        std::all_of(result_.units.begin(), result_.units.end(), [](const auto& unit) { return !unit.reports.empty(); }),
        "every unit had its change report");
}

// --- Undo, redo ---

void Demo::undoAndRedo()
{
    out_.styled(Style::kName, "Undo and redo") << '\n';
    db2host::Session& session = document_.session();
    db2::UndoManager& undo = session.undo();
    const DocumentState last(session);
    bool isSame = true;
    bool isDone = true;
    for (std::size_t i = result_.units.size(); i-- > 1;)
    {
        isDone = undo.undo() == db2::Status::kSuccess && undo.lastReplayWasComplete() && isDone;
        const DocumentState state(session);
        isSame = state.fingerprint() == result_.units[i - 1].fingerprint &&
                 state.byteCount() == result_.units[i - 1].stateBytes && isSame;
    }
    const DocumentState first(session); // as it was imported
    check(isDone && isSame, "undo of each unit gave the state before it, by size and sum of its bytes");
    isDone = undo.undo() == db2::Status::kSuccess && undo.lastReplayWasComplete();
    Document empty(application_);
    check(isDone && DocumentState(session) == DocumentState(empty.session()) && !undo.canUndo(),
          "undo of everything gave the first, empty document, to the last bit");
    isDone = undo.redo() == db2::Status::kSuccess;
    check(isDone && DocumentState(session) == first, "redo of the import gave the imported document, to the last bit");
    while (undo.canRedo() && isDone)
        isDone = undo.redo() == db2::Status::kSuccess && undo.lastReplayWasComplete();
    check(isDone && DocumentState(session) == last, "redo of everything gave the last state, to the last bit");
    (void)reports_.take();
}

// --- Files ---

void Demo::saveAndLoad()
{
    out_.styled(Style::kName, "Save and load") << '\n';
    const TemporaryFile file("kqdb-demo.json");
    const TemporaryFile again("kqdb-demo-again.json");
    document_.save(fileName(file.path()), false);
    Document loaded(application_, fileName(file.path()));
    check(DocumentState(loaded.session()) == DocumentState(document_.session()),
          "the file, loaded, is the document that was saved, to the last bit");
    loaded.save(fileName(again.path()), false);
    const std::string bytes = bytesOf(file.path());
    check(!bytes.empty() && bytes == bytesOf(again.path()),
          "saved again it is the same file, " + counted(bytes.size(), "byte"));
}

void Demo::convertUnknownNodes()
{
    out_.styled(Style::kName, "A module that comes later") << '\n';
    const TemporaryFile file("kqdb-demo-notes.json");
    std::ofstream(file.path(), std::ios::binary) << NotesModule::kDocument;
    Document document(application_, fileName(file.path()));
    const db2::Node& root = document.root();
    const auto unknownCount = [&] { return document.session().core().getStatistics().unknownNodes; };
    check(unknownCount() == 2, "a document with nodes of an unknown module was loaded; they are kept");
    check(application_.library().add(notes_), "the module is registered now");
    const db2host::LoadReport report = document.session().convertUnknownNodes(NotesModule::kId);
    check(report.isLoaded() && unknownCount() == 0, "its nodes were converted");
    const db2::Node* const shelf = root.findChildByName(L"shelf");
    const db2::Node* const note = shelf != nullptr ? shelf->findChildByName(L"dust it") : nullptr;
    const db2::Attribute* const text = note != nullptr ? note->findAttributeByName(L"text") : nullptr;
    const db2::Attribute* const priority = note != nullptr ? note->findAttributeByName(L"priority") : nullptr;
    const db2::Attribute* const subject = note != nullptr ? note->findAttributeByName(L"subject") : nullptr;
    check(text != nullptr && text->getValue().asString() == L"Dust it every \u00e4 week." && priority != nullptr &&
              priority->getValue().asInt() == 2 && subject != nullptr && subject->getReference() != nullptr &&
              subject->getReference()->getNode() == shelf,
          "with their values, choices and references");
    check(document.session().undo().undo() == db2::Status::kSuccess && unknownCount() == 2,
          "undo makes them unknown again");
}

void Demo::migrate(const std::string& oldScene)
{
    out_.styled(Style::kName, "Older data: " + fileNameOf(oldScene)) << '\n';
    Document old(application_, oldScene);
    const db2host::LoadReport& report = old.report();
    check(std::any_of(report.migratorsRun.begin(), report.migratorsRun.end(),
                      [](const auto& run) { return run.moduleId == db2host::scene::kModuleId && run.version == 2; }),
          "the migrator to version 2 of Scene ran");
    out_ << "  left over: " << std::string_view(counted(report.unhandledNodes, "node")) << ", "
         << std::string_view(counted(report.unhandledElements, "attribute")) << '\n';
    const TemporaryFile file("kqdb-demo-migrated.json");
    old.save(fileName(file.path()), true);
    Document migrated(application_, fileName(file.path()));
    check(migrated.report().migratorsRun.empty(), "saved, it is of the present version, and nothing more ran");
    check(DocumentState(migrated.session()) == DocumentState(old.session()),
          "what was migrated, and what was left over, is still there");
}

} // namespace kqdb
