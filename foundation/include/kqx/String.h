#pragma once

#include <kqtl/Export.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kqx {

/// Owned wide text: names, values and paths of the database. Units are the platform's wchar_t; the text may hold null
/// characters, which only c_str() readers take for the end.
///
/// One pointer wide, because the database holds very many and most are empty: null without text, otherwise the
/// characters in a heap block whose header stands before them. An empty String owns no heap memory, unless reserve()
/// took some for text to come. Trivially relocatable: it may be moved as raw bytes if the old place is then forgotten.
///
/// Failures, in every member that takes text: std::length_error beyond max_size() characters, std::bad_alloc when
/// memory is out; the String is unchanged in both cases. Text handed in may be part of the String itself.
/// Cost: construction and assignment allocate exactly what the text needs (assignment reuses a block that is large
/// enough), appending doubles the block. No member depends on the locale. Threads: like any value.
class KQ_API String
{
public:
    // --- Construction ---

    String() noexcept = default;

    /// @param text  null gives an empty String.
    String(const wchar_t* text);

    /// @param text  may hold null characters; may be null when @p characters is 0.
    String(const wchar_t* text, std::size_t characters);

    String(const String& other);
    String(String&& other) noexcept;
    ~String();

    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;

    /// @param text  null gives an empty String.
    String& operator=(const wchar_t* text);

    // --- Text ---

    /// The text with a null character behind it; never null. Valid until the String is edited or destroyed.
    [[nodiscard]] const wchar_t* c_str() const noexcept { return text_ != nullptr ? text_ : L""; }

    [[nodiscard]] std::size_t size() const noexcept { return text_ != nullptr ? header(text_).size : 0; }
    [[nodiscard]] std::size_t length() const noexcept { return size(); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// Characters that fit without another allocation.
    [[nodiscard]] std::size_t capacity() const noexcept { return text_ != nullptr ? header(text_).capacity : 0; }

    /// The longest text: below 2^31 characters everywhere, less where the address space is smaller.
    [[nodiscard]] static constexpr std::size_t max_size() noexcept
    {
        constexpr std::size_t kLimit = 0x7fffffff;
        constexpr std::size_t kFitting = (PTRDIFF_MAX - sizeof(Header)) / sizeof(wchar_t) - 1;
        return kFitting < kLimit ? kFitting : kLimit;
    }

    /// @param index  below size(); on a constant String size() reads the null character.
    [[nodiscard]] wchar_t& operator[](std::size_t index) noexcept { return text_[index]; }
    [[nodiscard]] const wchar_t& operator[](std::size_t index) const noexcept { return c_str()[index]; }

    [[nodiscard]] wchar_t* begin() noexcept { return text_; }
    [[nodiscard]] wchar_t* end() noexcept { return text_ + size(); }
    [[nodiscard]] const wchar_t* begin() const noexcept { return c_str(); }
    [[nodiscard]] const wchar_t* end() const noexcept { return c_str() + size(); }

    operator std::wstring_view() const noexcept { return {c_str(), size()}; }

    // --- Edits ---

    /// Empties the String and frees its memory.
    void clear() noexcept;

    /// Makes room for @p characters in all; a smaller number does nothing.
    void reserve(std::size_t characters);

    String& assign(const wchar_t* text); ///< null gives an empty String
    String& assign(const wchar_t* text, std::size_t characters);
    String& assign(const String& text);

    String& append(const wchar_t* text); ///< null appends nothing
    String& append(const wchar_t* text, std::size_t characters);
    String& append(const String& text);

    String& operator+=(const wchar_t* text) { return append(text); }
    String& operator+=(const String& text) { return append(text); }
    String& operator+=(wchar_t character) { return append(&character, 1); }

    void swap(String& other) noexcept;

    // --- Comparison: a null text compares as an empty one ---

    friend bool operator==(const String& a, const String& b) noexcept { return equal(a, b); }
    friend bool operator==(const String& a, const wchar_t* b) noexcept { return equal(a, view(b)); }

    /// The order of the characters' code points, a text before its continuations: the same order on every platform,
    /// whatever the size of wchar_t.
    friend bool operator<(const String& a, const String& b) noexcept { return less(a, b); }
    friend bool operator<(const String& a, const wchar_t* b) noexcept { return less(a, view(b)); }
    friend bool operator<(const wchar_t* a, const String& b) noexcept { return less(view(a), b); }

private:
    /// Stands directly before the characters, at the start of the heap block.
    struct Header
    {
        std::uint32_t size;     ///< characters, without the null character behind them
        std::uint32_t capacity; ///< characters that fit, without the null character
    };

    [[nodiscard]] static Header& header(wchar_t* text) noexcept
    {
        return *(static_cast<Header*>(static_cast<void*>(text)) - 1);
    }

    [[nodiscard]] static std::wstring_view view(const wchar_t* text) noexcept
    {
        return text != nullptr ? std::wstring_view(text) : std::wstring_view();
    }

    [[nodiscard]] static bool equal(std::wstring_view a, std::wstring_view b) noexcept { return a == b; }
    [[nodiscard]] static bool less(std::wstring_view a, std::wstring_view b) noexcept;

    [[nodiscard]] static wchar_t* allocate(std::size_t capacity);
    static void release(wchar_t* text) noexcept;
    void setSize(std::size_t characters) noexcept;

    wchar_t* text_ = nullptr; ///< the characters behind their header; null when there is no block
};

static_assert(sizeof(String) == sizeof(void*), "values and records count on the size");

} // namespace kqx
