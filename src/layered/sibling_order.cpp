#include "layered/layered_workspace.h"

#include <algorithm>
#include <utility>

namespace {

bool IsIsolatedLeaf(const CLayerNode* node) {
    return node->m_vecChildren.empty() && node->m_setSiblings.empty();
}

// Each entry pulls the same-level neighbours that follow it to the places right
// behind it, by swaps, in the order they stand; the next entry is the first
// neighbour just pulled.
void GroupNeighboursInList(std::vector<CLayerNode*>& list) {
    const std::size_t n = list.size();
    for (std::size_t i = 0; i < n; ++i) {
        const CLayerNode* a = list[i];
        if (a->m_setSiblings.empty()) {
            continue;
        }
        std::size_t k = 1;
        for (std::size_t j = i + 1; j < n; ++j) {
            if (a->m_setSiblings.count(list[j]) != 0) {
                std::swap(list[j], list[i + k]);
                ++k;
            }
        }
    }
}

} // namespace

// Long lists: every swap of the scan above touches only places up to the one
// scanned, so the neighbours an entry pulls are those standing behind it when
// its turn comes, found through their noted places instead of a scan.
bool CLayeredLayout::GroupSiblingNeighbours() {
    std::vector<int> places;
    // Every list is treated by itself: the order of the nodes does not matter.
    for (CLayerNode* owner : m_mapLayerNodes) {
        std::vector<CLayerNode*>& list = owner->m_vecChildren;
        if (list.size() <= 32) {
            GroupNeighboursInList(list);
            continue;
        }
        const netloom::layered::PassMark pass = NewWalkMark();
        bool repeated = false;
        for (std::size_t p = 0; p < list.size(); ++p) {
            if (!pass.Claim(list[p]->m_iWalkMark)) {
                repeated = true;
                break;
            }
            list[p]->m_iWalkIndex = static_cast<int>(p);
        }
        if (repeated) {
            GroupNeighboursInList(list);
            continue;
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            const CLayerNode* a = list[i];
            places.clear();
            for (const CLayerNode* s : a->m_setSiblings) {
                if (pass.Holds(s->m_iWalkMark) && s->m_iWalkIndex > static_cast<int>(i)) {
                    places.push_back(s->m_iWalkIndex);
                }
            }
            std::sort(places.begin(), places.end());
            std::size_t k = 1;
            for (int j : places) {
                std::swap(list[static_cast<std::size_t>(j)], list[i + k]);
                list[static_cast<std::size_t>(j)]->m_iWalkIndex = j;
                list[i + k]->m_iWalkIndex = static_cast<int>(i + k);
                ++k;
            }
        }
    }
    return true;
}

// Spreads the isolated leaves of every child list over its two ends, the left
// end holding as many as the right or one more, and moves isolated leaves found
// between the ends out to them.
bool CLayeredLayout::BalanceIsolatedLeaves() {
    // Every list is treated by itself: the order of the nodes does not matter.
    for (CLayerNode* owner : m_mapLayerNodes) {
        std::vector<CLayerNode*>& list = owner->m_vecChildren;
        if (list.empty()) {
            continue;
        }
        const long long n = static_cast<long long>(list.size());
        auto at = [&list](long long p) -> CLayerNode*& {
            return list[static_cast<std::size_t>(p)];
        };
        long long lo = 0;
        long long hi = n - 1;
        while (lo <= hi && IsIsolatedLeaf(at(lo))) {
            ++lo;
        }
        while (hi >= lo && IsIsolatedLeaf(at(hi))) {
            --hi;
        }
        while (lo > 0 && lo > n - hi) {
            std::swap(at(hi), at(lo - 1));
            --lo;
            --hi;
        }
        while (n - hi > 1 && lo < n - hi - 1) {
            std::swap(at(lo), at(hi + 1));
            ++lo;
            ++hi;
        }
        for (long long k = lo; k <= hi; ++k) {
            if (!IsIsolatedLeaf(at(k))) {
                continue;
            }
            if (lo < n - hi - 1) {
                std::swap(at(lo), at(k));
                ++lo;
            } else {
                std::swap(at(hi), at(k));
                --hi;
            }
        }
    }
    return true;
}
