#include <netloom/quad_tree.h>

CQuadTree::~CQuadTree() {
    Clear();
}

void CQuadTree::Clear() {
    m_pRoot = nullptr;
}
