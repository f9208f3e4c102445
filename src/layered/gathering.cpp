#include "layered/layered_workspace.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace {

const int kSharedChildMark = 1000;
const int kNeighbourGroupMark = 1100;

// Longest downward path from each node reached from the root, through the child
// lists; a link back into the path being walked is ignored. Iterative.
void ComputeHeights(CLayerNode* root, std::vector<std::pair<CLayerNode*, int>>& heights, int pass) {
    struct Frame {
        CLayerNode* node;
        std::size_t next;
    };
    std::vector<Frame> stack{{root, 0}};
    root->m_iScratchPass = pass;
    root->m_iScratchPos = -1; // on the path
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.next < top.node->m_vecChildren.size()) {
            CLayerNode* child = top.node->m_vecChildren[top.next++];
            if (child->m_iScratchPass != pass) {
                child->m_iScratchPass = pass;
                child->m_iScratchPos = -1;
                stack.push_back({child, 0});
            }
            continue;
        }
        int height = 0;
        for (const CLayerNode* child : top.node->m_vecChildren) {
            if (child->m_iScratchPos >= 0) {
                height = std::max(height, child->m_iScratchPos + 1);
            }
        }
        top.node->m_iScratchPos = height;
        heights.emplace_back(top.node, height);
        stack.pop_back();
    }
}

} // namespace

// Both passes walk the child lists breadth first from the virtual root and queue
// a node's children every time the node is taken off the queue, so a node with
// several parents is visited once per path from the root. Only a node's first
// visit and its first visit that queues children can do anything; a node needs
// at most (height + 2) of its copies for that to be exact for every node below
// it (each copy of a node comes from one visit of a parent, and a parent's first
// visit may not queue). Copies past that bound are not queued, which keeps the
// pass polynomial on meshes whose path counts explode.
template <class Work> void CLayeredLayout::RunGatheringPass(Work work) {
    const int stamp = ++m_iVisitStamp;
    int extra = 0;
    std::vector<std::pair<CLayerNode*, int>> heights;
    ComputeHeights(m_pRoot, heights, NextScratchPass());
    for (auto& entry : heights) {
        entry.first->m_iPassCap = entry.second + 2;
        entry.first->m_iPassQueued = 0;
    }
    std::deque<CLayerNode*> queue{m_pRoot};
    m_pRoot->m_iPassQueued = 1;
    while (!queue.empty()) {
        CLayerNode* node = queue.front();
        queue.pop_front();
        if (!work(node, stamp, extra)) {
            continue;
        }
        for (CLayerNode* child : node->m_vecChildren) {
            if (child->m_iPassQueued < child->m_iPassCap) {
                ++child->m_iPassQueued;
                queue.push_back(child);
            }
        }
    }
    m_iVisitStamp += extra;
}

// For every node with several parents, gathers the parents and the branches
// above them under their nearest common ancestor; the shared child goes to the
// end of the first reached parent's list and to the front of the others'.
bool CLayeredLayout::GatherSharedChildParents() {
    RunGatheringPass([this](CLayerNode* node, int stamp, int& extra) {
        if (node->m_iVisitStamp >= stamp) {
            return true;
        }
        node->m_iVisitStamp = stamp;
        if (node->m_vecParents.size() <= 1) {
            return true;
        }
        ++extra;
        const int searchStamp = stamp + extra;
        CLayerNode* ancestor = FindCommonAncestor(node->m_vecParents, searchStamp);
        if (ancestor == nullptr) {
            return false;
        }
        CLayerNode* start = PinPathChildren(ancestor, searchStamp, kSharedChildMark);
        LayerNodeList rest;
        LayerNodeList first;
        SplitByFirstReached(start, node->m_vecParents, rest, first);
        // The node's own pin is reset before each push so that it moves in every
        // parent's list; the parents and their branches stay pinned.
        const int saved = node->m_iPinMark;
        int best = saved;
        for (CLayerNode* parent : first) {
            PushTowardSide(ancestor, parent, node, true, kSharedChildMark);
            best = std::max(best, node->m_iPinMark);
            node->m_iPinMark = saved;
        }
        for (CLayerNode* parent : rest) {
            PushTowardSide(ancestor, parent, node, false, kSharedChildMark);
            best = std::max(best, node->m_iPinMark);
            node->m_iPinMark = saved;
        }
        node->m_iPinMark = best;
        return true;
    });
    return true;
}

// For every node whose same-level neighbours hang below other parents, gathers
// the branches leading to the group under its nearest common ancestor and moves
// each member toward the others in its parents' lists.
bool CLayeredLayout::GatherNeighbourGroups() {
    RunGatheringPass([this](CLayerNode* node, int stamp, int& extra) {
        if (node->m_iVisitStamp >= stamp || node->m_setSiblings.empty()) {
            return true;
        }
        node->m_iVisitStamp = stamp;
        ++extra;
        LayerNodeList group{node};
        const auto& ownParents = node->m_vecParents;
        for (CLayerNode* neighbour : node->m_setSiblings) {
            const bool sharesParent = std::any_of(
                neighbour->m_vecParents.begin(), neighbour->m_vecParents.end(),
                [&](const CLayerNode* p) {
                    return std::find(ownParents.begin(), ownParents.end(), p) != ownParents.end();
                });
            if (!sharesParent) {
                group.push_back(neighbour);
            }
        }
        if (group.size() < 2) {
            return false;
        }
        const int searchStamp = stamp + extra;
        CLayerNode* ancestor = FindCommonAncestor(group, searchStamp);
        if (ancestor == nullptr) {
            return false;
        }
        CLayerNode* start = PinPathChildren(ancestor, searchStamp, kNeighbourGroupMark);
        LayerNodeList rest;
        LayerNodeList first;
        SplitByFirstReached(start, group, rest, first);
        auto push = [&](CLayerNode* member, bool towardEnd) {
            const int saved = member->m_iPinMark;
            int best = saved;
            for (CLayerNode* parent : member->m_vecParents) {
                PushTowardSide(ancestor, parent, member, towardEnd, kNeighbourGroupMark);
                best = std::max(best, member->m_iPinMark);
                member->m_iPinMark = saved;
            }
            member->m_iPinMark = best;
        };
        for (CLayerNode* member : first) {
            push(member, true);
        }
        for (CLayerNode* member : rest) {
            push(member, false);
        }
        return true;
    });
    return true;
}
