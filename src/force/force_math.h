#pragma once

// The force and motion formulas of the force-directed layout, written once and
// shared by the CNode operations and the layout's working arrays, so that both
// produce the same bits.

#include <netloom/params.h>

#include <cmath>

namespace netloom::force {

// The damped iteration: the step starts at kStartStep and halves after
// kStallLimit iterations in a row without a new lowest energy (the lowest
// starts at kStartEnergy); velocities keep kDamping of their value; at most
// kMaxIterations run.
constexpr double kStartStep = 0.5;
constexpr double kDamping = 0.6;
constexpr double kStartEnergy = 99999999999.0;
constexpr int kStallLimit = 10;
constexpr int kMaxIterations = 1500;

// The repulsion law. A charge of strength k at offset (dx, dy) from a node,
// d2 = dx * dx + dy * dy, acts on the node with
//   d2 <= kNearSqr:              a fixed push (D / 8, D / 4) toward +x and +y;
//   d2 <= the cut-off (8 D^2):   the pull (-k * dx / d2, -k * dy / d2);
//   beyond:                      no force.
// Its terms are templates over a lane type L: Scalar for one node, a vector of
// doubles for the group walk (lane_walk_impl.h), so every descent does the
// same operations in the same order.
constexpr double kNearSqr = 2.0;
inline double CutoffSqr(double distanceSqr) {
    return 8.0 * distanceSqr;
}
inline double PushX(double distance) {
    return distance / 8.0;
}
inline double PushY(double distance) {
    return distance / 4.0;
}

// One double as a lane type.
struct Scalar {
    using V = double;
    using M = bool;
    static V Set1(double v) { return v; }
    static V Add(V a, V b) { return a + b; }
    static V Mul(V a, V b) { return a * b; }
    static V Div(V a, V b) { return a / b; }
    static M Le(V a, V b) { return a <= b; }
};

template <class L> typename L::V SquaredDistance(typename L::V dx, typename L::V dy) {
    return L::Add(L::Mul(dx, dx), L::Mul(dy, dy));
}
template <class L> typename L::M IsNear(typename L::V d2) {
    return L::Le(d2, L::Set1(kNearSqr));
}
template <class L> typename L::M InRange(typename L::V d2, typename L::V cutoff) {
    return L::Le(d2, cutoff);
}
// One component of the pull, with negK = -k.
template <class L> typename L::V Pull(typename L::V negK, typename L::V d, typename L::V d2) {
    return L::Div(L::Mul(negK, d), d2);
}

// The law for one node: the force (tx, ty) of a charge at offset (dx, dy), d2
// their SquaredDistance. strength() gives k; it is asked only for the pull.
// Returns false beyond the cut-off, where the force is (+0.0, +0.0).
template <class Strength>
bool ChargeForce(double dx, double dy, double d2, double cutoff, double pushX, double pushY,
                 Strength strength, double& tx, double& ty) {
    if (IsNear<Scalar>(d2)) {
        tx = pushX;
        ty = pushY;
        return true;
    }
    if (InRange<Scalar>(d2, cutoff)) {
        const double negK = -strength();
        tx = Pull<Scalar>(negK, dx, d2);
        ty = Pull<Scalar>(negK, dy, d2);
        return true;
    }
    tx = 0.0;
    ty = 0.0;
    return false;
}

// Force on a node at (px, py) from a charge of strength k at (x, y).
inline void Repulsion(double px, double py, double x, double y, double k, double& fx, double& fy) {
    const double dx = x - px;
    const double dy = y - py;
    ChargeForce(
        dx, dy, SquaredDistance<Scalar>(dx, dy), CutoffSqr(g_dLayoutDistanceSqr),
        PushX(g_dLayoutDistance), PushY(g_dLayoutDistance), [k] { return k; }, fx, fy);
}

// A natural length of 0 or below would divide by zero: the layout distance
// stands in for it.
inline double SpringLength(double normalLength, double distance = g_dLayoutDistance) {
    return normalLength > 0.0 ? normalLength : distance;
}

// Spring pull of one edge (source (sx, sy), destination (tx, ty)) on one of its
// ends; atDest selects the destination end. `distance` is the layout distance
// (a thread's parameter, taken once per pass by the layout).
inline void Spring(double sx, double sy, double tx, double ty, double normalLength, bool atDest,
                   double& fx, double& fy, double distance = g_dLayoutDistance) {
    const double lx = sx - tx;
    const double ly = sy - ty;
    const double length = std::sqrt(lx * lx + ly * ly);
    const double n = SpringLength(normalLength, distance);
    if (!(n > 0.0)) {
        // A layout distance of 0 or below leaves the spring without a length:
        // it pulls with no force rather than dividing by zero.
        fx = 0.0;
        fy = 0.0;
        return;
    }
    const double dx = tx - sx;
    const double dy = ty - sy;
    if (atDest) {
        fx = -length * dx / n;
        fy = -length * dy / n;
    } else {
        fx = length * dx / n;
        fy = length * dy / n;
    }
}

// Limits a value to [-D, D] (D the layout distance).
inline double LimitToDistance(double v, double distance = g_dLayoutDistance) {
    if (v > distance) {
        return distance;
    }
    if (v < -distance) {
        return -distance;
    }
    return v;
}

inline double Accelerated(double v, double step, double damping, double f,
                          double distance = g_dLayoutDistance) {
    return LimitToDistance(v * damping + step * f, distance);
}

} // namespace netloom::force
