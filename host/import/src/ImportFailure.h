#pragma once

#include <string>

namespace db2import {

/// Ends an import; the text is for people. Thrown within the importer only.
struct ImportFailure
{
    std::wstring text;
};

/// For a model that asks for more than there is, which a broken one may do with a few bytes.
inline constexpr wchar_t kNoMemory[] = L"the model needs more memory than there is, or than the limit allows";

} // namespace db2import
