#include "layered/layered_workspace.h"

#include <netloom/network_graph.h>

#include <deque>
#include <map>

namespace {

using LevelSets = std::map<int, LayerNodeSet>;
using netloom::layered::PassMark;
using NodeQueue = std::deque<CLayerNode*>;

// One detached part: its members by level, with and without parents, and the
// reached nodes it touches.
struct DetachedPart {
    LevelSets parentless;
    LevelSets parented;
    LevelSets boundary;
};

// Reach pass: child links from the root, and same-level links to parentless
// nodes.
void MarkReached(CLayerNode* root, const PassMark& reached, NodeQueue& queue) {
    queue.assign(1, root);
    while (!queue.empty()) {
        CLayerNode* node = queue.front();
        queue.pop_front();
        if (!reached.Claim(node->m_iVisitStamp)) {
            continue;
        }
        for (CLayerNode* neighbour : node->m_setSiblings) {
            if (neighbour->m_vecParents.empty()) {
                queue.push_back(neighbour);
            }
        }
        queue.insert(queue.end(), node->m_vecChildren.begin(), node->m_vecChildren.end());
    }
}

// Collects the part that holds start over every link, marking its members;
// reached nodes go to the boundary and are not expanded.
void CollectPart(CLayerNode* start, const PassMark& reached, const PassMark& part,
                 DetachedPart& out, NodeQueue& queue) {
    queue.assign(1, start);
    while (!queue.empty()) {
        CLayerNode* node = queue.front();
        queue.pop_front();
        if (part.Holds(node->m_iVisitStamp)) {
            continue;
        }
        if (reached.Reached(node->m_iVisitStamp)) {
            out.boundary[node->m_iLevel].insert(node);
            continue;
        }
        (node->m_vecParents.empty() ? out.parentless : out.parented)[node->m_iLevel].insert(node);
        part.Set(node->m_iVisitStamp);
        queue.insert(queue.end(), node->m_vecParents.begin(), node->m_vecParents.end());
        queue.insert(queue.end(), node->m_vecChildren.begin(), node->m_vecChildren.end());
        queue.insert(queue.end(), node->m_setSiblings.begin(), node->m_setSiblings.end());
    }
}

// Thins the parentless members: of each group joined by same-level links only
// the first stays, and a group touching a member with parents goes.
void ThinParentless(LevelSets& parentless, const PassMark& part, const PassMark& thinned,
                    NodeQueue& queue) {
    for (auto level = parentless.begin(); level != parentless.end();) {
        LayerNodeSet& members = level->second;
        LayerNodeSet removed;
        for (CLayerNode* first : members) {
            queue.assign(1, first);
            while (!queue.empty()) {
                CLayerNode* node = queue.front();
                queue.pop_front();
                if (!part.Holds(node->m_iVisitStamp)) {
                    continue;
                }
                thinned.Set(node->m_iVisitStamp);
                if (node != first && members.count(node) != 0) {
                    removed.insert(node);
                }
                if (!node->m_vecParents.empty()) {
                    removed.insert(first);
                }
                queue.insert(queue.end(), node->m_setSiblings.begin(), node->m_setSiblings.end());
            }
        }
        for (CLayerNode* node : removed) {
            members.erase(node);
        }
        level = members.empty() ? parentless.erase(level) : std::next(level);
    }
}

// Joins the parentless members to a parented member of their level, or chains
// them so that the first stands for the rest.
void JoinParentless(LevelSets& parentless, const LevelSets& parented) {
    for (auto level = parentless.begin(); level != parentless.end();) {
        LayerNodeSet& members = level->second;
        auto sameLevel = parented.find(level->first);
        if (sameLevel != parented.end() && !sameLevel->second.empty()) {
            CLayerNode* host = *sameLevel->second.begin();
            for (CLayerNode* member : members) {
                host->AddSibling(member);
            }
            level = parentless.erase(level);
            continue;
        }
        for (auto it = members.begin(); std::next(it) != members.end(); ++it) {
            (*it)->AddSibling(*std::next(it));
        }
        members.erase(std::next(members.begin()), members.end());
        ++level;
    }
}

// Climbs from the lowest boundary node to a node on the member's level, or to
// the node just below it; null when there is none. Each node is expanded once.
CLayerNode* ClimbToAnchor(const LevelSets& boundary, const CLayerNode* member,
                          const PassMark& reached, const PassMark& part, const PassMark& climb,
                          NodeQueue& queue) {
    queue.assign(1, *boundary.begin()->second.begin());
    while (!queue.empty()) {
        CLayerNode* node = queue.front();
        queue.pop_front();
        if (!climb.Claim(node->m_iWalkMark)) {
            continue;
        }
        for (CLayerNode* parent : node->m_vecParents) {
            if (!reached.Reached(parent->m_iVisitStamp) || part.Reached(parent->m_iVisitStamp) ||
                parent == member) {
                continue;
            }
            if (parent->m_iLevel == member->m_iLevel) {
                return parent;
            }
            if (parent->m_iLevel < member->m_iLevel) {
                return node;
            }
            queue.push_back(parent);
        }
        if (node->m_vecParents.empty()) {
            for (CLayerNode* neighbour : node->m_setSiblings) {
                if (!part.Reached(neighbour->m_iVisitStamp)) {
                    queue.push_back(neighbour);
                }
            }
        }
    }
    return nullptr;
}

} // namespace

// Joins the parts that a strategy's levels leave unreached from the virtual
// root to the reached structure by same-level links, so that the later steps
// and the grid see them. Without a strategy every node is reached.
bool CLayeredLayout::AttachDetachedParts() {
    if (m_pGraph == nullptr || m_pGraph->GetLayoutStrategy() == nullptr) {
        return true;
    }
    NodeQueue queue;
    const PassMark reached = NewVisitStamp();
    MarkReached(m_pRoot, reached, queue);

    for (CLayerNode* start : GetLayerNodesById()) {
        if (!start->m_vecParents.empty() || reached.Reached(start->m_iVisitStamp)) {
            continue;
        }
        const PassMark part = NewVisitStamp();
        DetachedPart members;
        CollectPart(start, reached, part, members, queue);
        ThinParentless(members.parentless, part, NewVisitStamp(), queue);
        JoinParentless(members.parentless, members.parented);
        if (members.parentless.empty()) {
            continue;
        }

        // Attach the first remaining member to an anchor of the reached structure.
        CLayerNode* member = *members.parentless.begin()->second.begin();
        CLayerNode* anchor = nullptr;
        auto sameLevel = members.boundary.find(member->m_iLevel);
        if (sameLevel != members.boundary.end()) {
            anchor = *sameLevel->second.begin();
        } else if (!members.boundary.empty()) {
            anchor = ClimbToAnchor(members.boundary, member, reached, part, NewWalkMark(), queue);
        }
        if (anchor != nullptr) {
            anchor->AddSibling(member);
        }
    }
    return true;
}
