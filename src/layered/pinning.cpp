#include "layered/layered_workspace.h"

#include <algorithm>
#include <vector>

namespace {

bool IsNeighbour(const CLayerNode* node, CLayerNode* other) {
    return node->m_setSiblings.count(other) != 0;
}

} // namespace

// Moves the ancestor's children that lie on search paths (each with the
// neighbours around it) left behind the first of them, pinning them; the
// entries they pass move right. Works by index on a list it changes, as the
// order of the result depends on that. Returns the first child on a path.
CLayerNode* CLayeredLayout::PinPathChildren(CLayerNode* ancestor, int searchStamp, int mark) {
    std::vector<CLayerNode*>& list = ancestor->m_vecChildren;
    const netloom::layered::PassMark search(searchStamp);
    CLayerNode* first = nullptr;
    long next = -1;
    for (long i = 0; i < static_cast<long>(list.size()); ++i) {
        CLayerNode* w = list[static_cast<std::size_t>(i)];
        if (!search.Holds(w->m_iVisitStamp)) {
            continue;
        }
        if (first == nullptr) {
            first = w;
        }
        const long size = static_cast<long>(list.size());
        if (next < 0) {
            next = i + 1;
            for (long j = i + 1; j < size; ++j) {
                next += IsNeighbour(w, list[static_cast<std::size_t>(j)]) ? 1 : 0;
            }
            continue;
        }
        if (next >= size) {
            continue;
        }
        long lo = i;
        for (long j = next; j < i; ++j) {
            lo -= IsNeighbour(w, list[static_cast<std::size_t>(j)]) ? 1 : 0;
        }
        long hi = i;
        for (long j = i + 1; j < size; ++j) {
            hi += IsNeighbour(w, list[static_cast<std::size_t>(j)]) ? 1 : 0;
        }
        for (long m = 0; m <= hi - lo; ++m) {
            long pos = lo + m;
            CLayerNode* d = list[static_cast<std::size_t>(pos)];
            if (d->m_iPinMark < mark) {
                d->m_iPinMark = mark;
                while (pos > next && list[static_cast<std::size_t>(pos - 1)]->m_iPinMark < mark) {
                    list[static_cast<std::size_t>(pos)] = list[static_cast<std::size_t>(pos - 1)];
                    --pos;
                }
                // Where pos stands before next, d stays where it is: the list
                // remains a permutation.
                list[static_cast<std::size_t>(pos)] = d;
            }
            ++next;
        }
    }
    return first;
}

// Walks breadth first down from start (each node once) to the first group
// member reached: it goes to `first`, the other members, in order, to `rest`.
// Only nodes from which a member can be reached matter, and they keep their
// relative order in the walk (their parents below start can reach a member
// too), so the walk is confined to the members' ancestors up to start's level
// instead of start's whole subtree.
bool CLayeredLayout::SplitByFirstReached(CLayerNode* start, LayerNodeList group,
                                         LayerNodeList& rest, LayerNodeList& first) {
    if (start == nullptr) {
        return true;
    }
    const netloom::layered::PassMark region = NewWalkMark();
    bool confined = true;
    std::vector<CLayerNode*>& climb = m_vecSplitClimb;
    climb.clear();
    for (CLayerNode* member : group) {
        if (region.Claim(member->m_iWalkMark)) {
            climb.push_back(member);
        }
    }
    while (!climb.empty() && confined) {
        CLayerNode* node = climb.back();
        climb.pop_back();
        for (CLayerNode* parent : node->m_vecParents) {
            if (parent->m_iLevel != node->m_iLevel - 1) {
                confined = false; // levels out of step: walk everything below start
                break;
            }
            if (parent->m_iLevel >= start->m_iLevel && region.Claim(parent->m_iWalkMark)) {
                climb.push_back(parent);
            }
        }
    }
    auto worth = [&](const CLayerNode* node) {
        return !confined || region.Holds(node->m_iWalkMark);
    };

    const netloom::layered::PassMark walk = NewWalkMark();
    // A first-in first-out queue: the walk ends at the first member, so the
    // array is only read forward.
    std::vector<CLayerNode*>& queue = m_vecSplitQueue;
    queue.clear();
    if (worth(start)) {
        queue.push_back(start);
    }
    walk.Set(start->m_iInnerWalkMark);
    for (std::size_t head = 0; head < queue.size(); ++head) {
        CLayerNode* x = queue[head];
        auto member = std::find(group.begin(), group.end(), x);
        if (member != group.end()) {
            first.push_back(x);
            group.erase(member);
            rest.insert(rest.end(), group.begin(), group.end());
            return true;
        }
        for (CLayerNode* child : x->m_vecChildren) {
            if (!walk.Holds(child->m_iInnerWalkMark) && worth(child)) {
                walk.Set(child->m_iInnerWalkMark);
                queue.push_back(child);
            }
        }
    }
    return true;
}

// Moves node within parent's child list toward the end or the front, up to a
// pinned entry, collects its same-level neighbours beside it, pins it, and
// then does the same for parent in each of its own parents' lists, up to stop.
bool CLayeredLayout::PushTowardSide(CLayerNode* stop, CLayerNode* parent, CLayerNode* node,
                                    bool towardEnd, int mark) {
    if (parent == nullptr || node == nullptr) {
        return false;
    }
    if (!PushInParent(stop, parent, node, towardEnd, mark)) {
        return true;
    }
    // Frames: the node that was just moved, and the index of its parent to come.
    std::vector<std::pair<CLayerNode*, std::size_t>>& stack = m_vecPushStack;
    stack.assign(1, {parent, 0});
    while (!stack.empty()) {
        auto& top = stack.back();
        if (top.second == top.first->m_vecParents.size()) {
            stack.pop_back();
            continue;
        }
        CLayerNode* moved = top.first;
        CLayerNode* grandparent = moved->m_vecParents[top.second++];
        if (PushInParent(stop, grandparent, moved, towardEnd, mark)) {
            stack.push_back({grandparent, 0});
        }
    }
    return true;
}

bool CLayeredLayout::PushInParent(CLayerNode* stop, CLayerNode* parent, CLayerNode* node,
                                  bool towardEnd, int mark) {
    if (parent == stop || node->m_iPinMark >= mark) {
        return false;
    }
    std::vector<CLayerNode*>& list = parent->m_vecChildren;
    auto found = std::find(list.begin(), list.end(), node);
    if (found == list.end()) {
        return false;
    }
    long i = found - list.begin();
    const long size = static_cast<long>(list.size());
    auto at = [&list](long k) -> CLayerNode*& { return list[static_cast<std::size_t>(k)]; };
    node->m_iPinMark = mark;
    if (towardEnd) {
        while (i < size - 1 && at(i + 1)->m_iPinMark < mark) {
            at(i) = at(i + 1);
            ++i;
        }
        at(i) = node;
        long k = 0;
        for (long j = i - 1; j >= 0; --j) {
            if (IsNeighbour(node, at(j))) {
                CLayerNode* y = at(j);
                for (long m = j; m <= i - 2 - k; ++m) {
                    at(m) = at(m + 1);
                }
                at(i - 1 - k) = y;
                ++k;
            }
        }
    } else {
        while (i > 0 && at(i - 1)->m_iPinMark < mark) {
            at(i) = at(i - 1);
            --i;
        }
        at(i) = node;
        long k = 0;
        for (long j = i + 1; j < size; ++j) {
            if (IsNeighbour(node, at(j))) {
                CLayerNode* y = at(j);
                for (long m = j; m >= i + k + 2; --m) {
                    at(m) = at(m - 1);
                }
                at(i + k + 1) = y;
                ++k;
            }
        }
    }
    return true;
}
