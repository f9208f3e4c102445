// Layout edges, root choice and breadth-first levels of the layered layouts.

#include "layered/layered_workspace.h"
#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <queue>
#include <random>
#include <set>
#include <vector>

namespace {

using netloom_test::EdgeList;

CConnectedGraph* FirstComponent(CNetworkGraph& g) {
    return *g.GetConnectedGraphs().begin();
}

std::vector<int> Ids(const std::vector<CLayerNode*>& nodes) {
    std::vector<int> ids;
    for (const CLayerNode* n : nodes) {
        ids.push_back(n->m_iID);
    }
    return ids;
}

// Roots of a workspace after AssignLevels on the graph.
std::vector<int> RootsOf(CNetworkGraph* graph) {
    CLayeredLayout ws(graph, 1);
    ws.CollectLayoutEdges();
    ws.AssignLevels();
    return Ids(ws.GetRoot()->m_vecChildren);
}

// The straightforward tree root choice: one breadth-first level assignment per
// node, keeping the first node of least depth.
int TreeRootByFullSearch(CNetworkGraph* graph) {
    int bestDepth = 0xffffff;
    int best = 0;
    for (const auto& entry : graph->GetNodeMap()) {
        CLayeredLayout ws(graph, 1);
        ws.CollectLayoutEdges();
        CLayerNode* root = ws.GetOrCreateLayerNode(entry.first, 0);
        ws.GetRoot()->AddChild(root);
        root->AddParent(ws.GetRoot());
        std::queue<CLayerNode*> queue;
        queue.push(root);
        ws.AssignLevelsBreadthFirst(queue);
        if (bestDepth > ws.GetMaxLevel()) {
            bestDepth = ws.GetMaxLevel();
            best = entry.first;
        }
    }
    return best;
}

int FastTreeRoot(CNetworkGraph* graph) {
    CLayeredLayout ws(graph, 1);
    ws.CollectLayoutEdges();
    std::queue<CLayerNode*> roots;
    ws.ChooseTreeRoot(roots);
    EXPECT_EQ(roots.size(), 1u);
    return roots.empty() ? -1 : roots.front()->m_iID;
}

// A random tree whose nodes mostly hang from recent ones: long paths.
EdgeList LongTree(int n, std::uint32_t trial) {
    std::mt19937 rng(trial);
    EdgeList g;
    g.nodeCount = n;
    for (int v = 2; v <= n; ++v) {
        std::uniform_int_distribution<int> back(1, std::min(3, v - 1));
        g.edges.emplace_back(v - back(rng), v);
    }
    return g;
}

} // namespace

// Layout edges by id, whether the ids are close together (looked up by flag)
// or spread far apart (looked up by search): the same answers either way.
TEST(LayeredLevels, LayoutEdgesWithCloseAndSpreadIds) {
    struct Case {
        std::vector<int> ids; // edges 1-2, 2-1, 2-3, 3-1 under these ids
        std::vector<bool> layout;
    };
    const Case cases[] = {
        {{10, 11, 12, 13}, {true, false, true, true}},
        {{-7, 5, 1000000, 2000000000}, {true, false, true, true}},
        {{40, 3, 900000, 8}, {false, true, true, true}},
        {{100, 60, 90, 70}, {false, true, true, true}},
    };
    for (const Case& c : cases) {
        CNetworkGraph g;
        for (int id = 1; id <= 3; ++id) {
            g.AddNode(id, id, id, false);
        }
        const std::pair<int, int> ends[] = {{1, 2}, {2, 1}, {2, 3}, {3, 1}};
        for (std::size_t k = 0; k < 4; ++k) {
            g.AddEdge(c.ids[k], ends[k].first, ends[k].second, 40, 0, 0, false);
        }
        CLayeredLayout ws(&g, 1);
        ws.CollectLayoutEdges();
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(ws.IsLayoutEdge(c.ids[k]), c.layout[k]) << c.ids[k];
        }
        for (int other : {0, 9, 14, 999999, -8, 2147483647}) {
            EXPECT_FALSE(ws.IsLayoutEdge(other)) << other;
        }
    }
}

TEST(LayeredLevels, ParallelEdgesTriangleAndSharedChild) {
    // Edges 1 (1-2) and 2 (2-1) join one pair: only edge 1 is a layout edge.
    CNetworkGraph g;
    netloom_test::Fill(g, EdgeList{3, {{1, 2}, {2, 1}, {2, 3}, {3, 3}, {3, 3}}});
    CLayeredLayout ws(&g, 1);
    ws.CollectLayoutEdges();
    EXPECT_TRUE(ws.IsLayoutEdge(1));
    EXPECT_FALSE(ws.IsLayoutEdge(2));
    EXPECT_TRUE(ws.IsLayoutEdge(3));
    EXPECT_TRUE(ws.IsLayoutEdge(4));
    EXPECT_FALSE(ws.IsLayoutEdge(5));
    ws.AssignLevels();
    const CLayerNode* n2 = ws.FindLayerNode(2);
    EXPECT_EQ(ws.GetRoot()->m_vecChildren, std::vector<CLayerNode*>{const_cast<CLayerNode*>(n2)});
    EXPECT_EQ(n2->m_vecChildren.size(), 2u); // 1 and 3, once each
    // The self-loop makes 3 its own same-level neighbour.
    const CLayerNode* n3 = ws.FindLayerNode(3);
    EXPECT_EQ(n3->m_setSiblings.count(const_cast<CLayerNode*>(n3)), 1u);

    // Triangle: the two others are children of the root and neighbours.
    CNetworkGraph tri;
    netloom_test::Fill(tri, EdgeList{3, {{1, 2}, {2, 3}, {3, 1}}});
    CLayeredLayout wt(&tri, 1);
    wt.CollectLayoutEdges();
    wt.AssignLevels();
    CLayerNode* t2 = wt.FindLayerNode(2);
    CLayerNode* t3 = wt.FindLayerNode(3);
    EXPECT_EQ(Ids(wt.FindLayerNode(1)->m_vecChildren), (std::vector<int>{2, 3}));
    EXPECT_EQ(t2->m_setSiblings, LayerNodeSet{t3});
    EXPECT_EQ(t3->m_setSiblings, LayerNodeSet{t2});

    // Square 1-2-4-3-1: 4 has both 2 and 3 as parents, in queue order.
    CNetworkGraph sq;
    netloom_test::Fill(sq, EdgeList{4, {{1, 2}, {1, 3}, {2, 4}, {3, 4}}});
    CLayeredLayout ws2(&sq, 1);
    ws2.CollectLayoutEdges();
    ws2.AssignLevels();
    EXPECT_EQ(Ids(ws2.GetRoot()->m_vecChildren), std::vector<int>{1});
    EXPECT_EQ(Ids(ws2.FindLayerNode(4)->m_vecParents), (std::vector<int>{2, 3}));
}

TEST(LayeredLevels, HierarchyRoots) {
    // Node 7 with 5 edges, node 3 with 4: 4 > 5 * 3 / 5, both roots, 7 first.
    CNetworkGraph g;
    for (int id : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
        g.AddNode(id, 0, 0, false);
    }
    int e = 1;
    for (int leaf : {1, 2, 4, 5}) {
        g.AddEdge(e++, 7, leaf, 40, 0, 0, false);
    }
    g.AddEdge(e++, 7, 3, 40, 0, 0, false);
    for (int leaf : {6, 8, 9}) {
        g.AddEdge(e++, 3, leaf, 40, 0, 0, false);
    }
    g.AddNode(11, 0, 0, false);
    g.AddNode(12, 0, 0, false);
    g.AddEdge(e++, 11, 12, 40, 0, 0, false); // a two-node component
    g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    CConnectedGraph* big = FirstComponent(g);
    EXPECT_EQ(RootsOf(big), (std::vector<int>{7, 3}));

    // The pair: both roots, same-level neighbours.
    CConnectedGraph* pair = *std::next(g.GetConnectedGraphs().begin(), 2);
    ASSERT_EQ(pair->GetNodeMap().size(), 2u);
    CLayeredLayout wp(pair, 1);
    wp.CollectLayoutEdges();
    wp.AssignLevels();
    EXPECT_EQ(Ids(wp.GetRoot()->m_vecChildren), (std::vector<int>{11, 12}));
    EXPECT_EQ(wp.FindLayerNode(11)->m_setSiblings.count(wp.FindLayerNode(12)), 1u);

    // Node 3 with only 3 edges: 3 is not above 3, one root.
    g.DeleteEdge(8);
    g.Layout(40, CNetworkGraph::m_iHierarchyLayout, 200);
    EXPECT_EQ(RootsOf(FirstComponent(g)), std::vector<int>{7});
}

TEST(LayeredLevels, TreeRootAgreesWithFullSearch) {
    int graphs = 0;
    for (std::uint32_t trial = 1; trial <= 25; ++trial) {
        const int n = 2 + static_cast<int>(trial * 7 % 70);
        std::vector<EdgeList> lists = {
            netloom_test::RandomSparse(n, 0, trial),
            netloom_test::RandomSparse(n, n / 4, trial + 100),
            netloom_test::RandomSparse(n, n, trial + 200),
            netloom_test::RandomSparse(n, 3 * n, trial + 300),
            LongTree(n, trial),
            netloom_test::Grid(1 + static_cast<int>(trial % 5), n / 5 + 1)};
        for (const EdgeList& list : lists) {
            CNetworkGraph g;
            netloom_test::Fill(g, list);
            ASSERT_EQ(FastTreeRoot(&g), TreeRootByFullSearch(&g))
                << "trial " << trial << " n " << n;
            ++graphs;
        }
    }
    // Rings and complete graphs: every node ties, the lowest id wins.
    for (int n : {3, 4, 7, 10}) {
        EdgeList ring{n, {}};
        EdgeList complete{n, {}};
        for (int v = 1; v <= n; ++v) {
            ring.edges.emplace_back(v, v % n + 1);
            for (int w = v + 1; w <= n; ++w) {
                complete.edges.emplace_back(w, v);
            }
        }
        for (const EdgeList* list : {&ring, &complete}) {
            CNetworkGraph g;
            netloom_test::Fill(g, *list);
            EXPECT_EQ(FastTreeRoot(&g), 1);
        }
    }
    EXPECT_EQ(graphs, 150);
}

TEST(LayeredLevels, LevelsAreDistancesFromTheRoots) {
    // Every node's level is its distance from the nearest root; its parents are
    // its neighbours one level up, in the order they left the queue.
    for (std::uint32_t trial = 1; trial <= 10; ++trial) {
        const EdgeList list = netloom_test::RandomSparse(120, 60, trial);
        CNetworkGraph g;
        netloom_test::Fill(g, list);
        CLayeredLayout ws(&g, 1);
        ws.CollectLayoutEdges();
        ws.AssignLevels();
        std::vector<std::set<int>> adj(121);
        for (const auto& e : list.edges) {
            adj[static_cast<std::size_t>(e.first)].insert(e.second);
            adj[static_cast<std::size_t>(e.second)].insert(e.first);
        }
        std::vector<int> dist(121, -1);
        std::queue<int> q;
        for (const CLayerNode* r : ws.GetRoot()->m_vecChildren) {
            dist[static_cast<std::size_t>(r->m_iID)] = 0;
            q.push(r->m_iID);
        }
        while (!q.empty()) {
            const int v = q.front();
            q.pop();
            for (int w : adj[static_cast<std::size_t>(v)]) {
                if (dist[static_cast<std::size_t>(w)] < 0) {
                    dist[static_cast<std::size_t>(w)] = dist[static_cast<std::size_t>(v)] + 1;
                    q.push(w);
                }
            }
        }
        for (int v = 1; v <= 120; ++v) {
            const CLayerNode* node = ws.FindLayerNode(v);
            ASSERT_NE(node, nullptr);
            EXPECT_EQ(node->m_iLevel, dist[static_cast<std::size_t>(v)]);
            std::set<int> up;
            for (int w : adj[static_cast<std::size_t>(v)]) {
                if (dist[static_cast<std::size_t>(w)] + 1 == dist[static_cast<std::size_t>(v)]) {
                    up.insert(w);
                }
            }
            const std::vector<int> parents = Ids(node->m_vecParents);
            if (node->m_iLevel > 0) {
                EXPECT_EQ(std::set<int>(parents.begin(), parents.end()), up);
                EXPECT_EQ(parents.size(), up.size());
            }
        }
        // A component hands out the same levels, ids ascending within a level.
        g.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
        std::map<int, std::vector<int>> levels;
        ASSERT_TRUE((*g.GetConnectedGraphs().begin())->GetDefaultLevels(levels));
        std::size_t count = 0;
        for (const auto& [level, ids] : levels) {
            EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
            for (int v : ids)
                EXPECT_EQ(dist[static_cast<std::size_t>(v)], level) << v;
            count += ids.size();
        }
        EXPECT_EQ(count, 120u);
    }
}
