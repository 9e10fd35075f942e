#pragma once

#include "NumberText.h"
#include "OutputBuffer.h"
#include "RapidJson.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace db2::json {

/// Writes the text of one JSON document: objects and arrays with one entry a line, "lines" being arrays on a single one.
/// Knows no node. Throws std::bad_alloc and std::length_error.
///
/// Brackets, commas and what needs no escape are put into the buffer here, strings that do need one by RapidJSON: its
/// writer takes everything byte by byte.
class JsonWriter
{
public:
    explicit JsonWriter(OutputStream& stream) : buffer_(stream), strings_(buffer_) {}

    // --- Structure: what is begun is ended, and in an object each value has its key ---

    void beginObject() { begin('{'); }
    void key(std::string_view name); ///< @param name  plain, and short
    void endObject() { end('}', false); }

    void beginArray() { begin('['); }
    void endArray() { end(']', inLine_); }

    /// An array whose entries, and all arrays within, stay on its line; objects within it do not.
    void beginLine();
    void endLine();

    /// Ends the file behind the document. @return false when the stream did not take everything.
    bool finish();
    [[nodiscard]] bool isGood() const { return buffer_.isGood(); }

    void blanks(std::uint64_t count);                                     ///< behind what was ended last
    [[nodiscard]] std::uint64_t bytes() const { return buffer_.bytes(); } ///< of the document so far

    // --- Values ---

    void null() { token("null"); }
    void boolean(bool value) { token(value ? "true" : "false"); }
    void number(std::int32_t value) { integer(value); }
    void number(std::uint32_t value) { integer(value); }

    /// The fewest digits that read back to the same number; what JSON has no number for as a text: "NaN", "Infinity",
    /// "-Infinity", and for a NaN of other bits "NaN:" and the bits. By reference, because some platforms change a
    /// signalling NaN that they pass by value.
    void number(const float& value);
    void number(const double& value);

    /// A JSON string; the array of its characters' numbers where UTF-8 cannot hold the text.
    void text(std::wstring_view text);

    /// A string whose text is known to be plain.
    void plain(std::string_view text);

    /// A value as it stands in the document; on a line also several, with their commas.
    void token(std::string_view json)
    {
        separate();
        buffer_.put(json);
    }

private:
    void begin(char bracket);
    void end(char bracket, bool onOneLine);
    void separate();
    [[nodiscard]] char* breakLine(char* out) const;
    template <class Integer>
    void integer(Integer value);
    template <class Number>
    void floatingPoint(const Number& value);
    void putPlain(std::wstring_view text);
    void putUtf8(std::wstring_view text);
    void putCharacters(std::wstring_view text);

    OutputBuffer buffer_;
    unsigned int depth_ = 0; ///< of what is open
    bool isFirst_ = true;    ///< nothing stands yet in what was begun last
    bool isBehindKey_ = false;
    bool inLine_ = false;
    std::string utf8_; ///< of the last text that is not plain, kept for its memory
    rapidjson::Writer<OutputBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator> strings_;
};

} // namespace db2::json
