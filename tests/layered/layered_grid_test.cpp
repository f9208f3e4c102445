// Grid rows, columns and records of the layered layouts, and the driver's
// coordinates.

#include "layered/layered_workspace.h"
#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace {

using netloom_test::EdgeList;

std::pair<int, int> Cell(const CNetworkGraph& g, int id) {
    int row = -99;
    int col = -99;
    EXPECT_TRUE(g.GetNodePhyPosition(id, row, col));
    return {row, col};
}

std::pair<double, double> Pos(const CNetworkGraph& g, int id) {
    double x = 0;
    double y = 0;
    EXPECT_TRUE(g.GetNodePosition(id, x, y));
    return {x, y};
}

// Components are stacked after the layout: compare positions relative to one
// node, which must be x = column width * column, y = row * layer spacing.
void ExpectDriverMapping(const CNetworkGraph& g, int nodes, double columnWidth, double layer) {
    const auto ref = Pos(g, 1);
    const auto refCell = Cell(g, 1);
    for (int id = 2; id <= nodes; ++id) {
        const auto p = Pos(g, id);
        const auto c = Cell(g, id);
        EXPECT_EQ(p.first - ref.first, columnWidth * c.second - columnWidth * refCell.second);
        EXPECT_EQ(p.second - ref.second, c.first * layer - refCell.first * layer);
    }
}

class FixedLevels : public CLayoutStrategy {
public:
    FixedLevels(std::map<int, std::vector<int>> levels, int direction, bool answer)
        : m_levels(std::move(levels)), m_direction(direction), m_answer(answer) {}
    int GetArrangeMode() override { return 1; }
    int GetDirection() override {
        ++m_directionCalls;
        return m_direction;
    }
    bool GetLevels(std::set<int>& ids, std::map<int, std::vector<int>>& levels) override {
        m_seen = ids;
        levels = m_levels;
        return m_answer;
    }
    std::map<int, std::vector<int>> m_levels;
    int m_direction;
    bool m_answer;
    int m_directionCalls = 0;
    std::set<int> m_seen;
};

} // namespace

TEST(LayeredGrid, LeavesUnderOneRootForBothTypes) {
    // Star 1-{2, 3, 4}: the centre-out order is 2, 4, 3.
    CNetworkGraph g;
    netloom_test::Fill(g, EdgeList{4, {{1, 2}, {1, 3}, {1, 4}}});
    g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    EXPECT_EQ(Cell(g, 1), std::make_pair(0, 1));
    EXPECT_EQ(Cell(g, 2), std::make_pair(1, 0));
    EXPECT_EQ(Cell(g, 4), std::make_pair(1, 1));
    EXPECT_EQ(Cell(g, 3), std::make_pair(1, 2));
    ExpectDriverMapping(g, 4, 40.0, 200.0);

    g.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
    EXPECT_EQ(Cell(g, 1), std::make_pair(0, 40));
    EXPECT_EQ(Cell(g, 2), std::make_pair(1, 0));
    EXPECT_EQ(Cell(g, 4), std::make_pair(1, 40));
    EXPECT_EQ(Cell(g, 3), std::make_pair(1, 80));
    ExpectDriverMapping(g, 4, 1.0, 200.0);

    // Two leaves: the parent takes the lower midpoint.
    CNetworkGraph two;
    netloom_test::Fill(two, EdgeList{3, {{1, 2}, {1, 3}}});
    two.Layout(40, CNetworkGraph::m_iHierarchyLayout, 150);
    EXPECT_EQ(Cell(two, 1), std::make_pair(0, 0));
    ExpectDriverMapping(two, 3, 40.0, 150.0);
    two.Layout(40, CNetworkGraph::m_iTreeLayout, 150);
    EXPECT_EQ(Cell(two, 1), std::make_pair(0, 20));
    EXPECT_EQ(Cell(two, 3), std::make_pair(1, 40));
    // A distance below 1 clamps the tree unit to 1.
    two.Layout(0, CNetworkGraph::m_iTreeLayout, 150);
    EXPECT_EQ(Cell(two, 3), std::make_pair(1, 1));
}

TEST(LayeredGrid, RowCapacitiesCarryAlongTheRow) {
    // P with children holding 3, 3 and 2 leaves: 8 nodes in the leaves' row.
    // The workspace takes the column limit from its graph.
    CNetworkGraph six;
    six.SetMaxColCount(6);
    CLayeredLayout ws(&six, 1);
    int id = 1;
    auto link = [&](CLayerNode* p) {
        CLayerNode* c = ws.GetOrCreateLayerNode(id++, p->m_iLevel + 1);
        p->AddChild(c);
        c->AddParent(p);
        return c;
    };
    CLayerNode* p = link(ws.GetRoot());
    std::vector<CLayerNode*> mids;
    for (int leaves : {3, 3, 2}) {
        mids.push_back(link(p));
        for (int i = 0; i < leaves; ++i) {
            link(mids.back());
        }
    }
    ws.AssignGridPositions();
    // 2.25 -> 2 (carry 0.25); 2.25 + 0.25 -> 2 (0.5); 1.5 + 0.5 -> 2 (0.0).
    EXPECT_EQ(mids[0]->m_iRowCapacity, 2);
    EXPECT_EQ(mids[1]->m_iRowCapacity, 2);
    EXPECT_EQ(mids[2]->m_iRowCapacity, 2);
    EXPECT_EQ(p->m_iRowCapacity, 0x7fffffff);
    // Wrapped: the first node's leaves fill rows 2 and 3 from the right.
    EXPECT_EQ(mids[0]->m_vecChildren[0]->m_iRow, 2);
    EXPECT_EQ(mids[0]->m_vecChildren[0]->m_iCol, 1);
    EXPECT_EQ(mids[0]->m_vecChildren[2]->m_iRow, 3);

    // Leaves within their share: the capacity is the truncated share.
    CNetworkGraph ten;
    ten.SetMaxColCount(10);
    CLayeredLayout ws2(&ten, 1);
    CLayerNode* q = ws2.GetOrCreateLayerNode(1, 0);
    ws2.GetRoot()->AddChild(q);
    q->AddParent(ws2.GetRoot());
    int next = 2;
    std::vector<CLayerNode*> ms;
    for (int leaves : {1, 3}) {
        CLayerNode* m = ws2.GetOrCreateLayerNode(next++, 1);
        q->AddChild(m);
        m->AddParent(q);
        ms.push_back(m);
        for (int i = 0; i < leaves; ++i) {
            CLayerNode* leaf = ws2.GetOrCreateLayerNode(next++, 2);
            m->AddChild(leaf);
            leaf->AddParent(m);
        }
    }
    ws2.AssignGridPositions();
    EXPECT_EQ(ms[0]->m_iRowCapacity, 2); // 2.5
    EXPECT_EQ(ms[1]->m_iRowCapacity, 7); // 7.5
}

TEST(LayeredGrid, WrapsLeavesBeyondTheColumnLimit) {
    CNetworkGraph g;
    netloom_test::Fill(g, EdgeList{6, {{1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}});
    g.SetMaxColCount(2);
    g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    const std::pair<int, int> expected[] = {{1, 1}, {1, 0}, {2, 1}, {2, 0}, {3, 1}};
    for (int id = 2; id <= 6; ++id) {
        EXPECT_EQ(Cell(g, id), expected[id - 2]) << id;
    }
    EXPECT_EQ(Cell(g, 1), std::make_pair(0, 0));
    ExpectDriverMapping(g, 6, 40.0, 200.0);

    // A node with a non-leaf child never wraps.
    CNetworkGraph h;
    netloom_test::Fill(h, EdgeList{7, {{1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {6, 7}}});
    h.SetMaxColCount(2);
    h.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    for (int id = 2; id <= 6; ++id) {
        EXPECT_EQ(Cell(h, id).first, 1) << id;
    }
}

TEST(LayeredGrid, OneNodeIdsAndLongPaths) {
    // A single node keeps its position and gets no record.
    CNetworkGraph single;
    single.AddNode(5, 12.5, -3.0, false);
    single.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
    CConnectedGraph* comp = *single.GetConnectedGraphs().begin();
    _tagNode blank;
    comp->SetNodePosition(5, 12.5, -3.0, blank); // undo the stacking
    comp->LayeredLayout();
    EXPECT_EQ(Pos(single, 5), std::make_pair(12.5, -3.0));
    EXPECT_TRUE(comp->GetGridRows().empty());

    // Ids of 0 and below are laid out like positive ids in the same order.
    for (int type : {CNetworkGraph::m_iTreeLayout, CNetworkGraph::m_iHierarchyLayout}) {
        CNetworkGraph positive;
        CNetworkGraph shifted;
        const EdgeList list = netloom_test::RandomSparse(30, 8, 7);
        netloom_test::Fill(positive, list);
        for (int id = 1; id <= list.nodeCount; ++id) {
            shifted.AddNode(id - 10, 0, 0, false);
        }
        int e = 1;
        for (const auto& edge : list.edges) {
            shifted.AddEdge(e++, edge.first - 10, edge.second - 10, 40, 0, 0, false);
        }
        positive.Layout(40, type, 200);
        shifted.Layout(40, type, 200);
        for (int id = 1; id <= list.nodeCount; ++id) {
            EXPECT_EQ(Cell(positive, id), Cell(shifted, id - 10)) << id;
            EXPECT_EQ(Pos(positive, id), Pos(shifted, id - 10)) << id;
        }
    }

    // A long path (the benchmarks take a million nodes): no pass recurses along
    // it. The root's two branches take columns 0 and 40, the root 20.
    EdgeList path{200000, {}};
    for (int v = 1; v < path.nodeCount; ++v) {
        path.edges.emplace_back(v, v + 1);
    }
    CNetworkGraph g;
    netloom_test::Fill(g, path);
    g.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
    EXPECT_EQ(Cell(g, 100000), std::make_pair(0, 20));
    EXPECT_EQ(Cell(g, 1), std::make_pair(99999, 0));
    EXPECT_EQ(Cell(g, 200000), std::make_pair(100000, 40));
}

TEST(LayeredGrid, StrategyLevelsAndADecliningStrategy) {
    CNetworkGraph g;
    netloom_test::Fill(g, EdgeList{3, {{1, 3}, {2, 3}}});
    FixedLevels strategy({{5, {1, 2}}, {9, {}}, {12, {3}}}, 1, true);
    g.SetLayoutStrategy(&strategy);
    g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    EXPECT_EQ(strategy.m_seen, (std::set<int>{1, 2, 3}));
    EXPECT_EQ(Cell(g, 1), std::make_pair(0, 0));
    EXPECT_EQ(Cell(g, 2), std::make_pair(0, 1));
    EXPECT_EQ(Cell(g, 3), std::make_pair(1, 0));

    // A strategy that declines leaves the nodes where they are.
    FixedLevels declines({}, 1, false);
    g.SetLayoutStrategy(&declines);
    g.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
    CConnectedGraph* comp = *g.GetConnectedGraphs().begin();
    const auto before = Pos(g, 3);
    comp->LayeredLayout();
    EXPECT_EQ(Pos(g, 3), before);
    EXPECT_TRUE(comp->GetGridRows().empty());
}
