#pragma once

#include <netloom/creation_order.h>
#include <netloom/export.h>

#include <cstdint>

class CNode;

// One edge between two nodes, with a port (sub-node) id at each end.
class NETLOOM_API CEdge : public netloom::CreationOrdered {
public:
    CEdge(int id, CNode* source, CNode* dest, int sourceSubNodeID, int destSubNodeID);
    CEdge(const CEdge&) = default;
    CEdge& operator=(const CEdge&) = default;
    virtual ~CEdge();

    int GetID() const { return m_iID; }
    CNode* GetSourceNode() const { return m_pSource; }
    CNode* GetDestNode() const { return m_pDest; }
    int GetSourceSubNodeID() const { return m_iSourceSubNodeID; }
    int GetDestSubNodeID() const { return m_iDestSubNodeID; }
    double GetNormalLength() const { return m_dNormalLength; }
    void SetNormalLength(double length) { m_dNormalLength = length; }
    bool IsUnique() const { return m_bUnique; }
    void SetUniqueFlag(bool unique) { m_bUnique = unique; }

    double GetDX() const;
    double GetDY() const;
    double GetLength() const;
    // Removes the edge from both end nodes' edge sets; the object stays alive.
    void BreakEdge();

    // Same two nodes through the same ports, in either direction.
    bool operator==(const CEdge& other) const;
    bool IsEqual(const CEdge& other) const { return *this == other; }

protected:
    CNode* m_pSource;
    CNode* m_pDest;
    std::int32_t m_iID;
    double m_dNormalLength = 0.0;
    std::int32_t m_iSourceSubNodeID;
    std::int32_t m_iDestSubNodeID;
    bool m_bUnique = true;

    friend class CNetworkGraph;
};
