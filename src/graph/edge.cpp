#include <netloom/edge.h>
#include <netloom/node.h>

#include <cmath>

CEdge::CEdge(int id, CNode* source, CNode* dest, int sourceSubNodeID, int destSubNodeID)
    : m_pSource(source), m_pDest(dest), m_iID(id), m_iSourceSubNodeID(sourceSubNodeID),
      m_iDestSubNodeID(destSubNodeID) {}

CEdge::~CEdge() = default;

double CEdge::GetDX() const {
    return m_pDest->X() - m_pSource->X();
}

double CEdge::GetDY() const {
    return m_pDest->Y() - m_pSource->Y();
}

double CEdge::GetLength() const {
    const double dx = m_pSource->X() - m_pDest->X();
    const double dy = m_pSource->Y() - m_pDest->Y();
    return std::sqrt(dx * dx + dy * dy);
}

void CEdge::BreakEdge() {
    m_pDest->DeleteEdge(this);
    m_pSource->DeleteEdge(this);
}

bool CEdge::operator==(const CEdge& other) const {
    const bool same = other.m_pDest == m_pDest && other.m_pSource == m_pSource &&
                      other.m_iSourceSubNodeID == m_iSourceSubNodeID &&
                      other.m_iDestSubNodeID == m_iDestSubNodeID;
    const bool reversed = other.m_pDest == m_pSource && other.m_pSource == m_pDest &&
                          other.m_iSourceSubNodeID == m_iDestSubNodeID &&
                          other.m_iDestSubNodeID == m_iSourceSubNodeID;
    return same || reversed;
}
