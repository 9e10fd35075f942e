#include "Application.h"
#include "Command.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <system_error>

namespace kqdb {
namespace {

class NewCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        app.add_option("FILE", file_, "The document to make")->required();
        app.add_flag("-f,--force", isForced_, "Replace a file that is there");
        declareHelp(app, "", {"kqdb new scene.json"});
    }

    Exit run(Output&) override
    {
        std::error_code ignored;
        if (!isForced_ && std::filesystem::exists(filePath(file_), ignored))
            throw Failure(file_ + ": the file is there already; --force replaces it");
        Application application;
        Document(application).save(file_, false);
        return Exit::kDone;
    }

private:
    std::string file_;
    bool isForced_ = false;
};

} // namespace

extern const CommandEntry kNewCommand = {"new", "Make an empty document", makeCommand<NewCommand>};

} // namespace kqdb
