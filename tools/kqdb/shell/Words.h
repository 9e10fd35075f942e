#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Lines of the shell as words, by the rules that people know from sh: blanks separate words; a backslash takes the next
/// character literally; nothing is special between single quotes, and between double quotes only \" \\ and a backslash at
/// the end of a line; # begins a comment where a word could begin. Nothing is expanded.
namespace kqdb {

/// Takes a text apart, which may be several lines joined by line feeds.
/// @return false when it is not complete: a quote is open, or it ends with a backslash.
[[nodiscard]] bool splitWords(std::string_view text, std::vector<std::string>& words);

/// The words of a line that is still being typed, up to the cursor.
struct TypedWords
{
    std::vector<std::string> before; ///< the complete words in front
    std::string current;             ///< what is typed of the word at the cursor, without its quoting; may be empty
    std::size_t begin = 0;           ///< where that word begins in the line, in bytes
    bool isComment = false;          ///< the cursor stands in a comment
};
[[nodiscard]] TypedWords typedWords(std::string_view textToCursor);

/// A word as it must be typed: as it is where that does, else between single quotes.
[[nodiscard]] std::string quotedWord(std::string_view word);

/// The same for the beginning of a word that will go on: a quote that had to be opened stays open.
[[nodiscard]] std::string quotedBeginning(std::string_view beginning);

} // namespace kqdb
