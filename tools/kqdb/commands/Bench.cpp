#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Progress.h"
#include "StatusText.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <db2/AttributeIterators.h>
#include <db2/NodeIterators.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <random>

namespace kqdb {
namespace {

/// A file for what is saved, removed at the end.
class TemporaryFile
{
public:
    TemporaryFile()
    {
        std::random_device device;
        path_ = std::filesystem::temp_directory_path() / ("kqdb-bench-" + std::to_string(device()) + ".json");
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// The steps, each with the times of all rounds.
class Times
{
public:
    template <class Work>
    void measure(const char* step, Work work)
    {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        const auto at = std::find_if(steps_.begin(), steps_.end(), [step](const Step& s) { return s.name == step; });
        (at != steps_.end() ? *at : steps_.emplace_back(Step{step, {}})).seconds.push_back(seconds);
    }

    /// @param visit  called with each step's name, fastest and median time in seconds.
    template <class Visit>
    void forEach(Visit visit) const
    {
        for (Step step : steps_)
        {
            std::sort(step.seconds.begin(), step.seconds.end());
            visit(step.name, step.seconds.front(), step.seconds[step.seconds.size() / 2]);
        }
    }

private:
    struct Step
    {
        std::string_view name;
        std::vector<double> seconds;
    };
    std::vector<Step> steps_;
};

class BenchCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        app.add_option("-r,--rounds", rounds_, "How often to do each step")->check(CLI::Range(1, 1000));
        declareJson(app, json_);
        declareHelp(app,
                    "Times what an application does with the document: load it, walk it, write a value of each node, "
                    "commit, undo, redo, save it (to a temporary file). Prints the fastest and the median time of each "
                    "step; the document stays as it is.",
                    {"kqdb bench scene.json --rounds 5"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Times times;
        {
            Progress progress("measuring " + file_);
            for (int round = 0; round < rounds_; ++round)
            {
                progress.update(static_cast<double>(round) / rounds_);
                runOnce(application, times);
            }
        }
        if (json_)
            printJson(times, out);
        else
            print(times, out);
        return Exit::kDone;
    }

private:
    void runOnce(Application& application, Times& times)
    {
        std::optional<Document> document;
        times.measure("load", [&] { document.emplace(application, file_); });
        times.measure("walk", [&] { nodes_ = walk(*document); });
        times.measure("write a value of each node", [&] { writes_ = writeValues(*document); });
        times.measure("commit", [&] { document->commit(L"Write values"); });
        if (writes_ > 0)
        {
            times.measure("undo", [&] { check(*document, document->session().undo().undo()); });
            times.measure("redo", [&] { check(*document, document->session().undo().redo()); });
        }
        const TemporaryFile file;
        times.measure("save", [&] {
            if (!document->session().saveAs(file.path()))
                throw Failure(errorText(application.log(), fileName(file.path())));
        });
    }

    static void check(const Document& document, db2::Status status)
    {
        if (status != db2::Status::kSuccess)
            document.fail(describe(status));
    }

    static std::uint64_t walk(Document& document)
    {
        std::uint64_t count = 0;
        for (db2::ConstNodeIterator nodes(&document.root()); nodes.next();)
            ++count;
        return count;
    }

    /// Writes the first value of each node that can be written, as it is.
    static std::uint64_t writeValues(Document& document)
    {
        std::uint64_t writes = 0;
        db2::DataInterface& data = document.session().data();
        for (db2::NodeIterator nodes(&document.root()); nodes.next();)
            for (db2::AttributeIterator attributes(nodes.node()); attributes.next();)
            {
                db2::Attribute& attribute = *attributes.attr();
                const bool isPlain = db2::ValueInfo::isPODType(attribute.getTypeId()) && !attribute.isComputed();
                db2::ValueHandle value;
                if (!isPlain || data.db_lockAttribute(&attribute, &value) != db2::Status::kSuccess)
                    continue;
                check(document, data.db_unlockAttribute(&attribute));
                ++writes;
                break;
            }
        return writes;
    }

    static std::string milliseconds(double seconds)
    {
        const auto thousandths = static_cast<std::uint64_t>(seconds * 1e6 + 0.5);
        std::string fraction = std::to_string(thousandths % 1000);
        fraction.insert(0, 3 - fraction.size(), '0');
        return std::to_string(thousandths / 1000) + '.' + fraction + " ms";
    }

    void print(const Times& times, Output& out) const
    {
        out << std::string_view(counted(nodes_, "node")) << ", " << std::string_view(counted(writes_, "value"))
            << " written, " << std::string_view(counted(static_cast<std::uint64_t>(rounds_), "round")) << '\n';
        times.forEach([&out](std::string_view step, double fastest, double median) {
            const std::string first = milliseconds(fastest);
            const std::string second = milliseconds(median);
            out.indent(2) << step;
            out.indent(static_cast<unsigned int>(44 - std::min<std::size_t>(step.size() + first.size(), 43)))
                << std::string_view(first) << " fastest";
            out.indent(static_cast<unsigned int>(15 - std::min<std::size_t>(second.size(), 14)))
                << std::string_view(second) << " median\n";
        });
    }

    void printJson(const Times& times, Output& out) const
    {
        JsonOutput json(out);
        json.beginObject();
        json.key("nodes").number(nodes_);
        json.key("writes").number(writes_);
        json.key("rounds").number(static_cast<std::uint64_t>(rounds_));
        json.key("steps").beginArray();
        times.forEach([&json](std::string_view step, double fastest, double median) {
            json.beginObject();
            json.key("step").string(step);
            json.key("fastestSeconds").number(fastest);
            json.key("medianSeconds").number(median);
            json.endObject();
        });
        json.endArray();
        json.endObject();
        json.end();
    }

    std::string file_;
    int rounds_ = 3;
    bool json_ = false;
    std::uint64_t nodes_ = 0;
    std::uint64_t writes_ = 0;
};

} // namespace

extern const CommandEntry kBenchCommand = {"bench", "Time loading, editing, undoing and saving",
                                           makeCommand<BenchCommand>};

} // namespace kqdb
