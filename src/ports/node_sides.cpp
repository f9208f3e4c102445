#include <netloom/edge.h>
#include <netloom/node.h>

#include "graph/flat_hash_map.h"

#include <algorithm>

namespace {

void AddSub(std::vector<int>& side, int sub, int front) {
    if (front != 0) {
        side.insert(side.begin(), sub);
    } else {
        side.push_back(sub);
    }
}

// Removes the first occurrence of sub from `from` and appends it to `to`.
bool MoveSub(std::vector<int>& from, std::vector<int>& to, int sub) {
    auto found = std::find(from.begin(), from.end(), sub);
    if (found == from.end()) {
        return false;
    }
    from.erase(found);
    to.push_back(sub);
    return true;
}

} // namespace

void CNode::AddUpsideSub(int sub, int front) {
    AddSub(m_vecUpside, sub, front);
}

void CNode::AddDownsideSub(int sub, int front) {
    AddSub(m_vecDownside, sub, front);
}

void CNode::AddRightsideSub(int sub, int front) {
    AddSub(m_vecRightside, sub, front);
}

void CNode::AddLeftsideSub(int sub, int front) {
    AddSub(m_vecLeftside, sub, front);
}

int CNode::GetRightsideEdgeSize() const {
    return static_cast<int>(m_vecRightside.size());
}

int CNode::GetLeftsideEdgeSize() const {
    return static_cast<int>(m_vecLeftside.size());
}

void CNode::ReverteSide() {
    std::swap(m_vecUpside, m_vecDownside);
}

void CNode::ReverteSide(int sub) {
    if (!MoveSub(m_vecUpside, m_vecDownside, sub)) {
        MoveSub(m_vecDownside, m_vecUpside, sub);
    }
}

CEdge* CNode::GetEdge(int sub) const {
    for (CEdge* e : m_setEdges) {
        if (e->GetSourceSubNodeID() == sub || e->GetDestSubNodeID() == sub) {
            return e;
        }
    }
    return nullptr;
}

void CNode::GetSortedEdges(std::vector<int>& ids) const {
    const std::vector<int>* sides[] = {&m_vecUpside, &m_vecDownside, &m_vecRightside,
                                       &m_vecLeftside};
    const std::size_t ports =
        m_vecUpside.size() + m_vecDownside.size() + m_vecRightside.size() + m_vecLeftside.size();
    // A hub would scan its whole edge set once per port: index the first edge of
    // every port id instead, in the same set order.
    const bool indexed = ports > 8 && m_setEdges.size() > 8;
    netloom::detail::FlatHashMap<CEdge*> firstEdge;
    if (indexed) {
        firstEdge.Reserve(m_setEdges.size() * 2);
        for (CEdge* e : m_setEdges) {
            for (int sub : {e->GetSourceSubNodeID(), e->GetDestSubNodeID()}) {
                firstEdge.FindOrInsert(netloom::detail::IdKey(sub), e);
            }
        }
    }
    for (const std::vector<int>* side : sides) {
        for (int sub : *side) {
            const CEdge* e = nullptr;
            if (indexed) {
                CEdge* const* found = firstEdge.Find(netloom::detail::IdKey(sub));
                e = found != nullptr ? *found : nullptr;
            } else {
                e = GetEdge(sub);
            }
            if (e != nullptr) {
                ids.push_back(e->GetID());
            }
        }
    }
}

void CNode::GetSubNodePosition(int sub, int& side, int& index) const {
    const std::vector<int>* sides[] = {&m_vecUpside, &m_vecDownside, &m_vecRightside,
                                       &m_vecLeftside};
    for (int code = 0; code < 4; ++code) {
        const std::vector<int>& list = *sides[code];
        auto found = std::find(list.begin(), list.end(), sub);
        if (found != list.end()) {
            side = code;
            index = static_cast<int>(found - list.begin());
            return;
        }
    }
}
