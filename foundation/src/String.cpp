#include <kqx/String.h>

#include <kqtl/Alloc.h>
#include <kqx/Utf16.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace kqx {

namespace {

/// A move of characters that may overlap; null is fine with a count of 0.
void moveCharacters(wchar_t* to, const wchar_t* from, std::size_t characters) noexcept
{
    if (characters > 0)
        std::memmove(to, from, characters * sizeof(wchar_t));
}

/// The unit at @p index as a number that sorts as the character that it belongs to. wchar_t is signed on some
/// platforms; and where it has 16 bits, the halves of a pair are smaller than U+E000 to U+FFFF but belong to a larger
/// character.
std::uint32_t sortValue(std::wstring_view text, std::size_t index)
{
    const std::uint32_t unit = static_cast<std::uint32_t>(text[index]);
    if constexpr (sizeof(wchar_t) == 2)
    {
        const bool isHalfOfPair =
            (isHighSurrogate(unit) && index + 1 < text.size() &&
             isLowSurrogate(static_cast<std::uint32_t>(text[index + 1]))) ||
            (isLowSurrogate(unit) && index > 0 && isHighSurrogate(static_cast<std::uint32_t>(text[index - 1])));
        return isHalfOfPair ? unit + 0x10000u : unit;
    }
    return unit;
}

} // namespace

String::String(const wchar_t* text)
{
    assign(text);
}

String::String(const wchar_t* text, std::size_t characters)
{
    assign(text, characters);
}

String::String(const String& other)
{
    assign(other);
}

String::String(String&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}

String::~String()
{
    release(text_);
}

String& String::operator=(const String& other)
{
    return assign(other);
}

String& String::operator=(String&& other) noexcept
{
    String(std::move(other)).swap(*this);
    return *this;
}

String& String::operator=(const wchar_t* text)
{
    return assign(text);
}

void String::clear() noexcept
{
    release(std::exchange(text_, nullptr));
}

void String::reserve(std::size_t characters)
{
    if (characters <= capacity())
        return;
    const std::size_t count = size();
    wchar_t* const grown = allocate(characters);
    moveCharacters(grown, text_, count);
    release(std::exchange(text_, grown));
    setSize(count);
}

String& String::assign(const wchar_t* text)
{
    const std::wstring_view source = view(text);
    return assign(source.data(), source.size());
}

String& String::assign(const wchar_t* text, std::size_t characters)
{
    if (characters == 0)
    {
        clear();
        return *this;
    }
    if (characters > capacity())
    {
        wchar_t* const block = allocate(characters);
        moveCharacters(block, text, characters); // before the old block goes: it may hold the text
        release(std::exchange(text_, block));
    }
    else
    {
        moveCharacters(text_, text, characters);
    }
    setSize(characters);
    return *this;
}

String& String::assign(const String& text)
{
    return assign(text.c_str(), text.size());
}

String& String::append(const wchar_t* text)
{
    const std::wstring_view source = view(text);
    return append(source.data(), source.size());
}

String& String::append(const wchar_t* text, std::size_t characters)
{
    if (characters == 0)
        return *this;
    const std::size_t count = size();
    if (characters > max_size() - count)
        throw std::length_error("kqx::String");
    if (count + characters > capacity())
    {
        const std::size_t doubled = std::min(capacity() * 2, max_size());
        wchar_t* const grown = allocate(std::max(count + characters, doubled));
        moveCharacters(grown, text_, count);
        moveCharacters(grown + count, text, characters); // before the old block goes: it may hold the text
        release(std::exchange(text_, grown));
    }
    else
    {
        moveCharacters(text_ + count, text, characters);
    }
    setSize(count + characters);
    return *this;
}

String& String::append(const String& text)
{
    return append(text.c_str(), text.size());
}

void String::swap(String& other) noexcept
{
    std::swap(text_, other.text_);
}

bool String::less(std::wstring_view a, std::wstring_view b) noexcept
{
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i)
    {
        if (a[i] != b[i])
            return sortValue(a, i) < sortValue(b, i);
    }
    return a.size() < b.size();
}

/// A block without text that holds @p capacity characters and the null character.
wchar_t* String::allocate(std::size_t capacity)
{
    if (capacity > max_size())
        throw std::length_error("kqx::String");
    static_assert(sizeof(Header) % alignof(wchar_t) == 0);
    void* const block = KQTLAlloc(sizeof(Header) + (capacity + 1) * sizeof(wchar_t), alignof(Header));
    if (block == nullptr)
        throw std::bad_alloc();
    Header* const header = ::new (block) Header{0, static_cast<std::uint32_t>(capacity)};
    return static_cast<wchar_t*>(static_cast<void*>(header + 1));
}

void String::release(wchar_t* text) noexcept
{
    if (text != nullptr)
        KQTLFree(&header(text));
}

/// Needs a block.
void String::setSize(std::size_t characters) noexcept
{
    header(text_).size = static_cast<std::uint32_t>(characters);
    text_[characters] = L'\0';
}

} // namespace kqx
