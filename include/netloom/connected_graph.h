#pragma once

#include <netloom/export.h>
#include <netloom/network_graph.h>
#include <netloom/node.h>
#include <netloom/quad_tree.h>

#include <cstdint>
#include <map>
#include <queue>
#include <vector>

// One connected component of a host graph. It shares the host's node and edge
// objects and never deletes them.
namespace netloom {
class ProgressReport;
} // namespace netloom

class NETLOOM_API CConnectedGraph : public CNetworkGraph, public netloom::CreationOrdered {
public:
    CConnectedGraph(CNetworkGraph* parent, int param, int nLayoutType);
    CConnectedGraph(const CConnectedGraph&) = delete;
    CConnectedGraph& operator=(const CConnectedGraph&) = delete;
    virtual ~CConnectedGraph();

    void SetIndex(int index) { m_iIndex = index; }
    int GetIndex() const { return m_iIndex; }
    double FindEdgeSqrLenInParent(int idA, int idB) const;
    CNetworkGraph* GetParentGraph() const { return m_pParentGraph; }
    const std::map<int, std::vector<_tagNode>>& GetGridRows() const { return m_mapGridRows; }

    // Sets the type, prepares the parameters and runs the layout method.
    bool LayoutComponent(int nLayoutType);

    // The layout methods, one per layout type.
    bool RadiantLayout();
    bool ForceDirectedLayout();
    bool LayeredLayout();
    // The levels the tree or hierarchy layout (by the component's layout type)
    // gives the component without a strategy: level to node ids, ascending. A
    // strategy can hand them back for components it has no levels for.
    bool GetDefaultLevels(std::map<int, std::vector<int>>& levels) const;

    // Radiant layout (src/radial/): one breadth-first expansion step, and the
    // clearing of every node's visited flag.
    bool RadiantPlaceChildren(CNode* node, CNode* parent, double radius,
                              std::queue<CNode*>& nodeQueue, std::queue<CNode*>& parentQueue);
    void ClearVisitedFlag();
    // Force-directed layout (src/force/): rebuilds the quadrant tree from the
    // current node positions; the tree, and the total energy of the last
    // iteration.
    void BuildQuadTree();
    const CQuadTree& GetQuadTree() const { return m_quadTree; }
    double GetTotalEnergy() const { return m_dEnergy; }

    // Edge ports of the hierarchy layout (src/ports/).
    void AssignEdgePorts();
    void SortNodeEdges(CNode* node, EdgeSet& edges, std::vector<CEdge*>& sorted);
    void BuildSortedEdges();

protected:
    std::map<int, std::vector<_tagNode>> m_mapGridRows;
    CQuadTree m_quadTree;
    CNetworkGraph* m_pParentGraph;
    std::int32_t m_iParam;
    std::map<int, std::vector<_tagNode>> m_mapPlacedRows;
    std::int32_t m_iIndex = 0;
    // The progress report of the Layout call running this component, if any.
    netloom::ProgressReport* m_pReport = nullptr;

    friend class CNetworkGraph;
};
