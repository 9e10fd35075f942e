#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace db2 {
class EnumAttributeMetaData;
}

namespace db2::json {

/// Finds the choices of Enums by text, in constant time for those with many choices: a tree can hold very many values of
/// one such Enum, and the record itself scans its choices. Valid while no choice is added to a record that it was asked
/// about and none of them ends. Throws std::bad_alloc.
class ChoiceIndex
{
public:
    /// The index of the first choice that equals @p choice, or -1.
    [[nodiscard]] int find(const EnumAttributeMetaData& metaData, std::wstring_view choice);

private:
    /// The choices of one record, hashed into buckets that are sorted: a file may bring choices that all fall into one
    /// bucket, which then is searched by as many comparisons as the logarithm of their number.
    class Choices
    {
    public:
        explicit Choices(const EnumAttributeMetaData& metaData);
        [[nodiscard]] int find(std::wstring_view choice) const;

    private:
        using Choice = std::pair<std::wstring_view, int>; ///< and its index

        [[nodiscard]] std::size_t bucketOf(std::wstring_view choice) const;

        std::vector<std::size_t> starts_; ///< of each bucket, and the end of the last; a power of two and one
        std::vector<Choice> choices_;     ///< bucket after bucket
    };

    const Choices& choicesOf(const EnumAttributeMetaData& metaData);

    std::unordered_map<const EnumAttributeMetaData*, Choices> records_;
    std::size_t entries_ = 0; ///< in all of them
};

} // namespace db2::json
