#pragma once

#include <cstddef>
#include <cstdint>

namespace db2 {
class AttributeArray;
}

/// What the items of attribute arrays may take of memory, so that a small file does not make a large tree: items begin as
/// copies of a default, and a file may bring a long one and ask for many copies in a few bytes. Counted in weights that
/// docs/format.md names, the same on every platform, because what one writes another one reads.
namespace db2::json {

/// The weight for which each byte of a file is good. No item that stands in an array with its value weighs more than its
/// text is good for, unless the file itself brings the default.
inline constexpr std::uint64_t kWeightOfAByte = 64;

/// The weight of each item of @p array, at least kWeightOfAByte. Counts the default only where the file brings it: on
/// dynamic arrays. Cost: in proportion to that default.
[[nodiscard]] std::uint64_t weightOfItem(const AttributeArray& array);

/// The weight that a file is still good for while it is read.
class ItemBudget
{
public:
    /// @param fileBytes  its size.
    explicit ItemBudget(std::size_t fileBytes) : left_(std::uint64_t{fileBytes} * kWeightOfAByte) {}

    /// Takes so many items of such a weight off. @return false, taking nothing, when that is more than is left.
    [[nodiscard]] bool take(std::size_t items, std::uint64_t weight)
    {
        if (items > left_ / weight)
            return false;
        left_ -= items * weight;
        return true;
    }

private:
    std::uint64_t left_;
};

} // namespace db2::json
