#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace {

using Ports = std::vector<int>;

// A component whose grid records a test places by hand.
class GridComponent : public CConnectedGraph {
public:
    explicit GridComponent(CNetworkGraph* host) : CConnectedGraph(host, 6, 8) {}

    void Collect(CNode* start) {
        for (const auto& entry : m_pParentGraph->GetNodeMap()) {
            entry.second->SetVisited(false);
        }
        AddNodeandNeighbor(start);
    }

    // Records are placed in ascending id within a row, as the layout files them.
    void Place(int id, int row, int col, int baseRow) {
        _tagNode record{id, baseRow, row, col};
        m_pParentGraph->GetNode(id)->SetNodePos(record);
        m_mapGridRows[row].push_back(record);
    }
    void Place(int id, int row, int col) { Place(id, row, col, row); }
};

struct Fixture {
    CNetworkGraph host;
    GridComponent comp{&host};

    explicit Fixture(int nodes) {
        for (int id = 1; id <= nodes; ++id) {
            host.AddNode(id, 0, 0, false);
        }
    }
    CNode* Node(int id) { return host.GetNode(id); }
    void Edge(int id, int from, int to, int fromPort, int toPort, bool unique = true) {
        ASSERT_TRUE(host.AddEdge(id, from, to, 1, fromPort, toPort, false));
        host.GetEdge(id)->SetUniqueFlag(unique);
    }
};

TEST(PortAssignmentTest, EdgesBetweenRowsUseDownAndUpSides) {
    Fixture f(6);
    f.Node(1)->AddDownsideSub(99, 0);
    f.Node(2)->AddUpsideSub(98, 0);
    f.Edge(1, 2, 1, 21, 11);
    // Children in the row below, handled left to right by column.
    f.Edge(2, 1, 3, 12, 31);
    f.Edge(3, 1, 4, 13, 41);
    // Node 5 has no grid record of its own: it is only reached from node 4.
    f.Edge(4, 5, 4, 51, 42);
    f.comp.Collect(f.Node(1));
    f.comp.Place(1, 0, 1);
    f.comp.Place(2, 1, 2);
    f.comp.Place(3, 1, 0);
    f.comp.Place(4, 1, 1);
    f.Node(5)->SetNodePos(_tagNode{5, 0, 0, 3});
    f.comp.AssignEdgePorts();

    EXPECT_EQ(f.Node(1)->GetDownsideSubs(), (Ports{99, 12, 13, 11}));
    EXPECT_EQ(f.Node(2)->GetUpsideSubs(), (Ports{98, 21}));
    EXPECT_EQ(f.Node(3)->GetUpsideSubs(), (Ports{31}));
    // Node 4 (row 1) meets node 5 (row 0, two columns away): up, and prepended down.
    EXPECT_EQ(f.Node(4)->GetUpsideSubs(), (Ports{41, 42}));
    EXPECT_EQ(f.Node(5)->GetDownsideSubs(), (Ports{51}));

    // A second assignment adds every port again behind the first ones.
    f.comp.AssignEdgePorts();
    EXPECT_EQ(f.Node(1)->GetDownsideSubs(), (Ports{99, 12, 13, 11, 12, 13, 11}));
}

TEST(PortAssignmentTest, UpwardEdgesPrependUnlessOneColumnAndTwoRowsApart) {
    Fixture f(4);
    f.Edge(1, 1, 2, 11, 21); // node 1 row 3 col 1 -> node 2 row 1 col 2: diagonal step
    f.Edge(2, 1, 3, 12, 31); // -> node 3 row 2 col 2: only one row apart
    f.Edge(3, 1, 4, 13, 41); // -> node 4 row 1 col 3: two columns apart
    f.comp.Collect(f.Node(1));
    f.comp.Place(1, 0, 1); // handled first; the others hold records but are not listed
    f.Node(1)->SetNodePos(_tagNode{1, 3, 3, 1});
    f.Node(2)->SetNodePos(_tagNode{2, 1, 1, 2});
    f.Node(3)->SetNodePos(_tagNode{3, 2, 2, 2});
    f.Node(4)->SetNodePos(_tagNode{4, 1, 1, 3});
    f.Node(2)->AddDownsideSub(7, 0);
    f.Node(3)->AddDownsideSub(7, 0);
    f.Node(4)->AddDownsideSub(7, 0);
    f.comp.AssignEdgePorts();
    EXPECT_EQ(f.Node(1)->GetUpsideSubs(), (Ports{11, 13, 12})) << "neighbours' rows, then columns";
    EXPECT_EQ(f.Node(2)->GetDownsideSubs(), (Ports{7, 21}));
    EXPECT_EQ(f.Node(3)->GetDownsideSubs(), (Ports{31, 7}));
    EXPECT_EQ(f.Node(4)->GetDownsideSubs(), (Ports{41, 7}));
}

TEST(PortAssignmentTest, SameRowNeighboursUseLeftAndRightUntilFull) {
    Fixture f(2);
    for (int i = 1; i <= 6; ++i) {
        f.Edge(i, 1, 2, 10 + i, 20 + i, i != 2); // edge 2 is not unique
    }
    f.comp.Collect(f.Node(1));
    f.comp.Place(1, 1, 0);
    f.comp.Place(2, 1, 1);
    f.comp.AssignEdgePorts();
    EXPECT_EQ(f.Node(1)->GetRightsideSubs(), (Ports{11, 13, 14, 15}));
    EXPECT_EQ(f.Node(2)->GetLeftsideSubs(), (Ports{21, 23, 24, 25}));
    // The non-unique edge and the one past four ports go to the up sides.
    EXPECT_EQ(f.Node(1)->GetUpsideSubs(), (Ports{12, 16}));
    EXPECT_EQ(f.Node(2)->GetUpsideSubs(), (Ports{26, 22}));
    EXPECT_EQ(f.Node(1)->GetRightsideEdgeSize(), 4);
    EXPECT_EQ(f.Node(2)->GetLeftsideEdgeSize(), 4);
}

TEST(PortAssignmentTest, DistantSameRowNodesUseSidesOnlyOnBaseRowZero) {
    for (int baseRow : {0, 1}) {
        // Node 1 stands right of node 2, so node 1 (handled first) is the right one.
        Fixture f(2);
        f.Edge(1, 1, 2, 11, 21);
        f.comp.Collect(f.Node(1));
        f.comp.Place(1, 0, 3, baseRow);
        f.comp.Place(2, 0, 1, baseRow);
        f.Node(1)->AddUpsideSub(5, 0);
        f.Node(2)->AddUpsideSub(5, 0);
        f.comp.AssignEdgePorts();
        if (baseRow == 0) {
            EXPECT_EQ(f.Node(1)->GetLeftsideSubs(), (Ports{11}));
            EXPECT_EQ(f.Node(2)->GetRightsideSubs(), (Ports{21}));
        } else {
            EXPECT_EQ(f.Node(1)->GetUpsideSubs(), (Ports{11, 5})) << "right node: prepended";
            EXPECT_EQ(f.Node(2)->GetUpsideSubs(), (Ports{5, 21})) << "left node: appended";
        }
    }
}

TEST(PortAssignmentTest, EndsOutsideTheComponentGetNoPort) {
    Fixture f(3);
    f.Edge(1, 1, 2, 11, 21);
    f.comp.Collect(f.Node(1));
    f.Edge(2, 1, 3, 12, 31); // added after the component was collected
    f.comp.Place(1, 0, 0);
    f.comp.Place(2, 1, 0);
    f.comp.AssignEdgePorts();
    EXPECT_EQ(f.Node(1)->GetDownsideSubs(), (Ports{11}));
    EXPECT_TRUE(f.Node(3)->GetUpsideSubs().empty());
}

// The insertion walk as written: pass smaller rows, stop before a greater row,
// and within the neighbour's row stop by column (right to left in the node's own row).
std::vector<CEdge*> InsertionOrder(CNode* node) {
    const _tagNode own = node->GetNodePos();
    std::vector<CEdge*> sorted;
    for (CEdge* e : node->GetEdges()) {
        const CNode* o = e->GetSourceNode() == node ? e->GetDestNode() : e->GetSourceNode();
        const _tagNode p = o->GetNodePos();
        auto it = sorted.begin();
        for (; it != sorted.end(); ++it) {
            const CNode* other =
                (*it)->GetSourceNode() == node ? (*it)->GetDestNode() : (*it)->GetSourceNode();
            const _tagNode q = other->GetNodePos();
            if (q.nRow < p.nRow) {
                continue;
            }
            if (q.nRow > p.nRow) {
                break;
            }
            if (p.nRow == own.nRow ? q.nCol < p.nCol : q.nCol > p.nCol) {
                break;
            }
        }
        sorted.insert(it, e);
    }
    return sorted;
}

TEST(PortAssignmentTest, SortNodeEdgesMatchesTheInsertionWalk) {
    std::mt19937 rng(5);
    for (int round = 0; round < 200; ++round) {
        const int n = 2 + static_cast<int>(rng() % 20);
        Fixture f(n);
        std::uniform_int_distribution<int> node(1, n);
        std::uniform_int_distribution<int> cell(0, 3);
        for (int id = 1; id <= n; ++id) {
            f.Node(id)->SetNodePos(_tagNode{id, 0, cell(rng), cell(rng)});
        }
        const int edges = static_cast<int>(rng() % 40);
        for (int id = 1; id <= edges; ++id) {
            f.Edge(id, node(rng) == 1 ? 1 : node(rng), node(rng), id, -id);
        }
        for (int id = 1; id <= n; ++id) {
            CNode* x = f.Node(id);
            std::vector<CEdge*> sorted;
            f.comp.SortNodeEdges(x, x->GetEdges(), sorted);
            ASSERT_EQ(sorted, InsertionOrder(x)) << "round " << round << " node " << id;
        }
    }
}

TEST(PortPositionTest, SidesAreSearchedUpDownRightLeft) {
    CNode node(1, 0, 0, false);
    node.AddRightsideSub(7, 0);
    node.AddDownsideSub(3, 0);
    node.AddDownsideSub(7, 0);
    node.AddLeftsideSub(8, 0);
    node.AddLeftsideSub(8, 1);
    int side = -1;
    int index = -1;
    node.GetSubNodePosition(7, side, index);
    EXPECT_EQ(side, 1);
    EXPECT_EQ(index, 1);
    node.GetSubNodePosition(8, side, index);
    EXPECT_EQ(side, 3);
    EXPECT_EQ(index, 0);
    side = index = -5;
    node.GetSubNodePosition(42, side, index);
    EXPECT_EQ(side, -5);
    EXPECT_EQ(index, -5);

    CNetworkGraph g;
    g.AddNode(1, 0, 0, false);
    g.GetNode(1)->AddUpsideSub(4, 0);
    g.GetSubNodePosition(2, 4, side, index);
    EXPECT_EQ(side, -5) << "unknown node";
    g.GetSubNodePosition(1, 4, side, index);
    EXPECT_EQ(side, 0);
    EXPECT_EQ(index, 0);

    node.ReverteSide();
    EXPECT_EQ(node.GetUpsideSubs(), (Ports{3, 7}));
    EXPECT_TRUE(node.GetDownsideSubs().empty());
    node.ReverteSide(7);
    EXPECT_EQ(node.GetUpsideSubs(), (Ports{3}));
    EXPECT_EQ(node.GetDownsideSubs(), (Ports{7}));
    node.ReverteSide(7);
    EXPECT_EQ(node.GetUpsideSubs(), (Ports{3, 7}));
    node.ReverteSide(99);
    EXPECT_EQ(node.GetUpsideSubs(), (Ports{3, 7}));
}

TEST(EdgeOrderTest, PortsMapToTheFirstEdgeAndEachEdgeIsListedOnce) {
    CNetworkGraph g;
    for (int id = 1; id <= 3; ++id) {
        g.AddNode(id, 0, 0, false);
    }
    g.AddEdge(5, 1, 2, 1, 100, 200, false);
    g.AddEdge(4, 1, 3, 1, 100, 300, false); // created later: port 100 maps to edge 5
    CNode* hub = g.GetNode(1);
    EXPECT_EQ(hub->GetEdge(100), g.GetEdge(5));
    EXPECT_EQ(hub->GetEdge(300), g.GetEdge(4)) << "either end's port counts";
    EXPECT_EQ(hub->GetEdge(7), nullptr);
    hub->AddUpsideSub(100, 0);
    hub->AddDownsideSub(300, 0);
    hub->AddRightsideSub(100, 0);
    hub->AddLeftsideSub(9, 0);
    std::vector<int> ids{42};
    hub->GetSortedEdges(ids);
    EXPECT_EQ(ids, (std::vector<int>{42, 5, 4, 5}));
    g.AddSortedEdge(ids, 3);
    std::vector<int> more{4, 6};
    g.AddSortedEdge(more, 1);
    EXPECT_EQ(g.GetSortedEdges(), (std::vector<int>{42, 5, 4, 6}));
    EXPECT_EQ(g.GetSortedEdgesInGraph(), (std::vector<int>{3, 3, 3, 1}));

    // The host may edit the list it holds a reference to; membership follows.
    g.GetSortedEdges().pop_back();
    g.GetSortedEdgesInGraph().pop_back();
    g.AddSortedEdge(more, 2);
    EXPECT_EQ(g.GetSortedEdges(), (std::vector<int>{42, 5, 4, 6}));
    EXPECT_EQ(g.GetSortedEdgesInGraph().back(), 2);
}

// Edge ids close together (placed edges kept as flags) and spread far apart
// (kept in a table), in the same order: every node gets the same ports.
TEST(PortAssignmentTest, CloseAndSpreadEdgeIdsGiveTheSamePorts) {
    for (std::uint32_t seed : {1u, 2u, 3u, 4u}) {
        std::mt19937 rng(seed);
        const int n = 60;
        std::vector<std::pair<int, int>> ends;
        for (int v = 2; v <= n; ++v) {
            ends.emplace_back(1 + static_cast<int>(rng() % static_cast<unsigned>(v - 1)), v);
        }
        for (int k = 0; k < n; ++k) {
            ends.emplace_back(1 + static_cast<int>(rng() % n), 1 + static_cast<int>(rng() % n));
        }
        std::vector<std::vector<Ports>> sides[2];
        for (int spread = 0; spread < 2; ++spread) {
            CNetworkGraph g;
            for (int id = 1; id <= n; ++id) {
                g.AddNode(id, 0, 0, false);
            }
            for (int k = 0; k < static_cast<int>(ends.size()); ++k) {
                const int id = spread != 0 ? 7 + k * 100003 : k + 1;
                g.AddEdge(id, ends[k].first, ends[k].second, 40, 1000 + 2 * k, 1001 + 2 * k, false);
            }
            g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
            for (int id = 1; id <= n; ++id) {
                const CNode* node = g.GetNode(id);
                sides[spread].push_back({node->GetUpsideSubs(), node->GetDownsideSubs(),
                                         node->GetRightsideSubs(), node->GetLeftsideSubs()});
            }
        }
        EXPECT_EQ(sides[0], sides[1]) << "seed " << seed;
    }
}

TEST(EdgeOrderTest, HubsListTheSameEdgesAsThePortByPortSearch) {
    std::mt19937 rng(9);
    for (int round = 0; round < 30; ++round) {
        CNetworkGraph g;
        const int leaves = 1 + static_cast<int>(rng() % 40);
        for (int id = 0; id <= leaves; ++id) {
            g.AddNode(id, 0, 0, false);
        }
        for (int id = 1; id <= leaves * 2; ++id) {
            g.AddEdge(id, 0, 1 + static_cast<int>(rng() % leaves), 1, static_cast<int>(rng() % 30),
                      static_cast<int>(rng() % 30), false);
        }
        CNode* hub = g.GetNode(0);
        for (int i = 0; i < 60; ++i) {
            const int sub = static_cast<int>(rng() % 35);
            switch (rng() % 4) {
            case 0:
                hub->AddUpsideSub(sub, 0);
                break;
            case 1:
                hub->AddDownsideSub(sub, 1);
                break;
            case 2:
                hub->AddRightsideSub(sub, 0);
                break;
            default:
                hub->AddLeftsideSub(sub, 0);
                break;
            }
        }
        std::vector<int> expected;
        for (const Ports* side : {&hub->GetUpsideSubs(), &hub->GetDownsideSubs(),
                                  &hub->GetRightsideSubs(), &hub->GetLeftsideSubs()}) {
            for (int sub : *side) {
                if (CEdge* e = hub->GetEdge(sub)) {
                    expected.push_back(e->GetID());
                }
            }
        }
        std::vector<int> ids;
        hub->GetSortedEdges(ids);
        ASSERT_EQ(ids, expected) << "round " << round;
    }
}

TEST(EdgeOrderTest, BuildSortedEdgesWalksRowsAndAppendsToTheHost) {
    Fixture f(4);
    f.Edge(1, 1, 2, 11, 21);
    f.Edge(2, 1, 3, 12, 31);
    f.Edge(3, 2, 3, 22, 32);
    f.comp.Collect(f.Node(1));
    f.comp.SetIndex(2);
    f.comp.Place(1, 0, 0);
    f.comp.Place(2, 1, 0);
    f.comp.Place(3, 1, 1);
    f.comp.AssignEdgePorts();
    f.comp.BuildSortedEdges();
    EXPECT_EQ(f.host.GetSortedEdges(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(f.host.GetSortedEdgesInGraph(), (std::vector<int>{2, 2, 2}));
    f.comp.BuildSortedEdges();
    EXPECT_EQ(f.host.GetSortedEdges().size(), 3u) << "first listing only";
}

} // namespace
