#include "Application.h"
#include "Command.h"
#include "FileHeader.h"
#include "JsonOutput.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <db2/Module.h>

#include <system_error>

namespace kqdb {
namespace {

class InfoCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        declareJson(app, json_);
        declareHelp(app, "", {"kqdb info scene.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        header_ = readFileHeader(filePath(file_));
        std::error_code ignored;
        bytes_ = std::filesystem::file_size(filePath(file_), ignored);
        if (json_)
            printJson(document, out);
        else
            print(document, out);
        return Exit::kDone;
    }

private:
    static Output& label(Output& out, std::string_view text)
    {
        out.styled(Style::kFaint, text);
        return out.indent(static_cast<unsigned int>(14 - text.size()));
    }

    void print(Document& document, Output& out)
    {
        label(out, "file") << std::string_view(file_) << ", " << std::string_view(byteSize(bytes_)) << '\n';
        label(out, "format") << std::string_view(header_.identifier) << ", version "
                             << std::uint64_t{header_.formatVersion} << '\n';
        label(out, "written by") << toWide(header_.application) << '\n';
        label(out, "content") << toWide(header_.contentType) << '\n';
        for (const FileHeader::Module& module : header_.modules)
            printModule(module, out);
        const db2::CoreManager::Statistics& counts = document.session().core().getStatistics();
        label(out, "nodes") << std::string_view(grouped(counts.nodes - 1)); // without the root, which is in no file
        printRemark(out, counts.unknownNodes, "of unknown modules");
        printRemark(out, counts.legacyNodes, "of types that are gone");
        out << '\n';
        label(out, "attributes") << std::string_view(grouped(counts.elements));
        printRemark(out, counts.dynamicElements, "dynamic");
        printRemark(out, counts.legacyElements, "legacy");
        out << '\n';
        label(out, "references") << std::string_view(grouped(counts.references)) << '\n';
    }

    static void printRemark(Output& out, std::uint32_t count, std::string_view what)
    {
        if (count > 0)
            out << ", " << std::string_view(grouped(count)) << ' ' << what;
    }

    static void printModule(const FileHeader::Module& entry, Output& out)
    {
        const db2::Module* const module = db2::lookupModule(toWide(entry.id).c_str());
        label(out, "module").styled(Style::kName, toWide(entry.id)) << ", version " << std::uint64_t{entry.dataVersion};
        if (module == nullptr || module->isUnknown())
            out.styled(Style::kWarning, ", unknown: its nodes are kept as they are");
        else if (module->getDataVersion() != entry.dataVersion)
            out << ", migrated to " << std::uint64_t{module->getDataVersion()} << " when loaded";
        out << '\n';
    }

    void printJson(Document& document, Output& out)
    {
        JsonOutput json(out);
        json.beginObject();
        json.key("file").string(file_);
        json.key("bytes").number(std::uint64_t{bytes_});
        json.key("identifier").string(header_.identifier);
        json.key("formatVersion").number(std::uint64_t{header_.formatVersion});
        json.key("application").string(header_.application);
        json.key("content").string(header_.contentType);
        json.key("modules").beginArray();
        for (const FileHeader::Module& entry : header_.modules)
            writeModule(json, entry);
        json.endArray();
        const db2::CoreManager::Statistics& counts = document.session().core().getStatistics();
        json.key("nodes").number(std::uint64_t{counts.nodes - 1});
        json.key("unknownNodes").number(std::uint64_t{counts.unknownNodes});
        json.key("legacyNodes").number(std::uint64_t{counts.legacyNodes});
        json.key("attributes").number(std::uint64_t{counts.elements});
        json.key("dynamicAttributes").number(std::uint64_t{counts.dynamicElements});
        json.key("legacyAttributes").number(std::uint64_t{counts.legacyElements});
        json.key("references").number(std::uint64_t{counts.references});
        json.endObject();
        json.end();
    }

    static void writeModule(JsonOutput& json, const FileHeader::Module& entry)
    {
        const db2::Module* const module = db2::lookupModule(toWide(entry.id).c_str());
        const bool isKnown = module != nullptr && !module->isUnknown();
        json.beginObject();
        json.key("id").string(entry.id);
        json.key("version").number(std::uint64_t{entry.dataVersion});
        json.key("isKnown").boolean(isKnown);
        if (isKnown)
            json.key("loadedVersion").number(std::uint64_t{module->getDataVersion()});
        json.endObject();
    }

    std::string file_;
    bool json_ = false;
    FileHeader header_;
    std::uintmax_t bytes_ = 0;
};

} // namespace

extern const CommandEntry kInfoCommand = {"info", "Say what is in a document: modules, versions, counts, size",
                                          makeCommand<InfoCommand>};

} // namespace kqdb
