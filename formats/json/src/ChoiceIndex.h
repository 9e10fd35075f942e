#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>

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
    using Choices = std::unordered_map<std::wstring_view, int>;

    std::unordered_map<const EnumAttributeMetaData*, Choices> records_;
    std::size_t entries_ = 0; ///< in all of them
};

} // namespace db2::json
