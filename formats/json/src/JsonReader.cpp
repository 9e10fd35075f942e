// The structure of JsonReader, and its messages; the values stand beside this file.

#include "JsonReader.h"

#include "PlainText.h"

#include <kqx/UTF8.h>

#include <algorithm>
#include <cstring>

namespace db2::json {
namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

std::wstring fromUtf8(std::string_view text)
{
    std::wstring out(kqx::UCS2LengthFromUTF8(text.data(), text.size()), L'\0');
    kqx::UCS2FromUTF8(text.data(), text.size(), out.data());
    return out;
}

} // namespace

JsonReader::JsonReader(InputStream& stream, std::wstring_view fileName)
    : window_(stream), fileName_(fileName), end_(window_.end()), at_(window_.begin()), token_(at_)
{
}

/// Moves the window on, past what has been read before the token. @return false at the end of the content.
bool JsonReader::readOn()
{
    const std::ptrdiff_t behindToken = at_ - token_;
    const bool isMore = window_.advance(token_);
    end_ = window_.end();
    token_ = window_.begin();
    at_ = token_ + behindToken;
    return isMore;
}

// --- Structure ---

void JsonReader::expect(char bracket, const wchar_t* what)
{
    if (next() != bracket)
        fail(at_ != end_ ? L"expected %s" : L"expected %s, but the file ends here", what);
    ++at_;
}

void JsonReader::beginObject()
{
    expect('{', L"an object");
    open(false);
}

/// Reads a key and its colon, whatever it is.
void JsonReader::beginMember()
{
    levels_[depth_ - 1].key = std::string_view();
    key_.assign(string(L"a key"));
    while (isBlank(*at_) || (at_ == end_ && readOn())) // the key stays what was read last, for messages
        at_ += isBlank(*at_) ? 1 : 0;
    if (*at_ != ':')
        expect(':', L"a colon");
    ++at_;
    keyIsRead_ = true;
}

/// Goes over the key that stands next when it is this one and written plainly, as it mostly is.
bool JsonReader::tryPlainKey(std::string_view key)
{
    const std::size_t bytes = key.size() + 3;
    const bool isThere = static_cast<std::size_t>(end_ - at_) >= bytes && *at_ == '"' && at_[key.size() + 1] == '"' &&
                         at_[key.size() + 2] == ':' && std::memcmp(at_ + 1, key.data(), key.size()) == 0;
    if (isThere)
        at_ += bytes;
    return isThere;
}

bool JsonReader::tryMember(std::string_view key)
{
    if (!keyIsRead_)
    {
        if (next() == '}')
            return false;
        separate();
        if (tryPlainKey(key))
        {
            levels_[depth_ - 1].key = key;
            return true;
        }
        beginMember();
    }
    if (key_ != key)
        return false;
    keyIsRead_ = false;
    levels_[depth_ - 1].key = key;
    return true;
}

void JsonReader::member(std::string_view key)
{
    if (!tryMember(key))
        fail(L"expected the key \"%s\"", widened(key).c_str());
}

void JsonReader::endObject()
{
    levels_[depth_ - 1].key = std::string_view();
    if (!keyIsRead_ && next() == '}')
    {
        ++at_;
        --depth_;
        return;
    }
    if (!keyIsRead_)
    {
        separate();
        beginMember();
    }
    fail(L"the key \"%s\" is not known, repeated or out of order", fromUtf8(key_).c_str());
}

void JsonReader::endArray()
{
    if (!tryItem())
        return;
    next();
    fail(L"the array has too many entries");
}

JsonReader::ItemCount JsonReader::countItems()
{
    return next() == '[' ? countAhead(0) : ItemCount{0, true};
}

JsonReader::ItemCount JsonReader::countItemsLeft()
{
    next();
    return countAhead(1);
}

/// Looks ahead from the token, but no further than the window goes without growing.
/// @param depth  of the brackets that are open: 0 for an array that stands next, 1 within it.
JsonReader::ItemCount JsonReader::countAhead(std::size_t depth)
{
    constexpr std::ptrdiff_t kFarEnough = 32 * 1024;
    std::size_t commas = 0;
    bool isEmpty = depth == 0;
    bool isInString = false;
    bool isEscaped = false;
    for (std::ptrdiff_t offset = 0;; ++offset)
    {
        if (at_ + offset == end_ && (offset >= kFarEnough || !readOn()))
            return {std::max<std::size_t>(commas, isEmpty ? 0 : 1), false};
        const char c = at_[offset];
        if (isInString)
        {
            isInString = isEscaped || c != '"';
            isEscaped = !isEscaped && c == '\\';
            continue;
        }
        switch (c)
        {
        case ',': commas += depth == 1 ? 1 : 0; break;
        case '[':
        case '{':
            isEmpty = isEmpty && depth == 0;
            ++depth;
            break;
        case ']':
        case '}':
            if (--depth == 0)
                return {isEmpty ? 0 : commas + 1, true};
            break;
        default: isInString = c == '"'; isEmpty = isEmpty && isBlank(c);
        }
    }
}

void JsonReader::endDocument()
{
    next();
    if (at_ != end_)
        fail(L"something follows the end of the document");
}

// --- Messages ---

/// "scene.json: Line 12, column 9, nodes[3].attributes[0][2]", without a file name when there is none.
std::wstring JsonReader::describePlace() const
{
    std::wstring place(fileName_);
    place += fileName_.empty() ? L"" : L": ";
    place += window_.describe(token_);
    std::wstring path;
    for (std::size_t i = 0; i < depth_; ++i)
    {
        const Level& level = levels_[i];
        if (level.isArray && level.count > 0)
            path += L"[" + std::to_wstring(level.count - 1) + L"]";
        else if (!level.key.empty())
            path += (path.empty() ? L"" : L".") + widened(level.key);
    }
    return path.empty() ? place : place + L", " + path;
}

} // namespace db2::json
