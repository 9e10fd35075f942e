#pragma once

#include <db2/AttributeArray.h>

namespace kqdb {

/// Compares what attributes show, for people who want to know what changed.
class ValueComparison
{
public:
    /// @param tolerance  floating-point numbers that are no farther apart count as equal; with 0 they are compared to the
    ///                   bit, so that -0 differs from 0 and a NaN equals itself.
    explicit ValueComparison(double tolerance) : tolerance_(tolerance) {}

    /// Enums are compared by the text of their choices. Values of different types differ.
    [[nodiscard]] bool isSame(const db2::Attribute& a, const db2::Attribute& b) const;
    [[nodiscard]] bool isSame(const db2::ConstValueHandle& a, const db2::ConstValueHandle& b) const;

private:
    template <class Number>
    [[nodiscard]] bool isSame(const Number* a, const Number* b, std::size_t count) const;
    template <class Array>
    [[nodiscard]] bool isSameArray(const db2::ConstValueHandle& a, const db2::ConstValueHandle& b) const;
    [[nodiscard]] bool isSame(const kqx::VertexBuffer& a, const kqx::VertexBuffer& b) const;

    double tolerance_;
};

} // namespace kqdb
