#pragma once

#include "NotesModule.h"

#include "Application.h"
#include "Output.h"
#include "shell/ChangeReports.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kqdb {

/// What the demonstration found out, for its page.
struct DemoResult
{
    struct Check
    {
        bool isOk;
        std::string text;
    };

    /// A unit of work of the document.
    struct Unit
    {
        std::string description;
        unsigned int operations;
        std::size_t stateBytes;  ///< of a save of everything behind it
        std::string fingerprint; ///< of those bytes
        std::vector<ChangeReport> reports;
    };

    std::string model; ///< the file's name
    std::vector<Check> checks;
    std::vector<std::string> remarks; ///< of the import
    std::vector<Unit> units;

    [[nodiscard]] bool isOk() const;
};

/// A document's life from a model to a file and back, with everything proved on the way: import, edits through all layers,
/// undo to the last bit, redo, save and load, an unknown module that comes later, data of an older version.
class Demo
{
public:
    /// @param out  receives a line for each check.
    explicit Demo(Output& out) : out_(out), document_(application_) {}

    /// @param model     a file that can be imported, or a document.
    /// @param oldScene  a document of version 1 of the module Scene.
    /// Throws Failure for bad input; what is off in the program itself is a check that failed.
    void run(const std::string& model, const std::string& oldScene);

    [[nodiscard]] const DemoResult& result() const { return result_; }
    [[nodiscard]] const db2::Node& root() const { return document_.root(); } ///< as the edits left it

private:
    class Observed;

    void bringIn(const std::string& model);
    void importModel(const std::string& model);
    void commitUnit(const std::string& description);
    void edit();
    void undoAndRedo();
    void saveAndLoad();
    void convertUnknownNodes();
    void migrate(const std::string& oldScene);
    void check(bool isOk, std::string text);

    Output& out_;
    NotesModule notes_; ///< outlives the library
    Application application_;
    ChangeReports reports_; ///< outlives the document
    Document document_;
    DemoResult result_;
};

} // namespace kqdb
