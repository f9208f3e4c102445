#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace netloom {

// Converts a double or a 64-bit integer to a 32-bit int, saturating at the ends
// of the range. A double is truncated toward zero and NaN gives 0.
template <class T> std::int32_t SaturateToInt(T v) {
    static_assert(std::is_same_v<T, double> || std::is_same_v<T, std::int64_t>,
                  "a double or a 64-bit integer");
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    if constexpr (std::is_same_v<T, double>) {
        if (std::isnan(v)) {
            return 0;
        }
    }
    if (v >= static_cast<T>(kMax)) {
        return kMax;
    }
    if (v <= static_cast<T>(kMin)) {
        return kMin;
    }
    return static_cast<std::int32_t>(v);
}

// Every position-to-integer conversion goes through this one.
inline std::int32_t TruncToInt(double v) {
    return SaturateToInt(v);
}

} // namespace netloom
