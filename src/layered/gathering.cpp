#include "layered/layered_workspace.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace {

const int kSharedChildMark = 1000;
const int kNeighbourGroupMark = 1100;

// The nodes reached from the root through the child lists, in depth-first
// post-order (children before parents); a link back into the path being walked
// is ignored. Each node's walk index becomes its index in the order.
void PostOrder(CLayerNode* root, std::vector<CLayerNode*>& order, netloom::layered::PassMark pass) {
    struct Frame {
        CLayerNode* node;
        std::size_t next;
    };
    std::vector<Frame> stack{{root, 0}};
    pass.Set(root->m_iWalkMark);
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.next < top.node->m_vecChildren.size()) {
            CLayerNode* child = top.node->m_vecChildren[top.next++];
            if (pass.Claim(child->m_iWalkMark)) {
                stack.push_back({child, 0});
            }
            continue;
        }
        top.node->m_iWalkIndex = static_cast<int>(order.size());
        order.push_back(top.node);
        stack.pop_back();
    }
}

} // namespace

// Both passes walk the child lists breadth first from the virtual root and queue
// a node's children every time the node is taken off the queue, so a node with
// several parents is visited once per path from the root. Only a node's first
// visit does work, and a visit queues the children unless it is a first visit
// whose work says not to. So the first k copies of a node come from the first k
// child-queuing visits of each parent, and a node needs only as many copies as
// its children need, plus one when its first visit may keep its children back
// (mayStop), and at least one for its own first visit. Copies past that are not
// queued: the pass stays linear in practice and exact.
template <class Work, class MayStop>
void CLayeredLayout::RunGatheringPass(Work work, MayStop mayStop) {
    const netloom::layered::PassMark stamp = NewVisitStamp();
    int extra = 0;
    const netloom::layered::PassMark pass = NewWalkMark();
    std::vector<CLayerNode*> order;
    PostOrder(m_pRoot, order, pass);
    // The length of every path from the root to a node, when all have one
    // length (-1 otherwise): members at one such depth meet at the root at the
    // latest, so their common-ancestor search cannot come back empty.
    std::vector<int> depth(order.size(), -2);
    depth[order.size() - 1] = 0;
    for (std::size_t i = order.size(); i-- > 0;) {
        const int d = depth[i];
        for (const CLayerNode* child : order[i]->m_vecChildren) {
            int& c = depth[static_cast<std::size_t>(child->m_iWalkIndex)];
            c = d < 0 || (c != -2 && c != d + 1) ? -1 : d + 1;
        }
    }
    auto meetSurely = [&](const LayerNodeList& members) {
        int common = -1;
        for (const CLayerNode* m : members) {
            const int d =
                pass.Holds(m->m_iWalkMark) ? depth[static_cast<std::size_t>(m->m_iWalkIndex)] : -1;
            if (d < 0 || (common >= 0 && d != common)) {
                return false;
            }
            common = d;
        }
        return true;
    };
    for (CLayerNode* node : order) {
        int need = 0;
        for (const CLayerNode* child : node->m_vecChildren) {
            need = std::max(need, child->m_iGatherCopies);
        }
        node->m_iGatherCopies = std::max(1, need + (mayStop(node, meetSurely) ? 1 : 0));
        node->m_iGatherQueued = 0;
    }
    std::deque<CLayerNode*> queue{m_pRoot};
    m_pRoot->m_iGatherQueued = 1;
    while (!queue.empty()) {
        CLayerNode* node = queue.front();
        queue.pop_front();
        if (!work(node, stamp, extra)) {
            continue;
        }
        for (CLayerNode* child : node->m_vecChildren) {
            if (child->m_iGatherQueued < child->m_iGatherCopies) {
                ++child->m_iGatherQueued;
                queue.push_back(child);
            }
        }
    }
    SkipVisitStamps(extra);
}

// The members of N's neighbour group: N, then every same-level neighbour none of
// whose parents is a parent of N.
static void BuildNeighbourGroup(CLayerNode* node, LayerNodeList& group) {
    group.assign(1, node);
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
}

// For every node with several parents, gathers the parents and the branches
// above them under their nearest common ancestor; the shared child goes to the
// end of the first reached parent's list and to the front of the others'.
bool CLayeredLayout::GatherSharedChildParents() {
    LayerNodeList rest;
    LayerNodeList first;
    RunGatheringPass(
        [this, &rest, &first](CLayerNode* node, netloom::layered::PassMark stamp, int& extra) {
            if (stamp.Reached(node->m_iVisitStamp)) {
                return true;
            }
            stamp.Set(node->m_iVisitStamp);
            if (node->m_vecParents.size() <= 1) {
                return true;
            }
            ++extra;
            const int searchStamp = stamp.Value() + extra;
            CLayerNode* ancestor = FindCommonAncestor(node->m_vecParents, searchStamp);
            if (ancestor == nullptr) {
                return false;
            }
            CLayerNode* start = PinPathChildren(ancestor, searchStamp, kSharedChildMark);
            rest.clear();
            first.clear();
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
        },
        [](CLayerNode* node, auto& meetSurely) {
            return node->m_vecParents.size() > 1 && !meetSurely(node->m_vecParents);
        });
    return true;
}

// For every node whose same-level neighbours hang below other parents, gathers
// the branches leading to the group under its nearest common ancestor and moves
// each member toward the others in its parents' lists.
bool CLayeredLayout::GatherNeighbourGroups() {
    LayerNodeList group;
    LayerNodeList rest;
    LayerNodeList first;
    RunGatheringPass(
        [&](CLayerNode* node, netloom::layered::PassMark stamp, int& extra) {
            if (stamp.Reached(node->m_iVisitStamp) || node->m_setSiblings.empty()) {
                return true;
            }
            stamp.Set(node->m_iVisitStamp);
            ++extra;
            BuildNeighbourGroup(node, group);
            if (group.size() < 2) {
                return false;
            }
            const int searchStamp = stamp.Value() + extra;
            CLayerNode* ancestor = FindCommonAncestor(group, searchStamp);
            if (ancestor == nullptr) {
                return false;
            }
            CLayerNode* start = PinPathChildren(ancestor, searchStamp, kNeighbourGroupMark);
            rest.clear();
            first.clear();
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
        },
        [&group](CLayerNode* node, auto& meetSurely) {
            if (node->m_setSiblings.empty()) {
                return false;
            }
            BuildNeighbourGroup(node, group);
            return group.size() < 2 || !meetSurely(group);
        });
    return true;
}
