#pragma once

#include <db2/Attribute.h>

#include <string>
#include <string_view>

namespace kqdb {

/// A condition on an attribute's value, as "kqdb find --where" takes it: NAME, one of = != < <= > >= ~, and a value. "~"
/// compares the text of a String or choice with a pattern.
class Condition
{
public:
    /// Throws Failure for a text that is none.
    explicit Condition(const std::string& text);

    [[nodiscard]] const std::wstring& attributeName() const { return name_; }

    /// False where the value cannot be one of the attribute's type.
    [[nodiscard]] bool holdsFor(const db2::Attribute& attribute) const;

private:
    enum class Comparison
    {
        kEqual,
        kUnequal,
        kLess,
        kLessOrEqual,
        kGreater,
        kGreaterOrEqual,
        kLike
    };

    [[nodiscard]] bool isEqual(const db2::Attribute& attribute) const;
    [[nodiscard]] bool isLike(const db2::Attribute& attribute) const;

    std::wstring name_;
    Comparison comparison_ = Comparison::kEqual;
    std::string value_;
    std::wstring wideValue_;
    double number_ = 0; ///< for the comparisons by size
};

} // namespace kqdb
