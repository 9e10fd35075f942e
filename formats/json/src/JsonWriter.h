#pragma once

#include "RapidJson.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace db2 {
class OutputStream;
}

namespace db2::json {

/// Where RapidJSON's writer puts its bytes: a buffer that goes to the stream whenever it is full. Once the stream has
/// refused a piece, nothing more is written.
class OutputBuffer
{
public:
    using Ch = char;

    explicit OutputBuffer(OutputStream& stream) : stream_(stream) {}

    void Put(char byte)
    {
        if (used_ == bytes_.size())
            flush();
        bytes_[used_++] = byte;
    }
    void Flush() {} ///< RapidJSON asks for it at the end of the document, which is not yet the end of the file

    /// Hands over what is in the buffer. @return false when the stream has refused this or an earlier piece.
    bool flush();
    [[nodiscard]] bool isGood() const { return isGood_; }

private:
    static constexpr std::size_t kBytes = 32 * 1024; // large enough that a write call costs nothing beside its bytes

    OutputStream& stream_;
    std::array<char, kBytes> bytes_;
    std::size_t used_ = 0;
    bool isGood_ = true;
};

/// Writes the text of one JSON document: objects and arrays with one entry a line, "lines" being arrays on a single one.
/// Knows no node. Throws std::bad_alloc.
class JsonWriter
{
public:
    explicit JsonWriter(OutputStream& stream);

    // --- Structure ---

    void beginObject() { writer_.StartObject(); }
    void key(std::string_view name) { writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }
    void endObject() { writer_.EndObject(); }

    void beginArray() { writer_.StartArray(); }
    void endArray() { writer_.EndArray(); }

    /// An array whose entries, and all arrays within, stay on its line; objects within it do not.
    void beginLine();
    void endLine();

    /// Ends the file behind the document. @return false when the stream did not take everything.
    bool finish();
    [[nodiscard]] bool isGood() const { return buffer_.isGood(); }

    // --- Values ---

    void null() { writer_.Null(); }
    void boolean(bool value) { writer_.Bool(value); }
    void number(std::int32_t value) { writer_.Int(value); }
    void number(std::uint32_t value) { writer_.Uint(value); }

    /// The fewest digits that read back to the same number; what JSON has no number for as a text: "NaN", "Infinity",
    /// "-Infinity", and for a NaN of other bits "NaN:" and the bits. By reference, because some platforms change a
    /// signalling NaN that they pass by value.
    void number(const float& value);
    void number(const double& value);

    /// A text that is known to be ASCII.
    void ascii(std::string_view text) { writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size())); }

    /// A JSON string; the array of its characters' numbers where UTF-8 cannot hold the text.
    void text(std::wstring_view text);

private:
    void putOnOneLine(bool onOneLine);
    template <class Number>
    void floatingPoint(const Number& value);

    OutputBuffer buffer_;
    rapidjson::PrettyWriter<OutputBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator> writer_;
    bool inLine_ = false;
    std::string utf8_; ///< of the last text, kept for its memory
};

} // namespace db2::json
