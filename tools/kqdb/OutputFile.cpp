#include "OutputFile.h"

#include "Failure.h"
#include "Text.h"

#include <system_error>

namespace kqdb {

std::filesystem::path outputFile(const std::string& utf8)
{
    std::filesystem::path file = filePath(utf8);
    std::error_code ignored;
    const std::filesystem::file_type type = std::filesystem::status(file, ignored).type(); // of what a link leads to
    if (type == std::filesystem::file_type::directory)
        throw Failure(utf8 + ": is a folder");
    const bool isFree = type == std::filesystem::file_type::not_found || type == std::filesystem::file_type::none;
    if (!isFree && type != std::filesystem::file_type::regular)
        throw Failure(utf8 + ": is not a file that a document could replace");
    return file;
}

} // namespace kqdb
