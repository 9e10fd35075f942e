#include "Pattern.h"

#include <cstddef>

namespace kqdb {

bool matches(std::wstring_view pattern, std::wstring_view text)
{
    std::size_t at = 0; // in the pattern
    std::size_t i = 0;  // in the text
    std::size_t star = std::wstring_view::npos;
    std::size_t behindStar = 0; // what the star before it has swallowed of the text
    while (i < text.size())
    {
        if (at < pattern.size() && pattern[at] == L'*')
        {
            star = at++;
            behindStar = i;
        }
        else if (at < pattern.size() && (pattern[at] == L'?' || pattern[at] == text[i]))
        {
            ++at;
            ++i;
        }
        else if (star != std::wstring_view::npos) // the star swallows one more
        {
            at = star + 1;
            i = ++behindStar;
        }
        else
            return false;
    }
    while (at < pattern.size() && pattern[at] == L'*')
        ++at;
    return at == pattern.size();
}

} // namespace kqdb
