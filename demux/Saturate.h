#pragma once

#include <limits>
#include <type_traits>

namespace Vantor {

/// `value` truncated toward zero; beyond the range of `Int` the nearest end of it, and 0 for no number at
/// all.
template <typename Int>
constexpr Int saturate(double value)
{
    static_assert(std::is_integral_v<Int> && std::is_signed_v<Int>);
    // The lowest value is a power of two and so exact as a double; the highest need not be.
    constexpr auto lowest = static_cast<double>(std::numeric_limits<Int>::min());
    if (!(value > lowest))
        return value <= lowest ? std::numeric_limits<Int>::min() : 0;
    return value < -lowest ? static_cast<Int>(value) : std::numeric_limits<Int>::max();
}

} // namespace Vantor
