#pragma once

#include <netloom/connected_graph.h>
#include <netloom/node.h>
#include <netloom/quad_tree.h>

#include <cstdint>
#include <vector>

// Working copy of one component for the force-directed iteration: positions and
// velocities in flat arrays (node order = ascending id), the springs of each
// node in its edge-set order, and each node's neighbour table of pair strengths.
// It computes exactly what the CNode and CQuadTree operations compute on the
// node objects, in the same order.
class CForceWorkspace {
public:
    // Loads the nodes and their positions; with `springs`, also the springs and
    // the pair strengths.
    CForceWorkspace(CConnectedGraph& graph, bool springs);

    std::size_t Size() const { return m_nCount; }

    // Rebuilds the tree from the workspace positions.
    void BuildTree(CQuadTree& tree);
    // Repulsion on node i from the tree (added to fx, fy).
    void SumRepulsion(const CQuadTree& tree, int i, double& fx, double& fy) const;
    // Sum of the spring pulls on node i.
    void SpringForce(int i, double& fx, double& fy) const;

    // Runs the damped iteration and writes positions and velocities back.
    // One iteration: tree, force pass, move pass; energy is the new total.
    void IterateOnce(CQuadTree& tree, double step, double& energy);
    // Returns the number of iterations run.
    int Iterate(CQuadTree& tree, double& energy);

    // Pair strength of nodes i and j, as the parent graph reports it.
    double PairStrength(int i, int j) const;

    // False when the parent graph may keep squared lengths for pairs that no
    // edge joins any more (deleted edges): then every pair is looked up.
    static bool ParentKeepsOnlyEdgePairs(const CConnectedGraph& graph);

private:
    void OrderByTree(const CQuadNode* root);

    struct Spring {
        std::int32_t source;
        std::int32_t dest;
        double normalLength;
        bool atDest;
    };

    CConnectedGraph& m_graph;
    std::vector<CNode*> m_vecNodes;
    std::vector<double> m_vecX;
    std::vector<double> m_vecY;
    std::vector<double> m_vecVx;
    std::vector<double> m_vecVy;
    std::vector<char> m_vecFixed;
    std::vector<std::int32_t> m_vecOrder; // force-pass order: the tree's leaves
    std::vector<char> m_vecListed;
    std::vector<std::int32_t> m_vecSpringStart;
    std::vector<Spring> m_vecSprings;
    std::vector<std::int32_t> m_vecPairStart;
    std::vector<std::int32_t> m_vecPairNode;
    std::vector<double> m_vecPairStrength;
    std::size_t m_nCount = 0; // the component's nodes; ends outside follow
    bool m_bLookupAllPairs = false;
    bool m_bPrune = false;
};
