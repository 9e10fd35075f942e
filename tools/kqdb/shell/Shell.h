#pragma once

#include "Application.h"
#include "CallLog.h"
#include "ChangeReports.h"
#include "Output.h"

#include <kqx/Anchor.h>

#include <memory>
#include <string>
#include <vector>

namespace kqdb {

/// A document that is edited by one command after the other: what the commands of the shell (shellTable()) work on.
/// Prints to the output what the commands answer, the change reports that are observed, and the calls that are logged.
class Shell
{
public:
    /// @param application, out  outlive the shell.
    /// @param isInteractive     a person sits there, who is warned before changes are lost.
    Shell(Application& application, Output& out, bool isInteractive);
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;
    ~Shell();

    /// Replaces the document by a file's, without history; an empty name stands for a new, empty document. Throws Failure,
    /// keeping the present document.
    void open(const std::string& file);

    /// Runs one command. @param words  as splitWords() gives them; none do nothing.
    /// Throws Failure with what is wrong; what the command has done until then stays.
    void run(std::vector<std::string> words);

    [[nodiscard]] bool isOver() const { return isOver_; } ///< the user asked to quit
    [[nodiscard]] bool hasUnsavedChanges() const;

    // --- For the commands ---

    [[nodiscard]] Output& out() { return out_; }
    [[nodiscard]] Application& application() { return application_; }
    [[nodiscard]] Document& document() { return *document_; }
    [[nodiscard]] const Document& document() const { return *document_; }
    [[nodiscard]] const std::string& file() const { return file_; } ///< as the user named it; empty for none
    [[nodiscard]] db2host::Session& session() { return document_->session(); }
    [[nodiscard]] db2::DataInterface& data() { return session().data(); }

    /// What a path leads to; each throws Failure for one that leads elsewhere. An empty path is the root.
    [[nodiscard]] db2::Node& node(const std::string& path);
    [[nodiscard]] db2::Node* nodeOrNull(const std::string& path); ///< null for an empty path
    [[nodiscard]] db2::Element& element(const std::string& path);
    [[nodiscard]] db2::Attribute& attribute(const std::string& path);

    /// Throws Failure unless the edit succeeded, and notes that there is something to commit.
    void check(db2::Status status);
    void noteEdit() { hasOpenEdits_ = true; }
    [[nodiscard]] bool hasOpenEdits() const { return hasOpenEdits_; } ///< that are not committed

    // --- Units of work ---

    void commit(const std::string& description);
    void commitTransient();
    void undo();
    void redo();
    [[nodiscard]] unsigned int mark(); ///< a rollback point; its number counts from 1 in each unit
    void rollback();                   ///< everything that is not committed
    void rollbackTo(unsigned int mark);
    [[nodiscard]] std::size_t markCount() const { return marks_.size(); }

    // --- The document ---

    void save(const std::string& file, bool allowLoss);
    void clear();

    /// Throws Failure when a person would lose changes and has not said so twice: the same command again goes on.
    void confirmLoss();
    void quit();

    // --- Watching ---

    void watch(const std::string& path);
    void unwatch(const std::string& path);
    [[nodiscard]] std::vector<db2::Node*> watchedNodes(); ///< in the order added
    void observe(bool on);
    [[nodiscard]] bool isObserving() const { return isObserving_; }
    void logCalls(bool on);

private:
    struct Mark
    {
        unsigned int point;
        bool isBeginning; ///< of the unit of work
    };

    void beginUnit();
    void printWhatHappened();
    [[nodiscard]] std::string withoutDocument(std::string message) const;

    Application& application_;
    Output& out_;
    bool isInteractive_;
    bool isOver_ = false;
    ChangeReports reports_;
    bool isObserving_ = false;
    std::unique_ptr<Document> document_; ///< behind the reports, which it may make
    std::string file_;
    CallLog calls_;
    bool hasOpenEdits_ = false;
    bool hasClearedSinceSave_ = false; ///< of which undo knows nothing
    bool wasWarned_ = false;           ///< by the command before this one
    bool warns_ = false;               ///< by this one
    unsigned int beginning_ = 0;       ///< a rollback point
    std::vector<Mark> marks_;
    std::vector<kqx::AnchorHandle<db2::Node>> watched_;
};

} // namespace kqdb
