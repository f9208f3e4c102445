#pragma once

// The group walk, written once over a lane type L, and compiled once per vector
// width in its own file with that width's instructions. L provides kWidth, a
// vector V of kWidth doubles, Set1, Load, Store, Add, Sub, Mul, Div, the
// comparisons Lt, Le, Gt (ordered, as a bit mask of lanes) and Select(mask, a,
// b) (a in the masked lanes, b elsewhere) and Max. Only the arithmetic of the one-node
// descent happens in a lane; a lane that is not at a cell keeps its sums by
// selection, never by adding a zero.

#include "force/lane_walk.h"

#include <cstdint>

namespace netloom::force {

// Two vectors of H side by side as one of twice the width: every operation is
// H's on each half, so each lane still does exactly the scalar operations.
// Wider groups share more of their descent than one vector holds.
template <class H> struct Twice {
    static constexpr int kWidth = 2 * H::kWidth;
    static constexpr unsigned kHalf = (1u << H::kWidth) - 1u;
    struct V {
        typename H::V lo;
        typename H::V hi;
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
    static unsigned Join(unsigned lo, unsigned hi) { return lo | hi << H::kWidth; }
    static unsigned Lt(V a, V b) { return Join(H::Lt(a.lo, b.lo), H::Lt(a.hi, b.hi)); }
    static unsigned Le(V a, V b) { return Join(H::Le(a.lo, b.lo), H::Le(a.hi, b.hi)); }
    static unsigned Gt(V a, V b) { return Join(H::Gt(a.lo, b.lo), H::Gt(a.hi, b.hi)); }
    static V Select(unsigned m, V a, V b) {
        return {H::Select(m & kHalf, a.lo, b.lo), H::Select(m >> H::kWidth & kHalf, a.hi, b.hi)};
    }
};

template <class L> void WalkLanes(const LaneWalkArgs& a) {
    using V = typename L::V;
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
    const V two = L::Set1(2.0);
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
    const FlatCell* cells = a.cells;
    std::int32_t i = 0;
    while (i < a.cellCount) {
        while (top > 0 && waiting[top - 1].end == i) {
            active |= waiting[--top].lanes;
        }
        const FlatCell& c = cells[i];
        const V dx = L::Sub(L::Set1(c.centerX), px);
        const V dy = L::Sub(L::Set1(c.centerY), py);
        const V d2 = L::Add(L::Mul(dx, dx), L::Mul(dy, dy));
        const unsigned near = L::Le(d2, two);
        // A leaf beyond reach lies beyond the cut-off too: the pruning test
        // would only skip what adds nothing.
        if (c.count == 1) {
            const unsigned push = active & near;
            if (push != 0) {
                sx = L::Select(push, L::Add(sx, pushX), sx);
                sy = L::Select(push, L::Add(sy, pushY), sy);
            }
            const unsigned pull = active & ~near & L::Le(d2, cutoff);
            if (pull != 0) {
                V negK = negFar;
                if ((pull & ~plain) != 0) {
                    alignas(64) double negPair[kWidth];
                    for (int l = 0; l < kWidth; ++l) {
                        const bool asked = ((pull & ~plain) >> l & 1u) != 0;
                        negPair[l] =
                            asked ? -a.strength(a.context, a.nodes[l], c.node) : -a.k.strengthFar;
                    }
                    negK = L::Load(negPair);
                }
                const V d2Safe = L::Select(pull, d2, one);
                sx = L::Select(pull, L::Add(sx, L::Div(L::Mul(negK, dx), d2Safe)), sx);
                sy = L::Select(pull, L::Add(sy, L::Div(L::Mul(negK, dy), d2Safe)), sy);
            }
            i = c.next;
            continue;
        }
        unsigned live = active;
        if (a.k.prune) {
            // How far each lane lies outside the reach box, per axis.
            const V ex = L::Max(
                L::Max(L::Sub(L::Set1(c.reachLeft), px), L::Sub(px, L::Set1(c.reachRight))), zero);
            const V ey = L::Max(
                L::Max(L::Sub(L::Set1(c.reachTop), py), L::Sub(py, L::Set1(c.reachBottom))), zero);
            live &= ~L::Gt(L::Add(L::Mul(ex, ex), L::Mul(ey, ey)), reachSqr);
            if (live == 0) {
                i = c.next;
                continue;
            }
        }
        const unsigned far = live & L::Gt(d2, L::Set1(c.farSqr));
        if (far != 0) {
            // One charge of D squared per node at the centre, times the count.
            const unsigned pull = far & ~near & L::Le(d2, cutoff);
            const V d2Safe = L::Select(pull, d2, one);
            V tx = L::Select(pull, L::Div(L::Mul(negFar, dx), d2Safe), zero);
            V ty = L::Select(pull, L::Div(L::Mul(negFar, dy), d2Safe), zero);
            tx = L::Select(near, pushX, tx);
            ty = L::Select(near, pushY, ty);
            const V count = L::Set1(static_cast<double>(c.count));
            sx = L::Select(far, L::Add(sx, L::Mul(tx, count)), sx);
            sy = L::Select(far, L::Add(sy, L::Mul(ty, count)), sy);
        }
        const unsigned open = c.wide != 0 ? live & ~far : 0u;
        if (open != 0) {
            const unsigned rest = active & ~open;
            if (rest != 0) {
                waiting[top++] = {c.next, rest};
            }
            active = open;
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
