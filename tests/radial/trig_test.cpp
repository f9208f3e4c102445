#include "radial/trig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace {

// Distance in units in the last place between two finite doubles.
std::int64_t Ulps(double a, double b) {
    const auto ordered = [](double v) {
        std::int64_t bits = 0;
        std::memcpy(&bits, &v, sizeof bits);
        return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
    };
    const std::int64_t d = ordered(a) - ordered(b);
    return d < 0 ? -d : d;
}

// Arguments of the sweeps: a fine grid over the radial layout's range, random
// values up to the end of the exact reduction, and neighbours of multiples of
// pi/4, where the reduction cancels most bits.
std::vector<double> Arguments() {
    std::vector<double> args;
    for (int i = -200000; i <= 200000; ++i) {
        args.push_back(i * 5e-5);
    }
    std::mt19937_64 rng(23);
    for (double scale : {1e-8, 1.0, 10.0, 1e3, 1e6}) {
        std::uniform_real_distribution<double> uniform(-scale, scale);
        for (int i = 0; i < 100000; ++i) {
            args.push_back(uniform(rng));
        }
    }
    for (int k = -400; k <= 400; ++k) {
        double v = k * (M_PI / 4);
        for (int step = 0; step < 8; ++step) {
            args.push_back(v);
            v = std::nextafter(v, 1e9);
        }
    }
    return args;
}

struct Sweep {
    const char* name;
    std::function<double(double)> ours;
    std::function<double(double)> libc;
};

// Each function against the C library: equal bits, or one ulp apart where the
// C library's rounding differs. The counts are printed for the record.
TEST(TrigTest, AgreesWithTheCLibraryWithinOneUlp) {
    const std::vector<double> args = Arguments();
    const double ratio = 0.37;
    const Sweep sweeps[] = {
        {"sin", netloom::Sin, [](double x) { return std::sin(x); }},
        {"cos", netloom::Cos, [](double x) { return std::cos(x); }},
        {"atan2(x, 0.37)", [=](double x) { return netloom::Atan2(x, ratio); },
         [=](double x) { return std::atan2(x, ratio); }},
        {"atan2(0.37, x)", [=](double x) { return netloom::Atan2(ratio, x); },
         [=](double x) { return std::atan2(ratio, x); }},
        {"atan2(-x, -1)", [](double x) { return netloom::Atan2(-x, -1.0); },
         [](double x) { return std::atan2(-x, -1.0); }},
    };
    for (const Sweep& sweep : sweeps) {
        std::size_t differ = 0;
        for (double x : args) {
            const double ours = sweep.ours(x);
            const double libc = sweep.libc(x);
            if (ours != libc || std::signbit(ours) != std::signbit(libc)) {
                ++differ;
                ASSERT_LE(Ulps(ours, libc), 1) << sweep.name << " at " << x;
            }
        }
        std::printf("%s: %zu of %zu arguments differ by one ulp from the C library\n", sweep.name,
                    differ, args.size());
    }
}

TEST(TrigTest, SpecialValues) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double x : {nan, inf, -inf}) {
        EXPECT_TRUE(std::isnan(netloom::Sin(x)));
        EXPECT_TRUE(std::isnan(netloom::Cos(x)));
        EXPECT_TRUE(std::isnan(netloom::Atan2(nan, x)));
        EXPECT_TRUE(std::isnan(netloom::Atan2(x, nan)));
    }
    EXPECT_TRUE(std::signbit(netloom::Sin(-0.0)));
    EXPECT_EQ(netloom::Cos(-0.0), 1.0);
    // Zeros and infinities in every quadrant, as the C library gives them.
    for (double y : {0.0, -0.0, 1.0, -1.0, inf, -inf}) {
        for (double x : {0.0, -0.0, 1.0, -1.0, 2.5, inf, -inf, 1e-300, -1e300}) {
            const double want = std::atan2(y, x);
            const double got = netloom::Atan2(y, x);
            EXPECT_TRUE(got == want && std::signbit(got) == std::signbit(want)) << y << ", " << x;
        }
    }
    // Beyond the exact reduction: finite, within [-1, 1], and the same bits again.
    for (double x : {1e7, -3.5e15, 1e300, -std::numeric_limits<double>::max()}) {
        const double s = netloom::Sin(x);
        const double c = netloom::Cos(x);
        EXPECT_TRUE(std::fabs(s) <= 1.0 && std::fabs(c) <= 1.0) << x;
        EXPECT_EQ(s, netloom::Sin(x));
    }
    EXPECT_NEAR(netloom::Sin(1e7), std::sin(1e7), 1e-8);
}

} // namespace
