#include "force/lane_walk.h"

#include <cstdlib>

namespace netloom::force {

#if defined(NETLOOM_LANES_X86)
void WalkLanes2(const LaneWalkArgs& args);
void WalkLanes4(const LaneWalkArgs& args);
void WalkLanes8(const LaneWalkArgs& args);
void WalkLanes8Avx2(const LaneWalkArgs& args);
#elif defined(__wasm_simd128__)
void WalkLanes2(const LaneWalkArgs& args);
#endif

namespace {

int CpuLanes() {
#if defined(NETLOOM_LANES_X86)
    if (__builtin_cpu_supports("avx512f")) {
        return 8;
    }
    if (__builtin_cpu_supports("avx2")) {
        return 8; // two vectors of four: groups of eight share more of their descent
    }
    return 2;
#elif defined(__wasm_simd128__)
    return 2;
#else
    return 1;
#endif
}

int CappedLanes() {
    int lanes = CpuLanes();
    if (const char* cap = std::getenv("NETLOOM_LANES")) {
        const int limit = std::atoi(cap);
        while (lanes > 1 && lanes > limit) {
            lanes /= 2;
        }
    }
    return lanes;
}

} // namespace

int WidestLanes() {
    // Read once: the CPU and the environment do not change during a run.
    static const int lanes = CappedLanes();
    return lanes;
}

LaneWalkFn LaneWalk(int width) {
    if (width < 2 || width > WidestLanes()) {
        return nullptr;
    }
#if defined(NETLOOM_LANES_X86)
    switch (width) {
    case 2:
        return WalkLanes2;
    case 4:
        return WalkLanes4;
    case 8:
        return __builtin_cpu_supports("avx512f") ? WalkLanes8 : WalkLanes8Avx2;
    default:
        break;
    }
#elif defined(__wasm_simd128__)
    if (width == 2) {
        return WalkLanes2;
    }
#endif
    return nullptr;
}

} // namespace netloom::force
