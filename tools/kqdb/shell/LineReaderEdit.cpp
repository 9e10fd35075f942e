#include "LineReader.h"

#include "Completion.h"
#include "Text.h"

#include <histedit.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

/// Lines by libedit.
namespace kqdb {
namespace {

constexpr int kHistoryLines = 1000;
constexpr std::size_t kColumnGap = 2;
constexpr std::size_t kUsualColumns = 80;

std::size_t characters(std::string_view utf8)
{
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// The file of KQDB_HISTORY, which may be empty for none, else one where the system keeps such things.
std::filesystem::path historyFile()
{
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return std::filesystem::path(value != nullptr ? value : "");
    };
    if (std::getenv("KQDB_HISTORY") != nullptr)
        return variable("KQDB_HISTORY");
    if (const std::filesystem::path state = variable("XDG_STATE_HOME"); state.is_absolute())
        return state / "kqdb" / "history";
    const std::filesystem::path home = variable("HOME");
    return home.is_absolute() ? home / ".local" / "state" / "kqdb" / "history" : std::filesystem::path();
}

class EditLineReader : public LineReader
{
public:
    explicit EditLineReader(Shell& shell) : shell_(shell), historyFile_(historyFile())
    {
        // The editor takes keys and measures texts by the locale's encoding; nothing else here asks it.
        if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr)
            std::setlocale(LC_CTYPE, "");
        history_ = history_init();
        editor_ = el_init("kqdb", stdin, stdout, stderr);
        if (history_ == nullptr || editor_ == nullptr)
        {
            close();
            throw std::bad_alloc();
        }
        HistEvent event;
        history(history_, &event, H_SETSIZE, kHistoryLines);
        history(history_, &event, H_SETUNIQUE, 1);
        if (!historyFile_.empty())
            history(history_, &event, H_LOAD, historyFile_.c_str());
        el_set(editor_, EL_CLIENTDATA, this);
        el_set(editor_, EL_PROMPT, &EditLineReader::promptOf);
        el_set(editor_, EL_EDITOR, "emacs");
        el_set(editor_, EL_HIST, history, history_);
        el_set(editor_, EL_ADDFN, "kqdb-complete", "Complete a word", &EditLineReader::onComplete);
        el_set(editor_, EL_BIND, "^I", "kqdb-complete", nullptr);
        // As a key and not as a signal, so that the line is dropped and not the document. While a command runs it is a
        // signal.
        std::signal(SIGINT, SIG_IGN);
        el_set(editor_, EL_SETTY, "-d", "-isig", nullptr);
        el_set(editor_, EL_ADDFN, "kqdb-interrupt", "Drop the line", &EditLineReader::onInterrupt);
        el_set(editor_, EL_BIND, "^C", "kqdb-interrupt", nullptr);
        el_set(editor_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_source(editor_, nullptr); // the user's own keys, ~/.editrc
    }

    ~EditLineReader() override
    {
        saveHistory();
        close();
    }

    Answer read(const std::string& prompt, std::string& line) override
    {
        prompt_ = prompt;
        isInterrupted_ = false;
        // Else the editor takes the terminal after the prompt, and the terminal makes its own of a key in between: of
        // Ctrl-D, for example, no end but a null.
        el_set(editor_, EL_PREP_TERM, 1);
        int count = 0;
        const char* const text = el_gets(editor_, &count);
        if (isInterrupted_ || text == nullptr || count <= 0)
        {
            std::fputs(isInterrupted_ ? "^C\n" : "\n", stdout);
            return isInterrupted_ ? Answer::kInterrupted : Answer::kEnd;
        }
        line = text;
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
            line.pop_back();
        HistEvent event;
        if (line.find_first_not_of(" \t") != std::string::npos)
            history(history_, &event, H_ENTER, text);
        return Answer::kLine;
    }

private:
    static EditLineReader& self(EditLine* editor)
    {
        void* data = nullptr;
        el_get(editor, EL_CLIENTDATA, &data);
        return *static_cast<EditLineReader*>(data);
    }

    static char* promptOf(EditLine* editor) { return self(editor).prompt_.data(); }

    static unsigned char onInterrupt(EditLine* editor, int)
    {
        self(editor).isInterrupted_ = true;
        return CC_EOF;
    }

    static unsigned char onComplete(EditLine* editor, int)
    {
        try
        {
            return self(editor).completeWord();
        }
        catch (...) // which must not pass through the editor; without memory there is no completion
        {
            return CC_REFRESH_BEEP;
        }
    }

    unsigned char completeWord()
    {
        const LineInfo& line = *el_line(editor_);
        const std::string_view text(line.buffer, static_cast<std::size_t>(line.cursor - line.buffer));
        const Completion completion = complete(shell_, text);
        if (completion.count == 0)
            return CC_REFRESH_BEEP;
        const std::string typed(text.substr(text.size() - completion.replacedBytes));
        if (completion.replacement != typed)
        {
            el_deletestr(editor_, static_cast<int>(characters(typed)));
            el_insertstr(editor_, completion.replacement.c_str());
            return CC_REFRESH;
        }
        if (completion.count == 1)
            return CC_REFRESH_BEEP;
        printCandidates(completion);
        return CC_REDISPLAY;
    }

    /// In columns, as many as fit.
    void printCandidates(const Completion& completion)
    {
        std::size_t widest = 1;
        for (const std::string& candidate : completion.candidates)
            widest = std::max(widest, characters(candidate));
        const std::size_t columns = std::max<std::size_t>(1, terminalColumns() / (widest + kColumnGap));
        const std::size_t rows = (completion.candidates.size() + columns - 1) / columns;
        std::string text = "\n";
        for (std::size_t row = 0; row < rows; ++row)
        {
            for (std::size_t i = row; i < completion.candidates.size(); i += rows)
                (text += completion.candidates[i])
                    .append(widest + kColumnGap - characters(completion.candidates[i]), ' ');
            text.erase(text.find_last_not_of(' ') + 1);
            text += '\n';
        }
        if (completion.count > completion.candidates.size())
            text += "and " + grouped(completion.count - completion.candidates.size()) + " more\n";
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    }

    std::size_t terminalColumns()
    {
        int columns = 0;
        char* const end = nullptr;
        if (el_get(editor_, EL_GETTC, "co", &columns, end) != 0 || columns <= 0)
            return kUsualColumns;
        return static_cast<std::size_t>(columns);
    }

    void saveHistory()
    {
        if (historyFile_.empty())
            return;
        std::error_code error;
        std::filesystem::create_directories(historyFile_.parent_path(), error);
        HistEvent event;
        history(history_, &event, H_SAVE, historyFile_.c_str());
    }

    void close()
    {
        if (editor_ != nullptr)
            el_end(editor_);
        if (history_ != nullptr)
            history_end(history_);
    }

    Shell& shell_;
    std::filesystem::path historyFile_;
    std::string prompt_;
    bool isInterrupted_ = false;
    History* history_ = nullptr;
    EditLine* editor_ = nullptr;
};

} // namespace

std::unique_ptr<LineReader> makeLineReader(Shell& shell)
{
    return std::make_unique<EditLineReader>(shell);
}

} // namespace kqdb
