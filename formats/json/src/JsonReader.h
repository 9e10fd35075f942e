#pragma once

#include "InputWindow.h"
#include "RapidJson.h"

#include <db2/Library.h>
#include <db2/Status.h>

#include <kqx/String.h>

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace db2::json {

/// Ends a load from wherever it is; what went wrong is logged already. Stays within this library.
struct LoadFailure
{
    Status status;
};

/// Reads the text of one JSON document, piece by piece, as the caller asks for the pieces that should stand there, and
/// knows the place of what it read last. Knows no node.
///
/// Strings are RapidJSON's, numbers the standard library's. Brackets and commas are read here, because RapidJSON only
/// hands out whole documents: with a caller that asks, a format with dozens of kinds of entries is ordinary code instead
/// of a state machine, and since nobody asks for nested values of unknown depth, hostile nesting has nothing to exhaust.
///
/// Whatever is not as asked for ends in fail(). Also throws std::bad_alloc and std::length_error.
/// Cost: one pass over the bytes, and a second one over the arrays that are counted first.
/// Memory: a window onto the content, which grows only while a single string or number is longer.
class JsonReader
{
public:
    /// @param stream    outlives the reader; read from where it is.
    /// @param fileName  outlives the reader; for messages, empty for none.
    JsonReader(InputStream& stream, std::wstring_view fileName);

    // --- Objects: members come in the order in which they are asked for ---

    void beginObject();
    /// @param key  a constant.
    /// @return false, reading nothing, when the next member has another key or there is none.
    [[nodiscard]] bool tryMember(std::string_view key);
    void member(std::string_view key); ///< one that must be there
    void endObject();                  ///< fails when there is a member left

    // --- Arrays ---

    void beginArray();
    [[nodiscard]] bool tryItem();      ///< false at the array's end, which is read
    void item(const wchar_t* meaning); ///< one that must be there, for the message when it is not
    void endArray();                   ///< fails when there is an item left

    /// Begins an array and reads its first two items, plain strings, in one go when they are written as JsonWriter does it.
    /// @param first, second  hold until anything else is read.
    /// @return false, reading nothing, when they are written otherwise or are none.
    [[nodiscard]] bool tryTwoStrings(std::string_view& first, std::string_view& second);

    /// A count of items to come. It counts commas: what is wrong within shows when it is read.
    struct ItemCount
    {
        std::size_t items;
        bool isAll; ///< false when the array goes on beyond what can be seen: then at least 1, if it has any
    };
    [[nodiscard]] ItemCount countItems();     ///< of the array that stands next
    [[nodiscard]] ItemCount countItemsLeft(); ///< of the array that is open, from the item on that is begun

    void endDocument(); ///< fails when anything is left

    // --- What stands next ---

    [[nodiscard]] bool atString() { return next() == '"'; }
    [[nodiscard]] bool atArray() { return next() == '['; }
    [[nodiscard]] bool atObject() { return next() == '{'; }
    [[nodiscard]] bool atNumber();

    // --- Values ---

    /// A string's UTF-8, which is valid. The view holds until anything else is read.
    [[nodiscard]] std::string_view string(const wchar_t* meaning);
    void null();
    [[nodiscard]] bool boolean();
    [[nodiscard]] std::int32_t int32();
    [[nodiscard]] std::uint32_t uint32();
    void number(float& out); ///< by reference, as in JsonWriter
    void number(double& out);
    /// An array of so many numbers, in one go when it is written as JsonWriter does it.
    /// @return false, reading nothing, when it is written otherwise or is none.
    [[nodiscard]] bool tryNumbers(float* out, std::size_t count);

    /// A text in either of its forms; see JsonWriter::text().
    void text(kqx::String& out, const wchar_t* meaning);
    /// The same for a text that the library takes up to its first null character: there must be none in it.
    void name(std::wstring& out, const wchar_t* meaning);

    // --- Failing ---

    /// Logs the message, which may have placeholders, behind the place of what was read last, and throws LoadFailure.
    template <class... Arguments>
    [[noreturn]] void fail(const wchar_t* message, Arguments... arguments)
    {
        logHere(message, arguments...);
        throw LoadFailure{Status::kFailure};
    }

    /// Ends the load with what a service of the library answered, unless it is kSuccess. The message says what failed.
    void check(Status status, const wchar_t* message)
    {
        if (status == Status::kSuccess)
            return;
        logHere(message);
        throw LoadFailure{status};
    }

    /// Logs a message with the place of what was read last, as an error.
    template <class... Arguments>
    void logHere(const wchar_t* message, Arguments... arguments) const
    {
        // The log cuts what is too long, so the place comes first.
        logError((L"%s: " + std::wstring(message)).c_str(), describePlace().c_str(), arguments...);
    }

private:
    /// An object or array that is open.
    struct Level
    {
        std::string_view key;  ///< of the member that is being read; empty in an array
        std::size_t count = 0; ///< of the members or items that were begun
        bool isArray = false;
    };

    /// More than the format has within each other.
    static constexpr std::size_t kMaxDepth = 16;

    [[nodiscard]] bool readOn();
    char next();
    void expect(char bracket, const wchar_t* what);
    void separate();
    void open(bool isArray);
    void beginMember();
    [[nodiscard]] bool tryPlainKey(std::string_view key);
    [[nodiscard]] ItemCount countAhead(std::size_t depth);
    [[nodiscard]] std::string_view escapedString();
    void literal(std::string_view word, const wchar_t* what);
    [[nodiscard]] std::string_view numberToken(const wchar_t* what);
    template <class Integer>
    [[nodiscard]] Integer integer();
    template <class Number>
    void floatingPoint(Number& out);
    template <class Number>
    [[nodiscard]] static bool readNonFinite(std::string_view text, Number& out);
    [[nodiscard]] bool wide(std::wstring& out, const wchar_t* meaning);
    void characters(std::wstring& out);

    [[nodiscard]] std::wstring describePlace() const;

    InputWindow window_;
    std::wstring_view fileName_;
    const char* end_; ///< of the window; a null character stands there
    const char* at_;
    const char* token_; ///< where what was read last begins, for messages; the window keeps what follows
    std::array<Level, kMaxDepth> levels_;
    std::size_t depth_ = 0;  ///< of levels_, those in use
    bool keyIsRead_ = false; ///< key_ is of a member that nobody has asked for yet
    std::string key_;
    std::string string_; ///< of the last string that is not in the content as it stands
    std::wstring wide_;  ///< of the last text, kept for its memory
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator> strings_;
};

// --- What every value asks for ---

/// Goes to the next byte that is not blank. @return it, or 0 at the end.
inline char JsonReader::next()
{
    for (;;)
    {
        const char* at = at_;
        while (*at == ' ' || *at == '\n' || *at == '\t' || *at == '\r')
            ++at;
        token_ = at_ = at;
        if (*at != '\0' || at != end_ || !readOn())
            return *at_;
    }
}

/// Goes over the comma in front of the next entry of the object or array that is open; next() has gone to it.
inline void JsonReader::separate()
{
    Level& level = levels_[depth_ - 1];
    if (level.count > 0)
    {
        if (*at_ != ',')
            expect(',', level.isArray ? L"a comma or the end of the array" : L"a comma or the end of the object");
        ++at_;
        if (next() == (level.isArray ? ']' : '}'))
            fail(L"expected another entry behind the comma");
    }
    ++level.count;
}

inline void JsonReader::open(bool isArray)
{
    assert(depth_ < kMaxDepth);
    levels_[depth_++] = {std::string_view(), 0, isArray};
}

inline void JsonReader::beginArray()
{
    if (next() != '[')
        expect('[', L"an array");
    ++at_;
    open(true);
}

inline bool JsonReader::tryItem()
{
    if (next() == ']')
    {
        ++at_;
        --depth_;
        return false;
    }
    separate();
    return true;
}

inline void JsonReader::item(const wchar_t* meaning)
{
    if (next() == ']')
        fail(L"expected %s, but the array ends here", meaning);
    separate();
}

} // namespace db2::json
