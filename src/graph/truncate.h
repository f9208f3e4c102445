#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace netloom {

// Converts a double to a 32-bit int by truncation toward zero, saturating at the
// ends of the range; NaN gives 0. Every position-to-integer conversion uses it.
inline std::int32_t TruncToInt(double v) {
    if (std::isnan(v)) {
        return 0;
    }
    if (v >= 2147483647.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (v <= -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(v);
}

} // namespace netloom
