#pragma once

#include <netloom/creation_order.h>
#include <netloom/export.h>
#include <netloom/rect.h>

#include <cstdint>
#include <vector>

class CEdge;

// Grid record of a node, written by the layered layouts.
struct NETLOOM_API _tagNode {
    std::int32_t nID = 0;
    std::int32_t nBaseRow = 0; // row before the orientation is applied
    std::int32_t nRow = 0;     // row after orientation
    std::int32_t nCol = 0;     // column after orientation
};

using EdgeSet = netloom::CreationOrderSet<CEdge>;

// One vertex of a network graph.
class NETLOOM_API CNode : public netloom::CreationOrdered {
public:
    static const int m_iWidth = 8;
    static const int m_iHeight = 8;

    CNode(int id, double x, double y, bool fixed);
    CNode(const CNode&) = default;
    CNode& operator=(const CNode&) = default;
    virtual ~CNode();

    double X() const { return m_dX; }
    double Y() const { return m_dY; }
    void SetPosition(double x, double y);
    void Move(double dx, double dy);
    void UpdateRect();

    int GetID() const { return m_iID; }
    bool IsFixed() const { return m_bFixed; }
    bool IsVisited() const { return m_bVisited; }
    void SetVisited(bool visited) { m_bVisited = visited; }

    EdgeSet& GetEdges() { return m_setEdges; }
    const EdgeSet& GetEdges() const { return m_setEdges; }
    void AddEdge(CEdge* e);
    void DeleteEdge(CEdge* e);

    _tagNode GetNodePos() const { return m_tagNode; }
    void SetNodePos(const _tagNode& pos);

    // Velocity of the force-directed layout.
    double GetVx() const { return m_dVx; }
    double GetVy() const { return m_dVy; }
    void SetVelocity(double vx, double vy) {
        m_dVx = vx;
        m_dVy = vy;
    }

    // ---- Forces and motion of the force-directed layout (src/force/) ----
    // Force on this node from a charge of strength k at (x, y): a fixed push
    // when the charge is within about 1.41, k / d away from it up to 2.83 x D,
    // nothing beyond.
    void Coulumb_repulsion(double x, double y, double& fx, double& fy, double k) const;
    // The same with the other node's position and k = D squared.
    void Coulumb_repulsion(const CNode* other, double& fx, double& fy) const;
    // Sum of the spring pulls (L squared / N) of all incident edges.
    void Hook_attractions(double& fx, double& fy) const;
    // Damped velocity update, each component limited to [-D, D].
    void Accelerate(double step, double damping, double fx, double fy);
    // Kinetic energy vx squared + vy squared.
    double GetEnergy() const;
    // Moves by t times the velocity, each axis limited to [-D, D].
    void Move(double t);
    // Moves the node to the mean of the points at 5 x D from its neighbours, on
    // the lines from them through the node; free nodes with edges only.
    void CenterlizeNodebyHook();

private:
    void Hook_attraction(const CEdge* edge, double& fx, double& fy) const;
    static int Sign(double v);

public:
    // ---- end of forces and motion ----

    // Port ids on the four sides of the node (hierarchy layout); a front flag
    // other than 0 inserts at the front, 0 appends.
    void AddUpsideSub(int sub, int front);
    void AddDownsideSub(int sub, int front);
    void AddRightsideSub(int sub, int front);
    void AddLeftsideSub(int sub, int front);
    int GetRightsideEdgeSize() const;
    int GetLeftsideEdgeSize() const;
    // Exchanges the up and down lists.
    void ReverteSide();
    // Moves one port between the up and down lists.
    void ReverteSide(int sub);
    // The first edge (creation order) with sub as either port id, or null.
    CEdge* GetEdge(int sub) const;
    // Appends the edge ids of the ports, sides up, down, right, left, in slot order.
    void GetSortedEdges(std::vector<int>& ids) const;
    // Side code (0 up, 1 down, 2 right, 3 left) and slot of the port; writes
    // nothing when no side holds it.
    void GetSubNodePosition(int sub, int& side, int& index) const;
    const std::vector<int>& GetUpsideSubs() const { return m_vecUpside; }
    const std::vector<int>& GetDownsideSubs() const { return m_vecDownside; }
    const std::vector<int>& GetRightsideSubs() const { return m_vecRightside; }
    const std::vector<int>& GetLeftsideSubs() const { return m_vecLeftside; }

    CRect m_rect; // integer bounds, 4.0 on each side of the position

protected:
    double m_dX;
    double m_dY;
    double m_dVx = 0.0;
    double m_dVy = 0.0;
    EdgeSet m_setEdges;
    std::int32_t m_iID;
    bool m_bVisited = false;
    bool m_bFixed;
    std::vector<int> m_vecUpside;
    std::vector<int> m_vecDownside;
    std::vector<int> m_vecRightside;
    std::vector<int> m_vecLeftside;
    _tagNode m_tagNode;

    friend class CNetworkGraph;
};
