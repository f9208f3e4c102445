#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

const int kNoMethod = 3; // a type with no layout method: components only get stacked

struct Placed {
    double x, y;
};

Placed PositionOf(const CNetworkGraph& g, int id) {
    Placed p{0, 0};
    EXPECT_TRUE(g.GetNodePosition(id, p.x, p.y));
    return p;
}

std::vector<std::vector<int>> ComponentNodeIds(const CNetworkGraph& g) {
    std::vector<std::vector<int>> result;
    for (const CConnectedGraph* comp : g.GetConnectedGraphs()) {
        EXPECT_EQ(comp->GetIndex(), static_cast<int>(result.size()));
        std::vector<int> ids;
        for (const auto& entry : comp->GetNodeMap()) {
            ids.push_back(entry.first);
        }
        result.push_back(ids);
    }
    return result;
}

TEST(LayoutTest, UniqueFlagsCompareOnlyNeighboursInIdOrder) {
    CNetworkGraph g;
    for (int id = 1; id <= 6; ++id) {
        g.AddNode(id, 0, 0, false);
    }
    // Edges 1 and 2 share port 100 although they join four different nodes.
    g.AddEdge(1, 1, 2, 1, 100, 101, true);
    g.AddEdge(2, 3, 4, 1, 200, 100, true);
    // Edge 3 shares port 101 with edge 1, but edge 2 lies between them; edge 4
    // shares nothing with edge 3 or 5.
    g.AddEdge(3, 5, 6, 1, 101, 300, true);
    g.AddEdge(4, 5, 1, 1, 400, 401, true);
    // Edge 5 uses its source node's own id as its port.
    g.AddEdge(5, 6, 2, 1, 6, 500, true);
    g.Layout(40, kNoMethod, 200);
    EXPECT_FALSE(g.GetEdge(1)->IsUnique());
    EXPECT_FALSE(g.GetEdge(2)->IsUnique());
    EXPECT_TRUE(g.GetEdge(3)->IsUnique());
    EXPECT_TRUE(g.GetEdge(4)->IsUnique());
    EXPECT_FALSE(g.GetEdge(5)->IsUnique());

    // Flags are only ever cleared: deleting edge 2 does not restore edge 1.
    g.DeleteEdge(2);
    g.Layout(40, kNoMethod, 200);
    EXPECT_FALSE(g.GetEdge(1)->IsUnique());
    EXPECT_FALSE(g.GetEdge(3)->IsUnique()) << "now edge 3 follows edge 1";
}

TEST(LayoutTest, FixedLayoutKeepsComponentsWithFixedNodes) {
    CNetworkGraph g;
    g.SetFixedLayoutFlag(true);
    g.AddNode(1, 50, 60, true);
    g.AddNode(2, 290, 390, false);
    g.AddNode(3, 0, 0, false);
    g.AddNode(4, 7, 7, false);
    g.AddEdge(1, 1, 2, 10, 0, 0, true);
    g.Layout(40, kNoMethod, 200);
    EXPECT_EQ(PositionOf(g, 1).x, 50.0);
    EXPECT_EQ(PositionOf(g, 2).y, 390.0);
    // Below the fixed component's rectangle (40, 50, 300, 400), left-aligned with it.
    EXPECT_EQ(PositionOf(g, 3).x, 50.0);
    EXPECT_EQ(PositionOf(g, 3).y, 610.0);
    EXPECT_EQ(PositionOf(g, 4).x, 50.0);
    EXPECT_EQ(PositionOf(g, 4).y, 830.0);

    // Without any fixed node the free components start at left 120, top 200.
    CNetworkGraph free;
    free.SetFixedLayoutFlag(true);
    free.AddNode(3, 0, 0, false);
    free.Layout(40, kNoMethod, 200);
    EXPECT_EQ(PositionOf(free, 3).x, 130.0);
    EXPECT_EQ(PositionOf(free, 3).y, 210.0);
}

TEST(LayoutTest, ComponentsFollowTheSmallestNodeIdAndCarryTheSettings) {
    struct NullStrategy : CLayoutStrategy {
        int GetArrangeMode() override { return 0; }
        int GetDirection() override { return 1; }
        bool GetLevels(std::set<int>&, std::map<int, std::vector<int>>&) override { return false; }
    } strategy;

    CNetworkGraph g;
    for (int id : {7, 6, 5, 4, 3, 2, 1, 9}) {
        g.AddNode(id, 0, 0, false);
    }
    g.AddEdge(1, 5, 6, 1, 0, 0, true);
    g.AddEdge(2, 6, 7, 1, 0, 0, true);
    g.AddEdge(3, 7, 5, 1, 0, 0, true);
    g.AddEdge(4, 1, 2, 1, 0, 0, true);
    g.AddEdge(5, 2, 3, 1, 0, 0, true);
    g.AddEdge(6, 3, 1, 1, 0, 0, true);
    g.AddEdge(7, 9, 9, 1, 0, 0, true);  // self-loop
    g.AddEdge(8, 1, 2, 1, 1, 1, false); // parallel to edge 4
    g.SetLayoutStrategy(&strategy);
    g.SetMaxColCount(6);
    g.Layout(40, kNoMethod, 200);

    EXPECT_EQ(ComponentNodeIds(g), (std::vector<std::vector<int>>{{1, 2, 3}, {4}, {5, 6, 7}, {9}}));
    std::vector<const CConnectedGraph*> comps(g.GetConnectedGraphs().begin(),
                                              g.GetConnectedGraphs().end());
    EXPECT_EQ(comps[0]->GetEdgeMap().size(), 4u);
    EXPECT_EQ(comps[0]->GetNodeDegreeMap().at(1), 3);
    EXPECT_EQ(comps[1]->GetEdgeMap().size(), 0u);
    EXPECT_EQ(comps[1]->GetNodeDegreeMap().at(4), 0);
    EXPECT_EQ(comps[3]->GetEdgeMap().size(), 1u);
    EXPECT_EQ(comps[3]->GetNodeDegreeMap().at(9), 1);
    for (const CConnectedGraph* comp : comps) {
        EXPECT_EQ(comp->GetLayoutStrategy(), &strategy);
        EXPECT_EQ(comp->GetMaxColCount(), 6);
        EXPECT_EQ(comp->GetLayoutType(), kNoMethod);
        EXPECT_EQ(comp->FindEdgeSqrLenInParent(5, 6), 1.0);
    }
    EXPECT_EQ(comps[0]->GetNode(1), g.GetNode(1)) << "components share the host's nodes";
}

TEST(LayoutTest, ComponentsAreRebuiltAfterTheGraphChanges) {
    CNetworkGraph g;
    for (int id = 1; id <= 5; ++id) {
        g.AddNode(id, 0, 0, false);
    }
    g.AddEdge(1, 1, 2, 1, 0, 0, true);
    g.AddEdge(2, 2, 3, 1, 0, 0, true);
    g.AddEdge(3, 4, 5, 1, 0, 0, true);
    g.Layout(40, kNoMethod, 200);
    EXPECT_EQ(ComponentNodeIds(g), (std::vector<std::vector<int>>{{1, 2, 3}, {4, 5}}));

    g.DeleteNode(2);
    g.AddNode(6, 0, 0, false);
    g.AddEdge(4, 3, 4, 1, 0, 0, true);
    g.Layout(40, kNoMethod, 200);
    EXPECT_EQ(ComponentNodeIds(g), (std::vector<std::vector<int>>{{1}, {3, 4, 5}, {6}}));
}

TEST(LayoutTest, LongChainsDecomposeWithoutDeepRecursion) {
    CNetworkGraph g;
    const int n = 300000;
    for (int id = 1; id <= n; ++id) {
        g.AddNode(id, id, 0, false);
    }
    for (int id = 1; id < n; ++id) {
        g.AddEdge(id, id, id + 1, 1, 0, 0, true);
    }
    g.Layout(40, kNoMethod, 200);
    ASSERT_EQ(g.GetConnectedGraphs().size(), 1u);
    EXPECT_EQ((*g.GetConnectedGraphs().begin())->GetNodeMap().size(), static_cast<size_t>(n));
    EXPECT_EQ(PositionOf(g, 1).x, 110.0);
}

} // namespace

namespace {

TEST(LayoutTest, ProgressIsReportedPerComponentWithoutChangingResults) {
    CNetworkGraph plain;
    for (int id = 1; id <= 3; ++id) {
        plain.AddNode(id, id * 10.0, 0, false);
    }
    CNetworkGraph watched(plain);
    std::vector<std::pair<int, int>> calls;
    watched.SetProgressCallback([&](int done, int total) { calls.emplace_back(done, total); });
    plain.Layout(40, 4, 200);
    watched.Layout(40, 4, 200);
    EXPECT_EQ(calls, (std::vector<std::pair<int, int>>{{1, 3}, {2, 3}, {3, 3}}));
    for (int id = 1; id <= 3; ++id) {
        EXPECT_EQ(PositionOf(plain, id).x, PositionOf(watched, id).x);
        EXPECT_EQ(PositionOf(plain, id).y, PositionOf(watched, id).y);
    }
}

} // namespace
