// The group walk on two lanes (SSE2, which every x86-64 CPU has).

#if defined(NETLOOM_LANES_X86)

#include "force/lane_walk_impl.h"

#include <emmintrin.h>

namespace netloom::force {
namespace {

struct Lanes2 {
    static constexpr int kWidth = 2;
    using V = __m128d;
    static V Set1(double v) { return _mm_set1_pd(v); }
    static V Load(const double* p) { return _mm_load_pd(p); }
    static void Store(double* p, V v) { _mm_store_pd(p, v); }
    static V Add(V a, V b) { return _mm_add_pd(a, b); }
    static V Sub(V a, V b) { return _mm_sub_pd(a, b); }
    static V Mul(V a, V b) { return _mm_mul_pd(a, b); }
    static V Div(V a, V b) { return _mm_div_pd(a, b); }
    static V Max(V a, V b) { return _mm_max_pd(a, b); }
    using M = __m128d;
    static M Le(V a, V b) { return _mm_cmple_pd(a, b); }
    static M Gt(V a, V b) { return _mm_cmpgt_pd(a, b); }
    static M And(M a, M b) { return _mm_and_pd(a, b); }
    static M AndNot(M a, M b) { return _mm_andnot_pd(b, a); }
    static unsigned Bits(M m) { return static_cast<unsigned>(_mm_movemask_pd(m)); }
    static M FromBits(unsigned m) {
        return _mm_castsi128_pd(_mm_set_epi64x((m & 2u) != 0 ? -1 : 0, (m & 1u) != 0 ? -1 : 0));
    }
    static V Blend(M m, V a, V b) { return _mm_or_pd(_mm_and_pd(m, a), _mm_andnot_pd(m, b)); }
};

} // namespace

void WalkLanes2(const LaneWalkArgs& args) {
    WalkLanes<Lanes2>(args);
}

} // namespace netloom::force

#endif
