#pragma once

#include "NumberedText.h"

#include <array>
#include <cmath>
#include <cstddef>

/// What the trees of the benchmarks look like, alike for the library and for the floor.
namespace db2bench {

/// kTree: three levels with as many children each as make the wanted number of nodes, created depth first. kFlat: all
/// under the root. kChain: each under the one before.
enum class Shape
{
    kTree,
    kFlat,
    kChain
};

/// Calls `add(parent, index)` for each of @p count nodes in the order of creation and hands the node that it returns to
/// the nodes below; `index` is the number in the node's name, which is unique among its siblings.
template <class NodeRef, class Add>
void buildShape(Shape shape, std::size_t count, NodeRef root, Add add)
{
    if (shape != Shape::kTree)
    {
        NodeRef parent = root;
        for (std::size_t i = 0; i < count; ++i)
        {
            const NodeRef node = add(parent, i);
            if (shape == Shape::kChain)
                parent = node;
        }
        return;
    }
    // The root of a cube is not exact: that of 10^6 may come out a little above 100.
    const auto fanOut = static_cast<std::size_t>(std::ceil(std::cbrt(static_cast<double>(count)) - 1e-9));
    std::size_t made = 0;
    for (std::size_t a = 0; a < fanOut && made < count; ++a)
    {
        const NodeRef top = add(root, a);
        ++made;
        for (std::size_t b = 0; b < fanOut && made < count; ++b)
        {
            const NodeRef middle = add(top, b);
            ++made;
            for (std::size_t c = 0; c < fanOut && made < count; ++c)
            {
                add(middle, c);
                ++made;
            }
        }
    }
}

/// The eight values of a node, by its serial number in the order of creation: two floats, an int, a bool, a text, a
/// vector, a matrix and a colour.
template <class Character>
struct Values
{
    float f0 = 0;
    float f1 = 0;
    int i = 0;
    bool b = false;
    NumberedText<Character> s{"mat-"};
    std::array<float, 3> v{};
    std::array<float, 16> m{};
    std::array<float, 4> c{};

    /// Every float is exact for serial numbers below 2^24, so that sums can be checked.
    void setSerial(std::size_t serial)
    {
        f0 = static_cast<float>(serial) * 0.25f;
        f1 = static_cast<float>(serial % 1000) + 0.5f;
        i = static_cast<int>(serial);
        b = (serial & 1) != 0;
        s.setNumber(serial);
        for (std::size_t k = 0; k < v.size(); ++k)
            v[k] = static_cast<float>(serial % 4096) + static_cast<float>(k) * 0.125f;
        for (std::size_t k = 0; k < m.size(); ++k)
            m[k] = (k % 5 == 0 ? 1.0f : 0.0f) + static_cast<float>((serial + k) % 64) * 0.5f;
        c = {static_cast<float>(serial & 1), static_cast<float>(serial >> 1 & 1), static_cast<float>(serial >> 2 & 1),
             1.0f};
    }
};

/// The sum of f0 over nodes with the serial numbers below @p count.
constexpr double sumOfF0(std::size_t count)
{
    return count != 0 ? 0.25 * static_cast<double>(count) * static_cast<double>(count - 1) / 2 : 0;
}

/// What the write benchmark gives to f0.
constexpr float rewrittenF0(std::size_t serial)
{
    return static_cast<float>(serial) * 0.5f + 3.0f;
}

constexpr double sumOfRewrittenF0(std::size_t count)
{
    return 2 * sumOfF0(count) + 3 * static_cast<double>(count);
}

} // namespace db2bench
