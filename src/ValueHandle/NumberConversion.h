#pragma once

#include <kqx/NumberText.h>
#include <kqx/String.h>

#include <limits>
#include <type_traits>

/// A number of one type read as another, and a text read as a number.
namespace db2 {

template <class Result, class Source>
Result convertNumber(Source number)
{
    if constexpr (std::is_same_v<Result, bool>)
        return number != Source{};
    else
        return static_cast<Result>(number); // a double beyond all floats becomes an infinity, as the format says
}
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

/// Not a plain cast, which is undefined for what does not fit.
template <>
inline int convertNumber<int, double>(double number)
{
    constexpr double kBelowMin = std::numeric_limits<int>::min() - 1.0;
    constexpr double kAboveMax = std::numeric_limits<int>::max() + 1.0;
    if (number > kBelowMin && number < kAboveMax)
        return static_cast<int>(number);
    if (number != number)
        return 0;
    return number < 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

template <>
inline int convertNumber<int, float>(float number)
{
    return convertNumber<int>(static_cast<double>(number));
}

template <class Result>
Result parseNumber(const kqx::String& text)
{
    if constexpr (std::is_floating_point_v<Result>)
        return static_cast<Result>(kqx::parseDouble(text.c_str(), text.size()));
    else
        return convertNumber<Result>(kqx::parseInt(text.c_str(), text.size()));
}

} // namespace db2
