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

    /// Makes the module, registers it with its migrators (db2::registerModule()), and its node types in @p registry.
    /// @return false when something was refused.
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
    /// Throws std::runtime_error when a module cannot be registered.
    Library(KQutils::BasicLogger* logger, const wchar_t* productVersion, std::vector<ModuleDefinition*> modules);
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library(); ///< ends the library

    [[nodiscard]] db2::NodeRegistry& registry() { return *registry_; }
    [[nodiscard]] const std::vector<ModuleDefinition*>& modules() const { return modules_; }

    /// Registers one more module: nodes of it that stand in documents as unknown ones can be converted then.
    bool add(ModuleDefinition& module);

private:
    std::vector<ModuleDefinition*> modules_;
    std::unique_ptr<db2::NodeRegistry> registry_;
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
    std::wstring errors; ///< the errors and warnings that the load logged, a line each

    /// Whether the document is there, migrated or not.
    [[nodiscard]] bool isLoaded() const
    {
        return status == db2::Status::kSuccess || status == db2::Status::kLoadedWithMigration ||
               status == db2::Status::kLoadedWithUnhandledLegacyData;
    }
};

/// An open document behind the chain of layers that docs/layers recommends: call logging, undo, computed attributes, change
/// reporting, watching, core. Opens and saves files in the JSON format; a load that fails is rolled back.
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
    };

    /// @param library  alive for as long as the session. Several sessions may stand on one.
    Session(Library& library, const Setup& setup);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    // --- The layers ---

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

    /// Empties the document: no nodes, no history, no file.
    void clear();

    /// Replaces the document by the file's. When the load fails the document, its history and its file are what they were.
    /// @param keepLegacyData  what no migrator deals with stays in the tree as legacy data, so that a later version can
    ///                        still migrate it.
    LoadReport open(const std::filesystem::path& file, bool keepLegacyData = false);

    /// Loads the file's nodes under @p parent as one unit of work that can be undone; nothing happens when the load fails.
    LoadReport merge(const std::filesystem::path& file, db2::Node& parent, bool keepLegacyData = false);

    /// Saves all nodes below the root so that the old file survives until the new one is complete, and remembers the file
    /// and that the document is saved.
    /// @return false, logged, when it failed; the old file is what it was then.
    bool saveAs(const std::filesystem::path& file);
    bool save(); ///< to the document's file; false, logged, when it has none

    /// Saves the subtrees alone; the document remembers nothing of it.
    bool saveSubtrees(const std::vector<db2::Node*>& roots, const std::filesystem::path& file);

    [[nodiscard]] const std::filesystem::path& file() const; ///< empty for none
    [[nodiscard]] bool hasUnsavedChanges() const;

    /// Turns unknown nodes of the module, which was registered meanwhile, into nodes of their types; one unit of work.
    LoadReport convertUnknownNodes(const wchar_t* moduleId);

private:
    class Chain;
    LoadReport load(const std::filesystem::path& file, db2::Node& parent, bool keepLegacyData);

    Library& library_;
    std::unique_ptr<Chain> chain_;
    std::filesystem::path file_;
};

} // namespace db2host
