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

// Force on a node at (px, py) from a charge of strength k at (x, y).
inline void Repulsion(double px, double py, double x, double y, double k, double& fx, double& fy) {
    const double dx = x - px;
    const double dy = y - py;
    const double d2 = dx * dx + dy * dy;
    if (d2 <= 2.0) {
        // On top of the charge: a fixed push toward +x and +y.
        fx = g_dLayoutDistance / 8.0;
        fy = g_dLayoutDistance / 4.0;
    } else if (d2 <= 8.0 * g_dLayoutDistanceSqr) {
        fx = -k * dx / d2;
        fy = -k * dy / d2;
    } else {
        fx = 0.0;
        fy = 0.0;
    }
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
