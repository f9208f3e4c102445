#pragma once

#include <netloom/export.h>

class CConnectedGraph;
class CQuadNode;

// Quadrant tree that sums the repulsion of the force-directed layout. It is
// rebuilt every iteration and owns its cells.
class NETLOOM_API CQuadTree {
public:
    CQuadTree() = default;
    CQuadTree(const CQuadTree&) = delete;
    CQuadTree& operator=(const CQuadTree&) = delete;
    ~CQuadTree();

    CQuadNode* GetRoot() const { return m_pRoot; }
    void Clear();

private:
    CConnectedGraph* m_pGraph = nullptr;
    CQuadNode* m_pRoot = nullptr;
};
