#pragma once

#include <netloom/creation_order.h>
#include <netloom/edge.h>
#include <netloom/export.h>
#include <netloom/layout_progress.h>
#include <netloom/node.h>
#include <netloom/rect.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

class CConnectedGraph;
class CLayoutStrategy;

// The host's graph: nodes and edges keyed by id, layout settings, and the
// components and edge order produced by Layout. It owns its nodes and edges.
class NETLOOM_API CNetworkGraph {
public:
    static const int m_iForceDirectedLayout = 1;
    static const int m_iTreeLayout = 2;
    static const int m_iRadiantLayout = 4;
    static const int m_iHierarchyLayout = 8;

    explicit CNetworkGraph(int nParam = 6, int nLayoutType = 1);
    // Copies are deep: new nodes and edges with the same content, no components.
    CNetworkGraph(const CNetworkGraph& other);
    CNetworkGraph& operator=(const CNetworkGraph& other);
    CNetworkGraph(CNetworkGraph&& other) noexcept;
    CNetworkGraph& operator=(CNetworkGraph&& other) noexcept;
    virtual ~CNetworkGraph();

    // Graph building and queries.
    bool AddNode(CNode* node);
    bool AddNode(int id, double x, double y, bool fixed);
    bool AddEdge(int id, int sourceID, int destID, int length, int sourceSubNodeID,
                 int destSubNodeID, bool rejectDuplicate);
    // Makes room in the lookup indexes for this many nodes and edges in all,
    // so that building a large graph does not grow them step by step. Changes
    // no result.
    void Reserve(std::size_t nodes, std::size_t edges);
    bool DeleteEdge(int id);
    bool DeleteNode(int id);
    CEdge* FindEdge(CNode* a, CNode* b) const;
    double FindEdgeSqrLen(int idA, int idB) const;
    // True once the table may hold a pair that no edge joins: the last edge
    // between two nodes was deleted, and the table keeps its entry.
    bool HasUnjoinedSqrLenPairs() const { return m_bUnjoinedSqrLenPairs; }
    bool GetNodePosition(int id, double& x, double& y) const;
    bool GetNodePhyPosition(int id, int& row, int& col) const;
    void SetNodePosition(int id, double x, double y, _tagNode& pos);
    CRect GetBoundRect() const;
    void OffsetGraph(double dx, double dy);
    bool ContainFixedNode() const;
    int GetLayoutType() const { return m_iLayoutType; }
    void SetFixedLayoutFlag(bool fixed) { m_bFixedLayout = fixed; }
    void SetLayoutStrategy(CLayoutStrategy* strategy) { m_pLayoutStrategy = strategy; }
    void SetMaxColCount(int count) { m_iMaxColCount = count; }
    // Threads the force-directed layout may use for large components; 0 (the
    // default) or below: one per hardware thread. Positions do not depend on it.
    void SetLayoutThreads(int threads) { m_iLayoutThreads = threads; }

    // Runs the whole layout pipeline; always returns true.
    bool Layout(int nDistance, int nLayoutType, int nLayerSpacing);

    // Optional progress report: Layout calls it after each component with the
    // number of components done and their total. It changes no result; an empty
    // function removes it.
    using ProgressCallback = std::function<void(int done, int total)>;
    void SetProgressCallback(ProgressCallback callback) { m_fnProgress = std::move(callback); }
    // Optional progress monitor with a stop request (netloom::LayoutProgress).
    // When it returns true, Layout stops at the next point where every node has
    // a valid position: after the current force iteration (the positions
    // reached), or at the end of a component of any other layout type; the
    // components not laid out keep their positions, and all are stacked as
    // usual. Layout still returns true. Without a monitor nothing is reported
    // and nothing is paid; an empty function removes it.
    void SetProgressMonitor(netloom::ProgressMonitor monitor) { m_fnMonitor = std::move(monitor); }
    // Whether the last Layout call was stopped by the monitor, and the work
    // units it had done (netloom::LayoutProgress::workDone; counted with or
    // without a monitor). A new Layout call resets both.
    bool WasLayoutStopped() const { return m_bLayoutStopped; }
    std::int64_t GetLayoutWorkDone() const { return m_nLayoutWork; }

    // Edge order of the hierarchy layout and the component index of each entry.
    std::vector<int>& GetSortedEdges() { return m_vecSortedEdges; }
    std::vector<int>& GetSortedEdgesInGraph() { return m_vecSortedEdgesInGraph; }
    // Appends the ids not listed yet, each with graphIndex.
    void AddSortedEdge(std::vector<int>& ids, int graphIndex);
    // Side and slot of a port on a node; writes nothing for an unknown node or port.
    void GetSubNodePosition(int nodeId, int sub, int& side, int& index) const;

    // Read access for hosts and the layout steps.
    CNode* GetNode(int id) const;
    CEdge* GetEdge(int id) const;
    const std::map<int, CNode*>& GetNodeMap() const { return m_mapNodes; }
    const std::map<int, CEdge*>& GetEdgeMap() const { return m_mapEdges; }
    const std::map<int, int>& GetNodeDegreeMap() const { return m_mapNodeDegree; }
    const netloom::CreationOrderSet<CConnectedGraph>& GetConnectedGraphs() const {
        return m_setConnectedGraphs;
    }
    CLayoutStrategy* GetLayoutStrategy() const { return m_pLayoutStrategy; }
    int GetMaxColCount() const { return m_iMaxColCount; }
    bool GetFixedLayoutFlag() const { return m_bFixedLayout; }
    int GetLayoutThreads() const { return m_iLayoutThreads; }

protected:
    bool IsEdgeExist(CEdge* e) const;
    void BuildEdgeUniqueFlag();
    bool PreprocessLayout();
    bool PostprocessLayout();
    void DecomposeGraph();
    CConnectedGraph* ConstructConnectedGraph(CNode* start);
    void AddNodeandNeighbor(CNode* node);

    // Files an edge under its id and, once built, in the node-pair index (no checks).
    void InsertEdgeRecord(CEdge* e);
    void EraseEdgeRecord(CEdge* e);
    // Files a node under its id (false when the id is taken).
    bool InsertNodeRecord(CNode* node);
    // Deletes the components of the previous Layout call.
    void DeleteConnectedGraphs();

    std::map<int, CNode*> m_mapNodes;
    std::map<int, CEdge*> m_mapEdges;
    std::map<int, int> m_mapNodeDegree;
    bool m_bUnjoinedSqrLenPairs = false;
    double m_dEnergy = 0.0;
    std::int32_t m_iLayoutType;
    bool m_bFixedLayout = false;
    netloom::CreationOrderSet<CConnectedGraph> m_setConnectedGraphs;
    std::vector<int> m_vecSortedEdges;
    std::vector<int> m_vecSortedEdgesInGraph;
    CLayoutStrategy* m_pLayoutStrategy = nullptr;
    std::int32_t m_iMaxColCount = -1;
    std::int32_t m_nParam; // first constructor argument, handed to components
    std::int32_t m_iLayoutThreads = 0;
    ProgressCallback m_fnProgress;
    netloom::ProgressMonitor m_fnMonitor;
    bool m_bLayoutStopped = false;
    std::int64_t m_nLayoutWork = 0;

private:
    void CopyFrom(const CNetworkGraph& other);
    void Swap(CNetworkGraph& other) noexcept;
    void DeleteOwnedObjects();

    void EnsurePairIndex() const;

    // The lookup indexes (hash maps by id and by node pair), kept out of this
    // header. Created on first use, so a moved-from graph needs none.
    struct Indexes;
    Indexes& Index() const;
    mutable std::unique_ptr<Indexes> m_pIndexes;
};
