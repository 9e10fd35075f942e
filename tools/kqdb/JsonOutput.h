#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace kqdb {

class Output;

/// One JSON document on standard output, written piece by piece. Texts follow the file format (docs/format.md): a string,
/// or the numbers of its characters where UTF-8 cannot hold it.
class JsonOutput
{
public:
    explicit JsonOutput(Output& out);
    JsonOutput(const JsonOutput&) = delete;
    JsonOutput& operator=(const JsonOutput&) = delete;
    ~JsonOutput();

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void end(); ///< behind the whole document: a line end

    /// Names the member whose value comes next. @param name  ASCII.
    JsonOutput& key(std::string_view name);

    void string(std::string_view utf8); ///< valid UTF-8
    void text(std::wstring_view text);
    void number(std::uint64_t value);
    void number(double value);
    void boolean(bool value);
    void null();
    void raw(std::string_view json); ///< a value that is JSON already

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

} // namespace kqdb
