#include "Html.h"

#include "Text.h"

#include <cmath>

namespace kqdb {

std::string html(std::string_view utf8)
{
    return html(std::wstring_view(toWide(utf8)));
}

std::string html(std::wstring_view text)
{
    std::wstring clean;
    clean.reserve(text.size());
    for (const wchar_t c : text)
        switch (c)
        {
        case L'&': clean += L"&amp;"; break;
        case L'<': clean += L"&lt;"; break;
        case L'>': clean += L"&gt;"; break;
        case L'"': clean += L"&quot;"; break;
        case L'\'': clean += L"&#39;"; break;
        case 0xFFFE:
        case 0xFFFF: clean += L'\xFFFD'; break;
        default: clean += c;
        }
    return visible(clean); // control characters as \u001b; unpaired surrogates become U+FFFD
}

std::string coordinate(double value)
{
    if (!std::isfinite(value) || std::abs(value) > 1e6)
        return "0";
    const auto tenths = static_cast<long>(std::lround(value * 10));
    const long whole = std::labs(tenths) / 10;
    std::string text(tenths < 0 ? "-" : "");
    text += std::to_string(whole);
    if (tenths % 10 != 0)
        text += '.' + std::to_string(std::labs(tenths) % 10);
    return text;
}

} // namespace kqdb
