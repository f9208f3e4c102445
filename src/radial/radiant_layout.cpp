#include <netloom/connected_graph.h>
#include <netloom/edge.h>
#include <netloom/node.h>
#include <netloom/params.h>

#include "pipeline/layout_methods.h"
#include "radial/trig.h"

#include <algorithm>
#include <queue>
#include <vector>

void CConnectedGraph::ClearVisitedFlag() {
    for (auto& entry : m_mapNodes) {
        entry.second->SetVisited(false);
    }
}

// Radiant layout (type 4): a breadth-first fan around the node with the most
// incident edges (lowest id among equals), which keeps its position. Every other
// node goes at distance D from the node that discovered it: the centre's
// neighbours over the full circle, everyone else's over the half circle facing
// away from its own parent.
bool CConnectedGraph::RadiantLayout() {
    if (m_mapNodes.empty()) {
        return true;
    }
    ClearVisitedFlag();
    CNode* centre = m_mapNodes.begin()->second;
    std::size_t most = 0;
    for (auto& entry : m_mapNodes) {
        const std::size_t degree = entry.second->GetEdges().size();
        if (degree > most) {
            most = degree;
            centre = entry.second;
        }
    }
    centre->SetVisited(true);
    std::queue<CNode*> nodeQueue;
    std::queue<CNode*> parentQueue;
    RadiantPlaceChildren(centre, nullptr, g_dLayoutDistance, nodeQueue, parentQueue);
    while (!nodeQueue.empty()) {
        RadiantPlaceChildren(nodeQueue.front(), parentQueue.front(), g_dLayoutDistance, nodeQueue,
                             parentQueue);
        nodeQueue.pop();
        parentQueue.pop();
    }
    return true;
}

bool CConnectedGraph::RadiantPlaceChildren(CNode* node, CNode* parent, double radius,
                                           std::queue<CNode*>& nodeQueue,
                                           std::queue<CNode*>& parentQueue) {
    // The children set, in creation order of the nodes. Discovery follows the
    // edges' creation order, which usually is the nodes' order already; sort only
    // when it is not.
    std::vector<CNode*> children;
    for (CEdge* edge : node->GetEdges()) {
        CNode* other = edge->GetSourceNode() == node ? edge->GetDestNode() : edge->GetSourceNode();
        if (!other->IsVisited()) {
            children.push_back(other);
            nodeQueue.push(other);
            parentQueue.push(node);
            other->SetVisited(true);
        }
    }
    if (children.empty()) {
        return true;
    }
    const netloom::CreationOrderLess less;
    if (!std::is_sorted(children.begin(), children.end(), less)) {
        std::sort(children.begin(), children.end(), less);
    }
    const double n = static_cast<double>(children.size());
    double step = 0.0;
    double angle = 0.0;
    if (parent == nullptr) {
        step = 6.283 / n;
        angle = 0.0;
    } else {
        step = 3.1415 / (n + 1);
        angle = netloom::Atan2(parent->Y() - node->Y(), parent->X() - node->X()) + step + 1.57075;
    }
    for (CNode* child : children) {
        child->SetPosition(node->X() + netloom::Cos(angle) * radius,
                           node->Y() + netloom::Sin(angle) * radius);
        angle = angle + step;
    }
    return true;
}

// One step: the radiant layout reports nothing while it runs.
netloom::LayoutMethod netloom::RadiantMethod() {
    return {CNetworkGraph::m_iRadiantLayout, "RadiantLayout", &CConnectedGraph::RadiantLayout, 1};
}
