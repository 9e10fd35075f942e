// A program without a database: links the foundation alone.

#include <kqx/Array.h>
#include <kqx/String.h>

#include <cstdio>

int main()
{
    kqx::String text(L"lines: ");
    text += L"1";
    const kqx::IntArray numbers{1, 2, 3};

    const bool passed = text == L"lines: 1" && numbers.size() == 3;
    std::puts(passed ? "the foundation answers" : "the foundation's answer is wrong");
    return passed ? 0 : 1;
}
