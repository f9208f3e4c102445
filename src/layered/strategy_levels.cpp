#include "layered/layered_workspace.h"

#include <netloom/edge.h>
#include <netloom/network_graph.h>
#include <netloom/node.h>

// Layer nodes for the levels a layout strategy lists; the first listed level
// hangs under the virtual root. Empty entries do not count as levels.
bool CLayeredLayout::ApplyStrategyLevels(std::map<int, std::vector<int>>& levels) {
    std::set<int> listed;
    for (const auto& entry : levels) {
        listed.insert(entry.second.begin(), entry.second.end());
    }
    BuildIDMap(listed);

    int level = -1;
    for (const auto& entry : levels) {
        if (!entry.second.empty()) {
            ++level;
        }
        for (int id : entry.second) {
            if (GetOrCreateLayerNode(ToLayoutID(id), level) == nullptr) {
                return false;
            }
        }
    }
    if (!levels.empty()) {
        for (int id : levels.begin()->second) {
            CLayerNode* node = FindLayerNode(ToLayoutID(id));
            if (node != nullptr) {
                LinkParentChild(m_pRoot, node);
            }
        }
    }
    return true;
}

// Links the strategy's levels along the layout edges: downward edges become
// parent links (through one dummy per skipped level), edges inside a level
// same-level links.
bool CLayeredLayout::LinkStrategyLevels() {
    if (m_pGraph == nullptr) {
        return false;
    }
    // Dummies created here would have ids below every id already passed, so the
    // walk covers the nodes present now.
    for (CLayerNode* u : GetLayerNodesById()) {
        CNode* node = FindGraphNode(u->m_iID);
        if (node == nullptr) {
            continue;
        }
        for (CEdge* e : node->GetEdges()) {
            if (!IsLayoutEdge(e->GetID())) {
                continue;
            }
            CNode* other = e->GetSourceNode() == node ? e->GetDestNode() : e->GetSourceNode();
            if (other == nullptr) {
                continue;
            }
            CLayerNode* v = FindLayerNode(ToLayoutID(other->GetID()));
            if (v == nullptr) {
                continue;
            }
            const int d = v->m_iLevel - u->m_iLevel;
            if (d >= 1) {
                CLayerNode* p = u;
                while (v->m_iLevel - p->m_iLevel >= 2) {
                    CLayerNode* dummy = GetOrCreateLayerNode(NewDummyID(), p->m_iLevel + 1);
                    LinkParentChild(p, dummy);
                    p = dummy;
                }
                LinkParentChild(p, v);
            } else if (d == 0) {
                u->AddSibling(v);
                v->AddSibling(u);
            }
        }
    }
    return true;
}
