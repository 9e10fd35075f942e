#include "Demo.h"
#include "Page.h"

#include "Command.h"
#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <db2/OutputStream.h>

#include <algorithm>

namespace kqdb {
namespace {

/// The command "kqdb demo".
class DemoProgram : public Command
{
public:
    void declare(CLI::App& app) override
    {
        app.add_option("MODEL", model_, "A model of any format that can be imported, or a document, FILE.json")
            ->capture_default_str();
        app.add_option("--old", old_, "A document of version 1 of the module Scene")
            ->type_name("FILE")
            ->capture_default_str();
        app.add_option("-o,--output", page_, "The page to write")->type_name("FILE")->capture_default_str();
        declareHelp(
            app,
            "Brings a model into a document, edits it through all layers, undoes and redoes everything, saves and "
            "loads, converts unknown nodes, migrates older data, and checks each step. Then it writes a page to "
            "look at. What it needs if nothing is given is in the project's folder. Exit code 1 when a check "
            "failed.",
            {"kqdb demo", "kqdb demo car.fbx -o car.html"});
    }

    Exit run(Output& out) override
    {
        Demo demo(out);
        demo.run(model_, old_);
        writePage(demoPage(demo.result(), demo.root()));
        const auto failed = std::count_if(demo.result().checks.begin(), demo.result().checks.end(),
                                          [](const DemoResult::Check& check) { return !check.isOk; });
        out << std::string_view(counted(demo.result().checks.size(), "check")) << ", "
            << static_cast<std::uint64_t>(failed) << " failed; the page is " << std::string_view(page_) << '\n';
        return failed == 0 ? Exit::kDone : Exit::kNo;
    }

private:
    void writePage(const std::string& page) const
    {
        db2::AtomicFileOutputStream stream(outputFile(page_).wstring().c_str(), db2::FileOpenMode::kBinary,
                                           db2::OutputStreamEncoding::kUtf8);
        if (!stream.isOK() || !stream.write(page.data(), static_cast<unsigned int>(page.size())) || !stream.commit())
            throw Failure(page_ + ": the page cannot be written");
    }

    std::string model_ = "examples/data/desk_lamp.gltf";
    std::string old_ = "examples/data/scene_v1.json";
    std::string page_ = "demo.html";
};

} // namespace

extern const CommandEntry kDemoCommand = {"demo", "Show what the database does, on a model of yours",
                                          makeCommand<DemoProgram>};

} // namespace kqdb
