#include <netloom/edge.h>
#include <netloom/node.h>
#include <netloom/params.h>

#include "force/force_math.h"

namespace force = netloom::force;

void CNode::Coulumb_repulsion(double x, double y, double& fx, double& fy, double k) const {
    force::Repulsion(m_dX, m_dY, x, y, k, fx, fy);
}

void CNode::Coulumb_repulsion(const CNode* other, double& fx, double& fy) const {
    Coulumb_repulsion(other->X(), other->Y(), fx, fy, g_dLayoutDistanceSqr);
}

void CNode::Hook_attraction(const CEdge* edge, double& fx, double& fy) const {
    const CNode* source = edge->GetSourceNode();
    const CNode* dest = edge->GetDestNode();
    force::Spring(source->X(), source->Y(), dest->X(), dest->Y(), edge->GetNormalLength(),
                  dest == this, fx, fy);
}

void CNode::Hook_attractions(double& fx, double& fy) const {
    fx = 0.0;
    fy = 0.0;
    for (const CEdge* edge : m_setEdges) {
        double tx = 0.0;
        double ty = 0.0;
        Hook_attraction(edge, tx, ty);
        fx += tx;
        fy += ty;
    }
}

void CNode::Accelerate(double step, double damping, double fx, double fy) {
    m_dVx = force::Accelerated(m_dVx, step, damping, fx);
    m_dVy = force::Accelerated(m_dVy, step, damping, fy);
}

double CNode::GetEnergy() const {
    return m_dVx * m_dVx + m_dVy * m_dVy;
}

void CNode::Move(double t) {
    const double dx = force::LimitToDistance(t * m_dVx);
    const double dy = force::LimitToDistance(t * m_dVy);
    Move(dx, dy);
}

int CNode::Sign(double v) {
    if (v > 0) {
        return 1;
    }
    if (v < 0) {
        return -1;
    }
    return 0;
}

// Each neighbour o contributes the point at 5 x D from o on the line from o
// through the node's position on entry; coincident points count as distance 1.
void CNode::CenterlizeNodebyHook() {
    if (m_setEdges.empty() || m_bFixed) {
        return;
    }
    const double px = m_dX;
    const double py = m_dY;
    double sumX = 0.0;
    double sumY = 0.0;
    for (const CEdge* edge : m_setEdges) {
        const CNode* other =
            edge->GetSourceNode() == this ? edge->GetDestNode() : edge->GetSourceNode();
        const double ox = other->X();
        const double oy = other->Y();
        double length = std::sqrt((px - ox) * (px - ox) + (py - oy) * (py - oy));
        if (length == 0.0) {
            length = 1.0;
        }
        sumX += ox + (px - ox) * 5.0 * g_dLayoutDistance / length;
        sumY += oy + (py - oy) * 5.0 * g_dLayoutDistance / length;
    }
    const double count = static_cast<double>(m_setEdges.size());
    SetPosition(sumX / count, sumY / count);
}
