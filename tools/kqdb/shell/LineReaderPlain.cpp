#include "LineReader.h"

#include <cstdio>
#include <iostream>

/// Lines as the terminal gives them, where there is no line editor.
namespace kqdb {
namespace {

class PlainLineReader : public LineReader
{
public:
    Answer read(const std::string& prompt, std::string& line) override
    {
        std::fputs(prompt.c_str(), stdout);
        std::fflush(stdout);
        if (std::getline(std::cin, line))
            return Answer::kLine;
        std::fputc('\n', stdout);
        std::cin.clear(); // a person may go on after the end of input
        std::clearerr(stdin);
        return Answer::kEnd;
    }
};

} // namespace

std::unique_ptr<LineReader> makeLineReader(Shell&)
{
    return std::make_unique<PlainLineReader>();
}

} // namespace kqdb
