#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Distance {
    explicit Distance(double d) {
        g_dLayoutDistance = d;
        g_dLayoutDistanceSqr = d * d;
    }
    ~Distance() {
        g_dLayoutDistance = 40.0;
        g_dLayoutDistanceSqr = 1600.0;
    }
};

TEST(NodeForcesTest, RepulsionRegimesAndTheirBoundaries) {
    Distance d(40.0);
    CNode node(1, 0.0, 0.0, false);
    double fx = 7.0;
    double fy = 7.0;
    // Inside squared distance 2.0, and exactly at it: the fixed push, whatever k.
    node.Coulumb_repulsion(0.0, 0.0, fx, fy, 123.0);
    EXPECT_EQ(fx, 5.0);
    EXPECT_EQ(fy, 10.0);
    node.Coulumb_repulsion(1.0, -1.0, fx, fy, 1600.0);
    EXPECT_EQ(fx, 5.0);
    EXPECT_EQ(fy, 10.0);
    // Just beyond 2.0: k / d away from the charge.
    node.Coulumb_repulsion(1.0, 1.0000001, fx, fy, 1600.0);
    EXPECT_LT(fx, -700.0);
    EXPECT_LT(fy, -700.0);
    node.Coulumb_repulsion(30.0, 0.0, fx, fy, 1600.0);
    EXPECT_EQ(fx, -1600.0 * 30.0 / 900.0);
    EXPECT_EQ(fy, -0.0);
    // Exactly at the cut-off 8 D^2 = 12800 (80, 80): full force; beyond it nothing.
    node.Coulumb_repulsion(80.0, 80.0, fx, fy, 1600.0);
    EXPECT_EQ(fx, -1600.0 * 80.0 / 12800.0);
    EXPECT_EQ(fy, fx);
    node.Coulumb_repulsion(80.0, 80.001, fx, fy, 1600.0);
    EXPECT_EQ(fx, 0.0);
    EXPECT_EQ(fy, 0.0);
    // Node form: the other's position and D^2; coincident nodes push each other alike.
    CNode other(2, 0.0, 0.0, false);
    node.Coulumb_repulsion(&other, fx, fy);
    double gx = 0.0;
    double gy = 0.0;
    other.Coulumb_repulsion(&node, gx, gy);
    EXPECT_EQ(fx, gx);
    EXPECT_EQ(fy, gy);
    EXPECT_EQ(fx, 5.0);
}

TEST(NodeForcesTest, SpringsPullWithLengthSquaredOverNatural) {
    Distance d(40.0);
    CNetworkGraph g;
    g.AddNode(1, 0.0, 0.0, false);
    g.AddNode(2, 80.0, 0.0, false);
    g.AddNode(3, 0.0, 0.0, false);
    g.AddEdge(1, 1, 2, 40, 0, 0, false);
    double fx = 0.0;
    double fy = 0.0;
    g.GetNode(1)->Hook_attractions(fx, fy);
    EXPECT_EQ(fx, 160.0);
    EXPECT_EQ(fy, 0.0);
    g.GetNode(2)->Hook_attractions(fx, fy);
    EXPECT_EQ(fx, -160.0);
    // Two springs add up; a self-loop adds nothing.
    g.AddEdge(2, 3, 1, 20, 0, 0, false);
    g.GetNode(3)->SetPosition(0.0, 30.0);
    g.AddEdge(3, 1, 1, 40, 0, 0, false);
    g.GetNode(1)->Hook_attractions(fx, fy);
    EXPECT_EQ(fx, 160.0);
    EXPECT_EQ(fy, 30.0 * 30.0 / 20.0);
    // A natural length of 0 uses D instead: finite, same as length 40.
    CNetworkGraph z;
    z.AddNode(1, 0.0, 0.0, false);
    z.AddNode(2, 80.0, 0.0, false);
    z.AddEdge(1, 1, 2, 0, 0, 0, false);
    z.GetNode(1)->Hook_attractions(fx, fy);
    EXPECT_EQ(fx, 160.0);
    EXPECT_TRUE(std::isfinite(fy));
    z.Layout(40, 1, 200);
    double x = 0.0;
    double y = 0.0;
    ASSERT_TRUE(z.GetNodePosition(2, x, y));
    EXPECT_TRUE(std::isfinite(x) && std::isfinite(y));
}

TEST(NodeForcesTest, VelocityAndMoveAreLimitedPerAxis) {
    Distance d(40.0);
    CNode node(1, 10.0, 20.0, false);
    EXPECT_EQ(node.GetEnergy(), 0.0);
    node.Accelerate(0.5, 0.6, 1e9, -1e9);
    EXPECT_EQ(node.GetVx(), 40.0);
    EXPECT_EQ(node.GetVy(), -40.0);
    EXPECT_EQ(node.GetEnergy(), 3200.0);
    node.Accelerate(0.5, 0.6, 10.0, 4.0);
    EXPECT_EQ(node.GetVx(), 40.0 * 0.6 + 0.5 * 10.0);
    EXPECT_EQ(node.GetVy(), -40.0 * 0.6 + 0.5 * 4.0);
    node.SetVelocity(100.0, -3.0);
    node.Move(0.5);
    EXPECT_EQ(node.X(), 50.0); // 0.5 x 100 = 50 is limited to 40
    EXPECT_EQ(node.Y(), 18.5);
    node.SetVelocity(-1000.0, 0.0);
    node.Move(1.0);
    EXPECT_EQ(node.X(), 10.0);
    // Neither operation touches the rectangle.
    EXPECT_EQ(node.m_rect, CRect(6, 16, 14, 24));
}

TEST(NodeForcesTest, CenterlizeNodebyHookUsesThePositionOnEntry) {
    Distance d(10.0);
    CNetworkGraph g;
    g.AddNode(1, 3.0, 4.0, false);
    g.AddNode(2, 0.0, 0.0, false);
    g.AddNode(3, 20.0, 0.0, false);
    g.AddNode(4, 0.0, 0.0, true);
    g.AddNode(5, 7.0, 7.0, false);
    g.AddEdge(1, 1, 2, 40, 0, 0, false);
    // One neighbour: the point at 5 D = 50 from it through the node.
    g.GetNode(1)->CenterlizeNodebyHook();
    EXPECT_EQ(g.GetNode(1)->X(), 3.0 * 50.0 / 5.0);
    EXPECT_EQ(g.GetNode(1)->Y(), 4.0 * 50.0 / 5.0);
    // Two neighbours: the mean of both points, each from the entry position.
    g.GetNode(1)->SetPosition(10.0, 0.0);
    g.AddEdge(2, 1, 3, 40, 0, 0, false);
    g.GetNode(1)->CenterlizeNodebyHook();
    EXPECT_EQ(g.GetNode(1)->X(), (50.0 + -30.0) / 2.0);
    EXPECT_EQ(g.GetNode(1)->Y(), 0.0);
    // A node on its neighbour counts the distance as 1.
    g.AddEdge(3, 5, 2, 40, 0, 0, false);
    g.GetNode(5)->SetPosition(0.0, 0.0);
    g.GetNode(5)->CenterlizeNodebyHook();
    EXPECT_EQ(g.GetNode(5)->X(), 0.0);
    // Fixed nodes and nodes without edges stay.
    g.AddEdge(4, 4, 3, 40, 0, 0, false);
    g.GetNode(4)->CenterlizeNodebyHook();
    EXPECT_EQ(g.GetNode(4)->X(), 0.0);
    CNode lonely(9, 1.0, 2.0, false);
    lonely.CenterlizeNodebyHook();
    EXPECT_EQ(lonely.X(), 1.0);
    EXPECT_EQ(lonely.Y(), 2.0);
}

} // namespace
