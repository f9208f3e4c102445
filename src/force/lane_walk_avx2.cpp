// The group walk on four lanes (AVX2), and on eight as two vectors of four.
// Compiled with -mavx2; run only where the CPU has it.

#if defined(NETLOOM_LANES_X86)

#include "force/lane_walk_impl.h"

#include <immintrin.h>

namespace netloom::force {
namespace {

struct Lanes4 {
    static constexpr int kWidth = 4;
    using V = __m256d;
    static V Set1(double v) { return _mm256_set1_pd(v); }
    static V Load(const double* p) { return _mm256_load_pd(p); }
    static void Store(double* p, V v) { _mm256_store_pd(p, v); }
    static V Add(V a, V b) { return _mm256_add_pd(a, b); }
    static V Sub(V a, V b) { return _mm256_sub_pd(a, b); }
    static V Mul(V a, V b) { return _mm256_mul_pd(a, b); }
    static V Div(V a, V b) { return _mm256_div_pd(a, b); }
    static V Max(V a, V b) { return _mm256_max_pd(a, b); }
    using M = __m256d;
    static M Le(V a, V b) { return _mm256_cmp_pd(a, b, _CMP_LE_OQ); }
    static M Gt(V a, V b) { return _mm256_cmp_pd(a, b, _CMP_GT_OQ); }
    static M And(M a, M b) { return _mm256_and_pd(a, b); }
    static M AndNot(M a, M b) { return _mm256_andnot_pd(b, a); }
    static unsigned Bits(M m) { return static_cast<unsigned>(_mm256_movemask_pd(m)); }
    static M FromBits(unsigned m) {
        const __m256i bits = _mm256_set_epi64x(8, 4, 2, 1);
        const __m256i set = _mm256_and_si256(_mm256_set1_epi64x(m), bits);
        return _mm256_castsi256_pd(_mm256_cmpeq_epi64(set, bits));
    }
    static V Blend(M m, V a, V b) { return _mm256_blendv_pd(b, a, m); }
};

} // namespace

void WalkLanes4(const LaneWalkArgs& args) {
    WalkLanes<Lanes4>(args);
}

void WalkLanes8Avx2(const LaneWalkArgs& args) {
    WalkLanes<Twice<Lanes4>>(args);
}

} // namespace netloom::force

#endif
