// Layered layouts steered by a host strategy: levels, dummy chains, detached
// parts, the two-group split and the orientation.

#include "layered/layered_workspace.h"

#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <vector>

namespace {

using Levels = std::map<int, std::vector<int>>;
using netloom::layered::HookAnswer;
using netloom::layered::LayeredStep;

class Strategy : public CLayoutStrategy {
public:
    explicit Strategy(Levels levels, int mode = 1, int direction = 1)
        : m_levels(std::move(levels)), m_mode(mode), m_direction(direction) {}
    int GetArrangeMode() override { return m_mode; }
    int GetDirection() override {
        ++m_directionCalls;
        return m_direction;
    }
    bool GetLevels(std::set<int>&, Levels& levels) override {
        ++m_levelCalls;
        levels = m_levels;
        return m_accept;
    }
    Levels m_levels;
    bool m_accept = true;
    int m_levelCalls = 0;
    int m_mode;
    int m_direction;
    int m_directionCalls = 0;
};

// A host graph with one component and a strategy, and a workspace over the
// component on which a test runs single steps.
struct StrategyHost {
    CNetworkGraph host;
    Strategy strategy;
    CConnectedGraph* comp = nullptr;

    StrategyHost(int nodes, const std::vector<std::pair<int, int>>& edges, Levels levels,
                 int mode = 1)
        : strategy(std::move(levels), mode) {
        netloom_test::Fill(host, netloom_test::EdgeList{nodes, edges});
        host.SetLayoutStrategy(&strategy);
        host.Layout(40, 3, 200); // components only
        comp = *host.GetConnectedGraphs().begin();
    }
};

std::vector<int> Ids(const std::vector<CLayerNode*>& nodes) {
    std::vector<int> ids;
    for (const CLayerNode* n : nodes) {
        ids.push_back(n->m_iID);
    }
    return ids;
}

std::vector<int> Ids(const LayerNodeSet& nodes) {
    return Ids(std::vector<CLayerNode*>(nodes.begin(), nodes.end()));
}

void Link(CLayerNode* parent, CLayerNode* child) {
    parent->AddChild(child);
    child->AddParent(parent);
}

TEST(StrategyLevels, LevelMapsDummyChainsAndSameLevelLinks) {
    {
        StrategyHost s(5, {{4, 5}, {1, 4}, {2, 1}, {3, 2}}, {{0, {}}, {1, {4, 5}}});
        CLayeredLayout ws(s.comp, 1);
        ws.CollectLayoutEdges();
        Levels levels = s.strategy.m_levels;
        ASSERT_TRUE(ws.ApplyStrategyLevels(levels));
        ws.LinkStrategyLevels();
        EXPECT_EQ(ws.FindLayerNode(4)->m_iLevel, 0);
        EXPECT_EQ(ws.FindLayerNode(5)->m_iLevel, 0);
        EXPECT_TRUE(ws.GetRoot()->m_vecChildren.empty()) << "the first entry is empty";
    }
    {
        // Edge 1 (1-2) spans levels 0 to 3: dummies -1 and -2 carry it.
        StrategyHost s(4, {{1, 2}, {1, 3}, {3, 4}}, {{0, {1}}, {1, {3}}, {2, {4}}, {3, {2, 1}}});
        CLayeredLayout ws(s.comp, 1);
        ws.CollectLayoutEdges();
        Levels levels = s.strategy.m_levels;
        ws.ApplyStrategyLevels(levels);
        ws.LinkStrategyLevels();
        CLayerNode* d1 = ws.FindLayerNode(-1);
        CLayerNode* d2 = ws.FindLayerNode(-2);
        ASSERT_NE(d1, nullptr);
        ASSERT_NE(d2, nullptr);
        EXPECT_EQ(d1->m_iLevel, 1);
        EXPECT_EQ(d2->m_iLevel, 2);
        EXPECT_EQ(Ids(d1->m_vecParents), std::vector<int>{1});
        EXPECT_EQ(Ids(d1->m_vecChildren), std::vector<int>{-2});
        EXPECT_EQ(Ids(d2->m_vecChildren), std::vector<int>{2});
        EXPECT_EQ(ws.FindLayerNode(1)->m_iLevel, 0) << "an id listed twice keeps its first level";
        EXPECT_EQ(Ids(ws.GetRoot()->m_vecChildren), std::vector<int>{1});
    }
    {
        StrategyHost s(2, {{1, 2}, {1, 1}}, {{0, {1, 2}}});
        CLayeredLayout ws(s.comp, 1);
        ws.CollectLayoutEdges();
        Levels levels = s.strategy.m_levels;
        ws.ApplyStrategyLevels(levels);
        ws.LinkStrategyLevels();
        CLayerNode* one = ws.FindLayerNode(1);
        EXPECT_EQ(Ids(one->m_setSiblings), (std::vector<int>{1, 2}));
        EXPECT_EQ(Ids(ws.FindLayerNode(2)->m_setSiblings), std::vector<int>{1});
    }
}

TEST(StrategyLevels, DetachedPartsAreAttachedThinnedAndChained) {
    {
        // Node 3 is a parent of 2 without a parent of its own; the climb from 2
        // meets dummy -1 on 3's level.
        StrategyHost s(3, {{1, 2}, {2, 3}}, {{0, {1}}, {1, {3}}, {2, {2}}});
        CLayeredLayout ws(s.comp, 1);
        ws.CollectLayoutEdges();
        Levels levels = s.strategy.m_levels;
        ws.ApplyStrategyLevels(levels);
        ws.LinkStrategyLevels();
        ws.OrderChildrenCenterOut();
        ASSERT_TRUE(ws.FindLayerNode(3)->m_vecParents.empty());
        ws.AttachDetachedParts();
        EXPECT_EQ(Ids(ws.FindLayerNode(-1)->m_setSiblings), std::vector<int>{3});
        EXPECT_TRUE(ws.FindLayerNode(3)->m_setSiblings.empty()) << "one direction only";
    }
    {
        // Parentless p0, p1, p2 over a shared child, nothing else on their level:
        // they are chained and p0 stands for them; with p0-p1 linked, p1 drops out.
        for (bool linked : {false, true}) {
            StrategyHost s(2, {{1, 2}}, {{0, {1}}, {1, {2}}});
            CLayeredLayout ws(s.comp, 1);
            CLayerNode* p0 = ws.GetOrCreateLayerNode(10, 3);
            CLayerNode* p1 = ws.GetOrCreateLayerNode(11, 3);
            CLayerNode* p2 = ws.GetOrCreateLayerNode(12, 3);
            CLayerNode* c = ws.GetOrCreateLayerNode(13, 4);
            for (CLayerNode* p : {p0, p1, p2}) {
                Link(p, c);
            }
            if (linked) {
                p0->AddSibling(p1);
                p1->AddSibling(p0);
            }
            ws.AttachDetachedParts();
            if (!linked) {
                EXPECT_EQ(Ids(p0->m_setSiblings), std::vector<int>{11});
                EXPECT_EQ(Ids(p1->m_setSiblings), std::vector<int>{12});
                EXPECT_TRUE(p2->m_setSiblings.empty());
            } else {
                EXPECT_EQ(Ids(p0->m_setSiblings), (std::vector<int>{11, 12})) << "p0 chains p2";
                EXPECT_EQ(Ids(p1->m_setSiblings), std::vector<int>{10});
            }
        }
    }
    {
        // Without a strategy nothing changes.
        CNetworkGraph host;
        netloom_test::Fill(host, netloom_test::EdgeList{2, {{1, 2}}});
        host.Layout(40, 3, 200);
        CLayeredLayout ws(*host.GetConnectedGraphs().begin(), 1);
        CLayerNode* lone = ws.GetOrCreateLayerNode(10, 0);
        CLayerNode* other = ws.GetOrCreateLayerNode(11, 0);
        lone->AddSibling(other);
        const int stamp = ws.GetVisitStamp();
        ws.AttachDetachedParts();
        EXPECT_EQ(ws.GetVisitStamp(), stamp);
        EXPECT_EQ(Ids(lone->m_setSiblings), std::vector<int>{11});
    }
}

// One root with children a, b, c, d (ids 2 to 5) under the virtual root.
struct SplitFixture {
    StrategyHost s;
    CLayeredLayout ws;
    CLayerNode* root;
    std::vector<CLayerNode*> kids;

    explicit SplitFixture(int mode) : s(1, {}, {{0, {1}}}, mode), ws(s.comp, 1) {
        root = ws.GetOrCreateLayerNode(1, 0);
        Link(ws.GetRoot(), root);
        for (int id = 2; id <= 5; ++id) {
            kids.push_back(ws.GetOrCreateLayerNode(id, 1));
            Link(root, kids.back());
        }
    }
};

TEST(TwoGroupSplit, SplitsTheSecondLevelUnderTwoDummies) {
    SplitFixture f(2);
    f.ws.SplitIntoTwoGroups();
    CLayerNode* d1 = f.ws.FindLayerNode(-1);
    CLayerNode* d2 = f.ws.FindLayerNode(-2);
    ASSERT_NE(d1, nullptr);
    ASSERT_NE(d2, nullptr);
    EXPECT_EQ(f.ws.GetRoot()->m_vecChildren, (std::vector<CLayerNode*>{d2, d1}));
    EXPECT_EQ(Ids(d2->m_vecChildren), (std::vector<int>{5, 4}));
    EXPECT_EQ(Ids(d1->m_vecChildren), std::vector<int>{1});
    EXPECT_EQ(Ids(f.root->m_vecParents), std::vector<int>{-1});
    EXPECT_EQ(Ids(f.kids[3]->m_vecParents), (std::vector<int>{1, -2}));
    EXPECT_EQ(Ids(f.kids[0]->m_vecParents), std::vector<int>{1});
    EXPECT_EQ(d1->m_iLevel, -1);

    // Grid: D2's group grows upward from the roots' row, the rest downward.
    CLayerNode* deep = f.ws.GetOrCreateLayerNode(6, 2);
    Link(f.kids[3], deep);
    CLayerNode* deeper = f.ws.GetOrCreateLayerNode(7, 3);
    Link(deep, deeper);
    ASSERT_EQ(f.ws.GetMaxLevel(), 3);
    f.ws.AssignGridPositions();
    EXPECT_EQ(d2->m_iRow, 3);
    EXPECT_EQ(f.kids[3]->m_iRow, 2);
    EXPECT_EQ(f.kids[2]->m_iRow, 2);
    EXPECT_EQ(deep->m_iRow, 1);
    EXPECT_EQ(deeper->m_iRow, 0);
    EXPECT_EQ(d1->m_iRow, 2);
    EXPECT_EQ(f.root->m_iRow, 3);
    EXPECT_EQ(f.kids[0]->m_iRow, 4);
    EXPECT_EQ(f.kids[1]->m_iRow, 4);
    EXPECT_EQ(f.ws.GetRoot()->m_iRow, -1);
    EXPECT_EQ(f.ws.GetRoot()->m_iCol, -1);
}

TEST(TwoGroupSplit, LeavesTheStructureAloneWhenItCannotSplit) {
    for (int mode : {1, 3}) {
        SplitFixture f(mode);
        f.ws.SplitIntoTwoGroups();
        EXPECT_EQ(f.ws.FindLayerNode(-1), nullptr);
        EXPECT_EQ(Ids(f.ws.GetRoot()->m_vecChildren), std::vector<int>{1});
    }
    // Every candidate a same-level neighbour of the first: no second group.
    SplitFixture f(2);
    for (std::size_t i = 1; i < f.kids.size(); ++i) {
        f.kids[0]->AddSibling(f.kids[i]);
    }
    f.ws.SplitIntoTwoGroups();
    EXPECT_EQ(f.ws.FindLayerNode(-1), nullptr);
}

TEST(Orientation, RecordsOfOneNodeInEveryDirection) {
    const int expected[5][3] = {{0, 0, 0}, {2, 2, 3}, {3, 3, 2}, {2, 2, 2}, {3, 3, 2}};
    for (int dir : {1, 2, 3, 4, 0, 5, -1}) {
        StrategyHost s(7, {{1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 6}, {6, 7}}, {{0, {7}}}, 1);
        s.strategy.m_direction = dir;
        // Node 7 is put at (2, 3) and a dummy at (4, 5) before the extents are
        // measured.
        CLayeredLayout ws(s.comp, 1);
        ws.SetStepHook([](CLayeredLayout& w, const LayeredStep& step, bool after) {
            if (!after && step.run == &CLayeredLayout::MeasureGridExtents) {
                CLayerNode* seven = w.FindLayerNode(7);
                seven->m_iRow = 2;
                seven->m_iCol = 3;
                CLayerNode* corner = w.GetOrCreateLayerNode(w.NewDummyID(), 0);
                corner->m_iRow = 4;
                corner->m_iCol = 5;
            }
            return HookAnswer::Go;
        });
        ASSERT_TRUE(ws.ArrangeLayers());
        ASSERT_EQ(ws.GetMaxRow(), 4);
        ASSERT_EQ(ws.GetMaxCol(), 5);
        std::map<int, std::vector<_tagNode>> rows;
        ws.CollectGridRecords(rows);
        const int* want = expected[dir >= 1 && dir <= 4 ? dir : 1];
        ASSERT_EQ(rows.size(), 1u) << "direction " << dir;
        EXPECT_EQ(rows.begin()->first, want[0]);
        const _tagNode& r = rows.begin()->second.front();
        EXPECT_EQ(r.nID, 7);
        EXPECT_EQ(r.nBaseRow, 2);
        EXPECT_EQ(r.nRow, want[1]);
        EXPECT_EQ(r.nCol, want[2]);
    }

    // Without a strategy GetDirection is never asked.
    CNetworkGraph g;
    netloom_test::Fill(g, netloom_test::EdgeList{3, {{1, 2}, {2, 3}}});
    Strategy strategy({{0, {1}}, {1, {2}}, {2, {3}}});
    g.SetLayoutStrategy(&strategy);
    g.Layout(40, 8, 200);
    const int calls = strategy.m_directionCalls;
    EXPECT_GT(calls, 0);
    g.SetLayoutStrategy(nullptr);
    g.Layout(40, 8, 200);
    EXPECT_EQ(strategy.m_directionCalls, calls);
}

// Random graphs under random strategies: level maps with unknown, repeated and
// missing ids, every mode and direction, both layered types.
TEST(StrategyLevels, RandomStrategiesPlaceTheListedNodesDeterministically) {
    std::mt19937 rng(17);
    for (int round = 0; round < 150; ++round) {
        const int n = 2 + static_cast<int>(rng() % 25);
        const auto list = netloom_test::RandomSparse(n, static_cast<int>(rng() % 10), rng());
        Levels levels;
        std::set<int> listed;
        const int keys = 1 + static_cast<int>(rng() % 5);
        for (int k = 0; k < keys; ++k) {
            auto& ids = levels[static_cast<int>(rng() % 20) - 5];
            const int count = static_cast<int>(rng() % 6);
            for (int i = 0; i < count; ++i) {
                const int id = static_cast<int>(rng() % (n + 4)) - 1; // some unknown
                ids.push_back(id);
                listed.insert(id);
            }
        }
        Strategy strategy(levels, static_cast<int>(rng() % 4), static_cast<int>(rng() % 6));
        const int type = rng() % 2 == 0 ? 2 : 8;
        CNetworkGraph g;
        netloom_test::Fill(g, list);
        g.SetLayoutStrategy(&strategy);
        CNetworkGraph copy(g);
        g.Layout(40, type, 200);
        copy.Layout(40, type, 200);
        bool anyLevel = false;
        for (const auto& entry : levels) {
            anyLevel = anyLevel || !entry.second.empty();
        }
        for (const auto& entry : g.GetNodeMap()) {
            double x = 0, y = 0, cx = 0, cy = 0;
            g.GetNodePosition(entry.first, x, y);
            copy.GetNodePosition(entry.first, cx, cy);
            ASSERT_TRUE(std::isfinite(x) && std::isfinite(y)) << "round " << round;
            EXPECT_EQ(x, cx) << "round " << round;
            EXPECT_EQ(y, cy) << "round " << round;
            if (anyLevel && listed.count(entry.first) != 0) {
                EXPECT_EQ(entry.second->GetNodePos().nID, entry.first) << "round " << round;
            }
        }
    }
}

} // namespace
