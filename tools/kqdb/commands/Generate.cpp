#include "Command.h"
#include "CommandLineText.h"

#include <CLI/CLI.hpp>

namespace kqdb {
namespace {

class GenerateCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        program_ = app.get_parent();
        app.add_option("WHAT", what_, "manual (a page in mdoc), bash or zsh (completion for that shell)")
            ->required()
            ->check(CLI::IsMember({"manual", "bash", "zsh"}));
        declareHelp(app, "Installed copies are in their places already.",
                    {"kqdb generate bash > ~/.local/share/bash-completion/completions/kqdb",
                     "kqdb generate manual | man -l -"});
    }

    Exit run(Output& out) override
    {
        struct Entry
        {
            const char* what;
            std::string (*text)(const CLI::App& program);
        };
        constexpr Entry kTexts[] = {{"manual", manualPage}, {"bash", bashCompletion}, {"zsh", zshCompletion}};
        for (const Entry& entry : kTexts)
            if (what_ == entry.what)
                out << std::string_view(entry.text(*program_));
        return Exit::kDone;
    }

private:
    const CLI::App* program_ = nullptr; ///< outlives the command
    std::string what_;
};

} // namespace

extern const CommandEntry kGenerateCommand = {"generate", "Print the manual page or a shell's completion",
                                              makeCommand<GenerateCommand>};

} // namespace kqdb
