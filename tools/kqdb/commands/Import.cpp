#include "Application.h"
#include "Command.h"
#include "JsonOutput.h"
#include "Progress.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <db2import/ModelImport.h>

#include <array>
#include <utility>

namespace kqdb {
namespace {

using db2import::ImportCounts;
using db2import::ImportRemark;
using db2import::ImportReport;

struct NamedCount
{
    const char* key;
    const char* noun;
    const char* plural; ///< null for one with an s
    std::uint64_t ImportCounts::*count;
};

constexpr std::array<NamedCount, 15> kCounts = {
    {{"nodes", "node", nullptr, &ImportCounts::nodes},
     {"transforms", "transform", nullptr, &ImportCounts::transforms},
     {"meshes", "mesh", "meshes", &ImportCounts::meshes},
     {"vertices", "vertex", "vertices", &ImportCounts::vertices},
     {"faces", "face", nullptr, &ImportCounts::faces},
     {"materials", "material", nullptr, &ImportCounts::materials},
     {"textures", "texture", nullptr, &ImportCounts::textures},
     {"images", "image", nullptr, &ImportCounts::images},
     {"cameras", "camera", nullptr, &ImportCounts::cameras},
     {"lights", "light", nullptr, &ImportCounts::lights},
     {"bones", "bone", nullptr, &ImportCounts::bones},
     {"morphTargets", "morph target", nullptr, &ImportCounts::morphTargets},
     {"animationClips", "animation clip", nullptr, &ImportCounts::animationClips},
     {"channels", "channel", nullptr, &ImportCounts::channels},
     {"dynamicAttributes", "dynamic attribute", nullptr, &ImportCounts::dynamicAttributes}}};

const char* nameOf(ImportRemark::Kind kind)
{
    switch (kind)
    {
    case ImportRemark::Kind::kNotKept: return "not kept";
    case ImportRemark::Kind::kChanged: return "changed";
    case ImportRemark::Kind::kDoubtful: return "doubtful";
    case ImportRemark::Kind::kReader: break;
    }
    return "warning";
}

class ImportCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareTexts(app, "MODEL", models_, "The models, in any format that Assimp reads")->required();
        app.add_option("-o,--output", output_, "The document to make")->type_name("FILE")->required();
        app.add_option("-i,--into", into_, "Start from this document instead of an empty one")->type_name("FILE");
        app.add_option("-u,--under", under_, "The node to put the models under")->type_name("PATH");
        app.add_flag("-f,--force", isForced_, "Replace an output file that is there");
        app.add_option("--seconds", limits_.secondsLimit, "Give up on a model after so long; 0 never does")
            ->check(CLI::NonNegativeNumber)
            ->type_name("N");
        declareAllowLoss(app, allowLoss_);
        declareJson(app, json_);
        declareHelp(app,
                    "Each model becomes a Folder with everything in it. What could not be kept as it was is listed. "
                    "Either all models are imported or no document is written.",
                    {"kqdb import robot.gltf -o robot.json",
                     "kqdb import chair.obj table.fbx --into room.json --under '|furniture' -o furnished.json"});
    }

    Exit run(Output& out) override
    {
        std::error_code ignored;
        if (!isForced_ && output_ != into_ && std::filesystem::exists(filePath(output_), ignored))
            throw Failure(output_ + ": the file is there already; --force replaces it");
        Application application;
        std::optional<Document> document;
        if (into_.empty())
            document.emplace(application);
        else
            document.emplace(application, into_);
        db2::Node& parent = resolveNode(*document, under_);
        std::vector<std::pair<std::string, ImportReport>> reports;
        for (const std::string& model : models_)
            reports.emplace_back(model, import(*document, model, parent));
        document->commit(L"Import");
        document->save(output_, allowLoss_);
        if (json_)
            printJson(reports, out);
        else
            for (const auto& [model, report] : reports)
                print(model, report, out);
        return Exit::kDone;
    }

private:
    [[nodiscard]] ImportReport import(Document& document, const std::string& model, db2::Node& parent) const
    {
        const std::filesystem::path file = filePath(model);
        Progress progress("importing " + model);
        db2host::Session& session = document.session();
        ImportReport report =
            db2import::importModel(file, session.data(), session.core(), parent, limits_, [&progress](float fraction) {
                progress.update(static_cast<double>(fraction));
                return true;
            });
        if (!report.isImported())
            throw Failure(model + ": " + visible(report.error));
        return report;
    }

    static void print(const std::string& model, const ImportReport& report, Output& out)
    {
        out.styled(Style::kName, model) << " (" << std::wstring_view(report.format) << "):";
        const char* separator = " ";
        for (const NamedCount& entry : kCounts)
            if (report.counts.*entry.count > 0)
            {
                const std::string_view plural = entry.plural != nullptr ? entry.plural : std::string_view();
                out << std::string_view(separator)
                    << std::string_view(counted(report.counts.*entry.count, entry.noun, plural));
                separator = ", ";
            }
        out << '\n';
        for (const ImportRemark& remark : report.remarks)
        {
            out.indent(2).styled(Style::kWarning, nameOf(remark.kind)) << ": ";
            if (!remark.place.empty())
                out << std::wstring_view(remark.place) << ": ";
            out << std::wstring_view(remark.text) << '\n';
        }
    }

    static void printJson(const std::vector<std::pair<std::string, ImportReport>>& reports, Output& out)
    {
        JsonOutput json(out);
        json.beginArray();
        for (const auto& [model, report] : reports)
        {
            json.beginObject();
            json.key("model").string(model);
            json.key("format").text(report.format);
            json.key("path").text(pathOf(*report.model));
            json.key("counts").beginObject();
            for (const NamedCount& entry : kCounts)
                json.key(entry.key).number(report.counts.*entry.count);
            json.endObject();
            json.key("remarks").beginArray();
            for (const ImportRemark& remark : report.remarks)
            {
                json.beginObject();
                json.key("kind").string(nameOf(remark.kind));
                json.key("place").text(remark.place);
                json.key("text").text(remark.text);
                json.endObject();
            }
            json.endArray();
            json.endObject();
        }
        json.endArray();
        json.end();
    }

    std::vector<std::string> models_;
    std::string output_;
    std::string into_;
    std::string under_;
    bool isForced_ = false;
    db2import::ImportOptions limits_;
    bool allowLoss_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kImportCommand = {"import", "Make a document of 3D models", makeCommand<ImportCommand>};

} // namespace kqdb
