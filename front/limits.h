#pragma once

// Every range a front end checks before a layout, written once: the tool's
// options, the Python arguments and the JavaScript options all read it.

namespace netloom::front {

struct Limit {
    const char* name; // the option's name in the tool, without dashes
    long long low;
    long long high;
    constexpr bool Holds(long long v) const { return v >= low && v <= high; }
};

// Node distance and layer spacing, in layout units.
inline constexpr Limit kDistanceLimit{"distance", 1, 100000};
inline constexpr Limit kLayerSpacingLimit{"layer-spacing", 1, 100000};
// Natural edge lengths keep their square inside 32 bits.
inline constexpr Limit kLengthLimit{"length", 0, 46340};
inline constexpr Limit kMaxColsLimit{"max-cols", 0, 1000000};
inline constexpr Limit kDirectionLimit{"direction", 1, 4};
inline constexpr Limit kArrangeModeLimit{"arrange-mode", 0, 1000};
inline constexpr Limit kThreadsLimit{"threads", 0, 1024};
inline constexpr Limit kLevelLimit{"level", -1000000000, 1000000000};

inline constexpr const Limit* kLimits[] = {
    &kDistanceLimit,  &kLayerSpacingLimit, &kLengthLimit,  &kMaxColsLimit,
    &kDirectionLimit, &kArrangeModeLimit,  &kThreadsLimit, &kLevelLimit,
};

} // namespace netloom::front
