#include <netloom/netloom.h>

#include "force/flat_quad_tree.h"
#include "force/force_oracle.h"
#include "force/force_workspace.h"
#include "force/worker_pool.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

namespace {

// Builds the host graph's components without laying anything out.
void Decompose(CNetworkGraph& g, int distance) {
    g.Layout(distance, 3, 200);
}

CConnectedGraph* OnlyComponent(CNetworkGraph& g) {
    EXPECT_EQ(g.GetConnectedGraphs().size(), 1u);
    return *g.GetConnectedGraphs().begin();
}

void ExpectSameTree(const force_oracle::Cell* a, const CQuadNode* b) {
    ASSERT_EQ(a == nullptr, b == nullptr);
    if (a == nullptr) {
        return;
    }
    EXPECT_EQ(a->count, b->m_iCount);
    EXPECT_EQ(a->rect, b->m_rcCell);
    EXPECT_EQ(a->cx, b->m_dCenterX);
    EXPECT_EQ(a->cy, b->m_dCenterY);
    EXPECT_EQ(a->node, b->m_pNode);
    for (int i = 0; i < 4; ++i) {
        ExpectSameTree(a->children[i].get(), b->m_pChildren[i]);
    }
}

// Every group walk this CPU runs against the one-node walk, on groups of every
// size from 1 to the width (ascending id order: neighbours and strangers mixed).
void ExpectGroupsMatch(CForceWorkspace& workspace, const std::vector<std::int32_t>& indices,
                       const std::vector<std::pair<double, double>>& sums, std::uint32_t trial) {
    for (const int width : {2, 4, 8}) {
        workspace.SetLanes(width);
        if (workspace.Lanes() != width) {
            if (trial == 1) {
                std::printf("note: no %d-lane walk on this CPU; not compared\n", width);
            }
            continue;
        }
        double fx[8];
        double fy[8];
        for (std::size_t at = 0, size = 1; at < indices.size();
             at += size, size = size % width + 1) {
            const int count = static_cast<int>(std::min(size, indices.size() - at));
            workspace.SumRepulsionGroup(&indices[at], count, fx, fy);
            for (int l = 0; l < count; ++l) {
                ASSERT_EQ(fx[l], sums[at + l].first) << "trial " << trial << " width " << width;
                ASSERT_EQ(fy[l], sums[at + l].second) << "trial " << trial << " width " << width;
            }
        }
    }
    workspace.SetLanes(1);
}

// The pooled tree, its pruned descent and the neighbour tables against the
// straightforward tree on many generated graphs and random positions.
TEST(QuadTreeTest, PooledTreeMatchesTheOracle) {
    for (std::uint32_t trial = 1; trial <= 40; ++trial) {
        std::mt19937 rng(trial);
        // Trials 7, 17, ...: about 2000 nodes, where groups of lanes part often.
        const int n = (trial % 10 == 7 ? 1800 : 2) + static_cast<int>(rng() % 300);
        const auto list = trial % 3 == 0 ? netloom_test::Grid(2 + n / 20, 10)
                                         : netloom_test::RandomSparse(n, n / 2, trial);
        CNetworkGraph g;
        netloom_test::Fill(g, list);
        // Varied lengths, so that leaf pair strengths differ from D^2.
        int id = 1000000;
        std::uniform_int_distribution<int> len(0, 90);
        for (const auto& e : list.edges) {
            g.AddEdge(id++, e.first, e.second, len(rng), 7, 7, false);
        }
        const int distance = 5 + static_cast<int>(rng() % 60);
        Decompose(g, distance);
        g_dLayoutDistanceSqr = g_dLayoutDistance * g_dLayoutDistance;
        // Spread the positions over a few scales, with clumps on one integer point;
        // every fifth trial so far out that the tree is built by insertion; every
        // sixth on a small integer lattice, where a cell's centre often lies at
        // exactly the far distance (the far test is strict).
        std::uniform_real_distribution<double> pos(-400.0, 400.0);
        const double scale = (trial % 5 == 0) ? 1.3e6 : (trial % 4 == 0) ? 0.01 : 1.0;
        const bool lattice = trial % 6 == 1;
        _tagNode none;
        for (int v = 1; v <= list.nodeCount; ++v) {
            const double x = lattice        ? std::round(pos(rng) / 25.0)
                             : (v % 7 == 0) ? 3.25
                                            : pos(rng) * scale;
            const double y = lattice        ? std::round(pos(rng) / 25.0)
                             : (v % 7 == 0) ? -2.5
                                            : pos(rng) * scale;
            g.SetNodePosition(v, x, y, none);
        }
        for (CConnectedGraph* comp : g.GetConnectedGraphs()) {
            if (comp->GetNodeMap().empty()) {
                continue;
            }
            comp->BuildQuadTree();
            force_oracle::Tree oracle(*comp);
            ExpectSameTree(oracle.Root(), comp->GetQuadTree().GetRoot());
            CForceWorkspace workspace(*comp, true);
            workspace.BuildTree();
            std::size_t rank = 0;
            std::vector<std::int32_t> indices;
            std::vector<std::pair<double, double>> sums;
            for (const auto& entry : comp->GetNodeMap()) {
                const int index = workspace.IndexOf(rank++);
                indices.push_back(index);
                double ox = 0.0;
                double oy = 0.0;
                oracle.Sum(entry.second, oracle.Root(), ox, oy);
                double fx = 0.0;
                double fy = 0.0;
                workspace.SumRepulsion(index, fx, fy);
                ASSERT_EQ(ox, fx) << "trial " << trial << " node " << entry.first;
                ASSERT_EQ(oy, fy) << "trial " << trial << " node " << entry.first;
                sums.emplace_back(fx, fy);
                double px = 0.0;
                double py = 0.0;
                comp->GetQuadTree().SumRepulsion(entry.second, comp->GetQuadTree().GetRoot(), px,
                                                 py);
                ASSERT_EQ(ox, px);
                ASSERT_EQ(oy, py);
            }
            ExpectGroupsMatch(workspace, indices, sums, trial);
        }
    }
}

// Sorting the nodes by their paths of quadrants gives the tree that inserting
// them one by one gives, cell for cell in depth-first order.
TEST(QuadTreeTest, DirectBuildMatchesInsertion) {
    // One tree rebuilt trial after trial, as the layout rebuilds it: nothing of
    // the last tree may show through.
    netloom::force::FlatQuadTree direct;
    netloom::force::WorkerPool pool(2);
    for (std::uint32_t trial = 1; trial <= 60; ++trial) {
        std::mt19937 rng(trial);
        // Trials 3, 23 and 43 are large enough to be built on two threads, 43
        // also to be sorted on two.
        const int large = trial == 43 ? 65536 : 4096;
        const int n = (trial % 20 == 3 ? large : 1) + static_cast<int>(rng() % 400);
        CNetworkGraph g;
        for (int v = 1; v <= n; ++v) {
            g.AddNode(v, 0.0, 0.0, false);
            if (v > 1) {
                g.AddEdge(v, v - 1, v, 40, 0, 0, false);
            }
        }
        Decompose(g, 40);
        // Scales from clumps inside one unit to paths of nearly 30 levels, with
        // repeated integer points and negative coordinates (truncation toward
        // zero).
        const double scales[] = {0.3, 3.0, 50.0, 2000.0, 1.0e6, 4.0e8};
        std::uniform_real_distribution<double> pos(-1.0, 1.0);
        const double scale = scales[trial % 6];
        std::vector<double> x;
        std::vector<double> y;
        _tagNode none;
        for (int v = 1; v <= n; ++v) {
            const bool clump = v % 9 == 0;
            x.push_back(clump ? -0.5 : pos(rng) * scale);
            y.push_back(clump ? 7.75 : pos(rng) * scale);
            g.SetNodePosition(v, x.back(), y.back(), none);
        }
        CConnectedGraph* comp = OnlyComponent(g);
        comp->BuildQuadTree();
        const CQuadNode* root = comp->GetQuadTree().GetRoot();
        netloom::force::FlatQuadTree inserted;
        inserted.Flatten(root);
        direct.Build(x.data(), y.data(), x.size(), root->m_rcCell,
                     trial % 2 == 1 ? &pool : nullptr);
        const auto& a = inserted.Cells();
        const auto& b = direct.Cells();
        ASSERT_EQ(a.size(), b.size()) << "trial " << trial;
        for (std::size_t i = 0; i < a.size(); ++i) {
            ASSERT_EQ(a[i].left, b[i].left) << "trial " << trial << " cell " << i;
            ASSERT_EQ(a[i].top, b[i].top);
            ASSERT_EQ(a[i].right, b[i].right);
            ASSERT_EQ(a[i].bottom, b[i].bottom);
            ASSERT_EQ(a[i].count, b[i].count);
            ASSERT_EQ(a[i].next, b[i].next);
            ASSERT_EQ(a[i].centerX, b[i].centerX);
            ASSERT_EQ(a[i].centerY, b[i].centerY);
            ASSERT_EQ(a[i].farSqr, b[i].farSqr);
        }
        // Every node is listed once, leaf by leaf.
        std::vector<int> listed(x.size(), 0);
        for (const std::int32_t i : direct.LeafOrder()) {
            ++listed[i];
        }
        EXPECT_EQ(listed, std::vector<int>(x.size(), 1));
    }
}

// Deleted edges leave their squared length behind in the host graph; the
// neighbour tables must still report it for the pair.
TEST(QuadTreeTest, PairStrengthsFollowTheParentTable) {
    CNetworkGraph g;
    g.AddNode(1, 0.0, 0.0, false);
    g.AddNode(2, 30.0, 0.0, false);
    g.AddNode(3, 0.0, 30.0, false);
    g.AddEdge(1, 1, 2, 10, 0, 0, false);
    g.AddEdge(2, 2, 3, 40, 0, 0, false);
    g.AddEdge(3, 3, 1, 70, 0, 0, false);
    g.DeleteEdge(1);
    CNetworkGraph copy(g); // keeps the deleted length and knows no edge joins its pair
    Decompose(copy, 40);
    CConnectedGraph* comp = OnlyComponent(copy);
    EXPECT_FALSE(CForceWorkspace::ParentKeepsOnlyEdgePairs(*comp));
    CForceWorkspace workspace(*comp, true);
    EXPECT_EQ(workspace.PairStrength(0, 1), 100.0);
    EXPECT_EQ(workspace.PairStrength(1, 2), 1600.0);
    EXPECT_EQ(workspace.PairStrength(2, 0), 4900.0);

    CNetworkGraph clean;
    netloom_test::Fill(clean, netloom_test::RandomSparse(50, 25, 3));
    clean.AddEdge(100, 2, 1, 40, 0, 0, false); // edge 1 joins 1 and 2 too
    clean.DeleteEdge(1);
    Decompose(clean, 40);
    EXPECT_TRUE(CForceWorkspace::ParentKeepsOnlyEdgePairs(**clean.GetConnectedGraphs().begin()));
}

} // namespace
