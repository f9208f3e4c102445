#include "layered/layered_workspace.h"

#include <netloom/layout_strategy.h>
#include <netloom/network_graph.h>

#include <algorithm>
#include <unordered_set>

namespace {

bool IsSiblingOf(const CLayerNode* node, CLayerNode* other) {
    return node->m_setSiblings.count(other) != 0;
}

} // namespace

// Arrangement mode 2: the children of the roots are split into two groups of
// about equal size. The first group hangs under a left dummy D2, the roots (and
// with them the second group) under a right dummy D1.
bool CLayeredLayout::SplitIntoTwoGroups() {
    if (m_pGraph == nullptr || m_pGraph->GetLayoutStrategy() == nullptr ||
        m_pGraph->GetLayoutStrategy()->GetArrangeMode() != 2) {
        return true;
    }
    std::vector<CLayerNode*> candidates;
    std::unordered_set<CLayerNode*> seen;
    for (CLayerNode* root : m_pRoot->m_vecChildren) {
        for (CLayerNode* child : root->m_vecChildren) {
            if (seen.insert(child).second) {
                candidates.push_back(child);
            }
        }
    }
    if (candidates.size() < 2) {
        return true;
    }

    CLayerNode* first = candidates.front();
    std::vector<CLayerNode*> groupA;
    std::vector<CLayerNode*> groupB{first};
    for (std::size_t i = 1; i < candidates.size(); ++i) {
        if (IsSiblingOf(first, candidates[i])) {
            groupB.push_back(candidates[i]);
        } else {
            groupA.push_back(candidates[i]);
        }
    }
    if (groupA.empty() || groupB.empty()) {
        return true;
    }

    // Members of A without a same-level neighbour in A move to B.
    std::unordered_set<CLayerNode*> inA(groupA.begin(), groupA.end());
    std::size_t i = 0;
    while (i < groupA.size() && groupA.size() > groupB.size()) {
        const auto& siblings = groupA[i]->m_setSiblings;
        const bool linked = std::any_of(siblings.begin(), siblings.end(),
                                        [&](CLayerNode* other) { return inA.count(other) != 0; });
        if (linked) {
            ++i;
        } else {
            inA.erase(groupA[i]);
            groupB.push_back(groupA[i]);
            groupA[i] = groupA.back();
            groupA.pop_back();
        }
    }
    // Even out from B to A.
    for (i = 0; i < groupB.size() && groupB.size() > groupA.size(); ++i) {
        groupA.push_back(groupB[i]);
        groupB[i] = groupB.back();
        groupB.pop_back();
    }

    CLayerNode* right = GetOrCreateLayerNode(NewDummyID(), -1);
    right->AddParent(m_pRoot);
    for (CLayerNode* root : m_pRoot->m_vecChildren) {
        root->m_vecParents.clear();
        root->AddParent(right);
        right->AddChild(root);
    }
    CLayerNode* left = GetOrCreateLayerNode(NewDummyID(), -1);
    left->AddParent(m_pRoot);
    for (CLayerNode* member : groupA) {
        member->AddParent(left);
        left->AddChild(member);
    }
    m_pRoot->m_vecChildren.clear();
    m_pRoot->AddChild(left);
    m_pRoot->AddChild(right);
    return true;
}
