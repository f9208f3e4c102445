// The group walk on eight lanes (AVX-512F). Compiled with -mavx512f; run only
// where the CPU has it.

#if defined(NETLOOM_LANES_X86)

#include "force/lane_walk_impl.h"

#include <immintrin.h>

namespace netloom::force {
namespace {

struct Lanes8 {
    static constexpr int kWidth = 8;
    using V = __m512d;
    static V Set1(double v) { return _mm512_set1_pd(v); }
    static V Load(const double* p) { return _mm512_load_pd(p); }
    static void Store(double* p, V v) { _mm512_store_pd(p, v); }
    static V Add(V a, V b) { return _mm512_add_pd(a, b); }
    static V Sub(V a, V b) { return _mm512_sub_pd(a, b); }
    static V Mul(V a, V b) { return _mm512_mul_pd(a, b); }
    static V Div(V a, V b) { return _mm512_div_pd(a, b); }
    // Masked form: the plain one trips a false uninitialised warning in GCC 12.
    static V Max(V a, V b) { return _mm512_maskz_max_pd(static_cast<__mmask8>(0xFF), a, b); }
    using M = __mmask8;
    static M Le(V a, V b) { return _mm512_cmp_pd_mask(a, b, _CMP_LE_OQ); }
    static M Gt(V a, V b) { return _mm512_cmp_pd_mask(a, b, _CMP_GT_OQ); }
    static M And(M a, M b) { return static_cast<M>(a & b); }
    static M AndNot(M a, M b) { return static_cast<M>(a & ~b); }
    static unsigned Bits(M m) { return m; }
    static M FromBits(unsigned m) { return static_cast<M>(m); }
    static V Blend(M m, V a, V b) { return _mm512_mask_blend_pd(m, b, a); }
};

} // namespace

void WalkLanes8(const LaneWalkArgs& args) {
    WalkLanes<Lanes8>(args);
}

} // namespace netloom::force

#endif
