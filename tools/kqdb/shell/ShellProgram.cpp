#include "LineReader.h"
#include "Shell.h"
#include "Words.h"

#include "Command.h"
#include "Failure.h"
#include "Platform.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <new>

/// The command "kqdb shell": where the shell's lines come from, and what becomes of errors.
namespace kqdb {
namespace {

/// Lines of a script, joined where a quote or a backslash at the end makes them one command.
class Script
{
public:
    /// @param name  in messages. @param lines  outlives the script.
    Script(std::string name, std::istream& lines) : name_(std::move(name)), lines_(lines) {}

    /// Runs it to its end, to "quit", or to the first error, which the Failure names with its line.
    void run(Shell& shell)
    {
        while (!shell.isOver() && readCommand())
            runCommand(shell);
        if (lines_.bad())
            throw Failure(name_ + ": " + platform::lastErrorText());
    }

private:
    bool readCommand()
    {
        std::string line;
        text_.clear();
        for (begin_ = line_ + 1; std::getline(lines_, line); text_ += '\n')
        {
            if (++line_ == 1 && line.starts_with("\xEF\xBB\xBF"))
                line.erase(0, 3);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (!isUtf8(line) || line.find('\0') != std::string::npos)
                fail(line_, "the line is no UTF-8 text");
            text_ += line;
            if (splitWords(text_, words_))
                return true;
        }
        if (line_ + 1 > begin_)
            fail(begin_, "a quote is not closed, or the last line ends with a backslash");
        return false;
    }

    void runCommand(Shell& shell)
    {
        try
        {
            shell.run(std::move(words_));
        }
        catch (const Failure& failure)
        {
            shell.out().flush();
            fail(begin_, failure.what());
        }
        shell.out().flush();
    }

    [[noreturn]] void fail(std::size_t line, const std::string& why) const
    {
        throw Failure(name_ + ':' + std::to_string(line) + ": " + why);
    }

    std::string name_;
    std::istream& lines_;
    std::size_t line_ = 0;  ///< lines read so far
    std::size_t begin_ = 0; ///< where the command begins
    std::string text_;
    std::vector<std::string> words_;
};

/// A person at a terminal: errors are printed and the shell goes on.
class Conversation
{
public:
    explicit Conversation(Shell& shell) : shell_(shell), lines_(makeLineReader(shell)) {}

    void run()
    {
        shell_.out() << "'help' lists the commands.\n";
        shell_.out().flush();
        while (!shell_.isOver())
            step();
    }

private:
    void step()
    {
        std::vector<std::string> words;
        switch (readCommand(words))
        {
        case LineReader::Answer::kEnd: words = {"quit"}; break;
        case LineReader::Answer::kInterrupted: return;
        case LineReader::Answer::kLine: break;
        }
        try
        {
            shell_.run(std::move(words));
        }
        catch (const Failure& failure)
        {
            printError(failure.what());
        }
        catch (const std::bad_alloc&)
        {
            printError("memory is out");
        }
        shell_.out().flush();
    }

    LineReader::Answer readCommand(std::vector<std::string>& words)
    {
        std::string text;
        std::string line;
        LineReader::Answer answer = lines_->read(prompt(), line);
        while (answer == LineReader::Answer::kLine && !splitWords(text += line, words))
        {
            text += '\n';
            answer = lines_->read("> ", line);
        }
        return answer;
    }

    [[nodiscard]] std::string prompt() const
    {
        const std::string name = shell_.file().empty() ? "new" : fileName(filePath(shell_.file()).filename());
        return name + (shell_.hasUnsavedChanges() ? "*> " : "> ");
    }

    void printError(const std::string& message)
    {
        shell_.out().flush();
        Output errors(stderr, ColourMode::kAuto);
        errors.styled(Style::kError, "error:") << ' ' << std::string_view(message) << '\n';
        errors.flush();
    }

    Shell& shell_;
    std::unique_ptr<LineReader> lines_;
};

class ShellProgram : public Command
{
public:
    void declare(CLI::App& app) override
    {
        app.add_option("FILE", file_, "The document; a new one if not given");
        auto* const script = app.add_option("-s,--script", script_, "Run the commands in this file")->type_name("FILE");
        declareTexts(app, "-c,--command", commands_, "Run this command; may be given again")
            ->type_name("TEXT")
            ->allow_extra_args(false)
            ->excludes(script);
        declareHelp(
            app,
            "At a terminal it asks for commands; else it runs those that it reads, up to the first error, which it "
            "reports as FILE:LINE. The command 'help' lists all of them.",
            {"kqdb shell scene.json", "kqdb shell scene.json --script edits.txt",
             "kqdb shell scene.json -c 'rename |lamp spot' -c save"});
    }

    Exit run(Output& out) override
    {
        Application application;
        const bool isInteractive =
            commands_.empty() && script_.empty() && platform::isTerminal(stdin) && out.isTerminal();
        Shell shell(application, out, isInteractive);
        if (!file_.empty())
            shell.open(file_);
        if (isInteractive)
            Conversation(shell).run();
        else if (!commands_.empty())
            runCommands(shell);
        else if (!script_.empty())
            runFile(shell);
        else
            Script("standard input", std::cin).run(shell);
        return Exit::kDone;
    }

private:
    void runCommands(Shell& shell) const
    {
        for (std::size_t i = 0; i < commands_.size() && !shell.isOver(); ++i)
        {
            std::istringstream lines(commands_[i]);
            Script("command " + std::to_string(i + 1), lines).run(shell);
        }
    }

    void runFile(Shell& shell) const
    {
        std::ifstream lines(filePath(script_), std::ios::binary);
        if (!lines)
            throw Failure(script_ + ": " + platform::lastErrorText());
        Script(script_, lines).run(shell);
    }

    std::string file_;
    std::string script_;
    std::vector<std::string> commands_;
};

} // namespace

extern const CommandEntry kShellCommand = {"shell", "Edit a document command by command, with undo",
                                           makeCommand<ShellProgram>};

} // namespace kqdb
