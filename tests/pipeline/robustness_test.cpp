// Inputs at the edges of what a host may pass: extreme distances and spacings,
// coordinates of 1e300 and NaN, ids of any sign. Each case once crashed or
// overflowed, or guards a limit; the test build runs them under the sanitizers.

#include <netloom/netloom.h>

#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(RobustnessTest, HugeTreeSpacingDoesNotOverflowColumns) {
    CNetworkGraph g;
    netloom_test::Fill(g, netloom_test::RandomSparse(60, 20, 3));
    for (int type : {2, 8}) {
        g.Layout(std::numeric_limits<int>::max(), type, 200);
        for (const auto& entry : g.GetNodeMap()) {
            EXPECT_TRUE(std::isfinite(entry.second->X())) << "type " << type;
        }
    }
    // A modest spacing keeps its exact unit: columns 0, 40 and 80.
    CNetworkGraph star;
    netloom_test::Fill(star, netloom_test::EdgeList{4, {{1, 2}, {1, 3}, {1, 4}}});
    star.Layout(40, 2, 200);
    int row = 0;
    int col = 0;
    star.GetNodePhyPosition(1, row, col);
    EXPECT_EQ(col, 40);
}

TEST(RobustnessTest, ExtremeAndMissingCoordinatesFromTheHost) {
    for (int type : {1, 2, 4, 8, 3}) {
        for (bool fixedLayout : {false, true}) {
            CNetworkGraph g;
            g.AddNode(1, 1e300, -1e300, true);
            g.AddNode(2, std::nan(""), 0.0, false);
            g.AddNode(3, 0.0, std::numeric_limits<double>::infinity(), false);
            g.AddNode(-4, 5.0, 5.0, false);
            g.AddEdge(1, 1, 2, 0, 0, 0, true);
            g.AddEdge(2, 2, 3, -7, 0, 0, true);
            g.AddEdge(3, 3, -4, 40, 0, 0, true);
            g.SetFixedLayoutFlag(fixedLayout);
            EXPECT_TRUE(g.Layout(40, type, 200));
            // Conversions saturate: no overflow, whatever the positions became.
            const CRect r = g.GetBoundRect();
            EXPECT_TRUE(r.left <= r.right || std::isnan(g.GetNode(2)->X()) ||
                        std::isnan(g.GetNode(1)->X()));
        }
    }
}

TEST(RobustnessTest, ZeroAndNegativeDistancesAndSpacings) {
    for (int type : {1, 2, 4, 8}) {
        for (int distance : {0, -5, 1}) {
            CNetworkGraph g;
            netloom_test::Fill(g, netloom_test::Grid(3, 4));
            g.SetMaxColCount(distance + 1);
            EXPECT_TRUE(g.Layout(distance, type, -40));
            for (const auto& entry : g.GetNodeMap()) {
                EXPECT_FALSE(std::isnan(entry.second->X())) << type << " " << distance;
                EXPECT_FALSE(std::isnan(entry.second->Y())) << type << " " << distance;
            }
        }
    }
}

// Force-directed layout at distance 0 with edges of natural length 0 or below
// and self-loops: the springs have no length to divide by.
TEST(RobustnessTest, SpringsWithoutLengthAtDistanceZero) {
    for (int distance : {0, -5}) {
        CNetworkGraph g;
        g.AddNode(-16, -1922.5, 2000.0, false);
        g.AddNode(23, 1215.5, -2000.0, false);
        g.AddNode(-19, 1215.5, 1215.5, true);
        g.AddNode(-14, 2000.0, -1937.25, false);
        g.AddEdge(-1, -16, -16, 8, -2, -3, false);
        g.AddEdge(44, 23, -16, -10, -3, -3, false);
        g.AddEdge(-5, -16, -14, 189, 11, 1, false);
        g.AddEdge(106, -14, -14, 367, 8, 8, true);
        EXPECT_TRUE(g.Layout(distance, 1, 200));
        for (const auto& entry : g.GetNodeMap()) {
            EXPECT_FALSE(std::isnan(entry.second->X())) << distance << " node " << entry.first;
            EXPECT_FALSE(std::isnan(entry.second->Y())) << distance << " node " << entry.first;
        }
    }
}

} // namespace
