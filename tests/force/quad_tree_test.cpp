#include <netloom/netloom.h>

#include "force/flat_quad_tree.h"
#include "force/force_oracle.h"
#include "force/force_workspace.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

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

TEST(QuadTreeTest, ShapeOfSmallTrees) {
    CNetworkGraph g;
    g.AddNode(1, 0.0, 0.0, false);
    g.AddNode(2, 100.0, 10.0, false);
    g.AddNode(3, 5.0, 5.0, false);
    g.AddNode(4, 5.9, 5.2, false); // truncates to the same point as node 3
    g.AddEdge(1, 1, 2, 40, 0, 0, false);
    g.AddEdge(2, 2, 3, 40, 0, 0, false);
    g.AddEdge(3, 3, 4, 40, 0, 0, false);
    Decompose(g, 40);
    for (int id = 1; id <= 4; ++id) {
        _tagNode none;
        g.SetNodePosition(id,
                          id == 1   ? 0.0
                          : id == 2 ? 100.0
                          : id == 3 ? 5.0
                                    : 5.9,
                          id == 1   ? 0.0
                          : id == 2 ? 10.0
                          : id == 3 ? 5.0
                                    : 5.2,
                          none);
    }
    CConnectedGraph* comp = OnlyComponent(g);
    comp->BuildQuadTree();
    const CQuadNode* root = comp->GetQuadTree().GetRoot();
    ASSERT_NE(root, nullptr);
    // Bound (-10, -10, 110, 20) is wider than high: extended downward to a square.
    EXPECT_EQ(root->m_rcCell, CRect(-10, -10, 110, 110));
    EXPECT_EQ(root->m_iCount, 4);
    EXPECT_EQ(root->m_pNode, nullptr);
    // Only the low-y quadrants hold nodes; the empty ones are pruned.
    EXPECT_EQ(root->m_pChildren[2], nullptr);
    EXPECT_EQ(root->m_pChildren[3], nullptr);
    // The narrow cell of nodes 3 and 4 keeps node 3, counts 2, centre (left+1, top+1).
    const CQuadNode* cell = root->m_pChildren[0];
    while (cell->m_rcCell.Width() >= 2) {
        const CQuadNode* next = nullptr;
        for (const CQuadNode* child : cell->m_pChildren) {
            if (child != nullptr && child->m_iCount >= 2) {
                next = child;
            }
        }
        ASSERT_NE(next, nullptr);
        cell = next;
    }
    EXPECT_EQ(cell->m_iCount, 2);
    EXPECT_EQ(cell->m_pNode, g.GetNode(3));
    EXPECT_TRUE(cell->m_rcCell.PtInRect(5, 5));
    EXPECT_EQ(cell->m_dCenterX, cell->m_rcCell.left + 1.0);
    EXPECT_EQ(cell->m_dCenterY, cell->m_rcCell.top + 1.0);
    // Centre of the root: the count-weighted mean below it.
    force_oracle::Tree oracle(*comp);
    ExpectSameTree(oracle.Root(), root);

    // Higher than wide: extended to the right.
    CNetworkGraph tall;
    tall.AddNode(1, 0.0, 0.0, false);
    tall.AddNode(2, 10.0, 100.0, false);
    tall.AddEdge(1, 1, 2, 40, 0, 0, false);
    Decompose(tall, 40);
    _tagNode none;
    tall.SetNodePosition(1, 0.0, 0.0, none);
    tall.SetNodePosition(2, 10.0, 100.0, none);
    CConnectedGraph* tallComp = OnlyComponent(tall);
    tallComp->BuildQuadTree();
    EXPECT_EQ(tallComp->GetQuadTree().GetRoot()->m_rcCell, CRect(-10, -10, 110, 110));
}

TEST(QuadTreeTest, SumRepulsionOfSingleLeavesAndFarCells) {
    g_dLayoutDistance = 40.0;
    g_dLayoutDistanceSqr = 1600.0;
    CNetworkGraph single;
    single.AddNode(1, 3.0, 4.0, false);
    Decompose(single, 40);
    CConnectedGraph* comp = OnlyComponent(single);
    comp->BuildQuadTree();
    double fx = 0.0;
    double fy = 0.0;
    comp->GetQuadTree().SumRepulsion(single.GetNode(1), comp->GetQuadTree().GetRoot(), fx, fy);
    EXPECT_EQ(fx, 5.0); // its own leaf: the fixed push
    EXPECT_EQ(fy, 10.0);

    // A pair joined by an edge of length 30 repels with 900 at leaf level;
    // an unjoined pair with D^2.
    CNetworkGraph pair;
    pair.AddNode(1, 0.0, 0.0, false);
    pair.AddNode(2, 50.0, 0.0, false);
    pair.AddNode(3, 0.0, 50.0, false);
    pair.AddEdge(1, 1, 2, 30, 0, 0, false);
    pair.AddEdge(2, 2, 3, 40, 0, 0, false);
    Decompose(pair, 40);
    _tagNode none;
    pair.SetNodePosition(1, 0.0, 0.0, none);
    pair.SetNodePosition(2, 50.0, 0.0, none);
    pair.SetNodePosition(3, 0.0, 50.0, none);
    comp = OnlyComponent(pair);
    comp->BuildQuadTree();
    fx = fy = 0.0;
    comp->GetQuadTree().SumRepulsion(pair.GetNode(1), comp->GetQuadTree().GetRoot(), fx, fy);
    EXPECT_EQ(fx, 5.0 + -900.0 * 50.0 / 2500.0);
    EXPECT_EQ(fy, 10.0 + -1600.0 * 50.0 / 2500.0);

    // Far test strict at d2 = s2: a split cell of side 2 whose centre lies at
    // squared distance exactly 4 is opened, not taken as one charge.
    CQuadTree tree;
    CNode a(1, 11.0, 10.0, false);
    CNode b(2, 10.5, 11.0, false);
    CNode probe(3, 10.0, 13.0, false);
    tree.Insert(&a, nullptr);
    tree.GetRoot()->m_rcCell = CRect(10, 10, 12, 12);
    tree.Insert(&b, tree.GetRoot());
    tree.GetRoot()->PruneEmptyChildren();
    tree.GetRoot()->ComputeCenter();
    ASSERT_EQ(tree.GetRoot()->m_iCount, 2);
    tree.GetRoot()->m_dCenterX = 10.0; // d2 = 9 > s2 = 4: far
    tree.GetRoot()->m_dCenterY = 10.0;
    fx = fy = 0.0;
    tree.SumRepulsion(&probe, tree.GetRoot(), fx, fy);
    EXPECT_EQ(fx, 0.0);
    EXPECT_EQ(fy, 2.0 * (-1600.0 * -3.0 / 9.0));
    tree.GetRoot()->m_dCenterY = 11.0; // d2 = 4 = s2: opened, both leaves sum
    double ex = 0.0;
    double ey = 0.0;
    double tx = 0.0;
    double ty = 0.0;
    probe.Coulumb_repulsion(11.0, 10.0, tx, ty, 1600.0);
    ex += tx;
    ey += ty;
    probe.Coulumb_repulsion(10.5, 11.0, tx, ty, 1600.0);
    ex += tx;
    ey += ty;
    fx = fy = 0.0;
    tree.SumRepulsion(&probe, tree.GetRoot(), fx, fy);
    EXPECT_EQ(fx, ex);
    EXPECT_EQ(fy, ey);
    // A far cell beyond the cut-off contributes nothing, whatever its count.
    CNode distant(4, 10.0, 200.0, false);
    fx = fy = 0.0;
    tree.SumRepulsion(&distant, tree.GetRoot(), fx, fy);
    EXPECT_EQ(fx, 0.0);
    EXPECT_EQ(fy, 0.0);
}

// The pooled tree, its pruned descent and the neighbour tables against the
// straightforward tree on many generated graphs and random positions.
TEST(QuadTreeTest, PooledTreeMatchesTheOracle) {
    for (std::uint32_t trial = 1; trial <= 40; ++trial) {
        std::mt19937 rng(trial);
        const int n = 2 + static_cast<int>(rng() % 300);
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
        // every fifth trial so far out that the tree is built by insertion.
        std::uniform_real_distribution<double> pos(-400.0, 400.0);
        const double scale = (trial % 5 == 0) ? 1.3e6 : (trial % 4 == 0) ? 0.01 : 1.0;
        _tagNode none;
        for (int v = 1; v <= list.nodeCount; ++v) {
            const double x = (v % 7 == 0) ? 3.25 : pos(rng) * scale;
            const double y = (v % 7 == 0) ? -2.5 : pos(rng) * scale;
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
            CQuadTree pooled;
            workspace.BuildTree(pooled);
            std::size_t rank = 0;
            for (const auto& entry : comp->GetNodeMap()) {
                const int index = workspace.IndexOf(rank++);
                double ox = 0.0;
                double oy = 0.0;
                oracle.Sum(entry.second, oracle.Root(), ox, oy);
                double fx = 0.0;
                double fy = 0.0;
                workspace.SumRepulsion(index, fx, fy);
                ASSERT_EQ(ox, fx) << "trial " << trial << " node " << entry.first;
                ASSERT_EQ(oy, fy) << "trial " << trial << " node " << entry.first;
                double px = 0.0;
                double py = 0.0;
                comp->GetQuadTree().SumRepulsion(entry.second, comp->GetQuadTree().GetRoot(), px,
                                                 py);
                ASSERT_EQ(ox, px);
                ASSERT_EQ(oy, py);
            }
        }
    }
}

// Distributing the nodes over the quadrants at once gives the tree that
// inserting them one by one gives, cell for cell in depth-first order.
TEST(QuadTreeTest, DirectBuildMatchesInsertion) {
    for (std::uint32_t trial = 1; trial <= 60; ++trial) {
        std::mt19937 rng(trial);
        const int n = 1 + static_cast<int>(rng() % 400);
        CNetworkGraph g;
        for (int v = 1; v <= n; ++v) {
            g.AddNode(v, 0.0, 0.0, false);
            if (v > 1) {
                g.AddEdge(v, v - 1, v, 40, 0, 0, false);
            }
        }
        Decompose(g, 40);
        // Scales from clumps inside one unit to a wide spread, with repeated
        // integer points and negative coordinates (truncation toward zero).
        const double scales[] = {0.3, 3.0, 50.0, 2000.0, 1.0e6};
        std::uniform_real_distribution<double> pos(-1.0, 1.0);
        const double scale = scales[trial % 5];
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
        netloom::force::FlatQuadTree direct;
        direct.Build(x.data(), y.data(), x.size(), root->m_rcCell);
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
            ASSERT_EQ(a[i].wide, b[i].wide);
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
    Decompose(g, 40);
    CConnectedGraph* comp = OnlyComponent(g);
    EXPECT_FALSE(CForceWorkspace::ParentKeepsOnlyEdgePairs(*comp));
    CForceWorkspace workspace(*comp, true);
    EXPECT_EQ(workspace.PairStrength(0, 1), 100.0);
    EXPECT_EQ(workspace.PairStrength(1, 2), 1600.0);
    EXPECT_EQ(workspace.PairStrength(2, 0), 4900.0);

    CNetworkGraph clean;
    netloom_test::Fill(clean, netloom_test::RandomSparse(50, 25, 3));
    Decompose(clean, 40);
    EXPECT_TRUE(CForceWorkspace::ParentKeepsOnlyEdgePairs(**clean.GetConnectedGraphs().begin()));
}

} // namespace
