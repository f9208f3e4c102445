#pragma once

#include <netloom/connected_graph.h>
#include <netloom/node.h>
#include <netloom/quad_tree.h>

#include "force/flat_quad_tree.h"
#include "force/lane_walk.h"
#include "force/quad_cells.h"
#include "force/worker_pool.h"
#include "graph/flat_hash_map.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace netloom {
class ProgressReport;
} // namespace netloom

// Working copy of one component for the force-directed iteration: positions and
// velocities in flat arrays (node order = ascending id), the springs of each
// node in its edge-set order, and each node's neighbour table of pair strengths.
// It computes exactly what the CNode and CQuadTree operations compute on the
// node objects, in the same order.
class CForceWorkspace {
public:
    // Loads the nodes and their positions; with `springs`, also the springs and
    // the pair strengths. The thread count is the parent graph's setting.
    CForceWorkspace(CConnectedGraph& graph, bool springs);

    std::size_t Size() const { return m_nCount; }
    // The workspace index of the node of the given rank in ascending id order
    // (the iteration renumbers the nodes for locality).
    int IndexOf(std::size_t rank) const { return m_vecIdOrder[rank]; }

    // Rebuilds the tree from the workspace positions.
    void BuildTree();
    // Builds the pointer tree itself, node by node, from the given cells (the
    // public BuildQuadTree); returns its root, null without nodes.
    CQuadNode* BuildPointerTree(netloom::force::QuadCells& cells);
    // Repulsion on node i from the tree of the last BuildTree (added to fx, fy).
    void SumRepulsion(int i, double& fx, double& fy) const;
    // Repulsion on `count` nodes (at most Lanes()) at once, each summed from
    // +0.0: the same bits as SumRepulsion for each. Neighbours in the tree's
    // leaf order share most of their descent.
    void SumRepulsionGroup(const std::int32_t* nodes, int count, double* fx, double* fy) const;

    // Nodes per group walk: the widest the CPU runs unless set lower (1: the
    // one-node walk). Results do not depend on it.
    int Lanes() const { return m_iLanes; }
    void SetLanes(int lanes);
    // Threads of the force pass for large components: the count set, or one per
    // hardware thread when that is 0 or below. Results do not depend on it.
    int Threads() const { return m_pPool->Threads(); }
    void SetThreads(int threads);
    // Spring pulls of the edges first .. end-1 on their source ends (a
    // destination end is pulled by exactly the negated force).
    void SpringTerms(std::size_t first, std::size_t end, double distance);
    // Sum of the spring pulls on node i, from the last SpringTerms.
    void SpringForce(int i, double& fx, double& fy) const;

    // Runs the damped iteration and writes positions and velocities back.
    // One iteration: tree, force pass, move pass; energy is the new total.
    void IterateOnce(double step, double& energy);
    // Returns the number of iterations run. A report, when given, hears of
    // every iteration and may end the loop early.
    int Iterate(double& energy, netloom::ProgressReport* report = nullptr);
    // Writes the free nodes' positions and velocities to the node objects.
    void WriteBack();

    // Pair strength of nodes i and j, as the parent graph reports it.
    double PairStrength(int i, int j) const;

    // False when the parent graph may keep squared lengths for pairs that no
    // edge joins any more (deleted edges): then every pair is looked up.
    static bool ParentKeepsOnlyEdgePairs(const CConnectedGraph& graph);

private:
    void LoadSprings(const netloom::detail::FlatHashMap<std::int32_t>& index);
    CRect RootCell();
    // Runs work(begin, end) over items: in blocks on the pool's threads for
    // large components, else at once on the calling thread.
    void RunPass(std::size_t items, const std::function<void(std::size_t, std::size_t)>& work);
    void ForcePass(std::size_t begin, std::size_t end, double step, double distance);
    void MovePass(std::size_t begin, std::size_t end, double step, double distance);
    CQuadNode* InsertAll(netloom::force::QuadCells& cells, const CRect& bound);
    void OrderByTree(const CQuadNode* root);
    void Renumber(const std::vector<std::int32_t>& order);
    void MarkPlainNodes(double strength);
    static double StrengthOf(const void* workspace, std::int32_t i, std::int32_t j);

    // Iterations between two renumberings.
    static constexpr std::size_t kRenumberEvery = 64;
    // Components from this size on share the force pass between threads, in
    // blocks of this many nodes.
    static constexpr std::size_t kParallelNodes = 1024;
    static constexpr std::size_t kParallelBlock = 512;

    struct Spring {
        std::int32_t source;
        std::int32_t dest;
        double normalLength;
    };

    CConnectedGraph& m_graph;
    std::vector<CNode*> m_vecNodes;
    std::vector<double> m_vecX;
    std::vector<double> m_vecY;
    std::vector<double> m_vecVx;
    std::vector<double> m_vecVy;
    std::vector<char> m_vecFixed;
    netloom::force::FlatQuadTree m_flatTree;
    // Cells of the node-by-node build, for positions too far out for the
    // direct one.
    netloom::force::QuadCells m_cells;
    std::vector<std::int32_t> m_vecOrder; // force-pass order: the tree's leaves
    std::vector<char> m_vecListed;
    std::vector<std::int32_t> m_vecIdOrder; // index of each node, in ascending id order
    std::vector<double> m_vecEnergy;        // each node's energy after the move pass
    // Each node's springs in its edge-set order: an edge index, with the top
    // bit set where the node is the edge's destination.
    std::vector<std::int32_t> m_vecSpringStart;
    std::vector<std::uint32_t> m_vecSpringEdge;
    std::vector<Spring> m_vecSprings; // one per edge
    struct Term {
        double x;
        double y;
    };
    std::vector<Term> m_vecTerms; // per edge, on its source end
    std::vector<std::int32_t> m_vecPairStart;
    std::vector<std::int32_t> m_vecPairNode;
    std::vector<double> m_vecPairStrength;
    // 1 where every pair strength the node can meet is m_dPlainStrength, bit for
    // bit: its leaves need no lookup.
    std::vector<char> m_vecPlain;
    double m_dPlainStrength = 0.0;
    netloom::force::RepulsionConstants m_constants;
    int m_iLanes = 1;
    netloom::force::LaneWalkFn m_pLaneWalk = nullptr;    // chosen once, by SetLanes
    std::unique_ptr<netloom::force::WorkerPool> m_pPool; // the force pass's threads
    std::size_t m_nCount = 0; // the component's nodes; ends outside follow
    std::size_t m_nIterations = 0;
    bool m_bLookupAllPairs = false;
    bool m_bPrune = false;
};
