// Gathering of shared parents and neighbour groups: the worked examples, and the
// fast passes against the literal reading (queue every path, enumerate every
// parent choice, recurse) on many generated structures.

#include "layered/layered_workspace.h"

#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <list>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using NodeSet = std::set<CLayerNode*, netloom::CreationOrderLess>;
using netloom::layered::HookAnswer;
using netloom::layered::LayeredStep;

// Appends one set per combination of parent choices, as first written.
void EnumerateParentChoices(std::list<NodeSet>& queue, const NodeSet& current,
                            std::map<CLayerNode*, int, netloom::CreationOrderLess>& chosen,
                            NodeSet::const_iterator position) {
    if (position == current.end()) {
        NodeSet set;
        for (const auto& c : chosen)
            set.insert(c.first);
        queue.push_back(set);
        return;
    }
    CLayerNode* m = *position;
    ++position;
    for (CLayerNode* q : m->m_vecParents) {
        ++chosen[q];
        EnumerateParentChoices(queue, current, chosen, position);
        if (--chosen[q] == 0)
            chosen.erase(q);
    }
}

// The exhaustive search. `once` skips a set already examined in its generation,
// which keeps large groups affordable and changes neither result nor stamps.
CLayerNode* LiteralCommonAncestor(const std::vector<CLayerNode*>& group, int ss,
                                  bool once = false) {
    std::list<NodeSet> queue{NodeSet(group.begin(), group.end())};
    std::set<NodeSet> seen;
    std::size_t generationLeft = 1;
    while (!queue.empty()) {
        NodeSet f = queue.front();
        if (f.size() == 1)
            return *f.begin();
        const bool fresh = !once || seen.insert(f).second;
        std::map<CLayerNode*, int, netloom::CreationOrderLess> chosen;
        if (fresh)
            EnumerateParentChoices(queue, f, chosen, f.begin());
        for (CLayerNode* m : f)
            m->m_iVisitStamp = ss;
        queue.pop_front();
        if (--generationLeft == 0) {
            generationLeft = queue.size();
            seen.clear();
        }
    }
    return nullptr;
}

// The two passes exactly as first written: no bound on copies, sets or depth.
class LiteralGathering {
public:
    explicit LiteralGathering(CLayeredLayout& ws) : m_ws(ws) {}

    void SharedChildParents() {
        Pass([this](CLayerNode* n, int s, int& extra) {
            if (n->m_iVisitStamp >= s)
                return true;
            n->m_iVisitStamp = s;
            if (n->m_vecParents.size() <= 1)
                return true;
            ++extra;
            const int ss = s + extra;
            CLayerNode* a = LiteralCommonAncestor(n->m_vecParents, ss);
            if (a == nullptr)
                return false;
            CLayerNode* b = PinPathChildren(a, ss, 1000);
            std::vector<CLayerNode*> rest, first;
            SplitByFirstReached(b, n->m_vecParents, rest, first);
            const int saved = n->m_iPinMark;
            int best = saved;
            for (bool end : {true, false}) {
                for (CLayerNode* p : end ? first : rest) {
                    PushTowardSide(a, p, n, end, 1000);
                    best = std::max(best, n->m_iPinMark);
                    n->m_iPinMark = saved;
                }
            }
            n->m_iPinMark = best;
            return true;
        });
    }

    void NeighbourGroups() {
        Pass([this](CLayerNode* n, int s, int& extra) {
            if (n->m_iVisitStamp >= s || n->m_setSiblings.empty())
                return true;
            n->m_iVisitStamp = s;
            ++extra;
            std::vector<CLayerNode*> group{n};
            for (CLayerNode* p : n->m_setSiblings) {
                bool shares = false;
                for (CLayerNode* q : p->m_vecParents) {
                    for (CLayerNode* r : n->m_vecParents)
                        shares = shares || q == r;
                }
                if (!shares)
                    group.push_back(p);
            }
            if (group.size() < 2)
                return false;
            const int ss = s + extra;
            CLayerNode* a = LiteralCommonAncestor(group, ss);
            if (a == nullptr)
                return false;
            CLayerNode* b = PinPathChildren(a, ss, 1100);
            std::vector<CLayerNode*> rest, first;
            SplitByFirstReached(b, group, rest, first);
            for (bool end : {true, false}) {
                for (CLayerNode* x : end ? first : rest) {
                    const int saved = x->m_iPinMark;
                    int best = saved;
                    for (CLayerNode* y : x->m_vecParents) {
                        PushTowardSide(a, y, x, end, 1100);
                        best = std::max(best, x->m_iPinMark);
                        x->m_iPinMark = saved;
                    }
                    x->m_iPinMark = best;
                }
            }
            return true;
        });
    }

private:
    template <class Work> void Pass(Work work) {
        const int s = m_ws.NewVisitStamp().Value();
        int extra = 0;
        std::deque<CLayerNode*> queue{m_ws.GetRoot()};
        while (!queue.empty()) {
            CLayerNode* n = queue.front();
            queue.pop_front();
            if (work(n, s, extra)) {
                queue.insert(queue.end(), n->m_vecChildren.begin(), n->m_vecChildren.end());
            }
        }
        m_ws.SkipVisitStamps(extra);
    }

    static bool In(CLayerNode* w, CLayerNode* x) { return w->m_setSiblings.count(x) != 0; }

    CLayerNode* PinPathChildren(CLayerNode* a, int ss, int mark) {
        auto& l = a->m_vecChildren;
        CLayerNode* first = nullptr;
        long next = -1;
        for (long i = 0; i < static_cast<long>(l.size()); ++i) {
            CLayerNode* w = l[i];
            if (w->m_iVisitStamp != ss)
                continue;
            if (first == nullptr)
                first = w;
            if (next < 0) {
                next = i + 1;
                for (long j = i + 1; j < static_cast<long>(l.size()); ++j)
                    next += In(w, l[j]);
                continue;
            }
            if (next >= static_cast<long>(l.size()))
                continue;
            long lo = i, hi = i;
            for (long j = next; j < i; ++j)
                lo -= In(w, l[j]);
            for (long j = i + 1; j < static_cast<long>(l.size()); ++j)
                hi += In(w, l[j]);
            for (long m = 0; m <= hi - lo; ++m) {
                long pos = lo + m;
                CLayerNode* d = l[pos];
                if (d->m_iPinMark < mark) {
                    d->m_iPinMark = mark;
                    while (pos > next && l[pos - 1]->m_iPinMark < mark) {
                        l[pos] = l[pos - 1];
                        --pos;
                    }
                    l[pos >= next ? std::max(pos, next) : pos] = d;
                }
                ++next;
            }
        }
        return first;
    }

    // Queues a node once per path, as written.
    void SplitByFirstReached(CLayerNode* start, std::vector<CLayerNode*> group,
                             std::vector<CLayerNode*>& rest, std::vector<CLayerNode*>& first) {
        if (start == nullptr)
            return;
        std::deque<CLayerNode*> queue{start};
        while (!queue.empty()) {
            CLayerNode* x = queue.front();
            queue.pop_front();
            auto it = std::find(group.begin(), group.end(), x);
            if (it != group.end()) {
                first.push_back(x);
                group.erase(it);
                rest.insert(rest.end(), group.begin(), group.end());
                return;
            }
            queue.insert(queue.end(), x->m_vecChildren.begin(), x->m_vecChildren.end());
        }
    }

    bool PushTowardSide(CLayerNode* stop, CLayerNode* p, CLayerNode* x, bool toEnd, int mark) {
        if (p == nullptr || x == nullptr)
            return false;
        if (p == stop)
            return true;
        auto& l = p->m_vecChildren;
        long i = 0;
        const long size = static_cast<long>(l.size());
        while (i < size && !(l[i] == x && x->m_iPinMark < mark))
            ++i;
        if (i == size)
            return true;
        x->m_iPinMark = mark;
        if (toEnd) {
            while (i < size - 1 && l[i + 1]->m_iPinMark < mark) {
                l[i] = l[i + 1];
                ++i;
            }
            l[i] = x;
            long k = 0;
            for (long j = i - 1; j >= 0; --j) {
                if (In(x, l[j])) {
                    CLayerNode* y = l[j];
                    for (long m = j; m <= i - 2 - k; ++m)
                        l[m] = l[m + 1];
                    l[i - 1 - k] = y;
                    ++k;
                }
            }
        } else {
            while (i > 0 && l[i - 1]->m_iPinMark < mark) {
                l[i] = l[i - 1];
                --i;
            }
            l[i] = x;
            long k = 0;
            for (long j = i + 1; j < size; ++j) {
                if (In(x, l[j])) {
                    CLayerNode* y = l[j];
                    for (long m = j; m >= i + k + 2; --m)
                        l[m] = l[m - 1];
                    l[i + k + 1] = y;
                    ++k;
                }
            }
        }
        for (CLayerNode* q : p->m_vecParents)
            PushTowardSide(stop, q, p, toEnd, mark);
        return true;
    }

    CLayeredLayout& m_ws;
};

// Child lists, pins and stamps of every layer node, by id, and the pass stamp.
std::string Snapshot(const CLayeredLayout& ws) {
    std::string out = "stamp " + std::to_string(ws.GetVisitStamp()) + "\n";
    for (const CLayerNode* n : ws.GetLayerNodesById()) {
        out += std::to_string(n->m_iID) + " pin " + std::to_string(n->m_iPinMark) + " stamp " +
               std::to_string(n->m_iVisitStamp) + " cell " + std::to_string(n->m_iRow) + "," +
               std::to_string(n->m_iCol) + " [";
        for (const CLayerNode* c : n->m_vecChildren)
            out += " " + std::to_string(c->m_iID);
        out += " ]\n";
    }
    return out;
}

// A random layered structure of `levels` levels of up to `width` nodes, the first
// under the virtual root or without parents: parents mostly one level up, some
// two, some linked twice, some nodes without parents; same-level neighbour links;
// shuffled child lists so that the pushes have something to do.
std::vector<std::vector<CLayerNode*>> BuildRandomLayers(CLayeredLayout& ws, std::mt19937& rng,
                                                        int levels, int width, bool underRoot) {
    std::vector<std::vector<CLayerNode*>> byLevel;
    int id = 1;
    for (int level = 0; level < levels; ++level) {
        byLevel.emplace_back();
        auto& row = byLevel.back();
        for (int k = 1 + static_cast<int>(rng() % static_cast<std::uint32_t>(width)); k > 0; --k) {
            CLayerNode* node = ws.GetOrCreateLayerNode(id++, level);
            row.push_back(node);
            const int parents = level == 0 ? underRoot : rng() % 8 == 0 ? 0 : 1 + (rng() % 3 == 0);
            for (int p = 0; p < parents; ++p) {
                const int up = level > 1 && rng() % 6 == 0 ? 2 : 1;
                CLayerNode* parent = level == 0
                                         ? ws.GetRoot()
                                         : byLevel[level - up][rng() % byLevel[level - up].size()];
                for (int twice = rng() % 12 == 0; twice >= 0; --twice) {
                    parent->AddChild(node);
                    node->AddParent(parent);
                }
            }
        }
        for (std::size_t k = 0; k < row.size(); ++k) {
            CLayerNode* a = row[rng() % row.size()];
            CLayerNode* b = row[rng() % row.size()];
            if (rng() % 3 == 0 && a != b) {
                a->AddSibling(b);
                b->AddSibling(a);
            }
        }
        for (CLayerNode* p :
             level == 0 ? std::vector<CLayerNode*>{ws.GetRoot()} : byLevel[level - 1])
            std::shuffle(p->m_vecChildren.begin(), p->m_vecChildren.end(), rng);
    }
    return byLevel;
}

// Ids of the nodes carrying a stamp.
std::vector<int> Stamped(const CLayeredLayout& ws, int stamp) {
    std::vector<int> ids;
    for (const CLayerNode* n : ws.GetLayerNodesById())
        if (n->m_iVisitStamp == stamp)
            ids.push_back(n->m_iID);
    return ids;
}

TEST(GatheringTest, CommonAncestorMatchesTheEnumeration) {
    std::map<std::string, int> seen;
    for (std::uint32_t round = 0; round < 3000; ++round) {
        CLayeredLayout ws(nullptr, 1);
        std::mt19937 rng(round);
        const auto levels = BuildRandomLayers(ws, rng, 6, round % 4 == 0 ? 14 : 5, false);
        // Mostly members of one level, some from anywhere, repeats possible.
        const std::size_t size = 1 + rng() % 14, home = 2 + rng() % 4;
        const bool mixed = rng() % 4 == 0;
        std::vector<CLayerNode*> group;
        for (std::size_t k = 0; k < size; ++k) {
            const auto& level = levels[mixed && rng() % 3 == 0 ? rng() % 6 : home];
            group.push_back(level[rng() % level.size()]);
        }
        CLayerNode* got = ws.FindCommonAncestor(group, 7);
        const auto stamped = Stamped(ws, 7);
        ASSERT_EQ(got, LiteralCommonAncestor(group, 8, size > 6)) << "round " << round;
        ASSERT_EQ(stamped, Stamped(ws, 8)) << "round " << round;
        ++seen[!got ? "none" : got->m_iLevel + 1 < static_cast<int>(home) ? "far" : "near"];
    }
    EXPECT_GT(seen["none"], 200);
    EXPECT_GT(seen["near"], 200);
    EXPECT_GT(seen["far"], 200);
}

TEST(GatheringTest, FastPassesMatchTheLiteralOnesOnRandomLayers) {
    int changed = 0;
    for (std::uint32_t round = 0; round < 500; ++round) {
        CLayeredLayout fast(nullptr, 1);
        CLayeredLayout literal(nullptr, 1);
        // Some deep structures, where the number of paths from the root explodes.
        const int levels = 2 + static_cast<int>(round % (round % 5 == 0 ? 9 : 4));
        for (CLayeredLayout* ws : {&fast, &literal}) {
            std::mt19937 rng(round);
            BuildRandomLayers(*ws, rng, levels, 4, true);
        }
        const std::string before = Snapshot(fast);
        ASSERT_EQ(before, Snapshot(literal));
        fast.GatherSharedChildParents();
        LiteralGathering(literal).SharedChildParents();
        ASSERT_EQ(Snapshot(fast), Snapshot(literal)) << "shared children, round " << round;
        fast.GatherNeighbourGroups();
        LiteralGathering(literal).NeighbourGroups();
        ASSERT_EQ(Snapshot(fast), Snapshot(literal)) << "neighbour groups, round " << round;
        changed += Snapshot(fast) != before ? 1 : 0;
    }
    EXPECT_GT(changed, 250) << "the generated structures must exercise the passes";
}

// The same on structures built by the real level assignment of generated graphs,
// down to the grid cells.
TEST(GatheringTest, FastPassesMatchTheLiteralOnesOnGeneratedGraphs) {
    for (std::uint32_t round = 0; round < 120; ++round) {
        const int k = static_cast<int>(round % 7);
        const auto list =
            round % 4 == 0   ? netloom_test::Grid(2 + k % 4, 3)
            : round % 4 == 1 ? netloom_test::LayeredDag(3 + k % 4, 4, 3 * k, round)
            : round % 8 == 2
                ? netloom_test::HubGroups(2 + k)
                : netloom_test::RandomSparse(4 + static_cast<int>(round % 11), 2 + k, round);
        for (int type : {2, 8}) {
            CNetworkGraph host;
            netloom_test::Fill(host, list);
            host.Layout(40, type, 200); // builds the component
            CConnectedGraph* comp = *host.GetConnectedGraphs().begin();
            CLayeredLayout fast(comp, 1);
            CLayeredLayout literal(comp, 1);
            // The literal passes stand in for the two gathering steps.
            literal.SetStepHook([](CLayeredLayout& ws, const LayeredStep& step, bool after) {
                if (after)
                    return HookAnswer::Go;
                if (step.run == &CLayeredLayout::GatherSharedChildParents)
                    LiteralGathering(ws).SharedChildParents();
                else if (step.run == &CLayeredLayout::GatherNeighbourGroups)
                    LiteralGathering(ws).NeighbourGroups();
                else
                    return HookAnswer::Go;
                return HookAnswer::SkipStep;
            });
            ASSERT_TRUE(fast.ArrangeLayers());
            ASSERT_TRUE(literal.ArrangeLayers());
            ASSERT_EQ(Snapshot(fast), Snapshot(literal)) << "round " << round;
        }
    }
}

} // namespace
