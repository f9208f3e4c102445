#pragma once

#include <netloom/export.h>
#include <netloom/rect.h>

#include <memory>

class CConnectedGraph;
class CNode;
class CQuadTree;

namespace netloom::force {
class QuadCells;
} // namespace netloom::force

// One cell of the quadrant tree: a square of integer coordinates that holds one
// node (a leaf), or is split into four quadrants, or is too narrow to split.
class NETLOOM_API CQuadNode {
public:
    // 0: low x, low y; 1: high x, low y; 2: high x, high y; 3: low x, high y.
    CQuadNode* m_pChildren[4] = {nullptr, nullptr, nullptr, nullptr};
    int m_iCount = 0;
    double m_dCenterX = 0.0;
    double m_dCenterY = 0.0;
    CRect m_rcCell;
    CNode* m_pNode = nullptr;

    // Creates the four quadrants; the cells come from the tree's pool.
    void Split(CQuadTree& tree);
    // Drops children that received no node, all the way down.
    void PruneEmptyChildren();
    // Leaves keep their node's position; narrow cells take (left + 1, top + 1);
    // split cells the count-weighted mean of their children's centres.
    void ComputeCenter();
};

// Quadrant tree that sums the repulsion of the force-directed layout. It is
// rebuilt every iteration; its cells come from a pool that keeps its memory from
// one build to the next, so a rebuild allocates nothing once the pool is large
// enough.
class NETLOOM_API CQuadTree {
public:
    CQuadTree();
    CQuadTree(const CQuadTree&) = delete;
    CQuadTree& operator=(const CQuadTree&) = delete;
    ~CQuadTree();

    CQuadNode* GetRoot() const { return m_pRoot; }
    // Deletes every cell and releases the pool; the root becomes null.
    void Clear();
    // Inserts a node below a cell; with a null cell the node becomes the root leaf.
    bool Insert(CNode* node, CQuadNode* cell);
    // The first child whose square holds (x, y); child 0 when none does.
    CQuadNode* FindChild(int x, int y, CQuadNode* cell) const;
    // Adds to fx and fy the repulsion that the nodes below the cell exert on the
    // node. Leaves repel with the squared natural length the parent graph keeps
    // for the pair, far cells as one charge of D squared per node at their centre.
    void SumRepulsion(CNode* node, CQuadNode* cell, double& fx, double& fy) const;

private:
    friend class CQuadNode;
    friend class CConnectedGraph;

    // The cell pool, made on first use: components that never build a tree
    // allocate nothing for it.
    netloom::force::QuadCells& Cells();

    CConnectedGraph* m_pGraph = nullptr;
    CQuadNode* m_pRoot = nullptr;
    std::unique_ptr<netloom::force::QuadCells> m_pCells;
};
