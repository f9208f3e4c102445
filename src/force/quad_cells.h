#pragma once

#include <netloom/quad_tree.h>

#include <cstddef>
#include <memory>
#include <vector>

class CNode;

namespace netloom::force {

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
    // Frees every block.
    void Release();
    // Gives the cell its four quadrants as new empty children.
    void Split(CQuadNode& cell);
    // Inserts the node with the given index in the caller's list (-1: none) at
    // (x, y) below the cell. With a null cell the node becomes a new root leaf,
    // which is returned; otherwise the result is the cell.
    CQuadNode* Insert(CNode* node, int index, double x, double y, CQuadNode* cell);

private:
    static constexpr std::size_t kBlockCells = 4096;

    std::vector<std::unique_ptr<CQuadNode[]>> m_vecBlocks;
    std::size_t m_nUsed = 0;
};

} // namespace netloom::force
