#include "layered/layered_workspace.h"

#include <algorithm>

bool CLayeredLayout::FewerChildrenFirst(const CLayerNode* a, const CLayerNode* b) {
    return a->m_vecChildren.size() < b->m_vecChildren.size();
}

// Children with the most children of their own go to the middle of their
// parent's list, the smallest to the two ends.
bool CLayeredLayout::OrderChildrenCenterOut() {
    const netloom::layered::PassMark stamp = NewVisitStamp();
    std::vector<CLayerNode*> queue{m_pRoot};
    stamp.Set(m_pRoot->m_iVisitStamp);
    std::vector<CLayerNode*> sorted;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        CLayerNode* node = queue[head];
        for (CLayerNode* child : node->m_vecChildren) {
            if (stamp.Claim(child->m_iVisitStamp)) {
                queue.push_back(child);
            }
        }
        std::vector<CLayerNode*>& children = node->m_vecChildren;
        if (children.size() <= 2) {
            continue;
        }
        sorted = children;
        std::stable_sort(sorted.begin(), sorted.end(), FewerChildrenFirst);
        std::size_t lo = 0;
        std::size_t hi = sorted.size() - 1;
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            if (i % 2 == 0) {
                children[lo++] = sorted[i];
            } else {
                children[hi--] = sorted[i];
            }
        }
    }
    return true;
}
