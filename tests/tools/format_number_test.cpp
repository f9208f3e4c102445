#include "writers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

// The formatting as first written: printf's %g at 15, 16 or 17 digits, the
// first that strtod reads back as the same double.
std::string PrintfNumber(double value) {
    if (!std::isfinite(value)) {
        return "0";
    }
    char buffer[32];
    for (int precision = 15; precision <= 17; ++precision) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, value);
        if (std::strtod(buffer, nullptr) == value) {
            break;
        }
    }
    return buffer;
}

TEST(FormatNumber, WritesTheSameTextAsPrintf) {
    std::mt19937_64 rng(38);
    std::uniform_real_distribution<double> coordinate(-1e7, 1e7);
    std::vector<double> values = {0.0,
                                  -0.0,
                                  1.0,
                                  0.1,
                                  1e15,
                                  1e16,
                                  1e17,
                                  1e-5,
                                  123456789012345678.0,
                                  std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::min(),
                                  std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};
    for (int k = 0; k < 50000; ++k) {
        std::uint64_t bits = rng();
        double any = 0.0;
        std::memcpy(&any, &bits, sizeof any);
        values.push_back(any);
        values.push_back(coordinate(rng));
        values.push_back(std::round(coordinate(rng) * 100.0) / 100.0);            // few digits
        values.push_back(std::ldexp(1.0, static_cast<int>(rng() % 2000) - 1000)); // powers of 2
        values.push_back(std::nextafter(values.back(), 0.0));
    }
    for (const double value : values) {
        ASSERT_EQ(netloom_cli::FormatNumber(value), PrintfNumber(value)) << value;
    }
}

} // namespace
