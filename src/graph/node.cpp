#include <netloom/edge.h>
#include <netloom/node.h>

#include "graph/truncate.h"

using netloom::TruncToInt;

namespace {

CRect RectAround(double x, double y) {
    const double half = CNode::m_iWidth / 2.0;
    return CRect(TruncToInt(x - half), TruncToInt(y - half), TruncToInt(x + half),
                 TruncToInt(y + half));
}

} // namespace

CNode::CNode(int id, double x, double y, bool fixed)
    : m_rect(RectAround(x, y)), m_dX(x), m_dY(y), m_iID(id), m_bFixed(fixed) {}

CNode::~CNode() = default;

void CNode::SetPosition(double x, double y) {
    m_dX = x;
    m_dY = y;
}

void CNode::Move(double dx, double dy) {
    m_dX += dx;
    m_dY += dy;
}

void CNode::UpdateRect() {
    m_rect = RectAround(m_dX, m_dY);
}

void CNode::AddEdge(CEdge* e) {
    // Edges usually join in creation order: the hint makes that insertion O(1).
    m_setEdges.insert(m_setEdges.end(), e);
}

void CNode::DeleteEdge(CEdge* e) {
    m_setEdges.erase(e);
}

void CNode::SetNodePos(const _tagNode& pos) {
    m_tagNode = pos;
}
