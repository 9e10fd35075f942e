#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace db2bench {

/// A prefix with a number behind it, such as "node17", made anew for each number without an allocation or a formatted
/// print: what makes the names must not hide what takes them.
/// @tparam Character  wchar_t for the library, char for the floor.
template <class Character>
class NumberedText
{
public:
    /// @param prefix  ASCII, at most 8 characters.
    explicit NumberedText(std::string_view prefix) : prefixLength_(prefix.size())
    {
        std::copy(prefix.begin(), prefix.end(), text_.begin());
        setNumber(0);
    }

    void setNumber(std::size_t number)
    {
        std::array<Character, kMostDigits> digits;
        auto first = digits.end();
        do
            *--first = static_cast<Character>('0' + number % 10);
        while ((number /= 10) != 0);
        const auto end = std::copy(first, digits.end(), text_.begin() + static_cast<std::ptrdiff_t>(prefixLength_));
        *end = Character{};
        length_ = static_cast<std::size_t>(end - text_.begin());
    }

    [[nodiscard]] const Character* c_str() const { return text_.data(); }
    [[nodiscard]] std::basic_string_view<Character> view() const { return {text_.data(), length_}; }

private:
    static constexpr std::size_t kMostDigits = 20; // of a 64-bit number
    static constexpr std::size_t kMostPrefix = 8;

    std::array<Character, kMostPrefix + kMostDigits + 1> text_{};
    std::size_t prefixLength_;
    std::size_t length_ = 0;
};

} // namespace db2bench
