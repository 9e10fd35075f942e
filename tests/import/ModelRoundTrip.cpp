// Imports a model into an empty document through a session's whole chain, and checks that nothing of it is lost on any way:
// a save, its load, the save of that, the undo of the import, its redo. A program, so that whoever tries many models can
// give each a process of its own.
//
// model_round_trip MODEL FOLDER
//     FOLDER   for the documents, which stay there
// Prints a line of JSON: {"result": "imported" or "refused", ...}. The exit code is 1, with the reason on stderr, when
// something is lost.

#include <db2host/Scene.h>
#include <db2host/Session.h>
#include <db2import/ModelImport.h>

#include "support/TreeDump.h"

#include <kqx/UTF8.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string utf8(const std::wstring& text)
{
    std::string bytes(kqx::UTF8Length(text.data(), text.size()), '\0');
    kqx::UTF8FromUCS2(text.data(), text.size(), bytes.data());
    return bytes;
}

/// A text in JSON.
std::string quoted(const std::wstring& text)
{
    std::string json = "\"";
    for (const char c : utf8(text))
    {
        if (c == '"' || c == '\\')
            json += '\\';
        json += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return json + "\"";
}

[[noreturn]] void fail(const std::string& what)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

void require(bool condition, const std::string& what)
{
    if (!condition)
        fail(what);
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    require(in.is_open(), "cannot open " + file.string());
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Shows errors and warnings; what the reader itself has to say comes in the report.
class Logger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t* text) override
    {
        if (level == 1 || level == 2)
            std::fprintf(stderr, "%s\n", utf8(text).c_str());
    }
};

class RoundTrip
{
public:
    RoundTrip(db2host::Library& library, std::filesystem::path folder)
        : library_(library), folder_(std::move(folder)), session_(library, setup())
    {
    }

    void run(const std::filesystem::path& model)
    {
        const std::wstring before = db2test::dumpTree(session_.core());
        db2import::ImportOptions options;
        options.secondsLimit = kSeconds;
        const db2import::ImportReport report =
            db2import::importModel(model, session_.data(), session_.core(), session_.root(), options);
        if (!report.isImported())
        {
            session_.undo().rollback(0);
            requireSame(before, "after a refused import");
            std::printf("{\"result\": \"refused\", \"format\": %s, \"error\": %s}\n", quoted(report.format).c_str(),
                        quoted(report.error).c_str());
            return;
        }
        requireCounts(report);
        require(session_.data().db_commit(L"Import", nullptr, 0) == db2::Status::kSuccess, "the commit was refused");
        checkFiles();
        checkUndo(before);
        print(report);
    }

private:
    /// Only what hangs takes so long, on a busy machine and under sanitizers, too.
    static constexpr double kSeconds = 300;

    static db2host::Session::Setup setup()
    {
        db2host::Session::Setup setup;
        setup.rootTypeId = db2host::scene::kScene;
        return setup;
    }

    void requireSame(const std::wstring& expected, const char* when) const
    {
        const testing::AssertionResult same = db2test::isSameDump(expected, db2test::dumpTree(session_.core()));
        require(same, std::string("the tree differs ") + when + ": " + same.message());
    }

    void requireCounts(const db2import::ImportReport& report) const
    {
        const std::uint64_t nodes = session_.core().getStatistics().nodes;
        require(report.counts.nodes + 1 == nodes, "the report counts " + std::to_string(report.counts.nodes) +
                                                      " nodes, and there are " + std::to_string(nodes));
        require(report.counts.dynamicAttributes == session_.core().getStatistics().dynamicElements,
                "the report counts other dynamic attributes than there are");
    }

    std::string save(db2host::Session& session, const char* name) const
    {
        require(session.saveAs(folder_ / name), std::string("cannot save ") + name);
        return contentOf(folder_ / name);
    }

    void checkFiles()
    {
        saved_ = save(session_, "imported.json");
        db2host::Session second(library_, setup());
        const db2host::LoadReport loaded = second.open(folder_ / "imported.json");
        require(loaded.status == db2::Status::kSuccess, "cannot load what was saved: " + utf8(loaded.errors));
        require(save(second, "loaded.json") == saved_, "the save of the loaded document differs");
    }

    void checkUndo(const std::wstring& before)
    {
        const std::wstring after = db2test::dumpTree(session_.core());
        require(session_.undo().undo() == db2::Status::kSuccess && session_.undo().lastReplayWasComplete(),
                "the undo failed");
        require(session_.root().getFirstChild() == nullptr, "the undo leaves nodes");
        requireSame(before, "after the undo");
        require(session_.undo().redo() == db2::Status::kSuccess && session_.undo().lastReplayWasComplete(),
                "the redo failed");
        requireSame(after, "after the redo");
        require(save(session_, "redone.json") == saved_, "the save of the redone document differs");
    }

    void print(const db2import::ImportReport& report) const
    {
        const db2import::ImportCounts& counts = report.counts;
        const auto number = [](const char* name, std::uint64_t count) {
            std::printf(", \"%s\": %llu", name, static_cast<unsigned long long>(count));
        };
        std::printf("{\"result\": \"imported\", \"format\": %s", quoted(report.format).c_str());
        number("nodes", counts.nodes);
        number("meshes", counts.meshes);
        number("vertices", counts.vertices);
        number("materials", counts.materials);
        number("textures", counts.textures);
        number("images", counts.images);
        number("cameras", counts.cameras);
        number("lights", counts.lights);
        number("bones", counts.bones);
        number("morphTargets", counts.morphTargets);
        number("animationClips", counts.animationClips);
        number("dynamicAttributes", counts.dynamicAttributes);
        number("bytes", saved_.size());
        std::printf(", \"remarks\": [");
        const char* separator = "";
        for (const db2import::ImportRemark& remark : report.remarks)
        {
            std::printf("%s[%u, %s, %s]", separator, static_cast<unsigned int>(remark.kind),
                        quoted(remark.place).c_str(), quoted(remark.text).c_str());
            separator = ", ";
        }
        std::printf("]}\n");
    }

    db2host::Library& library_;
    std::filesystem::path folder_;
    db2host::Session session_;
    std::string saved_;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: model_round_trip MODEL FOLDER\n");
        return 2;
    }
    Logger logger;
    db2host::scene::SceneModule module;
    db2host::Library library(&logger, L"Model round trip", {&module});
    RoundTrip(library, argv[2]).run(argv[1]);
    return 0;
}
