#pragma once

#include <cstdint>

namespace db2 {

/// Bits of NumberLimits::getOptions().
namespace NumberOption {
inline constexpr std::uint8_t kHasMinimum = 0x1;
inline constexpr std::uint8_t kHasMaximum = 0x2;
} // namespace NumberOption

/// The limits that the definition of a number has: the part of Int, Float and Double definitions that they share.
template <class Value>
class NumberLimitsDef
{
public:
    /// Sets the limit, and that there is one.
    void setMin(Value min)
    {
        min_ = min;
        hasMin_ = true;
    }
    void setMax(Value max)
    {
        max_ = max;
        hasMax_ = true;
    }

    [[nodiscard]] Value getMin() const { return min_; } ///< 0 until it is set
    [[nodiscard]] Value getMax() const { return max_; } ///< 0 until it is set
    [[nodiscard]] bool hasMin() const { return hasMin_; }
    [[nodiscard]] bool hasMax() const { return hasMax_; }

protected:
    NumberLimitsDef() = default;
    ~NumberLimitsDef() = default;

    void clearLimits() { *this = NumberLimitsDef(); }

private:
    Value min_{};
    Value max_{};
    bool hasMin_ = false;
    bool hasMax_ = false;
};

/// The limits that the metadata of a number has. Says what the host wants; the database enforces neither.
template <class Value>
class NumberLimits
{
public:
    [[nodiscard]] Value getMin() const { return min_; } ///< meaningful with NumberOption::kHasMinimum
    [[nodiscard]] Value getMax() const { return max_; } ///< meaningful with NumberOption::kHasMaximum
    [[nodiscard]] std::uint8_t getOptions() const { return options_; }

protected:
    explicit NumberLimits(const NumberLimitsDef<Value>& definition)
        : min_(definition.getMin()), max_(definition.getMax()),
          options_(static_cast<std::uint8_t>((definition.hasMin() ? NumberOption::kHasMinimum : 0) |
                                             (definition.hasMax() ? NumberOption::kHasMaximum : 0)))
    {
    }
    NumberLimits(const NumberLimits&) = default;
    ~NumberLimits() = default;

    /// Compares as numbers, so a NaN is unequal to itself.
    [[nodiscard]] bool hasSameLimits(const NumberLimits& other) const
    {
        return min_ == other.min_ && max_ == other.max_ && options_ == other.options_;
    }

private:
    Value min_;
    Value max_;
    std::uint8_t options_;
};

} // namespace db2
