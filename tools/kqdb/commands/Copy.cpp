#include "Application.h"
#include "Command.h"
#include "JsonOutput.h"
#include "OutputFile.h"
#include "SubtreeCopy.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

namespace kqdb {
namespace {

/// Says which references were replaced by values, and what was made.
class CopyReport
{
public:
    explicit CopyReport(std::vector<std::wstring> replaced) : replaced_(std::move(replaced)) {}

    void print(const std::vector<std::wstring>& made, bool isJson, Output& out) const
    {
        if (isJson)
            return printJson(made, out);
        for (const std::wstring& path : made)
            out << std::wstring_view(path) << '\n';
        for (std::size_t i = 0; i < replaced_.size() && i < kShown; ++i)
            out.styled(Style::kWarning, "value instead of reference")
                << ": " << std::wstring_view(replaced_[i]) << '\n';
        if (replaced_.size() > kShown)
            out.styled(Style::kWarning, "and " + grouped(replaced_.size() - kShown) + " more") << '\n';
    }

private:
    static constexpr std::size_t kShown = 10;

    static void writePaths(JsonOutput& json, std::string_view key, const std::vector<std::wstring>& paths)
    {
        json.key(key).beginArray();
        for (const std::wstring& path : paths)
            json.text(path);
        json.endArray();
    }

    void printJson(const std::vector<std::wstring>& made, Output& out) const
    {
        JsonOutput json(out);
        json.beginObject();
        writePaths(json, "nodes", made);
        writePaths(json, "replacedReferences", replaced_);
        json.endObject();
        json.end();
    }

    std::vector<std::wstring> replaced_;
};

class CopyCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        app.add_option("FROM", from_, "The document to copy from")->required();
        declareTexts(app, "PATH", paths_, "The nodes to copy, each with everything below it")->required();
        app.add_option("-t,--to", to_, "The document to copy to; may be the same one")->type_name("FILE")->required();
        app.add_option("-u,--under", under_, "The node to copy them under; the root if not given")->type_name("PATH");
        declareOutput(app, output_);
        declareAllowLoss(app, allowLoss_);
        declareJson(app, json_);
        declareHelp(app,
                    "Prints the paths of the copies, whose names are made unique. References between the copied nodes "
                    "lead to the copies. An attribute whose reference leads elsewhere gets the value that it shows, "
                    "and is named; only the Transforms at the top are connected to the one that they now stand under.",
                    {"kqdb copy library.json '|lamp' --to scene.json --under '|room|table'",
                     "kqdb copy scene.json '|robot' --to scene.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document source(application, from_);
        const std::vector<db2::Node*> roots = resolveSubtrees(source, paths_);
        const CopyReport report(outsideReferences(roots));
        db2::MemoryBlock bytes;
        packSubtrees(source, roots, bytes);

        Document target(application, to_);
        std::vector<std::wstring> made;
        for (const db2::Node* const node : unpackSubtrees(bytes, target, resolveNode(target, under_)))
            made.push_back(pathOf(*node));
        target.commit(L"Copy nodes");
        target.save(output_.empty() ? to_ : output_, allowLoss_);
        report.print(made, json_, out);
        return Exit::kDone;
    }

private:
    std::string from_;
    std::vector<std::string> paths_;
    std::string to_;
    std::string under_;
    std::string output_;
    bool allowLoss_ = false;
    bool json_ = false;
};

class ExtractCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFileAndTexts(app, file_, "PATH", paths_, "The nodes to take, each with everything below it");
        app.add_option("-o,--output", output_, "The document to make of them")->type_name("FILE")->required();
        declareAllowLoss(app, allowLoss_);
        declareJson(app, json_);
        declareHelp(app,
                    "Makes a document of the nodes alone; the first one stays as it is. An attribute whose reference "
                    "leads elsewhere gets the value that it shows, and is named.",
                    {"kqdb extract scene.json '|robot' -o robot.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document source(application, file_);
        if (!allowLoss_ && !source.losses().empty())
            source.fail(source.losses().front() + "; --allow-loss goes on all the same");
        const std::vector<db2::Node*> roots = resolveSubtrees(source, paths_);
        const CopyReport report(outsideReferences(roots));
        application.log().clear();
        if (!source.session().saveSubtrees(roots, outputFile(output_)))
            throw Failure(errorText(application.log(), output_));
        std::vector<std::wstring> made;
        for (const db2::Node* const node : roots)
            made.push_back(pathOf(*node));
        report.print(made, json_, out);
        return Exit::kDone;
    }

private:
    std::string file_;
    std::vector<std::string> paths_;
    std::string output_;
    bool allowLoss_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kCopyCommand = {"copy", "Copy nodes to another document", makeCommand<CopyCommand>};
extern const CommandEntry kExtractCommand = {"extract", "Make a document of some nodes", makeCommand<ExtractCommand>};

} // namespace kqdb
