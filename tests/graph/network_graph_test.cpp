#include <netloom/netloom.h>

#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

// Exposes the duplicate test for comparison with a plain scan.
class InspectableGraph : public CNetworkGraph {
public:
    using CNetworkGraph::IsEdgeExist;
};

// The lookups as written: scan every edge in ascending id order.
bool ScanEdgeExists(const CNetworkGraph& g, const CEdge& e) {
    for (const auto& entry : g.GetEdgeMap()) {
        if (*entry.second == e) {
            return true;
        }
    }
    return false;
}

CEdge* ScanFindEdge(const CNetworkGraph& g, CNode* a, CNode* b) {
    for (const auto& entry : g.GetEdgeMap()) {
        CEdge* e = entry.second;
        if ((e->GetSourceNode() == a && e->GetDestNode() == b) ||
            (e->GetSourceNode() == b && e->GetDestNode() == a)) {
            return e;
        }
    }
    return nullptr;
}

TEST(NetworkGraphTest, AddingNodesAndEdgesFollowsTheDuplicateRules) {
    CNetworkGraph g;
    EXPECT_TRUE(g.AddNode(1, 1.0, 2.0, false));
    EXPECT_FALSE(g.AddNode(1, 5.0, 5.0, true));
    double x = 0;
    double y = 0;
    EXPECT_TRUE(g.GetNodePosition(1, x, y));
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 2.0);
    auto* own = new CNode(1, 0, 0, false);
    EXPECT_FALSE(g.AddNode(own));
    delete own; // refused, so still ours
    EXPECT_TRUE(g.AddNode(new CNode(2, 0, 0, false)));

    EXPECT_FALSE(g.AddEdge(1, 1, 3, 10, 0, 0, true)) << "unknown destination";
    EXPECT_FALSE(g.AddEdge(1, 3, 1, 10, 0, 0, true)) << "unknown source";
    EXPECT_TRUE(g.AddEdge(1, 1, 2, 10, 11, 21, true));
    EXPECT_FALSE(g.AddEdge(1, 2, 1, 10, 0, 0, false)) << "edge id taken";
    // The same ports in the opposite direction: a duplicate.
    EXPECT_FALSE(g.AddEdge(2, 2, 1, 30, 21, 11, true));
    EXPECT_EQ(g.GetEdgeMap().size(), 1u);
    EXPECT_EQ(g.FindEdgeSqrLen(1, 2), 100.0) << "a refused edge stores no length";
    EXPECT_TRUE(g.AddEdge(2, 2, 1, 30, 21, 11, false));
    EXPECT_EQ(g.GetNode(1)->GetEdges().size(), 2u);
    EXPECT_EQ(g.GetNode(2)->GetEdges().size(), 2u);
    EXPECT_EQ(g.FindEdgeSqrLen(2, 1), 900.0) << "the last length for a pair wins";
    EXPECT_EQ(g.GetEdge(2)->GetNormalLength(), 30.0);
}

TEST(NetworkGraphTest, SquaredLengthsAreKeyedBySmallerIdFirst) {
    CNetworkGraph g;
    for (int id : {3, 5, 9}) {
        g.AddNode(id, 0, 0, false);
    }
    g.AddEdge(7, 5, 3, 30, 0, 0, true);
    EXPECT_EQ(g.FindEdgeSqrLen(5, 3), 900.0);
    EXPECT_EQ(g.FindEdgeSqrLen(3, 5), 900.0);
    EXPECT_EQ(g.FindEdgeSqrLen(3, 9), g_dLayoutDistanceSqr);
    // Entries outlive the edge.
    EXPECT_TRUE(g.DeleteEdge(7));
    EXPECT_EQ(g.FindEdgeSqrLen(3, 5), 900.0);
    EXPECT_FALSE(g.DeleteEdge(7));
}

TEST(NetworkGraphTest, DeleteNodeRemovesItsEdgesFromTheNeighbours) {
    CNetworkGraph g;
    for (int id = 1; id <= 4; ++id) {
        g.AddNode(id, 0, 0, false);
    }
    g.AddEdge(1, 1, 2, 1, 0, 0, true);
    g.AddEdge(2, 3, 1, 1, 0, 0, true);
    g.AddEdge(3, 1, 1, 1, 0, 0, true); // self-loop
    g.AddEdge(4, 2, 3, 1, 0, 0, true);
    EXPECT_TRUE(g.DeleteNode(1));
    EXPECT_FALSE(g.DeleteNode(1));
    EXPECT_EQ(g.GetEdgeMap().size(), 1u);
    EXPECT_EQ(g.GetNode(2)->GetEdges().size(), 1u);
    EXPECT_EQ(g.GetNode(3)->GetEdges().size(), 1u);
    EXPECT_EQ(g.FindEdge(g.GetNode(2), g.GetNode(3)), g.GetEdge(4));
}

TEST(NetworkGraphTest, QueriesOnUnknownIdsChangeNothing) {
    CNetworkGraph g;
    g.AddNode(1, 0.5, 0.5, false);
    double x = -1;
    double y = -1;
    int row = -1;
    int col = -1;
    EXPECT_FALSE(g.GetNodePosition(2, x, y));
    EXPECT_FALSE(g.GetNodePhyPosition(2, row, col));
    EXPECT_EQ(x, -1.0);
    EXPECT_EQ(row, -1);
    EXPECT_TRUE(g.GetNodePhyPosition(1, row, col));
    EXPECT_EQ(row, 0);
    EXPECT_EQ(col, 0);
    _tagNode record{1, 2, 3, 4};
    g.SetNodePosition(2, 9, 9, record);
    g.SetNodePosition(1, 7.5, 8.5, record);
    EXPECT_TRUE(g.GetNodePhyPosition(1, row, col));
    EXPECT_EQ(row, 3);
    EXPECT_EQ(col, 4);
    EXPECT_EQ(g.GetNode(1)->m_rect, CRect(-3, -3, 4, 4)) << "rectangle not updated";
    EXPECT_FALSE(g.ContainFixedNode());
}

TEST(NetworkGraphTest, BoundRectHasAMarginOfTenTruncatedTowardZero) {
    CNetworkGraph g;
    EXPECT_EQ(g.GetBoundRect(), CRect(0, 0, 0, 0));
    g.AddNode(1, 0.0, 0.0, false);
    EXPECT_EQ(g.GetBoundRect(), CRect(-10, -10, 10, 10));
    CNetworkGraph h;
    h.AddNode(1, 0.5, 0.5, false);
    EXPECT_EQ(h.GetBoundRect(), CRect(-9, -9, 10, 10));
    h.AddNode(2, -20.7, 30.2, true);
    EXPECT_EQ(h.GetBoundRect(), CRect(-30, -9, 10, 40));
    h.OffsetGraph(1.0, -1.0);
    EXPECT_EQ(h.GetBoundRect(), CRect(-29, -10, 11, 39));
    EXPECT_TRUE(h.ContainFixedNode());
}

// The indexed duplicate test and FindEdge agree with full scans while edges
// come and go.
TEST(NetworkGraphTest, IndexedLookupsMatchFullScans) {
    for (std::uint32_t round = 0; round < 20; ++round) {
        std::mt19937 rng(round);
        const int n = 2 + static_cast<int>(rng() % 12);
        InspectableGraph g;
        for (int id = -2; id < n - 2; ++id) {
            g.AddNode(id, 0, 0, false);
        }
        std::uniform_int_distribution<int> node(-2, n - 3);
        std::uniform_int_distribution<int> port(0, 3);
        for (int step = 0; step < 300; ++step) {
            const int a = node(rng);
            const int b = node(rng);
            CEdge probe(-1, g.GetNode(a), g.GetNode(b), port(rng), port(rng));
            ASSERT_EQ(g.IsEdgeExist(&probe), ScanEdgeExists(g, probe));
            ASSERT_EQ(g.FindEdge(g.GetNode(a), g.GetNode(b)),
                      ScanFindEdge(g, g.GetNode(a), g.GetNode(b)));
            const int action = static_cast<int>(rng() % 10);
            // Mostly ascending edge ids, sometimes one that may be taken.
            const int id = rng() % 4 == 0 ? static_cast<int>(rng() % 400) : 400 + step;
            const bool taken = g.GetEdgeMap().count(id) != 0;
            if (step == 150) {
                g.Reserve(1000, 1000); // indexes rebuilt larger keep every entry
            }
            if (action < 6) {
                const bool expected = !taken && !ScanEdgeExists(g, probe);
                EXPECT_EQ(g.AddEdge(id, a, b, 1, probe.GetSourceSubNodeID(),
                                    probe.GetDestSubNodeID(), true),
                          expected);
            } else if (action < 8) {
                EXPECT_EQ(g.AddEdge(id, a, b, 1, 0, 0, false), !taken);
            } else if (action == 8 && !g.GetEdgeMap().empty()) {
                g.DeleteEdge(
                    std::next(g.GetEdgeMap().begin(), rng() % g.GetEdgeMap().size())->first);
            } else if (action == 9) {
                const int victim = node(rng);
                if (g.DeleteNode(victim)) {
                    g.AddNode(victim, 0, 0, false);
                }
            }
        }
    }
}

TEST(NetworkGraphTest, CopiesAreDeepAndKeepEveryTable) {
    CNetworkGraph original(6, 8);
    original.AddNode(1, 1.0, 2.0, true);
    original.AddNode(2, 3.0, 4.0, false);
    original.AddNode(3, 5.0, 6.0, false);
    original.AddEdge(10, 3, 1, 7, 31, 13, true);
    original.AddEdge(5, 1, 2, 8, 12, 21, true);
    original.SetMaxColCount(4);
    original.SetFixedLayoutFlag(true);
    original.SetLayoutThreads(3);

    CNetworkGraph copy(original);
    ASSERT_EQ(copy.GetNodeMap().size(), 3u);
    for (const auto& entry : original.GetNodeMap()) {
        CNode* mine = copy.GetNode(entry.first);
        ASSERT_NE(mine, entry.second);
        EXPECT_EQ(mine->X(), entry.second->X());
        EXPECT_EQ(mine->IsFixed(), entry.second->IsFixed());
        std::vector<int> theirs;
        std::vector<int> ours;
        for (CEdge* e : entry.second->GetEdges()) {
            theirs.push_back(e->GetID());
        }
        for (CEdge* e : mine->GetEdges()) {
            ours.push_back(e->GetID());
            EXPECT_EQ(e, copy.GetEdge(e->GetID())) << "edge sets point at the copies";
        }
        EXPECT_EQ(ours, theirs) << "same order as the original's set";
    }
    EXPECT_EQ(copy.GetEdge(10)->GetSourceNode(), copy.GetNode(3));
    EXPECT_EQ(copy.GetEdge(10)->GetDestSubNodeID(), 13);
    EXPECT_EQ(copy.FindEdgeSqrLen(1, 3), 49.0);
    EXPECT_EQ(copy.GetMaxColCount(), 4);
    EXPECT_TRUE(copy.GetFixedLayoutFlag());
    EXPECT_EQ(copy.GetLayoutThreads(), 3);
    EXPECT_EQ(copy.GetLayoutType(), 8);
    EXPECT_FALSE(copy.AddEdge(11, 2, 1, 1, 21, 12, true)) << "duplicate index copied too";

    copy.DeleteNode(1);
    copy.Layout(40, 3, 200);
    EXPECT_EQ(original.GetEdgeMap().size(), 2u);
    EXPECT_EQ(original.GetNode(1)->GetEdges().size(), 2u);

    CNetworkGraph assigned;
    assigned.AddNode(9, 0, 0, false);
    assigned = original;
    EXPECT_EQ(assigned.GetNode(9), nullptr);
    EXPECT_EQ(assigned.GetEdgeMap().size(), 2u);

    CNetworkGraph moved(std::move(assigned));
    EXPECT_EQ(moved.GetEdgeMap().size(), 2u);
    EXPECT_TRUE(assigned.GetNodeMap().empty());
    EXPECT_EQ(moved.FindEdgeSqrLen(1, 3), 49.0) << "the lookup indexes move along";
    EXPECT_NE(moved.GetNode(3), nullptr);
    EXPECT_TRUE(assigned.AddNode(5, 0, 0, false)) << "a moved-from graph is usable";
    EXPECT_NE(assigned.GetNode(5), nullptr);
}

// Counts destructions of host-made nodes handed to a graph.
struct CountedNode : CNode {
    static int destroyed;
    using CNode::CNode;
    ~CountedNode() override { ++destroyed; }
};
int CountedNode::destroyed = 0;

TEST(NetworkGraphTest, DestroyingAGraphDeletesEveryNodeOnce) {
    CountedNode::destroyed = 0;
    {
        CNetworkGraph g;
        for (int id = 1; id <= 6; ++id) {
            g.AddNode(new CountedNode(id, id, 0, false));
        }
        g.AddEdge(1, 1, 2, 10, 0, 0, true);
        g.AddEdge(2, 2, 3, 10, 0, 0, true);
        g.AddEdge(3, 4, 5, 10, 0, 0, true);
        g.Layout(40, 3, 200); // components share the nodes and must not delete them
        g.Layout(40, 3, 200);
        g.DeleteNode(6);
        EXPECT_EQ(CountedNode::destroyed, 1);
    }
    EXPECT_EQ(CountedNode::destroyed, 6);
}

} // namespace
