#include "JsonOutput.h"

#include "Output.h"
#include "Text.h"

// The version namespace keeps these classes apart from those that another part of the program may have.
#define RAPIDJSON_NAMESPACE kqdb::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace kqdb::rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#include <rapidjson/writer.h>

namespace kqdb {
namespace {

/// Hands RapidJSON's characters to the output.
class Sink
{
public:
    using Ch = char;

    explicit Sink(Output& out) : out_(out) {}
    void Put(char c) { out_ << c; }
    void Flush() {}

private:
    Output& out_;
};

bool isAllUnicode(std::wstring_view text)
{
    return toWide(toUtf8(text)) == text;
}

} // namespace

class JsonOutput::Writer
{
public:
    explicit Writer(Output& output) : out(output), sink(output), json(sink) {}

    Output& out;
    Sink sink;
    rapidjson::Writer<Sink> json;
};

JsonOutput::JsonOutput(Output& out) : writer_(std::make_unique<Writer>(out)) {}
JsonOutput::~JsonOutput() = default;

void JsonOutput::beginObject()
{
    writer_->json.StartObject();
}

void JsonOutput::endObject()
{
    writer_->json.EndObject();
}

void JsonOutput::beginArray()
{
    writer_->json.StartArray();
}

void JsonOutput::endArray()
{
    writer_->json.EndArray();
}

void JsonOutput::end()
{
    writer_->out << '\n';
}

JsonOutput& JsonOutput::key(std::string_view name)
{
    writer_->json.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    return *this;
}

void JsonOutput::string(std::string_view utf8)
{
    writer_->json.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

void JsonOutput::text(std::wstring_view text)
{
    if (isAllUnicode(text))
        return string(toUtf8(text));
    beginArray();
    for (const wchar_t c : text)
        number(static_cast<std::uint64_t>(static_cast<std::uint32_t>(c)));
    endArray();
}

void JsonOutput::number(std::uint64_t value)
{
    writer_->json.Uint64(value);
}

void JsonOutput::number(double value)
{
    writer_->json.Double(value);
}

void JsonOutput::boolean(bool value)
{
    writer_->json.Bool(value);
}

void JsonOutput::null()
{
    writer_->json.Null();
}

void JsonOutput::raw(std::string_view json)
{
    writer_->json.RawValue(json.data(), json.size(), rapidjson::kNullType);
}

} // namespace kqdb
