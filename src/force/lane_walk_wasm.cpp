// The group walk on two lanes of WebAssembly's 128-bit SIMD (-msimd128).

#if defined(__wasm_simd128__)

#include "force/lane_walk_impl.h"

#include <wasm_simd128.h>

namespace netloom::force {
namespace {

struct Lanes2 {
    static constexpr int kWidth = 2;
    using V = v128_t;
    static V Set1(double v) { return wasm_f64x2_splat(v); }
    static V Load(const double* p) { return wasm_v128_load(p); }
    static void Store(double* p, V v) { wasm_v128_store(p, v); }
    static V Add(V a, V b) { return wasm_f64x2_add(a, b); }
    static V Sub(V a, V b) { return wasm_f64x2_sub(a, b); }
    static V Mul(V a, V b) { return wasm_f64x2_mul(a, b); }
    static V Div(V a, V b) { return wasm_f64x2_div(a, b); }
    // b < a ? a : b, as x86's maxpd gives it (a when greater, else b).
    static V Max(V a, V b) { return wasm_f64x2_pmax(b, a); }
    using M = v128_t;
    static M Le(V a, V b) { return wasm_f64x2_le(a, b); }
    static M Gt(V a, V b) { return wasm_f64x2_gt(a, b); }
    static M And(M a, M b) { return wasm_v128_and(a, b); }
    static M AndNot(M a, M b) { return wasm_v128_andnot(a, b); }
    static unsigned Bits(M m) { return wasm_i64x2_bitmask(m); }
    static M FromBits(unsigned m) {
        return wasm_i64x2_make((m & 1u) != 0 ? -1 : 0, (m & 2u) != 0 ? -1 : 0);
    }
    static V Blend(M m, V a, V b) { return wasm_v128_bitselect(a, b, m); }
};

} // namespace

void WalkLanes2(const LaneWalkArgs& args) {
    WalkLanes<Lanes2>(args);
}

} // namespace netloom::force

#endif
