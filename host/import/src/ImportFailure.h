#pragma once

#include <string>

namespace db2import {

/// Ends an import; the text is for people. Thrown within the importer only.
struct ImportFailure
{
    std::wstring text;
};

} // namespace db2import
