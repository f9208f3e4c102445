#pragma once

// The group walk, written once over a lane type L, and compiled once per vector
// width in its own file with that width's instructions. L provides kWidth, a
// vector V of kWidth doubles and a lane mask M; Set1, Load, Store, Add, Sub,
// Mul, Div and Max on V; the comparisons Le and Gt (ordered) giving an M; And,
// AndNot (a and not b) on masks, Bits (the mask as lane bits) and FromBits;
// and Blend(m, a, b) (a in the lanes of m, b elsewhere). Only the arithmetic
// of the one-node descent happens in a lane, with the repulsion law's terms of
// force_math.h instantiated for L; a lane that is not at a cell
// keeps its sums by blending, never by adding a zero. Masks stay in vector
// form for the arithmetic; their bits decide the branches.

#include "force/force_math.h"
#include "force/lane_walk.h"

#include <cstdint>

namespace netloom::force {

// Two vectors of H side by side as one of twice the width: every operation is
// H's on each half, so each lane still does exactly the scalar operations.
// Wider groups share more of their descent than one vector holds.
template <class H> struct Twice {
    static constexpr int kWidth = 2 * H::kWidth;
    struct V {
        typename H::V lo;
        typename H::V hi;
    };
    struct M {
        typename H::M lo;
        typename H::M hi;
    };
    static V Set1(double v) { return {H::Set1(v), H::Set1(v)}; }
    static V Load(const double* p) { return {H::Load(p), H::Load(p + H::kWidth)}; }
    static void Store(double* p, V v) {
        H::Store(p, v.lo);
        H::Store(p + H::kWidth, v.hi);
    }
    static V Add(V a, V b) { return {H::Add(a.lo, b.lo), H::Add(a.hi, b.hi)}; }
    static V Sub(V a, V b) { return {H::Sub(a.lo, b.lo), H::Sub(a.hi, b.hi)}; }
    static V Mul(V a, V b) { return {H::Mul(a.lo, b.lo), H::Mul(a.hi, b.hi)}; }
    static V Div(V a, V b) { return {H::Div(a.lo, b.lo), H::Div(a.hi, b.hi)}; }
    static V Max(V a, V b) { return {H::Max(a.lo, b.lo), H::Max(a.hi, b.hi)}; }
    static M Le(V a, V b) { return {H::Le(a.lo, b.lo), H::Le(a.hi, b.hi)}; }
    static M Gt(V a, V b) { return {H::Gt(a.lo, b.lo), H::Gt(a.hi, b.hi)}; }
    static M And(M a, M b) { return {H::And(a.lo, b.lo), H::And(a.hi, b.hi)}; }
    static M AndNot(M a, M b) { return {H::AndNot(a.lo, b.lo), H::AndNot(a.hi, b.hi)}; }
    static unsigned Bits(M m) { return H::Bits(m.lo) | H::Bits(m.hi) << H::kWidth; }
    static M FromBits(unsigned b) {
        return {H::FromBits(b & ((1u << H::kWidth) - 1u)), H::FromBits(b >> H::kWidth)};
    }
    static V Blend(M m, V a, V b) {
        return {H::Blend(m.lo, a.lo, b.lo), H::Blend(m.hi, a.hi, b.hi)};
    }
};

template <class L> void WalkLanes(const LaneWalkArgs& a) {
    using V = typename L::V;
    using M = typename L::M;
    constexpr int kWidth = L::kWidth;
    alignas(64) double lx[kWidth];
    alignas(64) double ly[kWidth];
    unsigned plain = 0;
    for (int l = 0; l < kWidth; ++l) {
        // Unused lanes repeat the first node: finite values, results dropped.
        const std::int32_t node = a.nodes[l < a.count ? l : 0];
        lx[l] = a.x[node];
        ly[l] = a.y[node];
        if (a.plain[node] != 0) {
            plain |= 1u << l;
        }
    }
    const V px = L::Load(lx);
    const V py = L::Load(ly);
    const V zero = L::Set1(0.0);
    const V one = L::Set1(1.0);
    const V cutoff = L::Set1(a.k.cutoff);
    const V reachSqr = L::Set1(a.k.reachSqr);
    const V pushX = L::Set1(a.k.pushX);
    const V pushY = L::Set1(a.k.pushY);
    const V negFar = L::Set1(-a.k.strengthFar);
    V sx = zero;
    V sy = zero;
    // Lanes that skipped a subtree wait for the walk to reach its end. Subtrees
    // nest, so the nearest end is on top; one entry per open level at most.
    struct Waiting {
        std::int32_t end;
        unsigned lanes;
    };
    Waiting waiting[72];
    int top = 0;
    unsigned active = (1u << a.count) - 1u;
    M activeM = L::FromBits(active);
    const FlatCell* cells = a.cells;
    const std::int32_t cellCount = a.cellCount;
    // Where the innermost waiting lanes come back (past the end when none wait).
    std::int32_t resume = cellCount;
    std::int32_t i = 0;
    while (i < cellCount) {
        if (i == resume) {
            do {
                active |= waiting[--top].lanes;
            } while (top > 0 && waiting[top - 1].end == i);
            resume = top > 0 ? waiting[top - 1].end : cellCount;
            activeM = L::FromBits(active);
        }
        const FlatCell& c = cells[i];
        // The cell after this one's subtree: where the walk goes on when no
        // lane opens this cell.
        __builtin_prefetch(&cells[c.next]);
        const V dx = L::Sub(L::Set1(c.centerX), px);
        const V dy = L::Sub(L::Set1(c.centerY), py);
        const V d2 = SquaredDistance<L>(dx, dy);
        const M nearM = IsNear<L>(d2);
        const M inRangeM = InRange<L>(d2, cutoff);
        // A cell or leaf beyond the cut-off adds zeros, which leave a sum as it
        // is (a sum that starts at +0.0 never becomes -0.0): lanes with nothing
        // to add skip the arithmetic.
        if (c.IsLeaf()) {
            const M pushM = L::And(activeM, nearM);
            const M pullM = L::AndNot(L::And(activeM, inRangeM), nearM);
            const unsigned pull = L::Bits(pullM);
            if ((L::Bits(pushM) | pull) != 0) {
                sx = L::Blend(pushM, L::Add(sx, pushX), sx);
                sy = L::Blend(pushM, L::Add(sy, pushY), sy);
                V negK = negFar;
                if ((pull & ~plain) != 0) {
                    alignas(64) double negPair[kWidth];
                    for (int l = 0; l < kWidth; ++l) {
                        const bool asked = ((pull & ~plain) >> l & 1u) != 0;
                        negPair[l] =
                            asked ? -a.strength(a.context, a.nodes[l], c.Node()) : -a.k.strengthFar;
                    }
                    negK = L::Load(negPair);
                }
                const V d2Safe = L::Blend(pullM, d2, one);
                sx = L::Blend(pullM, L::Add(sx, Pull<L>(negK, dx, d2Safe)), sx);
                sy = L::Blend(pullM, L::Add(sy, Pull<L>(negK, dy, d2Safe)), sy);
            }
            i = c.next;
            continue;
        }
        const M farM = L::And(activeM, L::Gt(d2, L::Set1(c.farSqr)));
        const M pushM = L::And(farM, nearM);
        const M pullM = L::AndNot(L::And(farM, inRangeM), nearM);
        if ((L::Bits(pushM) | L::Bits(pullM)) != 0) {
            // One charge of D squared per node at the centre, times the count;
            // +0.0 in the lanes that are not far.
            const V d2Safe = L::Blend(pullM, d2, one);
            V tx = L::Blend(pullM, Pull<L>(negFar, dx, d2Safe), zero);
            V ty = L::Blend(pullM, Pull<L>(negFar, dy, d2Safe), zero);
            tx = L::Blend(pushM, pushX, tx);
            ty = L::Blend(pushM, pushY, ty);
            const V count = L::Set1(static_cast<double>(c.count));
            sx = L::Add(sx, L::Mul(tx, count));
            sy = L::Add(sy, L::Mul(ty, count));
        }
        M openM = L::AndNot(activeM, farM);
        unsigned open = c.next != i + 1 ? L::Bits(openM) : 0u;
        if (open != 0 && a.k.prune) {
            // Lanes wholly beyond reach of the cell would find only zeros inside.
            const V reachLeft = L::Set1(static_cast<double>(c.left) - 1.0);
            const V reachTop = L::Set1(static_cast<double>(c.top) - 1.0);
            const V reachRight = L::Set1(static_cast<double>(c.right));
            const V reachBottom = L::Set1(static_cast<double>(c.bottom));
            const V ex = L::Max(L::Max(L::Sub(reachLeft, px), L::Sub(px, reachRight)), zero);
            const V ey = L::Max(L::Max(L::Sub(reachTop, py), L::Sub(py, reachBottom)), zero);
            openM = L::AndNot(openM, L::Gt(L::Add(L::Mul(ex, ex), L::Mul(ey, ey)), reachSqr));
            open = L::Bits(openM);
        }
        if (open != 0) {
            const unsigned rest = active & ~open;
            if (rest != 0) {
                waiting[top++] = {c.next, rest};
                resume = c.next;
            }
            active = open;
            activeM = openM;
            i = i + 1;
        } else {
            i = c.next;
        }
    }
    alignas(64) double outX[kWidth];
    alignas(64) double outY[kWidth];
    L::Store(outX, sx);
    L::Store(outY, sy);
    for (int l = 0; l < a.count; ++l) {
        a.fx[l] = outX[l];
        a.fy[l] = outY[l];
    }
}

} // namespace netloom::force
