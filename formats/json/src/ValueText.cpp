#include <db2json/ValueText.h>

#include "JsonReader.h"
#include "JsonWriter.h"
#include "ValueReader.h"
#include "ValueTypes.h"
#include "ValueWriter.h"

#include <db2/EnumAttributeMetaData.h>
#include <db2/InputStream.h>
#include <db2/OutputStream.h>

#include <kqx/UTF8.h>

#include <algorithm>
#include <charconv>
#include <new>
#include <utility>

namespace db2 {
namespace {

using namespace json;

// --- Writing ---

class StringStream : public OutputStream
{
public:
    explicit StringStream(std::string& text) : OutputStream(OutputStreamEncoding::kUtf8), text_(text) {}

    [[nodiscard]] bool isOK() override { return true; }
    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override
    {
        text_.append(bytes, count);
        return true;
    }

private:
    std::string& text_;
};

/// The choice that stands for the number; null when there is none, or only one that means an earlier number.
const wchar_t* choiceOf(const EnumAttributeMetaData& metaData, int value)
{
    if (value < 0 || static_cast<unsigned int>(value) >= metaData.getNumChoices())
        return nullptr;
    const wchar_t* const choice = metaData.getChoice(static_cast<unsigned int>(value));
    return metaData.getChoiceIndex(choice) == value ? choice : nullptr;
}

void writeOfItsType(JsonWriter& writer, const ElementMetaData& metaData, const ConstValueHandle& value)
{
    const wchar_t* const choice = metaData.getTypeId() == AttributeType::kEnum
                                      ? choiceOf(static_cast<const EnumAttributeMetaData&>(metaData), value.asInt())
                                      : nullptr;
    if (choice != nullptr)
        writer.text(choice);
    else
        writeValue(writer, value);
}

// --- Reading ---

class TextStream : public InputStream
{
public:
    explicit TextStream(std::string_view text) : text_(text) {}

    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override
    {
        const std::size_t count = buffer != nullptr ? text_.copy(buffer, bytes, position_) : 0;
        position_ += count;
        return static_cast<unsigned int>(count);
    }
    const char* getData(unsigned int& size) override
    {
        size = static_cast<unsigned int>(text_.size());
        return text_.data();
    }
    [[nodiscard]] bool isOK() override { return true; }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/// Takes the reader's errors, which otherwise go to the host's log: a text that somebody typed is no event of the program.
class ErrorCapture : public KQutils::BasicLogger
{
public:
    ErrorCapture() : previous_(setLogger(this)) {}
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;
    ~ErrorCapture() override { setLogger(previous_); }

    void log(int, const wchar_t* text) override
    {
        constexpr std::wstring_view kPrefix = L"KQDatabase2 : ";
        constexpr std::wstring_view kOnlyLine = L"Line 1, ";
        std::wstring_view message = text;
        for (const std::wstring_view prefix : {kPrefix, kOnlyLine})
            if (message.starts_with(prefix))
                message.remove_prefix(prefix.size());
        error_ = message;
    }

    [[nodiscard]] std::wstring& error() { return error_; }

private:
    KQutils::BasicLogger* previous_;
    std::wstring error_;
};

std::wstring fromUtf8(std::string_view text)
{
    std::wstring out(kqx::UCS2LengthFromUTF8(text.data(), text.size()), L'\0');
    kqx::UCS2FromUTF8(text.data(), text.size(), out.data());
    return out;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isWordForNumber(std::string_view text)
{
    return text == "NaN" || text == "Infinity" || text == "-Infinity" || text.starts_with("NaN:");
}

bool isWholeNumber(std::string_view text)
{
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size();
}

bool beginsAsJson(std::string_view text)
{
    return !text.empty() && (text.front() == '"' || text.front() == '[');
}

/// Makes what the reader takes of a text without quotes. @return false when there is nothing to make.
bool quoteWhatIsPlain(std::string_view text, AttributeTypeId typeId, std::string& quoted)
{
    const bool isNumber = typeId == AttributeType::kFloat || typeId == AttributeType::kDouble;
    if (!isNumber || !isWordForNumber(text))
        return false;
    quoted = '"' + std::string(text) + '"';
    return true;
}

int findOrLearnChoice(const EnumAttributeMetaData& metaData, const std::wstring& choice)
{
    // The record of such an Enum is the element's own, not a template's, so it is not constant.
    auto* const learning = dynamic_cast<UnknownEnumAttributeMetaData*>(const_cast<EnumAttributeMetaData*>(&metaData));
    if (learning == nullptr)
        return metaData.getChoiceIndex(choice.c_str());
    const int value = learning->addChoiceIfNotExist(choice.c_str());
    if (value < 0)
        throw std::bad_alloc();
    return value;
}

std::wstring describeChoices(const EnumAttributeMetaData& metaData)
{
    constexpr unsigned int kShown = 30;
    std::wstring text;
    for (unsigned int i = 0; i < std::min(metaData.getNumChoices(), kShown); ++i)
        text += (i == 0 ? L"; the choices are \"" : L", \"") + std::wstring(metaData.getChoice(i)) + L'"';
    return metaData.getNumChoices() > kShown ? text + L", ..." : text;
}

bool parseEnum(std::string_view text, const EnumAttributeMetaData& metaData, const ValueHandle& value,
               std::wstring& error)
{
    std::wstring choice;
    if (beginsAsJson(text))
    {
        TextStream stream(text);
        JsonReader reader(stream, {});
        reader.name(choice, L"the choice of an Enum");
        reader.endDocument();
    }
    else if (isWholeNumber(text))
    {
        TextStream stream(text);
        JsonReader reader(stream, {});
        value.getInt() = reader.int32();
        return true;
    }
    else
        choice = fromUtf8(text);
    const int index = choice.find(L'\0') == std::wstring::npos ? findOrLearnChoice(metaData, choice) : -1;
    if (index < 0)
    {
        error = L"'" + choice + L"' is no choice" + describeChoices(metaData);
        return false;
    }
    value.getInt() = index;
    return true;
}

bool parsePlainString(std::string_view text, const ValueHandle& value)
{
    const std::wstring wide = fromUtf8(text);
    value.getString().assign(wide.data(), wide.size());
    return true;
}

template <class T>
void parseAs(std::string_view text, const ValueHandle& value)
{
    TextStream stream(text);
    JsonReader reader(stream, {});
    if constexpr (std::is_same_v<T, std::nullptr_t>)
    {
        reader.null();
        reader.endDocument();
    }
    else
    {
        T parsed{};
        readValue(reader, parsed);
        reader.endDocument();
        *static_cast<T*>(value.getData()) = std::move(parsed);
    }
}

bool parse(std::string_view text, const ElementMetaData& metaData, const ValueHandle& value, std::wstring& error)
{
    const AttributeTypeId typeId = metaData.getTypeId();
    if (typeId == AttributeType::kEnum)
        return parseEnum(text, static_cast<const EnumAttributeMetaData&>(metaData), value, error);
    if (typeId == AttributeType::kString && !beginsAsJson(text))
        return parsePlainString(text, value);
    std::string quoted;
    const std::string_view json = quoteWhatIsPlain(text, typeId, quoted) ? std::string_view(quoted) : text;
    visitValueType(typeId, [&]<class T>(T*) { parseAs<T>(json, value); });
    return true;
}

/// Goes over one item, up to the comma or bracket behind it at its own depth.
const char* findItemEnd(const char* at, const char* end)
{
    std::size_t depth = 0;
    for (; at != end; ++at)
    {
        if (depth == 0 && (*at == ',' || *at == ']'))
            return at;
        if (*at == '[' || *at == '{')
            ++depth;
        else if (*at == ']' || *at == '}')
            --depth;
        else if (*at == '"')
            for (++at; at != end && *at != '"'; ++at)
                if (*at == '\\' && at + 1 != end)
                    ++at;
        if (at == end)
            break;
    }
    return end;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

void appendValueText(const ElementMetaData& metaData, const ConstValueHandle& value, std::string& text)
{
    std::string line;
    StringStream stream(line);
    JsonWriter writer(stream);
    writer.beginLine(); // on which the value is written without line breaks, whatever it is
    if (value.getTypeId() == metaData.getTypeId())
        writeOfItsType(writer, metaData, value);
    else
        writeOfItsType(writer, metaData, DefaultValue(metaData.getTypeId(), value));
    writer.endLine();
    static_cast<void>(writer.finish());
    text.append(line, 1, line.rfind(']') - 1);
}

bool parseValueText(std::string_view text, const ElementMetaData& metaData, const ValueHandle& value,
                    std::wstring& error)
{
    if (metaData.getTypeId() != AttributeType::kString)
        text = trimmed(text);
    ErrorCapture capture;
    try
    {
        return parse(text, metaData, value, error);
    }
    catch (const LoadFailure&)
    {
        error = std::move(capture.error());
        return false;
    }
}

bool splitItemTexts(std::string_view text, std::vector<std::string_view>& items, std::wstring& error)
{
    items.clear();
    text = trimmed(text);
    if (text.size() < 2 || text.front() != '[')
    {
        error = L"column 1: expected an array";
        return false;
    }
    const char* const end = text.data() + text.size();
    const char* at = text.data() + 1;
    for (;;)
    {
        const char* const itemEnd = findItemEnd(at, end);
        const std::string_view item = trimmed({at, static_cast<std::size_t>(itemEnd - at)});
        const bool isLast = itemEnd != end && *itemEnd == ']';
        const bool isEmptyArray = isLast && items.empty() && item.empty();
        if (itemEnd == end || (item.empty() && !isEmptyArray) || (isLast && itemEnd + 1 != end))
        {
            error = L"column " + std::to_wstring(itemEnd - text.data() + 1) +
                    (isLast && itemEnd + 1 != end ? L": something follows the end of the array"
                     : itemEnd == end             ? L": the array does not end"
                                                  : L": expected an item");
            return false;
        }
        if (!isEmptyArray)
            items.push_back(item);
        if (isLast)
            return true;
        at = itemEnd + 1;
    }
}

} // namespace db2
