#pragma once

#include <db2/db2.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace db2host {

/// What an application contributes to the database: a module with its node types and migrators. A host derives one for
/// each of its modules and hands it to a Library.
class ModuleDefinition
{
public:
    virtual ~ModuleDefinition() = default;

    /// The module's id, as in documents.
    [[nodiscard]] virtual const wchar_t* id() const = 0;

    /// Makes the module, registers it with its migrators (db2::registerModule()), and its node types in @p registry.
    /// @return false when something was refused; nothing is registered then.
    virtual bool registerIn(db2::NodeRegistry& registry) = 0;

    /// Called before a load with the interface that the migrators are to edit through.
    virtual void setDataInterface(db2::DataInterface& data);
};

/// The running library and the application's modules; one at a time in a process, alive for as long as any Session on it.
class Library
{
public:
    /// Starts the library and registers the modules in their order.
    /// @param logger   receives all messages; not owned; null discards them.
    /// @param modules  not owned, and alive for as long as this object.
    /// Throws std::runtime_error when a module cannot be registered, and std::bad_alloc; the library is ended again then.
    Library(KQutils::BasicLogger* logger, const wchar_t* productVersion, std::vector<ModuleDefinition*> modules);
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library(); ///< ends the library; its logger and product version stay, as after db2::termLibrary()

    [[nodiscard]] db2::NodeRegistry& registry() { return *registry_; }
    [[nodiscard]] const std::vector<ModuleDefinition*>& modules() const { return modules_; }

    /// Registers one more module: nodes of it that stand in documents as unknown ones can be converted then.
    /// @return false, changing nothing, when it cannot be registered or memory is out.
    bool add(ModuleDefinition& module);

private:
    std::vector<ModuleDefinition*> modules_;
    std::unique_ptr<db2::NodeRegistry> registry_;
    /// Stood for modules that were added later; documents may still have nodes of them.
    std::vector<std::unique_ptr<db2::Module>> replaced_;
};

/// What a load or a merge did.
struct LoadReport
{
    struct MigratorRun
    {
        std::wstring moduleId;
        unsigned int version;
    };

    db2::Status status = db2::Status::kFailure;
    std::vector<MigratorRun> migratorsRun; ///< in order
    unsigned int unhandledNodes = 0;       ///< of legacy data that no migrator dealt with
    unsigned int unhandledElements = 0;
    unsigned int unhandledConnections = 0;
    std::wstring errors; ///< the errors and warnings that the load logged, a line each, without the library's prefix

    /// Whether the document is there, migrated or not.
    [[nodiscard]] bool isLoaded() const
    {
        return status == db2::Status::kSuccess || status == db2::Status::kLoadedWithMigration ||
               status == db2::Status::kLoadedWithUnhandledLegacyData;
    }
};

/// An open document behind the chain of layers that docs/layers recommends: call logging, undo, computed attributes, change
/// reporting, watching, core. Opens and saves files in the JSON format; a load that fails is rolled back.
/// Only the constructor throws. Everything else answers, also when memory is out, and logs why it failed.
/// Observers of changes are refused when they open, merge, convert or clear; observers of undo and compute functions must
/// not try.
/// Threads: one at a time, as the library.
class Session
{
public:
    struct Setup
    {
        unsigned int rootTypeId = 0;
        int maxUndoItems = db2::UndoManager::kNoLimit;
        bool isCallLoggingOn = false;
        std::vector<db2::DataObserver*> observers;     ///< of change reports; not owned
        std::vector<db2::UndoObserver*> undoObservers; ///< not owned
        std::wstring typeString = L"document";         ///< of new documents' files: what kind of content this is
    };

    /// @param library  alive for as long as the session. Several sessions may stand on one.
    /// Throws std::invalid_argument when the root's type is not registered, and std::bad_alloc.
    Session(Library& library, const Setup& setup);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    // --- The layers: open() makes new ones, so ask anew after it. What was told to a layer itself (observers, watches,
    // the limit of undo) ends with it; the setup goes for each. ---

    /// The outermost layer as it stands now; setCallLogging() changes which one that is, so ask anew.
    [[nodiscard]] db2::DataInterface& data();
    [[nodiscard]] db2::CoreManager& core();
    [[nodiscard]] const db2::CoreManager& core() const;
    [[nodiscard]] db2::UndoManager& undo();
    [[nodiscard]] db2::ComputeManager& computed();
    [[nodiscard]] db2::ChangeManager& changes();
    [[nodiscard]] db2::WatchManager& watches();
    [[nodiscard]] db2::Node& root();
    [[nodiscard]] const db2::Node& root() const;

    void setCallLogging(bool on);
    [[nodiscard]] bool isCallLoggingOn() const;

    // --- The document ---

    /// Empties the document: no nodes, no history, no file. The layers stay.
    /// @return false, changing nothing, while an attribute is locked.
    bool clear();

    /// Replaces the document by the file's, which has no history yet and counts as saved, migrated or not. Observers of
    /// the setup hear that the old nodes are cleared and that the new ones are created. When the load fails the document,
    /// its history and its file are what they were, and nobody hears of anything.
    /// Needs memory for both documents until the new one is complete.
    /// @param keepLegacyData  what no migrator deals with stays in the tree as legacy data, so that a later version can
    ///                        still migrate it.
    /// @param onLostReference  when given, references that cannot be made do not make the load fail: it is told of each,
    ///                        see db2::LoadStrategy::setLostReferenceHandler(). The document is without them then.
    LoadReport open(const std::filesystem::path& file, bool keepLegacyData = false,
                    const db2::LoadStrategy::LostReferenceHandler& onLostReference = {});

    /// Loads the file's nodes under @p parent as one unit of work that can be undone; nothing happens when the load fails.
    /// What was not committed before becomes a unit of its own first. Should memory run out for bringing computed values up
    /// to date at the end, the load stands, the errors say so, and the next commit makes up for it; should it run out even
    /// for taking a failed load back, the errors say so, and what is left of it is not committed.
    LoadReport merge(const std::filesystem::path& file, db2::Node& parent, bool keepLegacyData = false);

    /// Saves all nodes below the root so that the old file survives until the new one is complete, and remembers the file
    /// and that the document is saved.
    /// @return false, logged, when it failed; the old file is what it was then.
    bool saveAs(const std::filesystem::path& file);
    bool save(); ///< to the document's file; false, logged, when it has none

    /// Saves the subtrees alone; the document remembers nothing of it. References that lead out of them are saved as the
    /// values that they show, with a warning.
    /// @return false, logged, when it failed, also for a root that is null, the document's root, or in another's subtree.
    bool saveSubtrees(const std::vector<db2::Node*>& roots, const std::filesystem::path& file);

    [[nodiscard]] const std::filesystem::path& file() const; ///< empty for none
    /// Of what is committed. Unlike UndoManager::hasChangedSinceCheckpoint() it is not deceived by as many other edits as
    /// were undone since the save.
    [[nodiscard]] bool hasUnsavedChanges() const;

    /// Turns unknown nodes of the module, which was registered meanwhile (Library::add()), into nodes of their types; one
    /// unit of work, as merge(). What the types have no place for is left out, with a warning. Runs no migrators, so data
    /// of another version is refused: save it and open it again, which migrates it.
    LoadReport convertUnknownNodes(const wchar_t* moduleId);

private:
    class Chain;
    class Replacement;
    template <class Load>
    LoadReport loadAsUnit(const wchar_t* description, Load load);
    void takeBackOpenUnit();
    bool saveTo(const std::filesystem::path& file, const std::vector<db2::Node*>& roots, unsigned int options);

    Library& library_;
    Setup setup_;
    std::unique_ptr<Chain> chain_;
    std::filesystem::path file_;
    std::wstring typeString_; ///< the document's
};

} // namespace db2host
