// A host of the database: calls what db2 exports, derives from one of its classes, and names the foundation's types.

#include <db2/db2.h>

#include <cstdio>

namespace {

class CountingLogger : public KQutils::BasicLogger
{
public:
    void log(int, const wchar_t* text) override
    {
        ++lines;
        last = text;
    }

    int lines = 0;
    kqx::String last;
};

} // namespace

int main()
{
    CountingLogger logger;
    db2::initLibrary(&logger, L"1.0");
    db2::logInfo(L"%s has %d lines", L"consumer", 1);
    db2::termLibrary();

    const bool passed = logger.lines == 1 && logger.last == L"KQDatabase2 : consumer has 1 lines";
    std::puts(passed ? "the library answers" : "the library's answer is wrong");
    return passed ? 0 : 1;
}
