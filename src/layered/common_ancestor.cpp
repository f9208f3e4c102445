#include "layered/layered_workspace.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace {

std::atomic<long> g_searches{0};
std::atomic<long> g_giveUps{0};

void SortByCreation(LayerNodeList& nodes) {
    std::sort(nodes.begin(), nodes.end(), netloom::CreationOrderLess());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

} // namespace

namespace netloom::layered {

SearchStats GetSearchStats() {
    return SearchStats{g_searches.load(), g_giveUps.load()};
}

void ResetSearchStats() {
    g_searches = 0;
    g_giveUps = 0;
}

} // namespace netloom::layered

namespace netloom::layered {

std::uint64_t NodeSetList::Hash(std::size_t i) const {
    std::uint64_t h = static_cast<std::uint64_t>(End(i) - Begin(i));
    for (const CLayerNode* const* n = Begin(i); n != End(i); ++n) {
        h = (h ^ (*n)->GetSerial()) * 0x100000001b3ULL;
    }
    return h;
}

bool NodeSetList::Equal(std::size_t a, std::size_t b) const {
    return std::equal(Begin(a), End(a), Begin(b), End(b));
}

} // namespace netloom::layered

// Appends every combination of one parent per member, members in set order with
// the first member's choice varying slowest and each member's parents in list
// order; each set in creation order. A member without parents has no combinations.
void CLayeredLayout::EnumerateParentChoices(CLayerNode* const* members, std::size_t count,
                                            netloom::layered::NodeSetList& out) {
    for (std::size_t m = 0; m < count; ++m) {
        if (members[m]->m_vecParents.empty()) {
            return;
        }
    }
    std::vector<std::size_t> choice(count, 0);
    while (true) {
        const std::size_t begin = out.items.size();
        for (std::size_t m = 0; m < count; ++m) {
            out.items.push_back(members[m]->m_vecParents[choice[m]]);
        }
        auto first = out.items.begin() + static_cast<std::ptrdiff_t>(begin);
        std::sort(first, out.items.end(), netloom::CreationOrderLess());
        out.items.erase(std::unique(first, out.items.end()), out.items.end());
        out.starts.push_back(out.items.size());
        // Odometer: the last member's choice turns fastest.
        std::size_t m = count;
        while (true) {
            if (m == 0) {
                return;
            }
            --m;
            if (++choice[m] < members[m]->m_vecParents.size()) {
                break;
            }
            choice[m] = 0;
        }
    }
}

// The nearest node that all members reach by the same number of parent steps,
// searched generation by generation; every member of an examined set of two or
// more gets searchStamp. Identical sets of one generation are examined once
// (same result, same stamps). A generation whose sets would enumerate more than
// kCommonAncestorSearchLimit successor sets in all is not enumerated: the search
// gives up (null), leaving that generation unstamped.
CLayerNode* CLayeredLayout::FindCommonAncestor(LayerNodeList group, int searchStamp) {
    ++g_searches;
    SortByCreation(group);
    netloom::layered::NodeSetList generation;
    generation.items = group;
    generation.starts = {0, group.size()};
    netloom::layered::NodeSetList successors;
    netloom::detail::FlatHashMap<std::uint32_t> seen;
    while (generation.Size() > 0) {
        long enumerated = 0;
        for (std::size_t i = 0; i < generation.Size(); ++i) {
            if (generation.End(i) - generation.Begin(i) == 1) {
                break; // the search ends at this singleton
            }
            long combinations = 1;
            for (const CLayerNode* const* n = generation.Begin(i); n != generation.End(i); ++n) {
                combinations *= static_cast<long>((*n)->m_vecParents.size());
                if (combinations > netloom::layered::kCommonAncestorSearchLimit) {
                    break;
                }
            }
            enumerated += combinations;
            if (enumerated > netloom::layered::kCommonAncestorSearchLimit) {
                ++g_giveUps;
                return nullptr;
            }
        }
        successors.items.clear();
        successors.starts.assign(1, 0);
        seen.Clear();
        for (std::size_t i = 0; i < generation.Size(); ++i) {
            if (generation.End(i) - generation.Begin(i) == 1) {
                return *generation.Begin(i);
            }
            const std::size_t before = successors.Size();
            EnumerateParentChoices(
                generation.Begin(i),
                static_cast<std::size_t>(generation.End(i) - generation.Begin(i)), successors);
            // Keep the first of identical sets: compact the new ones in place.
            std::size_t kept = before;
            for (std::size_t k = before; k < successors.Size(); ++k) {
                const std::uint64_t hash = successors.Hash(k);
                bool duplicate = false;
                seen.ForEach(hash, [&](std::uint32_t other) {
                    duplicate = successors.Equal(other, k);
                    return !duplicate;
                });
                if (duplicate) {
                    continue;
                }
                if (kept != k) {
                    successors.MoveSet(k, kept);
                }
                seen.InsertMulti(hash, static_cast<std::uint32_t>(kept));
                ++kept;
            }
            successors.Truncate(kept);
            for (CLayerNode* const* n = generation.Begin(i); n != generation.End(i); ++n) {
                (*n)->m_iVisitStamp = searchStamp;
            }
        }
        std::swap(generation, successors);
    }
    return nullptr;
}
