#include "Words.h"

#include <utility>

namespace kqdb {
namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Reads a text character by character, keeping the word that it is in.
class Splitter
{
public:
    explicit Splitter(std::string_view text) : text_(text) {}

    void run(std::vector<std::string>& words)
    {
        while (at_ < text_.size())
            step(words);
    }

    /// Ends the last word.
    void finish(std::vector<std::string>& words)
    {
        if (inWord_)
            words.push_back(std::move(word_));
        inWord_ = false;
    }

    [[nodiscard]] bool isComplete() const { return quote_ == '\0' && !endsWithBackslash_; }
    [[nodiscard]] bool inWord() const { return inWord_; }
    [[nodiscard]] bool isComment() const { return isComment_; }
    [[nodiscard]] const std::string& word() const { return word_; }
    [[nodiscard]] std::size_t begin() const { return begin_; }

private:
    void step(std::vector<std::string>& words)
    {
        const char c = text_[at_];
        if (isComment_)
            isComment_ = c != '\n';
        else if (quote_ != '\0')
            stepInQuote(c);
        else if (isBlank(c))
            finish(words);
        else if (c == '#' && !inWord_)
            isComment_ = true;
        else
            stepInWord(c);
        ++at_;
    }

    void stepInQuote(char c)
    {
        if (c == quote_)
            quote_ = '\0';
        else if (quote_ == '"' && c == '\\' && at_ + 1 < text_.size() && isSpecialInQuotes(text_[at_ + 1]))
            take(text_[++at_]);
        else
            word_ += c;
    }

    static bool isSpecialInQuotes(char c) { return c == '"' || c == '\\' || c == '\n'; }

    void stepInWord(char c)
    {
        beginWord();
        if (c == '\'' || c == '"')
            quote_ = c;
        else if (c != '\\')
            word_ += c;
        else if (at_ + 1 < text_.size())
            take(text_[++at_]);
        else
            endsWithBackslash_ = true;
    }

    /// A character behind a backslash; a line end there is left out.
    void take(char c)
    {
        if (c != '\n')
            word_ += c;
        else if (word_.empty() && quote_ == '\0')
            inWord_ = false; // nothing but the backslash that joins two lines
    }

    void beginWord()
    {
        if (inWord_)
            return;
        inWord_ = true;
        begin_ = at_;
        word_.clear();
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::string word_;
    std::size_t begin_ = 0;
    char quote_ = '\0'; ///< the open quote, or none
    bool inWord_ = false;
    bool isComment_ = false;
    bool endsWithBackslash_ = false;
};

bool needsQuotes(std::string_view word)
{
    return word.empty() || word.front() == '#' || word.find_first_of(" \t\r\n'\"\\") != std::string_view::npos;
}

} // namespace

bool splitWords(std::string_view text, std::vector<std::string>& words)
{
    words.clear();
    Splitter splitter(text);
    splitter.run(words);
    if (!splitter.isComplete())
        return false;
    splitter.finish(words);
    return true;
}

TypedWords typedWords(std::string_view textToCursor)
{
    TypedWords typed;
    Splitter splitter(textToCursor);
    splitter.run(typed.before);
    typed.isComment = splitter.isComment();
    typed.begin = textToCursor.size();
    if (splitter.inWord())
    {
        typed.current = splitter.word();
        typed.begin = splitter.begin();
    }
    return typed;
}

std::string quotedBeginning(std::string_view beginning)
{
    if (!needsQuotes(beginning))
        return std::string(beginning);
    std::string text = "'";
    for (const char c : beginning)
        if (c == '\'')
            text += "'\\''";
        else
            text += c;
    return text;
}

std::string quotedWord(std::string_view word)
{
    return needsQuotes(word) ? quotedBeginning(word) + '\'' : std::string(word);
}

} // namespace kqdb
