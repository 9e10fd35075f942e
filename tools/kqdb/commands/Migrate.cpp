#include "Application.h"
#include "Command.h"
#include "JsonOutput.h"
#include "Text.h"

#include <CLI/CLI.hpp>

namespace kqdb {
namespace {

class MigrateCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        app.add_flag("--dry-run", isDryRun_, "Say what would happen, and write nothing");
        declareOutput(app, output_);
        declareAllowLoss(app, allowLoss_);
        declareJson(app, json_);
        declareHelp(app,
                    "Brings a document to the versions of this program and says which migrators ran and what no "
                    "migrator dealt with. That stays in the document as legacy data, for a later version to migrate. A "
                    "document that is up to date already stays as it is. Exit code 1 when something was left over.",
                    {"kqdb migrate old.json --dry-run", "kqdb migrate old.json -o new.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        const db2host::LoadReport& report = document.report();
        const bool isLeftOver = report.unhandledNodes + report.unhandledElements + report.unhandledConnections > 0;
        const bool isWritten = !isDryRun_ && (!report.migratorsRun.empty() || !output_.empty());
        if (isWritten)
            document.save(output_.empty() ? file_ : output_, allowLoss_);
        if (json_)
            printJson(document, isWritten, out);
        else
            print(document, isWritten, out);
        return isLeftOver ? Exit::kNo : Exit::kDone;
    }

private:
    void print(const Document& document, bool isWritten, Output& out) const
    {
        const db2host::LoadReport& report = document.report();
        for (const db2host::LoadReport::MigratorRun& run : report.migratorsRun)
            out << "migrated " << std::wstring_view(run.moduleId) << " to version " << std::uint64_t{run.version}
                << '\n';
        if (report.migratorsRun.empty())
            out << std::string_view(file_) << ": is up to date\n";
        printLeftOver(report.unhandledNodes, "node", out);
        printLeftOver(report.unhandledElements, "attribute", out);
        if (report.unhandledConnections > 0)
            out.styled(Style::kWarning, "lost: " + counted(report.unhandledConnections, "reference")) << '\n';
        if (isWritten)
            out << "saved " << std::string_view(output_.empty() ? file_ : output_) << '\n';
        else if (isDryRun_ && !report.migratorsRun.empty())
            out << "nothing was written\n";
    }

    static void printLeftOver(unsigned int count, const char* what, Output& out)
    {
        if (count > 0)
            out.styled(Style::kWarning, "left over: " + counted(count, what)) << '\n';
    }

    void printJson(const Document& document, bool isWritten, Output& out) const
    {
        const db2host::LoadReport& report = document.report();
        JsonOutput json(out);
        json.beginObject();
        json.key("migrators").beginArray();
        for (const db2host::LoadReport::MigratorRun& run : report.migratorsRun)
        {
            json.beginObject();
            json.key("module").text(run.moduleId);
            json.key("version").number(std::uint64_t{run.version});
            json.endObject();
        }
        json.endArray();
        json.key("leftOverNodes").number(std::uint64_t{report.unhandledNodes});
        json.key("leftOverAttributes").number(std::uint64_t{report.unhandledElements});
        json.key("lostReferences").number(std::uint64_t{report.unhandledConnections});
        json.key("isWritten").boolean(isWritten);
        json.endObject();
        json.end();
    }

    std::string file_;
    bool isDryRun_ = false;
    std::string output_;
    bool allowLoss_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kMigrateCommand = {"migrate", "Bring a document to the current versions of its modules",
                                             makeCommand<MigrateCommand>};

} // namespace kqdb
