#pragma once

#include <netloom/quad_tree.h>

#include <cstddef>
#include <memory>
#include <vector>

class CNode;

namespace netloom::force {

// The cells the pool hands out: a tree cell, and for a leaf the index of its
// node in the list the tree was built from (-1 when inserted without one).
struct IndexedCell : CQuadNode {
    int nodeIndex = -1;
};

// The node index of a leaf of a tree built from a QuadCells pool.
inline int NodeIndexOf(const CQuadNode* cell) {
    return static_cast<const IndexedCell*>(cell)->nodeIndex;
}

// The cells of a pointer quadrant tree and their insertion. Cells come from
// blocks that are kept from one build to the next, so a rebuild allocates
// nothing once the pool is large enough.
class QuadCells {
public:
    // A new empty cell.
    CQuadNode* NewCell();
    // Hands every cell back without freeing memory; pointers into the old tree
    // become invalid.
    void Recycle() { m_nUsed = 0; }
    // Gives the cell its four quadrants as new empty children.
    void Split(CQuadNode& cell);
    // Inserts the node with the given index in the caller's list at (x, y)
    // below the cell, a cell of this pool. With a null cell the node becomes a
    // new root leaf, which is returned; otherwise the result is the cell.
    CQuadNode* Insert(CNode* node, int index, double x, double y, CQuadNode* cell);
    // The same without an index, below any cell (one a host made too); the
    // leaves keep their index of -1.
    CQuadNode* InsertUnindexed(CNode* node, double x, double y, CQuadNode* cell);

private:
    template <bool kIndexed>
    CQuadNode* InsertAt(CNode* node, int index, double x, double y, CQuadNode* cell);

    static constexpr std::size_t kBlockCells = 4096;

    std::vector<std::unique_ptr<IndexedCell[]>> m_vecBlocks;
    std::size_t m_nUsed = 0;
};

} // namespace netloom::force
