#include <netloom/netloom.h>

#include "radial/trig.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

CConnectedGraph* Components(CNetworkGraph& g, int distance) {
    g.Layout(distance, 3, 200); // components only
    return *g.GetConnectedGraphs().begin();
}

TEST(RadiantLayoutTest, StarAngles) {
    CNetworkGraph star;
    for (int v = 1; v <= 5; ++v) {
        star.AddNode(v, 0.0, 0.0, false);
    }
    for (int v = 2; v <= 5; ++v) {
        star.AddEdge(v, 1, v, 40, 0, 0, false);
    }
    CConnectedGraph* comp = Components(star, 40);
    comp->GetNode(1)->SetPosition(0.0, 0.0);
    comp->RadiantLayout();
    EXPECT_EQ(comp->GetNode(1)->X(), 0.0);
    EXPECT_EQ(comp->GetNode(2)->X(), 40.0);
    EXPECT_EQ(comp->GetNode(2)->Y(), 0.0);
    for (int k = 0; k < 4; ++k) {
        double angle = 0.0;
        for (int i = 0; i < k; ++i) {
            angle = angle + 6.283 / 4;
        }
        const CNode* leaf = comp->GetNode(2 + k);
        EXPECT_EQ(leaf->X(), 0.0 + netloom::Cos(angle) * 40.0);
        EXPECT_EQ(leaf->Y(), 0.0 + netloom::Sin(angle) * 40.0);
    }
}

TEST(RadiantLayoutTest, CentreChoiceAndSingleNodes) {
    // Nodes 2 and 3 both have two edges (parallel edges count): 2 is the centre.
    CNetworkGraph g;
    for (int v = 1; v <= 4; ++v) {
        g.AddNode(v, 7.0, 9.0, false);
    }
    g.AddEdge(1, 2, 1, 40, 0, 0, false);
    g.AddEdge(2, 2, 3, 40, 0, 0, false);
    g.AddEdge(3, 3, 4, 40, 0, 0, false);
    CConnectedGraph* comp = Components(g, 40);
    for (int v = 1; v <= 4; ++v) {
        comp->GetNode(v)->SetPosition(7.0, 9.0);
    }
    comp->RadiantLayout();
    EXPECT_EQ(comp->GetNode(2)->X(), 7.0);
    EXPECT_EQ(comp->GetNode(2)->Y(), 9.0);
    EXPECT_EQ(comp->GetNode(1)->X(), 47.0);
    // Node 4 is placed once, from node 3, at D.
    const double dx = comp->GetNode(4)->X() - comp->GetNode(3)->X();
    const double dy = comp->GetNode(4)->Y() - comp->GetNode(3)->Y();
    EXPECT_NEAR(std::sqrt(dx * dx + dy * dy), 40.0, 1e-9);

    CNetworkGraph one;
    one.AddNode(5, 1.5, 2.5, false);
    comp = Components(one, 40);
    comp->GetNode(5)->SetPosition(1.5, 2.5);
    comp->RadiantLayout();
    EXPECT_EQ(comp->GetNode(5)->X(), 1.5);
    EXPECT_EQ(comp->GetNode(5)->Y(), 2.5);
}

TEST(RadiantLayoutTest, EveryNodeAtDistanceFromItsDiscoverer) {
    // Through the pipeline: each non-centre node stands at D from some neighbour.
    for (std::uint32_t trial = 1; trial <= 5; ++trial) {
        const auto list = netloom_test::RandomSparse(200, 100, trial);
        CNetworkGraph g;
        netloom_test::Fill(g, list);
        g.Layout(25, 4, 200);
        int atDistance = 0;
        for (const auto& entry : g.GetNodeMap()) {
            const CNode* node = entry.second;
            for (const CEdge* e : node->GetEdges()) {
                const CNode* o = e->GetSourceNode() == node ? e->GetDestNode() : e->GetSourceNode();
                const double d = std::hypot(node->X() - o->X(), node->Y() - o->Y());
                if (std::fabs(d - 25.0) < 1e-6) {
                    ++atDistance;
                    break;
                }
            }
        }
        EXPECT_EQ(atDistance, 200);
    }
}

} // namespace
