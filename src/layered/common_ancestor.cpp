#include "layered/layered_workspace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

// Read literally, the search enumerates, generation by generation, every
// combination of one parent per member of a node set (EnumerateParentChoices:
// members in set order, the first member's choice varying slowest, parents in
// list order) and returns the first singleton. That is exponential in the group
// size. The same result follows from the members' upward frontiers:
//
// - A node x is k parent steps above member m when some parent path of length k
//   leads from m to x. A set of generation k can hold x exactly when x is k steps
//   above some member and every member has a path of length k; a singleton {x}
//   appears in generation k exactly when x is k steps above every member. So the
//   meeting generation g is the first step whose frontier holds a node above all
//   members, and one upward sweep with a member bit mask per node finds it.
// - The sets of one generation come in the lexicographic order of their parent
//   choices, so the first singleton is the greedy one: each member, in set order
//   and generation by generation, takes its first parent from which a candidate
//   still allowed by the choices before it is reached in the remaining steps.
// - The examined sets of two or more members are all sets of generations below g
//   (their union is the frontier of each step) and the sets of generation g that
//   come before the greedy choice: those that leave the greedy choices at some
//   member for a parent ranked before it that still reaches generation g. Their
//   members are the nodes reached, in the remaining steps, from those earlier
//   parents, from the greedy choices of the members before the last such member,
//   and from every live parent of the members after the first such member.
//
// Every step costs the size of the group's ancestor cone times the mask widths.

namespace {

using netloom::layered::AncestorCone;

constexpr std::uint64_t kOne = 1;

std::size_t Words(std::size_t bits) {
    return (bits + 63) / 64;
}

bool Intersects(const std::uint64_t* a, const std::uint64_t* b, std::size_t words) {
    for (std::size_t w = 0; w < words; ++w) {
        if ((a[w] & b[w]) != 0) {
            return true;
        }
    }
    return false;
}

bool IsFull(const std::uint64_t* mask, std::size_t bits) {
    const std::size_t whole = bits / 64;
    for (std::size_t w = 0; w < whole; ++w) {
        if (mask[w] != ~std::uint64_t{0}) {
            return false;
        }
    }
    const std::size_t rest = bits % 64;
    return rest == 0 || mask[whole] == (kOne << rest) - 1;
}

} // namespace

// Builds the frontiers of steps 0, 1, ... above the group (distinct members) until
// a step holds a node above every member (its index is returned, the candidates
// listed in cone.candidateEntries) or a step misses a member (-1; the frontiers
// of the steps before it are kept). Entries are (node, step) pairs; a node's
// walk index points at its newest entry.
int CLayeredLayout::BuildAncestorCone(const LayerNodeList& group, AncestorCone& cone) {
    const std::size_t members = group.size();
    const std::size_t words = Words(members);
    const netloom::layered::PassMark pass = NewWalkMark();
    cone.nodes.assign(group.begin(), group.end());
    cone.stepStart.assign(1, 0);
    cone.parentStart.assign(1, 0);
    cone.parentIndex.clear();
    cone.memberMasks.assign(members * words, 0);
    cone.candidateEntries.clear();
    for (std::size_t m = 0; m < members; ++m) {
        pass.Set(group[m]->m_iWalkMark);
        group[m]->m_iWalkIndex = static_cast<std::int32_t>(m);
        cone.memberMasks[m * words + m / 64] |= kOne << (m % 64);
    }
    cone.stepStart.push_back(static_cast<std::uint32_t>(members));
    std::vector<std::uint64_t>& present = cone.present;
    present.assign(words, 0);
    for (int step = 0;; ++step) {
        const std::size_t begin = cone.stepStart[static_cast<std::size_t>(step)];
        const std::size_t end = cone.stepStart[static_cast<std::size_t>(step) + 1];
        if (step > 0) {
            std::fill(present.begin(), present.end(), 0);
            for (std::size_t e = begin; e < end; ++e) {
                const std::uint64_t* mask = &cone.memberMasks[e * words];
                for (std::size_t w = 0; w < words; ++w) {
                    present[w] |= mask[w];
                }
                if (IsFull(mask, members)) {
                    cone.candidateEntries.push_back(static_cast<std::uint32_t>(e));
                }
            }
            if (!IsFull(present.data(), members)) {
                cone.stepStart.pop_back(); // this step holds no set
                return -1;
            }
            if (!cone.candidateEntries.empty()) {
                return step;
            }
        }
        for (std::size_t e = begin; e < end; ++e) {
            for (CLayerNode* parent : cone.nodes[e]->m_vecParents) {
                std::size_t index = static_cast<std::size_t>(parent->m_iWalkIndex);
                if (!pass.Holds(parent->m_iWalkMark) || index < end) {
                    index = cone.nodes.size();
                    pass.Set(parent->m_iWalkMark);
                    parent->m_iWalkIndex = static_cast<std::int32_t>(index);
                    cone.nodes.push_back(parent);
                    for (std::size_t w = 0; w < words; ++w) {
                        cone.memberMasks.push_back(0); // inline, unlike resize
                    }
                }
                cone.parentIndex.push_back(static_cast<std::uint32_t>(index));
                std::uint64_t* to = &cone.memberMasks[index * words];
                const std::uint64_t* from = &cone.memberMasks[e * words];
                for (std::size_t w = 0; w < words; ++w) {
                    to[w] |= from[w];
                }
            }
            cone.parentStart.push_back(static_cast<std::uint32_t>(cone.parentIndex.size()));
        }
        cone.stepStart.push_back(static_cast<std::uint32_t>(cone.nodes.size()));
    }
}

// The first singleton of generation `meet` in enumeration order; marks in
// cone.reached the entries of generation `meet` that belong to a set examined
// before it.
CLayerNode* CLayeredLayout::GreedyFirstSingleton(int meet, AncestorCone& cone) {
    const std::size_t top = cone.stepStart[static_cast<std::size_t>(meet)];
    const std::size_t count = cone.nodes.size();
    const std::size_t words = Words(cone.candidateEntries.size());
    // Which candidates each entry reaches in the remaining steps, and whether it
    // reaches the meeting step at all.
    cone.candidateMasks.assign(count * words, 0);
    cone.alive.assign(count, 0);
    for (std::size_t c = 0; c < cone.candidateEntries.size(); ++c) {
        cone.candidateMasks[cone.candidateEntries[c] * words + c / 64] |= kOne << (c % 64);
    }
    std::fill(cone.alive.begin() + static_cast<std::ptrdiff_t>(top), cone.alive.end(), 1);
    for (std::size_t e = top; e-- > 0;) {
        std::uint64_t* mask = &cone.candidateMasks[e * words];
        for (std::uint32_t i = cone.parentStart[e]; i < cone.parentStart[e + 1]; ++i) {
            const std::size_t p = cone.parentIndex[i];
            const std::uint64_t* from = &cone.candidateMasks[p * words];
            for (std::size_t w = 0; w < words; ++w) {
                mask[w] |= from[w];
            }
            cone.alive[e] |= cone.alive[p];
        }
    }

    std::vector<std::uint64_t>& allowed = cone.allowed;
    allowed.assign(words, 0);
    for (std::size_t c = 0; c < cone.candidateEntries.size(); ++c) {
        allowed[c / 64] |= kOne << (c % 64);
    }
    cone.reached.assign(count, 0);
    std::vector<std::uint32_t>& current = cone.current;
    current.resize(cone.stepStart[1]);
    for (std::uint32_t e = 0; e < cone.stepStart[1]; ++e) {
        current[e] = e;
    }
    std::vector<std::uint32_t>& chosen = cone.chosen;
    for (int step = 1; step <= meet; ++step) {
        chosen.clear();
        std::ptrdiff_t firstDetour = -1;
        std::ptrdiff_t lastDetour = -1;
        for (std::size_t i = 0; i < current.size(); ++i) {
            const std::uint32_t e = current[i];
            std::uint32_t pick = cone.parentStart[e];
            bool detour = false;
            // Some parent reaches an allowed candidate: every member of the set
            // reaches all of them.
            while (pick + 1 < cone.parentStart[e + 1] &&
                   !Intersects(&cone.candidateMasks[cone.parentIndex[pick] * words], allowed.data(),
                               words)) {
                if (cone.alive[cone.parentIndex[pick]]) {
                    cone.reached[cone.parentIndex[pick]] = 1;
                    detour = true;
                }
                ++pick;
            }
            if (detour) {
                firstDetour = firstDetour < 0 ? static_cast<std::ptrdiff_t>(i) : firstDetour;
                lastDetour = static_cast<std::ptrdiff_t>(i);
            }
            const std::uint32_t picked = cone.parentIndex[pick];
            const std::uint64_t* mask = &cone.candidateMasks[picked * words];
            for (std::size_t w = 0; w < words; ++w) {
                allowed[w] &= mask[w];
            }
            chosen.push_back(picked);
        }
        if (firstDetour >= 0) {
            for (std::ptrdiff_t j = 0; j < lastDetour; ++j) {
                cone.reached[chosen[static_cast<std::size_t>(j)]] = 1;
            }
            for (std::size_t j = static_cast<std::size_t>(firstDetour) + 1; j < current.size();
                 ++j) {
                const std::uint32_t e = current[j];
                // A parent that does not reach the meeting step marks nothing there.
                for (std::uint32_t i = cone.parentStart[e]; i < cone.parentStart[e + 1]; ++i) {
                    cone.reached[cone.parentIndex[i]] = 1;
                }
            }
        }
        // The next generation's set, in creation order.
        std::sort(chosen.begin(), chosen.end(), [&cone](std::uint32_t a, std::uint32_t b) {
            return cone.nodes[a]->GetSerial() < cone.nodes[b]->GetSerial();
        });
        chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
        current.swap(chosen);
    }
    // Carry the marks up to the meeting step.
    for (std::size_t e = cone.stepStart[1]; e < top; ++e) {
        if (cone.reached[e]) {
            for (std::uint32_t i = cone.parentStart[e]; i < cone.parentStart[e + 1]; ++i) {
                cone.reached[cone.parentIndex[i]] = 1;
            }
        }
    }
    return cone.nodes[current.front()];
}

// The nearest node that all members reach by the same number of parent steps:
// the first singleton of the generation-by-generation enumeration of parent
// choices. Every member of an examined set of two or more gets searchStamp.
CLayerNode* CLayeredLayout::FindCommonAncestor(const LayerNodeList& members, int searchStamp) {
    AncestorCone& cone = m_ancestorCone;
    LayerNodeList& group = cone.members;
    group.assign(members.begin(), members.end());
    std::sort(group.begin(), group.end(), netloom::CreationOrderLess());
    group.erase(std::unique(group.begin(), group.end()), group.end());
    if (group.size() == 1) {
        return group.front();
    }
    if (group.empty()) {
        return nullptr;
    }
    const netloom::layered::PassMark search(searchStamp);
    const int meet = BuildAncestorCone(group, cone);
    CLayerNode* ancestor = nullptr;
    std::size_t stampedEnd = cone.nodes.size();
    if (meet >= 0) {
        ancestor = GreedyFirstSingleton(meet, cone);
        stampedEnd = cone.stepStart[static_cast<std::size_t>(meet)];
        for (std::size_t e = stampedEnd; e < cone.nodes.size(); ++e) {
            if (cone.reached[e]) {
                search.Set(cone.nodes[e]->m_iVisitStamp);
            }
        }
    } else {
        stampedEnd = cone.stepStart.back();
    }
    for (std::size_t e = 0; e < stampedEnd; ++e) {
        search.Set(cone.nodes[e]->m_iVisitStamp);
    }
    return ancestor;
}
